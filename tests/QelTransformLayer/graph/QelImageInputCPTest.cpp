#include <cstdint>
#include <sstream>
#include <string>
#include <typeinfo>

#include "PointTesting.h"
#include "QelColorSpaces.h"
#include "QelSmartRenderedItemVector.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"

namespace {

class QelImageInputCPTest : public testing::Test {
  protected:
    QelImageInputCPTest() {
        source_->setLabel("source");
        add_->setLabel("add");
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<AddTransform> add_ = new AddTransform();
    QelImageOutputCP & out_ = imageOutput(*source_);
    QelImageInputCP & in_ = imageInput(*add_);
};

// ---- A new point, and points made from points

TEST_F(QelImageInputCPTest, IsAnUnconnectedInputForImages) {
    QelImageInputCP const input("input");
    EXPECT_EQ("input", input.name());
    EXPECT_EQ("QelImageInputCP", input.getClassName());
    EXPECT_EQ(typeid(QelImageStreamData), input.getDataType());
    EXPECT_EQ(nullptr, input.streamData());
    EXPECT_EQ(nullptr, input.imageStreamData());
    EXPECT_EQ(nullptr, input.owner());
    EXPECT_FALSE(input.caching());
}

TEST_F(QelImageInputCPTest, CachesAsTheConfigurationSays) {
    ScopedSetting const setting(QelSystemConfig::tileCachingDefault, true);
    MoxSmartPtr<AddTransform> const caching = new AddTransform();
    EXPECT_TRUE(imageInput(*caching).caching());
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    caching->connect(&out_);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    imageInput(*caching).disconnect();
    EXPECT_EQ(0, out_.streamData()->cachingCount());
}

TEST_F(QelImageInputCPTest, ACloneHasTheClassAndTheNameAndNothingElse) {
    in_.connect(&out_);
    in_.setCaching(true);
    in_.setPassesMetadata(false);
    QelGraphTesting::setLocked(in_, true);
    MoxSmartPtr<QelConnectionPoint> const clone = in_.clone();
    auto const * const input = dynamic_cast<QelImageInputCP *>(clone.get());
    ASSERT_NE(nullptr, input);
    EXPECT_EQ("QelImageInputCP", input->getClassName());
    EXPECT_EQ("in", input->name());
    EXPECT_EQ(nullptr, input->owner());
    EXPECT_EQ(nullptr, input->getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, input->streamData());
    EXPECT_FALSE(input->locked());
    EXPECT_EQ(1u, out_.numConnectedInputs());
    EXPECT_EQ(1, clone->refCount());
}

TEST_F(QelImageInputCPTest, CreateMakesOneOfAnotherName) {
    in_.connect(&out_);
    MoxSmartPtr<QelConnectionPoint> const made = in_.create("other");
    auto const * const input = dynamic_cast<QelImageInputCP *>(made.get());
    ASSERT_NE(nullptr, input);
    EXPECT_EQ("QelImageInputCP", input->getClassName());
    EXPECT_EQ("other", input->name());
    EXPECT_EQ(nullptr, input->owner());
    EXPECT_EQ(nullptr, input->getConnectedOutput(false).get());
}

TEST_F(QelImageInputCPTest, CreateAliasMakesAnAliasForImages) {
    MoxSmartPtr<QelConnectionPoint> const made = in_.createAlias("alias");
    auto const * const alias = dynamic_cast<QelImageAliasCP *>(made.get());
    ASSERT_NE(nullptr, alias);
    EXPECT_EQ("alias", alias->name());
    EXPECT_EQ(nullptr, alias->owner());
    EXPECT_EQ(nullptr, alias->streamData());
}

// ---- Stream data

TEST_F(QelImageInputCPTest, SharesTheStreamDataOfTheOutput) {
    in_.connect(&out_);
    EXPECT_EQ(out_.imageStreamData(), in_.imageStreamData());
    EXPECT_EQ(out_.streamData(), in_.streamData());
    in_.disconnect();
    EXPECT_EQ(nullptr, in_.imageStreamData());
}

TEST_F(QelImageInputCPTest, StreamDataOfAnotherKindIsNoImage) {
    NumbersOutput numbers("numbers");
    numbers.giveData();
    in_.setStreamData(numbers.streamData());
    EXPECT_EQ(numbers.streamData(), in_.streamData());
    EXPECT_EQ(nullptr, in_.imageStreamData());
    expectNoStreamData(in_, "input-cp", "numBands", [&] { (void)in_.numBands(); });
    in_.setStreamData(nullptr);
    EXPECT_EQ(nullptr, in_.streamData());
}

TEST_F(QelImageInputCPTest, SettingStreamDataMovesTheCaching) {
    MoxSmartPtr<SourceTransform> const other = new SourceTransform();
    in_.setCaching(true);
    in_.setStreamData(out_.streamData());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    in_.setStreamData(out_.streamData());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    in_.setStreamData(imageOutput(*other).streamData());
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    EXPECT_EQ(1, imageOutput(*other).streamData()->cachingCount());
    in_.setStreamData(nullptr);
    EXPECT_EQ(0, imageOutput(*other).streamData()->cachingCount());
}

TEST_F(QelImageInputCPTest, SettingStreamDataWithoutCachingCountsNothing) {
    out_.setCaching(true);
    in_.setStreamData(out_.streamData());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    in_.setStreamData(nullptr);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
}

// ---- Questions

TEST_F(QelImageInputCPTest, AnswersAsTheOutputDoes) {
    MoxSmartPtr<QelColorSpace> const lum = new QelLumColorSpace();
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    QelImageOutputCP & output = plain->addImageOutput("out");
    MoxSmartPtr<QelXyCoordSpace> const space = new QelXyCoordSpace(70, 50);
    MoxSmartPtr<QelDataOrg> const org = TestImage{.bands = 1, .type = QelDataType::Short}.dataOrg();
    output.setAttributes(org, space, lum, nullptr, true);
    in_.connect(&output);
    // The connection has not made the description stale.
    EXPECT_EQ(space.get(), in_.getCoordSpace().get());
    EXPECT_EQ(lum.get(), in_.getColorSpace().get());
    EXPECT_EQ(org.get(), in_.getDataOrg().get());
    EXPECT_EQ(1, in_.numBands());
    EXPECT_TRUE(in_.commonPrecision() == QelDataType::Short);
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    in_.getMaxAvailableResolution(width, height);
    EXPECT_EQ(70u, width);
    EXPECT_EQ(50u, height);
    EXPECT_EQ(QelRect(0, 0, 70, 50), in_.getMaxResRegion()->pixelBounds());
}

TEST_F(QelImageInputCPTest, QuestionsSetTheSourceUp) {
    in_.connect(&out_);
    EXPECT_EQ(3, in_.numBands());
    EXPECT_EQ(1, source_->setups());
    EXPECT_FALSE(add_->setupDone());
}

TEST_F(QelImageInputCPTest, HandsOutTheImagesOfTheOutput) {
    in_.connect(&out_);
    QelTileId const id(0, 0, 300, 200);
    MoxSmartPtr<Qel2DImage> const image = in_.get2DImage(id);
    ASSERT_TRUE(image);
    EXPECT_EQ(out_.get2DImage(id).get(), image.get());
    EXPECT_EQ(image.get(), in_.get2DImage(in_.getMaxResRegion().get()).get());
}

TEST_F(QelImageInputCPTest, EntersWhatIsNeededIntoARender) {
    in_.connect(&out_);
    MoxSmartPtr<QelSmartRenderedItemVector> const all = new QelSmartRenderedItemVector();
    in_.generateDependencies(all.get());
    // 300 by 200 pixels in tiles of 128 by 128.
    EXPECT_EQ(6u, all->size());
    MoxSmartPtr<QelXySimpleRegion> const region = in_.getMaxResRegion();
    region->setPixelBounds(QelRect(130, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = new QelImageRequestDesc(region);
    MoxSmartPtr<QelSmartRenderedItemVector> const some = new QelSmartRenderedItemVector();
    in_.generateDependencies(some.get(), request.get());
    EXPECT_EQ(1u, some->size());
}

TEST_F(QelImageInputCPTest, EveryQuestionNeedsStreamData) {
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    QelXySimpleRegion const region;
    MoxSmartPtr<QelSmartRenderedItemVector> const items = new QelSmartRenderedItemVector();
    MoxSmartPtr<QelImageRequestDesc> const request = new QelImageRequestDesc(nullptr);
    auto const expect = [&](char const * operation, auto const & action) {
        SCOPED_TRACE(operation);
        expectNoStreamData(in_, "input-cp", operation, action);
    };
    expect("getCoordSpace", [&] { (void)in_.getCoordSpace(); });
    expect("getColorSpace", [&] { (void)in_.getColorSpace(); });
    expect("getDataOrg", [&] { (void)in_.getDataOrg(); });
    expect("numBands", [&] { (void)in_.numBands(); });
    expect("commonPrecision", [&] { (void)in_.commonPrecision(); });
    expect("getMaxAvailableResolution", [&] { in_.getMaxAvailableResolution(width, height); });
    expect("getMaxResRegion", [&] { (void)in_.getMaxResRegion(); });
    expect("get2DImage", [&] { (void)in_.get2DImage(QelTileId(0, 0, 300, 200)); });
    expect("get2DImage", [&] { (void)in_.get2DImage(&region); });
    expect("generateDependencies", [&] { in_.generateDependencies(items.get()); });
    expect("generateDependencies", [&] { in_.generateDependencies(items.get(), request.get()); });
    EXPECT_EQ(7u, width);
    EXPECT_EQ(8u, height);
    EXPECT_EQ(0u, items->size());
}

TEST_F(QelImageInputCPTest, AQuestionToAFreePointNamesNoKind) {
    QelImageInputCP const free("free");
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point free of type QelImageInputCP unknown cannot complete function "
                 "getCoordSpace( ), because the cp's stream data object pointer is NULL",
                 [&] { (void)free.getCoordSpace(); });
}

// ---- Printing

TEST_F(QelImageInputCPTest, PrintsAnUnconnectedInput) {
    EXPECT_EQ("> " + printedHead(in_, "input-cp", "add") + ">     upstream connection: NULL\n",
              printed(in_, "> "));
}

TEST_F(QelImageInputCPTest, PrintsTheConnection) {
    in_.connect(&out_);
    EXPECT_EQ(printedHead(in_, "input-cp", "add") + "    upstream connection: out\n",
              printed(in_, ""));
}

TEST_F(QelImageInputCPTest, PrintsAFreePoint) {
    QelImageInputCP const free("free");
    EXPECT_EQ("free                 [addr:0x" + hexText(dynamic_cast<void const *>(&free)) +
                  " unknown NULL type:QelImageInputCP]\n    upstream connection: NULL\n",
              printed(free, ""));
}

TEST_F(QelImageInputCPTest, PrintIgnoresTheFormatOfTheStreamAndKeepsIt) {
    std::ostringstream out;
    out << std::hex << std::showbase << std::right;
    out.fill('*');
    in_.print(out, "");
    EXPECT_EQ(printed(in_, ""), out.str());
    out.str("");
    out << 255;
    EXPECT_EQ("0xff", out.str());
}

}  // namespace

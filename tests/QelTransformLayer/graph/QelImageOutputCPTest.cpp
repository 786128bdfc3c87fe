#include <cstdint>
#include <sstream>
#include <string>
#include <typeinfo>

#include "OutputCapture.h"
#include "PointTesting.h"
#include "QelColorSpaces.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"

namespace {

class QelImageOutputCPTest : public testing::Test {
  protected:
    QelImageOutputCPTest() { source_->setLabel("source"); }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    QelImageOutputCP & out_ = imageOutput(*source_);
    // An output that a test describes, of a transform that leaves that alone.
    MoxSmartPtr<PlainTransform> plain_ = new PlainTransform("plain");
    QelImageOutputCP & free_ = plain_->addImageOutput("free");
    MoxSmartPtr<QelXyCoordSpace> space_ = new QelXyCoordSpace(70, 50);
    MoxSmartPtr<QelColorSpace> lum_ = new QelLumColorSpace();
    MoxSmartPtr<QelDataOrg> org_ = TestImage{.bands = 1, .type = QelDataType::Short}.dataOrg();
};

// ---- A new point, and points made from points

TEST_F(QelImageOutputCPTest, HasStaleStreamDataOfItsOwn) {
    QelImageOutputCP const output("output");
    EXPECT_EQ("output", output.name());
    EXPECT_EQ("QelImageOutputCP", output.getClassName());
    EXPECT_EQ(typeid(QelImageStreamData), output.getDataType());
    ASSERT_NE(nullptr, output.imageStreamData());
    EXPECT_EQ(output.imageStreamData(), output.streamData());
    EXPECT_EQ(&output, output.streamData()->owner());
    EXPECT_TRUE(output.streamData()->outOfDate());
    EXPECT_FALSE(output.streamData()->statusOk());
    EXPECT_FALSE(output.caching());
    EXPECT_EQ(0, output.streamData()->cachingCount());
    EXPECT_NE(output.streamData(), out_.streamData());
}

TEST_F(QelImageOutputCPTest, OneMadeWithCachingRegistersOnce) {
    ScopedSetting const setting(QelSystemConfig::tileCachingDefault, true);
    QelImageOutputCP output("output");
    EXPECT_TRUE(output.caching());
    EXPECT_EQ(1, output.streamData()->cachingCount());
    EXPECT_TRUE(output.streamData()->caching());
    output.setCaching(true);
    EXPECT_EQ(1, output.streamData()->cachingCount());
    output.setCaching(false);
    EXPECT_EQ(0, output.streamData()->cachingCount());
    EXPECT_FALSE(output.streamData()->caching());
    EXPECT_FALSE(output.getTileContainer()->cacheTiles());
}

TEST_F(QelImageOutputCPTest, TheCountNeverFallsBelowZero) {
    out_.streamData()->setCachingClient(false);
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    out_.setCaching(true);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    EXPECT_TRUE(out_.streamData()->caching());
}

TEST_F(QelImageOutputCPTest, ACloneHasTheClassAndTheNameAndNothingElse) {
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    add->connect(&out_);
    out_.setCaching(true);
    MoxSmartPtr<QelConnectionPoint> const clone = out_.clone();
    auto const * const output = dynamic_cast<QelImageOutputCP *>(clone.get());
    ASSERT_NE(nullptr, output);
    EXPECT_EQ("QelImageOutputCP", output->getClassName());
    EXPECT_EQ("out", output->name());
    EXPECT_EQ(nullptr, output->owner());
    EXPECT_EQ(0u, output->numConnectedInputs());
    EXPECT_NE(out_.streamData(), output->streamData());
    EXPECT_EQ(1, clone->refCount());
}

TEST_F(QelImageOutputCPTest, CreateMakesOneOfAnotherName) {
    MoxSmartPtr<QelConnectionPoint> const made = out_.create("other");
    auto const * const output = dynamic_cast<QelImageOutputCP *>(made.get());
    ASSERT_NE(nullptr, output);
    EXPECT_EQ("QelImageOutputCP", output->getClassName());
    EXPECT_EQ("other", output->name());
    EXPECT_EQ(nullptr, output->owner());
}

TEST_F(QelImageOutputCPTest, CreateAliasMakesAnAliasForImages) {
    MoxSmartPtr<QelConnectionPoint> const made = out_.createAlias("alias");
    auto const * const alias = dynamic_cast<QelImageAliasCP *>(made.get());
    ASSERT_NE(nullptr, alias);
    EXPECT_EQ("alias", alias->name());
    EXPECT_EQ(nullptr, alias->owner());
    EXPECT_EQ(nullptr, alias->streamData());
}

TEST_F(QelImageOutputCPTest, ACopiedTransformCopiesTheCaching) {
    out_.setCaching(true);
    MoxSmartPtr<QelTransform> const copy = source_->clone();
    EXPECT_TRUE(imageOutput(*copy).caching());
    EXPECT_EQ(1, imageOutput(*copy).streamData()->cachingCount());
    out_.setCaching(false);
    MoxSmartPtr<QelTransform> const other = source_->clone();
    EXPECT_EQ(0, imageOutput(*other).streamData()->cachingCount());
}

// ---- The description

TEST_F(QelImageOutputCPTest, IsDescribedAtOnce) {
    free_.setAttributes(org_, space_, lum_, nullptr, true);
    EXPECT_TRUE(free_.streamData()->statusOk());
    EXPECT_FALSE(free_.streamData()->outOfDate());
    EXPECT_EQ(org_.get(), free_.getDataOrg().get());
    EXPECT_EQ(org_.get(), free_.getDefaultDataOrg().get());
    EXPECT_EQ(space_.get(), free_.getCoordSpace().get());
    EXPECT_EQ(lum_.get(), free_.getColorSpace().get());
    EXPECT_EQ(1, free_.numBands());
    EXPECT_TRUE(free_.commonPrecision() == QelDataType::Short);
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    free_.getMaxAvailableResolution(width, height);
    EXPECT_EQ(70u, width);
    EXPECT_EQ(50u, height);
    EXPECT_EQ(QelRect(0, 0, 70, 50), free_.getMaxResRegion()->pixelBounds());
    EXPECT_EQ(0, plain_->setups);
}

TEST_F(QelImageOutputCPTest, TheRegionOfADescriptionHasNoMeaning) {
    MoxSmartPtr<QelXySimpleRegion> const region = new QelXySimpleRegion(space_.get(), 10, 10, 5, 5);
    free_.setAttributes(org_, space_, lum_, region.get(), true);
    EXPECT_EQ(QelRect(0, 0, 70, 50), free_.getMaxResRegion()->pixelBounds());
    free_.setAttributes(org_, space_, lum_, nullptr, false);
    EXPECT_FALSE(free_.streamData()->statusOk());
    EXPECT_FALSE(free_.streamData()->outOfDate());
}

TEST_F(QelImageOutputCPTest, TheStatusIsSetWithOrWithoutTheDescription) {
    free_.setAttributes(org_, space_, lum_, nullptr, true);
    free_.setAttributes(false, false);
    EXPECT_FALSE(free_.streamData()->statusOk());
    EXPECT_EQ(org_.get(), free_.getDataOrg().get());
    free_.setAttributes(true, false);
    EXPECT_TRUE(free_.streamData()->statusOk());
    EXPECT_EQ(org_.get(), free_.getDataOrg().get());
    free_.setAttributes(false, true);
    EXPECT_FALSE(free_.streamData()->statusOk());
    EXPECT_FALSE(free_.getDataOrg());
    EXPECT_FALSE(free_.getCoordSpace());
    EXPECT_FALSE(free_.getColorSpace());
}

TEST_F(QelImageOutputCPTest, IsDescribedByParts) {
    free_.setAttributes(org_, space_, lum_, nullptr, true);
    MoxSmartPtr<QelXyCoordSpace> const space = new QelXyCoordSpace(20, 10);
    free_.setCoordSpace(space);
    EXPECT_EQ(space.get(), free_.getCoordSpace().get());
    free_.setPixelType(QelDataType::Float);
    EXPECT_TRUE(free_.commonPrecision() == QelDataType::Float);
    free_.setPixelType(QelDataType::UChar, 5);
    EXPECT_TRUE(free_.commonPrecision() == QelDataType::UChar);
    MoxSmartPtr<QelColorSpace> const rgb = new QelRGBColorSpace();
    free_.setColorSpace(3, rgb);
    EXPECT_EQ(rgb.get(), free_.getColorSpace().get());
    EXPECT_EQ(3, free_.numBands());
    free_.setLayout(BAND_INTERLEAVED);
    auto const * const simple = dynamic_cast<QelSimpleDataOrg const *>(free_.getDataOrg().get());
    ASSERT_NE(nullptr, simple);
    EXPECT_EQ(BAND_INTERLEAVED, simple->layout());
    free_.setDataOrg(org_);
    EXPECT_EQ(org_.get(), free_.getDataOrg().get());
}

TEST_F(QelImageOutputCPTest, QuestionsSetTheTransformUp) {
    EXPECT_EQ(3, out_.numBands());
    EXPECT_EQ(300u, out_.getCoordSpace()->numPixelsWide());
    EXPECT_EQ(1, source_->setups());
}

// ---- Pixels

TEST_F(QelImageOutputCPTest, DeliversPixels) {
    QelImageRequestDesc const request(out_.getMaxResRegion());
    MoxSmartPtr<QelRectBuffer> const pixels = out_.getData(&request, true);
    ASSERT_TRUE(pixels);
    EXPECT_TRUE(showsPixels(*pixels, QelRect(0, 0, 300, 200), gradientAt));
    MoxSmartPtr<QelRectBuffer> const own(
        new QelRectBuffer(out_.getDataOrg(), QelRect(10, 20, 30, 40)));
    EXPECT_TRUE(out_.fillRWBuffer(own.get(), &request, true));
    EXPECT_TRUE(showsPixels(*own, QelRect(10, 20, 30, 40), gradientAt));
    // The pixels of the request, wherever the buffer lies.
    MoxSmartPtr<QelXySimpleRegion> const part = out_.getMaxResRegion();
    part->setPixelBounds(QelRect(10, 20, 30, 40));
    QelImageRequestDesc const partRequest(part);
    MoxSmartPtr<QelRectBuffer> const shared(
        new QelRectBuffer(out_.getDataOrg(), QelRect(0, 0, 30, 40)));
    EXPECT_TRUE(out_.shareBuffer(shared.get(), &partRequest));
    EXPECT_TRUE(showsPixels(*shared, QelRect(0, 0, 30, 40), [](auto x, auto y, int band) {
        return gradientAt(x + 10, y + 20, band);
    }));
}

TEST_F(QelImageOutputCPTest, DeliversTilesAndImages) {
    QelTileId const id(1, 1, 300, 200);
    EXPECT_FALSE(out_.findTile(id));
    MoxSmartPtr<QelTile> const created = out_.createTile(id);
    ASSERT_TRUE(created);
    EXPECT_EQ(created.get(), out_.findTile(id).get());
    MoxSmartPtr<QelTile> const tile = out_.getTile(id);
    ASSERT_TRUE(tile);
    EXPECT_EQ(created.get(), tile.get());
    EXPECT_TRUE(showsPixels(*tile, QelRect(128, 128, 128, 72), gradientAt));
    EXPECT_EQ(tile.get(), out_.getTile(1, 1, out_.getCoordSpace().get()).get());
    MoxSmartPtr<Qel2DImage> const image = out_.get2DImage(id);
    EXPECT_EQ(image.get(), out_.get2DImage(out_.getMaxResRegion().get()).get());
    EXPECT_EQ(image.get(), out_.getTileContainer()->findImage(id).get());
}

TEST_F(QelImageOutputCPTest, ABadStatusYieldsNothingAndALine) {
    plain_->problem = "out of ink";
    QelImageRequestDesc const request(
        MoxSmartPtr<QelXyRegion>(new QelXySimpleRegion(space_.get(), 0, 0, 5, 5)));
    OutputCapture capture;
    EXPECT_FALSE(free_.getData(&request, true));
    EXPECT_EQ("Bad status (getData) in plain:free\n", capture.take());
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(org_, QelRect(0, 0, 5, 5)));
    EXPECT_FALSE(free_.fillRWBuffer(buffer.get(), &request, true));
    EXPECT_EQ("Bad status (fillRWBuffer) in plain:free\n", capture.take());
    EXPECT_FALSE(free_.shareBuffer(buffer.get(), &request));
    EXPECT_EQ("Bad status (shareBuffer) in plain:free\n", capture.take());
    EXPECT_FALSE(free_.getTile(QelTileId(0, 0, 70, 50)));
    EXPECT_EQ("Bad status (getTile) in plain:free\n", capture.take());
    expectQelError(free_.getStatusMessage(), QelErrorCode::invalidValue, "out of ink");
}

// ---- Without stream data, as on an alias that leads nowhere

TEST_F(QelImageOutputCPTest, EveryOperationNeedsStreamData) {
    QelImageAliasCP alias("alias");
    QelImageOutputCP & point = alias;
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    QelXySimpleRegion const region;
    QelImageRequestDesc const request(nullptr);
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(org_, QelRect(0, 0, 5, 5)));
    QelTileId const id(0, 0, 70, 50);
    auto const expect = [&](char const * operation, auto const & action) {
        SCOPED_TRACE(operation);
        expectNoStreamData(alias, "unknown", operation, action);
    };
    expect("setAttributes", [&] { point.setAttributes(org_, space_, lum_, nullptr, true); });
    expect("setAttributes", [&] { point.setAttributes(true, true); });
    expect("setDataOrg", [&] { point.setDataOrg(org_); });
    expect("setPixelType", [&] { point.setPixelType(QelDataType::Short); });
    expect("setLayout", [&] { point.setLayout(BAND_INTERLEAVED); });
    expect("setCoordSpace", [&] { point.setCoordSpace(space_); });
    expect("setColorSpace", [&] { point.setColorSpace(1, lum_); });
    expect("getCoordSpace", [&] { (void)point.getCoordSpace(); });
    expect("getColorSpace", [&] { (void)point.getColorSpace(); });
    expect("getDataOrg", [&] { (void)point.getDataOrg(); });
    expect("getDefaultDataOrg", [&] { (void)point.getDefaultDataOrg(); });
    expect("numBands", [&] { (void)point.numBands(); });
    expect("commonPrecision", [&] { (void)point.commonPrecision(); });
    expect("getMaxAvailableResolution", [&] { point.getMaxAvailableResolution(width, height); });
    expect("getMaxResRegion", [&] { (void)point.getMaxResRegion(); });
    expect("getTileContainer", [&] { (void)point.getTileContainer(); });
    expect("get2DImage", [&] { (void)point.get2DImage(id); });
    expect("get2DImage", [&] { (void)point.get2DImage(&region); });
    expect("getData", [&] { (void)point.getData(&request, true); });
    expect("shareBuffer", [&] { (void)point.shareBuffer(buffer.get(), &request); });
    expect("fillRWBuffer", [&] { (void)point.fillRWBuffer(buffer.get(), &request, true); });
    expect("getTile", [&] { (void)point.getTile(id); });
    expect("getTile", [&] { (void)point.getTile(0, 0, space_.get()); });
    expect("createTile", [&] { (void)point.createTile(id); });
    expect("findTile", [&] { (void)point.findTile(id); });
    expect("setStatusOK", [&] { point.setStatusOK(); });
    expect("setStatusBad", [&] { point.setStatusBad(ZanError()); });
    EXPECT_EQ(7u, width);
    EXPECT_EQ(8u, height);
}

// ---- The end

TEST_F(QelImageOutputCPTest, ConsumersAreDisconnectedWhileTheStreamDataLives) {
    // A consumer that caches gives that up at the end of the output.
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    imageInput(*add).setCaching(true);
    add->connect(&free_);
    EventLog log;
    MoxSmartPtr<PlainTransform> const noted = new PlainTransform("noted");
    noted->addInput<NotedInput>(new NotedInput("in", log)).connect(&free_);
    log.clear();
    plain_->removeOutputConnectionPoint(0);
    EXPECT_EQ((EventLog{"in no data, unconnected", "in out of date, unconnected"}), log);
    EXPECT_EQ(nullptr, imageInput(*add).streamData());
    EXPECT_EQ(nullptr, imageInput(*add).imageStreamData());
    EXPECT_EQ(nullptr, imageInput(*add).getConnectedOutput(false).get());
}

TEST_F(QelImageOutputCPTest, AnImageThatIsHeldOutlivesTheOutput) {
    MoxSmartPtr<Qel2DImage> const image = out_.get2DImage(QelTileId(0, 0, 300, 200));
    source_.release();
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    ASSERT_TRUE(tile);
    EXPECT_TRUE(showsPixels(*tile, QelRect(0, 0, 128, 128), gradientAt));
}

// ---- Printing

TEST_F(QelImageOutputCPTest, PrintsStreamDataAndConsumers) {
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    add->setLabel("add");
    add->connect(&out_);
    MoxSmartPtr<JointTransform> const joint = new JointTransform(2, 0);
    joint->setLabel("joint");
    joint->getInputCP(1)->connect(&out_);
    std::ostringstream data;
    out_.streamData()->print(data, ">     ");
    EXPECT_EQ("> " + printedHead(out_, "output-cp", "source") + data.str() +
                  ">     connected input: in of add(AddTransform)\n"
                  ">     connected input: in1 of joint(JointTransform)\n",
              printed(out_, "> "));
    // The stream data names the point as its owner.
    EXPECT_NE(std::string::npos,
              data.str().find("owner:       0x" + hexText(dynamic_cast<void const *>(&out_))));
}

TEST_F(QelImageOutputCPTest, PrintsAFreePoint) {
    QelImageOutputCP const output("an output with a long name");
    std::ostringstream data;
    output.streamData()->print(data, "    ");
    EXPECT_EQ("an output with a long name [addr:0x" + hexText(dynamic_cast<void const *>(&output)) +
                  " unknown NULL type:QelImageOutputCP]\n" + data.str(),
              printed(output, ""));
}

TEST_F(QelImageOutputCPTest, PrintsAPointWithoutStreamData) {
    NumbersOutput const output("numbers");
    EXPECT_EQ(printedHead(output, "unknown", "NULL"), printed(output, ""));
}

}  // namespace

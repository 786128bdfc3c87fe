#include "QelTestCardTransform.h"

#include "ClientTransformTesting.h"

namespace {

class QelTestCardTransformTest : public testing::Test {
  protected:
    void setSize(int width, int height) {
        card_->setAttributeValue("width", width);
        card_->setAttributeValue("height", height);
    }

    Random random_{20240419};
    MoxSmartPtr<QelTestCardTransform> card_ = new QelTestCardTransform;
};

TEST_F(QelTestCardTransformTest, HasASize) {
    EXPECT_EQ("QelTestCardTransform", card_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"width=1024", "height=768"}), attributesOf(*card_));
    EXPECT_EQ(1024, card_->attributeValue<int>("width"));
    EXPECT_EQ(768, card_->attributeValue<int>("height"));
    EXPECT_EQ(0, card_->numInputs());
    EXPECT_EQ("out", card_->output()->name());
    EXPECT_EQ("testcard", QelTestCardTransform::catalogEntry().name);
    EXPECT_TRUE(QelTestCardTransform::catalogEntry().isSource);
}

TEST_F(QelTestCardTransformTest, RefusesSizesOutOfRange) {
    for (char const * const name : {"width", "height"}) {
        std::string const start = std::string("The value of testcard:") + name + " is ";
        std::string const end = ", it must lie between 1 and 1000000";
        for (BadValue<int> const & row :
             std::vector<BadValue<int>>{{name, 0, start + "0" + end, 1},
                                        {name, -5, start + "-5" + end, 9},
                                        {name, 1000001, start + "1000001" + end, 1000000},
                                        {name, 2147483647, start + "2147483647" + end, 50}}) {
            expectRefusedWhileBad(*card_, row);
        }
    }
}

TEST_F(QelTestCardTransformTest, ShowsWhatTheOpMakes) {
    for (auto const & [width, height] :
         {std::pair(300, 200), std::pair(1, 1), std::pair(1, 200), std::pair(129, 127)}) {
        setSize(width, height);
        expectPixels(*card_, *madeBy(new QelTestCardOp(width, height)), random_);
    }
}

TEST_F(QelTestCardTransformTest, Has72DotsPerInch) {
    setSize(144, 36);
    expectGood(*card_);
    MoxSmartPtr<QelXyCoordSpace> const space = card_->output()->getCoordSpace();
    EXPECT_EQ(QEL_UNIT_INCH, space->unit());
    EXPECT_NEAR(2, space->width().value(), 1e-12);
    EXPECT_NEAR(0.5, space->height().value(), 1e-12);
    ASSERT_EQ(1U, space->numResolutions());
    EXPECT_EQ(72, space->getResolution(0).horz.dpu);
    EXPECT_EQ(72, space->getResolution(0).vert.dpu);
    EXPECT_STREQ("QelRGBColorSpace", card_->output()->getColorSpace()->className());
    EXPECT_EQ(3, card_->output()->numBands());
}

TEST_F(QelTestCardTransformTest, AnotherResolutionIsNotThere) {
    card_->setLabel("card");
    setSize(300, 200);
    expectGood(*card_);
    EXPECT_NE(nullptr, card_->determineOp(QelTileId(0, 0, 300, 200), 0));
    expectRaises(QelErrorCode::noMatchingResolution,
                 "The picture of transform card(QelTestCardTransform) has no resolution of 150 x "
                 "100 pixels",
                 [&] { card_->determineOp(QelTileId(0, 0, 150, 100), 0); });
}

TEST_F(QelTestCardTransformTest, ALargeOneMakesOnlyWhatIsAskedFor) {
    setSize(100000, 90000);
    QelImageRequestDesc const request(regionOf(*card_, QelRect(99990, 89980, 10, 20)));
    MoxSmartPtr<QelRectBuffer> const found = card_->output()->getData(&request, true);
    QelTestCardOp op(100000, 90000);
    QelRectBuffer expected(QelRect(99990, 89980, 10, 20), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    op.compute(&expected, 0);
    ASSERT_TRUE(found);
    EXPECT_TRUE(showsPixels(*found, expected.rect(), pixelsOf(expected)));
}

TEST_F(QelTestCardTransformTest, ChangesMarkDownstreamOnly) {
    expectMarksDownstreamOnly(*card_, [&] { card_->setAttributeValue("width", 30); });
    expectMarksDownstreamOnly(*card_, [&] { card_->setAttributeValue("height", 30); });
}

TEST_F(QelTestCardTransformTest, ACloneGoesItsOwnWay) {
    setSize(64, 48);
    expectCloneIsApart(*card_, [](QelTransform & clone) { clone.setAttributeValue("width", 20); });
    MoxSmartPtr<QelTransform> const clone = card_->clone();
    clone->setAttributeValue("width", 20);
    expectPixels(*clone, *madeBy(new QelTestCardOp(20, 48)), random_);
    expectPixels(*card_, *madeBy(new QelTestCardOp(64, 48)), random_);
}

// All operations of the library, one behind the other, and one behind all of them.
TEST_F(QelTestCardTransformTest, FeedsAChainOfAllOperations) {
    setSize(200, 150);
    std::vector<MoxSmartPtr<QelTransform>> chain{card_};
    auto const append = [&](char const * text) {
        MoxSmartPtr<QelTransform> const next = QelTransformCatalog::standard().parse(text).make();
        next->connect(0, chain.back().get(), 0);
        chain.push_back(next);
    };
    for (char const * const text :
         {"invert", "linear:gain=1.5,offset=-20", "blur:radius=3",
          "convolve:kernel=-1:0:1:-2:1:2:-1:0:1", "sharpen", "invert", "blur"}) {
        append(text);
    }
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(new QelTestCardOp(200, 150));
    image = new Qel2DImage(new QelInvertOp(image));
    image = new Qel2DImage(new QelLinearOp(image, 1.5, -20));
    image = new Qel2DImage(new QelBlurOp(image, 3));
    image = new Qel2DImage(
        new QelConvolveOp(image, QelConvolutionKernel({-1, 0, 1, -2, 1, 2, -1, 0, 1})));
    image = new Qel2DImage(new QelSharpenOp(image));
    image = new Qel2DImage(new QelInvertOp(image));
    image = new Qel2DImage(new QelBlurOp(image));
    expectPixels(*chain.back(), *allOf(*image), random_);

    // Regions grow on their way up, link by link: 1 + 0 + 1 + 1 + 3 pixels.
    MoxSmartPtr<QelXyRegion> region = regionOf(*chain.back(), QelRect(100, 60, 10, 10));
    for (auto link = chain.rbegin(); link != chain.rend() - 1; ++link)
        region = (*link)->getInputRegion(*region, 0, 0);
    EXPECT_EQ(QelRect(94, 54, 22, 22), region->pixelBounds());

    // The status of the last one follows from the first one.
    card_->setAttributeValue("width", 0);
    EXPECT_FALSE(chain.back()->isStatusOk());
    card_->setAttributeValue("width", 200);
    expectPixels(*chain.back(), *allOf(*image), random_);
}

}  // namespace

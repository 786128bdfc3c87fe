#include "QelInvertTransform.h"

#include "ClientTransformTesting.h"

namespace {

MoxSmartPtr<QelImageOp> inverted(MoxSmartPtr<Qel2DImage> const & image) {
    return MoxSmartPtr<QelImageOp>(new QelInvertOp(image));
}

TEST(QelInvertTransformTest, HasNoAttributes) {
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    EXPECT_EQ("QelInvertTransform", invert->getClassName());
    EXPECT_EQ(0, invert->getNumAttributes());
    ASSERT_EQ(1, invert->numInputs());
    ASSERT_EQ(1, invert->numOutputs());
    EXPECT_EQ("in", invert->getInputCP(0)->name());
    EXPECT_EQ("out", invert->getOutputCP(0)->name());
    EXPECT_EQ("invert", QelInvertTransform::catalogEntry().name);
    EXPECT_EQ("QelInvertTransform", QelInvertTransform::catalogEntry().className);
}

TEST(QelInvertTransformTest, ShowsWhatTheOpMakes) {
    Random random(20240405);
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    expectPixelsOfOp(*invert, random, inverted);
}

TEST(QelInvertTransformTest, TwoOfThemShowTheSource) {
    Random random(20240406);
    MoxSmartPtr<QelRectBuffer> const picture =
        randomPicture(random, 150, 90, 3, QelDataType::Short);
    MoxSmartPtr<QelTransform> const source = new PicturesTransform(picture);
    MoxSmartPtr<QelTransform> const first = new QelInvertTransform;
    MoxSmartPtr<QelTransform> const second = new QelInvertTransform;
    first->connect(0, source.get(), 0);
    second->connect(0, first.get(), 0);
    expectPixels(*second, *picture, random);
}

TEST(QelInvertTransformTest, DescribesItsInput) {
    Random random(20240407);
    MoxSmartPtr<QelTransform> const source = randomSource(random, 90, 60, 3, QelDataType::UShort);
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    invert->connect(0, source.get(), 0);
    expectGood(*invert);
    EXPECT_STREQ("QelRGBColorSpace", outputOf(*invert).getColorSpace()->className());
    EXPECT_EQ(QelRect(0, 0, 90, 60), outputOf(*invert).getMaxResRegion()->pixelBounds());
    EXPECT_TRUE(outputOf(*invert).commonPrecision() == QelDataType::UShort);
}

TEST(QelInvertTransformTest, ShowsEachResolutionOfItsInput) {
    Random random(20240408);
    std::vector<MoxSmartPtr<QelRectBuffer>> const pictures{
        randomPicture(random, 120, 80, 3, QelDataType::UChar),
        randomPicture(random, 60, 40, 3, QelDataType::UChar)};
    MoxSmartPtr<QelTransform> const source = new PicturesTransform(pictures);
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    invert->connect(0, source.get(), 0);
    for (MoxSmartPtr<QelRectBuffer> const & picture : pictures) {
        MoxSmartPtr<Qel2DImage> const image = outputOf(*invert).get2DImage(
            QelTileId(0, 0, picture->rect().width, picture->rect().height));
        ASSERT_TRUE(image);
        MoxSmartPtr<QelRectBuffer> const expected =
            madeBy(inverted(new Qel2DImage(new PictureOp(picture))));
        EXPECT_TRUE(showsPixels(*allOf(*image), picture->rect(), pixelsOf(*expected)));
    }
}

TEST(QelInvertTransformTest, NeedsThePixelsAtTheSamePlace) {
    Random random(20240409);
    MoxSmartPtr<QelTransform> const source = randomSource(random, 90, 60);
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    EXPECT_EQ(nullptr, invert->getInputRegion(*regionOf(*source, QelRect(1, 2, 3, 4)), 0, 0));
    invert->connect(0, source.get(), 0);
    expectReach(*invert, 0, random);
}

TEST(QelInvertTransformTest, TakesNumbersOnly) {
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    expectTakesNumbersOnly(*invert);
}

TEST(QelInvertTransformTest, WithoutInputItIsBad) {
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    invert->setLabel("negative");
    expectBad(*invert, QelErrorCode::noCommonResolution,
              "Input in(index 0) of transform negative(QelInvertTransform) is unconnected");
}

TEST(QelInvertTransformTest, AChangedConnectionMarksDownstreamOnly) {
    Random random(20240410);
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    MoxSmartPtr<QelTransform> const other = randomSource(random, 20, 10);
    expectMarksDownstreamOnly(*invert, [&] { invert->connect(0, other.get(), 0); });
}

TEST(QelInvertTransformTest, AClonesConnectionsAreItsOwn) {
    MoxSmartPtr<QelTransform> const invert = new QelInvertTransform;
    expectCloneIsApart(*invert, [](QelTransform & clone) {
        clone.addAttribute(new QelSimpleAttribute<int>("added", 1), true);
    });
}

}  // namespace

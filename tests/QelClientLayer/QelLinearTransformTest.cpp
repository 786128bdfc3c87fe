#include "QelLinearTransform.h"

#include <limits>

#include "ClientTransformTesting.h"

namespace {

TEST(QelLinearTransformTest, HasAGainAndAnOffset) {
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    EXPECT_EQ("QelLinearTransform", linear->getClassName());
    EXPECT_EQ((std::vector<std::string>{"gain=1", "offset=0"}), attributesOf(*linear));
    EXPECT_EQ(1.0, linear->attributeValue<double>("gain"));
    EXPECT_EQ(0.0, linear->attributeValue<double>("offset"));
    EXPECT_EQ("in", linear->getInputCP(0)->name());
    EXPECT_EQ("out", linear->getOutputCP(0)->name());
    EXPECT_EQ("linear", QelLinearTransform::catalogEntry().name);
}

TEST(QelLinearTransformTest, AnotherTypeOfValueIsMisuse) {
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    std::optional<ZanError> const error = errorOf([&] { linear->setAttributeValue("gain", 2); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::misuse, error->getErrcode());
    EXPECT_EQ(1.0, linear->attributeValue<double>("gain"));
}

TEST(QelLinearTransformTest, RefusesValuesOutOfRange) {
    Random random(20240411);
    MoxSmartPtr<QelTransform> const source = randomSource(random, 30, 20);
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    linear->connect(0, source.get(), 0);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (char const * const name : {"gain", "offset"}) {
        std::string const start = std::string("The value of linear:") + name + " is ";
        std::string const end = ", it must lie between -1000000 and 1000000";
        for (BadValue<double> const & row :
             std::vector<BadValue<double>>{{name, 1000000.5, start + "1000000.5" + end, 1e6},
                                           {name, -2e6, start + "-2000000" + end, -1e6},
                                           {name, infinity, start + "inf" + end, 0},
                                           {name, -infinity, start + "-inf" + end, 1},
                                           {name, nan, start + "nan" + end, 2}}) {
            expectRefusedWhileBad(*linear, row);
        }
    }
}

TEST(QelLinearTransformTest, ShowsWhatTheOpMakes) {
    Random random(20240412);
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    for (auto const & [gain, offset] :
         {std::pair(1.0, 0.0), std::pair(-1.5, 200.25), std::pair(0.0, 7.0)}) {
        linear->setAttributeValue("gain", gain);
        linear->setAttributeValue("offset", offset);
        expectPixelsOfOp(*linear, random,
                         [gain = gain, offset = offset](MoxSmartPtr<Qel2DImage> const & image) {
                             return MoxSmartPtr<QelImageOp>(new QelLinearOp(image, gain, offset));
                         });
    }
}

// Pixels follow the attributes, and tiles that were computed before do not come back.
TEST(QelLinearTransformTest, PixelsFollowTheAttributes) {
    Random random(20240413);
    MoxSmartPtr<QelRectBuffer> const picture =
        randomPicture(random, 150, 90, 3, QelDataType::UChar);
    MoxSmartPtr<QelTransform> const source = new PicturesTransform(picture);
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    linear->connect(0, source.get(), 0);
    linear->setCaching(true);
    for (double const offset : {0.0, 50.0, -50.0, 0.0}) {
        linear->setAttributeValue("offset", offset);
        MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(new PictureOp(picture));
        expectPixels(*linear, *madeBy(new QelLinearOp(image, 1, offset)), random);
    }
}

TEST(QelLinearTransformTest, NeedsThePixelsAtTheSamePlace) {
    Random random(20240414);
    MoxSmartPtr<QelTransform> const source = randomSource(random, 90, 60);
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    linear->connect(0, source.get(), 0);
    expectReach(*linear, 0, random);
}

TEST(QelLinearTransformTest, TakesNumbersOnly) {
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    expectTakesNumbersOnly(*linear);
}

TEST(QelLinearTransformTest, ChangesMarkDownstreamOnly) {
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    expectMarksDownstreamOnly(*linear, [&] { linear->setAttributeValue("gain", 2.0); });
    expectMarksDownstreamOnly(*linear, [&] { linear->setAttributeValue("offset", 2.0); });
}

TEST(QelLinearTransformTest, ACloneGoesItsOwnWay) {
    MoxSmartPtr<QelTransform> const linear = new QelLinearTransform;
    linear->setAttributeValue("gain", 0.5);
    linear->setAttributeValue("offset", -3.0);
    expectCloneIsApart(*linear, [](QelTransform & clone) { clone.setAttributeValue("gain", 4.0); });
}

}  // namespace

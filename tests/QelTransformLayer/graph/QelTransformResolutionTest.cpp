#include <initializer_list>

#include "ExpectError.h"
#include "QelError.h"
#include "QelUnitInfo.h"
#include "QelXySimpleRegion.h"
#include "TransformTesting.h"

// The coordinate spaces of outputs, the regions that belong together across a transform, and the
// resolution of an input that goes with one of an output.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

QelResolution const anyRes;

// So many dots per inch.
QelResolution dpi(double dots) {
    return QelResolution(dots, QEL_UNIT_INCH);
}

Resolution pixels(std::uint32_t across, std::uint32_t down) {
    return {QelResolution::ofPixels(across), QelResolution::ofPixels(down)};
}

// A space of 3 by 2 inches with these rows.
MoxSmartPtr<QelXyCoordSpace> spaceOf(std::initializer_list<Resolution> rows) {
    MoxSmartPtr<QelXyCoordSpace> space(
        new QelXyCoordSpace(QelValue(3.0, QEL_UNIT_INCH), QelValue(2.0, QEL_UNIT_INCH)));
    for (Resolution const & row : rows)
        space->addResolution(row);
    return space;
}

// "image" has an image output of `space`; null for none.
MoxSmartPtr<ScriptedTransform> imageOf(MoxSmartPtr<QelXyCoordSpace> const & space) {
    MoxSmartPtr<ScriptedTransform> image(new ScriptedTransform("image"));
    image->onSetup = [space](ScriptedTransform & self) {
        imageOutput(self).setAttributes(TestImage{}.dataOrg(), space, nullptr, nullptr, true);
        self.setStatusOK();
    };
    return image;
}

// "t" with an image input "in0" of such a space, a number input "number", an image output "out0"
// and a number output "number".
class Between {
  public:
    explicit Between(std::initializer_list<Resolution> rows) : Between(spaceOf(rows)) {}
    explicit Between(MoxSmartPtr<QelXyCoordSpace> const & space) : image_(imageOf(space)) {
        t_->addInput(new NumberInputCP("number"));
        t_->addOutput(new NumberOutputCP("number"));
        t_->connect(0, image_, 0);
    }
    ScriptedTransform & operator*() { return *t_; }
    ScriptedTransform * operator->() { return t_; }
    // The rows of the input's space.
    unsigned rows() { return imageInput(*t_).getCoordSpace()->numResolutions(); }

  private:
    MoxSmartPtr<ScriptedTransform> image_;
    MoxSmartPtr<ScriptedTransform> t_{new ScriptedTransform("t", 1, 1)};
};

void expectPixels(std::uint32_t across, std::uint32_t down, Resolution const & found) {
    EXPECT_EQ(across, found.horz.pixels);
    EXPECT_EQ(down, found.vert.pixels);
}

void expectDpi(double across, double down, Resolution const & found) {
    EXPECT_DOUBLE_EQ(across, found.horz.getDpu(QEL_UNIT_INCH));
    EXPECT_DOUBLE_EQ(down, found.vert.getDpu(QEL_UNIT_INCH));
}

// ---- getCoordSpace

TEST(QelTransformResolutionTest, TheCoordSpaceIsThatOfTheOutput) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceOf({{dpi(10), dpi(10)}});
    MoxSmartPtr<ScriptedTransform> const image = imageOf(space);
    EXPECT_EQ(space.get(), image->getCoordSpace(0).get());
    EXPECT_EQ(1, image->setups());
}

TEST(QelTransformResolutionTest, ABadTransformHasNoCoordSpace) {
    MoxSmartPtr<ScriptedTransform> const bad(new ScriptedTransform("bad"));
    bad->onSetup = [](ScriptedTransform &) { qelRaise(QelErrorCode::invalidValue, "no space"); };
    EXPECT_EQ(nullptr, bad->getCoordSpace(0).get());
    EXPECT_EQ(1, bad->setups());
}

TEST(QelTransformResolutionTest, RefusesTheCoordSpaceOfAnOutputThatIsNoImage) {
    Between t({});
    expectRaises(QelErrorCode::notAnImage,
                 "Requested the CoordSpace of output connection point with index 1 of transform "
                 "t(ScriptedTransform) which is not an image connection point; it has type "
                 "NumberOutputCP",
                 [&] { t->getCoordSpace(1); });
    EXPECT_EQ(1, t->setups());
}

TEST(QelTransformResolutionTest, RefusesTheCoordSpaceOfAnOutputThatIsNotThere) {
    Between t({});
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an output CP with index 2; there are only 2 connection "
                 "points",
                 [&] { t->getCoordSpace(2); });
}

// ---- getInputRegion and getOutputRegion

// A region in pixels of a resolution of `space`.
QelXySimpleRegion regionOf(MoxSmartPtr<QelXyCoordSpace> const & space, std::uint32_t across,
                           std::uint32_t down, QelRect const & rect) {
    MoxSmartPtr<QelXyCoordSpace> const selected = space->cloneXy();
    selected->selectResolution(across, down);
    return QelXySimpleRegion(selected, rect.x, rect.y, rect.width, rect.height);
}

void expectWhole(MoxSmartPtr<QelXyRegion> const & region, std::int32_t across, std::int32_t down) {
    ASSERT_TRUE(region);
    EXPECT_EQ(QelRect(0, 0, across, down), region->pixelBounds());
    EXPECT_EQ(across, region->xyCoordSpace()->selectedPixelWidth());
    EXPECT_EQ(down, region->xyCoordSpace()->selectedPixelHeight());
}

TEST(QelTransformResolutionTest, APartOfAnOutputNeedsAllOfTheInput) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceOf({{dpi(100), dpi(100)}, {dpi(50), dpi(50)}});
    Between t(space);
    QelXySimpleRegion const part = regionOf(space, 150, 100, QelRect(10, 20, 30, 40));
    MoxSmartPtr<QelXyRegion> const needed = t->getInputRegion(part, 0, 0);
    expectWhole(needed, 150, 100);
    EXPECT_EQ("QelXySimpleRegion", needed->className());
    EXPECT_EQ(QelRect(10, 20, 30, 40), part.pixelBounds());
    expectWhole(t->getInputRegion(regionOf(space, 300, 200, QelRect(0, 0, 1, 1)), 0, 0), 300, 200);
}

TEST(QelTransformResolutionTest, TheInputRegionIsInTheSpaceOfTheInput) {
    MoxSmartPtr<QelXyCoordSpace> const outside =
        new QelXyCoordSpace(QelValue(6.0, QEL_UNIT_INCH), QelValue(4.0, QEL_UNIT_INCH));
    outside->addResolution({dpi(50), dpi(50)});
    Between t({{dpi(100), dpi(100)}});
    MoxSmartPtr<QelXyRegion> const needed =
        t->getInputRegion(regionOf(outside, 300, 200, QelRect(1, 2, 3, 4)), 0, 0);
    expectWhole(needed, 300, 200);
    EXPECT_EQ(QelValue(3.0, QEL_UNIT_INCH), needed->xyCoordSpace()->width());
}

TEST(QelTransformResolutionTest, ThereIsNoRegionOfAnInputWithoutASpace) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceOf({{dpi(100), dpi(100)}});
    QelXySimpleRegion const part = regionOf(space, 300, 200, QelRect(10, 20, 30, 40));
    Between withoutSpace{MoxSmartPtr<QelXyCoordSpace>()};
    EXPECT_EQ(nullptr, withoutSpace->getInputRegion(part, 0, 0).get());
    MoxSmartPtr<ScriptedTransform> const unconnected(new ScriptedTransform("u", 1, 1));
    EXPECT_EQ(nullptr, unconnected->getInputRegion(part, 0, 0).get());
    EXPECT_EQ(nullptr, withoutSpace->getInputRegion(part, 1, 0).get());
}

TEST(QelTransformResolutionTest, RefusesTheRegionOfAnInputThatIsNotThere) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceOf({{dpi(100), dpi(100)}});
    Between t(space);
    QelXySimpleRegion const part = regionOf(space, 300, 200, QelRect(10, 20, 30, 40));
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index 2; there are only 2 connection "
                 "points",
                 [&] { t->getInputRegion(part, 2, 0); });
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an output CP with index 2; there are only 2 connection "
                 "points",
                 [&] { t->getOutputRegion(part, 0, 2); });
}

TEST(QelTransformResolutionTest, APartOfAnInputReachesAllOfTheOutput) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceOf({{dpi(100), dpi(100)}, {dpi(50), dpi(50)}});
    MoxSmartPtr<ScriptedTransform> const image = imageOf(space);
    QelXySimpleRegion const part = regionOf(space, 150, 100, QelRect(10, 20, 30, 40));
    expectWhole(image->getOutputRegion(part, 0, 0), 150, 100);
    EXPECT_EQ(QelRect(10, 20, 30, 40), part.pixelBounds());
    MoxSmartPtr<ScriptedTransform> const withoutSpace(new ScriptedTransform("u", 1, 1));
    EXPECT_EQ(nullptr, withoutSpace->getOutputRegion(part, 0, 0).get());
}

// ---- getMatchingPixelInput

TEST(QelTransformResolutionTest, FindsTheSamePixelResolution) {
    Between t({{dpi(100), dpi(100)}, {dpi(50), dpi(50)}, {dpi(10), dpi(20)}});
    expectPixels(150, 100, t->getMatchingPixelInput(pixels(150, 100), 0));
    expectPixels(300, 200, t->getMatchingPixelInput(pixels(300, 200), 0, 0));
    Resolution const found = t->getMatchingPixelInput(pixels(30, 40), 0, -1);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(3U, t.rows());
}

TEST(QelTransformResolutionTest, PrefersTheFirstOfSeveralSamePixelResolutions) {
    Between t({{dpi(10.0), dpi(10.0)}, {dpi(10.04), dpi(10.04)}, {anyRes, anyRes}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 20), 0);
    expectPixels(30, 20, found);
    expectDpi(10.0, 10.0, found);
}

TEST(QelTransformResolutionTest, PrefersTheSamePixelResolutionToOneOfHalf) {
    Between t({{dpi(10.04), anyRes}, {anyRes, dpi(10.04)}, {anyRes, anyRes}, {dpi(10), dpi(10)}});
    expectDpi(10, 10, t->getMatchingPixelInput(pixels(30, 20), 0));
}

TEST(QelTransformResolutionTest, CompletesARowOfTheSameWidth) {
    Between t({{dpi(100), dpi(100)}, {dpi(10), anyRes}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 40), 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(2U, t.rows());
}

TEST(QelTransformResolutionTest, CompletesARowOfTheSameHeight) {
    Between t({{dpi(100), dpi(100)}, {anyRes, dpi(20)}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 40), 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(2U, t.rows());
}

TEST(QelTransformResolutionTest, TakesTheLastRowOfTheSameWidth) {
    Between t({{dpi(10.0), anyRes}, {dpi(10.04), anyRes}, {dpi(100), anyRes}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 40), 0);
    expectPixels(30, 40, found);
    expectDpi(10.04, 20, found);
}

TEST(QelTransformResolutionTest, TakesTheLastRowOfTheSameHeight) {
    Between t({{anyRes, dpi(10.0)}, {anyRes, dpi(10.04)}, {anyRes, dpi(100)}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 20), 0);
    expectPixels(30, 20, found);
    expectDpi(10, 10.04, found);
}

TEST(QelTransformResolutionTest, PrefersARowOfTheSameWidthToOneOfTheSameHeightAndThatToAny) {
    Between width({{anyRes, anyRes}, {dpi(10.04), anyRes}, {anyRes, dpi(10.04)}});
    expectDpi(10.04, 10, width->getMatchingPixelInput(pixels(30, 20), 0));
    Between height({{anyRes, anyRes}, {anyRes, dpi(10.04)}});
    expectDpi(10, 10.04, height->getMatchingPixelInput(pixels(30, 20), 0));
    EXPECT_EQ(2U, height.rows());
}

TEST(QelTransformResolutionTest, AddsTheResolutionWhereAnyIsAvailable) {
    Between t({{dpi(100), dpi(100)}, {anyRes, anyRes}});
    Resolution const found = t->getMatchingPixelInput(pixels(30, 40), 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(3U, t.rows());
    EXPECT_TRUE(imageInput(*t).getCoordSpace()->hasPixelResolution(30, 40));
    expectPixels(30, 40, t->getMatchingPixelInput(pixels(30, 40), 0));
    EXPECT_EQ(3U, t.rows());
}

TEST(QelTransformResolutionTest, RefusesPixelsThatNoRowHas) {
    Between t({{dpi(100), dpi(100)}, {dpi(50), anyRes}, {anyRes, dpi(25)}});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find pixel resolution 30,20 in input: (300,200) (150,0) (0,50)",
                 [&] { t->getMatchingPixelInput(pixels(30, 20), 0); });
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find pixel resolution 300,20 in input: (300,200) (150,0) (0,50)",
                 [&] { t->getMatchingPixelInput(pixels(300, 20), 0); });
    EXPECT_EQ(3U, t.rows());
    Between none({});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find pixel resolution 30,20 in input:", [&] {
                     none->getMatchingPixelInput(pixels(30, 20), 0);
                 });
}

TEST(QelTransformResolutionTest, ShowsLargeCountsOfPixelsInFull) {
    Between t({{dpi(1000000), dpi(2000001.5)}});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find pixel resolution 4294967295,1234567 in input: (3000000,4000003)",
                 [&] { t->getMatchingPixelInput(pixels(4294967295U, 1234567), 0); });
}

// ---- getMatchingResolutionInput

TEST(QelTransformResolutionTest, FindsTheSameDotsPerUnit) {
    Between t({{dpi(100), dpi(100)}, {dpi(50), dpi(50)}, {dpi(10), dpi(20)}});
    Resolution const found = t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    expectPixels(150, 100, t->getMatchingResolutionInput({dpi(50), dpi(50)}, 0, 0));
    expectPixels(300, 200, t->getMatchingResolutionInput({dpi(100), dpi(100)}, 0, -1));
}

TEST(QelTransformResolutionTest, FindsTheSameDotsPerUnitInAnotherUnit) {
    Between t({{dpi(100), dpi(100)}, {dpi(50.8), dpi(25.4)}});
    Resolution const found = t->getMatchingResolutionInput(
        {QelResolution(20, QEL_UNIT_CENTIMETER), QelResolution(1, QEL_UNIT_MILLIMETER)}, 0);
    expectPixels(152, 51, found);
}

TEST(QelTransformResolutionTest, TheNumberOfPixelsMeansNothingForDotsPerUnit) {
    Between t({{dpi(10.0), dpi(10.0)}, {dpi(10.04), dpi(10.04)}});
    expectDpi(10.04, 10.04, t->getMatchingResolutionInput({dpi(10.04), dpi(10.04)}, 0));
}

TEST(QelTransformResolutionTest, CompletesARowOfTheSameHorizontalDots) {
    Between t({{dpi(100), dpi(100)}, {dpi(10), anyRes}});
    Resolution const found = t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(2U, t.rows());
}

TEST(QelTransformResolutionTest, CompletesARowOfTheSameVerticalDots) {
    Between t({{dpi(100), dpi(100)}, {anyRes, dpi(20)}});
    Resolution const found = t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
}

TEST(QelTransformResolutionTest, AddsTheDotsPerUnitWhereAnyAreAvailable) {
    Between t({{anyRes, anyRes}});
    Resolution const found = t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
    expectPixels(30, 40, found);
    expectDpi(10, 20, found);
    EXPECT_EQ(2U, t.rows());
    t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
    EXPECT_EQ(2U, t.rows());
}

TEST(QelTransformResolutionTest, RefusesDotsPerUnitThatNoRowHas) {
    Between t({{dpi(100), dpi(100)}, {dpi(50), anyRes}, {anyRes, dpi(25)}});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find dpu resolution 10,20 in input: (100,100) (50,0) (0,25)", [&] {
                     t->getMatchingResolutionInput({dpi(10), dpi(20)}, 0);
                 });
    EXPECT_EQ(3U, t.rows());
}

TEST(QelTransformResolutionTest, RefusesPixelsWhereAnyDotsPerUnitAreAvailable) {
    Between t({{dpi(100), dpi(100)}, {anyRes, anyRes}});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Cannot select an input resolution for an output specified in pixels, because "
                 "the input suppports arbitrary resolution",
                 [&] { t->getMatchingResolutionInput(pixels(30, 40), 0); });
    EXPECT_EQ(2U, t.rows());
}

TEST(QelTransformResolutionTest, FindsNoDotsPerUnitForPixels) {
    Between t({{dpi(100), dpi(100)}, {dpi(10), anyRes}});
    expectRaises(QelErrorCode::noMatchingResolution,
                 "Could not find dpu resolution 0,0 in input: (100,100) (10,0)",
                 [&] { t->getMatchingResolutionInput(pixels(300, 200), 0); });
}

// ---- What both refuse

TEST(QelTransformResolutionTest, RefusesAMatchForAnOutputThatIsNoImage) {
    Between t({{dpi(10), dpi(10)}});
    expectRaises(QelErrorCode::badRequest, "Bad outputCP in getMatchingPixelInput",
                 [&] { t->getMatchingPixelInput(pixels(30, 20), 1); });
    expectRaises(QelErrorCode::badRequest, "Bad outputCP in getMatchingResolutionInput", [&] {
        t->getMatchingResolutionInput({dpi(10), dpi(10)}, 1);
    });
}

TEST(QelTransformResolutionTest, RefusesAMatchForAnInputThatIsNoImage) {
    Between t({{dpi(10), dpi(10)}});
    for (int const input : {1, 2, -2}) {
        expectRaises(QelErrorCode::outOfRange, "Bad index in getMatchingPixelInput",
                     [&] { t->getMatchingPixelInput(pixels(30, 20), 0, input); });
        expectRaises(QelErrorCode::outOfRange, "Bad index in getMatchingResolutionInput", [&] {
            t->getMatchingResolutionInput({dpi(10), dpi(10)}, 0, input);
        });
    }
    MoxSmartPtr<ScriptedTransform> const source(new ScriptedTransform("s"));
    expectRaises(QelErrorCode::outOfRange, "Bad index in getMatchingPixelInput",
                 [&] { source->getMatchingPixelInput(pixels(30, 20), 0); });
}

TEST(QelTransformResolutionTest, TestsTheOutputFirst) {
    Between t({{dpi(10), dpi(10)}});
    expectRaises(QelErrorCode::badRequest, "Bad outputCP in getMatchingPixelInput",
                 [&] { t->getMatchingPixelInput(pixels(30, 20), 1, 1); });
}

TEST(QelTransformResolutionTest, RefusesAMatchForAnInputThatIsNotConnected) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    for (bool const byPixels : {true, false}) {
        std::optional<ZanError> const error = errorOf([&] {
            if (byPixels)
                t->getMatchingPixelInput(pixels(30, 20), 0);
            else
                t->getMatchingResolutionInput({dpi(10), dpi(10)}, 0);
        });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::nullPointer, error->getErrcode());
        EXPECT_NE(std::string::npos,
                  std::string(error->getMsg()).find("cannot complete function getCoordSpace( ), "))
            << error->getMsg();
    }
}

}  // namespace

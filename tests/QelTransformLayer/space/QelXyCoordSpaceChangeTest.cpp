#include <limits>
#include <sstream>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyBox.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Changes of units and extents.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelResolution samples(std::uint32_t count) {
    return QelResolution::ofPixels(count);
}

// 10 by 20 inches with rows of 1000 by 1000 (selected) and 500 by any.
QelXyCoordSpace physical() {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addResolution(1000, 1000);
    space.addResolution({samples(500), {}});
    space.selectResolution(1000, 1000);
    return space;
}

QelXyCoordSpace unselected() {
    QelXyCoordSpace space = physical();
    space.clearSelection();
    return space;
}

void expectHalf(QelResolution const & half, double dpu, int unit, std::uint32_t count) {
    EXPECT_DOUBLE_EQ(dpu, half.dpu);
    EXPECT_EQ(unit, half.unit);
    EXPECT_EQ(count, half.pixels);
}

void expectSize(QelXyCoordSpace const & space, int unit, double width, double height) {
    EXPECT_EQ(unit, space.unit());
    EXPECT_EQ(unit, space.yDimension().unit());
    EXPECT_DOUBLE_EQ(width, space.width().value());
    EXPECT_DOUBLE_EQ(height, space.height().value());
}

void expectPixels(QelXyCoordSpace const & space, std::uint32_t width, std::uint32_t height) {
    expectSize(space, QEL_UNIT_PIXEL, width, height);
    ASSERT_EQ(1U, space.numResolutions());
    expectHalf(space.getResolution(0).horz, 1.0, QEL_UNIT_PIXEL, width);
    expectHalf(space.getResolution(0).vert, 1.0, QEL_UNIT_PIXEL, height);
    expectHalf(space.selectedResolution().horz, 1.0, QEL_UNIT_PIXEL, width);
    expectHalf(space.selectedResolution().vert, 1.0, QEL_UNIT_PIXEL, height);
}

// ---- Units

TEST(QelXyCoordSpaceChangeTest, FromAUnitOfLengthToAnother) {
    QelXyCoordSpace space = physical();
    space.setXyUnit(QEL_UNIT_CENTIMETER);
    expectSize(space, QEL_UNIT_CENTIMETER, 25.4, 50.8);
    expectHalf(space.getResolution(0).horz, 1000 / 25.4, QEL_UNIT_CENTIMETER, 1000);
    expectHalf(space.getResolution(1).horz, 500 / 25.4, QEL_UNIT_CENTIMETER, 500);
    EXPECT_TRUE(space.getResolution(1).vert.isArbitrary());
    expectHalf(space.selectedResolution().horz, 1000 / 25.4, QEL_UNIT_CENTIMETER, 1000);
    expectHalf(space.selectedResolution().vert, 1000 / 50.8, QEL_UNIT_CENTIMETER, 1000);

    QelXyCoordSpace without = unselected();
    without.setXyUnit(QEL_UNIT_CENTIMETER);
    EXPECT_FALSE(without.hasSelectedResolution());
}

TEST(QelXyCoordSpaceChangeTest, ToPixelsTheSelectionIsTheExtent) {
    QelXyCoordSpace space = physical();
    space.setOrigin(0, inches(3));
    space.selectResolution(500, 77);
    space.setXyUnit(QEL_UNIT_PIXEL);
    expectPixels(space, 500, 77);
    EXPECT_EQ(0.0, space.xDimension().origin().value());
    space.setXyUnit(QEL_UNIT_ARBITRARY);
    expectSize(space, QEL_UNIT_ARBITRARY, 500, 77);
    expectHalf(space.selectedResolution().vert, 1.0, QEL_UNIT_ARBITRARY, 77);
    space.setXyUnit(QEL_UNIT_PIXEL);
    expectPixels(space, 500, 77);
}

TEST(QelXyCoordSpaceChangeTest, ToARelativeUnitResolutionsGo) {
    for (int const unit : {2, 3, 4}) {
        QelXyCoordSpace space = physical();
        space.setXyUnit(unit);
        expectSize(space, unit, 1, 1);
        EXPECT_EQ(0U, space.numResolutions());
        EXPECT_FALSE(space.hasSelectedResolution());
        QelXyCoordSpace pixel(6, 7);
        pixel.setXyUnit(unit);
        EXPECT_EQ(stateOf(space), stateOf(pixel));
        pixel.setXyUnit(2);
        expectSize(pixel, 2, 1, 1);
    }
}

TEST(QelXyCoordSpaceChangeTest, ThePresentUnitIsLeftAlone) {
    for (QelXyCoordSpace space :
         {physical(), unselected(), QelXyCoordSpace(5, 6), QelXyCoordSpace(QEL_UNIT_NORMALIZED)}) {
        std::string const before = stateOf(space);
        QelXyCoordSpace const copy(space);
        space.setXyUnit(space.unit());
        EXPECT_EQ(before, stateOf(space));
        EXPECT_EQ(&copy.dimension(0), &space.dimension(0));
    }
}

// 0 where it is done, or the code of the refusal.
TEST(QelXyCoordSpaceChangeTest, FromEveryKindToEveryKind) {
    int const targets[] = {
        0, QEL_UNIT_PIXEL, 2, 3, 4, QEL_UNIT_INCH, QEL_UNIT_METER, QEL_UNIT_SECOND};
    QelXyCoordSpace unnamed(QelValue(10, 0), QelValue(20, 0));
    unnamed.addResolution(5, 6);
    unnamed.selectResolution(5, 6);
    struct Case {
        char const * name;
        QelXyCoordSpace space;
        int codes[8];
    };
    constexpr int noSelection = QelErrorCode::noSelectedResolution;
    constexpr int noConversion = QelErrorCode::cannotConvertUnit;
    Case const cases[] = {
        {"with a selection", physical(), {0, 0, 0, 0, 0, 0, 0, noConversion}},
        {"without one", unselected(), {0, noSelection, 0, 0, 0, 0, 0, noConversion}},
        {"arbitrary", unnamed, {0, 0, 0, 0, 0, 0, 0, 0}},
        {"pixels",
         QelXyCoordSpace(5, 6),
         {0, 0, 0, 0, 0, noConversion, noConversion, noConversion}},
        {"width relative",
         QelXyCoordSpace(2),
         {0, noSelection, 0, 0, 0, noConversion, noConversion, noConversion}},
        {"height relative",
         QelXyCoordSpace(3),
         {0, noSelection, 0, 0, 0, noConversion, noConversion, noConversion}},
        {"normalized",
         QelXyCoordSpace(4),
         {0, noSelection, 0, 0, 0, noConversion, noConversion, noConversion}},
    };
    for (Case const & each : cases) {
        for (int i = 0; i < 8; ++i) {
            SCOPED_TRACE(std::string(each.name) + " to " + std::to_string(targets[i]));
            QelXyCoordSpace space = each.space;
            int code = 0;
            try {
                space.setXyUnit(targets[i]);
            } catch (ZanError const & error) {
                code = error.getErrcode();
            }
            EXPECT_EQ(each.codes[i], code);
            EXPECT_EQ(code == 0 ? targets[i] : each.space.unit(), space.unit());
            EXPECT_EQ(space.unit(), space.yDimension().unit());
            EXPECT_EQ(space.isPixelBased(),
                      space.xDimension().range().discrete() == 1 && space.unit() == QEL_UNIT_PIXEL);
            EXPECT_TRUE(!space.isRelative() || space.numResolutions() == 0);
        }
    }
}

TEST(QelXyCoordSpaceChangeTest, UnitsAreRefused) {
    QelXyCoordSpace space = physical();
    QelXyCoordSpace without = unselected();
    QelXyCoordSpace part(QEL_UNIT_WIDTH_RELATIVE);
    QelXyCoordSpace pixel(5, 6);
    constexpr char const * needsSelection =
        "Cannot convert QelXyCoordSpace unit to QEL_UNIT_PIXEL, unless there is a selected "
        "resolution.";
    EXPECT_REFUSED(QelErrorCode::noSelectedResolution, needsSelection, without,
                   without.setXyUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(QelErrorCode::noSelectedResolution, needsSelection, part,
                   part.setXyUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)", space,
                   space.setXyUnit(QEL_UNIT_SECOND));
    EXPECT_REFUSED(
        QelErrorCode::cannotConvertUnit,
        "Cannot convert from unit width relative units (id = 2) to unit inches (id = 43)", part,
        part.setXyUnit(QEL_UNIT_INCH));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)", pixel,
                   pixel.setXyUnit(QEL_UNIT_INCH));
    EXPECT_REFUSED(QelErrorCode::unitNotRegistered, "Unit identifier 99 has not been registered",
                   space, space.setXyUnit(99));
    EXPECT_REFUSED(QelErrorCode::noSuchUnit, "Unit identifier -1 is not in the range 0 through 255",
                   space, space.setXyUnit(-1));
}

TEST(QelXyCoordSpaceChangeTest, FurtherDimensionsHaveTheirOwnUnits) {
    QelXyCoordSpace space = physical();
    space.addDimension(std::make_unique<QelDimension>("time", QelValue(2, QEL_UNIT_MINUTE)));
    space.setDimensionUnit(2, QEL_UNIT_SECOND);
    EXPECT_EQ(120.0, space.dimension(2).width().value());
    space.setDimensionUnit(1, QEL_UNIT_CENTIMETER);
    expectSize(space, QEL_UNIT_CENTIMETER, 25.4, 50.8);
    char const * const names[] = {"", "pixel", "width relative unit", "height relative unit",
                                  "normalized unit"};
    for (int const unit : {1, 2, 3, 4}) {
        std::string const text =
            std::string("Cannot convert dimension \"time\" to unit of measure \"") + names[unit] +
            "\". QelXyCoordSpace reserves that unit for the x and y dimensions only";
        EXPECT_REFUSED(QelErrorCode::cannotConvertDimension, text, space,
                       space.setDimensionUnit(2, unit));
        EXPECT_REFUSED(QelErrorCode::cannotConvertDimension, text, space, space.setUnit(unit));
    }
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", space,
                   space.setUnit(QEL_UNIT_INCH));
    EXPECT_REFUSED(QelErrorCode::outOfRange, "index value 3 into coord space with 3 dimensions",
                   space, space.setDimensionUnit(3, 0));
    space.setUnit(QEL_UNIT_ARBITRARY);
    EXPECT_EQ(0, space.unit());
    EXPECT_EQ(0, space.dimension(2).unit());
    space.scale(2.0);
    EXPECT_EQ(240.0, space.dimension(2).width().value());
    space.scaleDimension(2, 0.5, true);
    space.translateDimension(2, {7, 0});
    EXPECT_EQ(7.0, space.dimension(2).origin().value());
    EXPECT_EQ(120.0, space.dimension(2).width().value());
    space.setDimension(QelDimension("time", inches(1)));
    space.renameDimension(2, "depth");
    EXPECT_EQ(2U, space.indexOf("depth"));
    space.removeDimension(2);
    EXPECT_EQ(2U, space.numDimensions());
}

TEST(QelXyCoordSpaceChangeTest, XAndYStayWhereTheyAre) {
    QelXyCoordSpace space = physical();
    QelDimension const other("x", inches(1));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override x-dimension of QelXyCoordSpace by calling setDimension( )",
                   space, space.setDimension(0, other));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override y-dimension of QelXyCoordSpace by calling setDimension( )",
                   space, space.setDimension(1, other));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override x-dimension of QelXyCoordSpace by calling setDimension( )",
                   space, space.setDimension(other));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override y-dimension of QelXyCoordSpace by calling swapDimensions( )",
                   space, space.swapDimensions(1, 0));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override x-dimension of QelXyCoordSpace by calling removeDimension( )",
                   space, space.removeDimension(0));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override y-dimension of QelXyCoordSpace by calling renameDimension( )",
                   space, space.renameDimension(1, "x"));
    EXPECT_REFUSED(QelErrorCode::unsupported,
                   "Cannot override x-dimension of QelXyCoordSpace by calling insertDimension( )",
                   space, space.insertDimension(std::make_unique<QelDimension>(other), 0));
}

// ---- Origin and width

TEST(QelXyCoordSpaceChangeTest, SetOriginTakesEveryUnit) {
    struct Case {
        char const * name;
        QelValue origin;
        double x;
        double y;
    };
    // From an origin of (1, 2), with 100 and 50 dots per inch.
    Case const cases[] = {
        {"inches", inches(4), 4, 4},
        {"centimeters", centimeters(5.08), 2, 2},
        {"arbitrary", {4, QEL_UNIT_ARBITRARY}, 4, 4},
        {"pixels", pixels(9.5), 1 + 0.1, 2 + 0.2},
        {"width relative", {0.5, QEL_UNIT_WIDTH_RELATIVE}, 1 + 5, 2 + 5},
        {"height relative", {0.5, QEL_UNIT_HEIGHT_RELATIVE}, 1 + 10, 2 + 10},
        {"normalized", normalized(0.5), 1 + 5, 2 + 10},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace space = physical();
        space.setOrigin(0, inches(1));
        space.setOrigin(1, inches(2));
        space.setOrigin(0, each.origin);
        space.setOrigin(1, each.origin);
        EXPECT_DOUBLE_EQ(each.x, space.xDimension().origin().value());
        EXPECT_DOUBLE_EQ(each.y, space.yDimension().origin().value());
        expectSize(space, QEL_UNIT_INCH, 10, 20);
    }
}

TEST(QelXyCoordSpaceChangeTest, TranslateIsSetOrigin) {
    QelXyCoordSpace space = physical();
    space.translateDimension(0, centimeters(2.54));
    space.translateDimension(0, inches(2));
    EXPECT_DOUBLE_EQ(3.0, space.xDimension().origin().value());
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)", space,
                   space.translateDimension(0, pixels(1)));
}

TEST(QelXyCoordSpaceChangeTest, OriginsAreRefused) {
    QelXyCoordSpace pixel(5, 6);
    std::string const before = stateOf(pixel);
    pixel.setOrigin(0, inches(3));
    pixel.translateDimension(1, pixels(3));
    EXPECT_EQ(before, stateOf(pixel));

    QelXyCoordSpace part(QEL_UNIT_NORMALIZED);
    QelXyCoordSpace without = unselected();
    QelXyCoordSpace space = physical();
    constexpr char const * relative =
        "Cannot change origin of coordinate space based on relative unit of measure";
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, relative, part, part.setOrigin(0, inches(1)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, relative, part,
                   part.translateDimension(1, normalized(1)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "cannot pass values to coord space in units of pixels, if coord space has no "
                   "selected resolution",
                   without, without.setOrigin(0, pixels(1)));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", space,
                   space.setOrigin(1, {1, QEL_UNIT_SECOND}));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 2 into coord space with 2 dimensions of an image", space,
                   space.setOrigin(2, inches(1)));
}

TEST(QelXyCoordSpaceChangeTest, SetWidthTakesEveryUnit) {
    struct Case {
        char const * name;
        QelValue width;
        double x;
        double y;
    };
    Case const cases[] = {
        {"inches", inches(5), 5, 5},
        {"centimeters", centimeters(5.08), 2, 2},
        {"arbitrary", {4, QEL_UNIT_ARBITRARY}, 4, 4},
        {"pixels", pixels(250), 2.5, 5},
        {"width relative", {0.5, QEL_UNIT_WIDTH_RELATIVE}, 5, 5},
        {"height relative", {0.5, QEL_UNIT_HEIGHT_RELATIVE}, 10, 10},
        {"normalized", normalized(0.5), 5, 10},
    };
    for (Case const & each : cases) {
        for (bool const keepDpu : {false, true}) {
            SCOPED_TRACE(each.name);
            QelXyCoordSpace x = physical();
            x.setOrigin(0, inches(3));
            x.setWidth(0, each.width, keepDpu);
            expectSize(x, QEL_UNIT_INCH, each.x, 20);
            EXPECT_EQ(3.0, x.xDimension().origin().value());
            double const dpu = keepDpu ? 100 : 1000 / each.x;
            expectHalf(x.selectedResolution().horz, dpu, QEL_UNIT_INCH,
                       static_cast<std::uint32_t>(dpu * each.x + 0.5));
            expectHalf(x.selectedResolution().vert, 50, QEL_UNIT_INCH, 1000);
            EXPECT_EQ(x.selectedResolution().horz.pixels, x.getResolution(0).horz.pixels);
            QelXyCoordSpace y = physical();
            y.setWidth(1, each.width, keepDpu);
            expectSize(y, QEL_UNIT_INCH, 10, each.y);
        }
    }
}

TEST(QelXyCoordSpaceChangeTest, SetWidthInPixelsRounds) {
    QelXyCoordSpace space(640, 480);
    space.setWidth(0, pixels(99.5), false);
    space.setWidth(1, {1.2, QEL_UNIT_WIDTH_RELATIVE}, true);
    expectPixels(space, 100, 120);
    space.setWidth(1, {7, QEL_UNIT_ARBITRARY}, false);
    expectPixels(space, 100, 7);
    space.setWidth(0, pixels(4294967295.0), false);
    expectPixels(space, 4294967295U, 7);
}

TEST(QelXyCoordSpaceChangeTest, WidthsAreRefused) {
    GroupedLocale const grouped;
    QelXyCoordSpace pixel(5, 6);
    QelXyCoordSpace part(QEL_UNIT_NORMALIZED);
    QelXyCoordSpace without = unselected();
    QelXyCoordSpace space = physical();
    EXPECT_REFUSED(
        QelErrorCode::unsuitableUnit,
        "Cannot change width/height of coordinate space based on relative unit of measure", part,
        part.setWidth(0, inches(1), false));
    EXPECT_REFUSED(QelErrorCode::illegalExtent,
                   "attempt to set width of pixel based coordinate space to 0.4(unit id = 1) "
                   "resulted in an illegal dimension length of 0",
                   pixel, pixel.setWidth(0, pixels(0.4), false));
    EXPECT_REFUSED(QelErrorCode::illegalExtent,
                   "attempt to set height of pixel based coordinate space to -2000.5(unit id = 4) "
                   "resulted in an illegal dimension length of -12003",
                   pixel, pixel.setWidth(1, normalized(-2000.5), true));
    EXPECT_REFUSED(QelErrorCode::illegalExtent,
                   "attempt to set width of pixel based coordinate space to nan(unit id = 1) "
                   "resulted in an illegal dimension length of nan",
                   pixel, pixel.setWidth(0, pixels(nan), true));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)", pixel,
                   pixel.setWidth(0, inches(5), false));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "cannot pass values to coord space in units of pixels, if coord space has no "
                   "selected resolution",
                   without, without.setWidth(0, pixels(1), false));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "attempt to set width of dimension object to a values which is <= 0.0", space,
                   space.setWidth(0, inches(0), false));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 2 into coord space with 2 dimensions of an image", space,
                   space.setWidth(2, inches(1), false));
    // 100 dots per inch leave no sample.
    std::string const before = stateOf(space);
    std::optional<ZanError> const error = errorOf([&] { space.setWidth(0, inches(0.004), true); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::noSamples, error->getErrcode());
    EXPECT_EQ(before, stateOf(space));
}

TEST(QelXyCoordSpaceChangeTest, SetExtentsBoxKeepsSamples) {
    QelXyCoordSpace space = physical();
    space.setExtentsBox(QelXyBox({inches(1), inches(5), 0, true, true},
                                 {centimeters(2.54), centimeters(25.4), 0, true, true}));
    expectSize(space, QEL_UNIT_INCH, 5, 10);
    EXPECT_DOUBLE_EQ(1.0, space.yDimension().origin().value());
    expectHalf(space.selectedResolution().horz, 200, QEL_UNIT_INCH, 1000);
    expectHalf(space.selectedResolution().vert, 100, QEL_UNIT_INCH, 1000);
    QelXyCoordSpace pixel(640, 480);
    pixel.setExtentsBox(
        QelXyBox({pixels(5), pixels(9), 1, true, true}, {pixels(5), pixels(8), 1, true, true}));
    expectPixels(pixel, 9, 8);
}

}  // namespace

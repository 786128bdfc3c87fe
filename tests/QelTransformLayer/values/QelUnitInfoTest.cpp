#include "QelUnitInfo.h"

#include <gtest/gtest.h>

#include <set>

#include "ExpectError.h"
#include "QelValue.h"
#include "UnitTesting.h"

namespace {

struct Row {
    int id;
    char const * singular;
    char const * plural;
    int standardId;
    double multiplier;
    double tolerance;
    bool isStandard;
};

constexpr Row table[] = {
    {0, "arbitrary unit", "arbitrary units", 0, 0.0, 1e-06, true},
    {1, "pixel", "pixels", 1, 0.0, 1e-06, true},
    {2, "width relative unit", "width relative units", 2, 0.0, 1e-06, true},
    {3, "height relative unit", "height relative units", 3, 0.0, 1e-06, true},
    {4, "normalized unit", "normalized units", 4, 0.0, 1e-06, true},
    {5, "meter", "meters", 5, 1.0, 1e-06, true},
    {6, "second", "seconds", 6, 1.0, 1e-06, true},
    {7, "radian", "radians", 7, 1.0, 1e-06, true},
    {10, "degree", "degrees", 7, 0.017453292519944444, 5.729577951307854e-05, false},
    {11, "grad", "grads", 7, 0.01570796326795, 6.366197723675393e-05, false},
    {12, "arc minute", "arc minutes", 7, 0.00029088820866574077, 0.0034377467707847127, false},
    {13, "arc second", "arc seconds", 7, 4.848136811095679e-06, 0.2062648062470828, false},
    {20, "minute", "minutes", 6, 60.0, 1.6666666666666667e-08, false},
    {21, "hour", "hours", 6, 3600.0, 2.7777777777777777e-10, false},
    {22, "frame", "frames", 6, 0.041666666666666664, 2.4e-05, false},
    {23, "video frame", "video frames", 6, 0.03333333333333333, 2.9999999999999997e-05, false},
    {30, "micron", "microns", 5, 1e-06, 0.09999999999999999, false},
    {31, "millimeter", "millimeters", 5, 0.001, 0.001, false},
    {32, "centimeter", "centimeters", 5, 0.01, 9.999999999999999e-05, false},
    {33, "decimeter", "decimeters", 5, 0.1, 9.999999999999999e-06, false},
    {40, "mil", "mils", 5, 2.54e-05, 0.03937007874015748, false},
    {41, "point", "points", 5, 0.00035277777777777776, 0.0028346456692913387, false},
    {42, "pica", "pica", 5, 0.004233333333333333, 0.00023622047244094488, false},
    {43, "inch", "inches", 5, 0.0254, 3.937007874015748e-05, false},
};

TEST(QelUnitInfoTest, BuiltInUnitsAreThoseOfTheTable) {
    for (Row const & row : table) {
        SCOPED_TRACE(row.singular);
        QelUnitInfo const & unit = QelValue::getUnitInfo(row.id);
        EXPECT_EQ(row.id, unit.id);
        EXPECT_EQ(row.singular, unit.singularName);
        EXPECT_EQ(row.plural, unit.pluralName);
        EXPECT_EQ(row.standardId, unit.standardId);
        EXPECT_EQ(row.multiplier, unit.multiplier);
        EXPECT_EQ(row.tolerance, unit.tolerance);
        EXPECT_EQ(row.isStandard, unit.isStandard);
        EXPECT_TRUE(unit.isRegistered);
    }
}

TEST(QelUnitInfoTest, NamesOfIdentifiersAreThoseOfTheTable) {
    EXPECT_EQ(QEL_UNIT_ARBITRARY, 0);
    EXPECT_EQ(QEL_UNIT_PIXEL, 1);
    EXPECT_EQ(QEL_UNIT_WIDTH_RELATIVE, 2);
    EXPECT_EQ(QEL_UNIT_HEIGHT_RELATIVE, 3);
    EXPECT_EQ(QEL_UNIT_NORMALIZED, 4);
    EXPECT_EQ(QEL_UNIT_METER, 5);
    EXPECT_EQ(QEL_UNIT_SECOND, 6);
    EXPECT_EQ(QEL_UNIT_RADIAN, 7);
    EXPECT_EQ(QEL_UNIT_DEGREE, 10);
    EXPECT_EQ(QEL_UNIT_GRAD, 11);
    EXPECT_EQ(QEL_UNIT_ARC_MINUTE, 12);
    EXPECT_EQ(QEL_UNIT_ARC_SECOND, 13);
    EXPECT_EQ(QEL_UNIT_MINUTE, 20);
    EXPECT_EQ(QEL_UNIT_HOUR, 21);
    EXPECT_EQ(QEL_UNIT_FRAME, 22);
    EXPECT_EQ(QEL_UNIT_VIDEO_FRAME, 23);
    EXPECT_EQ(QEL_UNIT_MICRON, 30);
    EXPECT_EQ(QEL_UNIT_MILLIMETER, 31);
    EXPECT_EQ(QEL_UNIT_CENTIMETER, 32);
    EXPECT_EQ(QEL_UNIT_DECIMETER, 33);
    EXPECT_EQ(QEL_UNIT_MIL, 40);
    EXPECT_EQ(QEL_UNIT_POINT, 41);
    EXPECT_EQ(QEL_UNIT_PICA, 42);
    EXPECT_EQ(QEL_UNIT_INCH, 43);
}

TEST(QelUnitInfoTest, AllOtherIdentifiersOfTheLibraryAreFree) {
    std::set<int> const used(builtInIds().begin(), builtInIds().end());
    for (int id = 0; id < 128; ++id) {
        if (used.count(id) != 0) continue;
        SCOPED_TRACE(id);
        expectRaises(QelErrorCode::unitNotRegistered,
                     "Unit identifier " + std::to_string(id) + " has not been registered",
                     [&] { QelValue::getUnitInfo(id); });
    }
}

TEST(QelUnitInfoTest, IdentifiersOutOfRangeAreRefused) {
    constexpr int largest = std::numeric_limits<int>::max();
    for (int id : {256, 257, largest, -1, -128, -largest - 1}) {
        SCOPED_TRACE(id);
        expectRaises(QelErrorCode::noSuchUnit,
                     "Unit identifier " + std::to_string(id) + " is not in the range 0 through 255",
                     [&] { QelValue::getUnitInfo(id); });
    }
}

TEST(QelUnitInfoTest, NumbersInMessagesAreNotGrouped) {
    GroupedLocale const grouped;
    expectRaises(QelErrorCode::noSuchUnit,
                 "Unit identifier 123456 is not in the range 0 through 255",
                 [] { QelValue::getUnitInfo(123456); });
}

TEST(QelUnitInfoTest, NamesAreFoundWhateverTheirCase) {
    for (Row const & row : table) {
        for (std::string const name : {row.singular, row.plural}) {
            SCOPED_TRACE(name);
            std::string capitals = name;
            for (char & c : capitals)
                c = std::toupper(c, std::locale::classic());
            std::string first = name;
            first[0] = capitals[0];
            EXPECT_EQ(row.id, QelValue::getUnitInfo(name).id);
            EXPECT_EQ(row.id, QelValue::getUnitInfo(capitals).id);
            EXPECT_EQ(row.id, QelValue::getUnitInfo(first).id);
        }
    }
}

TEST(QelUnitInfoTest, NamesThatNoUnitHasAreRefused) {
    for (std::string const name : {"", "inc", "inchess", " inch", "inch ", "arc  minute", "furlong",
                                   "arbitrary", "\xe9", "milli\"meter"}) {
        SCOPED_TRACE(name);
        expectRaises(
            QelErrorCode::noSuchUnit,
            "The name \"" + name + "\" is not associated with a registered unit of measure",
            [&] { QelValue::getUnitInfo(name); });
    }
}

TEST(QelUnitInfoTest, ARowStaysWhereItIs) {
    QelUnitInfo const & inch = QelValue::getUnitInfo(QEL_UNIT_INCH);
    EXPECT_EQ(&inch, &QelValue::getUnitInfo("INCHES"));
    EXPECT_EQ(&inch, &QelValue::getUnitInfo(QEL_UNIT_INCH));
}

TEST(QelUnitInfoTest, RelativeAndPixelUnits) {
    for (int id = -2; id < 300; ++id) {
        SCOPED_TRACE(id);
        EXPECT_EQ(id == 2 || id == 3 || id == 4, isRelativeUnit(id));
        EXPECT_EQ(id == 1, isPixelUnit(id));
    }
}

}  // namespace

#include "QelResolution.h"

#include <cmath>
#include <iostream>
#include <limits>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelSimpleResolutionDesc.h"
#include "SpaceTesting.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(QelResolutionTest, IsArbitraryAtFirst) {
    QelResolution const resolution;
    EXPECT_TRUE(resolution.isArbitrary());
    EXPECT_FALSE(resolution.isPixelsOnly());
    EXPECT_EQ(0.0, resolution.dpu);
    EXPECT_EQ(0, resolution.unit);
    EXPECT_EQ(0U, resolution.pixels);
}

TEST(QelResolutionTest, HoldsDotsPerUnit) {
    QelResolution const resolution(300.0, QEL_UNIT_INCH);
    EXPECT_EQ(300.0, resolution.dpu);
    EXPECT_EQ(QEL_UNIT_INCH, resolution.unit);
    EXPECT_EQ(0U, resolution.pixels);
    EXPECT_FALSE(resolution.isArbitrary());
    EXPECT_FALSE(resolution.isPixelsOnly());
}

TEST(QelResolutionTest, HasNoUnitWithoutDots) {
    EXPECT_EQ(0, QelResolution(0.0, QEL_UNIT_INCH).unit);
    EXPECT_TRUE(QelResolution(0.0, QEL_UNIT_INCH).isArbitrary());
}

TEST(QelResolutionTest, OfPixelsIsPixelsOnly) {
    QelResolution const resolution = QelResolution::ofPixels(640);
    EXPECT_TRUE(resolution.isPixelsOnly());
    EXPECT_EQ(640U, resolution.pixels);
    EXPECT_TRUE(QelResolution::ofPixels(0).isArbitrary());
}

TEST(QelResolutionTest, ConstructorRefuses) {
    struct Case {
        double dpu;
        int unit;
        int code;
        char const * text;
    };
    for (Case const & each : {
             Case{1.0, -1, QelErrorCode::noSuchUnit,
                  "Unit identifier -1 is not in the range 0 through 255"},
             Case{1.0, 256, QelErrorCode::noSuchUnit,
                  "Unit identifier 256 is not in the range 0 through 255"},
             Case{1.0, 99, QelErrorCode::unitNotRegistered,
                  "Unit identifier 99 has not been registered"},
             // The unit is looked at first.
             Case{-1.0, 99, QelErrorCode::unitNotRegistered,
                  "Unit identifier 99 has not been registered"},
             Case{-1.5, QEL_UNIT_INCH, QelErrorCode::illegalDotsPerUnit,
                  "Cannot construct resolution object with dots-per-unit = -1.5"},
             Case{-12345.0, QEL_UNIT_INCH, QelErrorCode::illegalDotsPerUnit,
                  "Cannot construct resolution object with dots-per-unit = -12345"},
             Case{nan, QEL_UNIT_INCH, QelErrorCode::illegalDotsPerUnit,
                  "Cannot construct resolution object with dots-per-unit = nan"},
         }) {
        SCOPED_TRACE(each.text);
        GroupedLocale const grouped;
        expectRaises(each.code, each.text, [&] { QelResolution(each.dpu, each.unit); });
    }
}

TEST(QelResolutionTest, GetDpuRefuses) {
    expectRaises(QelErrorCode::unsuitableResolution,
                 "cannot convert resolution object with no dpu info",
                 [] { QelResolution::ofPixels(5).getDpu(QEL_UNIT_INCH); });
    expectRaises(QelErrorCode::arbitraryResolution,
                 "cannot do unit conversion on arbitrary res object",
                 [] { QelResolution().getDpu(0); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)",
                 [] { QelResolution(1.0, QEL_UNIT_INCH).getDpu(QEL_UNIT_SECOND); });
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 99 has not been registered",
                 [] { QelResolution(1.0, QEL_UNIT_INCH).getDpu(99); });
}

TEST(QelResolutionTest, GetDpuConvertsTheDistanceOfDots) {
    struct Case {
        double dpu;
        int from;
        int to;
        double expected;
    };
    for (Case const & each : {Case{300.0, QEL_UNIT_INCH, QEL_UNIT_INCH, 300.0},
                              Case{254.0, QEL_UNIT_INCH, QEL_UNIT_CENTIMETER, 100.0},
                              Case{100.0, QEL_UNIT_CENTIMETER, QEL_UNIT_INCH, 254.0},
                              Case{300.0, QEL_UNIT_INCH, QEL_UNIT_METER, 300.0 / 0.0254},
                              Case{72.0, QEL_UNIT_INCH, QEL_UNIT_POINT, 1.0},
                              Case{24.0, QEL_UNIT_SECOND, QEL_UNIT_FRAME, 1.0},
                              Case{300.0, QEL_UNIT_INCH, QEL_UNIT_ARBITRARY, 300.0},
                              Case{7.0, QEL_UNIT_ARBITRARY, QEL_UNIT_PIXEL, 7.0}}) {
        SCOPED_TRACE(each.from);
        EXPECT_NEAR(each.expected, QelResolution(each.dpu, each.from).getDpu(each.to),
                    each.expected * 1e-14);
    }
}

TEST(QelResolutionTest, GetDpuInItsOwnUnitIsExact) {
    RandomNumbers random(1);
    for (int i = 0; i < 1000; ++i) {
        double const dpu = random.magnitude(1e-9, 1e9);
        EXPECT_EQ(dpu, QelResolution(dpu, QEL_UNIT_INCH).getDpu(QEL_UNIT_INCH));
    }
}

// 300 dots per inch are 11811.02 per meter.
TEST(QelResolutionTest, IsEquivalentOf300DotsPerInchAnd11811PerMeter) {
    QelResolution const perInch(300.0, QEL_UNIT_INCH);
    QelResolution const perMeter(11811.0, QEL_UNIT_METER);
    EXPECT_TRUE(perInch.isEquivalent(perMeter, 0.001, true));
    EXPECT_TRUE(perMeter.isEquivalent(perInch, 0.001, true));
    EXPECT_FALSE(perInch.isEquivalent(perMeter, 1e-7, true));
}

TEST(QelResolutionTest, IsEquivalentTable) {
    QelResolution const any;
    QelResolution const onlyPixels = QelResolution::ofPixels(10);
    auto const inches = [](double dpu) { return QelResolution(dpu, QEL_UNIT_INCH); };
    struct Case {
        char const * name;
        QelResolution a;
        QelResolution b;
        double tolerance;
        bool relative;
        bool expected;
    };
    Case const cases[] = {
        {"arbitrary on the left", any, inches(3), 0.0, false, true},
        {"arbitrary on the right", inches(3), any, 0.0, true, true},
        {"arbitrary both", any, any, 0.0, false, true},
        {"arbitrary beats pixels only", onlyPixels, any, 0.0, false, true},
        {"pixels only on the left", onlyPixels, inches(1), 100.0, false, false},
        {"pixels only on the right", inches(1), onlyPixels, 100.0, false, false},
        {"pixels only both", onlyPixels, onlyPixels, 100.0, true, false},
        {"units that do not convert", inches(1), {1.0, QEL_UNIT_SECOND}, 100.0, false, false},
        {"a unit nobody knows", inches(1),
         [] {
             QelResolution bad;
             bad.dpu = 1.0;
             bad.unit = 99;
             return bad;
         }(),
         100.0, false, false},
        {"absolute is exclusive", inches(100), inches(101), 1.0, false, false},
        {"absolute below", inches(100), inches(100.9), 1.0, false, true},
        {"absolute, equal, no tolerance", inches(100), inches(100), 0.0, false, false},
        {"relative is inclusive", inches(100), inches(150), 0.5, true, true},
        {"relative to the smaller", inches(150), inches(100), 0.5, true, true},
        {"relative beyond", inches(100), inches(151), 0.5, true, false},
        {"relative, equal, no tolerance", inches(100), inches(100), 0.0, true, true},
        {"infinite", inches(infinity), inches(1), 1.0, true, false},
        {"tolerance that is no number", inches(1), inches(1), nan, true, false},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(each.expected, each.a.isEquivalent(each.b, each.tolerance, each.relative));
    }
}

TEST(QelResolutionDescTest, HoldsTwoCounts) {
    QelSimpleResolutionDesc const none;
    EXPECT_EQ(0U, none.horizontal());
    EXPECT_EQ(0U, none.vertical());
    QelSimpleResolutionDesc const most(4294967295U, 7);
    EXPECT_EQ(4294967295U, most.horizontal());
    EXPECT_EQ(7U, most.vertical());
}

TEST(QelResolutionDescTest, ACloneHasTheSameCountsAndItsOwnLife) {
    MoxSmartPtr<QelDataDesc> original = new QelSimpleResolutionDesc(640, 480);
    MoxSmartPtr<QelDataDesc> const copy = original->clone();
    EXPECT_NE(original.get(), copy.get());
    EXPECT_EQ(1, copy->refCount());
    original = nullptr;
    auto const * const desc = dynamic_cast<QelSimpleResolutionDesc const *>(copy.get());
    ASSERT_NE(nullptr, desc);
    EXPECT_EQ(640U, desc->horizontal());
    EXPECT_EQ(480U, desc->vertical());
}

}  // namespace

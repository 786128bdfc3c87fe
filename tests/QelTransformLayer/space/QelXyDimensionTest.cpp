#include "QelXyDimension.h"

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "SpaceTesting.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelResolution dpi(double dots) {
    return {dots, QEL_UNIT_INCH};
}

QelResolution samples(std::uint32_t count) {
    return QelResolution::ofPixels(count);
}

QelXyDimension tenInches(std::vector<QelResolution> const & resolutions = {}) {
    return {"x", inches(0), inches(10), resolutions, 0};
}

QelXyDimension part() {
    return {"x", normalized(1)};
}

void expectEntry(QelResolution const & entry, double dpu, int unit, std::uint32_t pixels) {
    EXPECT_DOUBLE_EQ(dpu, entry.dpu);
    EXPECT_EQ(unit, entry.unit);
    EXPECT_EQ(pixels, entry.pixels);
}

static_assert(std::is_constructible_v<QelXyDimension, char const *, int>);
static_assert(!std::is_constructible_v<QelXyDimension, char const *, double>);

// The edge case: pixel based, the entry follows.
TEST(QelXyDimensionTest, OfPixelsHasOneEntryThatFollowsTheExtent) {
    QelXyDimension dimension("x", 640);
    ASSERT_EQ(1U, dimension.numResolutions());
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_PIXEL, 640);
    dimension.scale(0.5);
    EXPECT_EQ(320.0, dimension.width().value());
    ASSERT_EQ(1U, dimension.numResolutions());
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_PIXEL, 320);
    dimension.setWidth(pixels(100), false);
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_PIXEL, 100);
    dimension.setRange({pixels(5), pixels(30), 1, true, true});
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_PIXEL, 30);
}

TEST(QelXyDimensionTest, EveryPixelBasedConstructorMakesTheOneEntry) {
    QelValue const zero = pixels(0);
    QelValue const width = pixels(9);
    QelResolution counted = samples(9);
    counted.dpu = 5.0;  // The count decides where there is one.
    QelXyDimension const all[] = {
        {"x", 9U},
        {"x", width},
        {"x", zero, width, 1},
        {"x", zero, width, QelResolution(1.0, QEL_UNIT_INCH), 1},
        {"x", zero, width, samples(9), 1},
        {"x", zero, width, counted, 1},
        {"x", zero, width, std::vector<QelResolution>{}, 1},
        {"x", zero, width, std::vector<QelResolution>{samples(9)}, 1},
        {"x", zero, width, std::vector<QelResolution>{{1.0, QEL_UNIT_PIXEL}}, 1},
    };
    for (QelXyDimension const & each : all) {
        ASSERT_EQ(1U, each.numResolutions());
        expectEntry(each.resolution(0), 1.0, QEL_UNIT_PIXEL, 9);
    }
}

TEST(QelXyDimensionTest, OthersHaveTheEntriesThatTheyWereGiven) {
    EXPECT_EQ(0U, QelXyDimension("x", inches(10)).numResolutions());
    EXPECT_EQ(0U, QelXyDimension("x", inches(1), inches(10), 0).numResolutions());
    EXPECT_EQ(0U, part().numResolutions());
    EXPECT_EQ(0U, QelXyDimension("x", normalized(0), normalized(1), std::vector<QelResolution>{}, 0)
                      .numResolutions());
    QelXyDimension const one("x", inches(1), inches(10), dpi(100), 0);
    ASSERT_EQ(1U, one.numResolutions());
    expectEntry(one.resolution(0), 100, QEL_UNIT_INCH, 1000);
    QelXyDimension const three = tenInches({samples(500), QelResolution(), {100, 32}});
    ASSERT_EQ(3U, three.numResolutions());
    expectEntry(three.resolution(0), 50, QEL_UNIT_INCH, 500);
    EXPECT_TRUE(three.resolution(1).isArbitrary());
    expectEntry(three.resolution(2), 254, QEL_UNIT_INCH, 2540);
}

TEST(QelXyDimensionTest, ConstructorsRefuse) {
    constexpr char const * otherThanOne =
        "Cannot construct QelXyDimension with pixel based coords and resolution != 1.0 dpu";
    constexpr char const * several =
        "Cannot construct pixel based QelXyDimension with multiple resolutions";
    constexpr char const * relativeToo =
        "Cannot construct QelXyDimension based on relative unit of measure AND define resolution "
        "information";
    QelValue const zero = pixels(0);
    QelValue const nine = pixels(9);
    auto const one = [&](QelResolution const & entry) {
        QelXyDimension("x", zero, nine, entry, 1);
    };
    auto const list = [](QelValue const & width, std::vector<QelResolution> const & entries) {
        QelXyDimension("x", QelValue(0, width.unit()), width, entries,
                       isPixelUnit(width.unit()) ? 1 : 0);
    };
    expectRaises(QelErrorCode::unsuitableUnit, otherThanOne, [&] { one({2.0, QEL_UNIT_PIXEL}); });
    expectRaises(QelErrorCode::unsuitableUnit, otherThanOne, [&] { one(samples(8)); });
    expectRaises(QelErrorCode::unsuitableUnit, otherThanOne, [&] { one(QelResolution()); });
    expectRaises(QelErrorCode::unsuitableUnit, otherThanOne, [&] {
        list(nine, {{2.0, QEL_UNIT_PIXEL}});
    });
    expectRaises(QelErrorCode::unsuitableUnit, otherThanOne,
                 [&] { list(nine, {QelResolution()}); });
    expectRaises(QelErrorCode::unsuitableUnit, several, [&] {
        list(nine, {samples(9), samples(9)});
    });
    expectRaises(QelErrorCode::unsuitableUnit, relativeToo,
                 [&] { list(normalized(1), {QelResolution()}); });
    expectRaises(QelErrorCode::unsuitableUnit, relativeToo,
                 [&] { QelXyDimension("x", normalized(0), normalized(1), QelResolution(), 0); });
    // The extent is looked at first.
    expectRaises(QelErrorCode::illegalExtent,
                 "dimension based on relative unit of measure must have a width of 0.0 or 1.0",
                 [&] { list(normalized(0.5), {samples(5)}); });
    expectRaises(QelErrorCode::illegalWidth, "Dimension object constructed with width <= 0.0", [&] {
        list(pixels(0), {samples(5), samples(5)});
    });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", [&] {
                     list(inches(1), {{1.0, QEL_UNIT_SECOND}});
                 });
}

TEST(QelXyDimensionTest, SpecifyCompletes) {
    QelXyDimension const ten = tenInches();
    // The edge cases.
    EXPECT_EQ(stateOf(QelResolution()), stateOf(ten.specify(QelResolution())));
    expectEntry(QelXyDimension("x", inches(2)).specify(samples(300)), 150, QEL_UNIT_INCH, 300);
    expectEntry(QelXyDimension("x", inches(0.5)).specify(dpi(1)), 1, QEL_UNIT_INCH, 1);
    // To the nearest, halves up.
    expectEntry(ten.specify(dpi(10.04)), 10.04, QEL_UNIT_INCH, 100);
    expectEntry(ten.specify(dpi(10.05)), 10.05, QEL_UNIT_INCH, 101);
    expectEntry(ten.specify({1.0, QEL_UNIT_CENTIMETER}), 2.54, QEL_UNIT_INCH, 25);
    // What it knows of samples is forgotten.
    QelResolution both = dpi(20);
    both.pixels = 7;
    expectEntry(ten.specify(both), 20, QEL_UNIT_INCH, 200);
    // In a relative unit as well, if it is wider than 0.0.
    expectEntry(part().specify(samples(30)), 30, QEL_UNIT_NORMALIZED, 30);
}

TEST(QelXyDimensionTest, SpecifyCountsIn32Bits) {
    QelXyDimension const ten = tenInches();
    EXPECT_EQ(4294967295U, ten.specify(dpi(429496729.5)).pixels);
    EXPECT_EQ(4294967294U, ten.specify(dpi(429496729.4)).pixels);
    EXPECT_EQ(2147483648U, QelXyDimension("x", 2147483648U).resolution(0).pixels);
    EXPECT_EQ(4294967295U, QelXyDimension("x", 4294967295U).resolution(0).pixels);
}

TEST(QelXyDimensionTest, SamplesBeyond32BitsAreRefused) {
    QelXyDimension ten = tenInches();
    std::string const end = " is not from 0 to 4294967295";
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 4294967296" + end, ten,
                   ten.specify(dpi(429496729.6)));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 4294967297" + end, ten,
                   ten.specify(dpi(429496729.7)));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 1e+301" + end, ten,
                   ten.specify(dpi(1e300)));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count inf" + end, ten,
                   ten.specify(dpi(infinity)));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 4294967296" + end, ten,
                   ten.addResolution(dpi(429496729.6)));
    QelXyDimension const endless("x", inches(infinity));
    expectRaises(QelErrorCode::invalidValue, "pixel count inf" + end,
                 [&] { endless.specify(dpi(1)); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967296" + end,
                 [] { QelXyDimension("x", pixels(4294967296.0)); });
    // What counts them anew: the width by the dots per unit, the pixels by a factor.
    ten.addResolution(dpi(1000));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 10000000000" + end, ten,
                   ten.setWidth(inches(1e7), true));
    QelXyDimension raster("x", 1000U);
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 5000000000" + end, raster,
                   raster.scale(5e6));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 5000000000" + end, raster,
                   raster.setWidth(pixels(5e9)));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count 10000000000" + end, ten,
                   ten.scalePixels(1e6));
}

TEST(QelXyDimensionTest, SpecifyRefuses) {
    QelXyDimension const none("side", normalized(0.0));
    constexpr char const * noWidth =
        "Cannot call QelXyDimension::specify( ) for dimension side where unit of measure is "
        "\"normalized unit\"";
    expectRaises(QelErrorCode::unsuitableUnit, noWidth, [&] { none.specify(QelResolution()); });
    expectRaises(QelErrorCode::unsuitableUnit, noWidth, [&] { none.specify(samples(5)); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", [] {
                     tenInches().specify({1.0, QEL_UNIT_SECOND});
                 });
}

// The edge case, and the whole text.
TEST(QelXyDimensionTest, SpecifyRefusesLessThanHalfASample) {
    GroupedLocale const grouped;
    QelXyDimension const narrow("x", inches(0.4));
    expectRaises(QelErrorCode::noSamples,
                 "Specified sampling rate is too low given image extent information -- no samples"
                 "\nDimension width =0.400000inch\nInput res=1.000000Dots Per inch"
                 "\nConverted Res=1.000000Dots Per inch\nComputed Samples=0",
                 [&] { narrow.specify(dpi(1)); });
    expectRaises(QelErrorCode::noSamples,
                 "Specified sampling rate is too low given image extent information -- no samples"
                 "\nDimension width =0.400000inch\nInput res=0.100000Dots Per centimeter"
                 "\nConverted Res=0.254000Dots Per inch\nComputed Samples=0",
                 [&] {
                     narrow.specify({0.1, QEL_UNIT_CENTIMETER});
                 });
    QelResolution negative;
    negative.dpu = -123456789.0;
    negative.unit = QEL_UNIT_INCH;
    expectRaises(QelErrorCode::noSamples,
                 "Specified sampling rate is too low given image extent information -- no samples"
                 "\nDimension width =10.000000inch\nInput res=-123456789.000000Dots Per inch"
                 "\nConverted Res=-123456789.000000Dots Per inch\nComputed Samples=-1234567890",
                 [&] { tenInches().specify(negative); });
    negative.dpu = nan;
    std::optional<ZanError> const error = errorOf([&] { tenInches().specify(negative); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::noSamples, error->getErrcode());
}

// The edge case: 1000 pixels on 10 inches that become 20.
TEST(QelXyDimensionTest, SetWidthKeepsSamplesOrDotsPerUnit) {
    QelXyDimension plain = tenInches({samples(1000), QelResolution(), samples(500)});
    QelXyDimension kept = plain;
    plain.setWidth(inches(20));
    expectEntry(plain.resolution(0), 50, QEL_UNIT_INCH, 1000);
    EXPECT_TRUE(plain.resolution(1).isArbitrary());
    expectEntry(plain.resolution(2), 25, QEL_UNIT_INCH, 500);
    kept.setWidth(inches(20), true);
    expectEntry(kept.resolution(0), 100, QEL_UNIT_INCH, 2000);
    EXPECT_TRUE(kept.resolution(1).isArbitrary());
    expectEntry(kept.resolution(2), 50, QEL_UNIT_INCH, 1000);
}

TEST(QelXyDimensionTest, SetRangeAndScaleKeepSamplesOrDotsPerUnit) {
    QelValueRange const range(inches(3), inches(5), 0, true, true);
    QelXyDimension plain = tenInches({samples(1000)});
    QelXyDimension kept = plain;
    QelXyDimension asBase = plain;
    plain.setRange(range);
    expectEntry(plain.resolution(0), 200, QEL_UNIT_INCH, 1000);
    EXPECT_EQ(3.0, plain.origin().value());
    kept.setRange(range, true);
    expectEntry(kept.resolution(0), 100, QEL_UNIT_INCH, 500);
    EXPECT_EQ(3.0, kept.origin().value());
    static_cast<QelDimension &>(asBase).setRange(range);
    EXPECT_EQ(stateOf(plain), stateOf(asBase));

    plain.scale(-2.0);
    expectEntry(plain.resolution(0), 100, QEL_UNIT_INCH, 1000);
    EXPECT_EQ(-16.0, plain.origin().value());
    kept.scale(2.0, true);
    expectEntry(kept.resolution(0), 100, QEL_UNIT_INCH, 1000);
    kept.scale(2.0, false);
    expectEntry(kept.resolution(0), 50, QEL_UNIT_INCH, 1000);
}

TEST(QelXyDimensionTest, SetUnitKeepsSamples) {
    QelXyDimension dimension = tenInches({samples(1000), QelResolution()});
    dimension.setUnit(QEL_UNIT_CENTIMETER);
    expectEntry(dimension.resolution(0), 1000 / 25.4, QEL_UNIT_CENTIMETER, 1000);
    EXPECT_TRUE(dimension.resolution(1).isArbitrary());
    dimension.setUnit(QEL_UNIT_ARBITRARY);
    expectEntry(dimension.resolution(0), 1000 / 25.4, QEL_UNIT_ARBITRARY, 1000);
    dimension.setUnit(QEL_UNIT_PIXEL);
    ASSERT_EQ(1U, dimension.numResolutions());
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_PIXEL, 25);
    dimension.setUnit(QEL_UNIT_ARBITRARY);
    expectEntry(dimension.resolution(0), 1.0, QEL_UNIT_ARBITRARY, 25);
    dimension.setUnit(QEL_UNIT_WIDTH_RELATIVE);
    EXPECT_EQ(0U, dimension.numResolutions());
}

TEST(QelXyDimensionTest, ChangesThatRaiseChangeNothing) {
    QelXyDimension dimension = tenInches({samples(1000), samples(1)});
    // The second entry has no samples left when the first has been brought up to date.
    std::string const before = stateOf(dimension);
    std::optional<ZanError> error = errorOf([&] { dimension.setWidth(inches(1), true); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::noSamples, error->getErrcode());
    EXPECT_EQ(before, stateOf(dimension));
    error = errorOf([&] { dimension.scale(-0.1, true); });
    EXPECT_EQ(before, stateOf(dimension));
    QelValueRange const range(inches(1), inches(1), 0, true, true);
    error = errorOf([&] { dimension.setRange(range, true); });
    EXPECT_EQ(before, stateOf(dimension));

    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)", dimension,
                   dimension.setUnit(QEL_UNIT_SECOND));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert dimension object from unit \"inch\" to unit \"pixel\"",
                   dimension, dimension.setUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "attempt to set width of dimension object to a values which is <= 0.0",
                   dimension, dimension.setWidth(inches(0), true));
    QelXyDimension relative = part();
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot scale dimension defined in units of \"normalized units\"", relative,
                   relative.scale(2.0, true));
}

TEST(QelXyDimensionTest, ACloneIsOfTheSameClass) {
    QelXyDimension dimension = tenInches({samples(1000)});
    std::unique_ptr<QelDimension> const copy = dimension.clone();
    ASSERT_NE(nullptr, dynamic_cast<QelXyDimension *>(copy.get()));
    std::string const before = stateOf(dimension);
    EXPECT_EQ(before, stateOf(*copy));
    copy->scale(2.0);
    EXPECT_EQ(before, stateOf(dimension));
}

}  // namespace

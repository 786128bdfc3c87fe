#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyDimension.h"
#include "SpaceTesting.h"

// The list of resolutions of a dimension.

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelResolution samples(std::uint32_t count) {
    return QelResolution::ofPixels(count);
}

QelXyDimension tenInches(std::vector<std::uint32_t> const & counts) {
    QelXyDimension dimension("x", inches(10));
    for (std::uint32_t const count : counts)
        dimension.addResolution(samples(count));
    return dimension;
}

std::vector<std::uint32_t> countsOf(QelXyDimension const & dimension) {
    std::vector<std::uint32_t> counts;
    for (unsigned i = 0; i < dimension.numResolutions(); ++i) {
        QelResolution const & entry = dimension.resolution(i);
        counts.push_back(entry.pixels);
        // Dots per unit follow the samples.
        EXPECT_DOUBLE_EQ(entry.pixels / dimension.width().value(), entry.dpu);
    }
    return counts;
}

using Counts = std::vector<std::uint32_t>;

TEST(QelXyDimensionListTest, KeepsTheOrder) {
    QelXyDimension dimension = tenInches({300, 100, 200});
    dimension.addResolution({10.0, QEL_UNIT_INCH});
    dimension.addResolution({});
    EXPECT_EQ((Counts{300, 100, 200, 100, 0}), countsOf(dimension));
    dimension.removeResolution(1);
    EXPECT_EQ((Counts{300, 200, 100, 0}), countsOf(dimension));
    dimension.replaceResolution(3, samples(50));
    dimension.replaceResolution(0, {});
    EXPECT_EQ((Counts{0, 200, 100, 50}), countsOf(dimension));
    dimension.clearResolutions();
    EXPECT_EQ((Counts{}), countsOf(dimension));
    EXPECT_NO_THROW(dimension.clearResolutions());
}

TEST(QelXyDimensionListTest, ChangesAreRefused) {
    QelXyDimension pixel("x", 9U);
    QelXyDimension part("x", normalized(1));
    QelXyDimension three = tenInches({1, 2, 3});
    constexpr char const * addPixels =
        "Cannot add resolution to dimension object defined in units of \"pixels\"";
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, addPixels, pixel,
                   pixel.addResolution({1.0, QEL_UNIT_PIXEL}));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, addPixels, pixel, pixel.addResolution({}));
    EXPECT_REFUSED(
        QelErrorCode::unsuitableUnit,
        "Cannot add resolution to dimension object defined in units of \"normalized units\"", part,
        part.addResolution({}));
    EXPECT_REFUSED(
        QelErrorCode::unsuitableUnit,
        "Cannot clear resolution info from dimension object defined in units of \"pixels\"", pixel,
        pixel.clearResolutions());
    EXPECT_NO_THROW(part.clearResolutions());
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot remove resolution from dimension object defined in units of \"pixels\"",
                   pixel, pixel.removeResolution(7));
    EXPECT_REFUSED(
        QelErrorCode::unsuitableUnit,
        "Cannot remove resolution from dimension object defined in units of \"normalized units\"",
        part, part.removeResolution(0));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot replace resolution in dimension object defined in units of \"pixels\"",
                   pixel, pixel.replaceResolution(7, {}));
    EXPECT_REFUSED(
        QelErrorCode::unsuitableUnit,
        "Cannot replace resolution in dimension object defined in units of \"normalized units\"",
        part, part.replaceResolution(0, {}));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 3 passed to QelXyDimension::removeResolution(), but object has "
                   "only 3 resolution entries",
                   three, three.removeResolution(3));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 4294967295 passed to QelXyDimension::replaceResolution(), but "
                   "object has only 3 resolution entries",
                   three, three.replaceResolution(4294967295U, {}));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 1 passed to QelXyDimension::resolution(), but object has only 1 "
                   "resolution entries",
                   pixel, pixel.resolution(1));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", three,
                   three.replaceResolution(1, {1.0, QEL_UNIT_SECOND}));
}

TEST(QelXyDimensionListTest, ScalesSamplesAndLeavesTheExtentAlone) {
    QelXyDimension dimension = tenInches({100, 0, 301});
    dimension.scalePixels(0.5);
    EXPECT_EQ((Counts{50, 0, 150}), countsOf(dimension));
    dimension.scalePixels(2U, 2.0);
    EXPECT_EQ((Counts{50, 0, 300}), countsOf(dimension));
    dimension.scalePixels(1U, 2.0);
    dimension.scalePixels(3, 2);
    EXPECT_EQ((Counts{33, 0, 200}), countsOf(dimension));
    dimension.scalePixels(0U, 2, 5);
    dimension.scalePixels(1U, 2, 5);
    EXPECT_EQ((Counts{82, 0, 200}), countsOf(dimension));
    EXPECT_EQ(10.0, dimension.width().value());
}

TEST(QelXyDimensionListTest, ScalesIn64Bits) {
    QelXyDimension dimension = tenInches({4294967295U});
    dimension.scalePixels(2147483647, 2147483647);
    EXPECT_EQ((Counts{4294967295U}), countsOf(dimension));
    EXPECT_REFUSED(QelErrorCode::invalidValue,
                   "pixel count 9.22337203041232e+18 is not from 0 to 4294967295", dimension,
                   dimension.scalePixels(1, 2147483647));
    EXPECT_REFUSED(QelErrorCode::invalidValue,
                   "pixel count 9.22337203041232e+18 is not from 0 to 4294967295", dimension,
                   dimension.scalePixels(0U, 1, 2147483647));
    EXPECT_REFUSED(QelErrorCode::invalidValue,
                   "pixel count 4.294967295e+299 is not from 0 to 4294967295", dimension,
                   dimension.scalePixels(1e290));
    EXPECT_REFUSED(QelErrorCode::invalidValue, "pixel count inf is not from 0 to 4294967295",
                   dimension, dimension.scalePixels(0U, infinity));
    EXPECT_EQ((Counts{4294967295U}), countsOf(dimension));
    dimension.scalePixels(0U, 2147483647, 1);
    EXPECT_EQ((Counts{2}), countsOf(dimension));
}

TEST(QelXyDimensionListTest, ScalingRefuses) {
    QelXyDimension dimension = tenInches({100, 300});
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by 0", dimension,
                   dimension.scalePixels(0.0));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by -1.5", dimension,
                   dimension.scalePixels(-1.5));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by nan", dimension,
                   dimension.scalePixels(nan));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by -2", dimension,
                   dimension.scalePixels(9U, -2.0));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 2 passed to QelXyDimension::scalePixels(), but object has only 2 "
                   "resolution entries",
                   dimension, dimension.scalePixels(2U, 2.0));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 100 by scale factor 0.001 results in zero pixels",
                   dimension, dimension.scalePixels(0.001));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "Cannot scale resolution number 1 by scale factor 0.001 because pixel width 300 "
                   "ends up being set to zero",
                   dimension, dimension.scalePixels(1U, 0.001));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale resolution information by zero",
                   dimension, dimension.scalePixels(0, 0));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Denominator of ratio is zero", dimension,
                   dimension.scalePixels(0, 1));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 100 by scale factor 1 over 101 results in zero pixels",
                   dimension, dimension.scalePixels(101, 1));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 100 by scale factor -1 over 2 results in zero pixels",
                   dimension, dimension.scalePixels(2, -1));
    // The index, the numerator, the denominator.
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 5 passed to QelXyDimension::scalePixels(), but object has only 2 "
                   "resolution entries",
                   dimension, dimension.scalePixels(5U, 0, 0));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale resolution information by zero",
                   dimension, dimension.scalePixels(1U, 0, 0));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Denominator of ratio is zero", dimension,
                   dimension.scalePixels(1U, 0, 1));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 300 by scale factor 1 over 301 results in zero pixels",
                   dimension, dimension.scalePixels(1U, 301, 1));
}

TEST(QelXyDimensionListTest, EntriesBeforeTheFailingOneAreScaledAlready) {
    QelXyDimension dimension = tenInches({100, 5, 100});
    expectRaises(QelErrorCode::noSamples,
                 "scaling pixel value 5 by scale factor 0.1 results in zero pixels",
                 [&] { dimension.scalePixels(0.1); });
    EXPECT_EQ((Counts{10, 5, 100}), countsOf(dimension));
    expectRaises(QelErrorCode::noSamples,
                 "scaling pixel value 5 by scale factor 1 over 10 results in zero pixels",
                 [&] { dimension.scalePixels(10, 1); });
    EXPECT_EQ((Counts{1, 5, 100}), countsOf(dimension));
}

TEST(QelXyDimensionListTest, InPixelsScalingIsOfTheExtent) {
    QelXyDimension dimension("x", 640U);
    auto const expectPixels = [&](std::uint32_t count) {
        EXPECT_EQ(static_cast<double>(count), dimension.width().value());
        EXPECT_EQ((Counts{count}), countsOf(dimension));
    };
    dimension.scalePixels(0.5);
    expectPixels(320);
    dimension.scalePixels(99U, 0.5);  // Whatever the index.
    expectPixels(160);
    dimension.scalePixels(3, 2);
    expectPixels(106);
    // The peculiar one: the denominator takes the place of an index, and nothing else is scaled.
    dimension.scalePixels(0U, 2, 3);
    expectPixels(318);
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 318 by scale factor 1 over 319 results in zero pixels",
                   dimension, dimension.scalePixels(319, 1));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "index value 1 passed to QelXyDimension::scalePixels(), but object has only 1 "
                   "resolution entries",
                   dimension, dimension.scalePixels(1U, 1, 1));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by -3", dimension,
                   dimension.scalePixels(0U, 2, -3));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "scale( ) of dimension object resulted in dimension where width is <= 0.0",
                   dimension, dimension.scalePixels(0.001));
}

TEST(QelXyDimensionListTest, ARelativeOneHasNothingToScale) {
    QelXyDimension part("x", normalized(1));
    std::string const before = stateOf(part);
    part.scalePixels(2.0);
    part.scalePixels(1, 2);
    EXPECT_EQ(before, stateOf(part));
}

// Against the words: floor(d * W - 0.5) + 1, and count / W.
TEST(QelXyDimensionListTest, SpecifyAgreesWithCounting) {
    RandomNumbers random(3);
    int const units[] = {QEL_UNIT_INCH, QEL_UNIT_CENTIMETER, QEL_UNIT_METER, QEL_UNIT_POINT};
    for (int i = 0; i < 20000; ++i) {
        int const own = random.of(units);
        QelXyDimension const dimension("x", QelValue(random.magnitude(0.1, 1e4), own));
        double const width = dimension.width().value();
        std::uint32_t const count = random.whole(1U, 100000U);
        QelResolution const full = dimension.specify(samples(count));
        ASSERT_EQ(count / width, full.dpu);
        // Back again, in another unit: the same number of samples.
        int const other = random.of(units);
        QelResolution const again = dimension.specify({full.getDpu(other), other});
        ASSERT_EQ(count, again.pixels);
        ASSERT_EQ(own, again.unit);
        double const dpu = random.magnitude(0.5, 1000.0) / width;
        double const exact = dpu * width;
        if (exact - std::floor(exact) == 0.5 || exact < 0.5) continue;
        ASSERT_EQ(static_cast<std::uint32_t>(std::lround(exact)),
                  dimension.specify({dpu, own}).pixels);
    }
}

}  // namespace

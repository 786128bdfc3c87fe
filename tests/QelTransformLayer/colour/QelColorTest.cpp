#include "QelColor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "ExpectError.h"
#include "QelColorSpaceRegistry.h"
#include "QelColorSpaces.h"
#include "UnitTesting.h"

namespace {

using Space = MoxSmartPtr<QelColorSpace>;
using Codes = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

Space rgb(double min = 0.0, double max = 255.0) {
    return new QelRGBColorSpace(3, min, max);
}

std::string written(QelColor const & color) {
    std::ostringstream out;
    out << color;
    return out.str();
}

TEST(QelColorTest, WithoutASpaceHoldsThreeZerosOrAsAsked) {
    EXPECT_EQ((Codes{0.0, 0.0, 0.0}), QelColor().codeValues());
    EXPECT_FALSE(QelColor().colorSpace());
    EXPECT_EQ(0, QelColor(0).numChannels());
    double const codes[] = {1.0, -2.0};
    EXPECT_EQ((Codes{1.0, -2.0}), QelColor(codes, 2).codeValues());
    expectRaises(QelErrorCode::invalidValue, "A color cannot have -1 code values",
                 [] { QelColor(-1); });
    expectRaises(QelErrorCode::invalidValue, "A color cannot have -2 code values",
                 [&] { QelColor(codes, -2); });
}

// A null array is no colour, whichever constructor was meant.
TEST(QelColorTest, CodesMustNotBeNull) {
    std::string const refusal = "QelColor cannot be constructed from a null pointer to code values";
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelColor(nullptr, 3); });
    double const * const none = nullptr;
    expectRaises(QelErrorCode::nullPointer, refusal, [&] { QelColor(none, 1); });
    expectRaises(QelErrorCode::invalidValue, "A color cannot have -2 code values",
                 [&] { QelColor(none, -2); });
    EXPECT_EQ(0, QelColor(none, 0).numChannels());
}

// A count is no code value.
static_assert(std::is_constructible_v<QelColor, int>);
static_assert(std::is_constructible_v<QelColor, unsigned char>);
static_assert(!std::is_constructible_v<QelColor, double>);
static_assert(!std::is_constructible_v<QelColor, float>);
static_assert(std::is_constructible_v<QelColor, double const *, int>);
static_assert(!std::is_constructible_v<QelColor, double const *, double>);
static_assert(std::is_constructible_v<QelColor, Space, double>);

TEST(QelColorTest, OfASpaceStartsAtTheMinimum) {
    EXPECT_EQ((Codes{-1.0, -1.0, -1.0}), QelColor(rgb(-1.0, 1.0)).codeValues());
    EXPECT_EQ((Codes{2.0, 2.0, 2.0}), QelColor(rgb(), 2.0).codeValues());
    Space const cmyk = new QelCMYKColorSpace(4, 0.5, 9.0);
    EXPECT_EQ((Codes{1.0, 2.0, 3.0, 0.5}), QelColor(cmyk, 1.0, 2.0, 3.0).codeValues());
    EXPECT_EQ((Codes{1.0, 2.0, 3.0, 4.0}), QelColor(cmyk, Codes{1.0, 2.0, 3.0, 4.0}).codeValues());
    EXPECT_EQ(cmyk.get(), QelColor(cmyk).colorSpace().get());
}

TEST(QelColorTest, NoConstructorTakesANullSpace) {
    std::string const refusal =
        "QelColor cannot be constructed from pointer to color space, if pointer value is NULL";
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelColor{Space()}; });
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelColor(Space(), 1.0); });
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelColor(Space(), 1.0, 2.0, 3.0); });
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelColor(Space(), Codes{1.0}); });
}

TEST(QelColorTest, BoundsAreInclusive) {
    EXPECT_EQ(255.0, QelColor(rgb(), 255.0).code(2));
    EXPECT_EQ(0.0, QelColor(rgb(), 0.0).code(0));
    expectRaises(QelErrorCode::invalidValue,
                 "QelColor cannot be constructed with code value of 256 and color space RGB with "
                 "min and max values of 0 and 255",
                 [] { QelColor(rgb(), 256.0); });
    expectRaises(QelErrorCode::invalidValue,
                 "QelColor cannot be constructed with code value of -0.5 and color space RGB with "
                 "min and max values of 0 and 255",
                 [] { QelColor(rgb(), 1.0, -0.5, 1.0); });
    for (Codes const & codes :
         {Codes{256.0, 1.0, 1.0}, Codes{1.0, 256.0, 1.0}, Codes{1.0, 1.0, 256.0}}) {
        std::string const refusal =
            "QelColor cannot be constructed with code value of 256 and color space RGB with min "
            "and max values of 0 and 255";
        expectRaises(QelErrorCode::invalidValue, refusal,
                     [&] { QelColor(rgb(), codes[0], codes[1], codes[2]); });
        expectRaises(QelErrorCode::invalidValue, refusal, [&] { QelColor(rgb(), codes); });
    }
    expectRaises(QelErrorCode::invalidValue,
                 "QelColor cannot be constructed with code value of nan and color space RGB with "
                 "min and max values of 0 and 255",
                 [] {
                     QelColor(rgb(), Codes{1.0, 2.0, nan});
                 });
}

TEST(QelColorTest, CountsMustFit) {
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot use this QelColor constructor for color spaces with less than three bands",
                 [] { QelColor(new QelLumAColorSpace(), 1.0, 2.0, 3.0); });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot construct QelColor from color space RGB(3 bands) and vector with 2 code "
                 "values",
                 [] {
                     QelColor(rgb(), Codes{1.0, 2.0});
                 });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot set color space Lum(1 bands) into QelColor with 3 bands", [] {
                     QelColor color;
                     color.setColorSpace(new QelLumColorSpace());
                 });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot set color space Lum(1 bands) into QelColor with 3 bands", [] {
                     QelColor color(rgb());
                     color.setColorSpace(new QelLumColorSpace(), true, true);
                 });
}

// A space without an end above its start holds no value, and one with a negative number of bands
// no colour.
TEST(QelColorTest, SomeSpacesHoldNoColour) {
    expectRaises(QelErrorCode::invalidValue,
                 "QelColor cannot be constructed with code value of 5 and color space RGB with min "
                 "and max values of 5 and 1",
                 [] { QelColor{rgb(5.0, 1.0)}; });
    Space const negative = new QelRGBColorSpace(-1, 0.0, 1.0);
    expectRaises(QelErrorCode::invalidValue, "A color cannot have -1 code values",
                 [&] { QelColor{negative}; });
    expectRaises(QelErrorCode::invalidValue, "A color cannot have -1 code values",
                 [&] { QelColor(negative, 0.5); });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot use this QelColor constructor for color spaces with less than three bands",
                 [&] { QelColor(negative, 0.5, 0.5, 0.5); });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot construct QelColor from color space RGB(-1 bands) and vector with 0 code "
                 "values",
                 [&] { QelColor(negative, Codes()); });
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot set color space RGB(-1 bands) into QelColor with 0 bands",
                 [&] { QelColor(0).setColorSpace(negative); });
}

TEST(QelColorTest, AConstructorThatRaisesReleasesTheSpace) {
    Space const space = rgb();
    EXPECT_TRUE(errorOf([&] { QelColor(space, 256.0); }));
    EXPECT_TRUE(errorOf([&] { QelColor(space, 1.0, 2.0, 256.0); }));
    EXPECT_TRUE(errorOf([&] { QelColor(space, Codes{1.0}); }));
    EXPECT_TRUE(errorOf([&] { QelColor(space, Codes{1.0, 2.0, 256.0}); }));
    EXPECT_EQ(1, space->refCount());
}

TEST(QelColorTest, RefusalsNameTheirSource) {
    std::optional<ZanError> const error = errorOf([] { QelColor(rgb(), 256.0); });
    ASSERT_TRUE(error);
    EXPECT_TRUE(std::string(error->getFile()).ends_with("QelColor.cpp"));
}

TEST(QelColorTest, CopiesShareTheSpaceAndNotTheValues) {
    QelColor const color(rgb(), 1.0, 2.0, 3.0);
    QelColor copy(color);
    QelColor assigned;
    assigned = color;
    EXPECT_EQ(color.colorSpace().get(), copy.colorSpace().get());
    EXPECT_EQ(color.colorSpace().get(), assigned.colorSpace().get());
    copy.setCode(0, 9.0);
    assigned.setCode(1, 9.0);
    EXPECT_EQ((Codes{1.0, 2.0, 3.0}), color.codeValues());
    EXPECT_EQ((Codes{9.0, 2.0, 3.0}), copy.codeValues());
    EXPECT_EQ((Codes{1.0, 9.0, 3.0}), assigned.codeValues());
}

TEST(QelColorTest, CodesAreReadAndSetByIndex) {
    QelColor color(rgb(), 1.0, 2.0, 3.0);
    color.setCode(1, 255.0);
    EXPECT_EQ(255.0, color.code(1));
    expectRaises(
        QelErrorCode::invalidValue,
        "Illegal code value 255.5 for color space RGB with min and max values of 0 and 255",
        [&] { color.setCode(1, 255.5); });
    EXPECT_EQ(255.0, color.code(1));
    expectRaises(QelErrorCode::outOfRange,
                 "Illegal index -1 into QelColor with 3 channels (color space = RGB)",
                 [&] { color.code(-1); });
    expectRaises(QelErrorCode::outOfRange,
                 "Illegal index 3 into QelColor with 3 channels (color space = RGB)",
                 [&] { color.setCode(3, 1000.0); });
    QelColor free(2);
    free.setCode(0, 1e9);
    EXPECT_EQ(1e9, free.code(0));
    expectRaises(QelErrorCode::outOfRange,
                 "Illegal index -1 into QelColor with 2 channels (color space = unknown)",
                 [&] { free.code(-1); });
    expectRaises(QelErrorCode::outOfRange,
                 "Illegal index 2 into QelColor with 2 channels (color space = unknown)",
                 [&] { free.code(2); });
}

TEST(QelColorTest, AnotherSpaceKeepsTheValues) {
    QelColor color(rgb(), 1.0, 2.0, 3.0);
    Space const ten = rgb(0.0, 1023.0);
    color.setColorSpace(ten);
    EXPECT_EQ(ten.get(), color.colorSpace().get());
    expectRaises(QelErrorCode::invalidValue,
                 "Cannot set color space RGB(value range = 0 to 2.5) into QelColor which contains "
                 "3 as a code value",
                 [&] { color.setColorSpace(rgb(0.0, 2.5)); });
    EXPECT_EQ(ten.get(), color.colorSpace().get());
    color.setColorSpace(Space());
    EXPECT_FALSE(color.colorSpace());
    EXPECT_EQ((Codes{1.0, 2.0, 3.0}), color.codeValues());
}

TEST(QelColorTest, RescalesFromRangeToRange) {
    QelColor color(rgb(), 128.0);
    color.setColorSpace(rgb(0.0, 1.0), false, false);
    EXPECT_EQ(128.0 / 255.0, color.code(0));
    QelColor shifted(rgb(-1.0, 1.0), 0.5);
    shifted.setColorSpace(rgb(10.0, 30.0), false, false);
    EXPECT_DOUBLE_EQ(25.0, shifted.code(1));
    // Without a space on either side only the space changes.
    QelColor free;
    free.setColorSpace(rgb(-5.0, 5.0), true, true);
    EXPECT_EQ(0.0, free.code(0));
    double const codes[] = {1.0, 2.0, 3.0};
    QelColor wide(codes, 3);
    expectRaises(QelErrorCode::invalidValue,
                 "Cannot set color space RGB(value range = 0 to 2.5) into QelColor which contains "
                 "3 as a code value",
                 [&] { wide.setColorSpace(rgb(0.0, 2.5), true, false); });
    color.setColorSpace(Space(), false, false);
    EXPECT_FALSE(color.colorSpace());
}

TEST(QelColorTest, RescalesFromZero) {
    QelColor color(rgb(-1.0, 0.0), -0.5);
    color.setColorSpace(rgb(-2.0, 0.0), false, true);
    EXPECT_EQ(-1.0, color.code(0));
    QelColor byMax(rgb(-1.0, 2.0), 1.0);
    byMax.setColorSpace(rgb(-9.0, 4.0), false, true);
    EXPECT_EQ(2.0, byMax.code(0));
}

TEST(QelColorTest, RescalingNeedsARange) {
    QelColor point(rgb(5.0, 5.0), 5.0);
    expectRaises(QelErrorCode::cannotRescale,
                 "Cannot rescale a color space which has equal max and min",
                 [&] { point.setColorSpace(rgb(), true, false); });
    QelColor zero(rgb(0.0, 0.0));
    expectRaises(QelErrorCode::cannotRescale,
                 "Cannot rescale a color space which has a max and min value of 0",
                 [&] { zero.setColorSpace(rgb(), true, true); });
    EXPECT_EQ(5.0, point.code(0));
}

TEST(QelColorTest, WhatLeavesTheRangeIsClampedOrRefused) {
    QelColor color(rgb(-1.0, 1.0), 0.5, -1.0, 1.0);
    Space const old = color.colorSpace();
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { color.setColorSpace(rgb(-1.0, 2.0), false, true); });
    // The values before the one that failed are scaled, the space is the old one.
    EXPECT_EQ((Codes{1.0, -1.0, 1.0}), color.codeValues());
    EXPECT_EQ(old.get(), color.colorSpace().get());
    QelColor clamped(rgb(-1.0, 1.0), 0.5, -1.0, 1.0);
    clamped.setColorSpace(rgb(-1.0, 2.0), true, true);
    EXPECT_EQ((Codes{1.0, -1.0, 2.0}), clamped.codeValues());
}

// As above, with the end that the values leave on the other side.
TEST(QelColorTest, WhatLeavesTheRangeAboveIsClampedOrRefused) {
    QelColor color(rgb(-1.0, 0.0), -0.5, 0.0, -1.0);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { color.setColorSpace(rgb(-2.0, -0.5), false, true); });
    EXPECT_EQ((Codes{-1.0, 0.0, -1.0}), color.codeValues());
    QelColor clamped(rgb(-1.0, 0.0), -0.5, 0.0, -1.0);
    clamped.setColorSpace(rgb(-2.0, -0.5), true, true);
    EXPECT_EQ((Codes{-1.0, -0.5, -2.0}), clamped.codeValues());
}

TEST(QelColorTest, ScalingThatGivesNoNumberIsRefused) {
    double const most = std::numeric_limits<double>::max();
    QelColor wide(rgb(-most, most), most);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { wide.setColorSpace(rgb(), true, false); });
    EXPECT_EQ(most, wide.code(0));
    QelColor tiny(rgb(0.0, std::numeric_limits<double>::denorm_min()), 0.0);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { tiny.setColorSpace(rgb(), true, true); });
    QelColor color(rgb(), 5.0);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { color.setColorSpace(rgb(1.0, 0.0), true, false); });
    EXPECT_EQ(0.0, color.colorSpace()->minValue());
    // A single value is a range: all values become it.
    color.setColorSpace(rgb(7.0, 7.0), false, false);
    EXPECT_EQ(7.0, color.code(0));
}

// Wherever a quotient of the ends is rounded up, the end itself would land a digit beyond the new
// one.
TEST(QelColorTest, RoundingAloneLeavesNoRange) {
    int rounded = 0;
    for (int from = 1; from <= 300; ++from) {
        for (int to = 1; to <= 300; ++to) {
            double const factor = static_cast<double>(to) / from;
            if (!(from * factor > to)) continue;
            ++rounded;
            QelColor most(rgb(0.0, from), from);
            most.setColorSpace(rgb(0.0, to), false, true);
            ASSERT_EQ(to, most.code(0)) << from;
            // By the minima, where the maximum is 0.
            QelColor least(rgb(-from, 0.0), -from);
            least.setColorSpace(rgb(-to, 0.0), false, true);
            ASSERT_EQ(-to, least.code(0)) << from;
        }
    }
    EXPECT_LT(100, rounded);
    // The smallest numbers have few digits, so that a quotient is off by more than the last one.
    QelColor large(rgb(0.0, 1e300), 1e300);
    large.setColorSpace(rgb(0.0, 1e-19), false, true);
    EXPECT_NEAR(1e-19, large.code(0), 1e-22);
    EXPECT_LE(large.code(0), 1e-19);
}

TEST(QelColorTest, WhatLeavesTheRangeByMoreThanRoundingIsRefused) {
    QelColor color(rgb(-1.0, 1.0), -1.0);
    double const justShort = std::nextafter(-0.5, 0.0);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { color.setColorSpace(rgb(justShort * (1.0 - 1e-12), 0.5), false, true); });
    QelColor huge(rgb(0.0, 1e-300), 1e-300);
    expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                 [&] { huge.setColorSpace(rgb(0.0, 1e300), false, true); });
}

struct Range {
    double min, max;
};

// What a colour's code becomes from zero; nothing where it leaves the new range. Whether it does is
// found out with more digits than are kept: rounding alone may take it no further than the end.
std::optional<double> fromZero(double code, Range from, Range to, bool clamp) {
    double const factor = from.max == 0.0 ? to.min / from.min : to.max / from.max;
    long double const exact = from.max == 0.0 ? static_cast<long double>(code) * to.min / from.min
                                              : static_cast<long double>(code) * to.max / from.max;
    bool const inside = exact >= to.min - 1e-12L && exact <= to.max + 1e-12L;
    if (!inside && !clamp) return std::nullopt;
    return std::clamp(code * factor, to.min, to.max);
}

TEST(QelColorTest, RescalesFromZeroAsTheFormulaSays) {
    std::mt19937_64 random(42003);
    std::cout << "seed 42003\n";
    auto const range = [&] {
        // Few values, so that ends at 0 and at each other's place come up.
        double const min = static_cast<double>(random() % 9) - 6.0;
        return Range{min, min + 1.0 + static_cast<double>(random() % 6)};
    };
    int refused = 0;
    for (int i = 0; i < 20000; ++i) {
        Range const from = range();
        Range const to = range();
        bool const clamp = random() % 2 == 0;
        double const code =
            from.min + (from.max - from.min) * static_cast<double>(random() % 9) / 8.0;
        SCOPED_TRACE(testing::Message() << code << " of " << from.min << " to " << from.max
                                        << " in " << to.min << " to " << to.max << ' ' << clamp);
        QelColor color(rgb(from.min, from.max), code);
        std::optional<double> const expected = fromZero(code, from, to, clamp);
        if (expected) {
            color.setColorSpace(rgb(to.min, to.max), clamp, true);
            ASSERT_EQ((Codes(3, *expected)), color.codeValues());
        } else {
            ++refused;
            expectRaises(QelErrorCode::cannotRescale, "Scaled value is out of range",
                         [&] { color.setColorSpace(rgb(to.min, to.max), clamp, true); });
            ASSERT_EQ(Codes(3, code), color.codeValues());
        }
    }
    EXPECT_GT(refused, 1000);
}

TEST(QelColorTest, RescalesThereAndBackWithinRounding) {
    std::mt19937_64 random(42001);
    std::cout << "seed 42001\n";
    std::uniform_real_distribution<double> number(-1000.0, 1000.0);
    std::uniform_real_distribution<double> part(0.0, 1.0);
    for (int i = 0; i < 20000; ++i) {
        double const a = number(random);
        double const c = number(random);
        Space const from = rgb(a, a + 0.001 + 1000.0 * part(random));
        Space const to = rgb(c, c + 0.001 + 1000.0 * part(random));
        double const width = from->maxValue() - from->minValue();
        double const code = std::min(from->maxValue(), from->minValue() + width * part(random));
        QelColor color(from, code);
        color.setColorSpace(to, false, false);
        long double const exact = (static_cast<long double>(code) - from->minValue()) *
                                      (static_cast<long double>(to->maxValue()) - to->minValue()) /
                                      width +
                                  to->minValue();
        double const ulp = 4 * std::numeric_limits<double>::epsilon();
        double const toSize = std::max(std::fabs(to->minValue()), std::fabs(to->maxValue()));
        ASSERT_NEAR(static_cast<double>(exact), color.code(0), ulp * toSize);
        ASSERT_GE(color.code(0), to->minValue());
        ASSERT_LE(color.code(0), to->maxValue());
        color.setColorSpace(from, false, false);
        double const fromSize = std::max(std::fabs(from->minValue()), std::fabs(from->maxValue()));
        double const stretch = width / (to->maxValue() - to->minValue());
        ASSERT_NEAR(code, color.code(0), ulp * (fromSize + toSize * stretch));
    }
}

TEST(QelColorTest, ConvertsBetweenAnySpaceAndAGenericOne) {
    QelColor const color(rgb(), 128.0);
    Space const generic = new QelGenericColorSpace(3, 0.0, 1.0);
    QelColor const free = convert(color, false, generic);
    EXPECT_EQ(128.0 / 255.0, free.code(0));
    EXPECT_EQ(generic.get(), free.colorSpace().get());
    EXPECT_STREQ("SRGB", convert(free, false, new QelSRGBColorSpace()).colorSpace()->name());
    EXPECT_STREQ("RGB", convert(free, false, rgb()).colorSpace()->name());
    EXPECT_EQ(128.0, color.code(0));
    Space const normalized = new QelNormalizedColorSpace();
    EXPECT_EQ(normalized.get(), convert(color, false, normalized).colorSpace().get());
    EXPECT_EQ(1.0, convert(QelColor(rgb(), 255.0), true, rgb(0.0, 1.0)).code(0));
    // From end to end, not from zero.
    EXPECT_EQ(25.0, convert(QelColor(rgb(-1.0, 1.0), 0.5), false, rgb(10.0, 30.0)).code(1));
    EXPECT_FALSE(convert(color, false, Space()).colorSpace());
    EXPECT_EQ(0.0, convert(QelColor(), false, rgb()).code(0));
}

TEST(QelColorTest, ConvertsNoColours) {
    std::string const refusal = "Conversions between color spaces not implemented";
    expectRaises(QelErrorCode::misuse, refusal,
                 [] { convert(QelColor(rgb()), true, new QelSRGBColorSpace()); });
    expectRaises(QelErrorCode::misuse, refusal,
                 [] { convert(QelColor(rgb()), true, new QelFpxRGBColorSpace()); });
    // Not a generic space, whatever its name.
    expectRaises(QelErrorCode::misuse, refusal, [] {
        convert(QelColor(Space(new QelRGBAColorSpace())), true, new QelGenericAColorSpace());
    });
}

TEST(QelColorTextTest, IsTheSpaceAndTheValues) {
    EXPECT_EQ("QelColor[QelRGBColorSpace[b=3, min=0, max=255]:<1,2.5,255>]",
              written(QelColor(rgb(), 1.0, 2.5, 255.0)));
    EXPECT_EQ("QelColor[<0,0,0>]", written(QelColor()));
    EXPECT_EQ("QelColor[<>]", written(QelColor(0)));
    EXPECT_EQ("QelColor[QelGenericColorSpace[b=0, min=0, max=1]:<>]",
              written(QelColor(Space(new QelGenericColorSpace(0, 0.0, 1.0)))));
}

// What could not be read again is not written, not even in part.
TEST(QelColorTextTest, RefusesToWriteWhatDoesNotRead) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct Row {
        QelColor color;
        char const * refusal;
    };
    double const codes[] = {1.0, nan, -infinity};
    for (Row const & row :
         {Row{QelColor(codes, 3),
              "QelColor with a code value of nan has no text form that can be read"},
          Row{QelColor(codes + 2, 1),
              "QelColor with a code value of -inf has no text form that can be read"},
          Row{QelColor(rgb(0.0, infinity), 1.0),
              "Class QelRGBColorSpace with 3 bands and a range of 0 to inf has no text form that "
              "can be read"}}) {
        SCOPED_TRACE(row.refusal);
        std::ostringstream out;
        expectRaises(QelErrorCode::invalidValue, row.refusal, [&] { out << row.color; });
        EXPECT_EQ("", out.str());
        EXPECT_TRUE(out.good());
    }
}

TEST(QelColorTextTest, IsPaddedAsAWhole) {
    std::ostringstream out;
    out << std::left << std::setw(20) << QelColor(1) << '|';
    EXPECT_EQ("QelColor[<0>]       |", out.str());
}

TEST(QelColorTextTest, ReadsBackWhateverTheLocale) {
    GroupedLocale const grouped;
    std::mt19937_64 random(42002);
    std::cout << "seed 42002\n";
    std::uniform_real_distribution<double> number(-12345.0, 12345.0);
    for (int i = 0; i < 2000; ++i) {
        int const bands = static_cast<int>(random() % 6);
        Codes codes;
        for (int b = 0; b < bands; ++b)
            codes.push_back(number(random));
        QelColor color(codes.data(), bands);
        if (random() % 2 == 0) {
            color.setColorSpace(new QelRGBColorSpace(bands, -12345.0, 12345.0));
        }
        std::istringstream in(written(color) + "x");
        QelColor again(7);
        in >> again;
        ASSERT_TRUE(again == color) << written(color);
        ASSERT_EQ('x', in.get());
    }
}

// Characters between the values, behind the space and at the end are taken, whatever they are.
TEST(QelColorTextTest, ReadsWithAnySeparators) {
    for (char const * const text :
         {"QelColor[<1,2>]", "[<1 2>)", "x[ \n< 1;2>)", "QelColor[ NULL<1,2>]"}) {
        SCOPED_TRACE(text);
        std::istringstream in(std::string(text) + "rest");
        QelColor color(7);
        in >> color;
        EXPECT_EQ((Codes{1.0, 2.0}), color.codeValues());
        EXPECT_EQ('r', in.get());
    }
    QelColor empty;
    std::istringstream("QelColor[<>]") >> empty;
    EXPECT_EQ(0, empty.numChannels());
}

TEST(QelColorTextTest, NullIsTheEmptyColour) {
    QelColor color;
    std::istringstream(" NULL") >> color;
    EXPECT_EQ(0, color.numChannels());
    EXPECT_FALSE(color.colorSpace());
    std::istringstream("QelColor[ NULL:<1,2>]") >> color;
    EXPECT_EQ((Codes{1.0, 2.0}), color.codeValues());
    EXPECT_FALSE(color.colorSpace());
}

TEST(QelColorTextTest, RefusesWhatDoesNotRead) {
    struct Row {
        int code;
        char const * text;
        char const * refusal;
    };
    for (Row const & row :
         {Row{QelErrorCode::invalidValue, "", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "NUL", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[",
              "Class  is not registered as an QelColorSpace."},
          Row{QelErrorCode::invalidValue, "QelColor[<", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[<1", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[<1,", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[<1,x>]", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[<1,2>", "Invalid QelColor value"},
          Row{QelErrorCode::invalidValue, "QelColor[Moon[b=1]:<1>]",
              "Class Moon is not registered as an QelColorSpace."},
          Row{QelErrorCode::invalidValue, "QelColor[QelLumColorSpace[b=1, min=0, max=1]:<2>]",
              "Cannot set color space Lum(value range = 0 to 1) into QelColor which contains 2 as "
              "a code value"},
          Row{QelErrorCode::countsDiffer, "QelColor[QelLumColorSpace[b=1, min=0, max=1]:<0,0>]",
              "Cannot set color space Lum(1 bands) into QelColor with 2 bands"}}) {
        SCOPED_TRACE(row.text);
        std::istringstream in(row.text);
        QelColor color(rgb(), 7.0);
        expectRaises(row.code, row.refusal, [&] { in >> color; });
        EXPECT_TRUE(color == QelColor(rgb(), 7.0));
    }
}

TEST(QelColorTest, EqualMeansTheSameSpaceAndValues) {
    EXPECT_TRUE(QelColor(rgb(), 1.0) == QelColor(rgb(), 1.0));
    EXPECT_FALSE(QelColor(rgb(), 1.0) == QelColor(rgb(), 2.0));
    EXPECT_FALSE(QelColor(rgb(), 1.0) == QelColor(rgb(0.0, 9.0), 1.0));
    EXPECT_FALSE(QelColor(rgb(), 0.0) == QelColor());
    EXPECT_FALSE(QelColor() == QelColor(2));
}

}  // namespace

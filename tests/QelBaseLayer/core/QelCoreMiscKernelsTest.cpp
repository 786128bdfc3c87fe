#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "KernelReference.h"
#include "QelCoreMisc.h"

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double largest = std::numeric_limits<double>::max();
// What results hold ahead of a call.
constexpr int untouched = -77;

int sizeOf(std::vector<double> const & kernel) {
    return static_cast<int>(kernel.size());
}

// Quantises, and expects that a failure leaves all as it was.
QuantizedKernel quantized(std::vector<double> const & kernel, int level, int requested) {
    QuantizedKernel result;
    // One more, to see a write behind the end.
    std::vector<int> out(kernel.size() + 1, untouched);
    result.scale = requested;
    result.negativeSum = untouched;
    result.failed = QelCoreMisc::quantizeKernel(kernel.data(), sizeOf(kernel), level, result.scale,
                                                result.negativeSum, out.data());
    EXPECT_EQ(untouched, out.back());
    if (!result.failed) {
        result.integers.assign(out.begin(), out.end() - 1);
        return result;
    }
    EXPECT_EQ(std::vector<int>(out.size(), untouched), out);
    EXPECT_EQ(requested, result.scale);
    EXPECT_EQ(untouched, result.negativeSum);
    return {};
}

struct Choice {
    int scale;
    int sum;
    bool operator==(Choice const &) const = default;
};

std::ostream & operator<<(std::ostream & stream, Choice const & choice) {
    return stream << "scale " << choice.scale << " sum " << choice.sum;
}

// Chooses a scale, and expects that a failure leaves all as it was.
std::optional<Choice> chosen(std::vector<double> const & kernel, int level) {
    Choice choice{untouched, untouched};
    bool const failed = QelCoreMisc::chooseKernelScale(kernel.data(), sizeOf(kernel), level,
                                                       choice.scale, choice.sum);
    if (!failed) return choice;
    EXPECT_EQ((Choice{untouched, untouched}), choice);
    return std::nullopt;
}

TEST(QelCoreMiscKernelsTest, LimitOfEveryLevel) {
    for (int const level : {INT_MIN, -1, 0, 1})
        EXPECT_EQ(256, QelCoreMisc::fixedPointLimit(level)) << level;
    for (int const level : {2, 3, 100, INT_MAX})
        EXPECT_EQ(16384, QelCoreMisc::fixedPointLimit(level)) << level;
}

TEST(QelCoreMiscKernelsTest, ChosenScales) {
    struct {
        std::vector<double> kernel;
        int level;
        std::optional<Choice> choice;
    } const cases[] = {
        {{}, 0, Choice{256, 0}},
        {{}, 2, Choice{16384, 0}},
        {{0, 0, 0}, 1, Choice{256, 0}},
        {{1}, 1, Choice{256, 256}},
        {{1}, 2, Choice{16384, 16384}},
        {{0.25, -0.5, 0.25}, 0, Choice{256, 256}},
        // Small kernels get no larger scale than the limit.
        {{0.001}, 0, Choice{256, 0}},
        {{0.01}, 0, Choice{256, 2}},
        // 0.2 lifts a sum just below an integer.
        {{0.9968}, 0, Choice{256, 255}},
        {{1.003}, 0, Choice{256, 256}},
        {{1.004}, 0, Choice{128, 128}},
        {{-1, 5, -1}, 0, Choice{32, 224}},
        {{-1, 5, -1}, 2, Choice{2048, 14336}},
        // The end of the scales.
        {{256}, 0, Choice{1, 256}},
        {{256.75}, 0, Choice{1, 256}},
        {{256.875}, 0, std::nullopt},
        {{128, -130}, 0, std::nullopt},
        {{16384.5}, 3, Choice{1, 16384}},
        {{16385}, 3, std::nullopt},
        // Beyond the range of an int, and of a double.
        {{1e9, 1e9, 1e9}, 2, std::nullopt},
        {{1e300}, 2, std::nullopt},
        {{largest, -largest}, 2, std::nullopt},
        {{infinite}, 2, std::nullopt},
        {{1, -infinite}, 0, std::nullopt},
        {{notANumber, 0.5}, 0, std::nullopt},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE("level " + std::to_string(c.level) + " kernel " + textOf(c.kernel));
        EXPECT_EQ(c.choice, chosen(c.kernel, c.level));
    }
}

struct QuantizedCase {
    char const * what;
    std::vector<double> kernel;
    int level;
    int requested;
    QuantizedKernel result;
};

QuantizedKernel made(int scale, int negativeSum, std::vector<int> const & integers) {
    return {false, scale, negativeSum, integers};
}

void expectCases(std::vector<QuantizedCase> const & cases) {
    for (QuantizedCase const & c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.result, quantized(c.kernel, c.level, c.requested));
        EXPECT_EQ(c.result, KernelReference::quantize(c.kernel, c.level, c.requested))
            << "the reference";
    }
}

TEST(QelCoreMiscKernelsTest, AllZerosQuantiseToZerosWithTheLimitAsScale) {
    expectCases({
        {"level 0", {0, 0, 0}, 0, 0, made(256, 0, {0, 0, 0})},
        {"level 2", {0, 0}, 2, 0, made(16384, 0, {0, 0})},
        {"negative zeros", {0.0, -0.0}, 1, 0, made(256, 0, {0, 0})},
        {"longer than the list without heap", std::vector<double>(21, 0.0), 1, 0,
         made(256, 0, std::vector<int>(21, 0))},
    });
}

TEST(QelCoreMiscKernelsTest, AnEmptyKernelQuantisesToNothing) {
    expectCases({
        {"automatic", {}, 0, 0, made(256, 0, {})},
        {"requested", {}, 0, 1000, made(1000, 0, {})},
    });
    for (int const n : {0, -1, INT_MIN}) {
        SCOPED_TRACE(n);
        int out = untouched;
        int scale = 0;
        int negativeSum = untouched;
        EXPECT_FALSE(QelCoreMisc::quantizeKernel(nullptr, n, 2, scale, negativeSum, &out));
        EXPECT_EQ(16384, scale);
        EXPECT_EQ(0, negativeSum);
        EXPECT_EQ(untouched, out);
        int sum = untouched;
        EXPECT_FALSE(QelCoreMisc::chooseKernelScale(nullptr, n, 0, scale, sum));
        EXPECT_EQ((Choice{256, 0}), (Choice{scale, sum}));
    }
}

TEST(QelCoreMiscKernelsTest, AutomaticScales) {
    expectCases({
        {"exact", {0.25, 0.5, 0.25}, 0, 0, made(256, 0, {64, 128, 64})},
        {"halved", {-1, 3, -1}, 0, 0, made(32, 64, {-32, 96, -32})},
        {"halved down to 1", {200, 56}, 0, 0, made(1, 0, {200, 56})},
        {"just not above the limit", {256.75}, 0, 0, made(1, 0, {256})},
        // 0.01 * 8192 is 81.92, and 163.84 at the doubled scale: 163 and an odd one for the centre.
        {"doubled", {0.01}, 0, 0, made(16384, 0, {164})},
        {"half the limit is enough", {0.5}, 0, 0, made(256, 0, {128})},
        {"just below half the limit", {0.25, 0.24609375}, 0, 0, made(512, 0, {128, 126})},
        {"so small that its goal is 0", {0.001}, 0, 0, made(256, 0, {0})},
        {"goal 0 at level 2", {4.5e-5}, 2, 0, made(16384, 0, {0})},
        {"the largest scale", {4.9e-5}, 2, 0, made(1 << 28, 0, {13153})},
    });
}

TEST(QelCoreMiscKernelsTest, RequestedScales) {
    expectCases({
        {"no power of two", {0.5, 0.5}, 0, 100, made(100, 0, {50, 50})},
        {"negative", {0.5, 0.5}, 0, -100, made(100, 0, {50, 50})},
        {"not doubled", {0.01}, 0, 100, made(100, 0, {1})},
        {"up to the limit", {1}, 0, 256, made(256, 0, {256})},
        {"within the larger limit", {1}, 2, 257, made(257, 0, {257})},
        {"the largest one", {1e-9, -1e-9}, 0, INT_MAX, made(INT_MAX, 2, {2, -2})},
        {"the largest negative one", {1e-9, -1e-9}, 0, -INT_MAX, made(INT_MAX, 2, {2, -2})},
    });
}

TEST(QelCoreMiscKernelsTest, ARequestOfTheSmallestIntFails) {
    expectCases({
        {"small", {1e-9}, 0, INT_MIN, {}},
        {"zeros", {0, 0}, 2, INT_MIN, {}},
        {"empty", {}, 2, INT_MIN, {}},
    });
}

TEST(QelCoreMiscKernelsTest, KernelsAboveTheLimitFail) {
    expectCases({
        {"automatic", {257}, 0, 0, {}},
        {"automatic, by rounding up", {256.875}, 0, 0, {}},
        {"automatic, by their magnitudes", {-128, 129}, 0, 0, {}},
        {"automatic at level 2", {16385}, 2, 0, {}},
        {"requested", {1}, 0, 257, {}},
        {"requested, not halved", {0.75, -0.75}, 0, 256, {}},
        {"requested at level 2", {1, 1}, 2, -8193, {}},
        {"beyond an int, automatic", {1e9, 1e9, 1e9}, 2, 0, {}},
        {"beyond an int, requested", {1e9, 1e9, 1e9}, 2, 1, {}},
        {"beyond an int by the scale", {1}, 2, INT_MAX, {}},
    });
}

TEST(QelCoreMiscKernelsTest, SumsThatAreNotFiniteFail) {
    for (int const requested : {0, 1, -256}) {
        expectCases({
            {"infinite", {infinite}, 0, requested, {}},
            {"negative infinite", {1, -infinite, 1}, 2, requested, {}},
            {"both", {infinite, -infinite}, 2, requested, {}},
            {"not a number", {notANumber}, 2, requested, {}},
            {"not a number among others", {0.25, notANumber, -0.25}, 0, requested, {}},
            {"an overflowing sum", {largest, largest}, 2, requested, {}},
            {"an overflowing sum of magnitudes", {largest, -largest}, 2, requested, {}},
        });
    }
}

TEST(QelCoreMiscKernelsTest, TheElementsThatLostMostMove) {
    expectCases({
        {"the largest residue", {0.3, 0.7}, 0, 256, made(256, 0, {77, 179})},
        {"the first of equals", {0.05, 0.05, 0.2}, 0, 10, made(10, 0, {1, 0, 2})},
        {"downwards when negative", {-0.095, 0.21}, 0, 10, made(10, 1, {-1, 2})},
        {"not beyond the goal of the sum", {-0.09, -0.2}, 0, 10, made(10, 2, {0, -2})},
        {"behind the 20th element", std::vector<double>(24, 0.05), 0, 10,
         made(10, 0, {1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1})},
    });
}

TEST(QelCoreMiscKernelsTest, SymmetricKernelsStaySymmetric) {
    double const ninth = 1.0 / 9;
    expectCases({
        {"an odd difference goes to the centre",
         {1.0 / 3, 1.0 / 3, 1.0 / 3},
         0,
         0,
         made(256, 0, {85, 86, 85})},
        {"an even difference goes to pairs", std::vector<double>(9, ninth), 0, 0,
         made(256, 0, {29, 29, 28, 28, 28, 28, 28, 29, 29})},
        {"an odd difference without a centre remains", {0.35, 0.35}, 0, 10, made(10, 0, {3, 3})},
        {"it counts as made up for ahead of the pairs",
         {0.07, 0.18, 0.18, 0.07},
         0,
         10,
         made(10, 0, {0, 2, 2, 0})},
        {"a single element is the centre", {0.3}, 0, 256, made(256, 0, {77})},
        {"a negative centre grows upwards", {0.04, -0.35, 0.04}, 0, 10, made(10, 2, {0, -2, 0})},
        {"the centre is not changed a second time",
         {0.07, 0.06, 0.39, 0.06, 0.07},
         0,
         10,
         made(10, 0, {1, 0, 4, 0, 1})},
        {"a centre that lost most is passed over",
         {0.16, 0.29, 0.16},
         0,
         10,
         made(10, 0, {2, 2, 2})},
        {"zeros of both signs are equal",
         {-0.0, 0.35, 0.35, 0.0},
         0,
         10,
         made(10, 0, {0, 3, 3, 0})},
    });
}

TEST(QelCoreMiscKernelsTest, WithoutOutputNothingIsStored) {
    struct {
        std::vector<double> kernel;
        int requested;
        bool failed;
    } const cases[] = {
        {{0.5, -0.5}, 0, false}, {{0.5}, -7, false}, {{}, 0, false},
        {{300}, 0, true},        {{1}, 257, true},   {{notANumber}, 0, true},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(textOf(c.kernel));
        int scale = c.requested;
        int negativeSum = untouched;
        EXPECT_EQ(c.failed, QelCoreMisc::quantizeKernel(c.kernel.data(), sizeOf(c.kernel), 0, scale,
                                                        negativeSum, nullptr));
        EXPECT_EQ(c.requested, scale);
        EXPECT_EQ(untouched, negativeSum);
    }
}

// Slow enough to notice if the largest residue were looked for again and again.
TEST(QelCoreMiscKernelsTest, AMillionElements) {
    constexpr std::size_t n = 1000000;
    std::vector<double> kernel(n);
    for (std::size_t i = 0; i < n; ++i)
        kernel[i] = 1.0 / n + static_cast<double>(i) * 1e-17;
    QuantizedKernel const result = quantized(kernel, 2, 0);
    ASSERT_FALSE(result.failed);
    EXPECT_EQ(16384, result.scale);
    // All lost the same up to a little that grows: the last ones get the steps.
    int const ones = std::accumulate(result.integers.begin(), result.integers.end(), 0);
    EXPECT_EQ(16384, ones);
    EXPECT_EQ(ones, std::accumulate(result.integers.end() - ones, result.integers.end(), 0));
}

// How far a result is from what the rules promise whatever the way there.
void expectProperties(std::vector<double> const & kernel, int level, QuantizedKernel const & result,
                      QuantizedKernel const & goals) {
    std::size_t const n = kernel.size();
    std::vector<double> const integers(result.integers.begin(), result.integers.end());
    double const abs = KernelReference::absSumOf(integers);
    double const net = std::accumulate(integers.begin(), integers.end(), 0.0);
    bool const symmetric = KernelReference::isSymmetric(kernel);
    EXPECT_LE(abs, KernelReference::limitOf(level));
    EXPECT_LE(abs, goals.goalAbs);
    EXPECT_TRUE(!symmetric || KernelReference::isSymmetric(integers));
    bool usedUp = true;
    for (std::size_t i = 0; i < n; ++i) {
        double const exact = kernel[i] * result.scale;
        bool const centre = symmetric && 2 * i + 1 == n;
        EXPECT_LE(std::fabs(integers[i] - exact), centre ? 2 : 1) << i;
        if (!centre && std::fabs(integers[i]) < std::fabs(exact)) usedUp = false;
    }
    // Pairs move by two, so a symmetric kernel may miss its goals by what is left of a pair.
    double const slack = symmetric ? 2 : 0;
    EXPECT_TRUE(std::fabs(net - goals.goalNet) <= slack || goals.goalAbs - abs <= slack || usedUp)
        << "sum " << net << " of " << goals.goalNet << ", magnitudes " << abs << " of "
        << goals.goalAbs;
}

int randomRequest(RandomKernels & random, std::vector<double> const & kernel, int level) {
    int const kind = random.pick(0, 3);
    if (kind == 0) return 0;
    // Mostly below what the limit allows, at times above.
    double const most = KernelReference::limitOf(level) / KernelReference::absSumOf(kernel);
    double const scale = std::fmin(most * random.real(0, 1.2), INT_MAX);
    return static_cast<int>(kind == 1 ? -scale : scale);
}

TEST(QelCoreMiscKernelsTest, RandomKernelsAgreeWithASlowReference) {
    constexpr unsigned seed = 31201;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::cout << "seed " << seed << '\n';
    RandomKernels random(seed);
    int successes = 0;
    for (int run = 0; run < 10000; ++run) {
        std::vector<double> const kernel = random.next();
        int const level = random.pick(0, 3);
        int const requested = randomRequest(random, kernel, level);
        SCOPED_TRACE("run " + std::to_string(run) + " level " + std::to_string(level) +
                     " requested " + std::to_string(requested) + " kernel " + textOf(kernel));
        QuantizedKernel const expected = KernelReference::quantize(kernel, level, requested);
        QuantizedKernel const actual = quantized(kernel, level, requested);
        ASSERT_EQ(expected, actual);
        if (actual.failed) continue;
        ++successes;
        expectProperties(kernel, level, actual, expected);
        if (HasFailure()) return;
    }
    // Neither of the two is rare.
    EXPECT_GT(successes, 3000);
    EXPECT_LT(successes, 9000);
}

TEST(QelCoreMiscKernelsTest, RandomScalesAgreeWithASlowReference) {
    constexpr unsigned seed = 31202;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::cout << "seed " << seed << '\n';
    RandomKernels random(seed);
    for (int run = 0; run < 10000; ++run) {
        std::vector<double> const kernel = random.next();
        int const level = random.pick(0, 3);
        SCOPED_TRACE("level " + std::to_string(level) + " kernel " + textOf(kernel));
        double const scale = KernelReference::scaleFor(kernel, level);
        std::optional<Choice> const choice = chosen(kernel, level);
        ASSERT_EQ(scale >= 1, choice.has_value());
        if (!choice) continue;
        ASSERT_EQ(scale, choice->scale);
        ASSERT_EQ(std::trunc(scale * KernelReference::absSumOf(kernel) + 0.2), choice->sum);
    }
}

}  // namespace

#include "QelConvolutionKernel.h"

#include <cmath>
#include <limits>
#include <numeric>

#include "ClientTesting.h"

namespace {

using Weights = std::vector<double>;

constexpr char const * notFinite =
    "The weights of a kernel and the sum of their magnitudes must be finite";

double sumOf(Weights const & weights) {
    return std::accumulate(weights.begin(), weights.end(), 0.0);
}

Weights firstHalf(QelConvolutionKernel const & kernel) {
    return Weights(kernel.weights().begin(), kernel.weights().begin() + kernel.side());
}

Weights secondHalf(QelConvolutionKernel const & kernel) {
    return Weights(kernel.weights().begin() + kernel.side(), kernel.weights().end());
}

TEST(QelConvolutionKernelTest, BlursOfSmallRadiiAreBinomial) {
    struct Row {
        std::int32_t radius;
        Weights expected;
    };
    for (Row const & row :
         {Row{1, {1 / 4.0, 2 / 4.0, 1 / 4.0}},
          Row{2, {1 / 16.0, 4 / 16.0, 6 / 16.0, 4 / 16.0, 1 / 16.0}},
          Row{3, {1 / 64.0, 6 / 64.0, 15 / 64.0, 20 / 64.0, 15 / 64.0, 6 / 64.0, 1 / 64.0}}}) {
        SCOPED_TRACE(row.radius);
        QelConvolutionKernel const kernel = QelConvolutionKernel::blur(row.radius);
        EXPECT_TRUE(kernel.isSeparable());
        EXPECT_EQ(row.radius, kernel.reach());
        EXPECT_EQ(2 * row.radius + 1, kernel.side());
        EXPECT_EQ(0, kernel.centre());
        EXPECT_EQ(row.expected, firstHalf(kernel));
        EXPECT_EQ(row.expected, secondHalf(kernel));
    }
}

// Each row of Pascal's triangle is made by adding neighbours of the one before.
Weights pascal(std::int32_t n) {
    Weights row{1};
    for (std::int32_t i = 0; i < n; ++i) {
        Weights next{0.5 * row.front()};
        for (std::size_t k = 1; k < row.size(); ++k)
            next.push_back(0.5 * (row[k - 1] + row[k]));
        next.push_back(0.5 * row.back());
        row = next;
    }
    return row;
}

TEST(QelConvolutionKernelTest, BlursOfAllRadiiAddUpTo1AndAreSymmetric) {
    for (std::int32_t radius = 1; radius <= QelConvolutionKernel::maxReach; ++radius) {
        SCOPED_TRACE(radius);
        Weights const row = firstHalf(QelConvolutionKernel::blur(radius));
        EXPECT_NEAR(1, sumOf(row), 1e-14);
        EXPECT_EQ(Weights(row.rbegin(), row.rend()), row);
        Weights const expected = pascal(2 * radius);
        for (std::size_t i = 0; i < row.size(); ++i)
            EXPECT_NEAR(expected[i], row[i], 1e-13 * expected[i]) << i;
    }
}

TEST(QelConvolutionKernelTest, UnsharpIsTwiceThePixelMinusTheBlur) {
    for (std::int32_t const radius : {1, 7, 64}) {
        SCOPED_TRACE(radius);
        QelConvolutionKernel const blur = QelConvolutionKernel::blur(radius);
        QelConvolutionKernel const unsharp = QelConvolutionKernel::unsharp(radius);
        EXPECT_TRUE(unsharp.isSeparable());
        EXPECT_EQ(2, unsharp.centre());
        double sum = 0;
        for (std::int32_t dy = -radius - 1; dy <= radius + 1; ++dy) {
            for (std::int32_t dx = -radius - 1; dx <= radius + 1; ++dx) {
                double const pixel = dx == 0 && dy == 0 ? 2 : 0;
                ASSERT_EQ(pixel - blur.weight(dx, dy), unsharp.weight(dx, dy)) << dx << ',' << dy;
                sum += unsharp.weight(dx, dy);
            }
        }
        EXPECT_NEAR(1, sum, 1e-13);
    }
}

TEST(QelConvolutionKernelTest, WeightsAreDividedByTheirSum) {
    QelConvolutionKernel const kernel({1, 2, 1, 2, 4, 2, 1, 2, 1});
    EXPECT_FALSE(kernel.isSeparable());
    EXPECT_EQ(1, kernel.reach());
    EXPECT_EQ(3, kernel.side());
    EXPECT_EQ(0, kernel.centre());
    EXPECT_EQ((Weights{1 / 16.0, 2 / 16.0, 1 / 16.0, 2 / 16.0, 4 / 16.0, 2 / 16.0, 1 / 16.0,
                       2 / 16.0, 1 / 16.0}),
              kernel.weights());
    EXPECT_EQ(Weights{1}, QelConvolutionKernel({-5}).weights());
    EXPECT_EQ((Weights{0, -.25, 0, -.25, 2, -.25, 0, -.25, 0}),
              QelConvolutionKernel({0, -1, 0, -1, 8, -1, 0, -1, 0}).weights());
    EXPECT_EQ((Weights{0, -1, 0, 0, 3, 0, 0, -1, 0}),
              QelConvolutionKernel({0, 2, 0, 0, -6, 0, 0, 2, 0}).weights());
}

TEST(QelConvolutionKernelTest, WeightsThatAddUpTo0StayAsTheyAre) {
    Weights const edges{-1, -1, -1, -1, 8, -1, -1, -1, -1};
    EXPECT_EQ(edges, QelConvolutionKernel(edges).weights());
    EXPECT_EQ(Weights(9, 0.0), QelConvolutionKernel(Weights(9, 0.0)).weights());
}

// In doubles these add up to something like 1e-16.
TEST(QelConvolutionKernelTest, WeightsWhoseSumIsTheirRoundingStayAsTheyAre) {
    Weights const edges{.1, .1, .1, .1, -.8, .1, .1, .1, .1};
    ASSERT_NE(0, sumOf(edges));
    EXPECT_EQ(edges, QelConvolutionKernel(edges).weights());
    Weights const tiny{1, -1, 1e-300, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(tiny, QelConvolutionKernel(tiny).weights());
    // The sum of these is what it seems.
    EXPECT_EQ(1e12, QelConvolutionKernel({1, -1, 1e-12, 0, 0, 0, 0, 0, 0}).weights()[0]);
}

TEST(QelConvolutionKernelTest, VerySmallWeightsAreWeightsAsWell) {
    EXPECT_EQ(Weights{1}, QelConvolutionKernel({5e-324}).weights());
    EXPECT_EQ(Weights(9, 1 / 9.0), QelConvolutionKernel(Weights(9, 1e-310)).weights());
}

TEST(QelConvolutionKernelTest, WeightIsFoundByItsPlace) {
    QelConvolutionKernel const kernel({1, 2, 3, 4, 5, 6, 7, 8, -35});
    EXPECT_EQ(1, kernel.weight(-1, -1));
    EXPECT_EQ(3, kernel.weight(1, -1));
    EXPECT_EQ(5, kernel.weight(0, 0));
    EXPECT_EQ(7, kernel.weight(-1, 1));
    EXPECT_EQ(-35, kernel.weight(1, 1));
    QelConvolutionKernel const blur = QelConvolutionKernel::blur(1);
    EXPECT_EQ(1 / 16.0, blur.weight(-1, 1));
    EXPECT_EQ(2 / 16.0, blur.weight(0, 1));
    EXPECT_EQ(4 / 16.0, blur.weight(0, 0));
}

TEST(QelConvolutionKernelTest, WeightBeyondTheReachIs0) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    for (QelConvolutionKernel const & kernel :
         {QelConvolutionKernel(Weights(9, 1)), QelConvolutionKernel::unsharp(1)}) {
        for (std::int32_t const far : {least, -2, 2, most}) {
            EXPECT_EQ(0, kernel.weight(far, 0)) << far;
            EXPECT_EQ(0, kernel.weight(0, far)) << far;
            EXPECT_EQ(0, kernel.weight(far, far)) << far;
        }
    }
}

TEST(QelConvolutionKernelTest, RefusesNumbersOfWeightsThatMakeNoSquareAroundAPixel) {
    for (std::size_t const count : std::vector<std::size_t>{0, 2, 4, 16, 24, 131 * 131}) {
        SCOPED_TRACE(count);
        expectRaises(QelErrorCode::invalidValue,
                     "A kernel of " + std::to_string(count) +
                         " weights is impossible; their number must be 1, 9, 25 or another square "
                         "of an odd number up to 129",
                     [&] { QelConvolutionKernel(Weights(count, 1)); });
    }
    EXPECT_EQ(64, QelConvolutionKernel(Weights(129 * 129, 1)).reach());
    EXPECT_EQ(0, QelConvolutionKernel(Weights(1, 1)).reach());
}

TEST(QelConvolutionKernelTest, RefusesRadiiThatAreTooSmallOrTooLarge) {
    for (std::int32_t const radius : {0, -1, 65, std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int32_t>::max()}) {
        std::string const text = "The radius of a kernel is " + std::to_string(radius) +
                                 ", it must lie between 1 and 64";
        expectRaises(QelErrorCode::invalidValue, text, [&] { QelConvolutionKernel::blur(radius); });
        expectRaises(QelErrorCode::invalidValue, text,
                     [&] { QelConvolutionKernel::unsharp(radius); });
    }
}

TEST(QelConvolutionKernelTest, RefusesWeightsThatAreNotFinite) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (double const bad : {std::nan(""), infinity, -infinity}) {
        Weights weights(9, 1);
        weights[4] = bad;
        expectRaises(QelErrorCode::invalidValue, notFinite, [&] { QelConvolutionKernel{weights}; });
        expectRaises(QelErrorCode::invalidValue, notFinite, [&] { QelConvolutionKernel{{bad}}; });
    }
}

TEST(QelConvolutionKernelTest, RefusesWeightsWhoseSumOverflows) {
    expectRaises(QelErrorCode::invalidValue, notFinite,
                 [] { QelConvolutionKernel{Weights(9, 1e308)}; });
    Weights opposed(9, 1e308);
    opposed[0] = opposed[1] = opposed[2] = opposed[3] = -1e308;
    expectRaises(QelErrorCode::invalidValue, notFinite, [&] { QelConvolutionKernel{opposed}; });
    EXPECT_EQ(Weights{1}, QelConvolutionKernel({1.7e308}).weights());
}

TEST(QelConvolutionKernelTest, AreEqualWithEqualWeightsOfTheSameKind) {
    EXPECT_EQ(QelConvolutionKernel::blur(2), QelConvolutionKernel::blur(2));
    EXPECT_NE(QelConvolutionKernel::blur(2), QelConvolutionKernel::blur(3));
    EXPECT_NE(QelConvolutionKernel::blur(2), QelConvolutionKernel::unsharp(2));
    EXPECT_EQ(QelConvolutionKernel({2}), QelConvolutionKernel({1}));
    EXPECT_NE(QelConvolutionKernel::blur(1), QelConvolutionKernel({1, 2, 1, 2, 4, 2, 1, 2, 1}));
}

}  // namespace

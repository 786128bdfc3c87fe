#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "KernelReference.h"
#include "QelCoreMisc.h"

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
// What tables hold ahead of a call.
constexpr std::int32_t untouched = -77;

using Table = std::vector<std::int32_t>;

struct KernelPair {
    std::vector<double> a;
    std::vector<double> b;
    int offsetA = -1;
    int offsetB = -1;
    bool reverse = false;
};

std::string descriptionOf(KernelPair const & pair) {
    return "a " + textOf(pair.a) + "b " + textOf(pair.b) + "offsets " +
           std::to_string(pair.offsetA) + ' ' + std::to_string(pair.offsetB) +
           (pair.reverse ? " reversed" : "");
}

struct Tables {
    bool failed = true;
    Table a{};
    Table b{};
    Table packedA{};
    Table packedB{};
    bool operator==(Tables const &) const = default;
};

std::ostream & operator<<(std::ostream & stream, Tables const & tables) {
    if (tables.failed) return stream << "failure";
    for (Table const & table : {tables.a, tables.b, tables.packedA, tables.packedB}) {
        stream << "\n  ";
        for (std::int32_t const value : table)
            stream << value << ' ';
    }
    return stream;
}

// Takes the value off that stands behind a table to see a write there.
void expectNothingBehind(Table & table) {
    EXPECT_EQ(untouched, table.back());
    table.pop_back();
}

bool isUntouched(Table const & table) {
    return std::all_of(table.begin(), table.end(), [](auto value) { return value == untouched; });
}

// Makes all four tables, and expects that a failure leaves them as they were.
Tables tablesOf(KernelPair const & pair) {
    std::size_t const countA = pair.a.size();
    std::size_t const countB = pair.b.size();
    Tables result;
    result.a.assign(3 + countA + 1, untouched);
    result.b.assign(3 + countB + 1, untouched);
    result.packedA.assign(3 + (countA + 1) / 2 * 2 + 1, untouched);
    result.packedB.assign(3 + (countB + 1) / 2 * 2 + 1, untouched);
    std::vector<Table *> const all = {&result.a, &result.b, &result.packedA, &result.packedB};
    result.failed = QelCoreMisc::makeFixedPointKernels(
        pair.a.data(), static_cast<int>(countA), pair.b.data(), static_cast<int>(countB),
        pair.offsetA, pair.offsetB, pair.reverse, result.a.data(), result.b.data(),
        result.packedA.data(), result.packedB.data());
    for (Table * table : all) {
        EXPECT_TRUE(!result.failed || isUntouched(*table));
        expectNothingBehind(*table);
    }
    return result.failed ? Tables() : result;
}

Table plainReference(QuantizedKernel const & kernel) {
    int halvings = 0;
    for (int scale = kernel.scale; scale > 1; scale /= 2)
        ++halvings;
    Table table = {kernel.scale / 2, 0, halvings};
    table.insert(table.end(), kernel.integers.begin(), kernel.integers.end());
    return table;
}

// The words of a pair follow each other as the integers do, so only an odd one is different.
Table packedReference(QuantizedKernel const & kernel, bool reverse) {
    Table table = plainReference(kernel);
    if (kernel.integers.size() % 2 == 0) return table;
    table.insert(reverse ? table.end() - 1 : table.end(), 0);
    return table;
}

// The rules, one after the other.
Tables referenceOf(KernelPair pair) {
    double const limit = 16384;
    if (pair.reverse) {
        std::reverse(pair.a.begin(), pair.a.end());
        std::reverse(pair.b.begin(), pair.b.end());
    }
    double const absSumB = KernelReference::absSumOf(pair.b);
    if (absSumB > 2.0 || !std::isfinite(absSumB)) return {};
    bool const valid = pair.offsetA >= 0 && pair.offsetB >= 0;
    double const factor = valid && absSumB != 0 ? (1 - pair.offsetB / limit) / absSumB : 0;
    if (factor != 0) {
        for (double & element : pair.b)
            element *= factor;
        for (double & element : pair.a)
            element /= factor;
    }
    QuantizedKernel const b = KernelReference::quantize(pair.b, 2, 0);
    double scale = KernelReference::scaleFor(pair.a, 2);
    if (b.failed || scale < 1) return {};
    double const offsetA = valid ? pair.offsetA : 0;
    if (b.negativeSum + offsetA > limit) scale /= 2;
    if (scale < 1) return {};
    QuantizedKernel const a = KernelReference::quantize(pair.a, 2, static_cast<int>(scale));
    if (a.failed) return {};
    return {false, plainReference(a), plainReference(b), packedReference(a, pair.reverse),
            packedReference(b, pair.reverse)};
}

struct TablesCase {
    char const * what;
    KernelPair pair;
    Tables tables;
};

void expectCases(std::vector<TablesCase> const & cases) {
    for (TablesCase const & c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.tables, tablesOf(c.pair));
        EXPECT_EQ(c.tables, referenceOf(c.pair)) << "the reference";
    }
}

TEST(QelCoreMiscKernelTablesTest, HeaderIntegersAndPairs) {
    expectCases({
        {"even and odd",
         {{0.5, 0.25}, {0.25, 0.5, 0.125}},
         {false,
          {8192, 0, 14, 8192, 4096},
          {8192, 0, 14, 4096, 8192, 2048},
          {8192, 0, 14, 8192, 4096},
          {8192, 0, 14, 4096, 8192, 2048, 0}}},
        {"reversed: the zero stands in the low half",
         {{0.5, 0.25}, {0.25, 0.5, 0.125}, -1, -1, true},
         {false,
          {8192, 0, 14, 4096, 8192},
          {8192, 0, 14, 2048, 8192, 4096},
          {8192, 0, 14, 4096, 8192},
          {8192, 0, 14, 2048, 8192, 0, 4096}}},
        {"a single one",
         {{-1}, {1}},
         {false,
          {8192, 0, 14, -16384},
          {8192, 0, 14, 16384},
          {8192, 0, 14, -16384, 0},
          {8192, 0, 14, 16384, 0}}},
        {"a scale of 1",
         {{16384}, {1}},
         {false,
          {0, 0, 0, 16384},
          {8192, 0, 14, 16384},
          {0, 0, 0, 16384, 0},
          {8192, 0, 14, 16384, 0}}},
        {"empty kernels", {}, {false, {8192, 0, 14}, {8192, 0, 14}, {8192, 0, 14}, {8192, 0, 14}}},
        {"empty kernels with offsets",
         {{}, {}, 3, 4},
         {false, {8192, 0, 14}, {8192, 0, 14}, {8192, 0, 14}, {8192, 0, 14}}},
    });
}

// The plain tables are enough to tell these apart.
struct PlainCase {
    char const * what;
    KernelPair pair;
    Table a;
    Table b;
};

void expectCases(std::vector<PlainCase> const & cases) {
    for (PlainCase const & c : cases) {
        SCOPED_TRACE(c.what);
        Tables const tables = tablesOf(c.pair);
        EXPECT_FALSE(tables.failed);
        EXPECT_EQ(c.a, tables.a);
        EXPECT_EQ(c.b, tables.b);
        EXPECT_EQ(referenceOf(c.pair), tables) << "the reference";
    }
}

TEST(QelCoreMiscKernelTablesTest, OffsetsNormaliseB) {
    expectCases(std::vector<PlainCase>{
        {"B grows to 1 and A shrinks",
         {{1}, {0.25, 0.25}, 0, 0},
         {8192, 0, 14, 8192},
         {8192, 0, 14, 8192, 8192}},
        {"B shrinks to 1 and A grows",
         {{0.25}, {1, 1}, 0, 0},
         {8192, 0, 14, 8192},
         {8192, 0, 14, 8192, 8192}},
        {"room for the offset of B",
         {{0.25}, {0.5, 0.5}, 0, 8192},
         {8192, 0, 14, 8192},
         {8192, 0, 14, 4096, 4096}},
        {"an offset of 1", {{0}, {1}, 0, 1}, {8192, 0, 14, 0}, {8192, 0, 14, 16383}},
        {"offset B equal to the limit leaves the kernels alone",
         {{0.25}, {0.25, 0.5}, 0, 16384},
         {8192, 0, 14, 4096},
         {8192, 0, 14, 4096, 8192}},
        {"offset B above the limit turns the signs",
         {{0.25}, {0.5, 0.5}, 0, 24576},
         {8192, 0, 14, -8192},
         {8192, 0, 14, -4096, -4096}},
        {"B of zeros leaves the kernels alone",
         {{0.25}, {0, 0}, 0, 0},
         {8192, 0, 14, 4096},
         {8192, 0, 14, 0, 0}},
    });
}

TEST(QelCoreMiscKernelTablesTest, ANegativeOffsetLeavesTheKernelsAlone) {
    Table const a = {8192, 0, 14, 4096};
    Table const b = {8192, 0, 14, 8192, -4096};
    expectCases(std::vector<PlainCase>{
        {"both", {{0.25}, {0.5, -0.25}, -1, -1}, a, b},
        {"of A", {{0.25}, {0.5, -0.25}, -1, 0}, a, b},
        {"of B", {{0.25}, {0.5, -0.25}, 0, -1}, a, b},
        {"the smallest ones", {{0.25}, {0.5, -0.25}, INT_MIN, INT_MIN}, a, b},
        // Offset A alone would halve the scale of A.
        {"of B with a large offset of A", {{0.25}, {0.5, -0.25}, INT_MAX, -1}, a, b},
    });
}

TEST(QelCoreMiscKernelTablesTest, NegativeIntegersOfBAndOffsetAHalveTheScaleOfA) {
    // B becomes -8192, 8192.
    std::vector<double> const b = {-0.5, 0.5};
    Table const tableB = {8192, 0, 14, -8192, 8192};
    expectCases(std::vector<PlainCase>{
        {"exactly the limit", {{0.5}, b, 8192, 0}, {8192, 0, 14, 8192}, tableB},
        {"one more", {{0.5}, b, 8193, 0}, {4096, 0, 13, 4096}, tableB},
        {"the largest offset", {{0.5}, b, INT_MAX, 0}, {4096, 0, 13, 4096}, tableB},
        {"a scale of 2 becomes 1", {{8192}, b, 8193, 0}, {0, 0, 0, 8192}, tableB},
        {"a small B is scaled up instead",
         {{0.5}, {-0.25, 0.125}, -1, -1},
         {8192, 0, 14, 8192},
         {16384, 0, 15, -8192, 4096}},
    });
}

TEST(QelCoreMiscKernelTablesTest, FailuresLeaveTheTablesAlone) {
    double const tiny = std::numeric_limits<double>::denorm_min();
    expectCases(std::vector<TablesCase>{
        {"B above 2", {{1}, {2.001}}, {}},
        {"the magnitudes of B above 2", {{1}, {1, -1.001}, 0, 0}, {}},
        {"B infinite", {{1}, {infinite}, 0, 0}, {}},
        {"B not a number", {{1}, {0.5, notANumber}, 0, 0}, {}},
        {"B too small to be normalised", {{1}, {tiny, 0}, 0, 0}, {}},
        {"A infinite", {{-infinite}, {1}, 0, 0}, {}},
        {"A not a number", {{notANumber}, {1}}, {}},
        {"A above the limit", {{16385}, {1}}, {}},
        {"A above the limit once normalised", {{16000}, {1, 1}, 0, 0}, {}},
        {"a scale of 1 halved", {{16384}, {-1}, 1, 0}, {}},
    });
    EXPECT_FALSE(tablesOf({{1}, {2}}).failed);
    EXPECT_FALSE(tablesOf({{1}, {tiny, 0}}).failed);
    EXPECT_FALSE(tablesOf({{16384}, {-1}, 0, 0}).failed);
}

TEST(QelCoreMiscKernelTablesTest, NullTablesAreSkipped) {
    KernelPair const pair{{0.5, 0.25, -0.125}, {0.25, 0.5, -0.125}, 100, 200, true};
    Tables const whole = tablesOf(pair);
    ASSERT_FALSE(whole.failed);
    for (unsigned wanted = 0; wanted < 16; ++wanted) {
        SCOPED_TRACE(wanted);
        std::array<Table const *, 4> const expected = {&whole.a, &whole.b, &whole.packedA,
                                                       &whole.packedB};
        std::array<Table, 4> tables;
        std::array<std::int32_t *, 4> given{};
        for (unsigned i = 0; i < 4; ++i) {
            tables[i].assign(expected[i]->size(), untouched);
            if ((wanted >> i & 1U) != 0) given[i] = tables[i].data();
        }
        EXPECT_FALSE(QelCoreMisc::makeFixedPointKernels(pair.a.data(), 3, pair.b.data(), 3,
                                                        pair.offsetA, pair.offsetB, pair.reverse,
                                                        given[0], given[1], given[2], given[3]));
        for (unsigned i = 0; i < 4; ++i) {
            EXPECT_TRUE(given[i] != nullptr ? tables[i] == *expected[i] : isUntouched(tables[i]))
                << i;
        }
    }
}

TEST(QelCoreMiscKernelTablesTest, NullKernelsOfNoElementsAreEmpty) {
    for (int const count : {0, -1, INT_MIN}) {
        Table a(3, untouched);
        Table packedB(3, untouched);
        EXPECT_FALSE(QelCoreMisc::makeFixedPointKernels(nullptr, count, nullptr, count, 0, 0, true,
                                                        a.data(), nullptr, nullptr,
                                                        packedB.data()));
        EXPECT_EQ((Table{8192, 0, 14}), a);
        EXPECT_EQ((Table{8192, 0, 14}), packedB);
    }
}

KernelPair randomPair(RandomKernels & random) {
    auto const offset = [&random] {
        int const kind = random.pick(0, 9);
        return kind == 0 ? random.pick(-100, -1) : random.pick(0, kind == 1 ? 40000 : 16384);
    };
    KernelPair pair{random.next(), random.next(), offset(), offset(), random.pick(0, 1) != 0};
    // As it comes, B is mostly far from what is allowed.
    double const sum = KernelReference::absSumOf(pair.b);
    double const wanted = random.real(0.01, 2.1);
    for (double & element : pair.b) {
        if (sum > 0) element *= wanted / sum;
    }
    return pair;
}

TEST(QelCoreMiscKernelTablesTest, RandomPairsAgreeWithASlowReference) {
    constexpr unsigned seed = 31203;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::cout << "seed " << seed << '\n';
    RandomKernels random(seed);
    int successes = 0;
    for (int run = 0; run < 10000; ++run) {
        KernelPair const pair = randomPair(random);
        Tables const actual = tablesOf(pair);
        ASSERT_EQ(referenceOf(pair), actual) << "run " << run << ' ' << descriptionOf(pair);
        if (!actual.failed) ++successes;
    }
    // Neither of the two is rare.
    EXPECT_GT(successes, 3000);
    EXPECT_LT(successes, 9500);
}

// One lane of the instructions that the constants are for.
std::uint16_t clampedLane(std::uint16_t x, std::array<std::uint16_t, 4> const & constants) {
    auto lane = static_cast<std::uint16_t>(x + constants[0]);
    lane = static_cast<std::uint16_t>(std::min(lane + constants[1], 65535));
    lane = static_cast<std::uint16_t>(std::max(lane - constants[2], 0));
    return static_cast<std::uint16_t>(lane + constants[3]);
}

TEST(QelCoreMiscKernelTablesTest, ClampConstantsClampEveryValue) {
    struct {
        int low;
        int high;
    } const cases[] = {
        {0, 255},        {0, 0},          {-128, 127},      {0, 32767},  {-32768, 32767},
        {-32768, -1},    {32767, 32767},  {-32768, -32768}, {-100, 200}, {1000, 1001},
        {-20000, 20000}, {-32767, 32766}, {0, 1},           {-1, 0},     {17, 17},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(std::to_string(c.low) + " to " + std::to_string(c.high));
        std::array<std::uint32_t, 8> words;
        QelCoreMisc::makeClampConstants(c.low, c.high, words.data());
        std::array<std::uint16_t, 4> constants;
        for (std::size_t i = 0; i < 4; ++i) {
            constants[i] = static_cast<std::uint16_t>(words[2 * i]);
            // All four lanes are the same.
            EXPECT_EQ(constants[i] * 0x10001U, words[2 * i]) << i;
            EXPECT_EQ(words[2 * i], words[2 * i + 1]) << i;
        }
        for (int x = -32768; x <= 32767; ++x) {
            std::uint16_t const lane = clampedLane(static_cast<std::uint16_t>(x), constants);
            ASSERT_EQ(std::clamp(x, c.low, c.high), static_cast<std::int16_t>(lane)) << x;
        }
    }
}

TEST(QelCoreMiscKernelTablesTest, ClampConstantsAreEightWords) {
    std::array<std::uint32_t, 9> words;
    words.fill(0x12345678);
    QelCoreMisc::makeClampConstants(-2, 255, words.data());
    std::array<std::uint32_t, 9> const expected = {0x80008000, 0x80008000, 0x7F007F00,
                                                   0x7F007F00, 0xFEFEFEFE, 0xFEFEFEFE,
                                                   0xFFFEFFFE, 0xFFFEFFFE, 0x12345678};
    EXPECT_EQ(expected, words);
}

}  // namespace

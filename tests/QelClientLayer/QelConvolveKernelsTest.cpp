// The inner loops of convolutions, in both kernel sets, over memory of every shape, against the
// reference.

#include "QelConvolveKernels.h"

#include <bit>
#include <cstring>

#include "ClientTesting.h"
#include "ConvolveReference.h"
#include "QelCpu.h"

namespace {

struct Set {
    char const * name;
    QelConvolveKernels const & kernels;
};

std::vector<Set> setsOfThisProcessor() {
    std::vector<Set> sets{{"baseline", qelOps::baseline::convolveKernels}};
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) sets.push_back({"v3", qelOps::v3::convolveKernels});
#endif
    return sets;
}

// A kernel as the loops want it.
struct Plan {
    Plan(QelConvolutionKernel const & from, QelDataType type) : kernel(from), quantised(from) {
        plan.reach = kernel.reach();
        plan.separable = kernel.isSeparable();
        plan.weights = kernel.weights().data();
        plan.centre = kernel.centre();
        if (isSmall(type) && quantised.possible) addFixedPoint(type);
    }
    Plan(Plan const &) = delete;
    Plan & operator=(Plan const &) = delete;

    void addFixedPoint(QelDataType type) {
        integers.assign(quantised.integers.begin(), quantised.integers.end());
        for (std::size_t i = 0; kernel.isSeparable() && i < quantised.integers.size(); ++i)
            integers.push_back(static_cast<int>(quantised.columnSign) * quantised.integers[i]);
        plan.integers = integers.data();
        plan.shift = plan.columnShift = std::countr_zero(static_cast<unsigned>(quantised.scale));
        plan.integerCentre = static_cast<std::int32_t>(quantised.centre);
        bool const withSign = type == QelDataType::Char;
        std::uint32_t table[8];
        QelCoreMisc::makeClampConstants(withSign ? -128 : 0, withSign ? 127 : 255, table);
        for (std::size_t i = 0; i < 4; ++i)
            plan.clamp[i] = static_cast<std::uint16_t>(table[2 * i]);
    }

    QelConvolutionKernel kernel;
    Quantised quantised;
    std::vector<std::int32_t> integers;
    QelConvolvePlan plan;
};

// The elements of pixels somewhere in memory, at any distances and addresses.
struct Memory {
    Memory(Random & random, QelDataType elementType, std::int32_t width, std::int32_t height,
           int numBands)
        : type(elementType), rect(0, 0, width, height), bands(numBands) {
        int const size = type.size();
        std::ptrdiff_t const gap = random.coin() ? 0 : random.between(1, 5);
        step = (size + gap) * (random.between(0, 3) == 0 ? -1 : 1);
        std::ptrdiff_t const row = (size + gap) * width * bands + random.between(0, 9);
        line = random.coin() ? row : -row;
        std::ptrdiff_t const elements = std::ptrdiff_t{width} * bands;
        std::ptrdiff_t const odd = random.between(0, 7);
        bytes.resize(static_cast<std::size_t>(odd + row * height + size));
        for (std::uint8_t & byte : bytes)
            byte = static_cast<std::uint8_t>(random.between(0, 255));
        first = odd + (step < 0 ? -step * (elements - 1) : 0) + (line < 0 ? row * (height - 1) : 0);
    }

    std::uint8_t * at(std::int32_t x, std::int32_t y, int band) {
        std::ptrdiff_t const element = std::ptrdiff_t{x} * bands + band;
        return bytes.data() + first + y * line + element * step;
    }

    // By a buffer of one pixel there.
    double value(std::int32_t x, std::int32_t y, int band) {
        return elementAt(QelRectBuffer(1, 1, 1, PIXEL_INTERLEAVED, type, at(x, y, band), false), 0,
                         0, 0);
    }
    void setValue(std::int32_t x, std::int32_t y, int band, double value) {
        QelRectBuffer pixel(1, 1, 1, PIXEL_INTERLEAVED, type, at(x, y, band), false);
        setElement(pixel, 0, 0, 0, value);
    }

    QelDataType type;
    QelRect rect;
    int bands;
    std::ptrdiff_t step;
    std::ptrdiff_t line;
    std::ptrdiff_t first;
    Bytes bytes;
};

// A part of a picture, of which at most `reach` pixels on each side may be looked at.
struct Ground {
    Ground(Random & random, QelDataType type, std::int32_t reach)
        : Ground(random, type, reach, randomSize(random)) {}
    Ground(Random & random, QelDataType type, std::int32_t reach, QelRect const & size)
        : bands(random.between(1, 5)),
          whole(size),
          part(size.width < wide ? random.rectIn(whole) : insideOf(whole)),
          together(random.coin()),
          source(random, type, whole.width, whole.height, bands),
          target(random, type, whole.width, whole.height, bands) {
        auto const side = [&](std::int64_t there) {
            std::int64_t const most = std::min<std::int64_t>(there, reach);
            return random.coin() ? most : random.between(0, static_cast<int>(most));
        };
        left = side(part.x);
        right = side(whole.right() - part.right());
        above = side(part.y);
        below = side(whole.bottom() - part.bottom());
        for (std::int32_t y = 0; y < whole.height; ++y) {
            for (std::int32_t x = 0; x < whole.width; ++x) {
                for (int band = 0; band < bands; ++band)
                    source.setValue(x, y, band, random.element(type));
            }
        }
    }

    static QelRect randomSize(Random & random) {
        return {0, 0, random.oneOf(std::vector<int>{1, 2, random.between(3, 50)}),
                random.oneOf(std::vector<int>{1, 2, random.between(3, 12)})};
    }
    static QelRect insideOf(QelRect const & rect) {
        return {rect.x + 1, rect.y, rect.width - 3, rect.height};
    }

    // The pixels that may be looked at.
    Elements<double> seen() {
        QelRect const rect(static_cast<std::int32_t>(part.x - left),
                           static_cast<std::int32_t>(part.y - above),
                           static_cast<std::int32_t>(part.width + left + right),
                           static_cast<std::int32_t>(part.height + above + below));
        return Elements<double>(rect, bands)
            .made<double>(
                [&](std::int32_t x, std::int32_t y, int band) { return source.value(x, y, band); });
    }

    QelPixelNeighbours pixels(int band) {
        QelPixelNeighbours pixels;
        pixels.rows.from = source.at(part.x, part.y, band);
        pixels.rows.fromStep = together ? source.step : source.step * bands;
        pixels.rows.fromLine = source.line;
        pixels.rows.to = target.at(part.x, part.y, band);
        pixels.rows.toStep = together ? target.step : target.step * bands;
        pixels.rows.toLine = target.line;
        pixels.rows.count = together ? std::int64_t{part.width} * bands : part.width;
        pixels.rows.rows = part.height;
        pixels.spread = together ? bands : 1;
        pixels.left = left;
        pixels.right = right;
        pixels.above = above;
        pixels.below = below;
        return pixels;
    }

    void convolve(QelConvolveKernels const & kernels, Plan const & plan) {
        for (int band = 0; band < (together ? 1 : bands); ++band) {
            QelPixelNeighbours const at = pixels(band);
            std::size_t const bytes = kernels.bytesNeeded(at.rows.count, at.spread, plan.plan);
            // With any content, which must not matter.
            std::vector<std::uint64_t> workspace((bytes + 7) / 8, 0xfff7fff7fff7fff7U);
            kernels.convolve[target.type.code()](
                at, plan.plan, reinterpret_cast<std::uint8_t *>(workspace.data()));
        }
    }

    // Every pixel of the part is right, and no other byte differs from `before`.
    void expectResult(ConvolveReference const & reference, Bytes const & before) {
        Bytes others = before;
        for (std::int32_t y = part.y; y <= part.bottom(); ++y) {
            for (std::int32_t x = part.x; x <= part.right(); ++x) {
                for (int band = 0; band < bands; ++band) {
                    ASSERT_TRUE(reference.agrees(x, y, band, target.value(x, y, band)));
                    std::uint8_t const * const found = target.at(x, y, band);
                    std::memcpy(others.data() + (found - target.bytes.data()), found,
                                static_cast<std::size_t>(target.type.size()));
                }
            }
        }
        ASSERT_TRUE(others == target.bytes) << "a byte beside the part was changed";
    }

    static constexpr std::int32_t wide = 1000;

    int bands;
    QelRect whole;
    QelRect part;
    bool together;
    Memory source;
    Memory target;
    std::int64_t left, right, above, below;
};

TEST(QelConvolveKernelsTest, RandomConvolutionsAgreeWithTheReferenceInBothSets) {
    Random random(20240301);
    for (int round = 0; round < 1200; ++round) {
        QelDataType const type = random.oneOf(numberTypes());
        Plan const plan(randomKernel(random, 64), type);
        SCOPED_TRACE("round " + std::to_string(round) + " of " + type.name() + ", reach " +
                     std::to_string(plan.kernel.reach()));
        Ground ground(random, type, plan.kernel.reach());
        Bytes const before = ground.target.bytes;
        ConvolveReference const reference(type, ground.seen(), plan.kernel);
        Bytes first;
        for (Set const & set : setsOfThisProcessor()) {
            SCOPED_TRACE(set.name);
            ground.target.bytes = before;
            ground.convolve(set.kernels, plan);
            ASSERT_NO_FATAL_FAILURE(ground.expectResult(reference, before));
            if (first.empty()) first = ground.target.bytes;
            ASSERT_TRUE(first == ground.target.bytes) << "the sets differ";
        }
    }
}

// Rows that are convolved in several strips, which must not show.
TEST(QelConvolveKernelsTest, RowsOfManyStrips) {
    Random random(20240304);
    for (QelConvolutionKernel const & kernel :
         {QelConvolutionKernel::blur(3), QelConvolutionKernel::unsharp(64),
          QelConvolutionKernel({1, 2, 3, 4, 5, 6, 7, 8, 9})}) {
        for (QelDataType const & type : numberTypes()) {
            SCOPED_TRACE(std::string(type.name()) + ", reach " + std::to_string(kernel.reach()));
            Plan const plan(kernel, type);
            Ground ground(random, type, kernel.reach(),
                          QelRect(0, 0, random.between(4200, 5000), 2));
            Bytes const before = ground.target.bytes;
            ConvolveReference const reference(type, ground.seen(), kernel);
            for (Set const & set : setsOfThisProcessor()) {
                SCOPED_TRACE(set.name);
                ground.target.bytes = before;
                ground.convolve(set.kernels, plan);
                ASSERT_NO_FATAL_FAILURE(ground.expectResult(reference, before));
            }
        }
    }
}

// Kernels by hand that reach each corner of fixed point, over the ends of the range.
TEST(QelConvolveKernelsTest, ExtremeKernelsInFixedPoint) {
    Random random(20240302);
    std::vector<std::vector<double>> const table{
        {0},
        {1},
        {1e-9, -1e-9, 0, 0, 0, 0, 0, 0, 0},      // the largest scale there is
        {0, 0, 0, 0, 1e-300, 0, 0, 0, -1e-300},  // all integers are 0
        {8192, 0, 0, 0, 0, 0, 0, 0, -8192},      // scale 1
        {8191, 0, 0, 0, 1, 0, 0, 0, -8191},      // scale 1, and a sum
        {8192, 0, 0, 0, 1, 0, 0, 0, -8192},      // too large for fixed point
        {1e6, 1, 0, 0, 0, 0, 0, 0, -1e6},        // much too large
        {-1, -1, -1, -1, 8, -1, -1, -1, -1},     // edges
        std::vector<double>(129 * 129, 1)};      // more weights than steps
    for (std::vector<double> const & weights : table) {
        for (QelDataType const type : {QelDataType::UChar, QelDataType::Char}) {
            Plan const plan(QelConvolutionKernel(weights), type);
            SCOPED_TRACE(std::to_string(weights.size()) + " weights from " +
                         std::to_string(weights[0]) + ", " + type.name());
            for (Set const & set : setsOfThisProcessor()) {
                Ground ground(random, type, plan.kernel.reach());
                Bytes const before = ground.target.bytes;
                ConvolveReference const reference(type, ground.seen(), plan.kernel);
                ground.convolve(set.kernels, plan);
                ASSERT_NO_FATAL_FAILURE(ground.expectResult(reference, before)) << set.name;
            }
        }
    }
}

// Sums of float and double have one order, which the compiler must not change.
TEST(QelConvolveKernelsTest, NanAndInfinityStayWhatTheyAre) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const infinity = std::numeric_limits<double>::infinity();
    Random random(20240303);
    for (QelDataType const type : {QelDataType::Float, QelDataType::Double}) {
        Plan const plan(QelConvolutionKernel::blur(1), type);
        for (Set const & set : setsOfThisProcessor()) {
            Ground ground(random, type, 1);
            ground.source.setValue(ground.part.x, ground.part.y, 0, nan);
            ground.convolve(set.kernels, plan);
            EXPECT_TRUE(std::isnan(ground.target.value(ground.part.x, ground.part.y, 0)));
            ground.source.setValue(ground.part.x, ground.part.y, 0, -infinity);
            ground.convolve(set.kernels, plan);
            EXPECT_EQ(-infinity, ground.target.value(ground.part.x, ground.part.y, 0));
        }
    }
}

}  // namespace

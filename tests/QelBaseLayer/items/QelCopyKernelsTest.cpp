#include "QelCopyKernels.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <vector>

#include <gtest/gtest.h>

#include "CopyReference.h"
#include "QelCpu.h"

namespace {

struct Set {
    char const * name;
    QelCopyKernels const & kernels;
};

std::vector<Set> setsOfThisProcessor() {
    std::vector<Set> sets{{"baseline", qelCopy::baseline::kernels}};
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) sets.push_back({"v3", qelCopy::v3::kernels});
#endif
    return sets;
}

int sizeOf(int code) {
    return QelDataType(code).size();
}

using Bytes = std::vector<std::uint8_t>;

Bytes randomBytes(CopyRandom & random, std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t & byte : bytes)
        byte = static_cast<std::uint8_t>(random.between(0, 255));
    return bytes;
}

// Numbers of every size, not only those that random bits happen to be.
Bytes randomElements(CopyRandom & random, int code, std::int32_t count) {
    QelRectBuffer buffer(count, 1, 1, PIXEL_INTERLEAVED, QelDataType(code));
    random.fill(buffer);
    return storageOf(buffer);
}

// Loops of 5 by 4 by 3 elements with that shape and those steps, in bytes.
QelCopyLoops loopsOf(int shape, std::int64_t sourceStep, std::int64_t targetStep) {
    QelCopyLoops loops{};
    loops.inner = 5;
    loops.middle = 4;
    loops.outer = 3;
    loops.sourceStep = sourceStep;
    loops.targetStep = targetStep;
    if ((shape & 1) != 0) loops.sourceGap1 = 3 * std::abs(sourceStep);
    if ((shape & 2) != 0) loops.sourceGap2 = 5 * std::abs(sourceStep);
    if ((shape & 4) != 0) loops.targetGap1 = 7 * std::abs(targetStep);
    if ((shape & 8) != 0) loops.targetGap2 = 9 * std::abs(targetStep);
    loops.shape = shape;
    return loops;
}

// One row.
QelCopyLoops rowOf(std::int64_t count, int sourceCode, int targetCode) {
    QelCopyLoops loops{};
    loops.inner = count;
    loops.middle = loops.outer = 1;
    loops.sourceStep = sizeOf(sourceCode);
    loops.targetStep = sizeOf(targetCode);
    return loops;
}

void walkSlowly(Bytes const & source, int sourceCode, std::int64_t from, Bytes & target,
                int targetCode, std::int64_t to, QelCopyLoops const & loops) {
    for (std::int64_t k = 0; k < loops.outer; ++k) {
        for (std::int64_t j = 0; j < loops.middle; ++j) {
            for (std::int64_t i = 0; i < loops.inner; ++i) {
                copyElement(source.data() + from, sourceCode, target.data() + to, targetCode);
                from += loops.sourceStep;
                to += loops.targetStep;
            }
            from += loops.sourceGap1;
            to += loops.targetGap1;
        }
        from += loops.sourceGap2;
        to += loops.targetGap2;
    }
}

constexpr std::size_t room = 8192;
constexpr std::int64_t middle = 4096;

}  // namespace

TEST(QelCopyKernelsTest, TheBestSetIsTheLastThatTheProcessorCanRun) {
    EXPECT_EQ(&setsOfThisProcessor().back().kernels,
              (qelBestKernels<&qelCopy::baseline::kernels, &qelCopy::v3::kernels>()));
}

TEST(QelCopyKernelsTest, EveryShapeOfEveryRoutineVisitsItsElements) {
    CopyRandom random(1);
    for (Set const & set : setsOfThisProcessor()) {
        for (int sourceCode = 0; sourceCode < QelCopyKernels::types; ++sourceCode) {
            Bytes const source =
                randomElements(random, sourceCode, static_cast<std::int32_t>(room) / 8);
            Bytes wide = source;
            wide.resize(room);
            for (int targetCode = 0; targetCode < QelCopyKernels::types; ++targetCode) {
                QelCopyRoutine const & routine = *set.kernels.routines[sourceCode][targetCode];
                ASSERT_EQ(sizeOf(sourceCode), routine.sourceSize);
                ASSERT_EQ(sizeOf(targetCode), routine.targetSize);
                for (int shape = 0; shape < QelCopyLoops::shapes; ++shape) {
                    QelCopyLoops const loops =
                        loopsOf(shape, routine.sourceSize, -2 * routine.targetSize);
                    Bytes expected = randomBytes(random, room);
                    Bytes target = expected;
                    walkSlowly(wide, sourceCode, 0, expected, targetCode, middle, loops);
                    routine.walks[shape](wide.data(), target.data() + middle, loops);
                    ASSERT_EQ(expected, target)
                        << set.name << ' ' << QelDataType(sourceCode) << " to "
                        << QelDataType(targetCode) << " shape " << shape;
                }
            }
        }
    }
}

TEST(QelCopyKernelsTest, EveryShapeOfRowsVisitsItsElements) {
    CopyRandom random(2);
    for (Set const & set : setsOfThisProcessor()) {
        for (int shape = 0; shape < QelCopyLoops::shapes; ++shape) {
            for (int const targetCode : {QelDataType::Short, QelDataType::Float}) {
                Bytes const source = randomBytes(random, room);
                Bytes expected = randomBytes(random, room);
                Bytes target = expected;
                QelCopyLoops const loops = loopsOf(shape, 2, sizeOf(targetCode));
                walkSlowly(source, QelDataType::Short, 0, expected, targetCode, 0, loops);
                set.kernels.rowWalks[shape](*set.kernels.routines[QelDataType::Short][targetCode],
                                            source.data(), target.data(), loops);
                ASSERT_EQ(expected, target) << set.name << " shape " << shape;
            }
        }
    }
}

TEST(QelCopyKernelsTest, RowsOfEveryLengthEqualAReference) {
    CopyRandom random(3);
    for (int sourceCode = 0; sourceCode < QelCopyKernels::types; ++sourceCode) {
        for (int targetCode = 0; targetCode < QelCopyKernels::types; ++targetCode) {
            for (std::int32_t count = 0; count < 140; ++count) {
                Bytes const source = randomElements(random, sourceCode, count);
                Bytes const before = randomBytes(random, 1200);
                Bytes expected = before;
                QelCopyLoops const loops = rowOf(count, sourceCode, targetCode);
                walkSlowly(source, sourceCode, 0, expected, targetCode, 1, loops);
                for (Set const & set : setsOfThisProcessor()) {
                    Bytes target = before;
                    set.kernels.routines[sourceCode][targetCode]->row(source.data(),
                                                                      target.data() + 1, count);
                    ASSERT_EQ(expected, target)
                        << set.name << ' ' << QelDataType(sourceCode) << " to "
                        << QelDataType(targetCode) << ", " << count << " elements";
                }
            }
        }
    }
}

TEST(QelCopyKernelsTest, MovesOverlapAsIfThroughAThirdRow) {
    CopyRandom random(4);
    for (Set const & set : setsOfThisProcessor()) {
        for (std::int64_t count = 0; count < 100; ++count) {
            for (std::int64_t const distance : {-17, -1, 0, 1, 17}) {
                Bytes bytes = randomBytes(random, 200);
                Bytes expected = bytes;
                std::copy_n(bytes.begin() + 50, count, expected.begin() + 50 + distance);
                set.kernels.moves[0]->row(bytes.data() + 50, bytes.data() + 50 + distance, count);
                ASSERT_EQ(expected, bytes) << set.name << ' ' << count << " by " << distance;
            }
        }
    }
}

TEST(QelCopyKernelsTest, BandsTakenApartAndPutTogetherEqualAReference) {
    CopyRandom random(5);
    for (Set const & set : setsOfThisProcessor()) {
        for (std::size_t index = 0; index < 4; ++index) {
            std::size_t const size = std::size_t{1} << index;
            for (std::size_t bands = 2; bands <= 4; ++bands) {
                for (std::size_t pixels = 0; pixels < 70; ++pixels) {
                    std::size_t const step = (pixels + 3) * size;
                    Bytes const together = randomBytes(random, pixels * bands * size);
                    Bytes apart(step * bands, 0xEE);
                    for (std::size_t i = 0; i < pixels * bands; ++i) {
                        std::copy_n(together.begin() + static_cast<std::ptrdiff_t>(i * size), size,
                                    apart.begin() + static_cast<std::ptrdiff_t>(i % bands * step +
                                                                                i / bands * size));
                    }
                    Bytes split(apart.size(), 0xEE);
                    set.kernels.splits[index][bands - 2](together.data(), split.data(),
                                                         static_cast<std::int64_t>(step),
                                                         static_cast<std::int64_t>(pixels));
                    ASSERT_EQ(apart, split) << set.name << ' ' << size << ' ' << bands;
                    Bytes joined(together.size());
                    set.kernels.joins[index][bands - 2](apart.data(), joined.data(),
                                                        static_cast<std::int64_t>(step),
                                                        static_cast<std::int64_t>(pixels));
                    ASSERT_EQ(together, joined) << set.name << ' ' << size << ' ' << bands;
                }
            }
        }
    }
}

// Numbers at the edges of what fits, in both sets and wherever in a row they stand.
TEST(QelCopyKernelsTest, EdgesOfIntegersAreTheSameInEveryPlaceOfARow) {
    double const edges[] = {2147483647.0,  2147483648.0, 2147483647.5, -2147483648.0, -2147483648.5,
                            -2147483649.0, 4294967295.0, 4294967295.5, 4294967296.0,  -0.0,
                            -0.99,         0.99,         1e300,        -1e300,        INFINITY,
                            -INFINITY,     NAN,          255.5,        65536.0,       -65537.0};
    for (double const edge : edges) {
        for (int const sourceCode : {QelDataType::Float, QelDataType::Double}) {
            constexpr std::int32_t count = 67;
            Bytes source(static_cast<std::size_t>(count * sizeOf(sourceCode)));
            for (std::int32_t i = 0; i < count; ++i)
                writeElement(source.data() + i * sizeOf(sourceCode), sourceCode, {true, 0, edge});
            for (int const targetCode :
                 {QelDataType::UChar, QelDataType::UShort, QelDataType::Long, QelDataType::ULong}) {
                Bytes expected(static_cast<std::size_t>(count * sizeOf(targetCode)));
                QelCopyLoops const loops = rowOf(count, sourceCode, targetCode);
                walkSlowly(source, sourceCode, 0, expected, targetCode, 0, loops);
                for (Set const & set : setsOfThisProcessor()) {
                    QelCopyRoutine const & routine = *set.kernels.routines[sourceCode][targetCode];
                    Bytes target(expected.size());
                    routine.row(source.data(), target.data(), count);
                    EXPECT_EQ(expected, target) << set.name << ' ' << edge;
                    std::fill(target.begin(), target.end(), std::uint8_t{0});
                    routine.walks[0](source.data(), target.data(), loops);
                    EXPECT_EQ(expected, target) << set.name << ' ' << edge;
                }
            }
        }
    }
}

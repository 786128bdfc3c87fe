#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <vector>

#include <benchmark/benchmark.h>

#include "QelXyCoordSpace.h"

// Coordinate spaces: copying one against a reference count, a conversion against its formula, and
// searches of a list of 1,000 resolutions against loops over two arrays of numbers. The list's
// cases must stay under a millisecond, which is their counter `limit_ns`.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

constexpr std::uint32_t rows = 1000;

void require(bool good, char const * what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

// Rows of (first + i) by (first + i + 1), in 10 by 20 inches.
QelXyCoordSpace spaceFrom(std::uint32_t first) {
    QelXyCoordSpace space(inches(10), inches(20));
    for (std::uint32_t i = 0; i < rows; ++i)
        space.addResolution(first + i, first + i + 1);
    return space;
}

// ---- A copy

void copySpace(benchmark::State & state) {
    QelXyCoordSpace const space = spaceFrom(1);
    for (auto _ : state) {
        QelXyCoordSpace copy(space);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(copySpace)->Name("Geometry/CopySpace/qel");

// The minimum: a shared count, up and down, and the selection.
void copyCount(benchmark::State & state) {
    std::atomic<std::int32_t> count = 1;
    Resolution const selection;
    for (auto _ : state) {
        count.fetch_add(1, std::memory_order_relaxed);
        Resolution copy(selection);
        benchmark::DoNotOptimize(copy);
        count.fetch_sub(1, std::memory_order_acq_rel);
    }
}
BENCHMARK(copyCount)->Name("Geometry/CopySpace/count");

// ---- A conversion

void convertPosition(benchmark::State & state) {
    QelXyCoordSpace space = spaceFrom(1000);
    space.selectResolution(1500, 1501);
    QelValue value = centimeters(2.5);
    require(space.convertHorzPosition(value, QEL_UNIT_PIXEL, true).value() == 147.0,
            "the position must be right");
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        QelValue pixel = space.convertHorzPosition(value, QEL_UNIT_PIXEL, true);
        benchmark::DoNotOptimize(pixel);
    }
}
BENCHMARK(convertPosition)->Name("Geometry/ConvertPosition/qel");

void convertByFormula(benchmark::State & state) {
    double centimeter = 2.5;
    double origin = 0.0;
    double dpu = 150.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(centimeter);
        benchmark::DoNotOptimize(origin);
        benchmark::DoNotOptimize(dpu);
        double pixel = std::floor((centimeter * 0.01 / 0.0254 - origin) * dpu - 0.5 + 1e-6);
        benchmark::DoNotOptimize(pixel);
    }
}
BENCHMARK(convertByFormula)->Name("Geometry/ConvertPosition/formula");

// ---- A unit

void unitInfo(benchmark::State & state) {
    int id = QEL_UNIT_INCH;
    for (auto _ : state) {
        benchmark::DoNotOptimize(id);
        benchmark::DoNotOptimize(&QelValue::getUnitInfo(id));
    }
}
BENCHMARK(unitInfo)->Name("Geometry/UnitInfo/qel");

std::array<QelUnitInfo, 256> table;

[[gnu::noinline]] QelUnitInfo const & unitOfTable(int id) {
    require(static_cast<unsigned>(id) < table.size(), "the unit must be one");
    return table[static_cast<std::size_t>(id)];
}

void unitOfTableBench(benchmark::State & state) {
    int id = QEL_UNIT_INCH;
    for (auto _ : state) {
        benchmark::DoNotOptimize(id);
        benchmark::DoNotOptimize(&unitOfTable(id));
    }
}
BENCHMARK(unitOfTableBench)->Name("Geometry/UnitInfo/table");

// ---- Lists of resolutions

void limit(benchmark::State & state) {
    state.counters["limit_ns"] = 1e6;
}

// The counts alone.
struct Counts {
    explicit Counts(std::uint32_t first) {
        for (std::uint32_t i = 0; i < rows; ++i) {
            widths.push_back(first + i);
            heights.push_back(first + i + 1);
        }
    }

    bool has(std::uint32_t width, std::uint32_t height) const {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if ((widths[i] == 0 || widths[i] == width) && (heights[i] == 0 || heights[i] == height))
                return true;
        }
        return false;
    }

    std::vector<std::uint32_t> widths;
    std::vector<std::uint32_t> heights;
};

// The last row of the list.
void select(benchmark::State & state) {
    QelXyCoordSpace space = spaceFrom(1);
    for (auto _ : state) {
        space.selectResolution(rows, rows + 1);
        benchmark::ClobberMemory();
    }
    require(space.numPixelsWide() == rows, "the last row must be selected");
    limit(state);
}
BENCHMARK(select)->Name("Geometry/Select1000/qel");

void selectByHand(benchmark::State & state) {
    Counts const counts(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(counts.has(rows, rows + 1));
}
BENCHMARK(selectByHand)->Name("Geometry/Select1000/loop");

// A resolution that no row has.
void findClosest(benchmark::State & state) {
    QelXyCoordSpace const space = spaceFrom(1);
    Resolution found;
    for (auto _ : state) {
        require(space.findClosestResolution(found, rows, 1, 3), "there must be a closest row");
        benchmark::DoNotOptimize(found);
    }
    limit(state);
}
BENCHMARK(findClosest)->Name("Geometry/FindClosest1000/qel");

void findClosestByHand(benchmark::State & state) {
    Counts const counts(1);
    std::int64_t wanted = rows;
    for (auto _ : state) {
        benchmark::DoNotOptimize(wanted);
        std::int64_t best = std::numeric_limits<std::int64_t>::max();
        std::size_t row = 0;
        for (std::size_t i = 0; i < rows; ++i) {
            std::int64_t const score =
                std::abs(counts.widths[i] - wanted) + std::abs(counts.heights[i] - std::int64_t{1});
            if (score >= best) continue;
            best = score;
            row = i;
        }
        benchmark::DoNotOptimize(row);
    }
}
BENCHMARK(findClosestByHand)->Name("Geometry/FindClosest1000/loop");

// Half of the rows stay.
void intersect(benchmark::State & state) {
    QelXyCoordSpace const original = spaceFrom(1);
    QelXyCoordSpace const other = spaceFrom(1 + rows / 2);
    for (auto _ : state) {
        QelXyCoordSpace space(original);
        space.intersectResolutions(&other);
        require(space.numResolutions() == rows / 2, "half of the rows must stay");
    }
    limit(state);
}
BENCHMARK(intersect)->Name("Geometry/Intersect1000/qel");

void intersectByHand(benchmark::State & state) {
    Counts const counts(1);
    Counts const other(1 + rows / 2);
    for (auto _ : state) {
        std::vector<std::size_t> left;
        for (std::size_t i = 0; i < rows; ++i) {
            if (other.has(counts.widths[i], counts.heights[i])) left.push_back(i);
        }
        benchmark::DoNotOptimize(left.data());
    }
}
BENCHMARK(intersectByHand)->Name("Geometry/Intersect1000/loop");

}  // namespace

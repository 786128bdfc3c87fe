#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <benchmark/benchmark.h>

#include "Qel.h"
#include "QelSimpleDataOrg.h"

// Regions: walking a million tiles against the double loop that a programmer would write, and
// copying against a reference count.

namespace {

constexpr std::int32_t tileSide = 16;
constexpr std::int32_t tilesAcross = 1000;

void require(bool good, char const * what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

MoxSmartPtr<QelDataOrg> tiling() {
    return new QelSimpleDataOrg(tileSide, tileSide, QelDataType::UChar, 1, PIXEL_INTERLEAVED);
}

MoxSmartPtr<QelXySimpleRegion> everything() {
    MoxSmartPtr<QelXyCoordSpace> const space(
        new QelXyCoordSpace(tileSide * tilesAcross, tileSide * tilesAcross));
    return new QelXySimpleRegion(space);
}

std::int64_t weight(QelTileId const & tile) {
    return tile.tileX + std::int64_t{3} * tile.tileY + tile.resolutionWidth;
}

std::int64_t sumOfIterator(QelXyRegion::Iterator & at) {
    std::int64_t sum = 0;
    for (; !at.isDone(); at.next())
        sum += weight(at.tile());
    return sum;
}

std::int64_t walkRegion(QelXySimpleRegion const & region, QelDataOrg const & org) {
    QelXySimpleRegion::Iterator at(&region, org);
    return sumOfIterator(at);
}

std::int64_t loopOverTiles(QelRect const & rect, QelDataOrg const & org) {
    std::int64_t sum = 0;
    std::int32_t const lastX = org.tileIndexX(static_cast<std::int32_t>(rect.right()));
    std::int32_t const lastY = org.tileIndexY(static_cast<std::int32_t>(rect.bottom()));
    for (std::int32_t y = org.tileIndexY(rect.y); y <= lastY; ++y) {
        for (std::int32_t x = org.tileIndexX(rect.x); x <= lastX; ++x) {
            QelTileId tile(x, y, rect.width, rect.height);
            // The work for each tile is unknown here, as in the iterator's case.
            benchmark::DoNotOptimize(tile);
            sum += weight(tile);
        }
    }
    return sum;
}

void walkMillion(benchmark::State & state) {
    MoxSmartPtr<QelXySimpleRegion> const region = everything();
    MoxSmartPtr<QelDataOrg> const org = tiling();
    require(walkRegion(*region, *org) == loopOverTiles(region->pixelBounds(), *org),
            "iterator and loop must visit the same tiles");
    for (auto _ : state)
        benchmark::DoNotOptimize(walkRegion(*region, *org));
    state.SetItemsProcessed(state.iterations() * tilesAcross * tilesAcross);
}
BENCHMARK(walkMillion)->Name("RegionTiles/Million/qel")->Unit(benchmark::kMillisecond);

// Through the base, which does not know the class of the region.
void forwardMillion(benchmark::State & state) {
    MoxSmartPtr<QelXySimpleRegion> const region = everything();
    MoxSmartPtr<QelDataOrg> const org = tiling();
    for (auto _ : state) {
        QelXyRegion::Iterator at(std::make_unique<QelXySimpleRegion::Iterator>(region.get(), *org));
        benchmark::DoNotOptimize(sumOfIterator(at));
    }
    state.SetItemsProcessed(state.iterations() * tilesAcross * tilesAcross);
}
BENCHMARK(forwardMillion)->Name("RegionTiles/MillionForwarded/qel")->Unit(benchmark::kMillisecond);

void loopMillion(benchmark::State & state) {
    QelRect const rect(0, 0, tileSide * tilesAcross, tileSide * tilesAcross);
    MoxSmartPtr<QelDataOrg> const org = tiling();
    for (auto _ : state)
        benchmark::DoNotOptimize(loopOverTiles(rect, *org));
    state.SetItemsProcessed(state.iterations() * tilesAcross * tilesAcross);
}
BENCHMARK(loopMillion)->Name("RegionTiles/Million/loop")->Unit(benchmark::kMillisecond);
BENCHMARK(loopMillion)->Name("RegionTiles/MillionForwarded/loop")->Unit(benchmark::kMillisecond);

void copyRegion(benchmark::State & state) {
    MoxSmartPtr<QelXySimpleRegion> const region = everything();
    for (auto _ : state) {
        QelXySimpleRegion copy(*region);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(copyRegion)->Name("RegionCopy/qel");

// One count up and down, the minimum for a copy.
void countUpAndDown(benchmark::State & state) {
    MoxSmartPtr<QelXySimpleRegion> const region = everything();
    for (auto _ : state) {
        MoxSmartPtr<QelXySimpleRegion> copy(region);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(countUpAndDown)->Name("RegionCopy/count");

}  // namespace

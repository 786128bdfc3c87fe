#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "HandImage.h"
#include "QelBase.h"
#include "QelCpu.h"
#include "QelInvertOp.h"
#include "QelLinearOp.h"

// On-demand images against the loops that a programmer would write by hand over the same memory.
// Both sides touch all their memory before the clock starts, and their pixels are compared.

HandImage const & handImage() {
    return *qelBestKernels<&baseline::handImage, &v3::handImage>();
}

namespace {

constexpr int bands = 3;

std::size_t bytesOf(std::int32_t side) {
    return static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * bands;
}

// A square three-band UChar picture of noise, kept until another size is requested.
std::uint8_t * picture(std::int32_t side) {
    static std::vector<std::uint8_t> pixels;
    if (pixels.size() != bytesOf(side)) {
        pixels.resize(bytesOf(side));
        pixels.shrink_to_fit();
        std::uint32_t state = 1;
        for (std::uint8_t & pixel : pixels) {
            state = state * 1664525U + 1013904223U;
            pixel = static_cast<std::uint8_t>(state >> 24);
        }
    }
    return pixels.data();
}

// Two results of the same size, all of their pages touched.
std::uint8_t * result(int which, std::int32_t side) {
    static std::vector<std::uint8_t> pixels[2];
    if (pixels[which].size() != bytesOf(side)) {
        pixels[which].assign(bytesOf(side), 0);
        pixels[which].shrink_to_fit();
    }
    return pixels[which].data();
}

MoxSmartPtr<QelRectBuffer> wrapped(std::uint8_t * memory, std::int32_t side) {
    return new QelRectBuffer(side, side, bands, PIXEL_INTERLEAVED, QelDataType::UChar, memory,
                             false);
}

void require(bool good, char const * what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

// Allocates its pixels and leaves them unchanged.
class EmptyOp : public QelImageOp {
  public:
    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        info.setSize(1280, 1280);
        info.setNumBands(bands);
        return true;
    }
    void compute(QelRectBuffer * buffer, QelOpContext) override { buffer->allocate(); }
};

void tileLife(benchmark::State & state) {
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(new EmptyOp);
    for (auto _ : state)
        benchmark::DoNotOptimize(image->getTile(3, 4).get());
}
BENCHMARK(tileLife)->Name("TileLife/qel");

// The memory that a tile needs in any case: the cost of malloc alone.
void tileLifeMalloc(benchmark::State & state) {
    for (auto _ : state) {
        void * const tile = ::operator new(sizeof(QelTile));
        void * const buffer = ::operator new(sizeof(QelDataBuffer));
        void * const pixels = ::operator new (std::size_t{128} * 128 * bands);
        benchmark::DoNotOptimize(pixels);
        ::operator delete(pixels);
        ::operator delete(buffer);
        ::operator delete(tile);
    }
}
BENCHMARK(tileLifeMalloc)->Name("TileLife/malloc");

constexpr std::int32_t large = 10000;

void invertHand(benchmark::State & state) {
    std::uint8_t const * const from = picture(large);
    std::uint8_t * const to = result(1, large);
    for (auto _ : state) {
        handImage().invert(from, 0, to, 0, bytesOf(large), 1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(invertHand)->Name("Invert10000/hand")->Unit(benchmark::kMillisecond);

void invertQel(benchmark::State & state) {
    MoxSmartPtr<QelRectBuffer> const source = wrapped(picture(large), large);
    MoxSmartPtr<QelRectBuffer> const target = wrapped(result(0, large), large);
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(source);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(new QelInvertOp(input));
    for (auto _ : state) {
        image->fillRWBuffer(target, true);
        benchmark::ClobberMemory();
    }
    handImage().invert(picture(large), 0, result(1, large), 0, bytesOf(large), 1);
    require(std::memcmp(result(0, large), result(1, large), bytesOf(large)) == 0,
            "both ways of inverting must agree");
}
BENCHMARK(invertQel)->Name("Invert10000/qel")->Unit(benchmark::kMillisecond);

// A chain of point operations over a picture in memory, inverting and changing contrast in turn.
MoxSmartPtr<Qel2DImage> chainOver(std::uint8_t * memory, std::int32_t side, int length,
                                  bool onlyInvert) {
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(wrapped(memory, side));
    for (int i = 0; i < length; ++i) {
        MoxSmartPtr<QelImageOp> op;
        if (onlyInvert || i % 2 == 0) {
            op = new QelInvertOp(image);
        } else {
            op = new QelLinearOp(image, 1.1, -3.0);
        }
        image = new Qel2DImage(op);
    }
    return image;
}

// The same over one tile: from the picture into `tile`, then in place.
void chainByHand(std::uint8_t const * from, std::ptrdiff_t fromLine, std::uint8_t * tile,
                 std::size_t count, std::size_t rows, int length, bool onlyInvert) {
    HandImage const & hand = handImage();
    std::ptrdiff_t line = fromLine;
    for (int i = 0; i < length; ++i) {
        if (onlyInvert || i % 2 == 0) {
            hand.invert(from, line, tile, static_cast<std::ptrdiff_t>(count), count, rows);
        } else {
            hand.linear(from, line, tile, static_cast<std::ptrdiff_t>(count), count, rows, 1.1F,
                        -3.0F);
        }
        from = tile;
        line = static_cast<std::ptrdiff_t>(count);
    }
}

std::uint64_t sumOf(std::uint8_t const * pixels, std::size_t count) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum = sum * 31 + pixels[i];
    return sum;
}

constexpr std::int32_t middle = 4096;
constexpr int twenty = 20;

// Pulls every tile, hands it to `use`, and releases it.
template <class Use>
void pullTiles(Qel2DImage & image, Use use) {
    for (std::int32_t y = 0; y < image.tilesDown(); ++y) {
        for (std::int32_t x = 0; x < image.tilesAcross(); ++x)
            use(*image.getTile(x, y));
    }
}

template <class Use>
void pullByHand(std::uint8_t const * from, std::int32_t side, std::int32_t tileSide, int length,
                bool onlyInvert, std::vector<std::uint8_t> & tile, Use use) {
    std::ptrdiff_t const line = std::ptrdiff_t{side} * bands;
    for (std::int32_t y = 0; y < side; y += tileSide) {
        auto const rows = static_cast<std::size_t>(std::min(tileSide, side - y));
        for (std::int32_t x = 0; x < side; x += tileSide) {
            auto const count = static_cast<std::size_t>(std::min(tileSide, side - x) * bands);
            chainByHand(from + y * line + std::ptrdiff_t{x} * bands, line, tile.data(), count, rows,
                        length, onlyInvert);
            use(tile.data(), count * rows);
        }
    }
}

template <bool onlyInvert>
void twentyHand(benchmark::State & state) {
    std::vector<std::uint8_t> tile(std::size_t{256} * 256 * bands);
    std::uint8_t const * const from = picture(middle);
    for (auto _ : state) {
        pullByHand(from, middle, 256, twenty, onlyInvert, tile,
                   [](std::uint8_t const * pixels, std::size_t) {
                       benchmark::DoNotOptimize(pixels);
                       benchmark::ClobberMemory();
                   });
    }
}
BENCHMARK(twentyHand<true>)->Name("TwentyInverts4096/hand")->Unit(benchmark::kMillisecond);
BENCHMARK(twentyHand<false>)->Name("TwentyMixed4096/hand")->Unit(benchmark::kMillisecond);

template <bool onlyInvert>
void twentyQel(benchmark::State & state) {
    MoxSmartPtr<Qel2DImage> const image = chainOver(picture(middle), middle, twenty, onlyInvert);
    for (auto _ : state) {
        pullTiles(*image, [](QelTile & tile) {
            benchmark::DoNotOptimize(tile.getData());
            benchmark::ClobberMemory();
        });
    }
    std::vector<std::uint64_t> ours;
    pullTiles(*image, [&ours](QelTile & tile) {
        ours.push_back(sumOf(tile.getData(), static_cast<std::size_t>(tile.dataBuffer()->size())));
    });
    std::vector<std::uint64_t> theirs;
    std::vector<std::uint8_t> tile(std::size_t{256} * 256 * bands);
    pullByHand(picture(middle), middle, 256, twenty, onlyInvert, tile,
               [&theirs](std::uint8_t const * pixels, std::size_t count) {
                   theirs.push_back(sumOf(pixels, count));
               });
    require(ours == theirs, "the chain and the loops by hand must agree");
}
BENCHMARK(twentyQel<true>)->Name("TwentyInverts4096/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(twentyQel<false>)->Name("TwentyMixed4096/qel")->Unit(benchmark::kMillisecond);

// Time and memory of a chain of ten over growing pictures. `extra_bytes` is the highest number of
// bytes held at once, which does not count the picture itself: that is the caller's memory.
void chainOfTen(benchmark::State & state) {
    auto const side = static_cast<std::int32_t>(state.range(0));
    MoxSmartPtr<Qel2DImage> const image = chainOver(picture(side), side, 10, false);
    std::int64_t const before = QelSystemConfig::currentBytes;
    QelSystemConfig::peakBytes = before;
    for (auto _ : state) {
        pullTiles(*image, [](QelTile & tile) { benchmark::DoNotOptimize(tile.getData()); });
    }
    state.counters["extra_bytes"] = static_cast<double>(QelSystemConfig::peakBytes - before);
    state.counters["ns_per_pixel"] = benchmark::Counter(
        static_cast<double>(side) * side * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(chainOfTen)
    ->Name("ChainOfTen/qel")
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(10000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond);

}  // namespace

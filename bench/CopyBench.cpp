#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "HandCopy.h"
#include "QelCpu.h"
#include "QelRectBuffer.h"

// QelRectBuffer::copyFrom against memcpy and the loops that a programmer would write by hand, over
// the same memory. Results are compared, and all pages touched, before the clock starts.

HandCopy const & handCopy() {
    return *qelBestKernels<&baseline::handCopy, &v3::handCopy>();
}

namespace {

// What a case copies: a square picture of `side` by `side` pixels.
struct Sides {
    QelLayout sourceLayout;
    QelDataType::Code sourceType;
    QelLayout targetLayout;
    QelDataType::Code targetType;
    int bands;
};

constexpr Sides contiguous{BAND_INTERLEAVED, QelDataType::UChar, BAND_INTERLEAVED,
                           QelDataType::UChar, 1};
constexpr Sides alike{PIXEL_INTERLEAVED, QelDataType::UChar, PIXEL_INTERLEAVED, QelDataType::UChar,
                      3};
constexpr Sides splitting{PIXEL_INTERLEAVED, QelDataType::UChar, BAND_INTERLEAVED,
                          QelDataType::UChar, 3};
constexpr Sides joining{BAND_INTERLEAVED, QelDataType::UChar, PIXEL_INTERLEAVED, QelDataType::UChar,
                        3};
constexpr Sides toFloat{BAND_INTERLEAVED, QelDataType::UChar, BAND_INTERLEAVED, QelDataType::Float,
                        1};
constexpr Sides toUChar{BAND_INTERLEAVED, QelDataType::Float, BAND_INTERLEAVED, QelDataType::UChar,
                        1};
constexpr Sides splittingToFloat{PIXEL_INTERLEAVED, QelDataType::UChar, BAND_INTERLEAVED,
                                 QelDataType::Float, 3};

// Numbers of every kind, so that low bytes differ however they are truncated, some too large for
// integers.
void fill(QelRectBuffer & buffer, std::size_t bytes) {
    std::minstd_rand random(1);
    if (buffer.precision(0) == QelDataType::Float) {
        auto * const numbers = reinterpret_cast<float *>(buffer.getData());
        std::uniform_real_distribution<float> some(-5e9F, 5e9F);
        for (std::size_t i = 0; i < bytes / sizeof(float); ++i)
            numbers[i] = i % 5 == 0 ? some(random) : some(random) * 1e-7F;
    } else {
        for (std::size_t i = 0; i < bytes; ++i)
            buffer.getData()[i] = static_cast<std::uint8_t>(random() >> 8);
    }
}

// Two warm buffers; the source holds a picture.
class Pair {
  public:
    Pair(Sides const & sides, std::int32_t side)
        : pixels(static_cast<std::size_t>(side) * static_cast<std::size_t>(side)),
          source(side, side, sides.bands, sides.sourceLayout, sides.sourceType),
          target(side, side, sides.bands, sides.targetLayout, sides.targetType) {
        fill(source, bytesOf(source));
        std::memset(target.getData(), 0x5A, bytesOf(target));
    }

    static std::size_t bytesOf(QelRectBuffer const & buffer) {
        return static_cast<std::size_t>(buffer.dataOrg()->size());
    }

    std::uint8_t const * from() { return source.getData(); }
    std::uint8_t * to() { return target.getData(); }

    std::size_t const pixels;
    QelRectBuffer source;
    QelRectBuffer target;
};

// Aborts unless `other` leaves the same bytes in the target as copyFrom does.
template <class Copy>
void requireAgreement(Pair & pair, Copy const & other) {
    pair.target.copyFrom(pair.source, pair.source.rect());
    std::vector<std::uint8_t> const ours(pair.to(), pair.to() + Pair::bytesOf(pair.target));
    std::memset(pair.to(), 0x5A, ours.size());
    other(pair);
    if (std::memcmp(ours.data(), pair.to(), ours.size()) == 0) return;
    std::cerr << "bench: the copier and the loop by hand must agree\n";
    std::abort();
}

template <class Copy>
void run(benchmark::State & state, Pair & pair, Copy const & copy) {
    for (auto _ : state) {
        copy(pair);
        benchmark::ClobberMemory();
    }
    std::size_t const bytes = Pair::bytesOf(pair.source) + Pair::bytesOf(pair.target);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

struct Rival {
    char const * name;
    void (*copy)(Pair & pair);
};

// A case: the copier, and the rivals that this processor can run, over the same two buffers.
void compare(std::string const & name, Sides const & sides, std::int32_t side,
             std::vector<Rival> const & rivals) {
    benchmark::RegisterBenchmark((name + "/qel").c_str(), [=](benchmark::State & state) {
        Pair pair(sides, side);
        for (Rival const & rival : rivals)
            requireAgreement(pair, rival.copy);
        run(state, pair, [](Pair & p) { p.target.copyFrom(p.source, p.source.rect()); });
    });
    for (Rival const & rival : rivals) {
        benchmark::RegisterBenchmark((name + "/" + rival.name).c_str(),
                                     [=](benchmark::State & state) {
                                         Pair pair(sides, side);
                                         run(state, pair, rival.copy);
                                     });
    }
}

float * floats(std::uint8_t * bytes) {
    return reinterpret_cast<float *>(bytes);
}

float const * floats(std::uint8_t const * bytes) {
    return reinterpret_cast<float const *>(bytes);
}

Rival const memcpyRival{"memcpy",
                        [](Pair & p) { std::memcpy(p.to(), p.from(), Pair::bytesOf(p.target)); }};

std::vector<Rival> rivals(Rival const & plain, bool hasVectors, Rival const & vectors) {
    if (!hasVectors) return {plain};
    return {plain, vectors};
}

bool registerAll() {
    HandCopy const & hand = handCopy();
    compare("Copy/Contiguous8MB", contiguous, 2896, {memcpyRival});
    compare("Copy/Contiguous64MB", contiguous, 8192, {memcpyRival});

    auto const splits =
        rivals({"hand", [](Pair & p) { handCopy().split(p.from(), p.to(), p.pixels, p.pixels); }},
               hand.splitVectors != nullptr,
               {"handVectors",
                [](Pair & p) { handCopy().splitVectors(p.from(), p.to(), p.pixels, p.pixels); }});
    auto const joins =
        rivals({"hand", [](Pair & p) { handCopy().join(p.from(), p.to(), p.pixels, p.pixels); }},
               hand.joinVectors != nullptr,
               {"handVectors",
                [](Pair & p) { handCopy().joinVectors(p.from(), p.to(), p.pixels, p.pixels); }});
    auto const floatings =
        rivals({"hand", [](Pair & p) { handCopy().toFloat(p.from(), floats(p.to()), p.pixels); }},
               hand.toFloatVectors != nullptr,
               {"handVectors",
                [](Pair & p) { handCopy().toFloatVectors(p.from(), floats(p.to()), p.pixels); }});
    auto const truncations =
        rivals({"hand", [](Pair & p) { handCopy().toUChar(floats(p.from()), p.to(), p.pixels); }},
               hand.toUCharVectors != nullptr,
               {"handVectors",
                [](Pair & p) { handCopy().toUCharVectors(floats(p.from()), p.to(), p.pixels); }});
    std::vector<Rival> const floatSplits{
        {"hand",
         [](Pair & p) { handCopy().splitToFloat(p.from(), floats(p.to()), p.pixels, p.pixels); }}};

    for (std::int32_t const side : {2048, 256, 16}) {
        std::string const size = std::to_string(side);
        compare("Copy/Split" + size, splitting, side, splits);
        compare("Copy/Join" + size, joining, side, joins);
        compare("Copy/ToFloat" + size, toFloat, side, floatings);
        compare("Copy/ToUChar" + size, toUChar, side, truncations);
        compare("Copy/SplitToFloat" + size, splittingToFloat, side, floatSplits);
    }
    compare("Copy/Alike16", alike, 16, {memcpyRival});
    return true;
}

bool const registered = registerAll();

}  // namespace

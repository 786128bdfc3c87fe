#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

#include "QelBase.h"

// The pixel iterators against the loop that a programmer would write by hand over one contiguous
// buffer of the same pixels: sums of all elements (SumAll) and of each band (SumBands). Both sides
// are compiled here, with the same options; all tiles are complete before the clock starts, and the
// sums are compared.

namespace {

constexpr std::int32_t side = 4096;
constexpr std::int32_t tileSide = 128;
constexpr int bands = 3;
constexpr std::int64_t area = std::int64_t{side} * side;

using Sums = std::array<std::uint64_t, bands>;

std::uint64_t total(Sums const & sums) {
    return sums[0] + sums[1] + sums[2];
}

void require(bool good, std::string const & what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

// Computes tiles by copying from a buffer.
class BufferOp : public QelImageOp {
  public:
    BufferOp(MoxSmartPtr<QelRectBuffer> source, QelLayout layout)
        : source_(std::move(source)), layout_(layout) {}

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        info.setSize(side, side);
        info.setNumBands(bands);
        info.setTileSize(tileSide, tileSide);
        info.setLayout(layout_);
        return true;
    }
    void compute(QelRectBuffer * buffer, QelOpContext) override {
        buffer->copyFrom(*source_, buffer->rect());
    }

  private:
    MoxSmartPtr<QelRectBuffer> source_;
    QelLayout layout_;
};

// Noise as one contiguous buffer, and as an image that holds all its tiles.
struct Picture {
    explicit Picture(QelLayout pixelLayout);

    std::uint8_t const * pixels() const { return whole->getData(); }

    QelLayout layout;
    MoxSmartPtr<QelRectBuffer> whole;
    MoxSmartPtr<Qel2DImage> tiles;
};

Picture::Picture(QelLayout pixelLayout)
    : layout(pixelLayout),
      whole(new QelRectBuffer(side, side, bands, pixelLayout, QelDataType::UChar)) {
    std::uint8_t * const to = whole->getData();
    std::uint32_t state = 1;
    for (std::int64_t i = 0; i < area * bands; ++i) {
        state = state * 1664525U + 1013904223U;
        to[i] = static_cast<std::uint8_t>(state >> 24);
    }
    tiles = new Qel2DImage(new BufferOp(whole, layout));
    tiles->setCacheTiles(true);
    for (Qel2DImage::TileIterator at(tiles, tiles->imageRect()); !at.done(); at.next())
        at.getTile();
    require(tiles->statistics().tilesComputed == (side / tileSide) * (side / tileSide),
            "each tile must be there");
}

// The last one requested is kept.
Picture & pictureOf(QelLayout layout) {
    static MoxSmartPtr<QelRectBuffer> keep;
    static std::unique_ptr<Picture> picture;
    if (!picture || picture->layout != layout) {
        picture.reset();
        picture = std::make_unique<Picture>(layout);
    }
    return *picture;
}

template <class Run>
std::uint64_t sumOf(Run const & run) {
    std::uint64_t sum = 0;
    run.forEach([&sum](std::uint8_t value) { sum += value; });
    return sum;
}

// By hand.
struct Loop {
    static std::uint64_t all(Picture & picture) {
        constexpr std::int64_t rowLength = std::int64_t{side} * bands;
        std::uint64_t sum = 0;
        for (std::int64_t y = 0; y < side; ++y) {
            std::uint8_t const * const row = picture.pixels() + y * rowLength;
            for (std::int64_t i = 0; i < rowLength; ++i)
                sum += row[i];
        }
        return sum;
    }
    static Sums perBand(Picture & picture) {
        return picture.layout == PIXEL_INTERLEAVED ? ofPixels(picture.pixels())
                                                   : ofPlanes(picture.pixels());
    }
    // Sums in separate variables: the compiler cannot tell that a returned array does not overlap
    // the pixels.
    static Sums ofPixels(std::uint8_t const * from) {
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::int64_t y = 0; y < side; ++y) {
            std::uint8_t const * const row = from + y * side * bands;
            for (std::int64_t x = 0; x < side; ++x) {
                first += row[x * bands];
                second += row[x * bands + 1];
                third += row[x * bands + 2];
            }
        }
        return {first, second, third};
    }
    static Sums ofPlanes(std::uint8_t const * from) {
        Sums sums{};
        for (std::size_t b = 0; b < bands; ++b) {
            std::uint64_t sum = 0;
            for (std::int64_t y = 0; y < side; ++y) {
                std::uint8_t const * const row =
                    from + static_cast<std::int64_t>(b) * area + y * side;
                for (std::int64_t x = 0; x < side; ++x)
                    sum += row[x];
            }
            sums[b] = sum;
        }
        return sums;
    }
};

// Forms that go band by band.
template <class Form>
struct BandByBand {
    static Sums perBand(Picture & picture) { return Form::sums(picture); }
    static std::uint64_t all(Picture & picture) { return total(Form::sums(picture)); }
};

struct RectIter : BandByBand<RectIter> {
    static Sums sums(Picture & picture) {
        QelRectConstIter<std::uint8_t> iter(picture.tiles);
        Sums sums{};
        for (int b = 0; b < bands; ++b) {
            std::uint64_t sum = 0;
            for (iter.moveTo(0, 0, b); !iter.done(); iter.nextRow()) {
                for (; !iter.rowDone(); iter.next())
                    sum += iter.get();
            }
            sums[static_cast<std::size_t>(b)] = sum;
        }
        return sums;
    }
};

struct RectIterGetBand : BandByBand<RectIterGetBand> {
    static Sums sums(Picture & picture) {
        QelRectConstIter<std::uint8_t> iter(picture.tiles);
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.next()) {
                first += iter.get(0);
                second += iter.get(1);
                third += iter.get(2);
            }
        }
        return {first, second, third};
    }
};

struct RectIterNextBand : BandByBand<RectIterNextBand> {
    static Sums sums(Picture & picture) {
        QelRectConstIter<std::uint8_t> iter(picture.tiles);
        Sums sums{};
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.next()) {
                for (iter.setBand(0); !iter.bandDone(); iter.nextBand())
                    sums[static_cast<std::size_t>(iter.band())] += iter.get();
            }
        }
        return sums;
    }
};

// The three sums over pixels whose bands lie side by side.
template <class Run>
void addSums(Run const & run, Sums & sums) {
    Sums some{};
    run.template forEachGroup<3>([&some](std::uint8_t a, std::uint8_t b, std::uint8_t c) {
        some[0] += a;
        some[1] += b;
        some[2] += c;
    });
    for (std::size_t b = 0; b < bands; ++b)
        sums[b] += some[b];
}

// Calls visit(band), having moved to the band, for each run.
template <class Iter, class Visit>
void visitRuns(Iter & iter, Visit visit) {
    for (int b = 0; b < bands; ++b) {
        for (iter.moveTo(0, 0, b); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.nextRun())
                visit(static_cast<std::size_t>(b));
        }
    }
}

struct RectIterRuns {
    static Sums perBand(Picture & picture) {
        QelRectConstIter<std::uint8_t> iter(picture.tiles);
        Sums sums{};
        if (picture.layout == BAND_INTERLEAVED) {
            visitRuns(iter, [&](std::size_t b) { sums[b] += sumOf(iter.run()); });
            return sums;
        }
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.nextRun())
                addSums(iter.allBandsRun(), sums);
        }
        return sums;
    }
    static std::uint64_t all(Picture & picture) {
        QelRectConstIter<std::uint8_t> iter(picture.tiles);
        std::uint64_t sum = 0;
        if (picture.layout == BAND_INTERLEAVED) {
            visitRuns(iter, [&](std::size_t) { sum += sumOf(iter.run()); });
            return sum;
        }
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.nextRun())
                sum += sumOf(iter.allBandsRun());
        }
        return sum;
    }
};

// Bands innermost.
Sums sumsOfPixels(QelRectBufferConstIter<std::uint8_t> & iter) {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    std::uint64_t third = 0;
    for (; !iter.done(); iter.next()) {
        first += iter.get();
        iter.next();
        second += iter.get();
        iter.next();
        third += iter.get();
    }
    return {first, second, third};
}

Sums sumsByElement(QelRectBuffer * buffer) {
    QelRectBufferConstIter<std::uint8_t> iter(buffer);
    Sums sums{};
    iter.initialize();
    if (iter.loopOrder() == QelSimpleRectBufferIter::bandPixelLine) return sumsOfPixels(iter);
    for (std::uint64_t & bandSum : sums) {
        std::uint64_t sum = 0;
        for (std::int64_t i = buffer->rect().area(); i > 0; --i, iter.next())
            sum += iter.get();
        bandSum = sum;
    }
    return sums;
}

std::uint64_t totalByElement(QelRectBuffer * buffer) {
    QelRectBufferConstIter<std::uint8_t> iter(buffer);
    std::uint64_t sum = 0;
    for (iter.initialize(); !iter.done(); iter.next())
        sum += iter.get();
    return sum;
}

// All pixels of a band follow each other, or all bands of a pixel: a run holds whole bands or whole
// pixels, one or more.
Sums sumsByRun(QelRectBuffer * buffer) {
    std::int64_t const size = buffer->rect().area();
    QelRectBufferConstIter<std::uint8_t> iter(buffer);
    Sums sums{};
    iter.initialize();
    if (iter.loopOrder() == QelSimpleRectBufferIter::bandPixelLine) {
        for (; !iter.done(); iter.nextRun())
            addSums(iter.run(), sums);
        return sums;
    }
    std::size_t band = 0;
    for (; !iter.done(); iter.nextRun()) {
        for (std::int64_t at = 0; at < iter.runLength(); at += size)
            sums[band++] += sumOf(iter.run().part(at, size));
    }
    return sums;
}

std::uint64_t totalByRun(QelRectBuffer * buffer) {
    QelRectBufferConstIter<std::uint8_t> iter(buffer);
    std::uint64_t sum = 0;
    for (iter.initialize(); !iter.done(); iter.nextRun())
        sum += sumOf(iter.run());
    return sum;
}

template <Sums (*bandSums)(QelRectBuffer *), std::uint64_t (*sum)(QelRectBuffer *)>
struct OverWhole {
    static Sums perBand(Picture & picture) { return bandSums(picture.whole); }
    static std::uint64_t all(Picture & picture) { return sum(picture.whole); }
};

template <Sums (*bandSums)(QelRectBuffer *), std::uint64_t (*sum)(QelRectBuffer *)>
struct OverTiles {
    static Sums perBand(Picture & picture) {
        Sums sums{};
        for (Qel2DImage::TileIterator at(picture.tiles, picture.tiles->imageRect()); !at.done();
             at.next()) {
            Sums const more = bandSums(at.getTile());
            for (std::size_t b = 0; b < bands; ++b)
                sums[b] += more[b];
        }
        return sums;
    }
    static std::uint64_t all(Picture & picture) {
        std::uint64_t all = 0;
        for (Qel2DImage::TileIterator at(picture.tiles, picture.tiles->imageRect()); !at.done();
             at.next())
            all += sum(at.getTile());
        return all;
    }
};

using BufferIter = OverWhole<sumsByElement, totalByElement>;
using BufferIterRuns = OverWhole<sumsByRun, totalByRun>;
using TileIter = OverTiles<sumsByElement, totalByElement>;
using TileIterRuns = OverTiles<sumsByRun, totalByRun>;

struct RandomIter : BandByBand<RandomIter> {
    static Sums sums(Picture & picture) {
        QelRandomConstIter<std::uint8_t> iter(picture.tiles);
        Sums sums{};
        for (int b = 0; b < bands; ++b) {
            iter.setBand(b);
            std::uint64_t sum = 0;
            for (std::int32_t y = 0; y < side; ++y) {
                for (std::int32_t x = 0; x < side; ++x)
                    sum += iter.get(x, y);
            }
            sums[static_cast<std::size_t>(b)] = sum;
        }
        return sums;
    }
};

struct RandomIterGetBand : BandByBand<RandomIterGetBand> {
    static Sums sums(Picture & picture) {
        QelRandomConstIter<std::uint8_t> iter(picture.tiles);
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::int32_t y = 0; y < side; ++y) {
            for (std::int32_t x = 0; x < side; ++x) {
                first += iter.get(x, y, 0);
                second += iter.get(x, y, 1);
                third += iter.get(x, y, 2);
            }
        }
        return {first, second, third};
    }
};

// A run of one band, or of all bands of its pixels.
struct RandomIterRuns {
    static Sums perBand(Picture & picture) {
        QelRandomConstIter<std::uint8_t> iter(picture.tiles);
        Sums sums{};
        if (picture.layout == BAND_INTERLEAVED) return ofPlanes(iter);
        for (std::int32_t y = 0; y < side; ++y) {
            for (std::int64_t x = 0; x < side;) {
                auto const run = iter.allBandsRun(static_cast<std::int32_t>(x), y);
                addSums(run, sums);
                x += run.size() / bands;
            }
        }
        return sums;
    }
    static std::uint64_t all(Picture & picture) {
        QelRandomConstIter<std::uint8_t> iter(picture.tiles);
        if (picture.layout == BAND_INTERLEAVED) return total(ofPlanes(iter));
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < side; ++y) {
            for (std::int64_t x = 0; x < side;) {
                auto const run = iter.allBandsRun(static_cast<std::int32_t>(x), y);
                sum += sumOf(run);
                x += run.size() / bands;
            }
        }
        return sum;
    }
    static Sums ofPlanes(QelRandomConstIter<std::uint8_t> & iter) {
        Sums sums{};
        for (int b = 0; b < bands; ++b) {
            iter.setBand(b);
            std::uint64_t sum = 0;
            for (std::int32_t y = 0; y < side; ++y) {
                for (std::int64_t x = 0; x < side;) {
                    auto const run = iter.run(static_cast<std::int32_t>(x), y);
                    sum += sumOf(run);
                    x += run.size();
                }
            }
            sums[static_cast<std::size_t>(b)] = sum;
        }
        return sums;
    }
};

template <auto sum>
void measure(benchmark::State & state, QelLayout layout) {
    Picture & picture = pictureOf(layout);
    for (auto _ : state)
        benchmark::DoNotOptimize(sum(picture));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * area * bands);
}

// Compares, then measures: the iterator's loop and the hand-written one.
template <class Form>
void add(std::string const & form, QelLayout layout) {
    auto const one = [&](std::string const & what, auto * ours, auto * theirs, auto * check) {
        std::string const name =
            what + (layout == PIXEL_INTERLEAVED ? "Pixels/" : "Planes/") + form;
        benchmark::RegisterBenchmark((name + "/loop").c_str(), theirs, layout)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((name + "/qel").c_str(), [=](benchmark::State & state) {
            require(check(pictureOf(layout)), name + ": the sums must agree");
            ours(state, layout);
        })->Unit(benchmark::kMillisecond);
    };
    one(
        "SumAll", &measure<&Form::all>, &measure<&Loop::all>,
        +[](Picture & picture) { return Form::all(picture) == Loop::all(picture); });
    one(
        "SumBands", &measure<&Form::perBand>, &measure<&Loop::perBand>,
        +[](Picture & picture) { return Form::perBand(picture) == Loop::perBand(picture); });
}

bool addAll() {
    for (QelLayout const layout : {PIXEL_INTERLEAVED, BAND_INTERLEAVED}) {
        add<RectIter>("RectIter", layout);
        add<RectIterGetBand>("RectIterGetBand", layout);
        add<RectIterNextBand>("RectIterNextBand", layout);
        add<RectIterRuns>("RectIterRuns", layout);
        add<BufferIter>("BufferIter", layout);
        add<BufferIterRuns>("BufferIterRuns", layout);
        add<TileIter>("TileIter", layout);
        add<TileIterRuns>("TileIterRuns", layout);
        add<RandomIter>("RandomIter", layout);
        add<RandomIterGetBand>("RandomIterGetBand", layout);
        add<RandomIterRuns>("RandomIterRuns", layout);
    }
    return true;
}
[[maybe_unused]] bool const added = addAll();

}  // namespace

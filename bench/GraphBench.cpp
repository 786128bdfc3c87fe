#include <malloc.h>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "QelClients.h"

// Walks over graphs: building and connecting, marking out of date, bringing up to date, iterating,
// copying for a render, destroying. One chain of many transforms is compared with as many
// transforms in chains of 1,000 (`thousands`), so that a ratio near 1 means time proportional to
// their number. A ladder of diamonds, which has very many ways through it, is compared with a chain
// of as many transforms. The counter `limit_ns` is the limit that a case must stay under.

namespace {

using Transforms = std::vector<MoxSmartPtr<QelTransform>>;

constexpr int thousand = 1000;

void require(bool good, char const * what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

MoxSmartPtr<QelTestCardTransform> smallCard() {
    MoxSmartPtr<QelTestCardTransform> const card = new QelTestCardTransform;
    card->setAttributeValue("width", 64);
    card->setAttributeValue("height", 64);
    return card;
}

// Graphs of one shape, each of them held by its end.
class Graphs {
  public:
    using Build = MoxSmartPtr<QelTransform> (*)(QelTransform & first, int size);

    Graphs(Build shape, int count, int size) : build_(shape), count_(count), size_(size) {}

    void build() {
        for (int i = 0; i < count_; ++i) {
            sources_.push_back(smallCard());
            ends_.push_back(build_(*sources_.back(), size_));
        }
    }
    void update() {
        for (MoxSmartPtr<QelTransform> const & end : ends_)
            require(end->isStatusOk(), "a graph is bad");
    }
    void mark() {
        for (MoxSmartPtr<QelTestCardTransform> const & source : sources_)
            source->setAttributeValue("width", 64);
    }
    void iterate() {
        std::int64_t met = 0;
        for (MoxSmartPtr<QelTransform> const & end : ends_) {
            for (QelConstGraphIterator i(end.get(), true, false); !i.done(); i.next())
                ++met;
        }
        require(met == std::int64_t{count_} * (size_ + 1), "an iterator met too few or too many");
    }
    void copy() {
        for (MoxSmartPtr<QelTransform> const & end : ends_) {
            copies_.push_back(new QelInvertTransform);
            end->cloneForRender("out", copies_.back()->getInputCP(0).get(), end.get());
            end->clearClonePtr(nullptr);
        }
    }
    void dropCopies() { copies_.clear(); }
    void destroy() {
        sources_.clear();
        ends_.clear();
    }

  private:
    Build build_;
    int count_;
    int size_;
    std::vector<MoxSmartPtr<QelTestCardTransform>> sources_;
    Transforms ends_;
    Transforms copies_;
};

MoxSmartPtr<QelTransform> chain(QelTransform & first, int size) {
    MoxSmartPtr<QelTransform> last = &first;
    for (int i = 0; i < size; ++i) {
        MoxSmartPtr<QelTransform> const next = new QelLinearTransform;
        next->connect(0, last.get(), 0);
        last = next;
    }
    return last;
}

// A point operation with two inputs; only what it costs in a graph counts.
class Joint : public QelPointOperation {
  public:
    Joint() : QelPointOperation("in", "out") { addConnectionPoint(new QelImageInputCP("other")); }
    Joint(Joint const &) = default;

    MoxSmartPtr<QelTransform> clone() const override { return new Joint(*this); }
};

// `size` transforms in diamonds of three: two side by side, and one that joins them.
MoxSmartPtr<QelTransform> ladder(QelTransform & first, int size) {
    MoxSmartPtr<QelTransform> last = &first;
    for (int i = 0; i < size; i += 3) {
        MoxSmartPtr<QelTransform> const left = new QelLinearTransform;
        MoxSmartPtr<QelTransform> const right = new QelLinearTransform;
        MoxSmartPtr<QelTransform> const joint = new Joint;
        left->connect(0, last.get(), 0);
        right->connect(0, last.get(), 0);
        joint->connect(0, left.get(), 0);
        joint->connect(1, right.get(), 0);
        last = joint;
    }
    return last;
}

// What is measured; what is done once ahead of all rounds, and ahead of each and after it.
struct Walk {
    using Step = void (*)(Graphs &);

    char const * name;
    Step once;
    Step before;
    Step measured;
    Step after;
    double limitPerTransform;  // ns; 0 for none
};

void nothing(Graphs &) {}
void build(Graphs & graphs) {
    graphs.build();
}
void destroy(Graphs & graphs) {
    graphs.destroy();
}
// What was freed is sorted now, and not while something is measured.
void destroyAndTrim(Graphs & graphs) {
    graphs.destroy();
    malloc_trim(0);
}
void update(Graphs & graphs) {
    graphs.update();
}
void mark(Graphs & graphs) {
    graphs.mark();
}
void iterate(Graphs & graphs) {
    graphs.iterate();
}
void copy(Graphs & graphs) {
    graphs.copy();
}
void dropCopies(Graphs & graphs) {
    graphs.dropCopies();
    malloc_trim(0);
}

Walk const walks[] = {
    {"Build", nothing, nothing, build, destroyAndTrim, 0},
    {"Update", build, mark, update, nothing, 1000},
    {"Mark", build, update, mark, nothing, 150},
    {"Iterate", build, nothing, iterate, nothing, 0},
    {"Copy", build, nothing, copy, dropCopies, 5000},
    {"Destroy", nothing, build, destroy, nothing, 0},
};

void measure(benchmark::State & state, Walk const & walk, Graphs graphs, int transforms) {
    walk.once(graphs);
    for (auto _ : state) {
        state.PauseTiming();
        walk.before(graphs);
        state.ResumeTiming();
        walk.measured(graphs);
        state.PauseTiming();
        walk.after(graphs);
        state.ResumeTiming();
    }
    if (walk.limitPerTransform > 0)
        state.counters["limit_ns"] = walk.limitPerTransform * transforms;
}

void add(std::string const & name, Walk const & walk, Graphs const & graphs, int transforms) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State & state) {
        measure(state, walk, graphs, transforms);
    })->Unit(benchmark::kMillisecond);
}

// ---- A fan: one output, many inputs

class Fan {
  public:
    explicit Fan(int size) : source_(smallCard()) {
        for (int i = 0; i < size; ++i)
            consumers_.push_back(new QelInvertTransform);
    }
    void connect() {
        for (MoxSmartPtr<QelTransform> const & each : consumers_)
            each->connect(0, source_.get(), 0);
    }
    void disconnect() {
        for (MoxSmartPtr<QelTransform> const & each : consumers_)
            each->disconnect(0);
    }
    void reverse() { std::reverse(consumers_.begin(), consumers_.end()); }
    void shuffle() { std::shuffle(consumers_.begin(), consumers_.end(), std::mt19937(1)); }

  private:
    MoxSmartPtr<QelTransform> source_;
    Transforms consumers_;
};

struct Order {
    char const * name;
    void (*arrange)(Fan &);
};

Order const orders[] = {{"Forwards", [](Fan &) {}},
                        {"Backwards", [](Fan & fan) { fan.reverse(); }},
                        {"AtRandom", [](Fan & fan) { fan.shuffle(); }}};

// Takes fans apart; connecting is not measured.
void addFan(std::string const & name, Order const & order, int count, int size) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State & state) {
        std::vector<Fan> fans;
        for (int i = 0; i < count; ++i)
            fans.emplace_back(size);
        for (auto _ : state) {
            state.PauseTiming();
            for (Fan & fan : fans) {
                fan.connect();
                order.arrange(fan);
            }
            state.ResumeTiming();
            for (Fan & fan : fans)
                fan.disconnect();
        }
    })->Unit(benchmark::kMillisecond);
}

int registerWalks() {
    for (Walk const & walk : walks) {
        std::string const start = std::string("Graph/") + walk.name;
        for (int const size : {10 * thousand, 100 * thousand}) {
            std::string const name = start + std::to_string(size);
            add(name + "/qel", walk, Graphs(chain, 1, size), size);
            add(name + "/thousands", walk, Graphs(chain, size / thousand, thousand), size);
        }
        // Thirty diamonds, a thousand times, since one is too short to measure.
        add(start + "Ladder/qel", walk, Graphs(ladder, thousand, 90), 90 * thousand);
        add(start + "Ladder/chain", walk, Graphs(chain, thousand, 90), 90 * thousand);
    }
    for (Order const & order : orders) {
        std::string const name = std::string("Graph/Fan") + order.name;
        addFan(name + "/qel", order, 1, 100 * thousand);
        addFan(name + "/thousands", order, 100, thousand);
    }
    return 0;
}

int const registered = registerWalks();

// ---- Memory

// Of a point operation with two attributes and two points, connected; up to date or not.
void memoryOfChain(benchmark::State & state, bool upToDate) {
    constexpr int size = 100 * thousand;
    double bytes = 0;
    for (auto _ : state) {
        std::size_t const before = mallinfo2().uordblks;
        Graphs graphs(chain, 1, size);
        graphs.build();
        if (upToDate) graphs.update();
        bytes = static_cast<double>(mallinfo2().uordblks - before) / size;
    }
    state.counters["bytes_per_transform"] = bytes;
    state.counters["limit_bytes"] = 2048;
}
BENCHMARK_CAPTURE(memoryOfChain, stale, false)->Name("GraphMemory/Stale")->Iterations(1);
BENCHMARK_CAPTURE(memoryOfChain, valid, true)->Name("GraphMemory/Valid")->Iterations(1);

// ---- Images

constexpr std::int32_t side = 4096;

// Twenty point operations on a picture, with every tile of the last one pulled into one buffer.
void pull(benchmark::State & state, Qel2DImage & last) {
    std::vector<std::uint8_t> pixels(std::size_t{side} * side * 3);
    QelRectBuffer target(side, side, 3, PIXEL_INTERLEAVED, QelDataType::UChar, pixels.data(),
                         false);
    for (auto _ : state)
        require(last.fillRWBuffer(&target, true), "no pixels");
}

constexpr int twenty = 20;

void twentyTransforms(benchmark::State & state) {
    MoxSmartPtr<QelTestCardTransform> const card = new QelTestCardTransform;
    card->setAttributeValue("width", side);
    card->setAttributeValue("height", side);
    MoxSmartPtr<QelTransform> last = card;
    for (int i = 0; i < twenty; ++i) {
        MoxSmartPtr<QelTransform> const next = new QelInvertTransform;
        next->connect(0, last.get(), 0);
        last = next;
    }
    require(last->isStatusOk(), "a graph is bad");
    auto & output = dynamic_cast<QelImageOutputCP &>(*last->getOutputCP(0));
    pull(state, *output.get2DImage(output.getMaxResRegion().get()));
}
BENCHMARK(twentyTransforms)->Name("Graph/TwentyPulled4096/qel")->Unit(benchmark::kMillisecond);

void twentyImages(benchmark::State & state) {
    MoxSmartPtr<Qel2DImage> last = new Qel2DImage(new QelTestCardOp(side, side));
    for (int i = 0; i < twenty; ++i)
        last = new Qel2DImage(new QelInvertOp(last));
    pull(state, *last);
}
BENCHMARK(twentyImages)->Name("Graph/TwentyPulled4096/images")->Unit(benchmark::kMillisecond);

void knownImage(benchmark::State & state) {
    MoxSmartPtr<QelTestCardTransform> const card = smallCard();
    QelTileId const size(0, 0, 64, 64);
    QelImageOutputCP & output = *card->output();
    MoxSmartPtr<Qel2DImage> const known = output.get2DImage(size);
    for (auto _ : state)
        benchmark::DoNotOptimize(output.get2DImage(size));
    state.counters["limit_ns"] = 50;
}
BENCHMARK(knownImage)->Name("Graph/KnownImage/qel");

// A map of one image.
void imageInMap(benchmark::State & state) {
    std::map<std::pair<std::int32_t, std::int32_t>, MoxSmartPtr<Qel2DImage>> images;
    std::pair<std::int32_t, std::int32_t> const size(64, 64);
    images[size] = new Qel2DImage(new QelTestCardOp(64, 64));
    for (auto _ : state) {
        MoxSmartPtr<Qel2DImage> found = images.find(size)->second;
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(imageInMap)->Name("Graph/KnownImage/map");

}  // namespace

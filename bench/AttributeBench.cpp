#include <map>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Qel.h"

// Attributes: looking one up, setting one that is observed, copying an object that has many. Also
// making a colour space from the name of its class. The counter `limit_ns` is the limit that a case
// must stay under.

namespace {

using Number = QelSimpleAttribute<double>;

class Observed : public QelAttributeBased {
  public:
    explicit Observed(int count) {
        for (int i = 0; i < count; ++i)
            addAttribute(new Number("attribute " + std::to_string(i)));
    }

    void observeAll() {
        for (int i = 0; i < getNumAttributes(); ++i) {
            getAttribute(i)->addCallback(
                std::make_unique<QelAttributeChangedRegistration<Observed>>(this,
                                                                            &Observed::changed));
        }
    }

    void changed(MoxSmartPtr<QelAttribute> const &) { ++changes; }

    std::uint64_t changes = 0;
};

// ---- Looking up

constexpr int many = 10000;

void findByName(benchmark::State & state) {
    Observed const object(many);
    std::string const name = "attribute 7777";
    for (auto _ : state)
        benchmark::DoNotOptimize(object.getAttribute(name));
}
BENCHMARK(findByName)->Name("Attributes/FindByName10000/qel");

// A map of the same names and numbers.
void findInMap(benchmark::State & state) {
    std::map<std::string, double, std::less<>> numbers;
    for (int i = 0; i < many; ++i)
        numbers["attribute " + std::to_string(i)] = 0.0;
    std::string const name = "attribute 7777";
    for (auto _ : state)
        benchmark::DoNotOptimize(numbers.find(name));
}
BENCHMARK(findInMap)->Name("Attributes/FindByName10000/map");

void findByIndex(benchmark::State & state) {
    Observed const object(many);
    for (auto _ : state)
        benchmark::DoNotOptimize(object.getAttribute(7777));
}
BENCHMARK(findByIndex)->Name("Attributes/FindByIndex10000/qel");

// A vector of counted pointers.
void findInVector(benchmark::State & state) {
    std::vector<MoxSmartPtr<QelAttribute>> attributes;
    for (int i = 0; i < many; ++i)
        attributes.emplace_back(new Number("attribute"));
    for (auto _ : state) {
        MoxSmartPtr<QelAttribute> found = attributes[7777];
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(findInVector)->Name("Attributes/FindByIndex10000/vector");

// ---- Setting

void setObserved(benchmark::State & state) {
    MoxSmartPtr<Observed> const object(new Observed(1));
    object->observeAll();
    MoxSmartPtr<Number> const number = Number::of(object->getAttribute(0));
    double value = 0.0;
    for (auto _ : state)
        number->setValue(value += 1.0);
    benchmark::DoNotOptimize(object->changes);
    state.counters["limit_ns"] = 100;
}
BENCHMARK(setObserved)->Name("Attributes/SetObserved/qel");

// Only the virtual call that an observer needs.
struct Observer {
    virtual ~Observer() = default;
    virtual void changed() = 0;
};
struct Counter : Observer {
    void changed() override { ++changes; }
    std::uint64_t changes = 0;
};

void setByHand(benchmark::State & state) {
    auto const counter = std::make_unique<Counter>();
    Observer * observer = counter.get();
    benchmark::DoNotOptimize(observer);
    double value = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value += 1.0);
        observer->changed();
    }
}
BENCHMARK(setByHand)->Name("Attributes/SetObserved/call");

// ---- Copying

// `times` copies of an object with `count` attributes.
void copyObserved(benchmark::State & state, int times, int count) {
    MoxSmartPtr<Observed> const object(new Observed(count));
    object->observeAll();
    for (auto _ : state) {
        for (int i = 0; i < times; ++i) {
            MoxSmartPtr<Observed> const copy(new Observed(*object));
            benchmark::DoNotOptimize(copy->getNumAttributes());
        }
    }
}

void copyMany(benchmark::State & state) {
    copyObserved(state, 1, many);
}
BENCHMARK(copyMany)->Name("Attributes/Copy10000/qel");

// The same number of attributes in a hundred small objects: apart from effects of the processor's
// cache, the time is the same if it is proportional to their number.
void copyFew(benchmark::State & state) {
    copyObserved(state, many / 100, 100);
}
BENCHMARK(copyFew)->Name("Attributes/Copy10000/hundreds");

// ---- Making a colour space

void makeColorSpace(benchmark::State & state) {
    std::string const name = "QelUSpaceColorSpace";  // the last one of the table
    for (auto _ : state)
        benchmark::DoNotOptimize(qelNewColorSpace(name));
    state.counters["limit_ns"] = 1000;
}
BENCHMARK(makeColorSpace)->Name("Attributes/ColorSpaceFromName/qel");

void makeColorSpaceByHand(benchmark::State & state) {
    for (auto _ : state) {
        MoxSmartPtr<QelColorSpace> space(new QelUSpaceColorSpace());
        benchmark::DoNotOptimize(space);
    }
}
BENCHMARK(makeColorSpaceByHand)->Name("Attributes/ColorSpaceFromName/new");

}  // namespace

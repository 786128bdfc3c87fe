#pragma once

#include <cmath>
#include <ios>
#include <iostream>
#include <locale>
#include <ostream>
#include <random>
#include <sstream>
#include <string>

#include "QelXyCoordSpace.h"
#include "UnitTesting.h"

// What the tests of dimensions and coordinate spaces share.

// Everything that can be asked about an object, to the last bit: two of them are alike if these
// texts are.
inline void describe(std::ostream & out, QelValue const & value) {
    out << std::hexfloat << value.value() << 'u' << value.unit() << ' ';
}

inline void describe(std::ostream & out, QelResolution const & half) {
    out << std::hexfloat << half.dpu << 'u' << half.unit << 'p' << half.pixels << ' ';
}

inline void describe(std::ostream & out, QelDimension const & dimension) {
    QelValueRange const & range = dimension.range();
    out << dimension.name() << ": ";
    describe(out, range.min());
    describe(out, range.max());
    describe(out, range.width());
    out << range.minClosed() << range.maxClosed() << range.discrete() << ' ';
    if (auto const * const xy = dynamic_cast<QelXyDimension const *>(&dimension)) {
        for (unsigned i = 0; i < xy->numResolutions(); ++i)
            describe(out, xy->resolution(i));
    }
}

inline void describe(std::ostream & out, QelCoordSpace const & space) {
    for (unsigned i = 0; i < space.numDimensions(); ++i) {
        describe(out, space.dimension(i));
        out << "| ";
    }
    if (auto const * const xy = dynamic_cast<QelXyCoordSpace const *>(&space)) {
        describe(out, xy->selectedResolution().horz);
        describe(out, xy->selectedResolution().vert);
    }
}

template <class T>
std::string stateOf(T const & object) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    describe(out, object);
    return out.str();
}

// Raises that error, and leaves `object` as it is.
#define EXPECT_REFUSED(code, text, object, action)                                \
    do {                                                                          \
        std::string const stateBefore = stateOf(object);                          \
        expectRaises(code, text, [&] { action; });                                \
        EXPECT_EQ(stateBefore, stateOf(object)) << "after a refusal of " #action; \
    } while (false)

// Random numbers with a seed that a failure shows.
class RandomNumbers {
  public:
    explicit RandomNumbers(unsigned seed) : engine_(seed) { std::cout << "seed " << seed << '\n'; }

    double real(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }
    // As likely between 1 and 10 as between 10 and 100.
    double magnitude(double low, double high) {
        return std::exp(real(std::log(low), std::log(high)));
    }
    template <class Number>
    Number whole(Number low, Number high) {
        return std::uniform_int_distribution<Number>(low, high)(engine_);
    }
    bool oneIn(unsigned n) { return whole(0U, n - 1) == 0; }
    template <class T, std::size_t n>
    T const & of(T const (&choices)[n]) {
        return choices[whole(std::size_t{0}, n - 1)];
    }

  private:
    std::mt19937_64 engine_;
};

// A resolution as two counts, 0 for arbitrary.
struct Pair {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    bool operator==(Pair const & other) const {
        return width == other.width && height == other.height;
    }
};

inline std::ostream & operator<<(std::ostream & out, Pair const & pair) {
    return out << pair.width << 'x' << pair.height;
}

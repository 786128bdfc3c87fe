#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <random>

#include "QelRect.h"

// Random numbers that a failing test can be run with again: the seed is printed.
class TestRandom {
  public:
    explicit TestRandom(std::uint32_t seed) : engine_(seed) {
        std::cout << "random seed " << seed << '\n';
    }

    std::int32_t between(std::int32_t least, std::int32_t most) {
        return std::uniform_int_distribution<std::int32_t>(least, most)(engine_);
    }
    bool coin() { return between(0, 1) == 1; }
    bool chance(int percent) { return between(1, 100) <= percent; }
    template <class Container>
    auto oneOf(Container const & choices) {
        return choices[static_cast<std::size_t>(
            between(0, static_cast<std::int32_t>(choices.size()) - 1))];
    }
    template <class Container>
    void shuffle(Container & values) {
        std::shuffle(values.begin(), values.end(), engine_);
    }
    // Any rectangle within `whole`, neither of which is empty.
    QelRect rectIn(QelRect const & whole) {
        std::int32_t const x = between(0, whole.width - 1);
        std::int32_t const y = between(0, whole.height - 1);
        std::int32_t const width = between(1, whole.width - x);
        return QelRect(whole.x + x, whole.y + y, width, between(1, whole.height - y));
    }

  protected:
    std::mt19937 & engine() { return engine_; }

  private:
    std::mt19937 engine_;
};

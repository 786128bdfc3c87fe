#pragma once

#include <algorithm>
#include <cmath>

#include "../QelClientLayer/ClientTesting.h"
#include "BandStatistics.h"

// What the numbers mean, read pixel by pixel: once for the mean, once more for the distances.
inline BandStatistics plainly(QelRectBuffer const & pixels, QelRect const & region, int band) {
    long double sum = 0;
    long double squares = 0;
    BandStatistics found{INFINITY, -INFINITY};
    auto const visit = [&](auto const & use) {
        for (std::int32_t y = region.y; y <= region.bottom(); ++y) {
            for (std::int32_t x = region.x; x <= region.right(); ++x)
                use(elementAt(pixels, x, y, band));
        }
    };
    visit([&](double value) {
        sum += value;
        found.minimum = std::min(found.minimum, value);
        found.maximum = std::max(found.maximum, value);
    });
    auto const count = static_cast<long double>(region.area());
    visit([&](double value) { squares += (value - sum / count) * (value - sum / count); });
    found.mean = static_cast<double>(sum / count);
    found.standardDeviation = static_cast<double>(std::sqrt(squares / count));
    return found;
}

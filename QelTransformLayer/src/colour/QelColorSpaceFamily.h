#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "QelColorSpaces.h"

// One row of the library's own colour spaces: everything that a class of the family reports, and
// how to make one. The list is in QelColorSpaces.cpp. Texts live as long as the process.
struct QelColorSpaceRow {
    static constexpr std::size_t maxBands = 4;

    int place;  // in the list
    char const * className;
    char const * name;
    char const * partner;  // the label of the space with alpha added or removed, or null
    int bands;
    bool alpha;
    std::array<char const *, maxBands> bandNames;  // null after the last
    double max;
    MoxSmartPtr<QelColorSpace> (*create)();
};

// In the order of their places.
std::span<QelColorSpaceRow const> qelColorSpaceRows();

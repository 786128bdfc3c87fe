#pragma once

#include <cstddef>
#include <cstdint>

// Rows of elements that an operation reads and writes: either one band of a rectangle of pixels,
// or all of its bands at once where these lie side by side. All distances are in bytes and may be
// negative.
//
// Elements may lie at any address, aligned or not. Source and target are either the same memory,
// element by element, or do not overlap.
struct QelPixelRows {
    std::uint8_t const * from = nullptr;
    std::ptrdiff_t fromStep = 0;  // from an element to the next one in its row
    std::ptrdiff_t fromLine = 0;  // from a row to the next one
    std::uint8_t * to = nullptr;
    std::ptrdiff_t toStep = 0;
    std::ptrdiff_t toLine = 0;
    std::int64_t count = 0;  // elements of a row
    std::int64_t rows = 0;
};

// The same for an operation that also reads the eight neighbours of each pixel. Where a side has
// no neighbours, the pixels at this side stand in for them.
struct QelPixelNeighbours {
    QelPixelRows rows;
    std::int64_t spread = 1;  // elements from a pixel to the next one in its row
    bool hasLeft = false;     // may elements left of each row be read?
    bool hasRight = false;
    bool hasAbove = false;
    bool hasBelow = false;
};

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
    std::int64_t count = 0;  // elements per row
    std::int64_t rows = 0;
};

// The same for an operation that also reads the pixels around each pixel, on each side at most as
// many as its reach. Where there are fewer, the outermost pixels on that side are repeated.
struct QelPixelNeighbours {
    QelPixelRows rows;
    std::int64_t spread = 1;  // elements from a pixel to the next one in its row
    // Pixels left of each row that may be read; right of each row; rows above the first one; and
    // rows below the last one.
    std::int64_t left = 0;
    std::int64_t right = 0;
    std::int64_t above = 0;
    std::int64_t below = 0;
};

#pragma once

#include <cstdint>
#include <iosfwd>

#include "QelExport.h"

// A rectangle of pixels in image coordinates: x to the right, y downwards. The right and bottom
// edges are inclusive: a rectangle covers the columns x to x + width - 1.
//
// A rectangle with a width or height below 1 is empty, whatever its position; all empty rectangles
// are equal. A plain record; no operation overflows: positions are compared in 64 bits, and a
// result that does not fit raises QelError invalidValue (13).
struct QEL_API QelRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    constexpr QelRect() = default;
    constexpr QelRect(std::int32_t left, std::int32_t top, std::int32_t w, std::int32_t h)
        : x(left), y(top), width(w), height(h) {}

    // The one empty rectangle of all zeros.
    static QelRect const & empty();

    // From inclusive edges; right < left or bottom < top gives an empty rectangle. Raises
    // invalidValue (13) when the width or height exceeds 2147483647.
    static QelRect fromCorners(std::int32_t left, std::int32_t top, std::int32_t right,
                               std::int32_t bottom);

    constexpr bool isEmpty() const { return width < 1 || height < 1; }

    // Inclusive edges. 64 bits, because x + width may exceed the largest 32-bit number.
    constexpr std::int64_t right() const { return std::int64_t{x} + width - 1; }
    constexpr std::int64_t bottom() const { return std::int64_t{y} + height - 1; }

    // Number of pixels; 0 when empty.
    constexpr std::int64_t area() const { return isEmpty() ? 0 : std::int64_t{width} * height; }

    bool equals(QelRect const & other) const;
    // Do they share a pixel? An empty rectangle overlaps nothing.
    bool overlaps(QelRect const & other) const;
    bool disjoint(QelRect const & other) const { return !overlaps(other); }

    // The common pixels; the shared empty rectangle if there are none.
    QelRect intersect(QelRect const & other) const;

    // The smallest rectangle that covers both; the other one if one of them is empty. Raises
    // invalidValue (13) when its width or height exceeds 2147483647.
    QelRect boundingUnion(QelRect const & other) const;

    bool contains(std::int32_t px, std::int32_t py) const;
    // An empty rectangle is contained in every rectangle.
    bool containsRect(QelRect const & other) const;

    // Subtracts `other` from this rectangle, one piece per call. False, with both pieces empty,
    // when this is empty or wholly inside `other`. Otherwise `first` is the part above `other`, or
    // else below, or left, or right of it, and `second` is the rest of this, from which `other`
    // must still be subtracted. A disjoint `other` gives this and the empty rectangle, and a part
    // on the right leaves `second` empty. Loop while `second` is not empty. Raises invalidValue
    // (13) when `first` would start beyond the coordinate 2147483647.
    bool subtract(QelRect const & other, QelRect & first, QelRect & second) const;

    friend bool operator==(QelRect const & a, QelRect const & b) { return a.equals(b); }
};

// "(x,y,width,height)", or "[empty]".
QEL_API std::ostream & operator<<(std::ostream & out, QelRect const & rect);

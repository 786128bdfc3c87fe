#pragma once

#include <cstdint>

#include "Qel2DImage.h"
#include "QelSimpleDataOrg.h"

// What the iterators over images have in common.

// The image's organisation; raises simpleDataOrgNeeded (150) with `refusal` unless it is a
// QelSimpleDataOrg.
MoxConstSmartPtr<QelSimpleDataOrg> qelSimpleOrgOf(Qel2DImage const & image, char const * refusal);

// Is the memory of `tile` addressed like `org`? Not if the tile was inserted with another
// organisation.
bool qelIsAddressedAs(QelTile const * tile, QelSimpleDataOrg const & org);

// The tile at column x, row y of the grid, empty if it has to be made, with its memory; null where
// the image has none. Several iterators that write may be the first ones to give one tile its
// memory: they wait for each other here.
MoxSmartPtr<QelTile> qelTileToWrite(Qel2DImage & image, std::int32_t x, std::int32_t y);

// The address of the first pixel of a complete tile, or of one from qelTileToWrite(). Takes no lock
// for a tile that has its memory.
std::uint8_t * qelDataOf(QelTile & tile);

// Do the elements of all bands follow each other, pixel by pixel, without a gap?
bool qelPixelsAreDense(QelSimpleDataOrg const & org);

// Raises misuse (3): tile (x, y) cannot be had, for an iterator over the rectangle of these
// inclusive edges.
struct QelIterEdges {
    std::int64_t left, top, right, bottom;
};
[[noreturn]] void qelRaiseNoTile(Qel2DImage const & image, std::int32_t x, std::int32_t y,
                                 QelIterEdges const & edges);

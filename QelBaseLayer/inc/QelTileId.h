#pragma once

#include <cstdint>
#include <iosfwd>

#include "QelExport.h"

// A space with a selected resolution, as far as tiles care: its size in pixels.
class QEL_API QelPixelExtent {
  public:
    virtual ~QelPixelExtent();

    virtual std::int32_t selectedPixelWidth() const = 0;
    virtual std::int32_t selectedPixelHeight() const = 0;
};

// The place of a tile: column and row in the grid of an image, and the image's resolution, its
// width and height in pixels. -1 means not known.
class QEL_API QelTileId {
  public:
    std::int32_t tileX = -1;
    std::int32_t tileY = -1;
    std::int32_t resolutionHeight = -1;
    std::int32_t resolutionWidth = -1;

    QelTileId() = default;
    QelTileId(std::int32_t x, std::int32_t y, std::int32_t width = -1, std::int32_t height = -1)
        : tileX(x), tileY(y), resolutionHeight(height), resolutionWidth(width) {}
    // At the resolution of `other`.
    QelTileId(QelTileId const & other, std::int32_t x, std::int32_t y)
        : QelTileId(x, y, other.resolutionWidth, other.resolutionHeight) {}
    // At the selected resolution of `space`; 0 by 0 for null.
    QelTileId(std::int32_t x, std::int32_t y, QelPixelExtent const * space);

    QelTileId(QelTileId const &) = default;
    QelTileId & operator=(QelTileId const &) = default;
    virtual ~QelTileId();

    QelTileId atResolution(std::int32_t width, std::int32_t height) const {
        return QelTileId(tileX, tileY, width, height);
    }

    friend bool operator==(QelTileId const & a, QelTileId const & b) {
        return a.tileX == b.tileX && a.tileY == b.tileY &&
               a.resolutionHeight == b.resolutionHeight && a.resolutionWidth == b.resolutionWidth;
    }
};

// "<x,y,height,width>"
QEL_API std::ostream & operator<<(std::ostream & out, QelTileId const & id);

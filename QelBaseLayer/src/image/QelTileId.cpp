#include "QelTileId.h"

#include <ostream>
#include <string>

QelPixelExtent::~QelPixelExtent() = default;

QelTileId::QelTileId(std::int32_t x, std::int32_t y, QelPixelExtent const * space)
    : QelTileId(x, y, space != nullptr ? space->selectedPixelWidth() : 0,
                space != nullptr ? space->selectedPixelHeight() : 0) {}

QelTileId::~QelTileId() = default;

std::ostream & operator<<(std::ostream & out, QelTileId const & id) {
    return out << '<' << id.tileX << ',' << id.tileY << ',' << id.resolutionHeight << ','
               << id.resolutionWidth << '>';
}

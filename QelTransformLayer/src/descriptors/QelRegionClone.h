#pragma once

#include <algorithm>
#include <cstdint>

#include "MoxSmartPtr.h"
#include "QelTileId.h"
#include "QelXyCoordSpace.h"
#include "QelXyRegion.h"

// A clone of a region, of its own class; null for null.
inline MoxSmartPtr<QelXyRegion> qelCloneOf(QelXyRegion const * region) {
    if (region == nullptr) return nullptr;
    MoxSmartPtr<QelRegion> const clone = region->clone();
    return dynamic_cast<QelXyRegion *>(clone.get());
}

// A clone of a region, moved to a copy of `space` in which the resolution of `size` is selected. A
// size that is not known is none.
inline MoxSmartPtr<QelXyRegion> qelCloneIn(QelXyCoordSpace const & space, QelTileId const & size,
                                           QelXyRegion const & region) {
    MoxSmartPtr<QelXyCoordSpace> const selected = space.cloneXy();
    selected->selectResolution(static_cast<std::uint32_t>(std::max(size.resolutionWidth, 0)),
                               static_cast<std::uint32_t>(std::max(size.resolutionHeight, 0)));
    MoxSmartPtr<QelXyRegion> clone = qelCloneOf(&region);
    clone->setCoordSpace(selected.get());
    return clone;
}

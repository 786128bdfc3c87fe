#pragma once

#include "MoxSmartPtr.h"
#include "QelXyRegion.h"

// A clone of a region, of its own class; null for null.
inline MoxSmartPtr<QelXyRegion> qelCloneOf(QelXyRegion const * region) {
    if (region == nullptr) return nullptr;
    MoxSmartPtr<QelRegion> const clone = region->clone();
    return dynamic_cast<QelXyRegion *>(clone.get());
}

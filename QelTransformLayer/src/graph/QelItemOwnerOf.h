#pragma once

#include "Qel2DImage.h"
#include "QelRenderedItem.h"
#include "QelRenderedItemContainer.h"

// The owner of what an item belongs to: items of an image point to the image, which knows its
// owner; others to their container. Null where there is none.
inline QelItemOwner * qelItemOwnerOf(QelRenderedItem const & item) {
    auto const * const image = dynamic_cast<Qel2DImage const *>(item.container());
    if (image != nullptr) return image->getOwner();
    auto const * const list = dynamic_cast<QelRenderedItemContainer const *>(item.container());
    return list != nullptr ? list->getOwner() : nullptr;
}

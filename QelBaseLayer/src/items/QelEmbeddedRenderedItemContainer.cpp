#include "QelEmbeddedRenderedItemContainer.h"

QelEmbeddedRenderedItemContainer::~QelEmbeddedRenderedItemContainer() = default;

void QelEmbeddedRenderedItemContainer::notifyStateChange(QelRenderedItem *, std::uint32_t, bool) {}

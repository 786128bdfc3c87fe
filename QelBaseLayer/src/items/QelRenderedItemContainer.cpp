#include "QelRenderedItemContainer.h"

#include <ostream>

QelRenderedItemContainer::Iterator::SubIterator::~SubIterator() = default;

QelRenderedItemContainer::~QelRenderedItemContainer() = default;

QelItemOwner * QelRenderedItemContainer::getOwner() const {
    return owner_;
}

void QelRenderedItemContainer::print(std::ostream & out) const {
    QelItemOwner const * const owner = getOwner();
    if (owner == nullptr) return;
    out << owner->transformLabel() << ' ' << owner->connectionPointName();
}

void QelRenderedItemContainer::add(QelRenderedItem *) {}

void QelRenderedItemContainer::remove(QelRenderedItem *) {}

#include "QelRenderedItem.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

#include "QelOutput.h"
#include "QelReleaseQueue.h"
#include "QelSmartRenderedItemVector.h"
#include "ZanBorrow.h"

namespace {

void reportDiscard(char const * reason) {
    std::string line = std::string("discardReference of a rendered item failed: ") + reason;
    std::replace(line.begin(), line.end(), '\n', ' ');
    QelOutput::write(line + '\n');
}

}  // namespace

QelRenderedItem::QelRenderedItem(QelEmbeddedRenderedItemContainer * container)
    : container_(container) {}

QelRenderedItem::QelRenderedItem(QelRenderedItem const & other)
    : ZanRefCount(other), state_(other.isState(complete) ? complete : 0), container_(nullptr) {}

QelRenderedItem::~QelRenderedItem() {
    discardFromContainer();
    // Without the lock: no other reference is left.
    qelReleaseLater(std::move(dependencies_));
}

void QelRenderedItem::setComplete(bool value) {
    if (!value) {
        setState(complete, false);
        return;
    }
    QelSmartRenderedItemVector dropped;  // released after the lock
    ZanLock const hold(lock_);
    changeState(complete, true);
    dropDependencies(dropped);
}

void QelRenderedItem::print(std::ostream &) const {}

void QelRenderedItem::printDependencies(std::ostream & out) const {
    print(out);
    out << " --> ";
    // From a copy: what an item prints is its own business and needs its own lock.
    for (MoxSmartPtr<QelRenderedItem> const & item : copyDependencies())
        item->print(out);
}

bool QelRenderedItem::isState(std::uint8_t mask) const {
    ZanLock const hold(lock_);
    return (state_ & mask) != 0;
}

void QelRenderedItem::setState(std::uint8_t mask, bool set) {
    ZanLock const hold(lock_);
    changeState(mask, set);
}

void QelRenderedItem::changeState(std::uint8_t mask, bool set) {
    state_ = static_cast<std::uint8_t>(set ? state_ | mask : state_ & ~mask);
    QelEmbeddedRenderedItemContainer * const owner = container();
    if (owner != nullptr) owner->notifyStateChange(this, mask, set);
}

QelSmartRenderedItemVector & QelRenderedItem::madeDependencies() {
    if (!dependencies_) dependencies_ = new QelSmartRenderedItemVector;
    return *dependencies_;
}

void QelRenderedItem::addDependency(QelRenderedItem * item) {
    if (item == nullptr) return;
    ZanLock const hold(lock_);
    madeDependencies().add(item);
}

void QelRenderedItem::addDependencies(QelSmartRenderedItemVector const & items) {
    if (items.size() == 0) return;
    ZanLock const hold(lock_);
    madeDependencies().addEach(items);
}

void QelRenderedItem::removeDependency(QelRenderedItem * item) {
    if (item == nullptr) return;
    ZanBorrow<QelRenderedItem> const keep(item);  // so that nothing is deleted under the lock
    ZanLock const hold(lock_);
    changeState(pending, false);
    if (dependencies_) dependencies_->remove(item);
}

void QelRenderedItem::removeDependencies(QelSmartRenderedItemVector const & items) {
    QelSmartRenderedItemVector dropped;  // released after the lock
    ZanLock const hold(lock_);
    changeState(pending, false);
    if (!dependencies_) return;
    if (&items == dependencies_.get()) {
        dependencies_->swap(dropped);
    } else {
        dependencies_->removeEach(items);
    }
}

void QelRenderedItem::clearDependencies() {
    QelSmartRenderedItemVector dropped;  // released after the lock
    ZanLock const hold(lock_);
    dropDependencies(dropped);
}

void QelRenderedItem::dropDependencies(QelSmartRenderedItemVector & dropped) {
    if (dependencies_) dependencies_->swap(dropped);
    changeState(pending, false);
}

int QelRenderedItem::dependencyCount() const {
    ZanLock const hold(lock_);
    return dependencies_ ? static_cast<int>(dependencies_->size()) : 0;
}

QelRenderedItem::Items QelRenderedItem::copyDependencies() const {
    Items items;
    ZanLock const hold(lock_);
    std::size_t const count = dependencies_ ? dependencies_->size() : 0;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        items.push_back(dependencies_->get(i));
    return items;
}

void QelRenderedItem::setContainer(QelEmbeddedRenderedItemContainer * container) {
    ZanLock const hold(lock_);
    container_.store(container, std::memory_order_release);
}

void QelRenderedItem::discardFromContainer() noexcept {
    tellDiscarded(leaveContainer(), this);
}

void QelRenderedItem::tellDiscarded(QelEmbeddedRenderedItemContainer * container,
                                    QelRenderedItem * item) noexcept {
    if (container == nullptr) return;
    // A destructor must not raise, and there is nowhere to report that the output failed too.
    try {
        try {
            container->discardReference(item);
        } catch (std::exception const & error) {
            reportDiscard(error.what());
        } catch (...) {
            reportDiscard("unknown exception");
        }
    } catch (...) {
    }
}

#include "QelAttribute.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <utility>

#include "QelError.h"
#include "ZanBorrow.h"

namespace {

std::uint32_t nextStamp() {
    static constinit std::atomic<std::uint32_t> stamps{1};
    return stamps.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

// One round of calling the callbacks. Keeps the attribute, and callbacks removed meanwhile, until
// it is done.
class QelAttribute::Call {
  public:
    explicit Call(QelAttribute & attribute) : attribute_(&attribute) { ++attribute.nesting_; }
    Call(Call const &) = delete;
    Call & operator=(Call const &) = delete;
    ~Call() {
        if (--attribute_->nesting_ == 0) attribute_->deleteRemoved();
    }

    void callAll() {
        // Stops at the current count: callbacks may add others. None is deleted before this is
        // done.
        auto entry = attribute_->callbacks_.begin();
        for (std::size_t left = attribute_->callbacks_.size(); left > 0; --left, ++entry)
            if (!entry->removed) entry->callback->attributeChanged(attribute_.pointer());
    }

  private:
    ZanBorrow<QelAttribute> attribute_;
};

QelAttribute::QelAttribute(std::string name) : name_(std::move(name)), timestamp_(nextStamp()) {}

QelAttribute::~QelAttribute() {
    removeThose([](QelAttributeChangedCallback const &) { return true; });
}

void QelAttribute::changed() {
    checkNesting(ZanSourceLocation::current());
    timestamp_ = nextStamp();
    if (!callbacks_.empty()) Call(*this).callAll();
}

void QelAttribute::addCallback(std::unique_ptr<QelAttributeChangedCallback> callback) {
    if (!callback)
        qelRaise(QelErrorCode::nullPointer, "QelAttribute::addCallback requires a callback");
    callbacks_.push_back({std::move(callback)});
}

void QelAttribute::removeCallbacks(QelAttributeBased const * target) noexcept {
    removeThose([target](QelAttributeChangedCallback const & callback) {
        return callback.getTarget() == target;
    });
}

void QelAttribute::removeCallback(QelAttributeChangedCallback const * callback) noexcept {
    removeThose(
        [callback](QelAttributeChangedCallback const & other) { return &other == callback; });
}

template <class Is>
void QelAttribute::removeThose(Is is) noexcept {
    for (Entry & entry : callbacks_)
        entry.removed = entry.removed || is(*entry.callback);
    if (nesting_ == 0) deleteRemoved();
}

void QelAttribute::deleteRemoved() noexcept {
    // Out of the list first: destroying a callback may remove others from it.
    std::list<Entry> removed;
    for (auto entry = callbacks_.begin(); entry != callbacks_.end();) {
        auto const next = std::next(entry);
        if (entry->removed) removed.splice(removed.end(), callbacks_, entry);
        entry = next;
    }
}

int QelAttribute::numCallbacks() const {
    return static_cast<int>(std::count_if(callbacks_.begin(), callbacks_.end(),
                                          [](Entry const & entry) { return !entry.removed; }));
}

void QelAttribute::takeCallbacks(QelAttribute const & from, QelAttributeBased const * oldOwner,
                                 QelAttributeBased * newOwner) {
    if (oldOwner == nullptr) return;
    for (Entry const & entry : from.callbacks_) {
        if (!entry.removed && entry.callback->getTarget() == oldOwner) {
            addCallback(entry.callback->clone(newOwner));
        }
    }
}

void QelAttribute::checkLock(ZanSourceLocation const & here) const {
    if (locked_) qelRaise(QelErrorCode::attributeLocked, name_, here);
}

void QelAttribute::checkChange(ZanSourceLocation const & here) const {
    checkLock(here);
    checkNesting(here);
}

void QelAttribute::checkNesting(ZanSourceLocation const & here) const {
    if (nesting_ <= maxNesting) return;
    qelRaise(QelErrorCode::endlessCallbacks,
             "Attribute " + name_ + " is changed by its own callbacks without end", here);
}

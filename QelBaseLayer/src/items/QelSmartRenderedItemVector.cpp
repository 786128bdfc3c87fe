#include "QelSmartRenderedItemVector.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "QelError.h"
#include "QelReleaseQueue.h"

namespace {

using Item = MoxSmartPtr<QelRenderedItem>;

class ListIterator : public QelRenderedItemContainer::Iterator::SubIterator {
  public:
    explicit ListIterator(QelSmartRenderedItemVector const & list) : list_(list) {}

    bool done() const override { return position_ >= list_.size(); }
    void next() override { ++position_; }
    MoxSmartPtr<QelRenderedItem> get() const override { return list_.get(position_); }

  private:
    QelSmartRenderedItemVector const & list_;
    std::size_t position_ = 0;
};

// How many entries hold each item, to be taken away one by one.
class ItemCounts {
  public:
    explicit ItemCounts(std::vector<Item> const & items) {
        counts_.reserve(items.size());
        for (Item const & item : items)
            ++counts_[item.get()];
    }

    // True, with one entry less, while there are entries of `item`.
    bool take(QelRenderedItem const * item) {
        auto const found = counts_.find(item);
        if (found == counts_.end() || found->second == 0) return false;
        --found->second;
        return true;
    }

  private:
    std::unordered_map<QelRenderedItem const *, std::size_t> counts_;
};

}  // namespace

QelSmartRenderedItemVector::~QelSmartRenderedItemVector() {
    for (Item & item : items_)
        qelReleaseLater(std::move(item));
}

void QelSmartRenderedItemVector::discardReference(QelRenderedItem *) {
    qelRaise(QelErrorCode::misuse,
             "You (or someone) should not be calling discardReference on a "
             "QelSmartRenderedItemVector");
}

void QelSmartRenderedItemVector::setCacheTiles(bool) {
    qelRaise(QelErrorCode::misuse, "Illegal use of QelSmartRenderedItemVector");
}

void QelSmartRenderedItemVector::add(QelRenderedItem * item) {
    if (item != nullptr) items_.emplace_back(item);
}

void QelSmartRenderedItemVector::addEach(QelSmartRenderedItemVector const & others) {
    std::size_t const added = others.items_.size();
    std::size_t const needed = items_.size() + added;
    // Growing by a factor keeps the sum of many small additions linear. What follows cannot fail.
    if (needed > items_.capacity()) items_.reserve(std::max(needed, 2 * items_.capacity()));
    for (std::size_t i = 0; i < added; ++i)
        items_.push_back(others.items_[i]);
}

void QelSmartRenderedItemVector::remove(QelRenderedItem * item) {
    auto const found = std::find(items_.begin(), items_.end(), item);
    if (found == items_.end()) return;
    // Released last: the item's destructor may look at the list.
    Item const removed = std::move(*found);
    items_.erase(found);
}

void QelSmartRenderedItemVector::clear() {
    // By index, with a separate reference: setComplete() is the client's and may change the list.
    for (std::size_t i = 0; i < items_.size(); ++i) {
        Item const item = items_[i];
        item->setComplete(false);
    }
}

QelRenderedItemContainer::Iterator QelSmartRenderedItemVector::makeIterator(QelDataDesc *) {
    return Iterator(std::make_unique<ListIterator>(*this));
}

void QelSmartRenderedItemVector::removeEach(QelSmartRenderedItemVector const & others) {
    // Each entry of `others` takes the first one left of its item, so of every item the first
    // entries go, as many as `others` has, whatever the order of `others`.
    ItemCounts unwanted(others.items_);
    std::vector<Item> kept;
    std::vector<Item> removed;
    kept.reserve(items_.size());
    removed.reserve(std::min(items_.size(), others.items_.size()));
    for (Item & item : items_) {
        std::vector<Item> & target = unwanted.take(item.get()) ? removed : kept;
        target.push_back(std::move(item));
    }
    items_.swap(kept);
}

void QelSmartRenderedItemVector::removeAll() {
    // Released last: the items' destructors may look at the list.
    std::vector<Item> const removed = takeAll();
}

std::vector<MoxSmartPtr<QelRenderedItem>> QelSmartRenderedItemVector::takeAll() noexcept {
    return std::exchange(items_, {});
}

#include "QelSmartRenderedItemVector.h"

#include <algorithm>
#include <stdexcept>
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

QelSmartRenderedItemVector::QelSmartRenderedItemVector() = default;

QelSmartRenderedItemVector::~QelSmartRenderedItemVector() = default;

QelSmartRenderedItemVector::Entries::~Entries() {
    for (Item & item : items)
        qelReleaseLater(std::move(item));
}

std::vector<Item> & QelSmartRenderedItemVector::ownItems() {
    if (!entries_) {
        entries_ = new Entries;
    } else if (sharesWithAnother()) {
        entries_ = new Entries(entries_->items);
    }
    return entries_->items;
}

Item const & QelSmartRenderedItemVector::get(std::size_t i) const {
    if (!entries_) throw std::out_of_range("QelSmartRenderedItemVector::get");
    return entries_->items.at(i);
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
    if (item != nullptr) ownItems().emplace_back(item);
}

void QelSmartRenderedItemVector::addEach(QelSmartRenderedItemVector const & others) {
    std::size_t const added = others.size();
    if (added == 0) return;
    if (size() == 0) {
        entries_ = others.entries_;
        return;
    }
    std::size_t const needed = size() + added;
    std::vector<Item> & items = ownItems();
    // Growing by a factor keeps the sum of many small additions linear. What follows cannot fail.
    if (needed > items.capacity()) items.reserve(std::max(needed, 2 * items.capacity()));
    for (std::size_t i = 0; i < added; ++i)
        items.push_back(others.entries_->items[i]);
}

void QelSmartRenderedItemVector::remove(QelRenderedItem * item) {
    if (!entries_) return;
    auto const & entries = entries_->items;
    auto const at = std::find(entries.begin(), entries.end(), item) - entries.begin();
    if (at == entries.end() - entries.begin()) return;
    std::vector<Item> & items = ownItems();
    // Released last: the item's destructor may look at the list.
    Item const removed = std::move(items[static_cast<std::size_t>(at)]);
    items.erase(items.begin() + at);
}

void QelSmartRenderedItemVector::clear() {
    // By index, with a separate reference: setComplete() is the client's and may change the list.
    for (std::size_t i = 0; i < size(); ++i) {
        Item const item = entries_->items[i];
        item->setComplete(false);
    }
}

QelRenderedItemContainer::Iterator QelSmartRenderedItemVector::makeIterator(QelDataDesc *) {
    return Iterator(std::make_unique<ListIterator>(*this));
}

void QelSmartRenderedItemVector::removeEach(QelSmartRenderedItemVector const & others) {
    if (size() == 0 || others.size() == 0) return;
    // Each entry of `others` takes the first one left of its item, so of every item the first
    // entries go, as many as `others` has, whatever the order of `others`.
    ItemCounts unwanted(others.entries_->items);
    std::vector<Item> kept;
    kept.reserve(size());
    for (Item const & item : entries_->items) {
        if (!unwanted.take(item.get())) kept.push_back(item);
    }
    // Released last: the items' destructors may look at the list.
    MoxSmartPtr<Entries> former = new Entries(std::move(kept));
    entries_.swap(former);
}

void QelSmartRenderedItemVector::removeAll() {
    // Released last: the items' destructors may look at the list.
    QelSmartRenderedItemVector removed;
    swap(removed);
}

std::vector<Item> QelSmartRenderedItemVector::takeAll() {
    return entries_ ? std::exchange(ownItems(), {}) : std::vector<Item>();
}

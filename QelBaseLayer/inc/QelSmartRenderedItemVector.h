#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelRenderedItemContainer.h"
#include "ZanRefCount.h"

// A list of counted items. The one container whose items do not point back to it. No lock.
//
// A list that is filled from another one by addEach() shares its entries until either is changed;
// so a thousand items that all need the same thousand others have one list of them. Lists that
// share entries may be used by different threads.
class QEL_API QelSmartRenderedItemVector : public QelRenderedItemContainer {
  public:
    QelSmartRenderedItemVector();
    ~QelSmartRenderedItemVector() override;

    // Raises misuse (3): no item points to this list.
    void discardReference(QelRenderedItem * item) override;
    // Raises misuse (3).
    void setCacheTiles(bool cache) override;

    // Appends; null is ignored.
    void add(QelRenderedItem * item) override;
    // Removes the first entry that holds `item`, if any.
    void remove(QelRenderedItem * item) override;
    // Calls setComplete(false) on every item; the list stays as it is.
    void clear() override;
    Iterator makeIterator(QelDataDesc * desc = nullptr) override;

    std::size_t size() const { return entries_ ? entries_->items.size() : 0; }
    // std::out_of_range for a bad index. Valid until the list is changed.
    MoxSmartPtr<QelRenderedItem> const & get(std::size_t i) const;

    // Appends all entries of `others`, which may be this list itself, or none when memory runs out.
    // An empty list takes constant time, and shares them.
    void addEach(QelSmartRenderedItemVector const & others);
    // Does it share its entries with that list?
    bool sharesEntries(QelSmartRenderedItemVector const & other) const {
        return entries_ && entries_ == other.entries_;
    }

    // For each entry of `others` from the last to the first, removes the first entry that holds the
    // same item. Takes time proportional to the sum of both sizes.
    void removeEach(QelSmartRenderedItemVector const & others);

    // Empties the list.
    void removeAll();

    // Hands the items over and leaves the list empty.
    std::vector<MoxSmartPtr<QelRenderedItem>> takeAll();
    // Exchanges the items of two lists.
    void swap(QelSmartRenderedItemVector & other) noexcept { entries_.swap(other.entries_); }

  private:
    struct Entries : public ZanRefCount {
        Entries() = default;
        explicit Entries(std::vector<MoxSmartPtr<QelRenderedItem>> list) : items(std::move(list)) {}
        Entries(Entries const &) = delete;
        Entries & operator=(Entries const &) = delete;
        ~Entries();

        std::vector<MoxSmartPtr<QelRenderedItem>> items;
    };

    bool sharesWithAnother() const { return entries_ && entries_->refCount() > 1; }
    // This list's own entries, copied first if they are shared.
    std::vector<MoxSmartPtr<QelRenderedItem>> & ownItems();

    MoxSmartPtr<Entries> entries_;  // null where nothing was ever added
};

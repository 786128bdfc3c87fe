#pragma once

#include <cstddef>
#include <vector>

#include "QelRenderedItemContainer.h"

// A list of counted items. The one container whose items do not point back to it. No lock.
class QEL_API QelSmartRenderedItemVector : public QelRenderedItemContainer {
  public:
    QelSmartRenderedItemVector() = default;
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

    std::size_t size() const { return items_.size(); }
    // std::out_of_range for a bad index.
    MoxSmartPtr<QelRenderedItem> const & get(std::size_t i) const { return items_.at(i); }

    // Appends all entries of `others`, which may be this list itself, or none when memory runs out.
    void addEach(QelSmartRenderedItemVector const & others);

    // For each entry of `others` from the last to the first, removes the first entry that holds the
    // same item. Takes time proportional to the sum of both sizes.
    void removeEach(QelSmartRenderedItemVector const & others);

    // Empties the list.
    void removeAll();

    // Hands the items over and leaves the list empty.
    std::vector<MoxSmartPtr<QelRenderedItem>> takeAll() noexcept;

  private:
    std::vector<MoxSmartPtr<QelRenderedItem>> items_;
};

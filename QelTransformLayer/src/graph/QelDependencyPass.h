#pragma once

#include <map>
#include <utility>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelEmbeddedRenderedItemContainer.h"
#include "QelRenderedItem.h"
#include "QelSmartRenderedItemVector.h"
#include "QelTileId.h"

// Items that a thread enters into a render together. Passes nest; all that happens in one belongs
// to the outermost. Whoever enters many items that need the same, as a sink does, opens one around
// all of them.
//
// Where each tile of an image needs all of its inputs, all tiles have one list of dependencies:
// lists of their own would grow with the product of both numbers of tiles.
class QelDependencyPass {
  public:
    QelDependencyPass() : outermost_(current()) {
        if (outermost_ == nullptr) current() = this;
    }
    QelDependencyPass(QelDependencyPass const &) = delete;
    QelDependencyPass & operator=(QelDependencyPass const &) = delete;
    // One that has not succeeded takes back all that was entered.
    ~QelDependencyPass() {
        if (outermost_ != nullptr) return;
        current() = nullptr;
        if (!succeeded_) takeBack();
    }

    // The outermost; null while none is open on this thread.
    static QelDependencyPass * ofThisThread() { return current(); }

    // Ahead of the end.
    void succeed() { succeeded_ = true; }

    // `item` gets these dependencies, and waits for them.
    void enter(QelRenderedItem & item, QelSmartRenderedItemVector const & dependencies) {
        entered_.emplace_back(&item);
        item.addDependencies(dependencies);
        item.setState(QelRenderedItem::pending, true);
    }

    // The list for the tiles of `image`, all of which need all of some other images at
    // `resolutions`: filled by fill(list) for the first tile. Null where an earlier tile of the
    // image needed other resolutions.
    template <class Fill>
    MoxSmartPtr<QelSmartRenderedItemVector> commonList(QelEmbeddedRenderedItemContainer * image,
                                                       std::vector<QelTileId> const & resolutions,
                                                       Fill const & fill) {
        auto const found = commonLists_.find(image);
        if (found != commonLists_.end()) {
            return found->second.resolutions == resolutions ? found->second.list : nullptr;
        }
        Common common{image, resolutions, new QelSmartRenderedItemVector};
        fill(*common.list);
        MoxSmartPtr<QelSmartRenderedItemVector> const list = common.list;
        commonLists_.emplace(image, std::move(common));
        return list;
    }

  private:
    struct Common {
        MoxSmartPtr<QelEmbeddedRenderedItemContainer> image;
        std::vector<QelTileId> resolutions;
        MoxSmartPtr<QelSmartRenderedItemVector> list;
    };

    static QelDependencyPass *& current() {
        thread_local QelDependencyPass * pass = nullptr;
        return pass;
    }

    void takeBack() noexcept {
        for (MoxSmartPtr<QelRenderedItem> const & item : entered_) {
            try {
                item->clearDependencies();
            } catch (...) {
                // A container of a client's own. There is a failure to report already.
            }
        }
    }

    QelDependencyPass * outermost_;
    bool succeeded_ = false;
    std::vector<MoxSmartPtr<QelRenderedItem>> entered_;
    std::map<QelEmbeddedRenderedItemContainer *, Common> commonLists_;
};

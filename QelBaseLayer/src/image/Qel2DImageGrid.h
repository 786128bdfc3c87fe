#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "Qel2DImage.h"
#include "QelThreadScope.h"
#include "QelThreadWork.h"

// One position of an image's grid: the tile that is there, which the slot does not count, and the
// position's history.
//
// Invariants:
// 1. A tile whose pointer is in a slot is alive, or its destructor is waiting for the slot's lock:
//    it cannot free the tile while a thread holds that lock and has read the pointer.
// 2. Removing a tile from its slot also removes it from the image (its container becomes null),
//    under the slot's lock; so a tile notifies the image of its end while it is in its slot, or not
//    at all.
// 3. Locks are taken in the order slot, item. Notifications, which come with the item's lock held,
//    only compare pointers and change `flags`.
// 4. A container creates a tile without the lock of the slot: those that want the tile sleep until
//    it is there.
class Qel2DImage::Slot {
  public:
    // Holds the slot's lock for a scope. Held for a handful of instructions.
    class Lock {
      public:
        explicit Lock(Slot & slot) : slot_(slot) { slot_.acquire(); }
        ~Lock() { slot_.word_.fetch_and(~locked, std::memory_order_release); }
        Lock(Lock const &) = delete;
        Lock & operator=(Lock const &) = delete;

      private:
        Slot & slot_;
    };

    // Having a tile made for this position, which one thread at a time does.
    QelThreadWork::Job & making() { return making_; }

    bool holds(QelTile const * tile) const {
        return (word_.load(std::memory_order_acquire) & ~locked) ==
               reinterpret_cast<std::uintptr_t>(tile);
    }

    // A tile that was taken out, with a reference that ends with this object. A tile that never had
    // an owner is left to its creator.
    class Displaced {
      public:
        Displaced() = default;
        // Takes the reference over.
        Displaced(QelTile * tile, bool owned)
            : tile_(MoxSmartPtr<QelTile>::adopt(tile)), owned_(owned) {}
        Displaced(Displaced const &) = delete;
        Displaced & operator=(Displaced const &) = delete;
        ~Displaced() {
            if (tile_ != nullptr && !owned_) tile_.detach()->giveBackRef();
        }

        // Drops the reference that a cache held.
        void dropCached() {
            if (tile_ != nullptr) tile_->deleteRef();
        }

      private:
        MoxSmartPtr<QelTile> tile_;
        bool owned_ = false;
    };

    // A counted reference on the tile; null when there is none or it is being destroyed.
    MoxSmartPtr<QelTile> find() {
        if (holds(nullptr)) return nullptr;
        Lock const lock(*this);
        QelTile * const tile = current();
        if (tile == nullptr || !tile->tryAddRef()) return nullptr;
        return MoxSmartPtr<QelTile>::adopt(tile);
    }

    // Puts `tile` here and returns what was there, out of the image and with one reference more.
    // Nothing when nothing was there, or `tile` itself, or something that is being destroyed.
    Displaced exchange(QelTile * tile) {
        for (;; std::this_thread::yield()) {
            Lock const lock(*this);
            QelTile * const old = current();
            if (old == tile) return {};
            bool const owned = old != nullptr && old->refCount() > 0;
            bool const alive = old != nullptr && old->tryAddRef();
            if (old == nullptr || alive || leave(*old)) {
                if (alive) old->setContainer(nullptr);
                store(tile);
                return Displaced(alive ? old : nullptr, owned);
            }
        }
    }

    // The end of a tile. False when it is not here.
    bool clear(QelTile const * tile) {
        if (!holds(tile)) return false;
        Lock const lock(*this);
        if (current() != tile) return false;
        store(nullptr);
        return true;
    }

    // Counts the holders of the tile, which is in this slot, or its memory. The memory is examined
    // only while no other thread can replace it: while the caller, with one reference, and the
    // image, with `cached`, are the only owners.
    std::int32_t holders(QelTile const & tile, std::int32_t cached) {
        Lock const lock(*this);
        return countHolders(tile, cached);
    }

    // Hands the tile's memory to `dest` if only the caller, with one reference, and the image, with
    // `cached`, hold the tile or its memory. `tile` is in this slot.
    bool steal(QelTile & tile, QelRectBuffer & dest, std::int32_t cached) {
        Lock const lock(*this);
        if (current() != &tile || countHolders(tile, cached) > 1 + cached) return false;
        dest.stealData(tile);
        tile.setState(QelRenderedItem::complete, false);
        return true;
    }

    std::atomic<std::uint32_t> & flags() { return flags_; }

  private:
    static constexpr std::uintptr_t locked = 1;

    // Requires: the slot is locked.
    static std::int32_t countHolders(QelTile const & tile, std::int32_t cached) {
        std::int32_t const owners = tile.refCount();
        return owners > 1 + cached ? owners : tile.referenceCount();
    }

    // A tile that is being destroyed: true if it will no longer notify the image.
    static bool leave(QelTile & tile) { return tile.leaveContainer() != nullptr; }

    QelTile * current() const {
        return reinterpret_cast<QelTile *>(word_.load(std::memory_order_relaxed) & ~locked);
    }

    // Requires: the slot is locked.
    void store(QelTile * tile) {
        word_.store(reinterpret_cast<std::uintptr_t>(tile) | locked, std::memory_order_release);
    }

    void acquire() {
        while ((word_.fetch_or(locked, std::memory_order_acquire) & locked) != 0) {
            std::this_thread::yield();
        }
    }

    std::atomic<std::uintptr_t> word_{0};
    QelThreadWork::Job making_{nullptr};
    std::atomic<std::uint32_t> flags_{0};
};

// The geometry of an image and its slots, row by row. Fixed once it is made.
class Qel2DImage::Grid {
  public:
    // Marks, for a scope, that the calling thread makes the container make a tile for a grid. The
    // tile then goes there and nowhere else: in a grid that took its place meanwhile, a tile made
    // for the old one does not fit.
    class Asked : public QelThreadScope<Asked> {
      public:
        Asked(Qel2DImage const & image, Grid & grid) : QelThreadScope(&image), grid_(&grid) {}

        // The grid for which a tile of `image` is being made; null when there is none.
        static Grid * of(Qel2DImage const & image) {
            Asked const * const asked = innermost(&image);
            return asked == nullptr ? nullptr : asked->grid_;
        }

      private:
        Grid * grid_;
    };

    // Of an image whose size is not known.
    Grid() = default;

    // Raises invalidValue (13) when the grid has more positions than can be counted.
    Grid(MoxSmartPtr<QelDataOrg> org, std::int32_t width, std::int32_t height);

    // The one position of an image that wraps a buffer, whose pixels are those of `covered`. The
    // tile size of its organisation says nothing: the buffer may be a view, or larger.
    static std::unique_ptr<Grid> ofOneTile(MoxSmartPtr<QelDataOrg> org, QelRect const & rect,
                                           QelRect const & covered);

    // Has `image` another grid by now? A container that chooses an op may put one in place during a
    // request, and so may another thread.
    bool isOutdated(Qel2DImage const & image) const { return this != &image.grid(); }

    // Answers a request by attempt(grid), with the grid of `image`. An attempt that finds its grid
    // outdated returns std::nullopt, and all is done again with the new one.
    template <class Attempt>
    static auto answer(Qel2DImage const & image, Attempt const & attempt) {
        for (;;)
            if (auto done = attempt(image.grid())) return *std::move(done);
    }

    bool contains(std::int32_t x, std::int32_t y) const {
        return x >= 0 && y >= 0 && x < across && y < down;
    }
    Slot & slot(std::int32_t x, std::int32_t y) const {
        return slots[static_cast<std::size_t>(y) * static_cast<std::size_t>(across) +
                     static_cast<std::size_t>(x)];
    }
    std::size_t count() const {
        return static_cast<std::size_t>(across) * static_cast<std::size_t>(down);
    }

    // Do both have the same positions and address the tiles there alike?
    bool equals(Grid const & other) const;

    // Takes every tile out of the image, from the last position to the first, and drops the
    // references of a cache.
    void detachTiles(bool cached) const;
    // The same for one slot.
    static void detachTile(Slot & slot, bool cached);

    // Detaches all tiles, for good. A request in progress may still put tiles here: it then checks
    // retired(), and detaches what it put. No tile can be missed: both lock the slot, so either
    // retire() finds the tile or the request finds the grid retired.
    void retire(bool cached);
    bool retired() const { return retired_.load(std::memory_order_relaxed); }

    bool known = false;
    std::int32_t across = 0;
    std::int32_t down = 0;
    bool isOneTile = false;
    QelRect rect;     // of the image
    QelRect covered;  // what its tiles have of that
    MoxSmartPtr<QelDataOrg> org;
    std::unique_ptr<Slot[]> slots;

  private:
    void makeSlots();

    std::atomic<bool> retired_{false};
};

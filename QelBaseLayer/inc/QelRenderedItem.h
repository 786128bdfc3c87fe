#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelEmbeddedRenderedItemContainer.h"
#include "ZanMutex.h"
#include "ZanRefCount.h"

class QelSmartRenderedItemVector;

// The unit of work and result of a render: something that can be computed, waits for others of its
// kind, and is complete when its pixels are valid.
//
// Held by MoxSmartPtr; never one on a stack that another item depends on. State bits and
// dependencies are read and changed under the item's lock. Locks are taken in the order item, then
// its container.
class QEL_API QelRenderedItem : public virtual ZanRefCount {
  public:
    // State bits.
    static constexpr std::uint8_t pending = 0x01;   // waits for its dependencies
    static constexpr std::uint8_t taken = 0x02;     // taken by the order list of a render
    static constexpr std::uint8_t complete = 0x04;  // pixels are valid

    // Takes no reference on `container`, which may be null.
    explicit QelRenderedItem(QelEmbeddedRenderedItemContainer * container = nullptr);

    // Has no container and no dependencies, and is complete if `other` is.
    QelRenderedItem(QelRenderedItem const & other);
    QelRenderedItem & operator=(QelRenderedItem const &) = delete;

    // Calls discardReference() of the container, if there still is one.
    virtual ~QelRenderedItem();

    virtual void compute() = 0;

    // Sets or clears bit `complete`; a complete item drops its dependencies.
    virtual void setComplete(bool value);

    // Does nothing here.
    virtual void print(std::ostream & out) const;

    // The item, " --> " and each dependency.
    virtual void printDependencies(std::ostream & out) const;

    // Is any bit of `mask` set?
    bool isState(std::uint8_t mask) const;
    // Sets or clears the bits of `mask` and notifies the container, with the lock held.
    void setState(std::uint8_t mask, bool set);

    // Dependencies are counted. Null items are ignored. removeDependency takes the first entry
    // that holds the item; with a list, from its last entry to its first. Both clear bit
    // `pending` first. clearDependencies empties the list and then clears bit `pending`.
    void addDependency(QelRenderedItem * item);
    void addDependencies(QelSmartRenderedItemVector const & items);
    void removeDependency(QelRenderedItem * item);
    void removeDependencies(QelSmartRenderedItemVector const & items);
    void clearDependencies();
    int dependencyCount() const;

    // The list itself; null if there never was a dependency. For the thread that owns the item at
    // this stage of a render.
    QelSmartRenderedItemVector * dependencies() const ZAN_NO_THREAD_SAFETY_ANALYSIS {
        return dependencies_;
    }

    // Not counted; null for an item without a container.
    QelEmbeddedRenderedItemContainer * container() const {
        return container_.load(std::memory_order_acquire);
    }
    // Waits until a notification to the old container is over.
    void setContainer(QelEmbeddedRenderedItemContainer * container);

  protected:
    // Leaves the container, so that it is notified only once, and returns it. Takes no lock: for
    // destructors, and for a container that displaces an item which is being destroyed.
    QelEmbeddedRenderedItemContainer * leaveContainer() noexcept {
        return container_.exchange(nullptr, std::memory_order_acq_rel);
    }

    // leaveContainer(), then discardReference() of what it returned; never raises.
    void discardFromContainer() noexcept;
    // The second half of it: discardReference() of `container`, which may be null. An exception
    // is written to the library's output as one line.
    static void tellDiscarded(QelEmbeddedRenderedItemContainer * container,
                              QelRenderedItem * item) noexcept;

  private:
    friend class Qel2DImage;

    using Items = std::vector<MoxSmartPtr<QelRenderedItem>>;

    void changeState(std::uint8_t mask, bool set) ZAN_REQUIRES(lock_);
    QelSmartRenderedItemVector & madeDependencies() ZAN_REQUIRES(lock_);
    // Leaves the dependencies in `dropped`, for the caller to release after the lock: the last
    // reference on an item may go with them, and its destructor may need other locks.
    void dropDependencies(QelSmartRenderedItemVector & dropped) ZAN_REQUIRES(lock_);
    Items copyDependencies() const;

    std::uint8_t state_ ZAN_GUARDED_BY(lock_) = 0;
    mutable ZanMutex lock_;
    // Made for the first dependency: most tiles never have one.
    MoxSmartPtr<QelSmartRenderedItemVector> dependencies_ ZAN_GUARDED_BY(lock_);
    std::atomic<QelEmbeddedRenderedItemContainer *> container_;
};

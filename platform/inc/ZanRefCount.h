#pragma once

#include <atomic>
#include <cstdint>

#include "QelExport.h"

// The number of owners of one object, shared by both bases of counted classes.
//
// Counts start at 0. Safe from any thread. Besides the number, the word records that the count once
// fell back to 0, when the last owner goes on to delete the object. From then on tryAdd() refuses,
// so a table that holds an uncounted pointer can hand out references without ever reviving an
// object that is being destroyed.
class QEL_API ZanCounter {
  public:
    ZanCounter() = default;
    ZanCounter(ZanCounter const &) = delete;
    ZanCounter & operator=(ZanCounter const &) = delete;

    void add() noexcept { word_.fetch_add(1, std::memory_order_relaxed); }

    // False, with no change, when the last owner has gone.
    bool tryAdd() noexcept {
        std::uint32_t word = word_.load(std::memory_order_relaxed);
        do {
            if (word == ended) return false;
        } while (!word_.compare_exchange_weak(word, word + 1, std::memory_order_acquire,
                                              std::memory_order_relaxed));
        return true;
    }

    // True when the count reached 0. Requires: count() > 0.
    bool remove() noexcept {
        // One exchange takes the number to 0 and sets the bit: with a subtraction and a later
        // store, tryAdd() could slip in between and take an object that is about to be deleted.
        std::uint32_t word = word_.load(std::memory_order_relaxed);
        while (!word_.compare_exchange_weak(word, withoutOne(word), std::memory_order_acq_rel,
                                            std::memory_order_relaxed)) {
        }
        return withoutOne(word) == ended;
    }

    // As remove(), but an object whose count reaches 0 is not marked: for references borrowed from
    // an object that has no owner.
    void giveBack() noexcept { word_.fetch_sub(1, std::memory_order_acq_rel); }

    // From now on remove() never returns true, also if it did a moment ago.
    void pin() noexcept { word_.fetch_or(pinned, std::memory_order_acq_rel); }

    std::int32_t count() const noexcept {
        return static_cast<std::int32_t>(word_.load(std::memory_order_acquire) & ~(ended | pinned));
    }

  private:
    static constexpr std::uint32_t ended = 0x80000000U;
    static constexpr std::uint32_t pinned = 0x40000000U;

    static constexpr std::uint32_t withoutOne(std::uint32_t word) noexcept {
        std::uint32_t const left = word - 1;
        return left == 0 ? ended : left;
    }

    std::atomic<std::uint32_t> word_{0};
};

// Base of counted objects that are deleted through their own class. No virtual operations: a
// class whose objects are deleted through a base pointer needs a virtual destructor of its own.
//
// An object starts with count 0; its first owner calls addRef(). Copying and assigning leave the
// counts alone. Thread-safe. Clients use MoxSmartPtr and call none of this themselves.
class QEL_API ZanRefCount {
  public:
    ZanRefCount() = default;
    ZanRefCount(ZanRefCount const &) noexcept {}
    ZanRefCount & operator=(ZanRefCount const &) noexcept { return *this; }

    void addRef() const noexcept { counter_.add(); }

    // True when the count reached 0: the caller then deletes the object.
    bool deleteRef() const noexcept { return counter_.remove(); }

    // As addRef(), but false when the last owner has gone and the object is being destroyed.
    bool tryAddRef() const noexcept { return counter_.tryAdd(); }

    // Ends a reference borrowed from an object without owners; see ZanBorrow.
    void giveBackRef() const noexcept { counter_.giveBack(); }

    // From now on the count never ends the object, whoever made it does.
    void pinRef() const noexcept { counter_.pin(); }

    std::int32_t refCount() const noexcept { return counter_.count(); }

  protected:
    ~ZanRefCount() = default;

  private:
    mutable ZanCounter counter_;
};

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

// A set of addresses for walks over graphs of any size. The first few stand in the set itself, more
// in one block of memory with open addressing, since a node for each would cost more than the
// visit.
class QelPointerSet {
  public:
    // False, with no change, for one that is in the set. Requires: address is not null.
    bool insert(void const * address) {
        if (contains(address)) return false;
        if (slots_.empty() && size_ < few) {
            few_[size_++] = address;
            return true;
        }
        if (2 * (size_ + 1) > slots_.size()) grow();
        slots_[slotOf(slots_, address)] = address;
        ++size_;
        return true;
    }

    bool contains(void const * address) const {
        if (slots_.empty()) return std::find(few_, few_ + size_, address) != few_ + size_;
        return slots_[slotOf(slots_, address)] == address;
    }

  private:
    using Slots = std::vector<void const *>;
    static constexpr std::size_t few = 8;

    // Where the address is, or belongs.
    static std::size_t slotOf(Slots const & slots, void const * address) {
        std::size_t const mask = slots.size() - 1;
        auto const word = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address));
        // The upper half of a product by an odd number spreads what differs in a few low bits.
        std::size_t slot = (word * 0x9e3779b97f4a7c15U) >> 32 & mask;
        while (slots[slot] != nullptr && slots[slot] != address)
            slot = (slot + 1) & mask;
        return slot;
    }

    void grow() {
        Slots larger(slots_.empty() ? 4 * few : 2 * slots_.size());
        auto const put = [&](void const * address) { larger[slotOf(larger, address)] = address; };
        if (slots_.empty()) {
            std::for_each(few_, few_ + size_, put);
        } else {
            for (void const * const address : slots_)
                if (address != nullptr) put(address);
        }
        slots_.swap(larger);
    }

    void const * few_[few] = {};
    Slots
        slots_;  // empty, or a power of two of them, at most half in use; null where there is none
    std::size_t size_ = 0;
};

#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "QelExport.h"
#include "QelVMem.h"
#include "ZanMutex.h"

// Blocks of memory in the order of a key, which several may share: their size or their address.
// The map owns its blocks and deletes the remaining ones on destruction. Each operation takes time
// logarithmic in their number.
//
// Adding and removing blocks need not allocate: the place of a removed block stays as a spare for
// the next one. Only operations that need a new place can fail.
//
// The map does not lock by itself. Threads that share one hold lock() for each call, or one other
// lock for all calls.
//
// K is std::size_t or void *.
template <class K>
class QelVirtualMemoryMap {
  public:
    QelVirtualMemoryMap();
    QelVirtualMemoryMap(QelVirtualMemoryMap const &) = delete;
    QelVirtualMemoryMap & operator=(QelVirtualMemoryMap const &) = delete;
    ~QelVirtualMemoryMap();

    // Makes one more spare place. False, with no change, when there is no memory for it.
    bool reserve() noexcept;
    // Gives a spare place back, if there is one.
    void dropSpare() noexcept;
    std::size_t spares() const noexcept;

    // Puts a block ahead of those with the same key. Raises std::bad_alloc when there is neither a
    // spare place nor memory for one; the block is then deleted.
    void insert(K key, std::unique_ptr<QelVMem> block) {
        if (front_ || spares_.empty()) makeWay();
        frontKey_ = key;
        front_ = std::move(block);
    }

    // The first block with exactly that key; null when there is none. It leaves the map, and its
    // place becomes spare.
    std::unique_ptr<QelVMem> take(K key) noexcept {
        return front_ && frontKey_ == key ? std::move(front_) : takeFromBlocks(key);
    }

    // The same for the first block whose key is not less.
    std::unique_ptr<QelVMem> takeNotLess(K key) noexcept {
        return front_ && frontKey_ == key ? std::move(front_) : takeFirstNotLess(key);
    }

    std::size_t size() const noexcept;

    ZanMutex & lock() const noexcept { return lock_; }

  private:
    using Blocks = std::multimap<K, std::unique_ptr<QelVMem>>;

    void makeWay();
    std::unique_ptr<QelVMem> takeFromBlocks(K key) noexcept;
    std::unique_ptr<QelVMem> takeFirstNotLess(K key) noexcept;
    bool frontIsFirst(K key, typename Blocks::const_iterator place) const noexcept;
    void moveFrontToBlocks() noexcept;
    std::unique_ptr<QelVMem> takeOut(typename Blocks::iterator place) noexcept;

    // All blocks except the last one inserted, which is in front_: it is most often the next one
    // taken, and then needs no search.
    Blocks blocks_;
    mutable ZanMutex lock_;
    K frontKey_{};
    std::unique_ptr<QelVMem> front_;
    // The spare places and the one that front_ may need. Has room for the places of all blocks, so
    // that one becomes spare without an allocation.
    std::vector<typename Blocks::node_type> spares_;
};

extern template class QEL_API QelVirtualMemoryMap<std::size_t>;
extern template class QEL_API QelVirtualMemoryMap<void *>;

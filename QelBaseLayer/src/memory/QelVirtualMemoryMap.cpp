#include "QelVirtualMemoryMap.h"

#include <new>
#include <utility>

template <class K>
QelVirtualMemoryMap<K>::QelVirtualMemoryMap() = default;

template <class K>
QelVirtualMemoryMap<K>::~QelVirtualMemoryMap() = default;

template <class K>
bool QelVirtualMemoryMap<K>::reserve() noexcept {
    try {
        std::size_t const places = blocks_.size() + spares_.size() + 1;
        if (spares_.capacity() < places) spares_.reserve(2 * places);
        Blocks one;
        spares_.push_back(one.extract(one.emplace(K(), nullptr)));
        return true;
    } catch (std::bad_alloc const &) {
        return false;
    }
}

template <class K>
void QelVirtualMemoryMap<K>::dropSpare() noexcept {
    if (spares() > 0) spares_.pop_back();
}

template <class K>
std::size_t QelVirtualMemoryMap<K>::spares() const noexcept {
    return spares_.size() - (front_ ? 1 : 0);
}

template <class K>
std::size_t QelVirtualMemoryMap<K>::size() const noexcept {
    return blocks_.size() + (front_ ? 1 : 0);
}

// Ahead of a new front: the old one goes to the others, and the new one has a place to go to.
template <class K>
void QelVirtualMemoryMap<K>::makeWay() {
    if (spares() == 0 && !reserve()) throw std::bad_alloc();
    if (front_) moveFrontToBlocks();
}

template <class K>
void QelVirtualMemoryMap<K>::moveFrontToBlocks() noexcept {
    auto place = std::move(spares_.back());
    spares_.pop_back();
    place.key() = frontKey_;
    place.mapped() = std::move(front_);
    // The hint puts it ahead of those with the same key.
    blocks_.insert(blocks_.lower_bound(frontKey_), std::move(place));
}

template <class K>
std::unique_ptr<QelVMem> QelVirtualMemoryMap<K>::takeFromBlocks(K key) noexcept {
    auto const place = blocks_.lower_bound(key);
    return place != blocks_.end() && place->first == key ? takeOut(place) : nullptr;
}

template <class K>
std::unique_ptr<QelVMem> QelVirtualMemoryMap<K>::takeFirstNotLess(K key) noexcept {
    auto const place = blocks_.lower_bound(key);
    if (front_ && frontIsFirst(key, place)) return std::move(front_);
    return place != blocks_.end() ? takeOut(place) : nullptr;
}

// Whether front_ comes ahead of `place`, the first of the others whose key is not less.
template <class K>
bool QelVirtualMemoryMap<K>::frontIsFirst(K key,
                                          typename Blocks::const_iterator place) const noexcept {
    auto const less = blocks_.key_comp();
    if (less(frontKey_, key)) return false;
    return place == blocks_.end() || !less(place->first, frontKey_);
}

template <class K>
std::unique_ptr<QelVMem> QelVirtualMemoryMap<K>::takeOut(typename Blocks::iterator place) noexcept {
    std::unique_ptr<QelVMem> block = std::move(place->second);
    spares_.push_back(blocks_.extract(place));
    return block;
}

template class QelVirtualMemoryMap<std::size_t>;
template class QelVirtualMemoryMap<void *>;

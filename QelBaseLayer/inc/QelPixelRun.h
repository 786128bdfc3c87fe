#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "QelDataType.h"
#include "QelExport.h"

class QelDataOrg;

// An element of type T at any address, aligned or not.
template <class T>
T qelElementAt(std::uint8_t const * address) {
    T value;
    std::memcpy(&value, address, sizeof(T));
    return value;
}
template <class T>
void qelSetElementAt(std::uint8_t * address, T value) {
    std::memcpy(address, &value, sizeof(T));
}

// Elements at equal distances in memory, as the pixel iterators hand them out: a piece of a row
// that lies in one tile, say. A compiler can vectorise a loop over a run. `T` is the element type,
// const for memory that is only read.
//
// A view: valid as long as its iterator stays in the same tile or buffer, or something else holds
// that. Elements may lie at any address, aligned or not.
template <class T>
class QelPixelRun {
  public:
    using Element = std::remove_const_t<T>;
    using Byte = std::conditional_t<std::is_const_v<T>, std::uint8_t const, std::uint8_t>;

    // `step` in bytes, from an element to the next one; may be negative or 0.
    constexpr QelPixelRun(Byte * first, std::int64_t step, std::int64_t size)
        : first_(first), step_(step), size_(size) {}

    // Number of elements.
    std::int64_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::int64_t step() const { return step_; }
    // Address of the first element.
    Byte * address() const { return first_; }
    // Do the elements follow each other without a gap?
    bool isDense() const { return step_ == std::int64_t{sizeof(T)}; }

    // Requires: 0 <= i < size().
    Element operator[](std::int64_t i) const { return qelElementAt<Element>(first_ + i * step_); }
    void set(std::int64_t i, Element value) const requires(!std::is_const_v<T>) {
        qelSetElementAt(first_ + i * step_, value);
    }

    // The `count` elements from number `first` on. Requires: they are elements of this run.
    QelPixelRun part(std::int64_t first, std::int64_t count) const {
        return {first_ + first * step_, step_, count};
    }

    // Calls visit(element) for each, in order, with a separate loop for dense elements.
    template <class Visit>
    void forEach(Visit visit) const {
        if (isDense()) {
            forEachAt<std::int64_t{sizeof(T)}>(visit);
        } else {
            for (std::int64_t i = 0; i < size_; ++i)
                visit((*this)[i]);
        }
    }

    // Calls visit(element, ...) for each `count` elements that follow each other: for the bands of
    // each pixel, in a run over all bands. Requires: size() is a multiple of `count`.
    template <std::size_t count, class Visit>
    void forEachGroup(Visit visit) const {
        auto const together = std::make_index_sequence<count>();
        if (isDense()) {
            forEachGroupAt<std::int64_t{sizeof(T)}>(visit, together);
        } else {
            for (std::int64_t i = 0; i < size_; i += std::int64_t{count})
                visitGroup(visit, first_ + i * step_, step_, together);
        }
    }

    // Replaces each element by change(element), in order.
    template <class Change>
    void transform(Change change) const requires(!std::is_const_v<T>) {
        for (std::int64_t i = 0; i < size_; ++i)
            set(i, change((*this)[i]));
    }

  private:
    template <std::int64_t step, class Visit>
    void forEachAt(Visit & visit) const {
        std::uint8_t const * const first = first_;
        std::int64_t const size = size_;
        for (std::int64_t i = 0; i < size; ++i)
            visit(qelElementAt<Element>(first + i * step));
    }

    template <std::int64_t step, class Visit, std::size_t... i>
    void forEachGroupAt(Visit & visit, std::index_sequence<i...> together) const {
        std::uint8_t const * const first = first_;
        std::int64_t const size = size_;
        for (std::int64_t at = 0; at < size; at += std::int64_t{sizeof...(i)})
            visitGroup(visit, first + at * step, step, together);
    }

    template <class Visit, std::size_t... i>
    static void visitGroup(Visit & visit, std::uint8_t const * first, std::int64_t step,
                           std::index_sequence<i...>) {
        visit(qelElementAt<Element>(first + static_cast<std::int64_t>(i) * step)...);
    }

    Byte * first_;
    std::int64_t step_;
    std::int64_t size_;
};

// Checks for the pixel iterators that all bands of `org` are of `type`: raises wrongPixelFormat
// (119) "An iterator over ", the type's name, " cannot visit pixels of " and the name of the
// organisation's.
QEL_API void qelRequireElementType(QelDataOrg const & org, QelDataType type);

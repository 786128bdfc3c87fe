#include "QelThreadScope.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <utility>

// The scopes of a thread, from the innermost outwards, and a hash table of them. In each bucket the
// inner ones stand ahead of the outer ones: the first that fits is the innermost, and the one that
// ends is the first of its bucket. There is nothing to destroy when the thread ends, so that scopes
// work in the destructors of its other variables, too.
struct QelThreadScopeEntry::Stack {
    static constexpr unsigned leastBits = 6;

    QelThreadScopeEntry * innermost = nullptr;
    QelThreadScopeEntry * outermost = nullptr;
    std::size_t depth = 0;
    unsigned bits = leastBits;
    QelThreadScopeEntry * few[std::size_t{1} << leastBits] = {};  // the buckets of a shallow stack

    QelThreadScopeEntry *& bucket(void const * kind, void const * object) {
        constexpr std::uint64_t golden = 0x9E3779B97F4A7C15;
        std::uint64_t const key =
            reinterpret_cast<std::uintptr_t>(kind) * 31 + reinterpret_cast<std::uintptr_t>(object);
        std::size_t const i = (key * golden) >> (64 - bits);
        return bits == leastBits ? few[i] : outermost->buckets_[i];
    }
    void link(QelThreadScopeEntry & entry) {
        QelThreadScopeEntry *& first = bucket(entry.kind_, entry.object_);
        entry.next_ = first;
        first = &entry;
    }
    void push(QelThreadScopeEntry & entry) {
        if (depth == 0) outermost = &entry;
        innermost = &entry;
        link(entry);
        if (++depth > std::size_t{1} << bits) grow();
    }
    void pop(QelThreadScopeEntry & entry) {
        innermost = entry.outer_;
        bucket(entry.kind_, entry.object_) = entry.next_;
        if (--depth == 0) bits = leastBits;
    }
    void grow();
};

QelThreadScopeEntry::Stack & QelThreadScopeEntry::stackOfThread() noexcept {
    // Where a variable of the thread is costs a call of its own each time, unless there is room for
    // it with those of the program itself: for a pointer there is, for a stack there may not be.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit Stack * known = nullptr;
    static thread_local constinit Stack stack;
    if (known == nullptr) known = &stack;
    return *known;
}

// Four times as many buckets, up to the end of the outermost scope. Without memory for them the
// stack stays as it is, and a search takes longer.
void QelThreadScopeEntry::Stack::grow() {
    std::size_t const count = std::size_t{4} << bits;
    std::unique_ptr<QelThreadScopeEntry *[]> more(new (std::nothrow)
                                                      QelThreadScopeEntry *[count]());
    if (!more) return;
    // Inner ones are linked after outer ones, so the order is reversed first.
    QelThreadScopeEntry * outerFirst = nullptr;
    for (QelThreadScopeEntry * entry = innermost; entry != nullptr; entry = entry->outer_) {
        entry->next_ = outerFirst;
        outerFirst = entry;
    }
    outermost->buckets_ = std::move(more);
    bits += 2;
    std::fill(std::begin(few), std::end(few), nullptr);
    while (outerFirst != nullptr) {
        QelThreadScopeEntry & entry = *outerFirst;
        outerFirst = entry.next_;
        link(entry);
    }
}

QelThreadScopeEntry::QelThreadScopeEntry(void const * kind, void const * object) noexcept
    : stack_(stackOfThread()),
      kind_(kind),
      object_(object),
      outer_(stack_.innermost),
      next_(nullptr) {
    stack_.push(*this);
}

QelThreadScopeEntry::~QelThreadScopeEntry() {
    stack_.pop(*this);
}

QelThreadScopeEntry * QelThreadScopeEntry::find(void const * kind, void const * object) noexcept {
    QelThreadScopeEntry * entry = stackOfThread().bucket(kind, object);
    while (entry != nullptr && (entry->object_ != object || entry->kind_ != kind))
        entry = entry->next_;
    return entry;
}

#include "ZanMadeByNew.h"

#include <mutex>
#include <unordered_set>

#include "ZanImmortal.h"

namespace {

// The memory of all objects that `new` made.
class Blocks {
  public:
    void add(void const * block) {
        std::lock_guard const guard(lock_);
        blocks_.insert(block);
    }
    void remove(void const * block) noexcept {
        std::lock_guard const guard(lock_);
        blocks_.erase(block);
    }
    bool has(void const * block) noexcept {
        std::lock_guard const guard(lock_);
        return blocks_.contains(block);
    }

  private:
    std::mutex lock_;
    std::unordered_set<void const *> blocks_;
};

// Static objects may end after those of this file.
Blocks & blocks() {
    static ZanImmortal<Blocks> all;
    return all.get();
}

template <class GiveBack>
void * added(void * block, GiveBack giveBack) {
    try {
        blocks().add(block);
    } catch (...) {
        giveBack(block);
        throw;
    }
    return block;
}

}  // namespace

void * ZanMadeByNew::operator new(std::size_t size) {
    return added(::operator new(size), [](void * block) { ::operator delete(block); });
}

void * ZanMadeByNew::operator new(std::size_t size, std::align_val_t alignment) {
    return added(::operator new(size, alignment),
                 [alignment](void * block) { ::operator delete(block, alignment); });
}

void * ZanMadeByNew::operator new(std::size_t size, std::nothrow_t const &) noexcept {
    try {
        return operator new(size);
    } catch (...) {
        return nullptr;
    }
}

void ZanMadeByNew::operator delete(void * block) noexcept {
    blocks().remove(block);
    ::operator delete(block);
}

void ZanMadeByNew::operator delete(void * block, std::align_val_t alignment) noexcept {
    blocks().remove(block);
    ::operator delete(block, alignment);
}

void ZanMadeByNew::operator delete(void * block, std::nothrow_t const &) noexcept {
    operator delete(block);
}

bool ZanMadeByNew::isBlock(void const * address) noexcept {
    return blocks().has(address);
}

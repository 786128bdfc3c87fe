#include "QelReleaseQueue.h"

#include <vector>

namespace {

struct Ended {
    void * object;
    void (*destroy)(void *) noexcept;
};

// What inner releases put aside; null while the thread is in none. The vector itself lives in the
// outermost call, so that there is nothing to destroy when a thread ends.
thread_local std::vector<Ended> * waiting = nullptr;

bool putAside(Ended const & ended) noexcept {
    try {
        waiting->push_back(ended);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

void qelDestroyLater(void * object, void (*destroy)(void *) noexcept) noexcept {
    if (waiting != nullptr) {
        if (!putAside({object, destroy})) destroy(object);
        return;
    }
    std::vector<Ended> queue;
    waiting = &queue;
    destroy(object);
    while (!queue.empty()) {
        Ended const next = queue.back();
        queue.pop_back();
        next.destroy(next.object);
    }
    waiting = nullptr;
}

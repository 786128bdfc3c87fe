#include "QelReleaseQueue.h"

#include <vector>

#include "QelThreadScope.h"

namespace {

struct Ended {
    void * object;
    void (*destroy)(void *) noexcept;
};

// The outermost release of a thread, and what inner ones put aside.
class Release : public QelThreadScope<Release> {
  public:
    Release() : QelThreadScope(nullptr) {}

    bool putAside(Ended const & ended) noexcept {
        try {
            waiting_.push_back(ended);
            return true;
        } catch (...) {
            return false;
        }
    }

    void destroyWaiting() noexcept {
        while (!waiting_.empty()) {
            Ended const next = waiting_.back();
            waiting_.pop_back();
            next.destroy(next.object);
        }
    }

  private:
    std::vector<Ended> waiting_;
};

}  // namespace

void qelDestroyLater(void * object, void (*destroy)(void *) noexcept) noexcept {
    Release * const outermost = Release::innermost(nullptr);
    if (outermost != nullptr) {
        if (!outermost->putAside({object, destroy})) destroy(object);
        return;
    }
    Release release;
    destroy(object);
    release.destroyWaiting();
}

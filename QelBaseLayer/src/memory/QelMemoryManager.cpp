#include "QelMemoryManager.h"

#include <atomic>
#include <exception>
#include <string>

#include "QelError.h"

namespace {

constinit std::atomic<QelMemoryManager *> defaultManager{nullptr};

}  // namespace

QelMemoryManager::~QelMemoryManager() noexcept(false) {
    QelMemoryManager * self = this;
    defaultManager.compare_exchange_strong(self, nullptr, std::memory_order_acq_rel);
    if (outstanding_ == 0 || std::uncaught_exceptions() > 0) return;
    // Clients know the number as a character, not in digits.
    std::string const number(1, static_cast<char>(outstanding_ & 0xff));
    qelRaise(QelErrorCode::memoryLeak,
             number + " buffers still remaining that were allocated with this manager");
}

void QelMemoryManager::setDefaultManager(QelMemoryManager * manager) {
    // Buffers and callers hold temporary references, which otherwise delete it.
    if (manager != nullptr && manager->refCount() == 0) manager->pinRef();
    defaultManager.store(manager, std::memory_order_release);
}

MoxSmartPtr<QelMemoryManager> QelMemoryManager::getDefaultManager() {
    return defaultManager.load(std::memory_order_acquire);
}

void QelMemoryManager::clearDefaultManager() {
    setDefaultManager(nullptr);
}

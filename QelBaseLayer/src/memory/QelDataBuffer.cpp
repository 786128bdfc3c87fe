#include "QelDataBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "QelErrorFrames.h"
#include "QelOutput.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"
#include "ZanSystem.h"

namespace {

std::int64_t checkedSize(std::int64_t size) {
    if (size < 0)
        qelRaise(QelErrorCode::invalidValue,
                 "A data buffer of " + std::to_string(size) + " bytes is impossible");
    return size;
}

// Counts memory that a buffer took up. `allocations` is 0 for memory that was there already.
void count(std::int64_t bytes, std::int64_t allocations) {
    ZanLock const guard(QelSystemConfig::statsLock);
    QelSystemConfig::currentBytes += bytes;
    QelSystemConfig::peakBytes =
        std::max(QelSystemConfig::peakBytes, QelSystemConfig::currentBytes);
    QelSystemConfig::allocationCount += allocations;
    ++QelSystemConfig::liveBlocks;
}

void uncount(std::int64_t bytes) {
    ZanLock const guard(QelSystemConfig::statsLock);
    QelSystemConfig::currentBytes -= bytes;
    --QelSystemConfig::liveBlocks;
}

void * obtain(QelMemoryManager * manager, std::int64_t size) {
    auto const bytes = static_cast<std::size_t>(size);
    void * const memory =
        manager != nullptr ? manager->allocate(bytes) : ZanSystem::current().allocate(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void giveBack(QelMemoryManager * manager, void * memory) {
    if (manager == nullptr || !manager->free(memory)) ZanSystem::current().release(memory);
}

void writeTrace(char const * what, QelDataBuffer const & buffer) {
    QelTextStream line;
    line << "QelRectBuffer " << what << " buffer " << static_cast<void const *>(buffer.data())
         << ' ' << buffer.size() << ' ' << static_cast<void const *>(&buffer) << '\n';
    QelOutput::write(line.str());
}

void trace(char const * what, QelDataBuffer const & buffer) noexcept {
    if (!QelSystemConfig::traces(QelSystemConfig::traceActivity)) return;
    try {
        writeTrace(what, buffer);
    } catch (...) {
        // A line that cannot be written is no reason to keep memory, or to do without.
    }
}

// For destructors: reports what went wrong if that is possible.
template <class Step>
void tellFailureOf(Step step) noexcept {
    try {
        try {
            step();
        } catch (std::exception const & error) {
            QelOutput::write(std::string(error.what()) + '\n');
        }
    } catch (...) {
        // The remark itself failed, or a manager raised an unknown exception.
    }
}

}  // namespace

QelDataBuffer::QelDataBuffer(std::int64_t size, bool ownsData)
    : ownsData_(ownsData),
      size_(checkedSize(size)),
      manager_(QelMemoryManager::getDefaultManager()) {}

QelDataBuffer::QelDataBuffer(std::int64_t size, bool ownsData, void * memory)
    : data_(static_cast<std::uint8_t *>(memory)), ownsData_(ownsData), size_(checkedSize(size)) {
    if (memory == nullptr) manager_ = QelMemoryManager::getDefaultManager();
    countWrapped();
}

QelDataBuffer::QelDataBuffer(std::int64_t size, bool ownsData, void * memory,
                             QelMemoryManager * manager)
    : data_(static_cast<std::uint8_t *>(memory)),
      ownsData_(ownsData),
      size_(checkedSize(size)),
      manager_(manager) {
    countWrapped();
}

QelDataBuffer::QelDataBuffer(std::int64_t size, QelMemoryManager * manager)
    : ownsData_(true), size_(checkedSize(size)), manager_(manager) {}

QelDataBuffer::~QelDataBuffer() {
    // It may run while an exception is on its way to a frame that reports the system's last error.
    int const lastError = errno;
    tellFailureOf([this] { QelDataBuffer::deallocate(); });
    // A manager that goes with its last buffer may raise as well.
    tellFailureOf([this] { manager_.release(); });
    errno = lastError;
}

void QelDataBuffer::countWrapped() {
    if (data() == nullptr || !ownsData_ || size_ == 0) return;
    count(size_, 0);
    counted_ = true;
}

// The right to allocate, for one thread at a time. Those that wait leave the processor to the one
// that works.
class QelDataBuffer::Turn {
  public:
    explicit Turn(std::atomic_flag & taken) : taken_(taken) {
        while (taken_.test_and_set(std::memory_order_acquire))
            taken_.wait(true, std::memory_order_relaxed);
    }
    Turn(Turn const &) = delete;
    Turn & operator=(Turn const &) = delete;
    ~Turn() {
        taken_.clear(std::memory_order_release);
        taken_.notify_all();
    }

  private:
    std::atomic_flag & taken_;
};

void QelDataBuffer::allocate() {
    if (data() != nullptr) return;
    Turn const turn(allocating_);
    if (data() != nullptr) return;
    obtainMemory();
    trace("ALLOCATING", *this);
}

void QelDataBuffer::obtainMemory() {
    errno = 0;
    try {
        auto * const memory = static_cast<std::uint8_t *>(obtain(manager_, size_));
        count(size_, 1);
        allocatedHere_ = counted_ = true;
        data_.store(memory, std::memory_order_release);
    } catch (...) {
        qelRaiseSystemFrame("\nUnknown exception allocating data buffer");
    }
}

void QelDataBuffer::deallocate() {
    if (!ownsData_ && !allocatedHere_) {
        data_.store(nullptr, std::memory_order_relaxed);
        return;
    }
    errno = 0;
    try {
        trace("FREEING", *this);
        if (data() != nullptr) free();
    } catch (ZanError const &) {
        throw;
    } catch (...) {
        qelRaiseSystemFrame("\nUnrecognized exception caught in QelDataBuffer::deallocate() ");
    }
}

void QelDataBuffer::free() {
    // The buffer forgets the memory first: should the manager raise, nothing is freed or counted
    // a second time.
    void * const memory = data_.exchange(nullptr, std::memory_order_relaxed);
    allocatedHere_ = false;
    if (std::exchange(counted_, false)) uncount(size_);
    giveBack(manager_, memory);
}

void QelDataBuffer::copyFrom(QelDataBuffer const & source) {
    if (size_ > source.size_) qelRaise(QelErrorCode::misuse, "Source buffer is too small");
    allocate();
    std::uint8_t const * const from = source.data();
    if (from == nullptr) return;
    // Two buffers may wrap the same memory.
    std::memmove(data(), from, static_cast<std::size_t>(size_));
}

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "HeapManager.h"
#include "QelDataBuffer.h"
#include "QelRectBuffer.h"
#include "QelSystemConfig.h"
#include "ThreadTesting.h"
#include "ZanError.h"

// Several threads that read one buffer give it its memory together.

namespace {

class QelDataBufferThreadTest : public testing::Test {
  protected:
    // Long enough for others to come by while one allocates.
    static void linger() { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }

    // What each thread got.
    template <class Read>
    static std::vector<void const *> readByAll(Read const & read) {
        StartLine start;
        std::vector<void const *> addresses(threadCount);
        runThreads([&](std::uint32_t thread) {
            start.await();
            addresses[thread] = read();
        });
        return addresses;
    }

    static std::size_t differentOnes(std::vector<void const *> const & addresses) {
        return std::set<void const *>(addresses.begin(), addresses.end()).size();
    }

    MoxSmartPtr<HeapManager> manager_{new HeapManager};
};

TEST_F(QelDataBufferThreadTest, MemoryIsAllocatedOnce) {
    auto const blocks = QelSystemConfig::liveBlocks;
    manager_->onAllocate = [] { linger(); };
    for (int round = 1; round <= 10; ++round) {
        QelDataBuffer buffer(100, manager_);
        auto const addresses = readByAll([&buffer] {
            buffer.allocate();
            return buffer.data();
        });
        EXPECT_EQ(1U, differentOnes(addresses));
        EXPECT_EQ(buffer.data(), addresses.front());
        EXPECT_EQ(round, manager_->allocations());
        EXPECT_EQ(blocks + 1, QelSystemConfig::liveBlocks);
    }
    EXPECT_EQ(blocks, QelSystemConfig::liveBlocks);
    EXPECT_EQ(0, manager_->outstanding());
}

TEST_F(QelDataBufferThreadTest, ReadersOfOneConstRectBufferSeeOneMemory) {
    QelMemoryManager::setDefaultManager(manager_);
    manager_->onAllocate = [] { linger(); };
    MoxConstSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(20, 10, 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    MoxConstSmartPtr<QelRectBuffer> const view = buffer->subBuffer(QelRect(0, 0, 5, 5));
    QelMemoryManager::clearDefaultManager();
    std::atomic<int> turn{0};
    auto const addresses = readByAll([&] { return (turn++ % 2 == 0 ? buffer : view)->getData(); });
    EXPECT_EQ(1U, differentOnes(addresses));
    EXPECT_EQ(1, manager_->allocations());
}

TEST_F(QelDataBufferThreadTest, WhenAnAllocationFailsTheNextThreadTries) {
    std::atomic<int> tries{0};
    manager_->onAllocate = [&tries] {
        linger();
        if (++tries <= 3) throw std::runtime_error("not yet");
    };
    std::atomic<int> failures{0};
    QelDataBuffer buffer(100, manager_);
    readByAll([&] {
        try {
            buffer.allocate();
        } catch (ZanError const &) {
            ++failures;
        }
        return buffer.data();
    });
    EXPECT_EQ(3, failures);
    EXPECT_EQ(4, tries);
    EXPECT_NE(nullptr, buffer.data());
}

}  // namespace

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "FaultySystem.h"
#include "ImageTesting.h"
#include "OutputCapture.h"
#include "QelDataBuffer.h"
#include "QelVirtualMemoryManager.h"
#include "ThreadTesting.h"

// Buffers and images whose memory is that of the manager.

namespace {

using Counters = QelVirtualMemoryManager::Counters;

char const * const noBuffer = "\nUnknown exception allocating data buffer";

class QelVirtualMemoryManagerRenderTest : public testing::Test {
  protected:
    QelVirtualMemoryManagerRenderTest() { QelMemoryManager::setDefaultManager(manager_); }
    ~QelVirtualMemoryManagerRenderTest() override {
        QelMemoryManager::clearDefaultManager();
        EXPECT_EQ(0, manager_->outstanding());
        EXPECT_NO_THROW(manager_.release());
        EXPECT_EQ(0U, system_.liveMappings());
        EXPECT_EQ(0U, system_.liveAllocations());
        EXPECT_EQ(0U, system_.foreignReleases());
    }

    // A source and an op on it, 3 by 2 tiles of 128 by 128.
    static MoxSmartPtr<Qel2DImage> inverted() {
        return imageOf(
            new InvertOp(imageOf(new GradientOp(TestImage{.width = 300, .height = 200}))));
    }
    static double picture(std::int32_t x, std::int32_t y, int band) {
        return 255 - gradientAt(x, y, band);
    }
    static void expectTile(Qel2DImage & image, std::int32_t column, std::int32_t row) {
        MoxSmartPtr<QelTile> const tile = image.getTile(column, row);
        EXPECT_TRUE(showsPixels(*tile, tile->rect(), picture)) << column << ',' << row;
    }
    // From now on neither system nor heap has pixels to give.
    void exhaust() {
        system_.failMemoryFrom(FaultySystem::MAP, 1, ENOMEM);
        system_.failAllocationsFrom(1);
    }
    static std::string noMemory(std::string const & sentence) {
        return sentence + "System error code = " + std::to_string(ENOMEM) +
               "\nSystem error string = " + std::strerror(ENOMEM);
    }

    FaultySystem system_;
    MoxSmartPtr<QelVirtualMemoryManager> manager_{new QelVirtualMemoryManager(4 << 20)};
};

TEST_F(QelVirtualMemoryManagerRenderTest, TilesThatComeAndGoUseTheSameFewBlocks) {
    MoxSmartPtr<Qel2DImage> const image = inverted();
    for (int round = 0; round < 20; ++round) {
        for (std::int32_t row = 0; row < 2; ++row) {
            for (std::int32_t column = 0; column < 3; ++column)
                expectTile(*image, column, row);
        }
    }
    Counters const counters = manager_->counters();
    EXPECT_EQ(0, counters.outstanding);
    EXPECT_GE(3U, counters.blocksMade);
    EXPECT_LE(20U * 6 - 3, counters.blocksReused);
    EXPECT_EQ(counters.blocksMade, system_.memoryCalls(FaultySystem::MAP));
    EXPECT_EQ(0U, system_.memoryCalls(FaultySystem::UNMAP));
}

TEST_F(QelVirtualMemoryManagerRenderTest, EightThreadsRenderFromRecycledMemory) {
    MoxSmartPtr<Qel2DImage> const image = inverted();
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        for (std::uint32_t i = 0; i < 12; ++i) {
            std::uint32_t const tile = (i + thread) % 6;
            expectTile(*image, static_cast<std::int32_t>(tile % 3),
                       static_cast<std::int32_t>(tile / 3));
        }
    });
    EXPECT_EQ(0U, manager_->usedBytes());
    EXPECT_LT(0U, manager_->counters().blocksReused);
}

// A manager that would end ahead of a buffer's return would free blocks in use, and say so.
TEST_F(QelVirtualMemoryManagerRenderTest, TheManagerEndsWithTheLastBufferOfEightThreads) {
    OutputCapture const output;
    for (int round = 0; round < 20; ++round) {
        MoxSmartPtr<QelMemoryManager> manager(new QelVirtualMemoryManager(4 << 20));
        std::vector<MoxSmartPtr<QelDataBuffer>> buffers;
        for (std::uint32_t i = 0; i < threadCount; ++i) {
            buffers.push_back(new QelDataBuffer(49152, manager));
            buffers.back()->allocate();
        }
        manager.release();
        EXPECT_EQ(threadCount, system_.liveMappings());
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            start.await();
            buffers[thread].release();
        });
        ASSERT_EQ(0U, system_.liveMappings()) << "round " << round;
    }
    EXPECT_EQ("", output.text());
}

TEST_F(QelVirtualMemoryManagerRenderTest, WithoutMemoryABufferRaises10AndNoCounterChanges) {
    Counters const before = manager_->counters();
    exhaust();
    for (std::int64_t const size : {100, 100000}) {
        SCOPED_TRACE(size);
        QelDataBuffer buffer(size);
        std::optional<ZanError> const error = errorOf([&] { buffer.allocate(); });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
        EXPECT_STREQ("QEL", error->getComponent());
        EXPECT_EQ(noMemory(noBuffer), error->getMsg());
        EXPECT_EQ(nullptr, buffer.data());
        EXPECT_EQ(before, manager_->counters());
    }
}

TEST_F(QelVirtualMemoryManagerRenderTest, WithoutMemoryARenderFailsAndWithItGoesOn) {
    MoxSmartPtr<Qel2DImage> const image = inverted();
    Counters const before = manager_->counters();
    exhaust();
    std::optional<ZanError> const error = errorOf([&] { image->getTile(1, 1); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_EQ(noMemory("Failed to allocate a memory buffer of size 49152 bytes"), error->getMsg());
    EXPECT_EQ(before, manager_->counters());
    system_.failMemory(FaultySystem::MAP, 0, 0);
    system_.failAllocation(0);
    expectTile(*image, 1, 1);
}

TEST_F(QelVirtualMemoryManagerRenderTest, ASizeThatNoPagesCanHoldRaises10) {
    QelDataBuffer buffer(std::numeric_limits<std::int64_t>::max());
    std::optional<ZanError> const error = errorOf([&] { buffer.allocate(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(noMemory(noBuffer), error->getMsg());
    EXPECT_EQ(Counters{.limit = 4 << 20}, manager_->counters());
}

TEST_F(QelVirtualMemoryManagerRenderTest, MemoryOfTheHeapInABufferOfTheManagerGoesToTheHeap) {
    void * const memory = ZanSystem::current().allocate(100000);
    { QelDataBuffer const buffer(100000, true, memory, manager_); }
    EXPECT_EQ(1U, system_.releases());
    EXPECT_EQ(0U, system_.liveAllocations());
}

TEST_F(QelVirtualMemoryManagerRenderTest, ABufferKeepsTheManagerItWasMadeWith) {
    QelDataBuffer buffer(100000);
    QelMemoryManager::clearDefaultManager();
    buffer.allocate();
    EXPECT_EQ(1, manager_->outstanding());
    QelDataBuffer other(100000);
    other.allocate();
    EXPECT_EQ(1, manager_->outstanding());
    EXPECT_EQ(100000U, system_.liveBytes());
}

}  // namespace

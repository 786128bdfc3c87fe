#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <thread>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "ThreadTesting.h"

// Containers that create tiles: others wait for them without work, and what would wait for itself
// is told.

namespace {

std::string refusalAt(std::int32_t x) {
    return "The container asks for tile (" + std::to_string(x) + ",0) while it creates that tile";
}

// The processor time that the calling thread has used.
std::chrono::nanoseconds timeOfThread() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

class Qel2DImageMakingThreadTest : public testing::Test {
  protected:
    using Create = std::function<void(std::int32_t x)>;

    // Runs ahead of the creation of each tile.
    void whileCreating(Create ask) {
        auto const create = MockContainer().onCreateTile;
        container.onCreateTile = [ask = std::move(ask), create](Qel2DImage * of, std::int32_t x,
                                                                std::int32_t y) {
            ask(x);
            return create(of, x, y);
        };
    }
    void TearDown() override { EXPECT_EQ("", output_.text()); }

    void expectAllWell() {
        whileCreating([](std::int32_t) {});
        for (std::int32_t x = 0; x < image->tilesAcross(); ++x)
            EXPECT_NE(nullptr, image->createTile(x, 0));
    }

    MockContainer container;
    MoxSmartPtr<Qel2DImage> image =
        imageWithoutOp({.width = 160, .height = 16, .tileWidth = 16, .tileHeight = 16}, &container);
    OutputCapture output_;
};

}  // namespace

TEST_F(Qel2DImageMakingThreadTest, AskingForTheTileThatIsBeingCreatedIsRefused) {
    whileCreating([this](std::int32_t x) { image->createTile(x, 0); });
    expectRaises(QelErrorCode::misuse, refusalAt(3), [this] { image->createTile(3, 0); });
    whileCreating([this](std::int32_t x) { image->getTile(x, 0); });
    expectRaises(QelErrorCode::misuse, refusalAt(2), [this] { image->getTile(2, 0); });
    expectRaises(QelErrorCode::misuse, refusalAt(4),
                 [this] { image->getData(QelRect(65, 1, 5, 5), false); });
    expectAllWell();
}

TEST_F(Qel2DImageMakingThreadTest, TheContainerMayLookForTheTile) {
    whileCreating([this](std::int32_t x) { EXPECT_EQ(nullptr, image->findTile(x, 0)); });
    EXPECT_NE(nullptr, image->createTile(3, 0));
}

TEST_F(Qel2DImageMakingThreadTest, AskingForOthersIsFineUntilTheyAskBack) {
    whileCreating([this](std::int32_t x) {
        if (x < 5) image->createTile(x + 1, 0);
    });
    EXPECT_NE(nullptr, image->createTile(0, 0));
    EXPECT_EQ(6, container.count("createTile"));
    whileCreating([this](std::int32_t x) { image->createTile((x + 1) % 3, 0); });
    expectRaises(QelErrorCode::misuse, refusalAt(0), [this] { image->createTile(0, 0); });
    expectAllWell();
}

TEST_F(Qel2DImageMakingThreadTest, TwoThreadsWhoseCreationsNeedEachOther) {
    for (int round = 0; round < 20; ++round) {
        StartLine both(2);
        std::atomic<int> first{2};
        whileCreating([&](std::int32_t x) {
            if (first-- > 0) both.await();
            image->createTile(1 - x, 0);
        });
        std::atomic<int> refused{0};
        runThreads(
            [&](std::uint32_t thread) {
                auto const error =
                    errorOf([&] { image->createTile(static_cast<std::int32_t>(thread), 0); });
                if (error && error->getErrcode() == QelErrorCode::misuse) ++refused;
            },
            2);
        EXPECT_EQ(2, refused);
        expectAllWell();
    }
}

// A thread creates a tile that needs the pixels of another one, whose computation needs the first.
TEST_F(Qel2DImageMakingThreadTest, CreationsAndComputationsThatNeedEachOther) {
    StartLine both(2);
    std::atomic<int> first{2};
    auto const meet = [&] {
        if (first-- > 0) both.await();
    };
    whileCreating([&](std::int32_t x) {
        if (x != 0) return;
        meet();
        image->getTile(1, 0);
    });
    container.onComputeTile = [&](QelTile *) {
        meet();
        image->createTile(0, 0);
    };
    std::atomic<int> refused{0};
    runThreads(
        [&](std::uint32_t thread) {
            auto const error =
                errorOf([&] { image->getTile(static_cast<std::int32_t>(thread), 0); });
            if (error && error->getErrcode() == QelErrorCode::misuse) ++refused;
        },
        2);
    EXPECT_EQ(2, refused);
    expectAllWell();
}

TEST_F(Qel2DImageMakingThreadTest, AFailedCreationWakesThoseWhoWait) {
    StartLine start;
    std::atomic<int> creations{0};
    std::atomic<int> failures{0};
    image->setCacheTiles(true);
    whileCreating([&](std::int32_t) {
        std::this_thread::yield();
        if (++creations <= 3) throw ZanError("Test", 77, __FILE__, __LINE__);
    });
    runThreads([&](std::uint32_t) {
        start.await();
        try {
            EXPECT_NE(nullptr, image->createTile(4, 0));
        } catch (ZanError const & error) {
            EXPECT_EQ(77, error.getErrcode());
            ++failures;
        }
    });
    EXPECT_EQ(3, failures);
    EXPECT_EQ(4, creations);
}

TEST_F(Qel2DImageMakingThreadTest, WaitingForACreationTakesNoProcessorTime) {
    StartLine creating(2);
    whileCreating([&](std::int32_t) {
        creating.await();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    });
    image->setCacheTiles(true);
    runThreads(
        [&](std::uint32_t thread) {
            if (thread == 0) {
                image->createTile(0, 0);
                return;
            }
            creating.await();
            auto const before = timeOfThread();
            EXPECT_NE(nullptr, image->createTile(0, 0));
            EXPECT_LT((timeOfThread() - before) / std::chrono::milliseconds(1), 50);
        },
        2);
    EXPECT_EQ(1, container.count("createTile"));
}

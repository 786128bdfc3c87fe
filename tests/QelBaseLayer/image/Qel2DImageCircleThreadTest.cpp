#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "ThreadTesting.h"

// Tiles that wait for tiles: circles are told, errors wake those who wait.

namespace {

std::string circleAt(std::int32_t x) {
    return "The computation of tile (" + std::to_string(x) + ",0) needs that tile itself";
}

// An image of one row of tiles in which each tile needs another one, until the needs are dropped.
class Qel2DImageCircleThreadTest : public testing::Test {
  protected:
    void SetUp() override {
        TileLimits const limits(16, 16);
        image = imageOf(new HookedOp({.width = 160, .height = 16}, [this](QelRectBuffer * buffer) {
            if (onCompute) onCompute(buffer->rect().x / 16);
        }));
    }
    void TearDown() override { EXPECT_EQ("", output_.text()); }

    void expectAllWell() {
        onCompute = nullptr;
        EXPECT_FALSE(image->computing());
        QelRect const whole = image->imageRect();
        MoxSmartPtr<QelRectBuffer> const data = image->getData(whole, true);
        EXPECT_TRUE(showsPixels(*data, whole, gradientAt));
        for (std::int32_t x = 0; x < image->tilesAcross(); ++x)
            EXPECT_TRUE(image->getTile(x, 0)->isState(QelRenderedItem::complete));
    }

    // Each of `count` threads computes a tile that needs the next one's. All get the same error:
    // whoever closes the circle is told of the tile that he may not wait for, and those who
    // waited for him find the same when they try themselves.
    void expectCircleOf(std::uint32_t count) {
        image->setCacheTiles(true);
        StartLine allComputing(count);
        std::vector<std::atomic<int>> computes(count);
        onCompute = [&](std::int32_t x) {
            if (computes[static_cast<std::size_t>(x)]++ == 0) allComputing.await();
            image->getTile((x + 1) % static_cast<std::int32_t>(count), 0);
        };
        std::vector<std::string> texts(count);
        runThreads(
            [&](std::uint32_t thread) {
                auto const error =
                    errorOf([&] { image->getTile(static_cast<std::int32_t>(thread), 0); });
                if (!error) return;
                EXPECT_EQ(QelErrorCode::misuse, error->getErrcode());
                texts[thread] = error->getMsg();
            },
            count);
        std::set<std::string> possible;
        for (std::uint32_t x = 0; x < count; ++x)
            possible.insert("QEL error 3\n" + circleAt(static_cast<std::int32_t>(x)));
        for (std::string const & text : texts)
            EXPECT_EQ(1U, possible.count(text)) << text;
    }

    std::function<void(std::int32_t x)> onCompute;
    MoxSmartPtr<Qel2DImage> image;
    OutputCapture output_;
};

}  // namespace

TEST_F(Qel2DImageCircleThreadTest, OneThreadThatNeedsTheTileItComputes) {
    onCompute = [this](std::int32_t x) { image->getTile(x, 0); };
    expectRaises(QelErrorCode::misuse, circleAt(2), [this] { image->getTile(2, 0); });
    expectRaises(QelErrorCode::misuse, circleAt(2),
                 [this] { image->getData(QelRect(33, 1, 5, 5), false); });
    expectAllWell();
}

TEST_F(Qel2DImageCircleThreadTest, OneThreadWhoseTilesNeedEachOther) {
    onCompute = [this](std::int32_t x) { image->getTile((x + 1) % 5, 0); };
    expectRaises(QelErrorCode::misuse, circleAt(2), [this] { image->getTile(2, 0); });
    expectAllWell();
}

TEST_F(Qel2DImageCircleThreadTest, TwoThreadsWhoseTilesNeedEachOther) {
    for (int round = 0; round < 20; ++round) {
        SetUp();
        expectCircleOf(2);
        expectAllWell();
    }
}

TEST_F(Qel2DImageCircleThreadTest, EightThreadsInACircle) {
    for (int round = 0; round < 5; ++round) {
        SetUp();
        expectCircleOf(8);
        expectAllWell();
    }
}

TEST_F(Qel2DImageCircleThreadTest, CirclesThroughTwoImages) {
    TileLimits const limits(16, 16);
    TestImage const report{.width = 160, .height = 16};
    MoxSmartPtr<HookedOp> const op = new HookedOp(report);
    MoxSmartPtr<Qel2DImage> const other = imageOf(op);
    StartLine both(2);
    std::atomic<int> first{2};
    auto const needs = [&](Qel2DImage & needed) {
        if (first-- > 0) both.await();
        needed.getTile(0, 0);
    };
    op->onCompute = [&](QelRectBuffer *) { needs(*image); };
    onCompute = [&](std::int32_t) { needs(*other); };
    image->setCacheTiles(true);
    other->setCacheTiles(true);
    runThreads(
        [&](std::uint32_t thread) {
            expectRaises(QelErrorCode::misuse, circleAt(0),
                         [&] { (thread == 0 ? *image : *other).getTile(0, 0); });
        },
        2);
    op->onCompute = nullptr;
    expectAllWell();
}

TEST_F(Qel2DImageCircleThreadTest, ALongChainOfWaitingThreadsIsNoCircle) {
    image->setCacheTiles(true);
    std::atomic<int> computes{0};
    onCompute = [&](std::int32_t x) {
        ++computes;
        std::this_thread::yield();
        if (x < 9) image->getTile(x + 1, 0);
    };
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        image->getTile(static_cast<std::int32_t>(thread), 0);
    });
    EXPECT_EQ(10, computes);
    expectAllWell();
}

TEST_F(Qel2DImageCircleThreadTest, AFailedComputeWakesThoseWhoWaitAndTheyTryThemselves) {
    for (int round = 0; round < 20; ++round) {
        SetUp();
        image->setCacheTiles(true);
        StartLine start;
        std::atomic<int> computes{0};
        std::atomic<int> failures{0};
        onCompute = [&](std::int32_t) {
            std::this_thread::yield();
            if (++computes <= 3) throw std::runtime_error("not yet");
        };
        runThreads([&](std::uint32_t) {
            start.await();
            try {
                MoxSmartPtr<QelTile> const tile = image->getTile(4, 0);
                EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
            } catch (ZanError const & error) {
                EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
                ++failures;
            }
        });
        EXPECT_EQ(3, failures);
        EXPECT_EQ(4, computes);
        expectAllWell();
    }
}

TEST_F(Qel2DImageCircleThreadTest, ComputingIsAMatterOfEachThread) {
    StartLine inside(2);
    StartLine checked(2);
    onCompute = [&](std::int32_t) {
        EXPECT_TRUE(image->computing());
        inside.await();
        checked.await();
    };
    runThreads(
        [&](std::uint32_t thread) {
            if (thread == 0) {
                QelRect const rect(1, 1, 5, 5);
                image->fillRWBuffer(paintedBuffer(image->dataOrg(), rect), false);
            } else {
                inside.await();
                EXPECT_FALSE(image->computing());
                checked.await();
            }
            EXPECT_FALSE(image->computing());
        },
        2);
}

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "ThreadTesting.h"

// Eight threads that use one image at a time.

namespace {

// Adds up the element to the left and the one itself, and so reads tiles that nobody declared.
class NeighbourOp : public QelImageOp {
  public:
    explicit NeighbourOp(MoxSmartPtr<Qel2DImage> input) : input_(std::move(input)) {}

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        return imageOutputInfo(input_, info);
    }
    void compute(QelRectBuffer * buffer, QelOpContext) override {
        QelRect const rect = buffer->rect().intersect(input_->imageRect());
        MoxSmartPtr<QelRectBuffer> const source =
            input_->getData(QelRect(rect.x - 1, rect.y, rect.width + 1, rect.height), true);
        fillPixels(*buffer, rect, [&source](std::int32_t x, std::int32_t y, int band) {
            return elementAt(*source, x - 1, y, band) + elementAt(*source, x, y, band);
        });
    }
    static double picture(std::int32_t x, std::int32_t y, int band) {
        return (x > 0 ? gradientAt(x - 1, y, band) : 0) + gradientAt(x, y, band);
    }

  private:
    MoxSmartPtr<Qel2DImage> input_;
};

class Qel2DImageThreadTest : public testing::TestWithParam<bool> {
  protected:
    void TearDown() override {
        EXPECT_EQ("", output_.text());
        EXPECT_EQ(bytes_, QelSystemConfig::currentBytes);
        EXPECT_EQ(blocks_, QelSystemConfig::liveBlocks);
    }

    // 7 by 6 tiles of 16 by 16, cached or not.
    MoxSmartPtr<Qel2DImage> imageFor(MoxSmartPtr<QelImageOp> const & op) const {
        TileLimits const limits(16, 16);
        MoxSmartPtr<Qel2DImage> const image = imageOf(op);
        image->setCacheTiles(GetParam());
        return image;
    }

    static constexpr std::uint32_t seed = 4711;
    TestImage const report{.width = 100, .height = 90};
    OutputCapture output_;
    std::int64_t const bytes_ = QelSystemConfig::currentBytes;
    std::int64_t const blocks_ = QelSystemConfig::liveBlocks;
};

// Positions of all tiles, in an order of the thread's own.
std::vector<std::int32_t> shuffledTiles(Qel2DImage const & image, std::uint32_t seed) {
    std::vector<std::int32_t> order(
        static_cast<std::size_t>(image.tilesAcross() * image.tilesDown()));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    return order;
}

void expectTile(MoxSmartPtr<QelTile> const & tile, PixelFunction const & picture) {
    ASSERT_TRUE(tile);
    ASSERT_TRUE(tile->isState(QelRenderedItem::complete));
    ASSERT_TRUE(showsPixels(*tile, tile->rect(), picture));
}

// One request of any kind for a random rectangle, often a whole tile.
void requestSomething(Qel2DImage & image, std::mt19937 & random, PixelFunction const & picture) {
    auto const from = [&random](std::int32_t least, std::int32_t most) {
        return std::uniform_int_distribution<std::int32_t>(least, most)(random);
    };
    QelRect rect(from(-5, 100), from(-5, 90), from(1, 40), from(1, 40));
    if (from(0, 1) == 0) {
        rect = image.dataOrg()->tileRect(from(0, image.tilesAcross() - 1),
                                         from(0, image.tilesDown() - 1));
    }
    QelRect const inside = rect.intersect(image.imageRect());
    MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(image.dataOrg(), rect);
    int const kind = from(0, 3);
    if (kind == 0) {
        ASSERT_TRUE(image.fillRWBuffer(buffer, true));
    } else if (kind == 1) {
        image.shareBuffer(buffer, rect, true);
    } else if (MoxSmartPtr<QelRectBuffer> const data = image.getData(rect, kind == 2)) {
        ASSERT_TRUE(showsPixels(*data, inside, picture));
    }
    if (kind < 2 && !inside.isEmpty()) {
        ASSERT_TRUE(showsPixels(*buffer, inside, picture));
    }
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Caching, Qel2DImageThreadTest, testing::Bool(), [](auto const & row) {
    return std::string(row.param ? "Cached" : "Uncached");
});

TEST_P(Qel2DImageThreadTest, AskForRandomTiles) {
    MoxSmartPtr<CountingOp> const op = countingOp(report);
    MoxSmartPtr<Qel2DImage> const image = imageFor(op);
    runThreads([&](std::uint32_t thread) {
        for (std::int32_t const tile : shuffledTiles(*image, seed + thread)) {
            expectTile(image->getTile(tile % image->tilesAcross(), tile / image->tilesAcross()),
                       gradientAt);
        }
    });
    EXPECT_EQ(op->computes(), image->statistics().tilesComputed);
    if (GetParam()) {
        EXPECT_EQ(42, op->computes());
    } else {
        EXPECT_LE(42, op->computes());
    }
}

TEST_P(Qel2DImageThreadTest, AskForRandomRectanglesOfAChain) {
    std::cout << "seed " << seed << '\n';
    MoxSmartPtr<Qel2DImage> const source = imageFor(new GradientOp(report));
    MoxSmartPtr<Qel2DImage> const inverted = imageFor(new InvertOp(source));
    MoxSmartPtr<Qel2DImage> const image = imageFor(new AddOp(inverted, -100));
    runThreads([&](std::uint32_t thread) {
        std::mt19937 random(seed + thread);
        for (int i = 0; i < 60; ++i) {
            ASSERT_NO_FATAL_FAILURE(
                requestSomething(*image, random, [](std::int32_t x, std::int32_t y, int band) {
                    return 155 - gradientAt(x, y, band);
                }));
            ASSERT_NO_FATAL_FAILURE(requestSomething(*source, random, gradientAt));
        }
    });
    EXPECT_FALSE(image->computing());
}

TEST_P(Qel2DImageThreadTest, ReadTilesThatWereNeverDeclared) {
    MoxSmartPtr<Qel2DImage> const source = imageFor(new GradientOp(report));
    MoxSmartPtr<Qel2DImage> const image = imageFor(new NeighbourOp(source));
    runThreads([&](std::uint32_t thread) {
        std::mt19937 random(seed + thread);
        for (int i = 0; i < 60; ++i)
            ASSERT_NO_FATAL_FAILURE(requestSomething(*image, random, NeighbourOp::picture));
        for (std::int32_t const tile : shuffledTiles(*image, seed + thread)) {
            expectTile(image->getTile(tile % image->tilesAcross(), tile / image->tilesAcross()),
                       NeighbourOp::picture);
        }
    });
}

TEST_P(Qel2DImageThreadTest, ThatWantOneIncompleteTileEndWithItComputedOnce) {
    for (int round = 0; round < 30; ++round) {
        StartLine start;
        std::atomic<int> computes{0};
        MoxSmartPtr<Qel2DImage> const image =
            imageFor(new HookedOp(report, [&computes](QelRectBuffer *) {
                ++computes;
                std::this_thread::yield();
            }));
        MoxSmartPtr<QelTile> const held = image->createTile(2, 3);
        runThreads([&](std::uint32_t) {
            start.await();
            MoxSmartPtr<QelTile> const tile = image->getTile(2, 3);
            EXPECT_EQ(held.get(), tile.get());
            expectTile(tile, gradientAt);
        });
        EXPECT_EQ(1, computes);
        EXPECT_EQ(1, image->statistics().tilesComputed);
    }
}

TEST_P(Qel2DImageThreadTest, LookUpsRaceWithTheLastRelease) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(new GradientOp({.width = 16, .height = 4}));
    runThreads([&](std::uint32_t thread) {
        for (int i = 0; i < 1000; ++i) {
            if (thread % 2 == 0) {
                MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
                ASSERT_TRUE(tile);
                ASSERT_EQ(QelRect(0, 0, 16, 4), tile->rect());
            } else if (MoxSmartPtr<QelTile> const tile = image->findTile(0, 0)) {
                ASSERT_EQ(QelRect(0, 0, 16, 4), tile->rect());
            }
        }
    });
    EXPECT_EQ(GetParam(), static_cast<bool>(image->findTile(0, 0)));
}

TEST_P(Qel2DImageThreadTest, StealingRacesWithLookUps) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(new GradientOp({.width = 16, .height = 4}));
    runThreads([&](std::uint32_t thread) {
        for (int i = 0; i < 200; ++i) {
            if (thread % 2 == 0) {
                MoxSmartPtr<QelRectBuffer> const dest =
                    emptyBuffer(image->dataOrg(), QelRect(0, 0, 16, 4));
                ASSERT_TRUE(image->fillRWBuffer(dest, true));
                ASSERT_TRUE(showsPixels(*dest, dest->rect(), gradientAt));
                fillPixels(*dest, dest->rect(), painted);  // nobody else may see that
            } else {
                expectTile(image->getTile(0, 0), gradientAt);
                image->findTile(0, 0);
            }
        }
    });
}

TEST_P(Qel2DImageThreadTest, CompleteAndReopenTilesOfTheirOwn) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(new GradientOp(report));
    MoxSmartPtr<QelTile> const common = image->getTile(6, 5);
    runThreads([&](std::uint32_t thread) {
        std::int32_t const x = static_cast<std::int32_t>(thread % 4);
        std::int32_t const y = static_cast<std::int32_t>(thread / 4);
        for (int i = 0; i < 50; ++i) {
            MoxSmartPtr<QelTile> const tile = image->getTile(x, y);
            expectTile(tile, gradientAt);
            tile->setComplete(false);
            ASSERT_FALSE(tile->isAllocated());
            expectTile(image->getTile(x, y), gradientAt);
            common->setComplete(true);
            expectTile(image->getTile(6, 5), gradientAt);
        }
    });
    EXPECT_EQ(4U, image->tileFlags(6, 5));
}

// A tile that gave its memory up is asked for by all at once.
TEST_P(Qel2DImageThreadTest, ShareATileThatWasReopened) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(new GradientOp({.width = 16, .height = 4}));
    for (int round = 0; round < 30; ++round) {
        MoxSmartPtr<QelTile> tile = image->getTile(0, 0);
        tile->setComplete(false);
        if (GetParam()) tile.release();
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            std::mt19937 random(seed + thread);
            start.await();
            for (int i = 0; i < 4; ++i)
                ASSERT_NO_FATAL_FAILURE(requestSomething(*image, random, gradientAt));
        });
    }
}

TEST_P(Qel2DImageThreadTest, ReleaseTilesWhileTheImageGoes) {
    for (int round = 0; round < 50; ++round) {
        StartLine start;
        MoxSmartPtr<Qel2DImage> image = imageFor(new GradientOp(report));
        std::vector<std::vector<MoxSmartPtr<QelTile>>> tiles(threadCount);
        for (std::uint32_t thread = 0; thread < threadCount; ++thread) {
            for (std::int32_t const tile : shuffledTiles(*image, seed + thread))
                tiles[thread].push_back(image->createTile(tile % 7, tile / 7));
        }
        runThreads([&](std::uint32_t thread) {
            start.await();
            if (thread == 0) image.release();
            tiles[thread].clear();
        });
        EXPECT_FALSE(image);
    }
}

TEST_P(Qel2DImageThreadTest, ReleaseTilesWhileTheGridChanges) {
    MoxSmartPtr<QelImageOp> const op = new GradientOp(report);
    MoxSmartPtr<QelImageOp> const other = new GradientOp({.width = 50, .height = 40});
    for (int round = 0; round < 50; ++round) {
        StartLine start;
        MoxSmartPtr<Qel2DImage> const image = imageFor(op);
        std::vector<std::vector<MoxSmartPtr<QelTile>>> tiles(threadCount);
        for (std::int32_t tile = 0; tile < 42; ++tile) {
            tiles[static_cast<std::size_t>(tile) % threadCount].push_back(
                image->createTile(tile % 7, tile / 7));
        }
        runThreads([&](std::uint32_t thread) {
            start.await();
            if (thread == 0) image->setOp(other);
            tiles[thread].clear();
        });
        EXPECT_EQ(QelRect(0, 0, 50, 40), image->imageRect());
    }
}

TEST_P(Qel2DImageThreadTest, ReadAWrappedBuffer) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(report.rect(), 3, BAND_INTERLEAVED, QelDataType::UChar);
    fillPixels(*buffer, buffer->rect(), gradientAt);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer.get());
    runThreads([&](std::uint32_t thread) {
        std::mt19937 random(seed + thread);
        for (int i = 0; i < 40; ++i)
            ASSERT_NO_FATAL_FAILURE(requestSomething(*image, random, gradientAt));
    });
    EXPECT_EQ(0, image->statistics().tilesComputed);
}

TEST_P(Qel2DImageThreadTest, AContainerMakesEachTileOnce) {
    MockContainer container;
    auto const create = container.onCreateTile;
    container.onCreateTile = [&create](Qel2DImage * image, std::int32_t x, std::int32_t y) {
        std::this_thread::yield();
        return create(image, x, y);
    };
    MoxSmartPtr<Qel2DImage> const image =
        imageWithoutOp({.width = 100, .height = 90, .tileWidth = 16, .tileHeight = 16}, &container);
    image->setCacheTiles(GetParam());
    std::vector<std::vector<MoxSmartPtr<QelTile>>> tiles(threadCount);
    runThreads([&](std::uint32_t thread) {
        for (std::int32_t const tile : shuffledTiles(*image, seed + thread))
            tiles[thread].push_back(image->createTile(tile % 7, tile / 7));
    });
    EXPECT_EQ(42, container.count("createTile"));
}

// Between the question for the op and its first use another thread may ask as well.
TEST_P(Qel2DImageThreadTest, AContainerThatChoosesAnOpChangesTheGrid) {
    for (int round = 0; round < 20; ++round) {
        MockContainer container;
        std::mutex lock;
        MoxSmartPtr<QelImageOp> const op = new GradientOp(report);
        container.onDetermineOp = [&](Qel2DImage * image) {
            std::lock_guard const guard(lock);
            TileLimits const limits(16, 16);
            if (!image->op()) image->setOp(op);
        };
        container.onCanGenRect = [](QelRectBuffer *) { return true; };
        container.onGenRect = [](Qel2DImage *, QelRectBuffer *) { FAIL() << "there is an op"; };
        MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(
            {.width = 100, .height = 90, .tileWidth = 20, .tileHeight = 20}, &container);
        image->setCacheTiles(GetParam());
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            std::mt19937 random(seed + thread);
            start.await();
            for (int i = 0; i < 10; ++i) {
                ASSERT_NO_FATAL_FAILURE(requestSomething(*image, random, gradientAt));
                std::int32_t const tile = static_cast<std::int32_t>(random() % 20);
                expectTile(image->getTile(tile % 5, tile / 5), gradientAt);
            }
        });
        EXPECT_EQ(7, image->tilesAcross());
    }
}

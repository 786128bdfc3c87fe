#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "ExpectError.h"
#include "QelVectorTileContainer.h"
#include "StreamTesting.h"
#include "ThreadTesting.h"

// Many threads ask the outputs of one graph, which is up to date, for images, tiles and pixels.

namespace {

using Container = QelVectorTileContainer<QelTileId>;
using Images = std::array<MoxSmartPtr<Qel2DImage>, threadCount>;

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};
constexpr PixelSize small{90, 60};
constexpr std::array<PixelSize, 3> sizes{full, half, small};

// Counts how many of its kind there are.
class CountedOp : public GradientOp {
  public:
    CountedOp(TestImage image, std::atomic<int> & alive)
        : GradientOp(std::move(image)), alive_(alive) {
        ++alive_;
    }
    ~CountedOp() override { --alive_; }

  private:
    std::atomic<int> & alive_;
};

// Closed at first. Threads wait in front of it until it is opened, once.
class Gate {
  public:
    void pass() {
        std::unique_lock lock(lock_);
        ++arrivals_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    void awaitArrival() {
        std::unique_lock lock(lock_);
        changed_.wait(lock, [this] { return arrivals_ > 0; });
    }
    void open() {
        std::lock_guard const guard(lock_);
        open_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    int arrivals_ = 0;
    bool open_ = false;
};

class QelVectorTileContainerThreadTest : public testing::Test {
  protected:
    QelVectorTileContainerThreadTest() {
        transform_->onSetup = [this] { transform_->describe({full, half, small}); };
        transform_->update();
        transform_->forgetCalls();
    }

    QelImageOutputCP & output() { return transform_->output(); }
    Container & container() { return *output().getTileContainer(); }
    MoxSmartPtr<QelImageOp> countedOp(QelTileId const & id) {
        return new CountedOp({.width = id.resolutionWidth, .height = id.resolutionHeight}, ops_);
    }
    // What eight threads get that ask for one image at the same time.
    Images askTogether(PixelSize size) {
        Images images;
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            start.await();
            images[thread] = container().getImage(idOf(size));
        });
        return images;
    }
    void expectAllTheSame(Images const & images, PixelSize size) {
        MoxSmartPtr<Qel2DImage> const kept = container().findImage(idOf(size));
        ASSERT_NE(nullptr, kept);
        for (MoxSmartPtr<Qel2DImage> const & image : images)
            EXPECT_EQ(kept, image);
    }

    std::atomic<int> ops_{0};
    MoxSmartPtr<HookTransform> transform_{new HookTransform};
};

// Reads a rectangle across tiles at each resolution of an output whose pixels are `amount` above
// the gradient, beginning with the `first` of them.
void readAll(QelImageOutputCP & output, double amount, std::uint32_t first) {
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        PixelSize const size = sizes[(first + i) % sizes.size()];
        QelRect const rect(static_cast<std::int32_t>(size.width) / 3, 10,
                           static_cast<std::int32_t>(size.width) / 2, 45);
        QelImageRequestDesc const request(regionOf(output, size, rect));
        MoxSmartPtr<QelRectBuffer> const pixels = output.getData(&request, true);
        ASSERT_NE(nullptr, pixels);
        EXPECT_TRUE(showsPixels(*pixels, rect, [amount](auto x, auto y, int band) {
            return gradientAt(x, y, band) + amount;
        }));
    }
}

TEST_F(QelVectorTileContainerThreadTest, EightThreadsReadAllOutputsOfOneGraphAtAllResolutions) {
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*transform_, 3);
    ASSERT_TRUE(chain.back()->isStatusOk());
    std::vector<QelTransform *> transforms{transform_.get()};
    for (MoxSmartPtr<QelOperation> const & each : chain)
        transforms.push_back(each.get());
    // What each thread saw, by transform and resolution.
    std::vector<std::array<Images, sizes.size()>> images(transforms.size());
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        for (std::size_t i = 0; i < transforms.size(); ++i) {
            std::size_t const at = (thread + i) % transforms.size();
            readAll(imageOutput(*transforms[at]), static_cast<double>(at), thread);
            for (std::size_t k = 0; k < sizes.size(); ++k)
                images[at][k][thread] = imageOutput(*transforms[at]).get2DImage(idOf(sizes[k]));
        }
    });
    for (std::size_t at = 0; at < transforms.size(); ++at) {
        Container & container = *imageOutput(*transforms[at]).getTileContainer();
        EXPECT_EQ(3, container.numImages());
        for (std::size_t k = 0; k < sizes.size(); ++k) {
            for (MoxSmartPtr<Qel2DImage> const & image : images[at][k])
                EXPECT_EQ(container.findImage(idOf(sizes[k])), image);
        }
    }
}

TEST_F(QelVectorTileContainerThreadTest, EightThreadsReadATransformWithoutOps) {
    transform_ = painterWithoutOps();
    transform_->onSetup = [this] { transform_->describe({full, half, small}); };
    transform_->update();
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        readAll(output(), 0.0, thread);
    });
    EXPECT_EQ(3, container().numImages());
}

TEST_F(QelVectorTileContainerThreadTest, EightThreadsAskForStatusesMeanwhile) {
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*transform_, 2);
    ASSERT_TRUE(chain.back()->isStatusOk());
    transform_->forgetCalls();
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        for (int i = 0; i < 20; ++i) {
            EXPECT_TRUE(chain.back()->isStatusOk());
            EXPECT_EQ(QelErrorCode::streamDataGood,
                      output().imageStreamData()->getStatus().getErrcode());
            EXPECT_NE(nullptr,
                      output().getTile(idOf(sizes[(thread + static_cast<unsigned>(i)) % 3])));
        }
    });
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelVectorTileContainerThreadTest, AnImageIsMadeOnceForEightThreads) {
    transform_->onDetermineOp = [this](QelTileId const & id, int) { return countedOp(id); };
    for (PixelSize const & size : sizes)
        expectAllTheSame(askTogether(size), size);
    EXPECT_EQ(3, container().numImages());
    EXPECT_EQ(3, ops_);
}

// All eight are in determineOp() at once, so each makes an op. One image is kept; the others go,
// with their ops.
TEST_F(QelVectorTileContainerThreadTest, TheLosersOfARaceDropTheirImages) {
    StartLine inside;
    transform_->onDetermineOp = [&](QelTileId const & id, int) {
        MoxSmartPtr<QelImageOp> const op = countedOp(id);
        inside.await();
        return op;
    };
    Images const images = askTogether(full);
    expectAllTheSame(images, full);
    EXPECT_EQ(8, transform_->count("determineOp"));
    EXPECT_EQ(1, ops_);
    EXPECT_EQ(1, container().numImages());
    EXPECT_EQ(&container(), images[0]->container());
    MoxSmartPtr<QelTile> const tile = images[0]->getTile(1, 1);
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

TEST_F(QelVectorTileContainerThreadTest, NoLockIsHeldAcrossDetermineOp) {
    Gate gate;
    std::atomic<bool> isFirst{true};
    transform_->onDetermineOp = [&](QelTileId const & id, int) {
        MoxSmartPtr<QelImageOp> const op = countedOp(id);
        if (id.resolutionWidth == 300 && isFirst.exchange(false)) gate.pass();
        return op;
    };
    MoxSmartPtr<Qel2DImage> late;
    std::thread blocked([&] { late = container().getImage(idOf(full)); });
    gate.awaitArrival();
    EXPECT_EQ(nullptr, container().findImage(idOf(full)));
    EXPECT_EQ(nullptr, container().findTile(idOf(full)));
    EXPECT_EQ(0, container().numImages());
    EXPECT_NE(nullptr, container().getImage(idOf(half)));
    MoxSmartPtr<Qel2DImage> const early = container().getImage(idOf(full));
    EXPECT_NE(nullptr, early);
    EXPECT_NE(nullptr, container().findOrCreateTile(idOf(full, 1, 1)));
    EXPECT_TRUE(container().makeIterator().done());
    gate.open();
    blocked.join();
    EXPECT_EQ(early, late);
    EXPECT_EQ(2, container().numImages());
    EXPECT_EQ(2, ops_);
}

TEST_F(QelVectorTileContainerThreadTest, DetermineOpThatRaisesFailsItsOwnThreadAlone) {
    std::atomic<int> calls{0};
    StartLine inside;
    transform_->onDetermineOp = [&](QelTileId const & id, int) {
        bool const raises = calls++ % 2 == 0;
        inside.await();
        if (raises) qelRaise(QelErrorCode::invalidInput, "no op today");
        return countedOp(id);
    };
    std::atomic<int> raised{0};
    Images images;
    runThreads([&](std::uint32_t thread) {
        try {
            images[thread] = container().getImage(idOf(full));
        } catch (ZanError const & error) {
            expectQelError(error, QelErrorCode::invalidInput, "no op today");
            ++raised;
        }
    });
    EXPECT_EQ(4, raised);
    MoxSmartPtr<Qel2DImage> const kept = container().findImage(idOf(full));
    ASSERT_NE(nullptr, kept);
    int got = 0;
    for (MoxSmartPtr<Qel2DImage> const & image : images) {
        if (!image) continue;
        EXPECT_EQ(kept, image);
        ++got;
    }
    EXPECT_EQ(4, got);
    EXPECT_EQ(1, ops_);
}

// An op for one resolution that reads from the next one of the same output.
TEST_F(QelVectorTileContainerThreadTest, DetermineOpReentersOnEightThreads) {
    transform_->onDetermineOp = [&](QelTileId const & id, int) {
        if (id.resolutionWidth == 300) container().getImage(idOf(half));
        if (id.resolutionWidth == 150) container().getImage(idOf(small));
        return countedOp(id);
    };
    for (int i = 0; i < 20; ++i) {
        expectAllTheSame(askTogether(full), full);
        EXPECT_EQ(3, container().numImages());
        EXPECT_EQ(3, ops_);
        container().clear();
        EXPECT_EQ(0, ops_);
    }
}

TEST_F(QelVectorTileContainerThreadTest, EightThreadsFindOrCreateTheSameTile) {
    std::array<MoxSmartPtr<QelTile>, threadCount> tiles;
    for (int round = 0; round < 20; ++round) {
        container().clear();
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            start.await();
            tiles[thread] = container().findOrCreateTile(idOf(full, 1, 1));
        });
        for (MoxSmartPtr<QelTile> const & tile : tiles)
            EXPECT_EQ(container().findTile(idOf(full, 1, 1)), tile);
    }
}

// An image that was made without an op asks for one when its pixels are needed.
TEST_F(QelVectorTileContainerThreadTest, EightThreadsMakeAnImageChooseItsOp) {
    transform_->onDetermineOp = &HookTransform::noOp;
    for (PixelSize const & size : sizes)
        container().getImage(idOf(size));
    transform_->onDetermineOp = [this](QelTileId const & id, int) { return countedOp(id); };
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        readAll(output(), 0.0, thread);
    });
    for (PixelSize const & size : sizes)
        EXPECT_NE(nullptr, container().findImage(idOf(size))->op());
    EXPECT_EQ(0, transform_->count("getTile"));
}

TEST_F(QelVectorTileContainerThreadTest, WithCachingEachTileIsComputedOnceForAllThreads) {
    container().setCacheTiles(true);
    MoxSmartPtr<CountingOp> const op(new CountingOp(transform_->gradient(idOf(full))));
    // Threads that make an image at once share the op, so it reports ahead of them.
    QelImageInfo report;
    ASSERT_TRUE(op->outputInfo(report));
    transform_->onDetermineOp = [&](QelTileId const &, int) { return MoxSmartPtr<QelImageOp>(op); };
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        start.await();
        for (std::uint32_t i = 0; i < 6; ++i) {
            std::uint32_t const at = (thread + i) % 6;
            MoxSmartPtr<QelTile> const tile = output().getTile(
                idOf(full, static_cast<std::int32_t>(at % 3), static_cast<std::int32_t>(at / 3)));
            ASSERT_NE(nullptr, tile);
            EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
        }
    });
    EXPECT_EQ(6, op->computes());
    EXPECT_EQ(300 * 200, op->pixels());
}

}  // namespace

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "QelError.h"

// What becomes of exceptions on the way of pixels into a buffer.

namespace {

[[noreturn]] void failInSomeWay() {
    errno = ENOSPC;
    throw std::runtime_error("not of the library");
}

class Qel2DImageFillErrorTest : public testing::Test {
  protected:
    // Raised by the action with each kind of exception, and passed on as it has to be.
    template <class Action>
    void expectFramed(std::string const & text, Qel2DImage const & image, Action const & action) {
        raise_ = failInSomeWay;
        expectRaises(QelErrorCode::unexpectedException, foreignText(text, image, ENOSPC), action);
        EXPECT_FALSE(image.computing());
        raise_ = [] { qelRaise(204, "cancelled by a test"); };
        expectRaises(QelErrorCode::cancelled, "cancelled by a test", action);
        EXPECT_FALSE(image.computing());
        raise_ = nullptr;
    }

    void raise() const {
        if (raise_) raise_();
    }

    // An image whose op, or whose container, does what raise() says.
    MoxSmartPtr<Qel2DImage> failingCompute() {
        return imageOf(new HookedOp(report, [this](QelRectBuffer *) { raise(); }));
    }
    MoxSmartPtr<Qel2DImage> failingCreateTile(std::int32_t failing) {
        auto const create = container_.onCreateTile;
        container_.onCreateTile = [this, create, failing](Qel2DImage * image, std::int32_t x,
                                                          std::int32_t y) {
            if (x == failing) raise();
            return create(image, x, y);
        };
        return imageOf(new GradientOp(report), &container_);
    }
    MoxSmartPtr<Qel2DImage> failingDetermineOp() {
        container_.onDetermineOp = [this](Qel2DImage *) { raise(); };
        return imageWithoutOp(report, &container_);
    }

    MoxSmartPtr<QelRectBuffer> dest(QelRect const & rect) const {
        return paintedBuffer(report.dataOrg(), rect);
    }

    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    MockContainer container_;
    std::function<void()> raise_;
};

}  // namespace

TEST_F(Qel2DImageFillErrorTest, WhenOneTileIsComputedDirectly) {
    MoxSmartPtr<Qel2DImage> const image = failingCompute();
    expectFramed("fillRWBuffer() in \"if one tile and can fill directly\" [tme=(10,20,30,40)]",
                 *image, [&] { image->fillRWBuffer(dest(QelRect(10, 20, 30, 40)), true); });
    expectFramed("fillRWBuffer() in \"if one tile and can fill directly\" [tme=(290,20,10,40)]",
                 *image, [&] { image->fillRWBuffer(dest(QelRect(290, 20, 20, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenAContainerGeneratesARectangle) {
    container_.onCanGenRect = [](QelRectBuffer *) { return true; };
    container_.onGenRect = [this](Qel2DImage *, QelRectBuffer *) { raise(); };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(report, &container_);
    expectFramed("fillRWBuffer() in \"if one tile and can fill directly\" [tme=(10,20,30,40)]",
                 *image, [&] { image->fillRWBuffer(dest(QelRect(10, 20, 30, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenAContainerIsToldOfWork) {
    container_.onWorkDone = [this](int) { raise(); };
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report), &container_);
    expectFramed("fillRWBuffer() in \"if one tile and can fill directly\" [tme=(10,20,30,40)]",
                 *image, [&] { image->fillRWBuffer(dest(QelRect(10, 20, 30, 40)), true); });
    expectFramed("getTile(1,0) calling _op->getTile(t,0)", *image, [&] { image->getTile(1, 0); });
}

TEST_F(Qel2DImageFillErrorTest, WhenOneTileIsCopied) {
    MoxSmartPtr<Qel2DImage> const image = failingDetermineOp();
    image->setCacheTiles(true);  // a tile that goes with the exception would clear errno
    expectFramed("fillRWBuffer() in \"if one tile and cannot fill directly\" [tme=(10,20,30,40)]",
                 *image, [&] { image->fillRWBuffer(dest(QelRect(10, 20, 30, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenMemoryIsStolen) {
    MoxSmartPtr<Qel2DImage> const image = failingCreateTile(1);
    expectFramed(
        "fillRWBuffer() in \"while (!me->isAllocated( )) loop\" [tme=(128,0,30,40)]", *image,
        [&] { image->fillRWBuffer(emptyBuffer(image->dataOrg(), QelRect(128, 0, 30, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenOneOfManyTilesIsComputed) {
    MoxSmartPtr<Qel2DImage> const image = failingCompute();
    expectFramed(
        "fillRWBuffer() in \"while (!tileIter.done( )) loop\" [tme=(100,20,60,40)] "
        "Q:Copying a Tile? A:No [sub-rect=(100,20,28,40)]",
        *image, [&] { image->fillRWBuffer(dest(QelRect(100, 20, 60, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenOneOfManyTilesIsCopied) {
    container_.onComputeTile = [](QelTile * tile) {
        tile->getData();
        tile->setComplete(true);
    };
    container_.onDetermineOp = [this](Qel2DImage * image) {
        if (image->findTile(1, 0)) raise();
    };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(report, &container_);
    expectFramed(
        "fillRWBuffer() in \"while (!tileIter.done( )) loop\" [tme=(100,20,60,40)] "
        "Q:Copying a Tile? A:Yes, tile_x=1 tile_y=0",
        *image, [&] { image->fillRWBuffer(dest(QelRect(100, 20, 60, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenOneOfManyTilesIsMade) {
    MoxSmartPtr<Qel2DImage> const image = failingCreateTile(1);
    expectFramed(
        "fillRWBuffer() in \"while (!tileIter.done( )) loop\" [tme=(100,20,60,40)] "
        "Q:Copying a Tile? A:Unknown",
        *image, [&] { image->fillRWBuffer(dest(QelRect(100, 20, 60, 40)), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenAViewIsMade) {
    MoxSmartPtr<Qel2DImage> const image = failingCreateTile(1);
    expectFramed("getData() in \"if (dataOrg()->isOneTile(...))\" [rect=(130,20,30,40)]", *image,
                 [&] { image->getData(QelRect(130, 20, 30, 40), true); });
}

TEST_F(Qel2DImageFillErrorTest, WhenDataAreCopied) {
    // The question whether the op can fill is asked ahead of all that fillRWBuffer() guards.
    class AskedOp : public GradientOp {
      public:
        AskedOp(TestImage const & image, std::function<void()> ask)
            : GradientOp(image), ask_(std::move(ask)) {}
        bool canFill(QelRectBuffer *, QelOpContext) override {
            ask_();
            return true;
        }

      private:
        std::function<void()> ask_;
    };
    MoxSmartPtr<Qel2DImage> const image = imageOf(new AskedOp(report, [this] { raise(); }));
    expectFramed("getData() when copying into new buffer [rect=(100,20,60,40)]", *image,
                 [&] { image->getData(QelRect(100, 20, 60, 40), true); });
    expectFramed("shareBuffer(...) rect=(100,20,60,40)", *image, [&] {
        image->shareBuffer(dest(QelRect(0, 0, 60, 40)), QelRect(100, 20, 60, 40), true);
    });
}

TEST_F(Qel2DImageFillErrorTest, WhenMemoryIsShared) {
    MoxSmartPtr<Qel2DImage> const image = failingCreateTile(1);
    expectFramed("shareBuffer(...) rect=(128,0,30,40)", *image, [&] {
        image->shareBuffer(emptyBuffer(image->dataOrg(), QelRect(0, 0, 30, 40)),
                           QelRect(128, 0, 30, 40), true);
    });
}

TEST_F(Qel2DImageFillErrorTest, AnInnerFrameIsNotFramedAgain) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new HookedOp(report, [this](QelRectBuffer *) { raise(); }));
    for (bool const allowCopy : {true, false}) {
        expectFramed("getTile(0,0) calling _op->getTile(t,0)", *image,
                     [&] { image->getData(QelRect(0, 0, 30, 40), allowCopy); });
    }
    expectFramed(
        "fillRWBuffer() in \"while (!tileIter.done( )) loop\" [tme=(100,20,60,40)] "
        "Q:Copying a Tile? A:No [sub-rect=(100,20,28,40)]",
        *image, [&] { image->getData(QelRect(100, 20, 60, 40), true); });
}

TEST_F(Qel2DImageFillErrorTest, WithNothingToComputeWithAViewAndASharedTileRaise602) {
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(report);
    std::string const text =
        "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
        "QelImageOp or containing connection point with which to generate a tile (getTile)";
    expectRaises(QelErrorCode::noPixelSource, text,
                 [&] { image->getData(QelRect(0, 0, 30, 40), true); });
    expectRaises(QelErrorCode::noPixelSource, text, [&] {
        QelRect const rect(0, 0, 30, 40);
        image->shareBuffer(emptyBuffer(image->dataOrg(), rect), rect, true);
    });
}

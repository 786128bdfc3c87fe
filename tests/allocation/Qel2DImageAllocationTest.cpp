#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "Qel2DImage.h"
#include "QelErrorCode.h"
#include "QelSystemConfig.h"
#include "TestOps.h"
#include "TileLimits.h"
#include "ZanError.h"

// Every allocation on the way through a chain of images fails once, those of pixels and all else.

namespace {

MoxSmartPtr<Qel2DImage> cachingImage(MoxSmartPtr<QelImageOp> const & op, bool cached) {
    MoxSmartPtr<Qel2DImage> const image(new Qel2DImage(op));
    image->setCacheTiles(cached);
    return image;
}

// A source that writes only into tiles and three ops, with 3 by 2 tiles of 16 by 16.
MoxSmartPtr<Qel2DImage> chain(bool cached) {
    TileLimits const limits(16, 16);
    MoxSmartPtr<Qel2DImage> image =
        cachingImage(new RefusingOp({.width = 40, .height = 30}, false, true), cached);
    image = cachingImage(new AddOp(image, 5), cached);
    image = cachingImage(new InvertOp(image), cached);
    return cachingImage(new AddOp(image, 1), cached);
}

double picture(std::int32_t x, std::int32_t y, int band) {
    return 251 - gradientAt(x, y, band);
}

MoxSmartPtr<QelRectBuffer> renderTile(Qel2DImage & image) {
    return image.getTile(1, 1);
}

MoxSmartPtr<QelRectBuffer> renderView(Qel2DImage & image) {
    return image.getData(QelRect(18, 2, 4, 5), false);
}

MoxSmartPtr<QelRectBuffer> renderCopy(Qel2DImage & image) {
    return image.getData(QelRect(12, 12, 28, 10), true);
}

MoxSmartPtr<QelRectBuffer> renderStolen(Qel2DImage & image) {
    MoxSmartPtr<QelRectBuffer> const dest(new QelRectBuffer(image.dataOrg(), QelRect(16, 0, 8, 6)));
    return image.fillRWBuffer(dest, true) ? dest : nullptr;
}

MoxSmartPtr<QelRectBuffer> renderFilled(Qel2DImage & image) {
    MoxSmartPtr<QelRectBuffer> const dest(
        new QelRectBuffer(image.dataOrg(), QelRect(12, 12, 10, 8)));
    return image.fillRWBuffer(dest, true) ? dest : nullptr;
}

MoxSmartPtr<QelRectBuffer> renderShared(Qel2DImage & image) {
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(image.dataOrg(), QelRect(0, 0, 8, 6)));
    image.shareBuffer(buffer, buffer->rect(), true);
    return buffer;
}

struct Row {
    char const * name;
    MoxSmartPtr<QelRectBuffer> (*render)(Qel2DImage & image);
};

// What came of an action whose n-th allocation failed.
enum class Outcome { Done, NoMemory, Unexpected, Other };

struct Attempt {
    Outcome outcome;
    bool failed;
    std::string text;
};

template <class Action>
Attempt attempt(std::int64_t n, Action const & action) {
    AllocationFault const fault(n);
    try {
        action();
        return {Outcome::Done, fault.happened(), ""};
    } catch (ZanError const & error) {
        return {error.getErrcode() == QelErrorCode::unexpectedException ? Outcome::Unexpected
                                                                        : Outcome::Other,
                true, error.getMsg()};
    } catch (std::bad_alloc const &) {
        return {Outcome::NoMemory, true, ""};
    }
}

class Qel2DImageAllocationTest : public testing::TestWithParam<Row> {
  protected:
    bool showsPicture(Qel2DImage & image) const {
        MoxSmartPtr<QelRectBuffer> const shown = GetParam().render(image);
        return shown && showsPixels(*shown, shown->rect(), picture);
    }

    // False when there was no n-th allocation. Leaves in live_ what was not given back.
    bool failOnce(std::int64_t n, bool cached) {
        AllocationCounter const counter;
        bool const failed = failAndTryAgain(n, cached).failed;
        live_ = counter.live();
        return failed;
    }

    Attempt failAndTryAgain(std::int64_t n, bool cached) const {
        std::int64_t const bytes = QelSystemConfig::currentBytes;
        std::int64_t const blocks = QelSystemConfig::liveBlocks;
        Attempt done{};
        {
            MoxSmartPtr<Qel2DImage> const image = chain(cached);
            done = attempt(n, [&] { GetParam().render(*image); });
            EXPECT_NE(Outcome::Other, done.outcome) << done.text;
            // Nothing may fail in silence.
            EXPECT_TRUE(done.outcome != Outcome::Done || !done.failed);
            EXPECT_FALSE(image->computing());
            EXPECT_TRUE(showsPicture(*image));
        }
        EXPECT_EQ(bytes, QelSystemConfig::currentBytes);
        EXPECT_EQ(blocks, QelSystemConfig::liveBlocks);
        return done;
    }

    std::int64_t live_ = 0;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Render, Qel2DImageAllocationTest,
                         testing::Values(Row{"Tile", renderTile}, Row{"View", renderView},
                                         Row{"Copy", renderCopy}, Row{"Stolen", renderStolen},
                                         Row{"Filled", renderFilled}, Row{"Shared", renderShared}),
                         [](auto const & row) { return std::string(row.param.name); });

TEST_P(Qel2DImageAllocationTest, EachFailsOnceAndLeavesNothingBehind) {
    // The record of objects that new made keeps its table.
    showsPicture(*chain(true));
    for (bool const cached : {false, true}) {
        std::int64_t n = 1;
        while (failOnce(n, cached)) {
            ASSERT_EQ(0, live_) << "allocation " << n << (cached ? ", cached" : "");
            ++n;
        }
        EXPECT_LT(10, n);
    }
}

TEST(Qel2DImageAllocationTextTest, AFailedViewOfOneOfManyTilesHasNoRectangle) {
    MoxSmartPtr<Qel2DImage> const image(
        new Qel2DImage(new GradientOp({.width = 300, .height = 9})));
    MoxSmartPtr<QelRectBuffer> const dest(
        new QelRectBuffer(image->dataOrg(), QelRect(100, 0, 60, 9)));
    dest->allocate();
    std::string texts;
    for (std::int64_t n = 1;; ++n) {
        Attempt const done = attempt(n, [&] { image->fillRWBuffer(dest, true); });
        if (!done.failed) break;
        texts += done.text;
    }
    EXPECT_NE(std::string::npos,
              texts.find("fillRWBuffer() in \"while (!tileIter.done( )) loop\" "
                         "[tme=(100,0,60,9)] Q:Copying a Tile? A:No [NULL sub-rect]\nagainst "));
}

TEST(Qel2DImageAllocationSetupTest, AnImageThatCannotBeMadeLeavesNothingBehind) {
    MoxSmartPtr<QelImageOp> const op(new GradientOp({.width = 300, .height = 200}));
    MoxSmartPtr<Qel2DImage>(new Qel2DImage(op)).release();
    AllocationCounter const counter;
    for (std::int64_t n = 1;; ++n) {
        Attempt const done = attempt(n, [&] { MoxSmartPtr<Qel2DImage>(new Qel2DImage(op)); });
        if (!done.failed) {
            EXPECT_LT(4, n);
            break;
        }
        EXPECT_EQ(Outcome::NoMemory, done.outcome);
        EXPECT_EQ(0, counter.live()) << "allocation " << n;
        EXPECT_EQ(1, op->refCount());
    }
}

TEST(Qel2DImageAllocationSetupTest, AnOpThatCannotBeSetLeavesTheOldOne) {
    MoxSmartPtr<QelImageOp> const old(new GradientOp({.width = 300, .height = 200}));
    MoxSmartPtr<QelImageOp> const next(new GradientOp({.width = 200, .height = 300}));
    for (std::int64_t n = 1;; ++n) {
        MoxSmartPtr<Qel2DImage> const image(new Qel2DImage(old));
        image->setCacheTiles(true);
        image->getTile(0, 0);
        Attempt const done = attempt(n, [&] { image->setOp(next); });
        if (!done.failed) {
            EXPECT_LT(4, n);
            EXPECT_EQ(200, image->imageRect().width);
            break;
        }
        SCOPED_TRACE("allocation " + std::to_string(n));
        EXPECT_EQ(Outcome::NoMemory, done.outcome);
        EXPECT_EQ(old.get(), image->op().get());
        EXPECT_EQ(300, image->imageRect().width);
        EXPECT_TRUE(image->findTile(0, 0));
        EXPECT_EQ(1, next->refCount());
    }
}

#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "QelError.h"

// Replacing the op of an image, and its word for op calls.

namespace {

// Tells the test when it goes.
class MortalOp : public GradientOp {
  public:
    MortalOp(TestImage const & image, bool & gone) : GradientOp(image), gone_(gone) {}
    ~MortalOp() override { gone_ = true; }

  private:
    bool & gone_;
};

class MortalBadOp : public BadOp {
  public:
    explicit MortalBadOp(bool & gone) : gone_(gone) {}
    ~MortalBadOp() override { gone_ = true; }

  private:
    bool & gone_;
};

double reversed(std::int32_t x, std::int32_t y, int band) {
    return 126 - gradientAt(x, y, band);
}

}  // namespace

class Qel2DImageSetOpTest : public testing::TestWithParam<bool> {
  protected:
    // Caches its tiles or not, by the parameter.
    MoxSmartPtr<Qel2DImage> smallImage() const {
        MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report));
        image->setCacheTiles(GetParam());
        return image;
    }

    TestImage const report{.width = 300, .height = 200};
    OutputCapture output_;
};

INSTANTIATE_TEST_SUITE_P(Caching, Qel2DImageSetOpTest, testing::Bool(), [](auto const & row) {
    return std::string(row.param ? "Cached" : "Uncached");
});

TEST_P(Qel2DImageSetOpTest, AnUnchangedGridKeepsItsTiles) {
    MoxSmartPtr<Qel2DImage> const image = smallImage();
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    MoxSmartPtr<QelImageOp> const next = new GradientOp(report, reversed);
    image->setOp(next);
    EXPECT_EQ(next.get(), image->op().get());
    EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
    EXPECT_EQ(image.get(), tile->container());
    EXPECT_EQ(4U, image->tileFlags(1, 1));
    // What is computed from now on comes from the new op.
    EXPECT_TRUE(showsPixels(*image->getTile(1, 1), tile->rect(), gradientAt));
    MoxSmartPtr<QelTile> const fresh = image->getTile(0, 0);
    EXPECT_TRUE(showsPixels(*fresh, fresh->rect(), reversed));
}

TEST_P(Qel2DImageSetOpTest, AChangedGridDetachesItsTiles) {
    std::vector<TestImage> changes(6, report);
    changes[0].width = 301;
    changes[1].originX = 5;
    changes[2].tileHeight = 150;
    changes[3].bands = 4;
    changes[4].type = QelDataType::Short;
    changes[5].layout = BAND_INTERLEAVED;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        SCOPED_TRACE("change " + std::to_string(i));
        MoxSmartPtr<Qel2DImage> const image = smallImage();
        MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
        image->setOp(new GradientOp(changes[i]));
        EXPECT_EQ(nullptr, tile->container());
        EXPECT_EQ(1, tile->refCount());
        EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
        EXPECT_EQ(nullptr, image->findTile(1, 1).get());
        EXPECT_EQ(0U, image->tileFlags(1, 1));
        MoxSmartPtr<QelTile> const fresh = image->getTile(1, 1);
        EXPECT_NE(tile.get(), fresh.get());
        EXPECT_TRUE(showsPixels(*fresh, fresh->rect(), gradientAt));
    }
    EXPECT_EQ("", output_.text());
}

TEST_P(Qel2DImageSetOpTest, AFailureKeepsTheOpTheGridAndTheTiles) {
    MoxSmartPtr<Qel2DImage> const image = smallImage();
    MoxSmartPtr<QelImageOp> const op = image->op();
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    bool gone = false;
    expectRaises(QelErrorCode::misuse,
                 "The Op ((anonymous namespace)::MortalBadOp) for this operation returns a bad "
                 "status from outputInfo(): " +
                     std::string(ZanError().getMsg()),
                 [&] { image->setOp(new MortalBadOp(gone)); });
    EXPECT_TRUE(gone);
    EXPECT_EQ(op.get(), image->op().get());
    EXPECT_TRUE(image->sizeKnown());
    EXPECT_EQ(3, image->tilesAcross());
    EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
    MoxSmartPtr<QelTile> const fresh = image->getTile(0, 0);
    EXPECT_TRUE(showsPixels(*fresh, fresh->rect(), gradientAt));
}

TEST_P(Qel2DImageSetOpTest, ASizeThatIsNotTheIdsKeepsTheOp) {
    MoxSmartPtr<QelImageOp> const op = new GradientOp(report);
    Qel2DImage image(QelTileId(0, 0, 300, 200), op, nullptr);
    image.setCacheTiles(GetParam());
    expectRaises(QelErrorCode::misuse,
                 "Qel2DImage error: its size (30,20) does not match its resolution (300,200)",
                 [&image] { image.setOp(new GradientOp({.width = 30, .height = 20})); });
    EXPECT_EQ(op.get(), image.op().get());
    EXPECT_EQ(QelRect(0, 0, 300, 200), image.imageRect());
}

TEST_P(Qel2DImageSetOpTest, AForeignExceptionOfTheReportKeepsTheOp) {
    class ThrowingReport : public BadOp {
        bool genOutputInfo(QelImageInfo &, QelOpContext) override { throw std::runtime_error("x"); }
    };
    MoxSmartPtr<Qel2DImage> const image = smallImage();
    MoxSmartPtr<QelImageOp> const op = image->op();
    EXPECT_THROW(image->setOp(new ThrowingReport), std::runtime_error);
    EXPECT_EQ(op.get(), image->op().get());
}

TEST_P(Qel2DImageSetOpTest, NoOpLeavesTheGridAndItsTiles) {
    MoxSmartPtr<Qel2DImage> const image = smallImage();
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    image->setOp(nullptr);
    EXPECT_EQ(nullptr, image->op().get());
    EXPECT_TRUE(image->sizeKnown());
    EXPECT_EQ(tile.get(), image->getTile(1, 1).get());
    EXPECT_THROW(image->getTile(0, 0), ZanError);
}

TEST_P(Qel2DImageSetOpTest, AReplacedOpIsReleased) {
    bool gone = false;
    MoxSmartPtr<Qel2DImage> const image = imageOf(new MortalOp(report, gone));
    image->setCacheTiles(GetParam());
    image->getTile(0, 0);
    image->setOp(image->op());
    EXPECT_FALSE(gone);
    image->setOp(new GradientOp({.width = 3, .height = 2}));
    EXPECT_TRUE(gone);
    EXPECT_EQ(QelRect(0, 0, 3, 2), image->imageRect());
}

TEST_P(Qel2DImageSetOpTest, ARectangleOfBeforeStaysWhatItWas) {
    MoxSmartPtr<Qel2DImage> const image = smallImage();
    static_assert(std::is_same_v<QelRect, decltype(image->imageRect())>);
    QelRect const & before = image->imageRect();
    image->setOp(new GradientOp({.width = 3, .height = 2}));
    EXPECT_EQ(report.rect(), before);
    EXPECT_EQ(QelRect(0, 0, 3, 2), image->imageRect());
}

TEST_P(Qel2DImageSetOpTest, AnImageWithoutOpLearnsItsSize) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(nullptr);
    image->setCacheTiles(GetParam());
    image->setOp(new GradientOp(report));
    EXPECT_TRUE(image->sizeKnown());
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
    EXPECT_TRUE(showsPixels(*image->getTile(2, 1), QelRect(256, 128, 44, 72), gradientAt));
}

TEST(Qel2DImageSetOpContextTest, EveryCallOfTheOpGetsTheWord) {
    MoxSmartPtr<CountingOp> const op = countingOp({.width = 300, .height = 200});
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    image->setOpContext(42);
    EXPECT_EQ(42U, image->opContext());
    image->getTile(0, 0);
    EXPECT_EQ(42U, op->lastContext());
    image->setOpContext(43);
    image->getData(QelRect(0, 0, 300, 200), true);
    EXPECT_EQ(43U, op->lastContext());
}

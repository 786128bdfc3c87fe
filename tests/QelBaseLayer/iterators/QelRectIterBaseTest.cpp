#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "ImageTesting.h"
#include "QelRectIter.h"

namespace {

class QelRectIterBaseTest : public testing::Test {
  protected:
    // 40 by 30 pixels in tiles of 16 by 16 unless a test says otherwise.
    Qel2DImage * make(TestImage told = {.width = 40, .height = 30}) {
        TileLimits const limits(1, 1000);
        if (told.tileWidth == 128) told.tileWidth = told.tileHeight = 16;
        op = countingOpForTiles(told);
        image = new Qel2DImage(op);
        return image;
    }
    // The value of the current element of a UChar image.
    static double at(QelRectIterBase const & iter) { return *iter.address(); }
    static void expectOutside(QelRectIterBase const & iter) {
        EXPECT_TRUE(iter.rowDone());
        EXPECT_EQ(0, iter.runLength());
        EXPECT_EQ(nullptr, iter.tile());
    }

    MoxSmartPtr<CountingOp> op;
    MoxSmartPtr<Qel2DImage> image;
};

}  // namespace

TEST_F(QelRectIterBaseTest, ANewIteratorStandsNowhereAndHasLoadedNothing) {
    QelRectIterBase const iter(make(), 3, 4, 20, 18);
    EXPECT_TRUE(iter.done());
    expectOutside(iter);
    EXPECT_EQ(-10000000, iter.tileRow());
    EXPECT_EQ(2, iter.columnCount());
    EXPECT_EQ(2, iter.lastBand());
    EXPECT_EQ(3, iter.pixelStride());
    EXPECT_EQ(image.get(), iter.image());
    EXPECT_EQ(image->dataOrg().get(), &iter.dataOrg());
    EXPECT_EQ(0, op->computes());
}

TEST_F(QelRectIterBaseTest, TheRectangleMayBeGivenByEdgesOrAsARectangle) {
    QelRectIterBase const iter(make(), QelRect(3, 4, 18, 15));
    EXPECT_EQ(3, iter.left());
    EXPECT_EQ(4, iter.top());
    EXPECT_EQ(20, iter.right());
    EXPECT_EQ(18, iter.bottom());
}

TEST_F(QelRectIterBaseTest, WithoutARectangleItWalksTheWholeImage) {
    QelRectIterBase const iter(make());
    EXPECT_EQ(0, iter.left());
    EXPECT_EQ(0, iter.top());
    EXPECT_EQ(39, iter.right());
    EXPECT_EQ(29, iter.bottom());
    EXPECT_TRUE(iter.done());
}

TEST_F(QelRectIterBaseTest, ANullImageRaises4) {
    std::string const text = "Argument is a NULL pointer";
    expectRaises(QelErrorCode::nullPointer, text, [] { QelRectIterBase(nullptr, 0, 0, 1, 1); });
    expectRaises(QelErrorCode::nullPointer, text, [] { QelRectIterBase(nullptr, QelRect()); });
    expectRaises(QelErrorCode::nullPointer, text,
                 [] { QelRectIterBase iter(static_cast<Qel2DImage *>(nullptr)); });
    expectRaises(QelErrorCode::nullPointer, text,
                 [] { QelRectConstIter<std::uint8_t> iter(static_cast<Qel2DImage *>(nullptr)); });
}

TEST_F(QelRectIterBaseTest, AnEmptyRectangleIsDoneAtOnceAndRaisesNothing) {
    make();
    std::vector<QelRectIterBase> iters{
        QelRectIterBase(image, QelRect(5, 5, 0, 3)), QelRectIterBase(image, QelRect(5, 5, 3, -2)),
        QelRectIterBase(image, 5, 5, 4, 9), QelRectIterBase(image, 30, 20, 3, 2),
        QelRectIterBase(image, 5, 20, 9, -7)};
    for (QelRectIterBase & iter : iters) {
        iter.toStart();
        EXPECT_TRUE(iter.done());
        std::int64_t const x = iter.x();
        std::int64_t const y = iter.y();
        iter.next();
        iter.nextRow();
        iter.moveX(3);
        iter.moveY(-3);
        iter.nextRun();
        EXPECT_TRUE(iter.done());
        expectOutside(iter);
        EXPECT_EQ(0, iter.columnCount());
        EXPECT_EQ(x, iter.x());
        EXPECT_EQ(y, iter.y());
    }
    EXPECT_EQ(0, op->computes());
    expectRaises(QelErrorCode::outOfBounds, "X value out of bounds",
                 [&] { iters[0].moveTo(5, 5); });
}

TEST_F(QelRectIterBaseTest, AnImageWhoseOrganisationIsNotSimpleRaises150) {
    image = imageOf(new GradientOp({.width = 9, .height = 9, .org = new DiagonalOrg(9, 9)}));
    expectRaises(QelErrorCode::simpleDataOrgNeeded,
                 "The data organization of an image used in a QelRectConstIter is not a "
                 "QelSimpleDataOrg",
                 [&] { QelRectIterBase(image, 0, 0, 3, 3); });
}

TEST_F(QelRectIterBaseTest, AnImageOfUnknownSizeRaises150) {
    image = new Qel2DImage(static_cast<QelImageOp *>(nullptr));
    expectRaises(QelErrorCode::simpleDataOrgNeeded,
                 "The data organization of an image used in a QelRectConstIter is not a "
                 "QelSimpleDataOrg",
                 [&] { QelRectIterBase(image, 0, 0, 3, 3); });
}

TEST_F(QelRectIterBaseTest, MoveToOutsideTheRectangleRaises151) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    iter.moveTo(5, 6, 1);
    struct Row {
        std::int32_t x;
        std::int32_t y;
        char const * text;
    };
    for (Row const & row :
         {Row{21, 4, "X value out of bounds"},  // right + 1, top
          Row{2, 4, "X value out of bounds"}, Row{3, 3, "Y value out of bounds"},
          Row{3, 19, "Y value out of bounds"}, Row{21, 19, "X value out of bounds"},
          Row{INT32_MIN, 5, "X value out of bounds"}, Row{5, INT32_MAX, "Y value out of bounds"}}) {
        SCOPED_TRACE(testing::Message() << row.x << ',' << row.y);
        expectRaises(QelErrorCode::outOfBounds, row.text, [&] { iter.moveTo(row.x, row.y, 0); });
        EXPECT_EQ(5, iter.x());
        EXPECT_EQ(6, iter.y());
        EXPECT_EQ(gradientAt(5, 6, 1), at(iter));
    }
}

TEST_F(QelRectIterBaseTest, ABadBandIsOutOfRange) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    iter.moveTo(5, 6, 1);
    for (int const band : {-1, 3, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(band);
        EXPECT_THROW(iter.moveTo(4, 5, band), std::out_of_range);
        EXPECT_THROW(iter.setBand(band), std::out_of_range);
        EXPECT_THROW(iter.bandDistance(band), std::out_of_range);
        EXPECT_EQ(1, iter.band());
        EXPECT_EQ(gradientAt(5, 6, 1), at(iter));
    }
}

TEST_F(QelRectIterBaseTest, BehindTheLastBandOnlyTheCountGoesOn) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    iter.moveTo(5, 6, 1);
    iter.nextBand();
    EXPECT_FALSE(iter.bandDone());
    std::uint8_t * const last = iter.address();
    EXPECT_EQ(gradientAt(5, 6, 2), at(iter));
    iter.nextBand();
    EXPECT_TRUE(iter.bandDone());
    iter.nextBand();
    EXPECT_EQ(4, iter.band());
    EXPECT_EQ(last, iter.address());
    EXPECT_EQ(-2, iter.bandDistance(0));
    iter.setBand(0);
    EXPECT_FALSE(iter.bandDone());
    EXPECT_EQ(gradientAt(5, 6, 0), at(iter));
}

TEST_F(QelRectIterBaseTest, ANegativeAnchorMakesTheFirstTileColumnNarrower) {
    // Tiles start at x = -10, 6 and 22, and at y = -3 and 13.
    QelRectIterBase iter(make({.width = 40, .height = 30, .originX = -10, .originY = -3}), 0, 0, 39,
                         29);
    iter.toStart();
    EXPECT_EQ(QelRect(0, 0, 6, 13), iter.tile()->rect());
    EXPECT_EQ(6, iter.runLength());
    iter.nextRun();
    EXPECT_EQ(6, iter.x());
    EXPECT_EQ(16, iter.runLength());
    iter.moveTo(5, 12);
    EXPECT_EQ(gradientAt(5, 12, 0), at(iter));
    iter.moveX(1);
    iter.moveY(1);
    EXPECT_EQ(gradientAt(6, 13, 0), at(iter));
    EXPECT_EQ(QelRect(6, 13, 16, 16), iter.tile()->rect());
}

TEST_F(QelRectIterBaseTest, APositiveAnchorIsBroughtBackOverTheImage) {
    QelRectIterBase iter(make({.width = 40, .height = 30, .originX = 5, .originY = 16}), 0, 0, 39,
                         29);
    iter.toStart();
    EXPECT_EQ(QelRect(0, 0, 5, 16), iter.tile()->rect());
    iter.moveX(5);
    EXPECT_EQ(gradientAt(5, 0, 0), at(iter));
}

TEST_F(QelRectIterBaseTest, BesideAnEdgeItStaysDoneUntilItStepsBackIn) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    for (std::int32_t const outwards : {1, 2, 500, INT32_MAX}) {
        SCOPED_TRACE(outwards);
        iter.moveTo(20, 9);
        iter.moveX(outwards);
        expectOutside(iter);
        EXPECT_FALSE(iter.done());
        EXPECT_EQ(21, iter.x());
        iter.next();
        iter.moveX(1);
        iter.nextRun();
        iter.moveY(1);
        expectOutside(iter);
        EXPECT_EQ(21, iter.x());
        iter.moveX(-1);
        EXPECT_EQ(gradientAt(20, 10, 0), at(iter));

        iter.moveTo(3, 9);
        iter.moveX(-outwards);
        expectOutside(iter);
        EXPECT_EQ(2, iter.x());
        iter.moveX(-1);
        expectOutside(iter);
        iter.moveX(1);
        EXPECT_EQ(gradientAt(3, 9, 0), at(iter));
    }
}

TEST_F(QelRectIterBaseTest, AboveAndBelowItStaysDoneUntilItStepsBackIn) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    for (std::int32_t const outwards : {1, 2, 500, INT32_MAX}) {
        SCOPED_TRACE(outwards);
        iter.moveTo(7, 18);
        iter.moveY(outwards);
        expectOutside(iter);
        EXPECT_TRUE(iter.done());
        EXPECT_EQ(19, iter.y());
        iter.next();
        iter.nextRow();
        EXPECT_TRUE(iter.done());
        iter.moveX(4);
        EXPECT_TRUE(iter.done());
        iter.moveY(-1);
        EXPECT_EQ(gradientAt(7, 18, 0), at(iter)) << "at column " << iter.x();

        iter.moveTo(7, 4);
        iter.moveY(-outwards);
        EXPECT_TRUE(iter.done());
        EXPECT_EQ(3, iter.y());
        iter.moveY(-1);
        EXPECT_TRUE(iter.done());
        iter.moveY(1);
        EXPECT_EQ(gradientAt(7, 4, 0), at(iter));
    }
}

TEST_F(QelRectIterBaseTest, AStepFromNowhereCountsFromTheTopLeftPixel) {
    make();
    QelRectIterBase right(image, 3, 4, 20, 18);
    right.moveX(2);
    EXPECT_EQ(gradientAt(5, 4, 0), at(right));
    QelRectIterBase down(image, 3, 4, 20, 18);
    down.moveY(3);
    EXPECT_EQ(gradientAt(3, 7, 0), at(down));
}

TEST_F(QelRectIterBaseTest, NextRowGoesOnInTheSameBand) {
    QelRectIterBase iter(make(), 3, 4, 20, 18);
    iter.moveTo(9, 5, 2);
    iter.nextRow();
    EXPECT_EQ(2, iter.band());
    EXPECT_EQ(gradientAt(3, 6, 2), at(iter));
}

TEST_F(QelRectIterBaseTest, CopiesMadeInMidRowGoOnIndependently) {
    QelRectIterBase first(make(), 3, 4, 30, 18);
    first.moveTo(14, 9, 1);
    QelRectIterBase second(first);
    first.moveX(5);
    second.moveY(9);
    EXPECT_EQ(gradientAt(19, 9, 1), at(first));
    EXPECT_EQ(gradientAt(14, 18, 1), at(second));
    for (int x = 14; x <= 30; ++x, second.next())
        ASSERT_EQ(gradientAt(x, 18, 1), at(second));
    EXPECT_TRUE(second.rowDone());
    EXPECT_FALSE(first.rowDone());
    EXPECT_EQ(gradientAt(19, 9, 1), at(first));
}

TEST_F(QelRectIterBaseTest, AWrappedBufferIsWalkedWhereItHasPixels) {
    MoxSmartPtr<QelRectBuffer> const whole =
        new QelRectBuffer(QelRect(0, 0, 30, 20), 3, LINE_INTERLEAVED, QelDataType::UChar);
    whole->allocate();
    fillPixels(*whole, whole->rect(), gradientAt);
    image = new Qel2DImage(whole->subBuffer(QelRect(10, 5, 12, 9)));
    QelRectIterBase iter(image, 11, 6, 20, 13);
    iter.moveTo(20, 13, 2);
    EXPECT_EQ(gradientAt(20, 13, 2), at(iter));
    EXPECT_EQ(whole->addressOf(20, 13) + 60, iter.address());
}

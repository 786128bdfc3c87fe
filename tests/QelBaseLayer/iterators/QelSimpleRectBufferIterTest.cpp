#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "FaultySystem.h"
#include "ImageTesting.h"
#include "QelRectBufferIter.h"
#include "QelSimpleDataOrg.h"

namespace {

using Iter = QelSimpleRectBufferIter;

MoxSmartPtr<QelRectBuffer> bufferOf(QelLayout layout, int bands = 3,
                                    QelRect const & rect = QelRect(0, 0, 6, 5)) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(rect, bands, layout, QelDataType::UChar);
    buffer->allocate();
    fillPixels(*buffer, rect, gradientAt);
    return buffer;
}

// One line of memory whose bands, pixels and lines lie where the caller says.
MoxSmartPtr<QelRectBuffer> spelledOut(QelRect const & rect, std::vector<std::int32_t> const & bands,
                                      std::int32_t pixel, std::int32_t line) {
    MoxSmartPtr<QelDataOrg> const org =
        new QelSimpleDataOrg(rect.width, rect.height, QelDataType::UChar,
                             static_cast<int>(bands.size()), bands, pixel, line);
    return new QelRectBuffer(org, rect);
}

std::vector<std::uint8_t *> addressesOf(Iter & iter) {
    std::vector<std::uint8_t *> addresses;
    for (; !iter.done(); iter.next())
        addresses.push_back(iter.address());
    return addresses;
}

void expectEmpty(Iter const & iter, std::int32_t x, std::int32_t y) {
    EXPECT_TRUE(iter.done());
    EXPECT_EQ(0, iter.runLength());
    EXPECT_TRUE(iter.rect().isEmpty());
    EXPECT_EQ(x, iter.rect().x);
    EXPECT_EQ(y, iter.rect().y);
    EXPECT_EQ(0, iter.rect().width);
    EXPECT_EQ(0, iter.rect().height);
    EXPECT_EQ(0, iter.pixelStep());
    EXPECT_EQ(0, iter.lineStep());
    EXPECT_EQ(0, iter.bandStep());
}

}  // namespace

TEST(QelSimpleRectBufferIterTest, IsDoneUntilItIsInitialized) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(PIXEL_INTERLEAVED);
    Iter iter(buffer, buffer->rect());
    EXPECT_TRUE(iter.done());
    EXPECT_EQ(0, iter.runLength());
    iter.nextRun();
    iter.next();
    EXPECT_TRUE(iter.done());
    EXPECT_EQ(buffer.get(), iter.buffer());
    EXPECT_EQ(6, iter.loopOrder());
}

TEST(QelSimpleRectBufferIterTest, WithoutARectangleItWalksTheWholeBuffer) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(LINE_INTERLEAVED, 3, QelRect(7, -8, 6, 5));
    Iter iter(buffer);
    EXPECT_TRUE(iter.done());
    iter.initialize();
    EXPECT_EQ(buffer->rect(), iter.rect());
    EXPECT_EQ(90U, addressesOf(iter).size());
}

TEST(QelSimpleRectBufferIterTest, ANullBufferRaises4) {
    QelRectBuffer * const none = nullptr;
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { Iter iter(none, QelRect(0, 0, 9, 9)); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", [&] { Iter iter(none); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { QelRectBufferIter<std::uint8_t> iter(none); });
}

TEST(QelSimpleRectBufferIterTest, AutomaticOrderOfTheLayouts) {
    struct Row {
        QelLayout layout;
        std::int32_t order;
    };
    for (Row const & row : {Row{PIXEL_INTERLEAVED, 2}, Row{BAND_INTERLEAVED, 0},
                            Row{LINE_INTERLEAVED, 4}, Row{SPELLED_OUT, 2}}) {
        SCOPED_TRACE(row.layout);
        MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(row.layout);
        Iter iter(buffer, buffer->rect());
        iter.initialize();
        EXPECT_EQ(row.order, iter.loopOrder());
        EXPECT_FALSE(iter.done());
    }
}

TEST(QelSimpleRectBufferIterTest, AutomaticOrderOfOneBandIs2) {
    for (QelLayout const layout : {PIXEL_INTERLEAVED, BAND_INTERLEAVED, LINE_INTERLEAVED}) {
        SCOPED_TRACE(layout);
        MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(layout, 1);
        Iter iter(buffer, buffer->rect());
        iter.initialize();
        EXPECT_EQ(2, iter.loopOrder());
        EXPECT_EQ(0, iter.bandStep());
        EXPECT_EQ(30, iter.runLength());
    }
}

TEST(QelSimpleRectBufferIterTest, AutomaticOrderOfNarrowBuffersWithoutTies) {
    struct Row {
        QelLayout layout;
        QelRect rect;
        std::int32_t order;
    };
    for (Row const & row : {Row{PIXEL_INTERLEAVED, QelRect(0, 0, 1, 1), 2},
                            Row{PIXEL_INTERLEAVED, QelRect(0, 0, 9, 1), 2},
                            Row{PIXEL_INTERLEAVED, QelRect(0, 0, 1, 9), 2},
                            Row{BAND_INTERLEAVED, QelRect(0, 0, 1, 9), 0},
                            Row{LINE_INTERLEAVED, QelRect(0, 0, 9, 1), 4}}) {
        MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(row.layout, 3, row.rect);
        Iter iter(buffer, buffer->rect());
        iter.initialize();
        EXPECT_EQ(row.order, iter.loopOrder());
    }
}

TEST(QelSimpleRectBufferIterTest, TiesInAutomaticOrderRaise153AndExplicitOrdersWork) {
    struct Row {
        char const * what;
        MoxSmartPtr<QelRectBuffer> buffer;
    };
    for (Row const & row :
         {Row{"bands as far apart as pixels", bufferOf(LINE_INTERLEAVED, 3, QelRect(0, 0, 1, 9))},
          Row{"bands as far apart as lines", bufferOf(BAND_INTERLEAVED, 3, QelRect(0, 0, 9, 1))},
          Row{"one pixel, planar", bufferOf(BAND_INTERLEAVED, 3, QelRect(0, 0, 1, 1))},
          Row{"one pixel by lines", bufferOf(LINE_INTERLEAVED, 3, QelRect(0, 0, 1, 1))},
          Row{"lines as far apart as bands, less than pixels",
              spelledOut({0, 0, 3, 2}, {0, 2}, 4, 2)},
          Row{"lines closest", spelledOut({0, 0, 3, 2}, {0, 2}, 4, 1)},
          Row{"one band, lines in one place", spelledOut({0, 0, 3, 2}, {0}, 1, 0)},
          Row{"one band, pixels in one place", spelledOut({0, 0, 3, 2}, {0}, 0, 1)}}) {
        SCOPED_TRACE(row.what);
        Iter iter(row.buffer, row.buffer->rect());
        expectRaises(QelErrorCode::invalidDataOrg, "Invalid data organization",
                     [&] { iter.initialize(); });
        EXPECT_TRUE(iter.done());
        for (std::int32_t order = 0; order < 6; ++order) {
            Iter explicitly(row.buffer, row.buffer->rect(), order);
            explicitly.initialize();
            EXPECT_EQ(static_cast<std::size_t>(row.buffer->rect().area()) *
                          static_cast<std::size_t>(row.buffer->numBands()),
                      addressesOf(explicitly).size());
        }
    }
}

TEST(QelSimpleRectBufferIterTest, AnOrderThatIsNoneRaises153) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(PIXEL_INTERLEAVED);
    for (std::int32_t const order : {7, 8, -1, std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min()}) {
        SCOPED_TRACE(order);
        Iter iter(buffer, buffer->rect(), order);
        expectRaises(QelErrorCode::invalidDataOrg, "Invalid loop order",
                     [&] { iter.initialize(); });
        EXPECT_TRUE(iter.done());
    }
}

TEST(QelSimpleRectBufferIterTest, BandsAtUnequalDistancesRaise152) {
    MoxSmartPtr<QelRectBuffer> const buffer = spelledOut({0, 0, 4, 4}, {0, 1, 3}, 4, 16);
    for (std::int32_t const order : {0, 6, 7}) {
        Iter iter(buffer, buffer->rect(), order);
        expectRaises(QelErrorCode::unevenBandOffsets,
                     "QelSimpleRectBufferIter cannot be used with RectBuffers that have "
                     "non-uniform band offsets",
                     [&] { iter.initialize(); });
        EXPECT_TRUE(iter.done());
    }
    EXPECT_FALSE(buffer->isAllocated());
}

TEST(QelSimpleRectBufferIterTest, AnEmptyRectangleIsDoneAtOnceAndRaisesNothing) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(PIXEL_INTERLEAVED, 3, QelRect(7, -8, 6, 5));
    MoxSmartPtr<QelRectBuffer> const uneven = spelledOut({7, -8, 4, 4}, {0, 1, 3}, 4, 16);
    for (QelRect const & rect : {QelRect(), QelRect(8, -7, 0, 3), QelRect(8, -7, 3, -1),
                                 QelRect(13, -8, 5, 5), QelRect(0, 0, 5, 5)}) {
        for (std::int32_t const order : {6, 99}) {
            Iter iter(buffer, rect, order);
            iter.initialize();
            expectEmpty(iter, 7, -8);
            EXPECT_EQ(buffer->getData(), iter.address());
            iter.next();
            iter.nextRun();
            EXPECT_TRUE(iter.done());
            Iter ofUneven(uneven, rect, order);
            ofUneven.initialize();
            expectEmpty(ofUneven, 7, -8);
        }
    }
}

TEST(QelSimpleRectBufferIterTest, ABufferWithoutSimpleOrganisationIsDoneAtOnce) {
    MoxSmartPtr<QelDataOrg> const org = new DiagonalOrg(5, 5);
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, QelRect(2, 3, 5, 5));
    Iter iter(buffer, buffer->rect());
    iter.initialize();
    expectEmpty(iter, 2, 3);
    MoxSmartPtr<QelRectBuffer> const none = new QelRectBuffer(nullptr, QelRect(4, 5, 6, 7));
    Iter ofNone(none, none->rect());
    ofNone.initialize();
    expectEmpty(ofNone, 4, 5);
}

TEST(QelSimpleRectBufferIterTest, ABufferWithoutBandsIsDoneAtOnce) {
    MoxSmartPtr<QelRectBuffer> const buffer = spelledOut({1, 2, 4, 4}, {}, 1, 4);
    Iter iter(buffer, buffer->rect());
    iter.initialize();
    expectEmpty(iter, 1, 2);
}

TEST(QelSimpleRectBufferIterTest, ReverseXVisitsARowFromRightToLeft) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(BAND_INTERLEAVED, 1);
    Iter iter(buffer, QelRect(1, 2, 4, 1), Iter::pixelLineBand, true);
    iter.initialize();
    EXPECT_EQ(-1, iter.pixelStep());
    EXPECT_EQ(6, iter.lineStep());
    EXPECT_TRUE(iter.reverseX());
    EXPECT_FALSE(iter.reverseY());
    std::vector<std::uint8_t *> const expected{buffer->addressOf(4, 2), buffer->addressOf(3, 2),
                                               buffer->addressOf(2, 2), buffer->addressOf(1, 2)};
    EXPECT_EQ(expected, addressesOf(iter));
}

TEST(QelSimpleRectBufferIterTest, TheStartIncludesTheFirstBandsOffset) {
    MoxSmartPtr<QelRectBuffer> const buffer = spelledOut({0, 0, 3, 2}, {7, 5}, 9, 40);
    Iter iter(buffer, buffer->rect(), Iter::bandPixelLine);
    iter.initialize();
    EXPECT_EQ(buffer->addressOf(0, 0) + 7, iter.address());
    EXPECT_EQ(-2, iter.bandStep());
    EXPECT_EQ(-2, iter.innerStep());
    EXPECT_EQ(9, iter.middleStep());
    EXPECT_EQ(40, iter.outerStep());
}

TEST(QelSimpleRectBufferIterTest, ARectangleThatLeavesTheBufferIsCutToIt) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(PIXEL_INTERLEAVED, 2, QelRect(3, 4, 6, 5));
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    Iter iter(buffer, QelRect(least, 7, most, most));
    iter.initialize();
    EXPECT_TRUE(iter.done());
    Iter wide(buffer, QelRect(5, 7, most, most));
    wide.initialize();
    EXPECT_EQ(QelRect(5, 7, 4, 2), wide.rect());
    EXPECT_EQ(16U, addressesOf(wide).size());
}

TEST(QelSimpleRectBufferIterTest, NoAddressTouchesNoMemoryAndReversesNothing) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 6, 5), 3, LINE_INTERLEAVED, QelDataType::Short);
    Iter iter(buffer, QelRect(1, 1, 9, 9), Iter::automatic, true, true);
    iter.initialize(true);
    EXPECT_FALSE(buffer->isAllocated());
    EXPECT_TRUE(iter.done());
    EXPECT_EQ(0, iter.runLength());
    EXPECT_EQ(QelRect(1, 1, 5, 4), iter.rect());
    EXPECT_EQ(4, iter.loopOrder());
    EXPECT_EQ(2, iter.pixelStep());
    EXPECT_EQ(36, iter.lineStep());
    EXPECT_EQ(12, iter.bandStep());
    EXPECT_EQ(2, iter.innerStep());
    EXPECT_EQ(12, iter.middleStep());
    EXPECT_EQ(36, iter.outerStep());
    iter.next();
    EXPECT_TRUE(iter.done());

    iter.initialize();
    EXPECT_TRUE(buffer->isAllocated());
    EXPECT_EQ(-2, iter.pixelStep());
    EXPECT_EQ(-36, iter.lineStep());
    EXPECT_EQ(buffer->addressOf(5, 4), iter.address());
}

TEST(QelSimpleRectBufferIterTest, MemoryThatCannotBeHadRaises10AndIsTriedAgain) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 6, 5), 3, LINE_INTERLEAVED, QelDataType::Short);
    Iter iter(buffer, buffer->rect());
    FaultySystem system;
    system.failAllocation(1);
    std::optional<ZanError> const error = errorOf([&] { iter.initialize(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_TRUE(iter.done());
    iter.initialize();
    EXPECT_EQ(90U, addressesOf(iter).size());
    buffer->releaseData();
}

TEST(QelSimpleRectBufferIterTest, MayBeInitializedAgainAfterAWalk) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(LINE_INTERLEAVED);
    Iter iter(buffer, QelRect(2, 1, 3, 3));
    iter.initialize();
    std::vector<std::uint8_t *> const first = addressesOf(iter);
    EXPECT_TRUE(iter.done());
    for (int i = 0; i < 100; ++i)
        iter.next();
    EXPECT_TRUE(iter.done());
    iter.initialize();
    EXPECT_EQ(first, addressesOf(iter));
    EXPECT_EQ(4, iter.loopOrder());
}

TEST(QelSimpleRectBufferIterTest, LooksAtTheBufferAnewEachTimeItIsInitialized) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(LINE_INTERLEAVED);
    Iter iter(buffer, buffer->rect());
    iter.initialize();
    EXPECT_EQ(4, iter.loopOrder());
    buffer->setRect(QelRect(2, 3, 0, 0));
    iter.initialize();
    expectEmpty(iter, 2, 3);
    EXPECT_EQ(6, iter.loopOrder());
    buffer->setRect(QelRect(0, 0, 6, 5));
    iter.initialize();
    EXPECT_EQ(90U, addressesOf(iter).size());
}

TEST(QelSimpleRectBufferIterTest, CopiesMadeInMidRunGoOnIndependently) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(LINE_INTERLEAVED);
    Iter iter(buffer, QelRect(2, 1, 3, 3));
    iter.initialize();
    for (int i = 0; i < 13; ++i)
        iter.next();
    Iter copy(iter);
    std::vector<std::uint8_t *> const rest = addressesOf(iter);
    EXPECT_EQ(14U, rest.size());
    EXPECT_FALSE(copy.done());
    EXPECT_EQ(rest, addressesOf(copy));
}

TEST(QelSimpleRectBufferIterTest, CountsABufferThatOthersCount) {
    MoxSmartPtr<QelRectBuffer> buffer = bufferOf(PIXEL_INTERLEAVED);
    {
        Iter const iter(buffer, buffer->rect());
        EXPECT_EQ(2, buffer->refCount());
        Iter outliving(iter);
        EXPECT_EQ(3, buffer->refCount());
        buffer.release();
        outliving.initialize();
        EXPECT_EQ(90U, addressesOf(outliving).size());
    }
    QelRectBuffer onStack(6, 5, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    Iter iter(&onStack, onStack.rect());
    EXPECT_EQ(0, onStack.refCount());
    iter.initialize();
    EXPECT_EQ(90U, addressesOf(iter).size());
}

TEST(QelSimpleRectBufferIterTest, InitializesAChainFromItsEnd) {
    MoxSmartPtr<QelRectBuffer> const good = bufferOf(PIXEL_INTERLEAVED);
    MoxSmartPtr<QelRectBuffer> const bad = spelledOut({0, 0, 4, 4}, {0, 1, 3}, 4, 16);
    Iter last(good, good->rect());
    Iter middle(bad, bad->rect(), 0, false, false, &last);
    Iter first(good, good->rect(), 6, false, false, &middle);
    EXPECT_EQ(&middle, first.nextIter());
    EXPECT_THROW(first.initialize(), ZanError);
    EXPECT_FALSE(last.done());
    EXPECT_TRUE(middle.done());
    EXPECT_TRUE(first.done());
    EXPECT_EQ(6, first.loopOrder());
}

TEST(QelSimpleRectBufferIterTest, AChainOf100000InitializesWithoutRecursion) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(PIXEL_INTERLEAVED);
    std::vector<std::unique_ptr<Iter>> chain;
    Iter * next = nullptr;
    for (int i = 0; i < 100000; ++i) {
        chain.push_back(std::make_unique<Iter>(buffer, buffer->rect(), 6, false, false, next));
        next = chain.back().get();
    }
    next->initialize();
    for (std::unique_ptr<Iter> const & iter : chain)
        ASSERT_FALSE(iter->done());
}

TEST(QelSimpleRectBufferIterTest, ReversedAxesMayEndBeyond32Bits) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(most - 1, most, 4, 3), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Iter iter(buffer, buffer->rect(), Iter::pixelLineBand, true, true);
    iter.initialize();
    std::uint8_t * expected = buffer->getData() + 12;
    for (; !iter.done(); iter.next())
        ASSERT_EQ(--expected, iter.address());
    EXPECT_EQ(buffer->getData(), expected);
}

// All elements in one place: as many steps as nobody can take, but none that overflows.
TEST(QelSimpleRectBufferIterTest, ExtremeCountsDoNotOverflow) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    QelRect const whole(0, 0, most, most);
    MoxSmartPtr<QelRectBuffer> const buffer = spelledOut(whole, {0, 0, 0, 0, 0}, 0, 0);
    FaultySystem const system;
    for (std::int32_t order = 0; order < 6; ++order) {
        Iter iter(buffer, QelRect(0, 0, most, most), order, true, true);
        iter.initialize();
        EXPECT_FALSE(iter.done());
        EXPECT_GT(iter.runLength(), 0);
        iter.next();
        iter.nextRun();
        EXPECT_FALSE(iter.done());
        EXPECT_EQ(buffer->getData(), iter.address());
    }
    EXPECT_LT(system.peakBytes(), 100U);
    buffer->releaseData();
}

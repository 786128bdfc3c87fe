#include "QelCopyPlan.h"

#include <gtest/gtest.h>

#include "ExpectError.h"

namespace {

// One band of bytes, `width` by `height`, dense on both sides.
QelCopyLayout dense(std::int64_t width, std::int64_t height, std::int64_t size = 1) {
    QelCopyLayout layout{};
    layout.x = {width, size, size};
    layout.y = {height, size * width, size * width};
    layout.band = {1, 0, 0};
    layout.sourceSize = layout.targetSize = size;
    layout.sameType = layout.uniform = true;
    return layout;
}

// The same with lines that are `gap` bytes longer on the source's side.
QelCopyLayout withGap(std::int64_t width, std::int64_t height, std::int64_t gap) {
    QelCopyLayout layout = dense(width, height);
    layout.y.source += gap;
    return layout;
}

// Bands of bytes side by side on both sides.
QelCopyLayout interleaved(std::int64_t width, std::int64_t height, std::int64_t bands) {
    QelCopyLayout layout = dense(width, height);
    layout.x = {width, bands, bands};
    layout.y = {height, width * bands, width * bands};
    layout.band = {bands, 1, 1};
    return layout;
}

// Bands of bytes side by side in the source, one after the other in the target.
QelCopyLayout splitting(std::int64_t width, std::int64_t height, std::int64_t bands) {
    QelCopyLayout layout = interleaved(width, height, bands);
    layout.x.target = 1;
    layout.y.target = width;
    layout.band.target = width * height;
    return layout;
}

QelCopyLayout swapped(QelCopyLayout layout) {
    for (QelCopyAxis * axis : {&layout.x, &layout.y, &layout.band})
        std::swap(axis->source, axis->target);
    std::swap(layout.sourceSize, layout.targetSize);
    return layout;
}

QelCopyLayout transposed(QelCopyLayout layout) {
    std::swap(layout.x, layout.y);
    return layout;
}

// 4 by 3 by 2 bytes whose gaps are those of a case number.
QelCopyLayout withShape(int shape) {
    auto const stride = [](bool middle, bool outer) {
        std::int64_t const line = middle ? 5 : 4;
        return std::pair<std::int64_t, std::int64_t>(line, 3 * line + (outer ? 1 : 0));
    };
    auto const [sourceLine, sourceBand] = stride((shape & 1) != 0, (shape & 2) != 0);
    auto const [targetLine, targetBand] = stride((shape & 4) != 0, (shape & 8) != 0);
    QelCopyLayout layout = dense(4, 3);
    layout.y = {3, sourceLine, targetLine};
    layout.band = {2, sourceBand, targetBand};
    return layout;
}

void expectRuns(QelCopyBlocks const & blocks, std::int64_t count, std::int64_t bytes) {
    EXPECT_EQ(count, blocks.count);
    EXPECT_EQ(bytes, blocks.bytes);
}

bool takesBlocks(QelCopyLayout const & layout) {
    return qelPlanBlocks(layout).bytes > 0;
}

}  // namespace

// ---- What there is to copy

TEST(QelCopyPlanTest, NothingOfWidthOrHeightZeroIsCopied) {
    EXPECT_TRUE(qelCopyHasPixels(QelRect(5, 6, 1, 1)));
    EXPECT_FALSE(qelCopyHasPixels(QelRect(5, 6, 0, 7)));
    EXPECT_FALSE(qelCopyHasPixels(QelRect(5, 6, 7, 0)));
    EXPECT_FALSE(qelCopyHasPixels(QelRect(5, 6, -7, 0)));
}

TEST(QelCopyPlanTest, NegativeSizesAreRefused) {
    expectRaises(QelErrorCode::invalidValue,
                 "intersection of rect buffers passed to QelRectBuffer::copyFrom was (5,-6) w=-7 "
                 "h=8-- illegal width or height",
                 [] { qelCopyHasPixels(QelRect(5, -6, -7, 8)); });
    expectRaises(QelErrorCode::invalidValue,
                 "intersection of rect buffers passed to QelRectBuffer::copyFrom was (1,2) w=3 "
                 "h=-4-- illegal width or height",
                 [] { qelCopyHasPixels(QelRect(1, 2, 3, -4)); });
}

// ---- Blocks

TEST(QelCopyPlanTest, SixtyFourByOneTakesBlocksSixtyThreeByOneElements) {
    expectRuns(qelPlanBlocks(dense(64, 1)), 1, 64);
    EXPECT_FALSE(takesBlocks(dense(63, 1)));
    expectRuns(qelPlanBlocks(dense(1, 64)), 1, 64);
    EXPECT_FALSE(takesBlocks(dense(1, 63)));
    EXPECT_FALSE(takesBlocks(dense(63, 63)));
}

TEST(QelCopyPlanTest, DenseBandsAreOneRunEach) {
    QelCopyLayout layout = dense(100, 50, 2);
    layout.band = {3, 10000, 20000};
    QelCopyBlocks const blocks = qelPlanBlocks(layout);
    expectRuns(blocks, 1, 10000);
    EXPECT_TRUE(blocks.perBand);
}

TEST(QelCopyPlanTest, LinesWithGapsAreRunsIfLongerThan63Bytes) {
    QelCopyBlocks const blocks = qelPlanBlocks(withGap(64, 5, 1));
    expectRuns(blocks, 5, 64);
    EXPECT_EQ(65, blocks.sourceStep);
    EXPECT_EQ(64, blocks.targetStep);
    EXPECT_TRUE(blocks.perBand);
    EXPECT_FALSE(takesBlocks(withGap(63, 64, 1)));
    EXPECT_TRUE(takesBlocks(withGap(63, 64, 0)));
}

TEST(QelCopyPlanTest, ColumnsAreRunsWhereLinesAreNot) {
    expectRuns(qelPlanBlocks(transposed(dense(50, 100))), 1, 5000);
    QelCopyBlocks const blocks = qelPlanBlocks(transposed(withGap(100, 50, 7)));
    expectRuns(blocks, 50, 100);
    EXPECT_EQ(107, blocks.sourceStep);
}

TEST(QelCopyPlanTest, DensePixelsAreRunsAcrossBands) {
    QelCopyBlocks const blocks = qelPlanBlocks(interleaved(100, 50, 3));
    expectRuns(blocks, 1, 15000);
    EXPECT_FALSE(blocks.perBand);

    QelCopyLayout gaps = interleaved(64, 50, 3);
    gaps.y.target += 1;
    expectRuns(qelPlanBlocks(gaps), 50, 192);
    expectRuns(qelPlanBlocks(transposed(gaps)), 50, 192);
    QelCopyLayout narrow = interleaved(21, 64, 3);
    narrow.y.target += 1;
    EXPECT_FALSE(takesBlocks(narrow));
}

TEST(QelCopyPlanTest, BlocksNeedEqualTypesAndEvenBands) {
    QelCopyLayout otherType = dense(100, 100);
    otherType.sameType = false;
    EXPECT_FALSE(takesBlocks(otherType));
    QelCopyLayout uneven = interleaved(100, 100, 3);
    uneven.uniform = false;
    EXPECT_FALSE(takesBlocks(uneven));
    EXPECT_FALSE(takesBlocks(splitting(100, 100, 3)));
    EXPECT_FALSE(takesBlocks(dense(100, 100, 0)));
}

TEST(QelCopyPlanTest, BlocksStartWhereANegativeSourceStrideEnds) {
    QelCopyLayout layout = dense(100, 50);
    layout.y.source = layout.y.target = -100;
    QelCopyBlocks const blocks = qelPlanBlocks(layout);
    expectRuns(blocks, 1, 5000);
    EXPECT_EQ(-4900, blocks.sourceStart);
    EXPECT_EQ(-4900, blocks.targetStart);

    layout.y.target = 100;
    QelCopyBlocks const flipped = qelPlanBlocks(layout);
    expectRuns(flipped, 50, 100);
    EXPECT_EQ(-4900, flipped.sourceStart);
    EXPECT_EQ(4900, flipped.targetStart);
    EXPECT_EQ(100, flipped.sourceStep);
    EXPECT_EQ(-100, flipped.targetStep);
}

TEST(QelCopyPlanTest, NegativeStridesOfOneElementLeadNowhere) {
    QelCopyLayout layout = dense(100, 1);
    layout.y.source = -100;
    QelCopyBlocks const blocks = qelPlanBlocks(layout);
    expectRuns(blocks, 1, 100);
    EXPECT_EQ(0, blocks.sourceStep);
    EXPECT_EQ(0, blocks.sourceStart);
}

// ---- Loops

TEST(QelCopyPlanTest, EveryLoopShapeComesFromItsGaps) {
    for (int shape = 0; shape < QelCopyLoops::shapes; ++shape) {
        QelCopyLoops const loops = qelPlanLoops(withShape(shape), QelCopyOrder::Ascending);
        EXPECT_EQ(shape, loops.shape);
        EXPECT_EQ(4, loops.inner) << shape;
        EXPECT_EQ(3, loops.middle) << shape;
        EXPECT_EQ(2, loops.outer) << shape;
        EXPECT_EQ((shape & 1) != 0 ? 1 : 0, loops.sourceGap1) << shape;
        EXPECT_EQ((shape & 2) != 0 ? 1 : 0, loops.sourceGap2) << shape;
        EXPECT_EQ((shape & 4) != 0 ? 1 : 0, loops.targetGap1) << shape;
        EXPECT_EQ((shape & 8) != 0 ? 1 : 0, loops.targetGap2) << shape;
    }
}

TEST(QelCopyPlanTest, NegativeGapsCountAsGaps) {
    QelCopyLoops const loops = qelPlanLoops(splitting(4, 3, 2), QelCopyOrder::Ascending);
    EXPECT_EQ(2, loops.inner);
    EXPECT_EQ(1 - 2 * 12, loops.targetGap1);
    EXPECT_EQ(4, loops.shape & 4);
}

TEST(QelCopyPlanTest, WithoutAnOuterLoopOnlyInnerGapsCount) {
    QelCopyLayout layout = withShape(15);
    layout.band.count = 1;
    EXPECT_EQ(5, qelPlanLoops(layout, QelCopyOrder::Ascending).shape);
    layout.y.count = 1;
    EXPECT_EQ(0, qelPlanLoops(layout, QelCopyOrder::Ascending).shape);
}

TEST(QelCopyPlanTest, LargestSourceStrideIsOutermostAndSingleElementsGoOutside) {
    QelCopyLayout layout = dense(5, 6);
    layout.x = {5, 1000, 1};
    layout.y = {6, -10, 5};
    layout.band = {7, 100, 30};
    QelCopyLoops loops = qelPlanLoops(layout, QelCopyOrder::Ascending);
    EXPECT_EQ(6, loops.inner);
    EXPECT_EQ(7, loops.middle);
    EXPECT_EQ(5, loops.outer);
    EXPECT_EQ(10, loops.sourceStep);
    EXPECT_EQ(-5, loops.targetStep);
    EXPECT_EQ(-50, loops.sourceStart);
    EXPECT_EQ(25, loops.targetStart);

    layout.y.count = 1;
    loops = qelPlanLoops(layout, QelCopyOrder::Ascending);
    EXPECT_EQ(7, loops.inner);
    EXPECT_EQ(5, loops.middle);
    EXPECT_EQ(1, loops.outer);
}

TEST(QelCopyPlanTest, DescendingRunsBackwardsButWithinRows) {
    QelCopyLoops const rows = qelPlanLoops(withGap(4, 3, 1), QelCopyOrder::Descending);
    EXPECT_EQ(1, rows.sourceStep);
    EXPECT_EQ(10, rows.sourceStart);
    EXPECT_EQ(8, rows.targetStart);
    EXPECT_EQ(-5 - 4, rows.sourceGap1);

    QelCopyLayout apart = dense(4, 3);
    apart.x.source = 2;
    QelCopyLoops const elements = qelPlanLoops(apart, QelCopyOrder::Descending);
    EXPECT_EQ(-2, elements.sourceStep);
    EXPECT_EQ(-1, elements.targetStep);
    EXPECT_EQ(2 * 3 + 4 * 2, elements.sourceStart);
}

// ---- Bands

TEST(QelCopyPlanTest, BandsAreTakenApartAndPutTogether) {
    QelCopyLayout layout = splitting(10, 7, 3);
    layout.y.source += 1;
    QelCopyBands const split = qelPlanBands(layout);
    EXPECT_EQ(QelCopyBands::Split, split.kind);
    EXPECT_EQ(10, split.pixels);
    EXPECT_EQ(7, split.rows);
    EXPECT_EQ(31, split.sourceStep);
    EXPECT_EQ(10, split.targetStep);
    EXPECT_EQ(70, split.bandStep);

    QelCopyBands const join = qelPlanBands(swapped(layout));
    EXPECT_EQ(QelCopyBands::Join, join.kind);
    EXPECT_EQ(10, join.sourceStep);
    EXPECT_EQ(31, join.targetStep);
    EXPECT_EQ(70, join.bandStep);
}

TEST(QelCopyPlanTest, DenseRowsOfBandsAreOneRow) {
    QelCopyBands const bands = qelPlanBands(splitting(10, 7, 4));
    EXPECT_EQ(70, bands.pixels);
    EXPECT_EQ(1, bands.rows);
}

TEST(QelCopyPlanTest, BandsInReverseStartAtTheLast) {
    QelCopyLayout layout = splitting(10, 7, 3);
    layout.band.source = -1;
    QelCopyBands const bands = qelPlanBands(layout);
    EXPECT_EQ(QelCopyBands::Split, bands.kind);
    EXPECT_EQ(-2, bands.sourceStart);
    EXPECT_EQ(140, bands.targetStart);
    EXPECT_EQ(-70, bands.bandStep);
}

TEST(QelCopyPlanTest, OtherBandsHaveNoPlanOfTheirOwn) {
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(splitting(10, 7, 1)).kind);
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(splitting(10, 7, 5)).kind);
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(interleaved(10, 7, 3)).kind);

    QelCopyLayout uneven = splitting(10, 7, 3);
    uneven.uniform = false;
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(uneven).kind);
    QelCopyLayout mixedUp = splitting(10, 7, 3);
    mixedUp.band.target = 9;  // bands that overlap
    mixedUp.y.target = 100;
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(mixedUp).kind);
    QelCopyLayout oddSize = splitting(10, 7, 3);
    oddSize.targetSize = 3;
    EXPECT_EQ(QelCopyBands::None, qelPlanBands(oddSize).kind);
}

// ---- Overlap

TEST(QelCopyPlanTest, ReachCoversNegativeStridesToo) {
    QelCopyLayout layout = dense(10, 5, 2);
    layout.y.source = -20;
    layout.band = {3, -100, 100};
    EXPECT_EQ(80 + 200, qelSourceReach(layout).before);
    EXPECT_EQ(18 + 2, qelSourceReach(layout).after);
    EXPECT_EQ(0, qelTargetReach(layout).before);
    EXPECT_EQ(18 + 80 + 200 + 2, qelTargetReach(layout).after);
}

TEST(QelCopyPlanTest, StridesOfSingleElementsMakeNoDifference) {
    QelCopyLayout layout = withGap(10, 5, 1);
    EXPECT_FALSE(qelCopyStridesAlike(layout));
    layout.y.count = 1;
    EXPECT_TRUE(qelCopyStridesAlike(layout));
    layout.targetSize = 2;
    EXPECT_FALSE(qelCopyStridesAlike(layout));
}

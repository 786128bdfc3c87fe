#include <algorithm>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "ImageTesting.h"

// Where the grid of an image begins whose op refuses the tile size that the limits ask for.

// The limits would make the tiles 256 wide, where -280 is anchored at -24.
TEST(Qel2DImageAnchorTest, AnOpThatRefusesASmallerTileIsAnchoredByBothSizes) {
    struct Row {
        std::int32_t origin, expected;
    };
    for (Row const & row :
         {Row{-280, -24}, Row{0, 0}, Row{300, -212}, Row{256, 0}, Row{-24, -24}}) {
        SCOPED_TRACE("origin " + std::to_string(row.origin));
        TestImage report{.width = 700, .height = 20, .bands = 1, .tileWidth = 300};
        report.originX = row.origin;
        MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
        EXPECT_EQ(300, image->dataOrg()->tileWidth());
        EXPECT_EQ(row.expected, image->dataOrg()->originX());
        EXPECT_EQ((699 - row.expected) / 300 + 1, image->tilesAcross());
        EXPECT_TRUE(image->createTile(0, 0)->rect().contains(0, 0));
        EXPECT_TRUE(showsPixels(*image->getData(report.rect(), true), report.rect(), gradientAt));
    }
}

// The same by counting down from the reported origin, one tile at a time.
TEST(Qel2DImageAnchorTest, AnchorsOfRefusedSizesAgreeWithCounting) {
    constexpr std::uint32_t seed = 20251;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const from = [&random](std::int32_t least, std::int32_t most) {
        return std::uniform_int_distribution<std::int32_t>(least, most)(random);
    };
    auto const counted = [](std::int32_t origin, std::int32_t size) {
        while (origin > 0)
            origin -= size;
        while (origin <= -size)
            origin += size;
        return origin;
    };
    for (int i = 0; i < 200; ++i) {
        std::int32_t const own = from(1, 60);
        std::int32_t const most = from(1, 60);
        std::int32_t const origin = from(-500, 500);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", own size " + std::to_string(own) +
                     ", limit " + std::to_string(most) + ", origin " + std::to_string(origin));
        TileLimits const limits(1, most);
        TestImage const report{.width = 70,
                               .height = 10,
                               .tileWidth = own,
                               .tileHeight = own,
                               .originX = origin,
                               .originY = origin};
        MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
        std::int32_t const expected = counted(counted(origin, std::min(own, most)), own);
        ASSERT_EQ(own, image->dataOrg()->tileWidth());
        ASSERT_EQ(expected, image->dataOrg()->originX());
        ASSERT_EQ(expected, image->dataOrg()->originY());
        ASSERT_TRUE(showsPixels(*image->getData(report.rect(), true), report.rect(), gradientAt));
    }
}

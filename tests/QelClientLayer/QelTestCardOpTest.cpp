#include "QelTestCardOp.h"

#include "ClientTesting.h"

namespace {

MoxSmartPtr<QelRectBuffer> card(std::int32_t width, std::int32_t height, TileSize const &) {
    Qel2DImage image(new QelTestCardOp(width, height));
    return allOf(image);
}

TEST(QelTestCardOpTest, RefusesSizesOutOfRange) {
    expectRaises(QelErrorCode::invalidValue,
                 "The test card's width is 0, it must lie between 1 and 1000000",
                 [] { QelTestCardOp op(0, 10); });
    expectRaises(QelErrorCode::invalidValue,
                 "The test card's height is 1000001, it must lie between 1 and 1000000",
                 [] { QelTestCardOp op(10, 1000001); });
}

TEST(QelTestCardOpTest, RefusesBuffersOfOtherElements) {
    QelTestCardOp op(64, 48);
    expectRefusesOtherElements(op);
}

TEST(QelTestCardOpTest, ReportsThreeBandsOfBytes) {
    QelTestCardOp op(1000000, 7);
    QelImageInfo info;
    ASSERT_TRUE(op.outputInfo(info));
    EXPECT_EQ(1000000, info.width());
    EXPECT_EQ(7, info.height());
    EXPECT_EQ(3, info.numBands());
    EXPECT_TRUE(info.precision() == QelDataType::UChar);
}

TEST(QelTestCardOpTest, IsTheSameForEveryTileSize) {
    Random random(20240106);
    for (int round = 0; round < 30; ++round) {
        int const width = random.between(1, 400);
        int const height = random.between(1, 300);
        MoxSmartPtr<QelRectBuffer> const whole = card(width, height, TileSize(400, 300));
        TileSize const tiles(random.between(1, 200), random.between(1, 200));
        MoxSmartPtr<QelRectBuffer> const tiled = card(width, height, tiles);
        ASSERT_TRUE(showsPixels(*tiled, tiled->rect(), pixelsOf(*whole)))
            << width << " by " << height;
    }
}

TEST(QelTestCardOpTest, IsTheSameInEveryLayout) {
    Random random(20240107);
    MoxSmartPtr<QelRectBuffer> const whole = card(200, 150, TileSize(200, 150));
    QelTestCardOp op(200, 150);
    for (int round = 0; round < 30; ++round) {
        QelRect const part = random.rectIn(whole->rect());
        QelRectBuffer buffer(random.org(part.width, part.height, QelDataType::UChar, 3), part);
        op.compute(&buffer, 0);
        ASSERT_TRUE(showsPixels(buffer, part, pixelsOf(*whole)));
    }
}

TEST(QelTestCardOpTest, LargestSizeHasNoOverflow) {
    QelTestCardOp op(QelTestCardOp::maxSide, QelTestCardOp::maxSide);
    for (QelRect const & rect : {QelRect(0, 0, 64, 64), QelRect(340000, 425000, 64, 64),
                                 QelRect(999936, 999936, 64, 64), QelRect(640, 425000, 64, 64)}) {
        QelRectBuffer buffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        op.compute(&buffer, 0);
        EXPECT_TRUE(buffer.isAllocated());
    }
}

TEST(QelTestCardOpTest, HoldsWhatItIsMeantToShow) {
    MoxSmartPtr<QelRectBuffer> const picture = card(1024, 768, TileSize(128, 128));
    auto const grey = [&](int x, int y) {
        double const value = elementAt(*picture, x, y, 0);
        EXPECT_EQ(value, elementAt(*picture, x, y, 1)) << x << "," << y;
        EXPECT_EQ(value, elementAt(*picture, x, y, 2)) << x << "," << y;
        return value;
    };
    // Sixteen steps of grey from black to white.
    for (int step = 0; step < 16; ++step) {
        EXPECT_EQ(step * 17, grey(41 + 30 + step * 58 + step * 9 / 10, 668)) << step;
    }
    // The rings are white in their centre, and their left half is grey.
    EXPECT_EQ(255, grey(346, 326));
    for (int x = 80; x < 346; ++x)
        grey(x, 326);
    // Lines of one pixel: black and white in turn.
    for (int x = 700; x < 750; ++x)
        EXPECT_EQ(255 - grey(x, 450), grey(x + 1, 450)) << x;
    // The upright stroke of the L has sharp edges.
    EXPECT_EQ(244, elementAt(*picture, 890, 100, 0));
    EXPECT_GT(100, elementAt(*picture, 886, 100, 0));
}

}  // namespace

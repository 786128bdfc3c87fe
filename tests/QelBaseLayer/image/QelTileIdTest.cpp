#include "QelTileId.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

class Extent : public QelPixelExtent {
  public:
    std::int32_t selectedPixelWidth() const override { return 640; }
    std::int32_t selectedPixelHeight() const override { return 480; }
};

void expectId(QelTileId const & id, std::int32_t x, std::int32_t y, std::int32_t height,
              std::int32_t width) {
    EXPECT_EQ(x, id.tileX);
    EXPECT_EQ(y, id.tileY);
    EXPECT_EQ(height, id.resolutionHeight);
    EXPECT_EQ(width, id.resolutionWidth);
}

std::string printed(QelTileId const & id) {
    std::ostringstream out;
    out << id;
    return out.str();
}

}  // namespace

TEST(QelTileIdTest, DefaultIsAllMinusOne) {
    expectId(QelTileId(), -1, -1, -1, -1);
}

TEST(QelTileIdTest, TakesTheWidthBeforeTheHeight) {
    expectId(QelTileId(1, 2, 640, 480), 1, 2, 480, 640);
}

TEST(QelTileIdTest, TakesTheResolutionOfAnotherId) {
    expectId(QelTileId(QelTileId(1, 2, 640, 480), 3, 4), 3, 4, 480, 640);
}

TEST(QelTileIdTest, TakesTheSelectedResolutionOfASpace) {
    Extent const space;
    expectId(QelTileId(5, 6, &space), 5, 6, 480, 640);
}

TEST(QelTileIdTest, ANullSpaceGivesZero) {
    QelPixelExtent const * const none = nullptr;
    expectId(QelTileId(5, 6, none), 5, 6, 0, 0);
}

TEST(QelTileIdTest, AtResolutionKeepsThePosition) {
    QelTileId const id(1, 2, 640, 480);
    expectId(id.atResolution(320, 240), 1, 2, 240, 320);
    expectId(id, 1, 2, 480, 640);
}

// QelTileId(1, 2, 640, 480) prints "<1,2,480,640>".
TEST(QelTileIdTest, PrintsTheHeightBeforeTheWidth) {
    EXPECT_EQ("<1,2,480,640>", printed(QelTileId(1, 2, 640, 480)));
    EXPECT_EQ("<-1,-1,-1,-1>", printed(QelTileId()));
}

TEST(QelTileIdTest, EqualIdsAgreeInEveryField) {
    QelTileId const id(1, 2, 3, 4);
    EXPECT_EQ(id, QelTileId(1, 2, 3, 4));
    for (QelTileId const & other : {QelTileId(0, 2, 3, 4), QelTileId(1, 0, 3, 4),
                                    QelTileId(1, 2, 0, 4), QelTileId(1, 2, 3, 0)}) {
        EXPECT_FALSE(id == other) << printed(other);
    }
}

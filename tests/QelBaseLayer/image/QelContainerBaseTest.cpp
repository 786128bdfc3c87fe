#include "QelContainerBase.h"

#include <string>

#include <gtest/gtest.h>

#include "MockContainer.h"
#include "OutputCapture.h"
#include "TestOps.h"

namespace {

// The least that a container has to say.
class BareContainer : public QelContainerBase {
  public:
    MoxSmartPtr<QelTile> createTile(Qel2DImage *, std::int32_t, std::int32_t) override {
        return nullptr;
    }
    void determineOp(Qel2DImage *) override {}
    void computeTile(QelTile *) override {}
    void genRect(Qel2DImage *, QelRectBuffer *) override {}
    void genTile(QelTile *) override {}
    bool canGenTile(QelTile *) override { return false; }
    bool canGenRect(QelRectBuffer *) override { return false; }
    QelItemOwner * getOwner() const override { return nullptr; }
};

}  // namespace

TEST(QelContainerBaseTest, HasADescriptionOfItsOwn) {
    EXPECT_EQ("Unknown 2D Image Container Type", BareContainer().description());
}

TEST(QelContainerBaseTest, IgnoresProgress) {
    OutputCapture output;
    BareContainer container;
    container.workDone(3);
    EXPECT_EQ("", output.text());
}

TEST(QelContainerBaseTest, MakesAndComputesTheTilesOfAnImageWithoutAnOp) {
    TestImage const shape{.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16};
    MockContainer container;
    container.onComputeTile = [](QelTile * tile) {
        fillPixels(*tile, tile->rect(), gradientAt);
        tile->setComplete(true);
    };
    MoxSmartPtr<Qel2DImage> const image(
        new Qel2DImage(QelTileId(), shape.dataOrg(), 40, 30, &container));

    MoxSmartPtr<QelTile> const tile = image->getTile(2, 1);
    EXPECT_EQ("createTile(2,1) determineOp computeTile(2,1)", container.calls());
    EXPECT_EQ(QelTileId(2, 1, 40, 30), tile->tileId());
    EXPECT_TRUE(showsPixels(*tile, QelRect(32, 16, 8, 14), gradientAt));
}

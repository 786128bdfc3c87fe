#include "QelTileContainer.h"

#include <string>
#include <vector>

#include "ExpectError.h"
#include "QelTileId.h"
#include "TestOps.h"

// What a container of tiles does of itself: the checks of what is added and removed.

namespace {

// Keeps no tile but the one that the test gives it, and notes what it is asked.
class NotingContainer : public QelTileContainer<QelTileId> {
  public:
    MoxSmartPtr<QelTile> tile;
    std::vector<std::string> calls;
    QelRenderedItem * discarded = nullptr;

    void addTile(QelTile * added) override {
        calls.push_back("addTile");
        tile = added;
    }
    MoxSmartPtr<QelTile> findTile(QelTileId const & id) override {
        calls.push_back("findTile");
        return tile && tile->tileId() == id ? tile : nullptr;
    }
    MoxSmartPtr<QelTile> findOrCreateTile(QelTileId const &) override {
        calls.push_back("findOrCreateTile");
        return nullptr;
    }
    void discardReference(QelRenderedItem * item) override {
        calls.push_back("discardReference");
        discarded = item;
    }
    void setCacheTiles(bool) override {}
    void clear() override {}
    Iterator makeIterator(QelDataDesc *) override { return {}; }
};

using Calls = std::vector<std::string>;

class QelTileContainerTest : public testing::Test {
  protected:
    NotingContainer container_;
    MoxSmartPtr<QelTile> tile_{new QelTile(TestImage{}.dataOrg(), QelTileId(1, 0, 300, 200))};
    MoxSmartPtr<QelRectBuffer> buffer_{new QelRectBuffer};
};

TEST_F(QelTileContainerTest, AddPassesATileOn) {
    container_.add(tile_.get());
    EXPECT_EQ(Calls({"addTile"}), container_.calls);
    EXPECT_EQ(tile_, container_.tile);
}

TEST_F(QelTileContainerTest, AddTakesNothingButTiles) {
    expectRaises(QelErrorCode::wrongClass, "Can only add tiles to a tile container",
                 [&] { container_.add(buffer_.get()); });
    expectRaises(QelErrorCode::wrongClass, "Can only add tiles to a tile container",
                 [&] { container_.add(nullptr); });
    EXPECT_EQ(Calls(), container_.calls);
}

TEST_F(QelTileContainerTest, RemoveDiscardsATile) {
    container_.remove(tile_.get());
    EXPECT_EQ(Calls({"discardReference"}), container_.calls);
    EXPECT_EQ(tile_.get(), container_.discarded);
}

TEST_F(QelTileContainerTest, RemoveTakesNothingButTiles) {
    expectRaises(QelErrorCode::wrongClass, "Can only remove tiles from a tile container",
                 [&] { container_.remove(buffer_.get()); });
    expectRaises(QelErrorCode::wrongClass, "Can only remove tiles from a tile container",
                 [&] { container_.remove(nullptr); });
    EXPECT_EQ(Calls(), container_.calls);
}

TEST_F(QelTileContainerTest, RemoveByIdFindsTheTileAndDiscardsIt) {
    container_.tile = tile_;
    container_.removeById(QelTileId(1, 0, 300, 200));
    EXPECT_EQ(Calls({"findTile", "discardReference"}), container_.calls);
    EXPECT_EQ(tile_.get(), container_.discarded);
}

TEST_F(QelTileContainerTest, RemoveByIdOfATileThatIsNotThereDoesNothing) {
    container_.tile = tile_;
    container_.removeById(QelTileId(0, 1, 300, 200));
    EXPECT_EQ(Calls({"findTile"}), container_.calls);
}

// Nobody owns the container: for messages.
TEST_F(QelTileContainerTest, HasNoOwnerUnlessGivenOne) {
    EXPECT_EQ(nullptr, container_.getOwner());
}

}  // namespace

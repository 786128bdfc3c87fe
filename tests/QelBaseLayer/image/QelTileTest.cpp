#include "QelTile.h"

#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "Qel2DImage.h"
#include "QelEmbeddedRenderedItemContainer.h"
#include "QelError.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "RigidDataOrg.h"
#include "ScopedSetting.h"
#include "TestOps.h"

namespace {

MoxSmartPtr<QelTile> makeTile(std::int32_t x = 0, std::int32_t y = 0) {
    return MoxSmartPtr<QelTile>(new QelTile(TestImage{.tileWidth = 16, .tileHeight = 8}.dataOrg(),
                                            QelTileId(x, y, 640, 480)));
}

std::string printed(QelRenderedItem const & item) {
    std::ostringstream out;
    item.print(out);
    return out.str();
}

std::string addressText(void const * address) {
    std::ostringstream out;
    out << address;
    return out.str();
}

}  // namespace

// Notes what tiles tell it.
class TileOwner : public QelEmbeddedRenderedItemContainer {
  public:
    std::vector<QelRenderedItem *> discarded;
    std::vector<std::string> changes;
    std::function<void()> onDiscard;

    void discardReference(QelRenderedItem * item) override {
        discarded.push_back(item);
        if (onDiscard) onDiscard();
    }
    void notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool set) override {
        changes.push_back(std::to_string(mask) + (set ? " set" : " cleared") +
                          (static_cast<QelTile *>(item)->isAllocated() ? ", allocated" : ""));
    }
};

TEST(QelTileTest, StartsEmptyIncompleteAndWithoutMemory) {
    std::int64_t const before = QelSystemConfig::currentBytes;
    MoxSmartPtr<QelTile> const tile = makeTile(2, 3);

    EXPECT_EQ(QelTileId(2, 3, 640, 480), tile->tileId());
    EXPECT_EQ(QelRect(32, 24, 16, 8), tile->rect());
    EXPECT_EQ(0, tile->dataOffset());
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(nullptr, tile->container());
    EXPECT_EQ(1, tile->referenceCount());
    EXPECT_EQ(before, QelSystemConfig::currentBytes);
}

TEST(QelTileTest, SharesItsOrganisation) {
    MoxSmartPtr<QelDataOrg> const org = TestImage().dataOrg();
    MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(0, 0)));
    EXPECT_EQ(org.get(), tile->dataOrg().get());
}

TEST(QelTileTest, ANullOrganisationIsRefused) {
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [] { QelTile const tile(nullptr, QelTileId(0, 0)); });
}

// Whether it is to be freed is the caller's to say.
static_assert(std::is_constructible_v<QelTile, QelDataOrg *, QelTileId, void *, bool>);
static_assert(!std::is_constructible_v<QelTile, QelDataOrg *, QelTileId, void *>);

TEST(QelTileTest, UsesTheCallersMemory) {
    std::vector<std::uint8_t> memory(16 * 8 * 3, 7);
    {
        MoxSmartPtr<QelDataOrg> const org = TestImage{.tileWidth = 16, .tileHeight = 8}.dataOrg();
        MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(0, 0), memory.data(), false));
        EXPECT_EQ(memory.data(), tile->getData());
        EXPECT_EQ(7, elementAt(*tile, 15, 7, 2));
        tile->setComplete(false);
        EXPECT_FALSE(tile->isAllocated());
    }
    EXPECT_EQ(7, memory.back());
}

TEST(QelTileTest, PrintsItsIdAheadOfTheBuffer) {
    MoxSmartPtr<QelTile> const tile = makeTile(1, 2);
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(*tile));
    EXPECT_EQ("Tile<1,2,480,640>" + printed(*buffer), printed(*tile));
}

// setComplete(false) on a tile frees its data; isAllocated is then false and a new getData
// allocates afresh.
TEST(QelTileTest, SetCompleteFalseFreesItsData) {
    MoxSmartPtr<QelTile> const tile = makeTile();
    std::int64_t const bytes = QelSystemConfig::currentBytes;
    std::int64_t const allocations = QelSystemConfig::allocationCount;
    tile->getData();
    tile->setComplete(true);
    EXPECT_TRUE(tile->isAllocated());
    EXPECT_EQ(bytes + 16 * 8 * 3, QelSystemConfig::currentBytes);

    tile->setComplete(false);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(bytes, QelSystemConfig::currentBytes);

    EXPECT_NE(nullptr, tile->getData());
    EXPECT_TRUE(tile->isAllocated());
    EXPECT_EQ(allocations + 2, QelSystemConfig::allocationCount);
}

TEST(QelTileTest, SetCompleteTellsTheContainerBeforeTheDataGoes) {
    TileOwner owner;
    MoxSmartPtr<QelTile> const tile = makeTile();
    tile->setContainer(&owner);
    tile->getData();
    tile->setComplete(true);
    tile->setComplete(false);
    ASSERT_FALSE(owner.changes.empty());
    EXPECT_EQ("4 set, allocated", owner.changes.front());
    EXPECT_EQ("4 cleared, allocated", owner.changes.back());
}

TEST(QelTileTest, DataThatSomebodySharesOutlivesSetCompleteFalse) {
    MoxSmartPtr<QelTile> const tile = makeTile();
    setElement(*tile, 3, 4, 1, 99);
    MoxSmartPtr<QelRectBuffer> const view = tile->subBuffer(QelRect(3, 4, 1, 1));
    tile->setComplete(false);
    EXPECT_EQ(99, elementAt(*view, 3, 4, 1));
}

TEST(QelTileTest, ACopyKeepsIdAndCompletenessSharesMemoryAndBelongsToNobody) {
    TileOwner owner;
    MoxSmartPtr<QelTile> const tile = makeTile(1, 2);
    tile->setContainer(&owner);
    tile->getData();
    tile->setState(QelRenderedItem::pending | QelRenderedItem::taken, true);

    MoxSmartPtr<QelTile> const incomplete(new QelTile(*tile));
    EXPECT_FALSE(incomplete->isState(QelRenderedItem::complete));
    tile->setComplete(true);
    MoxSmartPtr<QelTile> const copy(new QelTile(*tile));

    EXPECT_EQ(tile->tileId(), copy->tileId());
    EXPECT_TRUE(copy->isState(QelRenderedItem::complete));
    EXPECT_FALSE(copy->isState(QelRenderedItem::pending | QelRenderedItem::taken));
    EXPECT_EQ(tile->getData(), copy->getData());
    EXPECT_EQ(tile->rect(), copy->rect());
    EXPECT_EQ(nullptr, copy->container());
    EXPECT_EQ(1, copy->refCount());
    EXPECT_EQ(3, copy->referenceCount());
}

TEST(QelTileTest, ComputeNeedsAnImage) {
    std::string const text = "An QelTile is not owned by an Qel2DImage in QelTile::computeTile";
    TileOwner owner;
    MoxSmartPtr<QelTile> const tile = makeTile();
    expectRaises(QelErrorCode::nullPointer, text, [&] { tile->compute(); });

    tile->setContainer(&owner);
    expectRaises(QelErrorCode::nullPointer, text, [&] { tile->compute(); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
}

TEST(QelTileTest, ComputeAsksItsImageAndKeepsNoReference) {
    MoxSmartPtr<CountingOp> const op(new CountingOp(new GradientOp({.width = 300, .height = 200})));
    MoxSmartPtr<Qel2DImage> const image(new Qel2DImage(op));
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 1);

    tile->compute();
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, QelRect(128, 128, 128, 72), gradientAt));
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ(1, tile->refCount());

    tile->compute();
    EXPECT_EQ(1, op->computes());
}

TEST(QelTileTest, TellsItsContainerOnceWhenItGoes) {
    TileOwner owner;
    MoxSmartPtr<QelTile> tile = makeTile();
    QelTile const * const address = tile;
    tile->setContainer(&owner);
    tile.release();
    EXPECT_EQ(std::vector<QelRenderedItem *>{const_cast<QelTile *>(address)}, owner.discarded);
}

TEST(QelTileTest, SaysNothingWhenItGoesUntraced) {
    OutputCapture output;
    makeTile().release();
    EXPECT_EQ("", output.text());
}

TEST(QelTileTest, AContainerThatRaisesWhenTheTileGoesIsReportedAndIgnored) {
    TileOwner owner;
    owner.onDiscard = [] { throw std::runtime_error("no such tile"); };
    MoxSmartPtr<QelTile> tile = makeTile();
    tile->setContainer(&owner);
    OutputCapture output;
    EXPECT_NO_THROW(tile.release());
    EXPECT_EQ(1U, owner.discarded.size());
    EXPECT_NE(std::string::npos, output.text().find("no such tile"));
}

TEST(QelTileTest, TracesItsDestruction) {
    TileOwner owner;
    MoxSmartPtr<QelTile> tile = makeTile(1, 2);
    std::string const data = addressText(tile->getData());
    tile->setContainer(&owner);
    std::string const expected =
        "QelTile destructing " + addressText(tile.get()) + ' ' + printed(*tile) + ' ' + data + ' ' +
        addressText(static_cast<QelEmbeddedRenderedItemContainer *>(&owner)) + " TileOwner\n";
    ScopedSetting const trace(QelSystemConfig::traceFlags, QelSystemConfig::traceActivity);
    OutputCapture output;
    tile.release();
    EXPECT_EQ(expected, output.text().substr(0, expected.size()));
    EXPECT_EQ(1U, owner.discarded.size());
}

TEST(QelTileTest, TracesTheDestructionOfATileWithoutMemoryAndContainer) {
    MoxSmartPtr<QelTile> tile = makeTile(1, 2);
    tile->releaseData();
    std::string const expected =
        "QelTile destructing " + addressText(tile.get()) + ' ' + printed(*tile) + " 0 0 NULL\n";
    ScopedSetting const trace(QelSystemConfig::traceFlags, QelSystemConfig::traceActivity);
    OutputCapture output;
    tile.release();
    EXPECT_EQ(expected, output.text());
}

TEST(QelTileTest, AnErrorWhileItsDestructionIsTracedIsReportedAndIgnored) {
    TileOwner owner;
    MoxSmartPtr<RigidDataOrg> const org(new RigidDataOrg(4, 4, {QelDataType::UChar}));
    org->onPrint = [](std::ostream &) { throw QelError(7, "Bad index", "somewhere.cpp", 3); };
    MoxSmartPtr<QelTile> tile(new QelTile(org, QelTileId(0, 0)));
    tile->releaseData();
    tile->setContainer(&owner);
    ScopedSetting const trace(QelSystemConfig::traceFlags, QelSystemConfig::traceActivity);
    OutputCapture output;
    tile.release();
    EXPECT_EQ("QelTile destructing: QEL error 7\nBad index\n", output.text());
    EXPECT_EQ(1U, owner.discarded.size());
}

TEST(QelTileTest, AForeignExceptionWhileItsDestructionIsTracedIsIgnored) {
    TileOwner owner;
    MoxSmartPtr<RigidDataOrg> const org(new RigidDataOrg(4, 4, {QelDataType::UChar}));
    org->onPrint = [](std::ostream &) { throw std::bad_alloc(); };
    MoxSmartPtr<QelTile> tile(new QelTile(org, QelTileId(0, 0)));
    tile->releaseData();
    tile->setContainer(&owner);
    ScopedSetting const trace(QelSystemConfig::traceFlags, QelSystemConfig::traceActivity);
    OutputCapture output;
    tile.release();
    EXPECT_EQ("", output.text());
    EXPECT_EQ(1U, owner.discarded.size());
}

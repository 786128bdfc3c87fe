#include <sstream>
#include <string>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelImageStreamData.h"
#include "QelSimpleResolutionDesc.h"
#include "QelSmartRenderedItemVector.h"
#include "StreamTesting.h"

namespace {

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};

class QelImageStreamDataDependenciesTest : public ImageStreamFixture {};

std::string idsOf(QelSmartRenderedItemVector const & list) {
    std::ostringstream text;
    for (std::size_t i = 0; i < list.size(); ++i)
        text << dynamic_cast<QelTile const &>(*list.get(i)).tileId();
    return text.str();
}

TEST_F(QelImageStreamDataDependenciesTest, ARequestEntersTheTilesThatItsRegionTouches) {
    QelImageRequestDesc wanted = request(QelRect(100, 100, 60, 60));
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get(), &wanted);
    EXPECT_EQ("<0,0,200,300><1,0,200,300><0,1,200,300><1,1,200,300>", idsOf(*list));
    for (std::size_t i = 0; i < list->size(); ++i) {
        EXPECT_TRUE(list->get(i)->isState(QelRenderedItem::pending));
        EXPECT_FALSE(list->get(i)->isState(QelRenderedItem::complete));
    }
    EXPECT_EQ(4, transform_->count("generateDependencies"));
    EXPECT_EQ(data().findTile(idOf(full, 1, 1)).get(), list->get(3).get());
}

TEST_F(QelImageStreamDataDependenciesTest, AComputedTileCountsNoWork) {
    data().setCachingClient(true);
    MoxSmartPtr<QelTile> const tile = data().getTile(idOf(full));
    transform_->forgetCalls();
    data().generateDependencies(tile.get());
    EXPECT_EQ("", transform_->calls());
    EXPECT_FALSE(tile->isState(QelRenderedItem::pending));
    QelImageRequestDesc wanted = request(QelRect(100, 0, 60, 60));
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get(), &wanted);
    EXPECT_EQ("<0,0,200,300><1,0,200,300>", idsOf(*list));
    EXPECT_EQ(1, transform_->count("generateDependencies"));
}

TEST_F(QelImageStreamDataDependenciesTest, AStaleOneIsBroughtUpToDateAheadOfEntering) {
    QelImageRequestDesc wanted = request(QelRect(0, 0, 10, 10));
    transform_->markOutOfDate(true);
    transform_->forgetCalls();
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get(), &wanted);
    EXPECT_EQ(1U, list->size());
    EXPECT_EQ(1, transform_->count("setup"));
}

TEST_F(QelImageStreamDataDependenciesTest, ARequestOfABadOneAddsNothing) {
    QelImageRequestDesc wanted = request(QelRect(0, 0, 10, 10));
    fail();
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    OutputCapture output;
    data().generateDependencies(list.get(), &wanted);
    data().generateDependencies(list.get());
    EXPECT_EQ(0U, list->size());
    EXPECT_EQ(0, transform_->count("generateDependencies"));
    EXPECT_EQ("", output.text());
}

TEST_F(QelImageStreamDataDependenciesTest, ATileOfABadOneIsRefused) {
    MoxSmartPtr<QelTile> const tile = data().createTile(idOf(full));
    fail();
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Output Connection Point has bad status: "
                 "out:hooked(HookTransform)",
                 [&] { data().generateDependencies(tile.get()); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::pending));
}

TEST_F(QelImageStreamDataDependenciesTest, ATileOfAnotherOutputIsRefused) {
    MoxSmartPtr<HookTransform> const other(new HookTransform);
    MoxSmartPtr<Qel2DImage> const image = other->output().get2DImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to Output Connection Point: "
                 "out:hooked(HookTransform)",
                 [&] { data().generateDependencies(tile.get()); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::pending));
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelImageStreamDataDependenciesTest, ATileOfAnImageOfNoOutputIsRefused) {
    MoxSmartPtr<QelImageOp> const op = transform_->gradient(idOf(full));
    MoxSmartPtr<Qel2DImage> const image(new Qel2DImage(op.get()));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point",
                 [&] { data().generateDependencies(tile.get()); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::pending));
}

// A tile that somebody held while the output changed.
TEST_F(QelImageStreamDataDependenciesTest, ATileOfADroppedImageIsRefused) {
    MoxSmartPtr<Qel2DImage> const image = data().get2DImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    data().resetContainer();
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point",
                 [&] { data().generateDependencies(tile.get()); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::pending));
}

TEST_F(QelImageStreamDataDependenciesTest, ATileOfNoImageIsEntered) {
    MoxSmartPtr<QelTile> const tile(new QelTile(TestImage{}.dataOrg(), idOf(full)));
    transform_->onDependencies = [](QelRenderedItem *, QelSmartRenderedItemVector *) {};
    data().generateDependencies(tile.get());
    EXPECT_TRUE(tile->isState(QelRenderedItem::pending));
}

TEST_F(QelImageStreamDataDependenciesTest, ADescriptorOfAnotherClassIsRefused) {
    transform_->update();
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    QelSimpleResolutionDesc resolution(300, 200);
    expectRaises(QelErrorCode::badRequest,
                 "The DataDesc for iterating over an output connection point that is an image "
                 "output connection point was not an QelImageRequestDesc",
                 [&] { data().generateDependencies(list.get(), &resolution); });
    QelImageRequestDesc nowhere(nullptr);
    expectRaises(QelErrorCode::noRegion, "Null region provided to Iterator",
                 [&] { data().generateDependencies(list.get(), &nowhere); });
    EXPECT_EQ(0U, list->size());
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelImageStreamDataDependenciesTest,
       WithoutARequestAllTilesOfTheLargestResolutionAreEntered) {
    offer({half, full});
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get());
    EXPECT_EQ("<0,0,200,300><1,0,200,300><2,0,200,300><0,1,200,300><1,1,200,300><2,1,200,300>",
              idsOf(*list));
    EXPECT_EQ(6, transform_->count("generateDependencies"));
}

TEST_F(QelImageStreamDataDependenciesTest,
       WithoutARequestAndWithoutResolutionsThereIsALineOnTheOutput) {
    offer({});
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    OutputCapture output;
    data().generateDependencies(list.get());
    EXPECT_EQ("No available resolutions\n", output.text());
    EXPECT_EQ(0U, list->size());
}

TEST_F(QelImageStreamDataDependenciesTest, WithoutARequestACoordinateSpaceIsNeeded) {
    transform_->onSetup = [this] {
        data().setAttributes(true, nullptr, nullptr, TestImage{}.dataOrg());
        transform_->setStatusOK();
    };
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    expectRaises(QelErrorCode::nullPointer,
                 "There is no coordinate space in output out:hooked(HookTransform)",
                 [&] { data().generateDependencies(list.get()); });
    EXPECT_EQ(0U, list->size());
}

TEST_F(QelImageStreamDataDependenciesTest, WithoutARequestAnAxisWithoutLimitIsRefused) {
    offer(spaceWith({{0, 0}}));
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    expectRaises(QelErrorCode::noMatchingResolution,
                 "There is no max resolution to get -- any resolution is available",
                 [&] { data().generateDependencies(list.get()); });
    EXPECT_EQ(0U, list->size());
}

TEST_F(QelImageStreamDataDependenciesTest, AnInputForwardsToItsStreamData) {
    MoxSmartPtr<AddTransform> const add(new AddTransform);
    add->getInputCP(0)->connect(&output());
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    imageInput(*add).generateDependencies(list.get());
    EXPECT_EQ(6U, list->size());
    QelImageRequestDesc wanted = request(QelRect(0, 0, 10, 10));
    imageInput(*add).generateDependencies(list.get(), &wanted);
    EXPECT_EQ(7U, list->size());
}

// Downstream of a point operation a tile needs the tile at the same place, and that is entered too.
TEST_F(QelImageStreamDataDependenciesTest, EnteringGoesUpstream) {
    MoxSmartPtr<AddTransform> const add(new AddTransform);
    add->getInputCP(0)->connect(&output());
    QelImageOutputCP & last = imageOutput(*add);
    QelImageRequestDesc wanted(regionOf(last, full, QelRect(130, 0, 10, 10)));
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    last.imageStreamData()->generateDependencies(list.get(), &wanted);
    ASSERT_EQ("<1,0,200,300>", idsOf(*list));
    ASSERT_EQ(1, list->get(0)->dependencyCount());
    MoxSmartPtr<QelRenderedItem> const needed = list->get(0)->dependencies()->get(0);
    EXPECT_EQ(data().findTile(idOf(full, 1, 0)).get(), needed.get());
    EXPECT_TRUE(needed->isState(QelRenderedItem::pending));
    EXPECT_EQ(1, transform_->count("generateDependencies"));
}

// ---- One list of dependencies for all tiles of an image

// Two sources and a transform that needs both of them whole for each of its pixels. All of them
// have an image of 300 by 200 pixels in six tiles.
class CommonList {
  public:
    CommonList() {
        for (int i = 0; i < 2; ++i) {
            end_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(
                new QelImageInputCP("in" + std::to_string(i))));
            end_->getInputCP(i)->connect(&sources_[i]->output());
        }
    }

    HookTransform & source(int index = 0) { return *sources_[index]; }
    HookTransform & end() { return *end_; }
    QelImageStreamData & data() { return *end_->output().imageStreamData(); }
    // All tiles of the end, entered.
    MoxSmartPtr<QelSmartRenderedItemVector> enterAll() {
        MoxSmartPtr<QelSmartRenderedItemVector> const tiles(new QelSmartRenderedItemVector);
        data().generateDependencies(tiles.get());
        return tiles;
    }

  private:
    MoxSmartPtr<HookTransform> sources_[2]{new HookTransform, new HookTransform};
    MoxSmartPtr<HookTransform> end_{new HookTransform};
};

QelSmartRenderedItemVector const & needsOf(QelSmartRenderedItemVector const & tiles,
                                           std::size_t index) {
    return *tiles.get(index)->dependencies();
}

TEST_F(QelImageStreamDataDependenciesTest, TilesThatNeedWholeInputsHaveOneListBetweenThem) {
    CommonList graph;
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles = graph.enterAll();
    ASSERT_EQ(6U, tiles->size());
    std::string const all =
        "<0,0,200,300><1,0,200,300><2,0,200,300><0,1,200,300><1,1,200,300><2,1,200,300>";
    EXPECT_EQ(all + all, idsOf(needsOf(*tiles, 0)));
    EXPECT_EQ(graph.source(0).output().findTile(idOf(full)).get(), needsOf(*tiles, 0).get(0).get());
    EXPECT_EQ(graph.source(1).output().findTile(idOf(full)).get(), needsOf(*tiles, 0).get(6).get());
    for (std::size_t i = 0; i < tiles->size(); ++i) {
        EXPECT_TRUE(needsOf(*tiles, i).sharesEntries(needsOf(*tiles, 0)));
        EXPECT_TRUE(tiles->get(i)->isState(QelRenderedItem::pending));
        // The list's own entry, and nothing else.
        EXPECT_EQ(1, needsOf(*tiles, 0).get(i)->refCount());
        EXPECT_TRUE(needsOf(*tiles, 0).get(i)->isState(QelRenderedItem::pending));
    }
    EXPECT_EQ(6, graph.end().count("generateDependencies"));
    EXPECT_EQ(6, graph.source(0).count("generateDependencies"));
    EXPECT_EQ(6, graph.source(1).count("generateDependencies"));
}

TEST_F(QelImageStreamDataDependenciesTest, ATileThatIsDoneLeavesTheListToTheOthers) {
    CommonList graph;
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles = graph.enterAll();
    for (std::size_t i = 0; i + 1 < tiles->size(); ++i) {
        tiles->get(i)->setComplete(true);
        EXPECT_EQ(0, tiles->get(i)->dependencyCount());
        EXPECT_EQ(12, tiles->get(i + 1)->dependencyCount());
    }
    EXPECT_NE(nullptr, graph.source().output().findTile(idOf(full)));
    tiles->get(5)->setComplete(true);
    EXPECT_EQ(nullptr, graph.source().output().findTile(idOf(full))) << "the last one let go of it";
}

TEST_F(QelImageStreamDataDependenciesTest, EachResolutionHasAListOfItsOwn) {
    CommonList graph;
    for (HookTransform * const each : {&graph.source(0), &graph.source(1), &graph.end()})
        each->onSetup = [each] { each->describe({full, half}); };
    graph.end().markOutOfDate(true);
    graph.source(0).markOutOfDate(true);
    graph.source(1).markOutOfDate(true);
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles(new QelSmartRenderedItemVector);
    for (PixelSize const & size : {half, full}) {
        QelImageRequestDesc request(regionOf(graph.end().output(), size, QelRect(100, 0, 50, 50)));
        graph.data().generateDependencies(tiles.get(), &request);
    }
    ASSERT_EQ("<0,0,100,150><1,0,100,150><0,0,200,300><1,0,200,300>", idsOf(*tiles));
    EXPECT_EQ("<0,0,100,150><1,0,100,150><0,0,100,150><1,0,100,150>", idsOf(needsOf(*tiles, 0)));
    EXPECT_EQ(12U, needsOf(*tiles, 2).size());
    EXPECT_TRUE(needsOf(*tiles, 0).sharesEntries(needsOf(*tiles, 1)));
    EXPECT_TRUE(needsOf(*tiles, 2).sharesEntries(needsOf(*tiles, 3)));
}

TEST_F(QelImageStreamDataDependenciesTest, TilesThatNeedOnlyAPartHaveListsOfTheirOwn) {
    MoxSmartPtr<HookTransform> const source(new HookTransform);
    MoxSmartPtr<AddTransform> const add(new AddTransform);
    add->getInputCP(0)->connect(&source->output());
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles(new QelSmartRenderedItemVector);
    imageOutput(*add).imageStreamData()->generateDependencies(tiles.get());
    ASSERT_EQ(6U, tiles->size());
    for (std::size_t i = 0; i < tiles->size(); ++i) {
        ASSERT_EQ(1U, needsOf(*tiles, i).size());
        EXPECT_EQ(dynamic_cast<QelTile const &>(*tiles->get(i)).tileId(),
                  dynamic_cast<QelTile const &>(*needsOf(*tiles, i).get(0)).tileId());
    }
}

// What a tile needs beside the list of all is its own.
TEST_F(QelImageStreamDataDependenciesTest, ATransformMayAddToTheListForOneTile) {
    CommonList graph;
    MoxSmartPtr<QelTile> const extra(new QelTile(TestImage{}.dataOrg(), idOf(full)));
    int calls = 0;
    graph.end().onDependencies = [&](QelRenderedItem * item, QelSmartRenderedItemVector * list) {
        graph.end().QelTransform::generateDependencies(item, list);
        if (calls++ == 1) list->add(extra.get());
    };
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles = graph.enterAll();
    ASSERT_EQ(6U, tiles->size());
    EXPECT_EQ(13U, needsOf(*tiles, 1).size());
    for (std::size_t const i : {0U, 2U, 3U, 4U, 5U}) {
        EXPECT_EQ(12U, needsOf(*tiles, i).size());
        EXPECT_TRUE(needsOf(*tiles, i).sharesEntries(needsOf(*tiles, 0)));
    }
}

// Tiles that are entered later wait for what is there then.
TEST_F(QelImageStreamDataDependenciesTest, AListIsKeptForOneRoundOfEnteringOnly) {
    CommonList graph;
    QelImageRequestDesc request(regionOf(graph.end().output(), full, QelRect(0, 0, 10, 10)));
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles(new QelSmartRenderedItemVector);
    graph.data().generateDependencies(tiles.get(), &request);
    graph.source().output().setDataOrg(TestImage{}.dataOrg());  // drops its tiles
    QelImageRequestDesc next(regionOf(graph.end().output(), full, QelRect(130, 0, 10, 10)));
    graph.data().generateDependencies(tiles.get(), &next);
    ASSERT_EQ(2U, tiles->size());
    EXPECT_EQ(12U, needsOf(*tiles, 1).size());
    EXPECT_FALSE(needsOf(*tiles, 1).sharesEntries(needsOf(*tiles, 0)));
    EXPECT_NE(needsOf(*tiles, 0).get(0), needsOf(*tiles, 1).get(0));
    EXPECT_TRUE(needsOf(*tiles, 1).get(0)->isState(QelRenderedItem::pending));
}

}  // namespace

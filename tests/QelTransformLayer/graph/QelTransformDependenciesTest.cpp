#include <sstream>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelSmartRenderedItemVector.h"
#include "QelXySimpleRegion.h"
#include "TransformTesting.h"

// What the items of an output depend on.

namespace {

constexpr std::int32_t width = 300;
constexpr std::int32_t height = 200;

MoxSmartPtr<SourceTransform> sourceNamed(std::string const & label) {
    MoxSmartPtr<SourceTransform> source(new SourceTransform({.width = width, .height = height}));
    source->setLabel(label);
    return source;
}

// "LABEL:TILE" for each, in order.
std::string textOf(QelSmartRenderedItemVector const & items) {
    std::ostringstream text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        text << (i == 0 ? "" : " ");
        auto const * const tile = dynamic_cast<QelTile const *>(items.get(i).get());
        if (tile == nullptr) {
            text << "item";
            continue;
        }
        auto const & image = dynamic_cast<Qel2DImage const &>(*tile->container());
        text << image.getOwner()->transformLabel() << ':' << tile->tileId().tileX << ','
             << tile->tileId().tileY;
    }
    return text.str();
}

MoxSmartPtr<QelTile> tileOf(QelTransform & transform, std::int32_t x, std::int32_t y,
                            int output = 0) {
    return imageOutput(transform, output).createTile(QelTileId(x, y, width, height));
}

// The dependencies of a tile, all of which have been entered into the render.
std::string dependenciesOf(QelTransform & transform, std::int32_t x, std::int32_t y,
                           int output = 0) {
    QelSmartRenderedItemVector items;
    transform.generateDependencies(tileOf(transform, x, y, output), &items);
    for (std::size_t i = 0; i < items.size(); ++i)
        EXPECT_TRUE(items.get(i)->isState(QelRenderedItem::pending));
    return textOf(items);
}

std::string const allTilesOf(std::string const & label) {
    return label + ":0,0 " + label + ":1,0 " + label + ":2,0 " + label + ":0,1 " + label + ":1,1 " +
           label + ":2,1";
}

// An item of a non-image output.
MoxSmartPtr<QelRenderedItem> itemOf(QelTransform & transform, int output = 0) {
    MoxSmartPtr<QelRenderedItem> item(new NumberItem());
    transform.getOutputCP(output)->streamData()->getRenderedItemContainer()->add(item);
    return item;
}

TEST(QelTransformDependenciesTest, ATileOfASourceDependsOnNothing) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    EXPECT_EQ("", dependenciesOf(*source, 0, 0));
}

TEST(QelTransformDependenciesTest, ATileOfAPointOperationDependsOnTheTileAtItsPlace) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->QelTransform::connect(0, source, 0);
    EXPECT_EQ("s:1,0", dependenciesOf(*add, 1, 0));
    EXPECT_EQ("s:2,1", dependenciesOf(*add, 2, 1));
}

TEST(QelTransformDependenciesTest, ATileDependsOnAllOfTheInputUnlessTheClassKnowsBetter) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<JointTransform> const joint(new JointTransform(1, 1));
    joint->connect(0, source, 0);
    EXPECT_EQ(allTilesOf("s"), dependenciesOf(*joint, 1, 0));
}

TEST(QelTransformDependenciesTest, ThoseOfAllInputsComeInOrder) {
    MoxSmartPtr<SourceTransform> const a = sourceNamed("a");
    MoxSmartPtr<SourceTransform> const b = sourceNamed("b");
    MoxSmartPtr<JointTransform> const joint(new JointTransform(3, 1));
    joint->connect(0, b, 0);
    joint->connect(2, a, 0);
    EXPECT_EQ(allTilesOf("b") + " " + allTilesOf("a"), dependenciesOf(*joint, 0, 0));
}

// Needs input 1 for output 0 and input 2 for output 1, and of each the tile at its place.
class CrossedTransform : public JointTransform {
  public:
    CrossedTransform() : JointTransform(3, 2) {}
    bool isInputNeeded(int inputIndex, int outputIndex) const override {
        return inputIndex == outputIndex + 1;
    }
    MoxSmartPtr<QelXyRegion> getInputRegion(QelXyRegion const & outputRegion, int inputIndex,
                                            int outputIndex) override {
        asked.push_back({inputIndex, outputIndex});
        if (noRegion) return nullptr;
        MoxSmartPtr<QelXySimpleRegion> const region(
            new QelXySimpleRegion(outputRegion.xyCoordSpace()));
        region->setPixelBounds(outputRegion.pixelBounds());
        boxes.push_back(outputRegion.pixelBounds());
        return region.get();
    }
    bool noRegion = false;
    std::vector<std::pair<int, int>> asked;
    std::vector<QelRect> boxes;
};

TEST(QelTransformDependenciesTest, InputsThatAreNotNeededAreLeftOut) {
    MoxSmartPtr<SourceTransform> const a = sourceNamed("a");
    MoxSmartPtr<SourceTransform> const b = sourceNamed("b");
    MoxSmartPtr<CrossedTransform> const crossed(new CrossedTransform());
    crossed->connect(0, a, 0);
    crossed->connect(1, b, 0);
    crossed->connect(2, a, 0);
    EXPECT_EQ("b:2,0", dependenciesOf(*crossed, 2, 0, 0));
    EXPECT_EQ("a:0,1", dependenciesOf(*crossed, 0, 1, 1));
    std::vector<std::pair<int, int>> const asked{{1, 0}, {2, 1}};
    EXPECT_EQ(asked, crossed->asked);
    ASSERT_EQ(2U, crossed->boxes.size());
    EXPECT_EQ(QelRect(256, 0, 44, 128), crossed->boxes[0]);
    EXPECT_EQ(QelRect(0, 128, 128, 72), crossed->boxes[1]);
}

TEST(QelTransformDependenciesTest, NoRegionMeansNoDependencies) {
    MoxSmartPtr<SourceTransform> const a = sourceNamed("a");
    MoxSmartPtr<CrossedTransform> const crossed(new CrossedTransform());
    crossed->connect(0, a, 0);
    crossed->connect(2, a, 0);
    crossed->noRegion = true;
    EXPECT_EQ("", dependenciesOf(*crossed, 0, 0, 1));
    EXPECT_EQ(1U, crossed->asked.size());
}

TEST(QelTransformDependenciesTest, EachDependencyIsEnteredWithItsOwn) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
    chain[0]->setLabel("a");
    QelSmartRenderedItemVector items;
    chain[1]->generateDependencies(tileOf(*chain[1], 1, 1), &items);
    ASSERT_EQ("a:1,1", textOf(items));
    ASSERT_NE(nullptr, items.get(0)->dependencies());
    EXPECT_EQ("s:1,1", textOf(*items.get(0)->dependencies()));
}

TEST(QelTransformDependenciesTest, GeneratingBringsUpToDateFirst) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->QelTransform::connect(0, source, 0);
    MoxSmartPtr<QelTile> const tile = tileOf(*add, 0, 0);
    int const before = add->setups();
    add->clearStatus();
    QelSmartRenderedItemVector items;
    add->generateDependencies(tile, &items);
    EXPECT_EQ(before + 1, add->setups());
    EXPECT_EQ("s:0,0", textOf(items));
}

TEST(QelTransformDependenciesTest, TheHeldFormDoesTheSame) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->QelTransform::connect(0, source, 0);
    MoxSmartPtr<QelSmartRenderedItemVector> const items(new QelSmartRenderedItemVector());
    add->generateDependenciesHeld(tileOf(*add, 2, 0), items);
    EXPECT_EQ("s:2,0", textOf(*items));
}

TEST(QelTransformDependenciesTest, RefusesAnItemOfAnImageThatIsNoTile) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->QelTransform::connect(0, source, 0);
    ASSERT_TRUE(add->isStatusOk());
    MoxSmartPtr<NumberItem> const item(new NumberItem());
    item->setContainer(imageOutput(*add).getTileContainer());
    QelSmartRenderedItemVector items;
    expectRaises(QelErrorCode::badRequest, "The rendered item for an output image was not a tile",
                 [&] { add->generateDependencies(item, &items); });
    EXPECT_EQ(0U, items.size());
    item->setContainer(nullptr);
}

TEST(QelTransformDependenciesTest, RefusesATileOfAnotherTransform) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->setLabel("add");
    add->QelTransform::connect(0, source, 0);
    QelSmartRenderedItemVector items;
    expectRaises(QelErrorCode::notOwnOutput,
                 "The argument of findOutputIndex, called against transform add(AddTransform), "
                 "actually is connection point out of transform s(SourceTransform)",
                 [&] { add->generateDependencies(tileOf(*source, 0, 0), &items); });
    EXPECT_EQ(0U, items.size());
}

TEST(QelTransformDependenciesTest, RefusesNullAndAnItemOfNoOutput) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    QelSmartRenderedItemVector items;
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { source->generateDependencies(nullptr, &items); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { source->generateDependencies(tileOf(*source, 0, 0), nullptr); });
    MoxSmartPtr<NumberItem> const item(new NumberItem());
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point",
                 [&] { source->generateDependencies(item, &items); });
    EXPECT_EQ(0U, items.size());
}

// An image output of the size of the sources, whatever the inputs are.
void describeAlone(ScriptedTransform & transform) {
    imageOutput(transform).setAttributes(TestImage{}.dataOrg(), new QelXyCoordSpace(width, height),
                                         nullptr, nullptr, true);
    transform.setStatusOK();
}

TEST(QelTransformDependenciesTest, ATileOfABadTransformDependsOnNothing) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<ScriptedTransform> const bad(new ScriptedTransform("b", 1, 1));
    bad->connect(0, source, 0);
    bad->onSetup = [](ScriptedTransform & self) {
        imageOutput(self).setAttributes(false, true);
        self.setStatusBad(self.getInputCP(0)->getStatusMessage());
    };
    ASSERT_FALSE(bad->isStatusOk());
    MoxSmartPtr<QelTile> const tile(
        new QelTile(TestImage{}.dataOrg(), QelTileId(0, 0, width, height)));
    tile->setContainer(imageOutput(*bad).getTileContainer());
    QelSmartRenderedItemVector items;
    bad->generateDependencies(tile, &items);
    EXPECT_EQ(0U, items.size());
    tile->setContainer(nullptr);
}

// ---- Data that is no image

// An output that nothing flows from.
class DryOutputCP : public QelOutputConnectionPoint {
  public:
    explicit DryOutputCP(std::string const & name) : QelConnectionPoint(name) {}
    ~DryOutputCP() override { disconnectAll(); }
    MoxSmartPtr<QelConnectionPoint> clone() const override { return nullptr; }
    MoxSmartPtr<QelConnectionPoint> create(std::string const &) const override { return nullptr; }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(NumberStreamData); }
};

TEST(QelTransformDependenciesTest, AnInputThatNothingFlowsIntoIsLeftOut) {
    MoxSmartPtr<ScriptedTransform> const provider(new ScriptedTransform("p", 0, 0));
    provider->addOutput(new DryOutputCP("dry"));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 1));
    t->addInput(new NumberInputCP("numbers"));
    t->connect(0, provider, 0);
    t->onSetup = describeAlone;
    EXPECT_EQ("", dependenciesOf(*t, 0, 0));
}

TEST(QelTransformDependenciesTest, AnItemThatIsNoImageDependsOnAllOfAnImageInput) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<ScriptedTransform> const counter(new ScriptedTransform("c", 1, 0));
    counter->addOutput(new NumberOutputCP("numbers"));
    counter->connect(0, source, 0);
    QelSmartRenderedItemVector items;
    counter->generateDependencies(itemOf(*counter), &items);
    EXPECT_EQ(allTilesOf("s"), textOf(items));
}

TEST(QelTransformDependenciesTest, AnyItemDependsOnAllItemsOfAnInputThatIsNoImage) {
    MoxSmartPtr<ScriptedTransform> const provider(new ScriptedTransform("p", 0, 0));
    provider->addOutput(new NumberOutputCP("numbers"));
    MoxSmartPtr<ScriptedTransform> const consumer(new ScriptedTransform("c", 0, 0));
    consumer->addInput(new NumberInputCP("numbers"));
    consumer->addOutput(new NumberOutputCP("numbers"));
    consumer->connect(0, provider, 0);
    MoxSmartPtr<QelRenderedItem> const first = itemOf(*provider);
    MoxSmartPtr<QelRenderedItem> const second = itemOf(*provider);
    QelSmartRenderedItemVector items;
    consumer->generateDependencies(itemOf(*consumer), &items);
    ASSERT_EQ(2U, items.size());
    EXPECT_EQ(first.get(), items.get(0).get());
    EXPECT_EQ(second.get(), items.get(1).get());
    EXPECT_TRUE(first->isState(QelRenderedItem::pending));
    EXPECT_TRUE(second->isState(QelRenderedItem::pending));
}

TEST(QelTransformDependenciesTest, ATileDependsOnAllItemsOfAnInputThatIsNoImage) {
    MoxSmartPtr<ScriptedTransform> const provider(new ScriptedTransform("p", 0, 0));
    provider->addOutput(new NumberOutputCP("numbers"));
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<JointTransform> const joint(new JointTransform(1, 1));
    joint->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new NumberInputCP("numbers")));
    joint->connect(0, source, 0);
    joint->connect(1, provider, 0);
    MoxSmartPtr<QelRenderedItem> const item = itemOf(*provider);
    QelSmartRenderedItemVector items;
    joint->generateDependencies(tileOf(*joint, 0, 0), &items);
    EXPECT_EQ(allTilesOf("s") + " item", textOf(items));
}

}  // namespace

#include <string>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "PlainStreamTesting.h"
#include "QelSmartRenderedItemVector.h"

// How items enter a render.

namespace {

class QelStreamDataDependenciesTest : public PlainStreamFixture {};

ZanError const someError =
    QelError(QelErrorCode::invalidValue, "No such thing", __FILE__, __LINE__);

// ---- Entering one item

TEST_F(QelStreamDataDependenciesTest, AnItemIsEnteredOnce) {
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    data().generateDependencies(item.get());
    EXPECT_EQ("setup() generateDependencies()", transform_->calls());
    EXPECT_TRUE(item->isState(QelRenderedItem::pending));
    data().generateDependencies(item.get());
    EXPECT_EQ(1, transform_->count("generateDependencies"));
    EXPECT_TRUE(item->isState(QelRenderedItem::pending));
    EXPECT_FALSE(item->isState(QelRenderedItem::complete | QelRenderedItem::taken));
}

TEST_F(QelStreamDataDependenciesTest, AnItemGetsTheDependenciesThatItsTransformNames) {
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    MoxSmartPtr<QelRenderedItem> const needed(new PlainItem);
    MoxSmartPtr<QelRenderedItem> const alsoNeeded(new PlainItem);
    QelRenderedItem * asked = nullptr;
    transform_->onDependencies = [&](QelRenderedItem * of, QelSmartRenderedItemVector * list) {
        asked = of;
        list->add(needed.get());
        list->add(alsoNeeded.get());
    };
    data().generateDependencies(item.get());
    EXPECT_EQ(item.get(), asked);
    ASSERT_EQ(2, item->dependencyCount());
    EXPECT_EQ(needed, item->dependencies()->get(0));
    EXPECT_EQ(alsoNeeded, item->dependencies()->get(1));
    EXPECT_EQ(2, needed->refCount());
    EXPECT_TRUE(item->isState(QelRenderedItem::pending));
    EXPECT_FALSE(needed->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, AComputedItemIsNotEntered) {
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    item->setComplete(true);
    data().generateDependencies(item.get());
    EXPECT_EQ(0, transform_->count("generateDependencies"));
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, AnItemThatIsTakenIsEntered) {
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    item->setState(QelRenderedItem::taken, true);
    data().generateDependencies(item.get());
    EXPECT_EQ(1, transform_->count("generateDependencies"));
}

TEST_F(QelStreamDataDependenciesTest, AnItemWithoutContainerIsEntered) {
    MoxSmartPtr<QelRenderedItem> const item(new PlainItem);
    data().generateDependencies(item.get());
    EXPECT_EQ(1, transform_->count("generateDependencies"));
    EXPECT_TRUE(item->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, AnItemOfAnotherOutputIsRefused) {
    MoxSmartPtr<PlainOutput> const other(new PlainOutput("other"));
    MoxSmartPtr<QelRenderedItem> const item(new PlainItem(other->data.container.get()));
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to Output Connection Point: "
                 "data:hooked(HookTransform)",
                 [&] { data().generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelStreamDataDependenciesTest, AnItemOfAContainerWithoutOwnerIsRefused) {
    MoxSmartPtr<PlainContainer> const nobodys(new PlainContainer);
    MoxSmartPtr<QelRenderedItem> const item(new PlainItem(nobodys.get()));
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point",
                 [&] { data().generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelStreamDataDependenciesTest, ItemsOfOthersThatAreSettledAreNotLookedAt) {
    MoxSmartPtr<PlainContainer> const nobodys(new PlainContainer);
    for (std::uint8_t const state : {QelRenderedItem::pending, QelRenderedItem::complete}) {
        MoxSmartPtr<QelRenderedItem> const item(new PlainItem(nobodys.get()));
        item->setState(state, true);
        data().generateDependencies(item.get());
    }
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelStreamDataDependenciesTest, ABadStatusIsRefusedAheadOfAllElse) {
    failWith(someError);
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    char const * const text =
        "Internal Logic Error: Output Connection Point has bad status: data:hooked(HookTransform)";
    expectRaises(QelErrorCode::misuse, text, [&] { data().generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
    EXPECT_EQ(1, transform_->count("setup"));
    item->setComplete(true);
    expectRaises(QelErrorCode::misuse, text, [&] { data().generateDependencies(item.get()); });
    MoxSmartPtr<PlainContainer> const nobodys(new PlainContainer);
    MoxSmartPtr<QelRenderedItem> const foreign(new PlainItem(nobodys.get()));
    expectRaises(QelErrorCode::misuse, text, [&] { data().generateDependencies(foreign.get()); });
    EXPECT_EQ(0, transform_->count("generateDependencies"));
}

TEST_F(QelStreamDataDependenciesTest, WithoutATransformTheTextsSayNULL) {
    MoxSmartPtr<PlainOutput> const alone(new PlainOutput("alone"));
    MoxSmartPtr<QelRenderedItem> const item(new PlainItem);
    std::string text = "Internal Logic Error: Output Connection Point has bad status: alone:NULL";
    expectRaises(QelErrorCode::misuse, text, [&] { alone->data.generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, ANullItemIsRefused) {
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { data().generateDependencies(static_cast<QelRenderedItem *>(nullptr)); });
}

TEST_F(QelStreamDataDependenciesTest, AnItemWhoseTransformRaisesIsNotEntered) {
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    transform_->onDependencies = [](QelRenderedItem *, QelSmartRenderedItemVector * list) {
        list->add(MoxSmartPtr<QelRenderedItem>(new PlainItem));
        qelRaise(QelErrorCode::badRequest, "from the transform");
    };
    expectRaises(QelErrorCode::badRequest, "from the transform",
                 [&] { data().generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
    EXPECT_EQ(0, item->dependencyCount());
    transform_->onDependencies = [](QelRenderedItem *, QelSmartRenderedItemVector *) {};
    data().generateDependencies(item.get());
    EXPECT_TRUE(item->isState(QelRenderedItem::pending));
}

// A container that cannot tell whom it belongs to belongs to nobody.
TEST_F(QelStreamDataDependenciesTest, AnItemOfAContainerOfAnotherKindIsRefused) {
    class Bag : public QelEmbeddedRenderedItemContainer {
      public:
        void discardReference(QelRenderedItem *) override {}
    } bag;
    MoxSmartPtr<QelRenderedItem> const item(new PlainItem(&bag));
    expectRaises(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point",
                 [&] { data().generateDependencies(item.get()); });
    EXPECT_FALSE(item->isState(QelRenderedItem::pending));
}

// An item that needs another one, which cannot be entered.
TEST_F(QelStreamDataDependenciesTest, WhereWhatIsNeededCannotBeEnteredNothingIs) {
    MoxSmartPtr<QelRenderedItem> const first = ownItem();
    MoxSmartPtr<QelRenderedItem> const second = ownItem();
    MoxSmartPtr<QelRenderedItem> const third = ownItem();
    bool isBroken = true;
    transform_->onDependencies = [&](QelRenderedItem * item, QelSmartRenderedItemVector * list) {
        if (item == third.get() && isBroken) qelRaise(QelErrorCode::badRequest, "no third one");
        if (item != first.get()) return;
        for (MoxSmartPtr<QelRenderedItem> const & each : {second, third}) {
            list->add(each.get());
            data().generateDependencies(each.get());
        }
    };
    expectRaises(QelErrorCode::badRequest, "no third one",
                 [&] { data().generateDependencies(first.get()); });
    for (MoxSmartPtr<QelRenderedItem> const & each : {first, second, third}) {
        EXPECT_FALSE(each->isState(QelRenderedItem::pending));
        EXPECT_EQ(0, each->dependencyCount());
    }
    isBroken = false;
    data().generateDependencies(first.get());
    EXPECT_EQ(2, first->dependencyCount());
    for (MoxSmartPtr<QelRenderedItem> const & each : {first, second, third})
        EXPECT_TRUE(each->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, WhereOneItemOfARequestCannotBeEnteredNoneIs) {
    MoxSmartPtr<PlainRequest> const request(new PlainRequest);
    container().items = {ownItem(), ownItem()};
    transform_->onDependencies = [&](QelRenderedItem * item, QelSmartRenderedItemVector *) {
        if (item == container().items[1].get()) qelRaise(QelErrorCode::badRequest, "not this one");
    };
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    expectRaises(QelErrorCode::badRequest, "not this one",
                 [&] { data().generateDependencies(list.get(), request.get()); });
    EXPECT_FALSE(container().items[0]->isState(QelRenderedItem::pending));
    EXPECT_FALSE(container().items[1]->isState(QelRenderedItem::pending));
}

// Two consumers ask for it ahead of its turn.
TEST_F(QelStreamDataDependenciesTest, AnItemThatIsAskedForTwiceIsEnteredOnce) {
    MoxSmartPtr<QelRenderedItem> const first = ownItem();
    MoxSmartPtr<QelRenderedItem> const needed = ownItem();
    int entered = 0;
    transform_->onDependencies = [&](QelRenderedItem * item, QelSmartRenderedItemVector * list) {
        if (item == needed.get()) {
            ++entered;
            list->add(MoxSmartPtr<QelRenderedItem>(new PlainItem));
            return;
        }
        data().generateDependencies(needed.get());
        data().generateDependencies(needed.get());
        list->add(needed.get());
    };
    data().generateDependencies(first.get());
    EXPECT_EQ(1, entered);
    EXPECT_EQ(1, needed->dependencyCount());
}

// ---- Entering all that a request touches

TEST_F(QelStreamDataDependenciesTest, ARequestAddsTheItemsInOrderAndEntersEach) {
    MoxSmartPtr<PlainRequest> const request(new PlainRequest);
    container().items = {ownItem(), ownItem(), ownItem()};
    container().items[1]->setComplete(true);
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get(), request.get());
    EXPECT_EQ(request.get(), container().lastRequest);
    ASSERT_EQ(3U, list->size());
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(container().items[i], list->get(i));
    EXPECT_TRUE(list->get(0)->isState(QelRenderedItem::pending));
    EXPECT_FALSE(list->get(1)->isState(QelRenderedItem::pending));
    EXPECT_TRUE(list->get(2)->isState(QelRenderedItem::pending));
    EXPECT_EQ("setup() generateDependencies() generateDependencies()", transform_->calls());
}

TEST_F(QelStreamDataDependenciesTest, EachItemIsAddedAheadOfBeingEntered) {
    MoxSmartPtr<PlainRequest> const request(new PlainRequest);
    container().items = {ownItem(), ownItem()};
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    std::vector<std::size_t> sizes;
    transform_->onDependencies = [&](QelRenderedItem *, QelSmartRenderedItemVector *) {
        sizes.push_back(list->size());
    };
    data().generateDependencies(list.get(), request.get());
    EXPECT_EQ(std::vector<std::size_t>({1, 2}), sizes);
}

TEST_F(QelStreamDataDependenciesTest, ARequestOfABadOneAddsNothingAndRaisesNothing) {
    failWith(someError);
    MoxSmartPtr<PlainRequest> const request(new PlainRequest);
    container().items = {ownItem()};
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    OutputCapture output;
    data().generateDependencies(list.get(), request.get());
    EXPECT_EQ(0U, list->size());
    EXPECT_EQ("setup()", transform_->calls());
    EXPECT_EQ("", output.text());
}

TEST_F(QelStreamDataDependenciesTest, ANullContainerIsRefused) {
    MoxSmartPtr<PlainRequest> const request(new PlainRequest);
    container().items = {ownItem()};
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { data().generateDependencies(nullptr, request.get()); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", [&] {
        data().generateDependencies(static_cast<QelRenderedItemContainer *>(nullptr));
    });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { data().generateDependenciesHeld(nullptr, request); });
    EXPECT_EQ("", transform_->calls());
    EXPECT_FALSE(container().items[0]->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, TheHeldFormHoldsItsArgumentsMeanwhile) {
    MoxSmartPtr<PlainRequest> request(new PlainRequest);
    MoxSmartPtr<QelSmartRenderedItemVector> list(new QelSmartRenderedItemVector);
    container().items = {ownItem()};
    std::size_t added = 0;
    transform_->onDependencies = [&](QelRenderedItem *, QelSmartRenderedItemVector *) {
        // The caller's own references go; the call has its own.
        EXPECT_EQ(2, request->refCount());
        EXPECT_EQ(2, list->refCount());
        added = list->size();
    };
    data().generateDependenciesHeld(list, request);
    EXPECT_EQ(1U, added);
    EXPECT_EQ(1, request->refCount());
    EXPECT_EQ(1, list->refCount());
    EXPECT_TRUE(container().items[0]->isState(QelRenderedItem::pending));
}

TEST_F(QelStreamDataDependenciesTest, WithoutARequestAllItemsAreEntered) {
    container().items = {ownItem(), ownItem()};
    MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
    data().generateDependencies(list.get());
    EXPECT_EQ(2U, list->size());
    EXPECT_EQ(2, transform_->count("generateDependencies"));
}

// A tile of a transform that needs a whole image and the plain items beside it: all that there are,
// and a list of its own.
TEST_F(QelStreamDataDependenciesTest, ATileMayNeedItemsOfBothKinds) {
    MoxSmartPtr<HookTransform> const source(new HookTransform);
    MoxSmartPtr<HookTransform> const end(new HookTransform);
    end->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP("image")));
    end->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new PlainInput("plain")));
    end->getInputCP(0)->connect(&source->output());
    end->getInputCP(1)->connect(output_.get());
    container().items = {ownItem(), ownItem()};
    MoxSmartPtr<QelSmartRenderedItemVector> const tiles(new QelSmartRenderedItemVector);
    end->output().imageStreamData()->generateDependencies(tiles.get());
    ASSERT_EQ(6U, tiles->size());
    for (std::size_t i = 0; i < tiles->size(); ++i) {
        QelSmartRenderedItemVector const & needed = *tiles->get(i)->dependencies();
        ASSERT_EQ(8U, needed.size());
        EXPECT_EQ(source->output().findTile(idOf({300, 200})).get(), needed.get(0).get());
        EXPECT_EQ(container().items[0], needed.get(6));
        EXPECT_EQ(container().items[1], needed.get(7));
    }
    EXPECT_FALSE(tiles->get(0)->dependencies()->sharesEntries(*tiles->get(1)->dependencies()));
}

// One that is no image needs the whole image.
TEST_F(QelStreamDataDependenciesTest, AnItemMayNeedAWholeImage) {
    MoxSmartPtr<HookTransform> const source(new HookTransform);
    transform_->addConnectionPoint(
        MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP("image")));
    transform_->getInputCP(0)->connect(&source->output());
    transform_->onDependencies = nullptr;
    MoxSmartPtr<QelRenderedItem> const item = ownItem();
    data().generateDependencies(item.get());
    EXPECT_EQ(6, item->dependencyCount());
    EXPECT_TRUE(item->dependencies()->get(5)->isState(QelRenderedItem::pending));
}

}  // namespace

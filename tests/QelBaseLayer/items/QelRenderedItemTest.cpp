#include "QelRenderedItem.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "OutputCapture.h"
#include "QelError.h"
#include "QelSmartRenderedItemVector.h"

namespace {

class Item : public QelRenderedItem {
  public:
    explicit Item(char const * name = "", QelEmbeddedRenderedItemContainer * container = nullptr)
        : QelRenderedItem(container), name_(name) {}
    Item(Item const & other) : ZanRefCount(other), QelRenderedItem(other), name_(other.name_) {}
    ~Item() override { ++destroyed; }

    void compute() override {}
    void print(std::ostream & out) const override { out << name_; }

    using QelRenderedItem::discardFromContainer;
    using QelRenderedItem::leaveContainer;
    using QelRenderedItem::tellDiscarded;

    static inline int destroyed = 0;

  private:
    char const * name_;
};

// Prints what the base class prints.
class SilentItem : public QelRenderedItem {
  public:
    void compute() override {}
};

// Writes down what its items tell it.
class Recorder : public QelEmbeddedRenderedItemContainer {
  public:
    void discardReference(QelRenderedItem * item) override {
        discarded.push_back(item);
        if (onDiscard) onDiscard();
    }
    void notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool set) override {
        std::ostringstream line;
        line << mask << (set ? " set" : " cleared") << " with " << item->dependencyCount();
        changes.push_back(line.str());
        if (onChange) onChange();
    }

    std::vector<QelRenderedItem *> discarded;
    std::vector<std::string> changes;
    void (*onDiscard)() = nullptr;
    void (*onChange)() = nullptr;
};

using Changes = std::vector<std::string>;

class QelRenderedItemTest : public testing::Test {
  protected:
    QelRenderedItemTest() { Item::destroyed = 0; }

    static std::string dependenciesOf(QelRenderedItem const & item) {
        std::ostringstream text;
        item.printDependencies(text);
        return text.str();
    }

    void waitForAll() {
        item_->addDependency(a_);
        item_->addDependency(b_);
        item_->addDependency(a_);
        item_->addDependency(c_);
        item_->setState(QelRenderedItem::pending, true);
        recorder_.changes.clear();
    }

    Recorder recorder_;
    MoxSmartPtr<Item> item_{new Item("item", &recorder_)};
    MoxSmartPtr<Item> a_{new Item("a")};
    MoxSmartPtr<Item> b_{new Item("b")};
    MoxSmartPtr<Item> c_{new Item("c")};
};

TEST_F(QelRenderedItemTest, StartsWithoutStateAndDependencies) {
    EXPECT_FALSE(item_->isState(0xff));
    EXPECT_EQ(0, item_->dependencyCount());
    EXPECT_EQ(nullptr, item_->dependencies());
    EXPECT_EQ(&recorder_, item_->container());
    EXPECT_EQ(nullptr, Item().container());
}

TEST_F(QelRenderedItemTest, IsStateAnswersForAnyBitOfTheMask) {
    item_->setState(QelRenderedItem::taken, true);
    EXPECT_TRUE(item_->isState(QelRenderedItem::taken));
    EXPECT_TRUE(item_->isState(QelRenderedItem::taken | QelRenderedItem::complete));
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending | QelRenderedItem::complete));
    EXPECT_FALSE(item_->isState(0));
}

TEST_F(QelRenderedItemTest, SetStateChangesOnlyTheBitsOfTheMask) {
    item_->setState(0x05, true);
    item_->setState(0x82, true);
    item_->setState(0x03, false);
    EXPECT_FALSE(item_->isState(0x03));
    EXPECT_TRUE(item_->isState(0x04));
    EXPECT_TRUE(item_->isState(0x80));
}

TEST_F(QelRenderedItemTest, SetStateTellsTheContainerEvenIfNothingChanged) {
    item_->setState(0x05, true);
    item_->setState(0x05, true);
    item_->setState(0x80, false);
    EXPECT_EQ((Changes{"5 set with 0", "5 set with 0", "128 cleared with 0"}), recorder_.changes);
}

TEST_F(QelRenderedItemTest, ABitIsSetWhenTheContainerIsTold) {
    struct Looker : QelEmbeddedRenderedItemContainer {
        void discardReference(QelRenderedItem *) override {}
        void notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool) override {
            seen = item->isState(static_cast<std::uint8_t>(mask));
        }
        bool seen = false;
    } looker;
    Item item("", &looker);
    item.setState(QelRenderedItem::complete, true);
    EXPECT_TRUE(looker.seen);
    item.setState(QelRenderedItem::complete, false);
    EXPECT_FALSE(looker.seen);
}

TEST_F(QelRenderedItemTest, ThePlainContainerIgnoresStateChanges) {
    struct Plain : QelEmbeddedRenderedItemContainer {
        void discardReference(QelRenderedItem *) override {}
    } plain;
    Item item("", &plain);
    item.setState(QelRenderedItem::complete, true);
    EXPECT_TRUE(item.isState(QelRenderedItem::complete));
}

TEST_F(QelRenderedItemTest, AnItemAloneChangesItsState) {
    a_->setState(QelRenderedItem::complete, true);
    EXPECT_TRUE(a_->isState(QelRenderedItem::complete));
}

TEST_F(QelRenderedItemTest, SetCompleteClearsTheDependencies) {
    waitForAll();
    item_->setComplete(true);
    EXPECT_TRUE(item_->isState(QelRenderedItem::complete));
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending));
    EXPECT_EQ(0, item_->dependencyCount());
    EXPECT_EQ((Changes{"4 set with 4", "1 cleared with 0"}), recorder_.changes);
}

TEST_F(QelRenderedItemTest, SetCompleteFalseKeepsTheDependencies) {
    waitForAll();
    item_->setComplete(false);
    EXPECT_FALSE(item_->isState(QelRenderedItem::complete));
    EXPECT_TRUE(item_->isState(QelRenderedItem::pending));
    EXPECT_EQ(4, item_->dependencyCount());
    EXPECT_EQ(Changes{"4 cleared with 4"}, recorder_.changes);
}

TEST_F(QelRenderedItemTest, SetCompleteTellsOfThePendingBitWithoutDependenciesToo) {
    item_->setComplete(true);
    EXPECT_EQ((Changes{"4 set with 0", "1 cleared with 0"}), recorder_.changes);
}

TEST_F(QelRenderedItemTest, DependenciesAreCountedAndKeptInOrder) {
    waitForAll();
    EXPECT_EQ(4, item_->dependencyCount());
    EXPECT_EQ(3, a_->refCount());
    EXPECT_EQ("item --> abac", dependenciesOf(*item_));
    EXPECT_EQ(4U, item_->dependencies()->size());
}

TEST_F(QelRenderedItemTest, AddingChangesNoState) {
    item_->addDependency(a_);
    EXPECT_FALSE(item_->isState(0xff));
    EXPECT_EQ(Changes{}, recorder_.changes);
}

TEST_F(QelRenderedItemTest, ANullDependencyIsIgnored) {
    item_->addDependency(nullptr);
    item_->removeDependency(nullptr);
    EXPECT_EQ(nullptr, item_->dependencies());
    EXPECT_EQ(Changes{}, recorder_.changes);
}

TEST_F(QelRenderedItemTest, PrintsNothingAndAnArrowWithoutDependencies) {
    EXPECT_EQ("a --> ", dependenciesOf(*a_));
    EXPECT_EQ(" --> ", dependenciesOf(SilentItem()));
}

TEST_F(QelRenderedItemTest, AddDependenciesAppendsAList) {
    QelSmartRenderedItemVector list;
    item_->addDependencies(list);
    EXPECT_EQ(nullptr, item_->dependencies());
    list.add(b_);
    list.add(c_);
    item_->addDependency(a_);
    item_->addDependencies(list);
    EXPECT_EQ("item --> abc", dependenciesOf(*item_));
}

TEST_F(QelRenderedItemTest, TheOwnListCanBeAppendedToItself) {
    waitForAll();
    item_->addDependencies(*item_->dependencies());
    EXPECT_EQ("item --> abacabac", dependenciesOf(*item_));
}

TEST_F(QelRenderedItemTest, RemoveDependencyClearsPendingAndThenRemovesTheFirstEntry) {
    waitForAll();
    item_->removeDependency(a_);
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending));
    EXPECT_EQ(Changes{"1 cleared with 4"}, recorder_.changes);
    EXPECT_EQ("item --> bac", dependenciesOf(*item_));
}

TEST_F(QelRenderedItemTest, RemovingAStrangerOnlyClearsPending) {
    Item stranger;
    waitForAll();
    item_->removeDependency(&stranger);
    EXPECT_EQ("item --> abac", dependenciesOf(*item_));
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending));
    a_->removeDependency(&stranger);
    EXPECT_EQ(0, stranger.refCount());
}

TEST_F(QelRenderedItemTest, RemoveDependencyDropsTheLastReference) {
    Item * const passing = new Item;
    item_->addDependency(passing);
    item_->removeDependency(passing);
    EXPECT_EQ(1, Item::destroyed);
}

TEST_F(QelRenderedItemTest, RemoveDependenciesTakesEachEntryOnce) {
    waitForAll();
    QelSmartRenderedItemVector list;
    for (Item * const item : {a_.get(), c_.get(), a_.get(), a_.get()})
        list.add(item);
    item_->removeDependencies(list);
    EXPECT_EQ(Changes{"1 cleared with 4"}, recorder_.changes);
    EXPECT_EQ("item --> b", dependenciesOf(*item_));
    b_->removeDependencies(list);
    EXPECT_EQ(0, b_->dependencyCount());
}

TEST_F(QelRenderedItemTest, RemovingTheOwnListClearsIt) {
    waitForAll();
    item_->removeDependencies(*item_->dependencies());
    EXPECT_EQ(Changes{"1 cleared with 4"}, recorder_.changes);
    EXPECT_EQ(0, item_->dependencyCount());
    EXPECT_EQ(1, a_->refCount());
}

TEST_F(QelRenderedItemTest, ClearDependenciesEmptiesAndThenClearsPending) {
    waitForAll();
    item_->clearDependencies();
    EXPECT_EQ(Changes{"1 cleared with 0"}, recorder_.changes);
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending));
    EXPECT_EQ(1, a_->refCount());
    item_->addDependency(b_);
    EXPECT_EQ("item --> b", dependenciesOf(*item_));
}

TEST_F(QelRenderedItemTest, ACopyBelongsToNobodyAndWaitsForNothing) {
    waitForAll();
    item_->setState(0xff, true);
    Item const copy(*item_);
    EXPECT_EQ(nullptr, copy.container());
    EXPECT_EQ(0, copy.dependencyCount());
    EXPECT_EQ(0, copy.refCount());
    EXPECT_TRUE(copy.isState(QelRenderedItem::complete));
    EXPECT_FALSE(copy.isState(0xff & ~QelRenderedItem::complete));
    EXPECT_EQ(4, item_->dependencyCount());
}

TEST_F(QelRenderedItemTest, ACopyOfAnIncompleteItemIsIncomplete) {
    item_->setState(0xff & ~QelRenderedItem::complete, true);
    EXPECT_FALSE(Item(*item_).isState(0xff));
}

TEST_F(QelRenderedItemTest, TheContainerIsToldOnceOfTheEnd) {
    QelRenderedItem * const gone = item_.get();
    item_.release();
    EXPECT_EQ(1, Item::destroyed);
    EXPECT_EQ(std::vector<QelRenderedItem *>{gone}, recorder_.discarded);
}

TEST_F(QelRenderedItemTest, AnItemThatLeftItsContainerTellsNobody) {
    EXPECT_EQ(&recorder_, item_->leaveContainer());
    EXPECT_EQ(nullptr, item_->leaveContainer());
    item_.release();
    EXPECT_TRUE(recorder_.discarded.empty());
}

TEST_F(QelRenderedItemTest, DiscardFromContainerTellsItOnlyOnce) {
    item_->discardFromContainer();
    item_->discardFromContainer();
    EXPECT_EQ(nullptr, item_->container());
    item_.release();
    EXPECT_EQ(1U, recorder_.discarded.size());
    Item::tellDiscarded(nullptr, a_);
}

TEST_F(QelRenderedItemTest, SetContainerRedirectsWhatTheItemTells) {
    Recorder second;
    item_->setContainer(&second);
    item_->setState(QelRenderedItem::complete, true);
    item_.release();
    EXPECT_EQ(Changes{}, recorder_.changes);
    EXPECT_TRUE(recorder_.discarded.empty());
    EXPECT_EQ(Changes{"4 set with 0"}, second.changes);
    EXPECT_EQ(1U, second.discarded.size());
}

struct FailingDiscard {
    char const * name;
    void (*raise)();
    char const * line;
};

TEST_F(QelRenderedItemTest, ADiscardThatRaisesIsWrittenAsOneLine) {
    std::string const start = "discardReference of a rendered item failed: ";
    FailingDiscard const table[] = {
        {"ZanError", [] { qelRaise(181, "Not mine"); }, "QEL error 181 Not mine\n"},
        {"std::exception", [] { throw std::runtime_error("foreign"); }, "foreign\n"},
        {"number", [] { throw 7; }, "unknown exception\n"}};
    for (FailingDiscard const & row : table) {
        SCOPED_TRACE(row.name);
        OutputCapture output;
        recorder_.onDiscard = row.raise;
        { Item const item("", &recorder_); }
        EXPECT_EQ(start + row.line, output.text());
    }
    recorder_.onDiscard = nullptr;
}

TEST_F(QelRenderedItemTest, ADiscardThatRaisesIsForgottenWhenTheOutputFailsToo) {
    recorder_.onDiscard = [] { qelRaise(181, "Not mine"); };
    QelOutput::Receiver former =
        QelOutput::redirect([](std::string_view) { throw std::runtime_error("disk full"); });
    { Item const item("", &recorder_); }
    QelOutput::redirect(std::move(former));
    recorder_.onDiscard = nullptr;
    EXPECT_EQ(1U, recorder_.discarded.size());
    EXPECT_EQ(1, Item::destroyed);
}

TEST_F(QelRenderedItemTest, DependenciesGoWithTheItem) {
    waitForAll();
    item_.release();
    EXPECT_EQ(1, a_->refCount());
    EXPECT_EQ(1, b_->refCount());
    item_ = new Item;
    item_->addDependency(new Item);
    Item::destroyed = 0;
    item_.release();
    EXPECT_EQ(2, Item::destroyed);
}

// Chains of a million, each link with the last reference on the next: far more destructors than a
// stack has room for. A link waits for a second item as well, so that the chain branches.
constexpr int chainLength = 1'000'000;

MoxSmartPtr<QelRenderedItem> makeChain(int length) {
    MoxSmartPtr<QelRenderedItem> head;
    for (int i = 0; i < length; ++i) {
        MoxSmartPtr<QelRenderedItem> next(new Item);
        next->addDependency(head);
        if (i % 1000 == 0) next->addDependency(new Item);
        head = std::move(next);
    }
    return head;
}

constexpr int chainItems = chainLength + chainLength / 1000;

TEST_F(QelRenderedItemTest, AChainOfAMillionItemsIsReleasedWithoutRecursion) {
    MoxSmartPtr<QelRenderedItem> chain = makeChain(chainLength);
    chain.release();
    EXPECT_EQ(chainItems, Item::destroyed);
}

TEST_F(QelRenderedItemTest, AChainOfAMillionItemsIsClearedWithoutRecursion) {
    item_->addDependency(makeChain(chainLength));
    item_->setComplete(true);
    EXPECT_EQ(chainItems, Item::destroyed);
}

TEST_F(QelRenderedItemTest, AChainOfAMillionItemsIsRemovedWithoutRecursion) {
    item_->addDependency(makeChain(chainLength));
    item_->removeDependency(item_->dependencies()->get(0));
    EXPECT_EQ(chainItems, Item::destroyed);
}

TEST_F(QelRenderedItemTest, AListOfAMillionItemsIsReleased) {
    MoxSmartPtr<QelSmartRenderedItemVector> list(new QelSmartRenderedItemVector);
    for (int i = 0; i < chainLength; ++i)
        list->add(new Item);
    item_->addDependencies(*list);
    list.release();
    MoxSmartPtr<QelRenderedItem> holder(new Item);
    holder->addDependency(item_);
    item_.release();
    holder.release();
    EXPECT_EQ(chainLength + 2, Item::destroyed);
}

// A handler that raises leaves the item usable: its lock is free and its bits have changed.

TEST_F(QelRenderedItemTest, AHandlerThatRaisesLeavesTheDependenciesReleased) {
    waitForAll();
    recorder_.onChange = [] { qelRaise(3, "handler"); };
    EXPECT_THROW(item_->clearDependencies(), ZanError);
    EXPECT_EQ(1, a_->refCount());
    EXPECT_EQ(0, item_->dependencyCount());
    EXPECT_FALSE(item_->isState(QelRenderedItem::pending));
}

TEST_F(QelRenderedItemTest, AHandlerThatRaisesKeepsWhatComesAfterIt) {
    waitForAll();
    recorder_.onChange = [] { qelRaise(3, "handler"); };
    EXPECT_THROW(item_->removeDependency(a_), ZanError);
    EXPECT_THROW(item_->removeDependencies(*item_->dependencies()), ZanError);
    EXPECT_THROW(item_->setComplete(true), ZanError);
    EXPECT_EQ("item --> abac", dependenciesOf(*item_));
    EXPECT_TRUE(item_->isState(QelRenderedItem::complete));
}

}  // namespace

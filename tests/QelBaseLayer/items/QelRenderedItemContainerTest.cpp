#include "QelRenderedItemContainer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

namespace {

using Iterator = QelRenderedItemContainer::Iterator;

class Owner : public QelItemOwner {
  public:
    std::string transformLabel() const override { return "blur 1"; }
    std::string connectionPointName() const override { return "output"; }
};

// Implements only what a container has to.
class Container : public QelRenderedItemContainer {
  public:
    using QelRenderedItemContainer::QelRenderedItemContainer;
    void discardReference(QelRenderedItem *) override {}
    void setCacheTiles(bool) override {}
    void clear() override {}
    Iterator makeIterator(QelDataDesc *) override { return Iterator(); }
};

class Item : public QelRenderedItem {
  public:
    void compute() override {}
};

std::string printed(QelRenderedItemContainer const & container) {
    std::ostringstream text;
    container.print(text);
    return text.str();
}

TEST(QelRenderedItemContainerTest, PrintsItsOwner) {
    Owner owner;
    Container const container(&owner);
    EXPECT_EQ(&owner, container.getOwner());
    EXPECT_EQ("blur 1 output", printed(container));
}

TEST(QelRenderedItemContainerTest, PrintsNothingWithoutAnOwner) {
    Container const container;
    EXPECT_EQ(nullptr, container.getOwner());
    EXPECT_EQ("", printed(container));
}

TEST(QelRenderedItemContainerTest, AddAndRemoveDoNothing) {
    Container container;
    MoxSmartPtr<Item> const item(new Item);
    container.add(item);
    EXPECT_EQ(1, item->refCount());
    container.remove(item);
    EXPECT_EQ(1, item->refCount());
}

TEST(QelRenderedItemContainerTest, AnIteratorOverNothingIsDone) {
    EXPECT_TRUE(Iterator().done());
    EXPECT_TRUE(Container().makeIterator(nullptr).done());
}

// Counts down, and tells when it is deleted.
class CountDown : public Iterator::SubIterator {
  public:
    CountDown(int from, bool & deleted) : left_(from), deleted_(deleted) {}
    ~CountDown() override { deleted_ = true; }
    bool done() const override { return left_ == 0; }
    void next() override { --left_; }
    MoxSmartPtr<QelRenderedItem> get() const override { return new Item; }

  private:
    int left_;
    bool & deleted_;
};

TEST(QelRenderedItemContainerTest, AnIteratorAsksItsSubIterator) {
    bool deleted = false;
    {
        Iterator iterator(std::make_unique<CountDown>(2, deleted));
        EXPECT_FALSE(iterator.done());
        EXPECT_NE(nullptr, iterator.get());
        iterator.next();
        Iterator moved = std::move(iterator);
        EXPECT_FALSE(moved.done());
        EXPECT_TRUE(iterator.done());  // NOLINT: moved-from is over nothing
        moved.next();
        EXPECT_TRUE(moved.done());
        EXPECT_FALSE(deleted);
    }
    EXPECT_TRUE(deleted);
}

}  // namespace

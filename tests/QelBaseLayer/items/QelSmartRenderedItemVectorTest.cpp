#include "QelSmartRenderedItemVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "QelError.h"

namespace {

class Item : public QelRenderedItem {
  public:
    ~Item() override {
        if (onEnd) onEnd();
    }
    void compute() override {}
    void setComplete(bool value) override {
        QelRenderedItem::setComplete(value);
        if (onComplete) onComplete();
    }

    std::function<void()> onComplete;
    std::function<void()> onEnd;
};

using Pointers = std::vector<QelRenderedItem *>;

class QelSmartRenderedItemVectorTest : public testing::Test {
  protected:
    QelSmartRenderedItemVectorTest() {
        for (int i = 0; i < 5; ++i)
            items_.emplace_back(new Item);
    }

    // Positions in items_.
    void add(QelSmartRenderedItemVector & list, std::vector<std::size_t> const & positions) {
        for (std::size_t const position : positions)
            list.add(items_.at(position));
    }
    std::vector<std::size_t> contents(QelSmartRenderedItemVector const & list) const {
        std::vector<std::size_t> positions;
        for (std::size_t i = 0; i < list.size(); ++i) {
            auto const found = std::find(items_.begin(), items_.end(), list.get(i));
            positions.push_back(static_cast<std::size_t>(found - items_.begin()));
        }
        return positions;
    }

    using Positions = std::vector<std::size_t>;

    std::vector<MoxSmartPtr<Item>> items_;
    QelSmartRenderedItemVector list_;
};

TEST_F(QelSmartRenderedItemVectorTest, CountsWhatItHolds) {
    EXPECT_EQ(0U, list_.size());
    add(list_, {2, 0, 2});
    EXPECT_EQ((Positions{2, 0, 2}), contents(list_));
    EXPECT_EQ(3, items_[2]->refCount());
    EXPECT_EQ(nullptr, items_[2]->container());
}

TEST_F(QelSmartRenderedItemVectorTest, IgnoresNull) {
    list_.add(nullptr);
    list_.remove(nullptr);
    EXPECT_EQ(0U, list_.size());
}

TEST_F(QelSmartRenderedItemVectorTest, ABadIndexIsARangeError) {
    EXPECT_THROW(list_.get(0), std::out_of_range);
    add(list_, {0});
    EXPECT_EQ(items_[0], list_.get(0));
    EXPECT_THROW(list_.get(1), std::out_of_range);
    EXPECT_THROW(list_.get(static_cast<std::size_t>(-1)), std::out_of_range);
}

TEST_F(QelSmartRenderedItemVectorTest, DiscardReferenceAlwaysRaises) {
    add(list_, {0});
    for (QelRenderedItem * const item : Pointers{items_[0], items_[1], nullptr}) {
        try {
            list_.discardReference(item);
            FAIL() << "nothing raised";
        } catch (ZanError const & error) {
            EXPECT_EQ(QelErrorCode::misuse, error.getErrcode());
            EXPECT_STREQ(
                "QEL error 3\nYou (or someone) should not be calling discardReference on a "
                "QelSmartRenderedItemVector",
                error.getMsg());
        }
    }
    EXPECT_EQ(1U, list_.size());
}

TEST_F(QelSmartRenderedItemVectorTest, SetCacheTilesRaises) {
    for (bool const cache : {false, true}) {
        try {
            list_.setCacheTiles(cache);
            FAIL() << "nothing raised";
        } catch (ZanError const & error) {
            EXPECT_EQ(QelErrorCode::misuse, error.getErrcode());
            EXPECT_STREQ("QEL error 3\nIllegal use of QelSmartRenderedItemVector", error.getMsg());
        }
    }
}

TEST_F(QelSmartRenderedItemVectorTest, RemoveTakesTheFirstEntryOfAnItem) {
    add(list_, {0, 1, 2, 1});
    list_.remove(items_[1]);
    EXPECT_EQ((Positions{0, 2, 1}), contents(list_));
    EXPECT_EQ(2, items_[1]->refCount());
    list_.remove(items_[4]);
    EXPECT_EQ((Positions{0, 2, 1}), contents(list_));
}

TEST_F(QelSmartRenderedItemVectorTest, ClearMakesItemsIncompleteAndKeepsThem) {
    add(list_, {0, 1});
    for (MoxSmartPtr<Item> const & item : items_)
        item->setComplete(true);
    list_.clear();
    EXPECT_FALSE(items_[0]->isState(QelRenderedItem::complete));
    EXPECT_FALSE(items_[1]->isState(QelRenderedItem::complete));
    EXPECT_TRUE(items_[2]->isState(QelRenderedItem::complete));
    EXPECT_EQ((Positions{0, 1}), contents(list_));
}

TEST_F(QelSmartRenderedItemVectorTest, ClearSurvivesAnItemThatEmptiesTheList) {
    add(list_, {0, 1, 2});
    items_[1]->onComplete = [this] { list_.removeAll(); };
    list_.clear();
    EXPECT_EQ(0U, list_.size());
}

TEST_F(QelSmartRenderedItemVectorTest, RemoveAllEmptiesTheList) {
    add(list_, {0, 1, 0});
    list_.removeAll();
    EXPECT_EQ(0U, list_.size());
    EXPECT_EQ(1, items_[0]->refCount());
    list_.removeAll();
}

TEST_F(QelSmartRenderedItemVectorTest, AnItemThatEndsFindsTheListWithoutIt) {
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 4; ++i) {
        MoxSmartPtr<Item> const item(new Item);
        item->onEnd = [&] { sizes.push_back(list_.size()); };
        list_.add(item);
    }
    list_.remove(list_.get(3));
    QelSmartRenderedItemVector other;
    other.add(list_.get(1));
    list_.removeEach(other);
    other.removeAll();
    list_.removeAll();
    EXPECT_EQ((std::vector<std::size_t>{3, 2, 0, 0}), sizes);
}

TEST_F(QelSmartRenderedItemVectorTest, TakeAllHandsTheItemsOver) {
    add(list_, {3, 1});
    std::vector<MoxSmartPtr<QelRenderedItem>> const taken = list_.takeAll();
    EXPECT_EQ(0U, list_.size());
    ASSERT_EQ(2U, taken.size());
    EXPECT_EQ(items_[3], taken[0]);
    EXPECT_EQ(2, items_[3]->refCount());
}

TEST_F(QelSmartRenderedItemVectorTest, AddEachAppendsInOrder) {
    QelSmartRenderedItemVector other;
    add(other, {4, 2, 4});
    add(list_, {0});
    list_.addEach(other);
    EXPECT_EQ((Positions{0, 4, 2, 4}), contents(list_));
    list_.addEach(list_);
    EXPECT_EQ((Positions{0, 4, 2, 4, 0, 4, 2, 4}), contents(list_));
}

TEST_F(QelSmartRenderedItemVectorTest, AddEachOfNothingChangesNothing) {
    QelSmartRenderedItemVector other;
    list_.addEach(other);
    EXPECT_EQ(0U, list_.size());
    EXPECT_FALSE(list_.sharesEntries(other)) << "two empty lists have nothing to share";
    add(list_, {1});
    list_.addEach(other);
    EXPECT_EQ((Positions{1}), contents(list_));
}

TEST_F(QelSmartRenderedItemVectorTest, AnEmptyListSharesTheEntriesOfAnother) {
    QelSmartRenderedItemVector other;
    add(other, {4, 2, 4});
    list_.addEach(other);
    EXPECT_TRUE(list_.sharesEntries(other));
    EXPECT_EQ((Positions{4, 2, 4}), contents(list_));
    EXPECT_EQ(3, items_[4]->refCount()) << "two entries, counted once";
    QelSmartRenderedItemVector third;
    third.addEach(list_);
    EXPECT_TRUE(third.sharesEntries(other));
    EXPECT_EQ(3, items_[4]->refCount());
}

// Whatever changes one list leaves those that share its entries alone, on either side.
TEST_F(QelSmartRenderedItemVectorTest, AChangeOfOneListLeavesTheOther) {
    QelSmartRenderedItemVector others;
    add(others, {0});
    struct Case {
        char const * name;
        std::function<void(QelSmartRenderedItemVector &)> change;
        Positions expected;
    };
    Case const cases[] = {
        {"add", [&](auto & list) { list.add(items_[3]); }, {0, 1, 0, 3}},
        {"addEach", [&](auto & list) { list.addEach(others); }, {0, 1, 0, 0}},
        {"addEach, itself", [&](auto & list) { list.addEach(list); }, {0, 1, 0, 0, 1, 0}},
        {"remove", [&](auto & list) { list.remove(items_[0]); }, {1, 0}},
        {"removeEach", [&](auto & list) { list.removeEach(others); }, {1, 0}},
        {"removeEach, itself", [&](auto & list) { list.removeEach(list); }, {}},
        {"removeAll", [&](auto & list) { list.removeAll(); }, {}},
        {"takeAll", [&](auto & list) { EXPECT_EQ(3U, list.takeAll().size()); }, {}},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        for (bool const isFirst : {true, false}) {
            QelSmartRenderedItemVector first;
            QelSmartRenderedItemVector second;
            add(first, {0, 1, 0});
            second.addEach(first);
            ASSERT_TRUE(second.sharesEntries(first));
            each.change(isFirst ? first : second);
            EXPECT_EQ(each.expected, contents(isFirst ? first : second));
            EXPECT_EQ((Positions{0, 1, 0}), contents(isFirst ? second : first));
            EXPECT_FALSE(second.sharesEntries(first));
        }
    }
    for (std::size_t i = 0; i < items_.size(); ++i)
        EXPECT_EQ(i == 0 ? 2 : 1, items_[i]->refCount());
}

TEST_F(QelSmartRenderedItemVectorTest, RemovingWhatIsNotThereKeepsEntriesShared) {
    QelSmartRenderedItemVector other;
    add(other, {4, 2});
    list_.addEach(other);
    list_.remove(items_[0]);
    list_.remove(nullptr);
    EXPECT_TRUE(list_.sharesEntries(other));
}

TEST_F(QelSmartRenderedItemVectorTest, SharedEntriesGoWithTheLastList) {
    {
        QelSmartRenderedItemVector other;
        add(other, {4, 2});
        list_.addEach(other);
    }
    EXPECT_EQ((Positions{4, 2}), contents(list_));
    EXPECT_EQ(2, items_[4]->refCount());
    list_.removeAll();
    EXPECT_EQ(1, items_[4]->refCount());
}

TEST_F(QelSmartRenderedItemVectorTest, SwapExchangesTheItems) {
    QelSmartRenderedItemVector other;
    add(other, {4, 2});
    add(list_, {1});
    list_.swap(other);
    EXPECT_EQ((Positions{4, 2}), contents(list_));
    EXPECT_EQ((Positions{1}), contents(other));
}

TEST_F(QelSmartRenderedItemVectorTest, TheIteratorVisitsAllItemsInOrder) {
    add(list_, {1, 3, 1});
    Pointers visited;
    for (QelRenderedItemContainer::Iterator i = list_.makeIterator(); !i.done(); i.next()) {
        visited.push_back(i.get());
    }
    EXPECT_EQ((Pointers{items_[1], items_[3], items_[1]}), visited);
}

TEST_F(QelSmartRenderedItemVectorTest, TheIteratorOfAnEmptyListIsDone) {
    EXPECT_TRUE(list_.makeIterator().done());
    EXPECT_TRUE(list_.makeIterator(nullptr).done());
}

TEST_F(QelSmartRenderedItemVectorTest, RemoveEachCanTakeTheListOffItself) {
    add(list_, {1, 3, 1});
    list_.removeEach(list_);
    EXPECT_EQ(0U, list_.size());
    EXPECT_EQ(1, items_[1]->refCount());
}

TEST_F(QelSmartRenderedItemVectorTest, RemoveEachEqualsRemovingOneByOne) {
    unsigned const seed = 23;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const fill = [&](QelSmartRenderedItemVector & list) {
        for (auto left = random() % 12; left > 0; --left)
            list.add(items_[random() % 5]);
    };
    for (int round = 0; round < 2000; ++round) {
        QelSmartRenderedItemVector expected;
        QelSmartRenderedItemVector actual;
        QelSmartRenderedItemVector others;
        fill(expected);
        fill(others);
        actual.addEach(expected);
        for (std::size_t i = others.size(); i > 0; --i)
            expected.remove(others.get(i - 1));
        actual.removeEach(others);
        ASSERT_EQ(contents(expected), contents(actual)) << "round " << round;
    }
}

TEST_F(QelSmartRenderedItemVectorTest, RemoveEachTakesTimeInProportion) {
    // One by one, from the far end, this would be 10^10 comparisons.
    constexpr int count = 200'000;
    for (int i = 0; i < count; ++i)
        list_.add(new Item);
    QelSmartRenderedItemVector others;
    for (int i = count; i > 0; i -= 2)
        others.add(list_.get(static_cast<std::size_t>(i - 1)));
    list_.removeEach(others);
    EXPECT_EQ(static_cast<std::size_t>(count / 2), list_.size());
}

}  // namespace

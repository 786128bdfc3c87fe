#include "QelVirtualMemoryMap.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FaultySystem.h"

namespace {

using BySize = QelVirtualMemoryMap<std::size_t>;
using ByAddress = QelVirtualMemoryMap<void *>;

// Keys and blocks have no bond as far as the map is concerned: small blocks do.
std::unique_ptr<QelVMem> block() {
    return std::make_unique<QelVMem>(8);
}

class QelVirtualMemoryMapTest : public testing::Test {
  protected:
    // Puts a block in and returns what identifies it.
    QelVMem const * put(std::size_t key) {
        std::unique_ptr<QelVMem> added = block();
        QelVMem const * const identity = added.get();
        map_.insert(key, std::move(added));
        return identity;
    }

    FaultySystem system_;
    BySize map_;
};

TEST_F(QelVirtualMemoryMapTest, TakesTheFirstThatIsNotLess) {
    QelVMem const * const ten = put(10);
    QelVMem const * const thirty = put(30);
    QelVMem const * const twenty = put(20);
    EXPECT_EQ(3U, map_.size());
    EXPECT_EQ(nullptr, map_.takeNotLess(31));
    EXPECT_EQ(twenty, map_.takeNotLess(11).get());
    EXPECT_EQ(thirty, map_.takeNotLess(11).get());
    EXPECT_EQ(ten, map_.takeNotLess(10).get());
    EXPECT_EQ(nullptr, map_.takeNotLess(0));
    EXPECT_EQ(0U, map_.size());
}

TEST_F(QelVirtualMemoryMapTest, AmongEqualKeysTheLastInsertedComesFirst) {
    QelVMem const * const first = put(10);
    QelVMem const * const second = put(10);
    put(9);
    QelVMem const * const third = put(10);
    put(11);
    EXPECT_EQ(third, map_.takeNotLess(10).get());
    EXPECT_EQ(second, map_.take(10).get());
    EXPECT_EQ(first, map_.takeNotLess(10).get());
}

TEST_F(QelVirtualMemoryMapTest, TakeWantsTheVeryKey) {
    put(10);
    put(30);
    EXPECT_EQ(nullptr, map_.take(0));
    EXPECT_EQ(nullptr, map_.take(20));
    EXPECT_EQ(nullptr, map_.take(31));
    EXPECT_NE(nullptr, map_.take(30));
    EXPECT_EQ(1U, map_.size());
}

// The block that came last lies apart from the others, and takes part in the order all the same.
TEST_F(QelVirtualMemoryMapTest, TheLastInsertedTakesItsTurnAmongTheOthers) {
    struct Row {
        char const * what;
        std::vector<std::size_t> inserted;
        std::size_t wanted;
        // Where the block that is taken stands in `inserted`; -1 for none.
        int taken;
    };
    for (Row const & row : std::vector<Row>{
             {"alone and exact", {10}, 10, 0},
             {"alone and larger", {10}, 1, 0},
             {"alone and too small", {10}, 11, -1},
             {"another is smaller and large enough", {10, 20}, 5, 0},
             {"another is exact", {10, 20}, 10, 0},
             {"another is smaller and too small", {10, 20}, 11, 1},
             {"another is larger", {20, 10}, 5, 1},
             {"too small, another is large enough", {20, 10}, 15, 0},
             {"too small as the others", {20, 10}, 21, -1},
             {"an equal one, exact", {10, 10}, 10, 1},
             {"an equal one, larger", {10, 10}, 5, 1},
             {"equal ones, and neither is last", {10, 10, 20}, 5, 1},
         }) {
        SCOPED_TRACE(row.what);
        BySize map;
        std::vector<QelVMem const *> blocks;
        for (std::size_t const key : row.inserted) {
            std::unique_ptr<QelVMem> added = block();
            blocks.push_back(added.get());
            map.insert(key, std::move(added));
        }
        QelVMem const * const expected =
            row.taken < 0 ? nullptr : blocks[static_cast<std::size_t>(row.taken)];
        EXPECT_EQ(expected, map.takeNotLess(row.wanted).get());
        EXPECT_EQ(blocks.size() - (expected != nullptr ? 1 : 0), map.size());
    }
}

TEST_F(QelVirtualMemoryMapTest, WorksByAddress) {
    ByAddress map;
    std::vector<std::unique_ptr<QelVMem>> blocks;
    for (int i = 0; i < 4; ++i)
        blocks.push_back(block());
    std::vector<void *> addresses;
    for (auto & each : blocks) {
        addresses.push_back(each->address());
        map.insert(addresses.back(), std::move(each));
    }
    for (void * const address : addresses) {
        std::unique_ptr<QelVMem> const taken = map.take(address);
        ASSERT_TRUE(taken);
        EXPECT_EQ(address, taken->address());
        EXPECT_EQ(nullptr, map.take(address));
    }
}

TEST_F(QelVirtualMemoryMapTest, ItsEndDeletesWhatItHolds) {
    {
        BySize map;
        for (std::size_t const key : {1U, 2U, 2U, 3U})
            map.insert(key, block());
        map.take(3);
        EXPECT_EQ(3U, system_.liveAllocations());
    }
    EXPECT_EQ(0U, system_.liveAllocations());
}

TEST_F(QelVirtualMemoryMapTest, PlacesBecomeSpareAndAreUsedAgain) {
    EXPECT_TRUE(map_.reserve());
    EXPECT_TRUE(map_.reserve());
    EXPECT_EQ(2U, map_.spares());
    put(1);
    EXPECT_EQ(1U, map_.spares());
    put(2);
    put(3);
    EXPECT_EQ(0U, map_.spares());
    map_.take(1);
    map_.take(2);
    map_.take(2);
    EXPECT_EQ(2U, map_.spares());
    map_.dropSpare();
    EXPECT_EQ(1U, map_.spares());
    map_.dropSpare();
    map_.dropSpare();
    EXPECT_EQ(0U, map_.spares());
}

TEST_F(QelVirtualMemoryMapTest, TheLockIsItsOwn) {
    BySize const other;
    EXPECT_NE(&other.lock(), &map_.lock());
    EXPECT_EQ(&map_.lock(), &std::as_const(map_).lock());
}

// What a map with a list for each key would do.
class ListsByKey {
  public:
    void insert(std::size_t key, QelVMem const * block) { lists_[key].push_back(block); }
    QelVMem const * take(std::size_t key) { return takeFrom(lists_.find(key)); }
    QelVMem const * takeNotLess(std::size_t key) { return takeFrom(lists_.lower_bound(key)); }

  private:
    using Lists = std::map<std::size_t, std::vector<QelVMem const *>>;

    QelVMem const * takeFrom(Lists::iterator list) {
        if (list == lists_.end()) return nullptr;
        QelVMem const * const last = list->second.back();
        list->second.pop_back();
        if (list->second.empty()) lists_.erase(list);
        return last;
    }

    Lists lists_;
};

TEST_F(QelVirtualMemoryMapTest, RandomStepsAgreeWithListsByKey) {
    constexpr std::uint32_t seed = 20240511;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    ListsByKey lists;
    for (int step = 0; step < 20000; ++step) {
        std::size_t const key = random() % 50;
        switch (random() % 4) {
            case 0: ASSERT_EQ(lists.take(key), map_.take(key).get()) << step; break;
            case 1: ASSERT_EQ(lists.takeNotLess(key), map_.takeNotLess(key).get()) << step; break;
            default: lists.insert(key, put(key));
        }
    }
}

}  // namespace

#include "ZanRefCount.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

#include "VZanRefCount.h"

namespace {

class Plain : public ZanRefCount {
  public:
    int value = 0;
};
class Virtual : public VZanRefCount {
  public:
    int value = 0;
};

// Both bases keep the same contract.
template <class T>
class ZanRefCountTest : public testing::Test {
  protected:
    T counted_;
};
using Counted = testing::Types<Plain, Virtual>;
TYPED_TEST_SUITE(ZanRefCountTest, Counted);

TYPED_TEST(ZanRefCountTest, StartsAtZero) {
    EXPECT_EQ(0, this->counted_.refCount());
}

TYPED_TEST(ZanRefCountTest, DeleteRefIsTrueWhenTheCountReachesZero) {
    auto & counted = this->counted_;
    counted.addRef();
    counted.addRef();
    EXPECT_EQ(2, counted.refCount());
    EXPECT_FALSE(counted.deleteRef());
    EXPECT_EQ(1, counted.refCount());
    EXPECT_TRUE(counted.deleteRef());
    EXPECT_EQ(0, counted.refCount());
}

TYPED_TEST(ZanRefCountTest, ReachesZeroAsOftenAsItIsTaken) {
    auto & counted = this->counted_;
    for (int round = 0; round < 3; ++round) {
        counted.addRef();
        counted.addRef();
        EXPECT_EQ(2, counted.refCount());
        EXPECT_FALSE(counted.deleteRef());
        EXPECT_TRUE(counted.deleteRef());
        EXPECT_EQ(0, counted.refCount());
    }
}

TYPED_TEST(ZanRefCountTest, CopyConstructionCarriesNoCount) {
    this->counted_.addRef();
    this->counted_.value = 5;
    TypeParam const copy(this->counted_);
    EXPECT_EQ(0, copy.refCount());
    EXPECT_EQ(5, copy.value);
    EXPECT_EQ(1, this->counted_.refCount());
}

TYPED_TEST(ZanRefCountTest, AssignmentLeavesBothCounts) {
    TypeParam other;
    other.value = 5;
    other.addRef();
    other.addRef();
    this->counted_.addRef();
    this->counted_ = other;
    EXPECT_EQ(1, this->counted_.refCount());
    EXPECT_EQ(2, other.refCount());
    EXPECT_EQ(5, this->counted_.value);
}

TYPED_TEST(ZanRefCountTest, TryAddRefWorksOnAnObjectThatNeverHadAnOwner) {
    EXPECT_TRUE(this->counted_.tryAddRef());
    EXPECT_EQ(1, this->counted_.refCount());
}

TYPED_TEST(ZanRefCountTest, TryAddRefRefusesOnceTheLastOwnerHasGone) {
    this->counted_.addRef();
    EXPECT_TRUE(this->counted_.tryAddRef());
    EXPECT_FALSE(this->counted_.deleteRef());
    EXPECT_TRUE(this->counted_.deleteRef());
    EXPECT_FALSE(this->counted_.tryAddRef());
    EXPECT_EQ(0, this->counted_.refCount());
}

TYPED_TEST(ZanRefCountTest, TryAddRefWorksAgainWhileAnEndedObjectIsOwnedAnew) {
    this->counted_.addRef();
    EXPECT_TRUE(this->counted_.deleteRef());
    this->counted_.addRef();
    EXPECT_TRUE(this->counted_.tryAddRef());
    EXPECT_EQ(2, this->counted_.refCount());
    EXPECT_FALSE(this->counted_.deleteRef());
    EXPECT_TRUE(this->counted_.deleteRef());
    EXPECT_FALSE(this->counted_.tryAddRef());
}

TYPED_TEST(ZanRefCountTest, GivingBackABorrowedReferenceDoesNotEndTheObject) {
    this->counted_.addRef();
    this->counted_.giveBackRef();
    EXPECT_EQ(0, this->counted_.refCount());
    EXPECT_TRUE(this->counted_.tryAddRef());
}

TYPED_TEST(ZanRefCountTest, APinnedObjectIsCountedButNotEnded) {
    this->counted_.pinRef();
    EXPECT_EQ(0, this->counted_.refCount());
    for (int round = 0; round < 2; ++round) {
        this->counted_.addRef();
        EXPECT_TRUE(this->counted_.tryAddRef());
        EXPECT_EQ(2, this->counted_.refCount());
        EXPECT_FALSE(this->counted_.deleteRef());
        EXPECT_FALSE(this->counted_.deleteRef());
        EXPECT_EQ(0, this->counted_.refCount());
    }
    this->counted_.addRef();
    this->counted_.giveBackRef();
    EXPECT_EQ(0, this->counted_.refCount());
}

TYPED_TEST(ZanRefCountTest, AnObjectThatIsPinnedAtItsEndIsAsGoodAsNew) {
    this->counted_.addRef();
    EXPECT_TRUE(this->counted_.deleteRef());
    this->counted_.pinRef();
    EXPECT_EQ(0, this->counted_.refCount());
    EXPECT_TRUE(this->counted_.tryAddRef());
    EXPECT_EQ(1, this->counted_.refCount());
    EXPECT_FALSE(this->counted_.deleteRef());
}

TYPED_TEST(ZanRefCountTest, RandomCallsAgreeWithAModel) {
    unsigned const seed = 20240601;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    int owners = 0;
    bool ended = false;
    for (int step = 0; step < 20000; ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        switch (random() % 3) {
            case 0:
                this->counted_.addRef();
                ++owners;
                break;
            case 1:
                ASSERT_EQ(owners > 0 || !ended, this->counted_.tryAddRef());
                if (owners > 0 || !ended) ++owners;
                break;
            default:
                if (owners == 0) break;
                --owners;
                ASSERT_EQ(owners == 0, this->counted_.deleteRef());
                ended = ended || owners == 0;
        }
        ASSERT_EQ(owners, this->counted_.refCount());
    }
}

TYPED_TEST(ZanRefCountTest, EightThreadsSeeTheEndExactlyOnce) {
    for (int round = 0; round < 200; ++round) {
        TypeParam counted;
        std::atomic<int> ends{0};
        for (int i = 0; i < 8; ++i)
            counted.addRef();
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int k = 0; k < 50; ++k) {
                    counted.addRef();
                    ends += counted.deleteRef() ? 1 : 0;
                }
                ends += counted.deleteRef() ? 1 : 0;
            });
        }
        for (std::thread & thread : threads)
            thread.join();
        ASSERT_EQ(1, ends);
        ASSERT_EQ(0, counted.refCount());
    }
}

// A table that holds uncounted pointers: either the finder gets a living object, or the last
// owner gets to delete it, never both.
TYPED_TEST(ZanRefCountTest, TryAddRefNeverRevivesWhatIsBeingDeleted) {
    for (int round = 0; round < 2000; ++round) {
        TypeParam counted;
        counted.addRef();
        std::atomic<int> ends{0};
        std::atomic<int> ready{0};
        auto meet = [&ready] {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
        };
        std::thread finder([&] {
            meet();
            if (counted.tryAddRef() && counted.deleteRef()) ++ends;
        });
        meet();
        if (counted.deleteRef()) ++ends;
        finder.join();
        ASSERT_EQ(1, ends) << "round " << round;
        ASSERT_FALSE(counted.tryAddRef());
    }
}

TYPED_TEST(ZanRefCountTest, ConstObjectsAreCountedToo) {
    TypeParam const & counted = this->counted_;
    counted.addRef();
    EXPECT_EQ(1, counted.refCount());
    EXPECT_TRUE(counted.deleteRef());
}

static_assert(!std::is_polymorphic_v<Plain>, "ZanRefCount costs no table of operations");
static_assert(sizeof(ZanRefCount) == 4);

}  // namespace

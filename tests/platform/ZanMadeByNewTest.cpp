#include "ZanMadeByNew.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <vector>

#include "MoxSmartPtr.h"
#include "ThreadTesting.h"
#include "VZanRefCount.h"

namespace {

class Thing : public VZanRefCount, public ZanMadeByNew {
  public:
    explicit Thing(int & destroyed) : destroyed_(destroyed) {}
    ~Thing() override { ++destroyed_; }

    bool deleteRef() const noexcept override {
        return VZanRefCount::deleteRef() && endsWithCount(*this);
    }

  private:
    int & destroyed_;
};

class ZanMadeByNewTest : public testing::Test {
  protected:
    // An owner comes and goes, twice.
    static void own(Thing & thing) {
        for (int round = 0; round < 2; ++round) {
            MoxSmartPtr<Thing> const owner(&thing);
            EXPECT_EQ(1, thing.refCount());
        }
        EXPECT_EQ(0, thing.refCount());
    }

    int destroyed_ = 0;
};

TEST_F(ZanMadeByNewTest, WhatNewMadeGoesWithItsLastOwner) {
    MoxSmartPtr<Thing> owner(new Thing(destroyed_));
    MoxSmartPtr<Thing> second(owner);
    owner = nullptr;
    EXPECT_EQ(0, destroyed_);
    second = nullptr;
    EXPECT_EQ(1, destroyed_);
    owner = new (std::nothrow) Thing(destroyed_);
    owner = nullptr;
    EXPECT_EQ(2, destroyed_);
}

TEST_F(ZanMadeByNewTest, WhatLiesOnAStackStays) {
    Thing thing(destroyed_);
    own(thing);
    EXPECT_EQ(0, destroyed_);
}

TEST_F(ZanMadeByNewTest, WhatIsPartOfAnotherObjectStays) {
    struct Whole : Thing {
        explicit Whole(int & destroyed) : Thing(destroyed), part(destroyed) {}
        Thing part;
    };
    MoxSmartPtr<Whole> const whole(new Whole(destroyed_));
    own(whole->part);
    std::optional<Thing> perhaps(std::in_place, destroyed_);
    own(*perhaps);
    EXPECT_EQ(0, destroyed_);
}

TEST_F(ZanMadeByNewTest, WhatOthersManageStays) {
    auto const shared = std::make_shared<Thing>(destroyed_);
    own(*shared);
    alignas(Thing) unsigned char room[sizeof(Thing)];
    Thing * const placed = new (room) Thing(destroyed_);
    own(*placed);
    EXPECT_EQ(0, destroyed_);
    placed->~Thing();
    EXPECT_EQ(1, destroyed_);
}

TEST_F(ZanMadeByNewTest, AnObjectIsFoundThroughAnyOfItsBases) {
    struct Other {
        virtual ~Other() = default;
        int value = 7;
    };
    struct Both : Other, Thing {
        using Thing::Thing;
    };
    MoxSmartPtr<Thing> part(new Both(destroyed_));
    part = nullptr;
    EXPECT_EQ(1, destroyed_);
    Both onStack(destroyed_);
    own(onStack);
    EXPECT_EQ(1, destroyed_);
}

TEST_F(ZanMadeByNewTest, AlignmentIsKept) {
    struct alignas(128) Wide : Thing {
        using Thing::Thing;
    };
    for (int round = 0; round < 10; ++round) {
        MoxSmartPtr<Wide> const wide(new Wide(destroyed_));
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(wide.get()) % 128);
    }
    EXPECT_EQ(10, destroyed_);
}

// An object that takes the place of one that was not completed would be deleted, were the memory
// still known as that of the first one.
TEST_F(ZanMadeByNewTest, MemoryIsForgottenWhenTheConstructorRaises) {
    struct Raising : Thing {
        explicit Raising(int & destroyed) : Thing(destroyed) { throw std::runtime_error("no"); }
    };
    EXPECT_THROW(MoxSmartPtr<Raising>(new Raising(destroyed_)), std::runtime_error);
    destroyed_ = 0;
    std::vector<std::shared_ptr<unsigned char[]>> rooms;
    for (int i = 0; i < 100; ++i) {
        rooms.push_back(std::make_unique<unsigned char[]>(sizeof(Raising)));
        Thing * const placed = ::new (rooms.back().get()) Thing(destroyed_);
        own(*placed);
    }
    EXPECT_EQ(0, destroyed_);
}

TEST_F(ZanMadeByNewTest, ThreadsMakeAndDropObjects) {
    std::vector<int> destroyed(threadCount);
    runThreads([&destroyed](std::uint32_t thread) {
        for (int i = 0; i < 500; ++i) {
            MoxSmartPtr<Thing> const made(new Thing(destroyed[thread]));
            Thing onStack(destroyed[thread]);
            MoxSmartPtr<Thing> const owner(&onStack);
        }
    });
    for (int const count : destroyed)
        EXPECT_EQ(1000, count);
}

}  // namespace

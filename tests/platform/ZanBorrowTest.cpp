#include "ZanBorrow.h"

#include <gtest/gtest.h>

#include <memory>

#include "MoxSmartPtr.h"
#include "VZanRefCount.h"
#include "ZanRefCount.h"

namespace {

template <class Base>
class Watched : public Base {
  public:
    explicit Watched(int & destroyed) : destroyed_(destroyed) {}
    ~Watched() { ++destroyed_; }

  private:
    int & destroyed_;
};

template <class Base>
class ZanBorrowTest : public testing::Test {
  protected:
    int destroyed_ = 0;
};
using Bases = testing::Types<ZanRefCount, VZanRefCount>;
TYPED_TEST_SUITE(ZanBorrowTest, Bases);

TYPED_TEST(ZanBorrowTest, AnObjectWithoutOwnersOutlivesTheBorrowing) {
    Watched<TypeParam> object(this->destroyed_);
    {
        ZanBorrow<Watched<TypeParam>> const borrow(&object);
        EXPECT_EQ(1, object.refCount());
        EXPECT_EQ(&object, borrow.get());
        EXPECT_EQ(&object, borrow.pointer().get());
        EXPECT_EQ(&object, &*borrow);
        EXPECT_EQ(1, borrow->refCount());
    }
    EXPECT_EQ(0, this->destroyed_);
    EXPECT_EQ(0, object.refCount());
}

TYPED_TEST(ZanBorrowTest, AnObjectWithoutOwnersMayBeBorrowedTwiceAndByAnOwnerMeanwhile) {
    auto const object = std::make_unique<Watched<TypeParam>>(this->destroyed_);
    {
        ZanBorrow<Watched<TypeParam>> const outer(object.get());
        ZanBorrow<Watched<TypeParam>> const inner(object.get());
        MoxSmartPtr<Watched<TypeParam>> const owner(object.get());
        EXPECT_EQ(3, object->refCount());
    }
    EXPECT_EQ(0, this->destroyed_);
    EXPECT_EQ(0, object->refCount());
}

TYPED_TEST(ZanBorrowTest, AnOwnedObjectIsKeptByItsOwner) {
    MoxSmartPtr<Watched<TypeParam>> const owner(new Watched<TypeParam>(this->destroyed_));
    { ZanBorrow<Watched<TypeParam>> const borrow(owner.get()); }
    EXPECT_EQ(0, this->destroyed_);
    EXPECT_EQ(1, owner->refCount());
}

TYPED_TEST(ZanBorrowTest, OnlyAnOwnedObjectIsKeptIfOwned) {
    Watched<TypeParam> object(this->destroyed_);
    EXPECT_EQ(nullptr, zanKeepIfOwned(&object));
    EXPECT_EQ(0, object.refCount());
    MoxSmartPtr<Watched<TypeParam>> owner(new Watched<TypeParam>(this->destroyed_));
    {
        auto const kept = zanKeepIfOwned(owner.get());
        owner = nullptr;
        EXPECT_EQ(1, kept->refCount());
        EXPECT_EQ(0, this->destroyed_);
    }
    EXPECT_EQ(1, this->destroyed_);
}

TYPED_TEST(ZanBorrowTest, AnOwnedObjectGoesWithTheBorrowingWhenItsOwnerLeftMeanwhile) {
    MoxSmartPtr<Watched<TypeParam>> owner(new Watched<TypeParam>(this->destroyed_));
    auto borrow = std::make_unique<ZanBorrow<Watched<TypeParam>>>(owner.get());
    owner = nullptr;
    EXPECT_EQ(0, this->destroyed_);
    borrow.reset();
    EXPECT_EQ(1, this->destroyed_);
}

}  // namespace

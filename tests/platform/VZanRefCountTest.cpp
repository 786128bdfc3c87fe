#include "VZanRefCount.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// Tells which of its operations were called through the base.
class Derived : public VZanRefCount {
  public:
    explicit Derived(int & destroyed) : destroyed_(destroyed) {}
    ~Derived() override { ++destroyed_; }

    void addRef() const noexcept override {
        ++adds;
        VZanRefCount::addRef();
    }
    bool deleteRef() const noexcept override {
        ++deletes;
        return VZanRefCount::deleteRef();
    }
    VZanRefCount & operator=(VZanRefCount const & other) noexcept override {
        ++assignments;
        return VZanRefCount::operator=(other);
    }

    mutable int adds = 0;
    mutable int deletes = 0;
    int assignments = 0;

  private:
    int & destroyed_;
};

TEST(VZanRefCountTest, OperationsAreVirtual) {
    int destroyed = 0;
    Derived derived(destroyed);
    VZanRefCount & base = derived;
    base.addRef();
    EXPECT_TRUE(base.deleteRef());
    VZanRefCount const other;
    EXPECT_EQ(&base, &(base = other));
    EXPECT_EQ(1, derived.adds);
    EXPECT_EQ(1, derived.deletes);
    EXPECT_EQ(1, derived.assignments);
}

TEST(VZanRefCountTest, IsDeletedThroughTheBase) {
    int destroyed = 0;
    std::unique_ptr<VZanRefCount> base = std::make_unique<Derived>(destroyed);
    base.reset();
    EXPECT_EQ(1, destroyed);
}

}  // namespace

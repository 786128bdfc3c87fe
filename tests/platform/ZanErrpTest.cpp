#include "ZanErrp.h"

#include <gtest/gtest.h>

namespace {

// Counts its own destructions.
class Watched : public ZanError {
  public:
    explicit Watched(int & destroyed) : ZanError("QEL", 7, "f", 1), destroyed_(destroyed) {}
    ~Watched() override { ++destroyed_; }

  private:
    int & destroyed_;
};

TEST(ZanErrpTest, EmptyIsNull) {
    ZanErrp const none;
    EXPECT_EQ(nullptr, static_cast<ZanError *>(none));
    EXPECT_FALSE(none);
    EXPECT_FALSE(ZanErrp(nullptr));
}

TEST(ZanErrpTest, ConvertsToThePointerItHolds) {
    auto error = std::make_unique<ZanError>("QEL", 7, "f", 1);
    ZanError * const raw = error.get();
    ZanErrp const held(std::move(error));
    EXPECT_TRUE(held);
    EXPECT_EQ(raw, static_cast<ZanError *>(held));
    EXPECT_EQ(7, held->getErrcode());
}

TEST(ZanErrpTest, FreesWhatItHolds) {
    int destroyed = 0;
    {
        ZanErrp const held(std::make_unique<Watched>(destroyed));
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);
}

TEST(ZanErrpTest, MovesWithoutFreeing) {
    int destroyed = 0;
    {
        ZanErrp first(std::make_unique<Watched>(destroyed));
        ZanErrp const second(std::move(first));
        EXPECT_TRUE(second);
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);
}

TEST(ZanErrpTest, AssignmentFreesTheOldError) {
    int destroyed = 0;
    ZanErrp held(std::make_unique<Watched>(destroyed));
    held = ZanErrp();
    EXPECT_EQ(1, destroyed);
    EXPECT_FALSE(held);
}

}  // namespace

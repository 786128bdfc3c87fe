#include "QelColorSpace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <thread>

namespace {

// Implements only what a colour space has to.
template <int tag>
class Space : public QelColorSpace {
  public:
    Space(int bands = 3, double min = 0.0, double max = 255.0) : QelColorSpace(bands, min, max) {}

    MoxSmartPtr<QelColorSpace> clone() const override { return new Space(*this); }
    char const * bandName(int) const override { return "band"; }
    char const * name() const override { return "Space"; }
    MoxSmartPtr<QelColorSpace> newWithBands(int bands) const override {
        return new Space(bands, minValue(), maxValue());
    }
    MoxSmartPtr<QelColorSpace> newWithRange(double min, double max) const override {
        return new Space(numBands(), min, max);
    }
};

bool canTake(QelColorSpace & space) {
    if (!space.try_lock()) return false;
    space.unlock();
    return true;
}

class NamedSpace : public Space<1> {};

TEST(QelColorSpaceTest, KeepsItsBandsAndRange) {
    Space<1> const space(4, -1.5, 1023.0);
    EXPECT_EQ(4, space.numBands());
    EXPECT_EQ(-1.5, space.minValue());
    EXPECT_EQ(1023.0, space.maxValue());
}

TEST(QelColorSpaceTest, TheBaseHasNoSpecialProperties) {
    Space<1> const space;
    EXPECT_FALSE(space.isRGBLike());
    EXPECT_FALSE(space.isYCCLike());
    EXPECT_FALSE(space.hasAlpha());
    EXPECT_EQ(nullptr, space.alphaPartnerName());
}

TEST(QelColorSpaceTest, TheFlagIsTheCallersMark) {
    Space<1> space;
    EXPECT_FALSE(space.getFlag());
    space.setFlag(true);
    EXPECT_TRUE(space.getFlag());
    space.setFlag(false);
    EXPECT_FALSE(space.getFlag());
}

TEST(QelColorSpaceTest, ACopyHasTheFlagToo) {
    Space<1> space(2, 1.0, 2.0);
    space.setFlag(true);
    MoxSmartPtr<QelColorSpace> const copy = space.clone();
    EXPECT_TRUE(copy->getFlag());
    EXPECT_EQ(2, copy->numBands());
    EXPECT_EQ(1.0, copy->minValue());
    EXPECT_EQ(2.0, copy->maxValue());
    EXPECT_EQ(1, copy->refCount());
    copy->setFlag(false);
    EXPECT_TRUE(space.getFlag());
}

TEST(QelColorSpaceTest, ACopyHasALockOfItsOwnForOtherThreads) {
    Space<1> space;
    ZanLock const hold(space);
    MoxSmartPtr<QelColorSpace> const copy = space.clone();
    bool taken = false;
    bool copyTaken = false;
    std::thread([&] {
        taken = canTake(space);
        copyTaken = canTake(*copy);
    }).join();
    EXPECT_FALSE(taken);
    EXPECT_TRUE(copyTaken);
}

TEST(QelColorSpaceTest, EqualMeansTheSameClassRangeAndBands) {
    Space<1> const space(3, 0.0, 1.0);
    struct Row {
        char const * what;
        std::shared_ptr<QelColorSpace> other;
        bool equal, sameType;
    };
    Row const table[] = {{"itself again", std::make_shared<Space<1>>(3, 0.0, 1.0), true, true},
                         {"another minimum", std::make_shared<Space<1>>(3, 0.1, 1.0), false, true},
                         {"another maximum", std::make_shared<Space<1>>(3, 0.0, 2.0), false, true},
                         {"more bands", std::make_shared<Space<1>>(4, 0.0, 1.0), false, true},
                         {"another class", std::make_shared<Space<2>>(3, 0.0, 1.0), false, false}};
    for (Row const & row : table) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.equal, space.isEqual(*row.other));
        EXPECT_EQ(row.equal, row.other->isEqual(space));
        EXPECT_EQ(row.sameType, space.isSameType(*row.other));
        EXPECT_EQ(row.sameType, row.other->isSameType(space));
    }
}

TEST(QelColorSpaceTest, TheFlagIsNoPartOfEquality) {
    Space<1> space;
    Space<1> const other;
    space.setFlag(true);
    EXPECT_TRUE(space.isEqual(other));
}

TEST(QelColorSpaceTest, ADerivedClassIsAnotherType) {
    NamedSpace const derived;
    Space<1> const base;
    EXPECT_FALSE(base.isSameType(derived));
    EXPECT_FALSE(derived.isSameType(base));
    EXPECT_FALSE(base.isEqual(derived));
}

TEST(QelColorSpaceTest, ClassNameIsThatOfTheMostDerivedClass) {
    NamedSpace const space;
    QelColorSpace const & base = space;
    EXPECT_NE(nullptr, std::strstr(base.className(), "NamedSpace"));
}

}  // namespace

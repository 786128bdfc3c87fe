#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "Qel.h"

// What regions cost the heap: a copy nothing, a conversion one block that is kept.

namespace {

MoxSmartPtr<QelXySimpleRegion> regionOfInches() {
    MoxSmartPtr<QelXyCoordSpace> const space(new QelXyCoordSpace(inches(8.0), inches(4.0)));
    space->addResolution(800, 400);
    space->selectResolution(800, 400);
    return new QelXySimpleRegion(space, inches(1.0), inches(1.0), inches(2.0), inches(2.0));
}

}  // namespace

TEST(QelXyRegionAllocationTest, ACopyIsOneCountAndNoBlock) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    region->xRange(QEL_UNIT_PIXEL);  // what is kept is not copied
    AllocationCounter const counter;
    {
        QelXySimpleRegion const copy(*region);
        QelXySimpleRegion const another(copy);
        EXPECT_EQ(region->box().get(), another.box().get());
    }
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyRegionAllocationTest, AssigningCostsNoBlock) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    QelXySimpleRegion other;
    AllocationCounter const counter;
    other = *region;
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyRegionAllocationTest, ACloneIsTheRegionAlone) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    AllocationCounter const counter;
    MoxSmartPtr<QelRegion> const clone = region->clone();
    EXPECT_EQ(1, counter.allocations());
}

TEST(QelXyRegionAllocationTest, AskingTwiceForTheSameUnitConvertsOnce) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    for (int round = 0; round < 3; ++round) {
        AllocationCounter const counter;
        region->xRange(QEL_UNIT_PIXEL);
        region->yRange(QEL_UNIT_PIXEL);
        EXPECT_EQ(round == 0 ? 2 : 0, counter.allocations());
    }
}

TEST(QelXyRegionAllocationTest, EachUnitIsConvertedOnce) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    for (int round = 0; round < 3; ++round) {
        for (int const unit : {QEL_UNIT_CENTIMETER, QEL_UNIT_PIXEL, QEL_UNIT_METER}) {
            AllocationCounter const counter;
            region->xRange(unit);
            region->xRange(unit);
            EXPECT_EQ(round == 0 ? 1 : 0, counter.allocations());
        }
    }
}

TEST(QelXyRegionAllocationTest, TheBoxesOwnUnitIsNotKept) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    AllocationCounter const counter;
    region->xRange(QEL_UNIT_INCH);
    region->boundingBox(QEL_UNIT_INCH);
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyRegionAllocationTest, EveryChangeDropsWhatIsKept) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOfInches();
    QelXyBox const box(*region->box());
    MoxSmartPtr<QelXyCoordSpace> const next(region->xyCoordSpace()->cloneXy());
    QelXySimpleRegion const other(*region);
    auto const conversions = [&](auto const & change) {
        region->xRange(QEL_UNIT_PIXEL);
        change();
        AllocationCounter const counter;
        region->xRange(QEL_UNIT_PIXEL);
        return counter.allocations();
    };
    EXPECT_EQ(0, conversions([] {}));
    EXPECT_EQ(1, conversions([&] { region->setBox(box); }));
    EXPECT_EQ(1, conversions([&] { region->setCoordSpace(next); }));
    EXPECT_EQ(1, conversions([&] { region->setResolution(80, 40); }));
    EXPECT_EQ(1, conversions([&] { region->selectResolution(80, 40); }));
    EXPECT_EQ(1, conversions([&] { region->scaleX(1.0, false); }));
    EXPECT_EQ(1, conversions([&] { *region = other; }));
}

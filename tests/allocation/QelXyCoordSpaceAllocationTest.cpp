#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelXyCoordSpace.h"

// What coordinate spaces cost the heap: a copy nothing, a conversion nothing, a first change of a
// copy its dimensions.

namespace {

QelXyCoordSpace physical() {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addResolution(1000, 2000);
    space.addResolution(500, 1000);
    space.selectResolution(1000, 2000);
    return space;
}

TEST(QelXyCoordSpaceAllocationTest, ACopyCostsNothing) {
    QelXyCoordSpace const space = physical();
    QelXyCoordSpace assigned(1, 1);
    AllocationCounter const counter;
    {
        QelXyCoordSpace const copy(space);
        assigned = copy;
        EXPECT_TRUE(assigned.hasSelectedResolution());
    }
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyCoordSpaceAllocationTest, ACloneIsOneObject) {
    QelXyCoordSpace const space = physical();
    AllocationCounter const counter;
    MoxSmartPtr<QelXyCoordSpace> const clone = space.cloneXy();
    EXPECT_EQ(1, counter.allocations());
}

TEST(QelXyCoordSpaceAllocationTest, ReadingCostsNothing) {
    QelXyCoordSpace const space = physical();
    AllocationCounter const counter;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    QelXyCoordSpace::Resolution found;
    space.getMaxResolution(width, height);
    EXPECT_TRUE(space.findClosestResolution(found, 400, 900, 3));
    EXPECT_TRUE(space.hasPixelResolution(500, 1000));
    EXPECT_TRUE(space.isCompatible(space));
    space.findHorzResolution(found.vert);
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyCoordSpaceAllocationTest, ConversionsCostNothing) {
    QelXyCoordSpace const space = physical();
    AllocationCounter const counter;
    for (int const from : {1, 2, 3, 4, 43, 32}) {
        for (int const to : {1, 2, 3, 4, 43, 32}) {
            QelValue const value(1.0, from);
            QelValueRange const range(value, value, 0, true, true);
            space.convertHorzPosition(value, to, true);
            space.convertVertSpan(value, to, true);
            space.convertHorzRange(range, to, true);
        }
    }
    EXPECT_EQ(0, counter.allocations());
}

// Nor do they where it is the only resolution that is meant, for want of a selection.
TEST(QelXyCoordSpaceAllocationTest, ConversionsWithoutASelectionCostNothing) {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addResolution(1000, 2000);
    ASSERT_FALSE(space.hasSelectedResolution());
    AllocationCounter const counter;
    space.convertHorzPosition(inches(1), QEL_UNIT_PIXEL, true);
    space.convertVertSpan(pixels(10), QEL_UNIT_INCH);
    space.convertHorzRange({inches(1), inches(2), 0, true, true}, QEL_UNIT_PIXEL, true);
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelXyCoordSpaceAllocationTest, SelectingCopiesNoDimension) {
    QelXyCoordSpace const space = physical();
    QelXyCoordSpace copy(space);
    AllocationCounter const counter;
    copy.selectResolution(500, 1000);
    copy.clearSelection();
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(&space.dimension(0), &copy.dimension(0));
}

// Only the first change of a copy pays for the dimensions.
TEST(QelXyCoordSpaceAllocationTest, AChangeCopiesSharedDimensionsOnce) {
    QelXyCoordSpace const space = physical();
    QelXyCoordSpace copy(space);
    AllocationCounter const first;
    copy.setOrigin(0, inches(1));
    EXPECT_LT(0, first.allocations());
    AllocationCounter const second;
    copy.setOrigin(0, inches(2));
    EXPECT_EQ(0, second.allocations());
}

// Where memory ends in the middle of a change, the space is as it was.
TEST(QelXyCoordSpaceAllocationTest, AChangeWithoutMemoryIsNone) {
    using Change = void (*)(QelXyCoordSpace &);
    Change const changes[] = {
        [](QelXyCoordSpace & s) { s.setXyUnit(QEL_UNIT_CENTIMETER); },
        [](QelXyCoordSpace & s) { s.setXyUnit(QEL_UNIT_PIXEL); },
        [](QelXyCoordSpace & s) { s.setXyUnit(QEL_UNIT_NORMALIZED); },
        [](QelXyCoordSpace & s) { s.setWidth(0, inches(5), true); },
        [](QelXyCoordSpace & s) { s.scale(2.0, true); },
        [](QelXyCoordSpace & s) { s.addResolution(7, 7); },
        [](QelXyCoordSpace & s) { s.removeResolution(0); },  // that is selected
        [](QelXyCoordSpace & s) { s.removeResolution(1); },
        [](QelXyCoordSpace & s) { s.intersectResolutions(nullptr); },
        [](QelXyCoordSpace & s) { s.scalePixels(0.5, 0.5, true); },
        [](QelXyCoordSpace & s) { s.swapXY(); },
    };
    int row = 0;
    for (Change const change : changes) {
        SCOPED_TRACE(row++);
        bool refused = true;
        for (int n = 1; refused; ++n) {
            ASSERT_GT(100, n);
            QelXyCoordSpace space = physical();
            QelXyCoordSpace const copy(space);
            {
                AllocationFault const fault(n);
                try {
                    change(space);
                } catch (std::bad_alloc const &) {
                }
                refused = fault.happened();
            }
            if (!refused) break;
            EXPECT_EQ(10.0, space.width().value());
            EXPECT_EQ(QEL_UNIT_INCH, space.unit());
            EXPECT_EQ("x", space.xDimension().name());
            ASSERT_EQ(2U, space.xDimension().numResolutions());
            ASSERT_EQ(2U, space.yDimension().numResolutions());
            EXPECT_EQ(1000U, space.getResolution(0).horz.pixels);
            EXPECT_EQ(1000U, space.numPixelsWide());
        }
    }
}

}  // namespace

#include <cstddef>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

#include "RegionTesting.h"
#include "ThreadTesting.h"

// Several threads read one region.

namespace {

int const units[] = {QEL_UNIT_PIXEL, QEL_UNIT_CENTIMETER, QEL_UNIT_WIDTH_RELATIVE,
                     QEL_UNIT_METER, QEL_UNIT_INCH,       QEL_UNIT_NORMALIZED};

TEST(QelXyRegionThreadTest, RangesInAllUnitsAreReadTogether) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(8, 4, 800, 400);
    for (int round = 0; round < 50; ++round) {
        MoxConstSmartPtr<QelXySimpleRegion> const region =
            regionOf(space, boxIn(QEL_UNIT_INCH, 1, 1, 2, 2));
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            // Converts by itself.
            QelXySimpleRegion const own(*region);
            start.await();
            for (std::size_t i = 0; i < 3 * std::size(units); ++i) {
                int const unit = units[(i + thread) % std::size(units)];
                expectRange(own.xRange(unit), region->xRange(unit));
                expectRange(own.yRange(unit), region->yRange(unit));
            }
            EXPECT_EQ(own.pixelBounds(), region->pixelBounds());
        });
    }
}

TEST(QelXyRegionThreadTest, ARegionIsCopiedWhileItIsRead) {
    MoxConstSmartPtr<QelXySimpleRegion> const region =
        regionOf(sampledSpace(8, 4, 800, 400), boxIn(QEL_UNIT_INCH, 1, 1, 2, 2));
    QelRect const expected = QelXySimpleRegion(*region).pixelBounds();
    runThreads([&](std::uint32_t) {
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(expected, QelXySimpleRegion(*region).pixelBounds());
            EXPECT_EQ(expected, region->pixelBounds());
        }
    });
}

}  // namespace

#include "ZanPlatformMMX.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(ZanPlatformMMXTest, TwoElementsStandSideBySide) {
    struct {
        int low;
        int high;
        std::uint64_t element;
    } const cases[] = {
        {0, 0, 0},
        {1, 2, 0x0000000200000001},
        {-1, 0, 0x00000000FFFFFFFF},
        {0, -1, 0xFFFFFFFF00000000},
        {-2, 3, 0x00000003FFFFFFFE},
        {INT_MIN, INT_MAX, 0x7FFFFFFF80000000},
        {INT_MAX, INT_MIN, 0x800000007FFFFFFF},
    };
    for (auto const & c : cases) {
        EXPECT_EQ(c.element, ZanPlatformMMX::makeMMXIntKernelElement2x(c.low, c.high))
            << "low " << c.low << " high " << c.high;
    }
}

TEST(ZanPlatformMMXTest, FourElementsAreTheLowSixteenBits) {
    struct {
        int value;
        std::uint64_t element;
    } const cases[] = {
        {0, 0},
        {1, 0x0001000100010001},
        {-1, 0xFFFFFFFFFFFFFFFF},
        {32768, 0x8000800080008000},
        {32767 - 255, 0x7F007F007F007F00},
        {0x12345678, 0x5678567856785678},
        {INT_MIN, 0},
    };
    for (auto const & c : cases)
        EXPECT_EQ(c.element, ZanPlatformMMX::makeMMXIntKernelElement4x(c.value)) << c.value;
}

}  // namespace

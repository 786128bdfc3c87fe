#include "ZanPlatform.h"

#include <gtest/gtest.h>

TEST(ZanPlatformTest, IsNotWindowsNT) {
    EXPECT_FALSE(ZanPlatform::isWindowsNT());
}

#include "QelImageInfo.h"

#include <gtest/gtest.h>

#include <vector>

#include "ThreadTesting.h"

TEST(QelImageInfoThreadTest, ReadersOfOneReportShareItsDefaultOrganisation) {
    for (int round = 0; round < 100; ++round) {
        QelImageInfo const info(640, 480);
        StartLine start;
        std::vector<MoxSmartPtr<QelDataOrg>> found(threadCount);
        runThreads([&](std::uint32_t thread) {
            start.await();
            EXPECT_EQ(1, info.numBands());
            found[thread] = info.dataOrg();
        });
        for (auto const & org : found)
            ASSERT_EQ(found.front().get(), org.get());
        EXPECT_EQ(static_cast<int>(threadCount) + 1, found.front()->refCount());
    }
}

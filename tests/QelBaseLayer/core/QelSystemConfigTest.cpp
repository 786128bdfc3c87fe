#include "QelSystemConfig.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "OutputCapture.h"
#include "ScopedSetting.h"

namespace {

// Read while static objects are being constructed, and before any test changes anything.
struct AtStart {
    std::int32_t sizes[6] = {QelSystemConfig::defaultTileWidth, QelSystemConfig::defaultTileHeight,
                             QelSystemConfig::minTileWidth,     QelSystemConfig::minTileHeight,
                             QelSystemConfig::maxTileWidth,     QelSystemConfig::maxTileHeight};
    bool tileCachingDefault = QelSystemConfig::tileCachingDefault;
    bool reservedFlagA = QelSystemConfig::reservedFlagA;
    bool reservedFlagB = QelSystemConfig::reservedFlagB;
    std::uint32_t traceFlags = QelSystemConfig::traceFlags;
    std::string graphDumpFile = QelSystemConfig::graphDumpFile;
    bool couldLock = false;

    AtStart() {
        ZanLock const guard(QelSystemConfig::statsLock);
        couldLock = true;
    }
};

AtStart const atStart;

TEST(QelSystemConfigTest, IsReadyBeforeOtherObjects) {
    EXPECT_EQ(128, atStart.sizes[0]);
    EXPECT_EQ(128, atStart.sizes[1]);
    EXPECT_EQ(128, atStart.sizes[2]);
    EXPECT_EQ(128, atStart.sizes[3]);
    EXPECT_EQ(256, atStart.sizes[4]);
    EXPECT_EQ(256, atStart.sizes[5]);
    EXPECT_FALSE(atStart.tileCachingDefault);
    EXPECT_TRUE(atStart.reservedFlagA);
    EXPECT_TRUE(atStart.reservedFlagB);
    EXPECT_EQ(0U, atStart.traceFlags);
    EXPECT_EQ("", atStart.graphDumpFile);
    EXPECT_TRUE(atStart.couldLock);
}

TEST(QelSystemConfigTest, TraceBits) {
    EXPECT_EQ(0x01U, QelSystemConfig::traceActivity);
    EXPECT_EQ(0x02U, QelSystemConfig::traceProgress);
    EXPECT_EQ(0x20U, QelSystemConfig::traceGraph);
    EXPECT_EQ(0x40U, QelSystemConfig::strictTiles);
    ScopedSetting const flags(QelSystemConfig::traceFlags, std::uint32_t{0x21});
    EXPECT_TRUE(QelSystemConfig::traces(QelSystemConfig::traceActivity));
    EXPECT_FALSE(QelSystemConfig::traces(QelSystemConfig::traceProgress));
    EXPECT_TRUE(QelSystemConfig::traces(QelSystemConfig::traceGraph));
    EXPECT_FALSE(QelSystemConfig::traces(QelSystemConfig::strictTiles));
}

class QelSystemConfigStatsTest : public testing::Test {
  protected:
    static std::string stats(char const * label) {
        OutputCapture const capture;
        QelSystemConfig::printMemoryStats(label);
        return capture.text();
    }

    ScopedSetting<std::int64_t> current_{QelSystemConfig::currentBytes, 1};
    ScopedSetting<std::int64_t> peak_{QelSystemConfig::peakBytes, 20};
    ScopedSetting<std::int64_t> blocks_{QelSystemConfig::liveBlocks, 300};
    ScopedSetting<std::int64_t> allocations_{QelSystemConfig::allocationCount, 5000000000};
};

TEST_F(QelSystemConfigStatsTest, PrintsOneLine) {
    EXPECT_EQ("after current=1 max=20 blocks=300 allocs=5000000000\n", stats("after"));
}

TEST_F(QelSystemConfigStatsTest, NullLabelIsEmpty) {
    EXPECT_EQ(" current=1 max=20 blocks=300 allocs=5000000000\n", stats(nullptr));
}

TEST_F(QelSystemConfigStatsTest, PrintingWorksWhileTheCallerHoldsTheLock) {
    ZanLock const guard(QelSystemConfig::statsLock);
    EXPECT_EQ("x current=1 max=20 blocks=300 allocs=5000000000\n", stats("x"));
}

}  // namespace

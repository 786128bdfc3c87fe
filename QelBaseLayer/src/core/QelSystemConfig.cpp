#include "QelSystemConfig.h"

#include <type_traits>

#include "QelOutput.h"

// Whatever static object is built first finds all of these ready.
constinit std::int32_t QelSystemConfig::defaultTileWidth = 128;
constinit std::int32_t QelSystemConfig::defaultTileHeight = 128;
constinit std::int32_t QelSystemConfig::minTileWidth = 128;
constinit std::int32_t QelSystemConfig::minTileHeight = 128;
constinit std::int32_t QelSystemConfig::maxTileWidth = 256;
constinit std::int32_t QelSystemConfig::maxTileHeight = 256;
constinit bool QelSystemConfig::tileCachingDefault = false;
constinit bool QelSystemConfig::reservedFlagA = true;
constinit bool QelSystemConfig::reservedFlagB = true;
constinit std::uint32_t QelSystemConfig::traceFlags = 0;
// Not every compiler takes an empty string for a constant, so this one asks to come first.
[[gnu::init_priority(101)]] std::string QelSystemConfig::graphDumpFile;
constinit std::int64_t QelSystemConfig::peakBytes = 0;
constinit std::int64_t QelSystemConfig::currentBytes = 0;
constinit std::int64_t QelSystemConfig::allocationCount = 0;
constinit std::int64_t QelSystemConfig::liveBlocks = 0;
constinit ZanMutex QelSystemConfig::statsLock;

// Buffers may still go while the process exits.
static_assert(std::is_trivially_destructible_v<ZanMutex>);

void QelSystemConfig::printMemoryStats(char const * label) {
    std::string line = label != nullptr ? label : "";
    {
        ZanLock const guard(statsLock);
        line += " current=" + std::to_string(currentBytes) + " max=" + std::to_string(peakBytes) +
                " blocks=" + std::to_string(liveBlocks) +
                " allocs=" + std::to_string(allocationCount) + '\n';
    }
    QelOutput::write(line);
}

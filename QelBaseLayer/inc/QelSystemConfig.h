#pragma once

#include <cstdint>
#include <string>

#include "QelExport.h"
#include "ZanMutex.h"

// Process-wide settings and counters, ready before any other object of the library. The settings
// are plain and are meant to be set before rendering starts; the counters change under statsLock.
class QEL_API QelSystemConfig {
  public:
    QelSystemConfig() = delete;

    // Tile size, in pixels, of a data organisation that is made by default.
    static std::int32_t defaultTileWidth;   // 128
    static std::int32_t defaultTileHeight;  // 128
    // Bounds of the tile size of an image with an op; see Qel2DImage::initialize().
    static std::int32_t minTileWidth;   // 128
    static std::int32_t minTileHeight;  // 128
    static std::int32_t maxTileWidth;   // 256
    static std::int32_t maxTileHeight;  // 256

    // Initial value of the caching flag of image connection points and tile containers.
    static bool tileCachingDefault;  // false

    // The library neither sets nor reads these; kept for clients that name them.
    static bool reservedFlagA;  // true
    static bool reservedFlagB;  // true

    // Bits of traceFlags.
    static constexpr std::uint32_t traceActivity = 0x01;  // buffers, tiles, images and ops
    static constexpr std::uint32_t traceProgress = 0x02;  // progress of render contexts
    static constexpr std::uint32_t traceGraph = 0x20;     // a sink dumps the graph first
    static constexpr std::uint32_t strictTiles = 0x40;    // populating a tile twice is an error
    static std::uint32_t traceFlags;                      // 0

    // The file that traceGraph writes to; empty means standard output.
    static std::string graphDumpFile;

    static std::int64_t peakBytes;        // highest value that currentBytes reached
    static std::int64_t currentBytes;     // bytes held by data buffers now
    static std::int64_t allocationCount;  // data buffer allocations since the start
    static std::int64_t liveBlocks;       // data buffers holding memory now
    static ZanMutex statsLock;

    // Writes `label`, " current=", currentBytes, " max=", peakBytes, " blocks=", liveBlocks,
    // " allocs=", allocationCount and a newline to the library's output. A null label is empty.
    static void printMemoryStats(char const * label);

    static bool traces(std::uint32_t bits) { return (traceFlags & bits) != 0; }
};

#pragma once

#include <cstdint>

#include "QelSystemConfig.h"
#include "ScopedSetting.h"

// No limits on tile sizes but these, for images made in its scope.
class TileLimits {
  public:
    TileLimits(std::int32_t least, std::int32_t most) : TileLimits(least, least, most, most) {}
    TileLimits(std::int32_t leastWidth, std::int32_t leastHeight, std::int32_t mostWidth,
               std::int32_t mostHeight)
        : minWidth_(QelSystemConfig::minTileWidth, leastWidth),
          minHeight_(QelSystemConfig::minTileHeight, leastHeight),
          maxWidth_(QelSystemConfig::maxTileWidth, mostWidth),
          maxHeight_(QelSystemConfig::maxTileHeight, mostHeight) {}

  private:
    ScopedSetting<std::int32_t> minWidth_;
    ScopedSetting<std::int32_t> minHeight_;
    ScopedSetting<std::int32_t> maxWidth_;
    ScopedSetting<std::int32_t> maxHeight_;
};

// Tiles of exactly this size, for images and ops made in its scope.
class TileSize {
  public:
    TileSize(std::int32_t width, std::int32_t height)
        : defaultWidth_(QelSystemConfig::defaultTileWidth, width),
          defaultHeight_(QelSystemConfig::defaultTileHeight, height),
          limits_(width, height, width, height) {}

  private:
    ScopedSetting<std::int32_t> defaultWidth_;
    ScopedSetting<std::int32_t> defaultHeight_;
    TileLimits limits_;
};

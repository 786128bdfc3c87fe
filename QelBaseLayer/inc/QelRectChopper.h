#pragma once

#include "QelRect.h"

// Cuts a rectangle into pieces, left to right, then top to bottom.
class QEL_API QelRectChopper {
  public:
    // Each axis takes the larger of its minimum and maximum as the size of a piece, at least 1.
    QelRectChopper(QelRect const & rect, std::int32_t minWidth, std::int32_t maxWidth,
                   std::int32_t minHeight, std::int32_t maxHeight);

    // False after the last piece. The last piece of a row or a column is clipped to fit. Raises
    // invalidValue (13) for a piece that starts beyond the coordinate 2147483647.
    bool next(QelRect & piece);

  private:
    std::int64_t firstX_;
    std::int64_t lastX_;
    std::int64_t lastY_;
    std::int32_t chunkWidth_;
    std::int32_t chunkHeight_;
    std::int64_t currentX_;
    std::int64_t currentY_;
    std::int32_t currentChunkHeight_ = 0;
    std::int32_t currentChunkWidth_ = 0;
};

#include "QelRectChopper.h"

#include <algorithm>
#include <limits>
#include <string>

#include "QelError.h"

QelRectChopper::QelRectChopper(QelRect const & rect, std::int32_t minWidth, std::int32_t maxWidth,
                               std::int32_t minHeight, std::int32_t maxHeight)
    : firstX_(rect.x),
      lastX_(rect.right()),
      lastY_(rect.bottom()),
      chunkWidth_(std::max({minWidth, maxWidth, 1})),
      chunkHeight_(std::max({minHeight, maxHeight, 1})),
      currentX_(rect.x),
      // An empty rectangle is done from the start.
      currentY_(rect.isEmpty() ? lastY_ + 1 : rect.y) {}

bool QelRectChopper::next(QelRect & piece) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    if (currentY_ > lastY_) return false;
    if (currentX_ > most || currentY_ > most) {
        qelRaise(QelErrorCode::invalidValue, "A piece at (" + std::to_string(currentX_) + ',' +
                                                 std::to_string(currentY_) +
                                                 ") does not fit in 32 bits");
    }
    currentChunkWidth_ =
        static_cast<std::int32_t>(std::min<std::int64_t>(chunkWidth_, lastX_ - currentX_ + 1));
    currentChunkHeight_ =
        static_cast<std::int32_t>(std::min<std::int64_t>(chunkHeight_, lastY_ - currentY_ + 1));
    piece = QelRect(static_cast<std::int32_t>(currentX_), static_cast<std::int32_t>(currentY_),
                    currentChunkWidth_, currentChunkHeight_);

    currentX_ += currentChunkWidth_;
    if (currentX_ > lastX_) {
        currentX_ = firstX_;
        currentY_ += currentChunkHeight_;
    }
    return true;
}

#include "QelRect.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <string>

#include "QelError.h"

namespace {

constinit QelRect const emptyRect;

// Inclusive edges, in 64 bits. Requires: not empty.
struct Edges {
    std::int64_t left;
    std::int64_t top;
    std::int64_t right;
    std::int64_t bottom;

    std::int64_t width() const { return right - left + 1; }
    std::int64_t height() const { return bottom - top + 1; }
};

Edges edgesOf(QelRect const & rect) {
    return {rect.x, rect.y, rect.right(), rect.bottom()};
}

// Requires: left, top, width and height fit.
QelRect partOf(Edges const & edges) {
    return {static_cast<std::int32_t>(edges.left), static_cast<std::int32_t>(edges.top),
            static_cast<std::int32_t>(edges.width()), static_cast<std::int32_t>(edges.height())};
}

QelRect checkedRect(Edges const & edges) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    if (std::max({edges.left, edges.top, edges.width(), edges.height()}) > most) {
        qelRaise(QelErrorCode::invalidValue,
                 "A rectangle of " + std::to_string(edges.width()) + " by " +
                     std::to_string(edges.height()) + " pixels at (" + std::to_string(edges.left) +
                     ',' + std::to_string(edges.top) + ") does not fit in 32 bits");
    }
    return partOf(edges);
}

bool within(std::int64_t value, std::int64_t first, std::int64_t last) {
    return first <= value && value <= last;
}

}  // namespace

QelRect const & QelRect::empty() {
    return emptyRect;
}

QelRect QelRect::fromCorners(std::int32_t left, std::int32_t top, std::int32_t right,
                             std::int32_t bottom) {
    if (right < left || bottom < top) return empty();
    return checkedRect({left, top, right, bottom});
}

bool QelRect::equals(QelRect const & other) const {
    if (isEmpty() || other.isEmpty()) return isEmpty() && other.isEmpty();
    return x == other.x && y == other.y && width == other.width && height == other.height;
}

bool QelRect::overlaps(QelRect const & other) const {
    return !isEmpty() && !other.isEmpty() && x <= other.right() && other.x <= right() &&
           y <= other.bottom() && other.y <= bottom();
}

QelRect QelRect::intersect(QelRect const & other) const {
    if (!overlaps(other)) return empty();
    return partOf({std::max(x, other.x), std::max(y, other.y), std::min(right(), other.right()),
                   std::min(bottom(), other.bottom())});
}

QelRect QelRect::boundingUnion(QelRect const & other) const {
    if (isEmpty()) return other;
    if (other.isEmpty()) return *this;
    return checkedRect({std::min(x, other.x), std::min(y, other.y),
                        std::max(right(), other.right()), std::max(bottom(), other.bottom())});
}

bool QelRect::contains(std::int32_t px, std::int32_t py) const {
    return within(px, x, right()) && within(py, y, bottom());
}

bool QelRect::containsRect(QelRect const & other) const {
    if (other.isEmpty()) return true;
    return contains(other.x, other.y) && other.right() <= right() && other.bottom() <= bottom();
}

bool QelRect::subtract(QelRect const & other, QelRect & first, QelRect & second) const {
    // Copies, because a caller that loops passes one rectangle as this and as `second`.
    QelRect const whole = *this;
    QelRect const hole = other;
    first = second = empty();
    if (whole.isEmpty() || hole.containsRect(whole)) return false;
    if (whole.disjoint(hole)) {
        first = whole;
        return true;
    }

    Edges piece = edgesOf(whole);
    Edges rest = piece;
    bool hasRest = true;
    if (hole.y > whole.y) {
        piece.bottom = std::int64_t{hole.y} - 1;
        rest.top = hole.y;
    } else if (hole.bottom() < whole.bottom()) {
        piece.top = hole.bottom() + 1;
        rest.bottom = hole.bottom();
    } else if (hole.x > whole.x) {
        piece.right = std::int64_t{hole.x} - 1;
        rest.left = hole.x;
    } else {
        // What would be left lies wholly inside `other`.
        piece.left = hole.right() + 1;
        hasRest = false;
    }
    first = checkedRect(piece);
    if (hasRest) second = partOf(rest);
    return true;
}

std::ostream & operator<<(std::ostream & out, QelRect const & rect) {
    if (rect.isEmpty()) return out << "[empty]";
    return out << '(' + std::to_string(rect.x) + ',' + std::to_string(rect.y) + ',' +
                      std::to_string(rect.width) + ',' + std::to_string(rect.height) + ')';
}

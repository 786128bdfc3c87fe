#include "QelDataOrg.h"

#include <algorithm>
#include <array>
#include <istream>
#include <limits>
#include <ostream>
#include <string>
#include <utility>

#include "QelError.h"

namespace {

constexpr std::array<char const *, 4> layoutNames{"PIXEL_INTERLEAVED", "LINE_INTERLEAVED",
                                                  "BAND_INTERLEAVED", "SPELLED_OUT"};

std::int32_t checkedPosition(std::int64_t value, char const * what) {
    if (value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        qelRaise(QelErrorCode::invalidValue,
                 std::string(what) + ' ' + std::to_string(value) + " does not fit in 32 bits");
    }
    return static_cast<std::int32_t>(value);
}

// The tile that holds a position at `distance` from the grid's origin, rounding down.
std::int64_t tileAt(std::int64_t distance, std::int32_t tileSize) {
    if (tileSize < 1) return 0;
    std::int64_t const quotient = distance / tileSize;
    return quotient * tileSize > distance ? quotient - 1 : quotient;
}

std::int32_t checkedTileAt(std::int64_t distance, std::int32_t tileSize) {
    return checkedPosition(tileAt(distance, tileSize), "The tile index");
}

void indexWithRemainder(std::int64_t distance, std::int32_t tileSize, std::int32_t & index,
                        std::int32_t & remainder) {
    std::int64_t const tile = tileAt(distance, tileSize);
    std::int32_t const checkedIndex = checkedPosition(tile, "The tile index");
    remainder = checkedPosition(distance - tile * tileSize, "The position within a tile");
    index = checkedIndex;
}

// Without a tile size everything lies in tile 0, whose first pixel is the origin.
std::int32_t tileStart(std::int32_t tile, std::int32_t tileSize, std::int32_t origin) {
    return checkedPosition(std::int64_t{tileSize} * tile + origin, "The position of a tile");
}

}  // namespace

std::ostream & operator<<(std::ostream & out, QelLayout layout) {
    auto const index = static_cast<unsigned>(layout);
    return out << (index < layoutNames.size() ? layoutNames[index] : "UNKNOWN");
}

std::istream & operator>>(std::istream & in, QelLayout & layout) {
    std::string word;
    in >> word;
    auto const found = std::find(layoutNames.begin(), layoutNames.end(), word);
    if (found != layoutNames.end()) {
        layout = static_cast<QelLayout>(found - layoutNames.begin());
    } else {
        in.setstate(std::ios_base::failbit);
    }
    return in;
}

QelDataOrg::QelDataOrg(std::int32_t tileWidth, std::int32_t tileHeight,
                       std::vector<QelDataType> bandTypes)
    : tileWidth_(tileWidth),
      tileHeight_(tileHeight),
      numBands_(static_cast<std::int32_t>(bandTypes.size())),
      bandTypes_(std::move(bandTypes)),
      uniformType_(std::all_of(bandTypes_.begin(), bandTypes_.end(),
                               [this](QelDataType type) { return type == bandTypes_.front(); })) {}

// The copy says by itself whether it is a QelSimpleDataOrg: the source's answer names the source.
QelDataOrg::QelDataOrg(QelDataOrg const & other)
    : ZanRefCount(other),
      originX_(other.originX_),
      originY_(other.originY_),
      tileWidth_(other.tileWidth_),
      tileHeight_(other.tileHeight_),
      numBands_(other.numBands_),
      bandTypes_(other.bandTypes_),
      uniformType_(other.uniformType_) {}

QelDataOrg::~QelDataOrg() = default;

QelDataType QelDataOrg::precision() const {
    if (bandTypes_.empty()) return QelDataType::Error;
    return uniformType_ ? bandTypes_.front() : QelDataType(QelDataType::Mixed);
}

QelDataType QelDataOrg::precision(int band) const {
    return bandTypes_.at(static_cast<std::size_t>(band));
}

bool QelDataOrg::satisfies(std::uint32_t) const {
    return false;
}

bool QelDataOrg::sameDataType(QelDataOrg const & other) const {
    return isCompatible(other, false);
}

bool QelDataOrg::uniformBandOffsets() const {
    return numBands_ <= 2;
}

MoxSmartPtr<QelDataOrg> QelDataOrg::selectBands(int, int const *) const {
    return nullptr;
}

void QelDataOrg::print(std::ostream & out) const {
    out << "DataOrg[" + std::to_string(originX_) + ',' + std::to_string(originY_) + ',' +
               std::to_string(tileWidth_) + ',' + std::to_string(tileHeight_) + ']';
}

MoxSmartPtr<QelDataOrg> QelDataOrg::withBands(int) const {
    return nullptr;
}

MoxSmartPtr<QelDataOrg> QelDataOrg::withSize(std::int32_t, std::int32_t) const {
    return nullptr;
}

MoxSmartPtr<QelDataOrg> QelDataOrg::withDataType(QelDataType) const {
    return nullptr;
}

MoxSmartPtr<QelDataOrg> QelDataOrg::withLayout(QelLayout) const {
    return nullptr;
}

MoxSmartPtr<QelDataOrg> QelDataOrg::withOrigin(std::int32_t x, std::int32_t y) const {
    MoxSmartPtr<QelDataOrg> copy = clone();
    copy->setOrigin(x, y);
    return copy;
}

void QelDataOrg::setOrigin(std::int32_t x, std::int32_t y) {
    originX_ = x;
    originY_ = y;
}

std::int32_t QelDataOrg::tileIndexX(std::int32_t x) const {
    return checkedTileAt(std::int64_t{x} - originX_, tileWidth_);
}

std::int32_t QelDataOrg::tileIndexY(std::int32_t y) const {
    return checkedTileAt(std::int64_t{y} - originY_, tileHeight_);
}

void QelDataOrg::tileIndexWithRemainderX(std::int32_t x, std::int32_t & index,
                                         std::int32_t & remainder) const {
    indexWithRemainder(std::int64_t{x} - originX_, tileWidth_, index, remainder);
}

void QelDataOrg::tileIndexWithRemainderY(std::int32_t y, std::int32_t & index,
                                         std::int32_t & remainder) const {
    indexWithRemainder(std::int64_t{y} - originY_, tileHeight_, index, remainder);
}

bool QelDataOrg::isOneTile(QelRect const & rect, std::int32_t & tileX, std::int32_t & tileY) const {
    std::int32_t const x = tileIndexX(rect.x);
    std::int32_t const y = tileIndexY(rect.y);
    tileX = x;
    tileY = y;
    // The last pixel may lie beyond 32 bits.
    return tileAt(rect.right() - originX_, tileWidth_) == x &&
           tileAt(rect.bottom() - originY_, tileHeight_) == y;
}

bool QelDataOrg::isOneTile(QelRect const & rect) const {
    std::int32_t tileX = 0;
    std::int32_t tileY = 0;
    return isOneTile(rect, tileX, tileY);
}

QelRect QelDataOrg::tileRect(std::int32_t x, std::int32_t y) const {
    return {tileStart(x, tileWidth_, originX_), tileStart(y, tileHeight_, originY_), tileWidth_,
            tileHeight_};
}

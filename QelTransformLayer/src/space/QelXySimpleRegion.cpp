#include "QelXySimpleRegion.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <typeinfo>
#include <utility>

#include "QelError.h"
#include "QelTextForm.h"
#include "ZanBorrow.h"

namespace {

QelXySimpleRegionRegistryEntry const simpleRegions;

QelXySimpleRegion const & checked(QelXySimpleRegion const * region) {
    if (region == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL region pointer passed to QelXySimplRegion::Iterator ctr");
    }
    return *region;
}

std::int32_t lastOf(std::int64_t position) {
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(position, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

QelXySimpleRegion::Iterator::Iterator(QelXySimpleRegion const * region, QelDataOrg const & tiling)
    : keep_(zanKeepIfOwned(&checked(region))) {
    QelRect const bounds = region->pixelBounds();
    resolution_ = QelTileId(0, 0, region->xyCoordSpace().get());
    column_ = firstColumn_ = tiling.tileIndexX(bounds.x);
    row_ = tiling.tileIndexY(bounds.y);
    lastRow_ = row_ - 1;
    if (bounds.isEmpty()) return;
    lastColumn_ = tiling.tileIndexX(lastOf(bounds.right()));
    lastRow_ = tiling.tileIndexY(lastOf(bounds.bottom()));
}

QelXySimpleRegion::Iterator::~Iterator() = default;

QelXySimpleRegion::~QelXySimpleRegion() = default;

MoxSmartPtr<QelRegion> QelXySimpleRegion::clone() const {
    return new QelXySimpleRegion(*this);
}

void QelXySimpleRegion::read(std::istream & in) {
    constexpr char const * invalid = "Invalid QelXySimpleRegion value";
    if (!qelSkipPast(in, '[')) qelRaise(QelErrorCode::invalidValue, invalid);
    MoxSmartPtr<QelXyCoordSpace> space;
    in >> space;
    qelExpect(in, ",", invalid);
    QelValueRange const nothing{QelValue(), QelValue(), 0, true, true};
    QelXyBox box(nothing, nothing);
    in >> box;
    qelExpect(in, "]", invalid);
    reset(std::move(space), box);
}

void QelXySimpleRegion::write(std::ostream & out) const {
    out << "QelXySimpleRegion[";
    if (MoxConstSmartPtr<QelXyCoordSpace> const space = xyCoordSpace()) {
        out << *space;
    } else {
        out << "NULL";
    }
    out << ", " << *box() << ']';
}

bool QelXySimpleRegion::equal(QelRegion const & other) const {
    if (typeid(other) != typeid(*this)) return false;
    return sameArea(dynamic_cast<QelXySimpleRegion const &>(other));
}

QelXySimpleRegionRegistryEntry::QelXySimpleRegionRegistryEntry()
    : QelXyRegionRegistryEntry("QelXySimpleRegion") {}

QelXySimpleRegionRegistryEntry::~QelXySimpleRegionRegistryEntry() = default;

MoxSmartPtr<QelXyRegion> QelXySimpleRegionRegistryEntry::newRegion() const {
    return new QelXySimpleRegion();
}

MoxSmartPtr<QelXyRegion> QelXySimpleRegionRegistryEntry::newRegion(
    QelXyCoordSpace const * space) const {
    return new QelXySimpleRegion(space);
}

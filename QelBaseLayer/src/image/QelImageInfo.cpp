#include "QelImageInfo.h"

#include <utility>

#include "QelError.h"
#include "QelOrgChange.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"

namespace {

MoxSmartPtr<QelDataOrg> cloneOf(MoxSmartPtr<QelDataOrg> const & org) {
    return org ? org->clone() : nullptr;
}

MoxSmartPtr<QelDataOrg> defaultOrg(QelDataType type, int bands) {
    return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(QelSystemConfig::defaultTileWidth,
                                                        QelSystemConfig::defaultTileHeight, type,
                                                        bands, PIXEL_INTERLEAVED));
}

}  // namespace

MoxSmartPtr<QelDataOrg> QelImageInfo::LateOrg::setIfNull(MoxSmartPtr<QelDataOrg> org) {
    QelDataOrg * there = nullptr;
    if (!org_.compare_exchange_strong(there, org.get(), std::memory_order_acq_rel)) return there;
    return org.detach();
}

void QelImageInfo::LateOrg::set(MoxSmartPtr<QelDataOrg> org) {
    MoxSmartPtr<QelDataOrg>::adopt(org_.exchange(org.detach(), std::memory_order_acq_rel));
}

QelImageInfo::QelImageInfo() = default;

QelImageInfo::QelImageInfo(std::int32_t width, std::int32_t height)
    : width_(width), height_(height) {}

QelImageInfo::QelImageInfo(QelImageInfo const & other)
    : status_(other.status_),
      computed_(other.computed_),
      width_(other.width_),
      height_(other.height_) {
    dataOrg_.set(cloneOf(other.dataOrg_.get()));
}

QelImageInfo & QelImageInfo::operator=(QelImageInfo const & other) {
    if (this == &other) return *this;
    // Both can fail, so they come first.
    MoxSmartPtr<QelDataOrg> org = cloneOf(other.dataOrg_.get());
    status_ = other.status_;
    dataOrg_.set(std::move(org));
    computed_ = other.computed_;
    width_ = other.width_;
    height_ = other.height_;
    return *this;
}

QelImageInfo::~QelImageInfo() = default;

void QelImageInfo::setSize(std::int32_t width, std::int32_t height) {
    width_ = width;
    height_ = height;
}

MoxSmartPtr<QelDataOrg> QelImageInfo::dataOrg() const {
    MoxSmartPtr<QelDataOrg> org = dataOrg_.get();
    return org ? org : dataOrg_.setIfNull(defaultOrg(QelDataType::UChar, 1));
}

void QelImageInfo::setDataOrg(MoxSmartPtr<QelDataOrg> org) {
    dataOrg_.set(std::move(org));
}

QelRect QelImageInfo::tileRect() const {
    MoxSmartPtr<QelDataOrg> const org = dataOrg();
    return QelRect(org->originX(), org->originY(), org->tileWidth(), org->tileHeight());
}

QelLayout QelImageInfo::layout() const {
    QelSimpleDataOrg const * const simple = dataOrg()->asSimple();
    return simple != nullptr ? simple->layout() : SPELLED_OUT;
}

void QelImageInfo::setNumBands(int n) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg_.get();
    dataOrg_.set(org ? qelRequireChanged(org->withBands(n), *org, "number of bands")
                     : defaultOrg(QelDataType::UChar, n));
}

void QelImageInfo::setPrecision(QelDataType type) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg_.get();
    dataOrg_.set(org ? qelRequireChanged(org->withDataType(type), *org, "element type")
                     : defaultOrg(type, 3));
}

void QelImageInfo::setTileSize(std::int32_t width, std::int32_t height) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg();
    dataOrg_.set(qelRequireChanged(org->withSize(width, height), *org, "tile size"));
}

void QelImageInfo::setOrigin(std::int32_t x, std::int32_t y) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg();
    dataOrg_.set(qelRequireChanged(org->withOrigin(x, y), *org, "origin"));
}

void QelImageInfo::setTileRect(QelRect const & rect) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg();
    MoxSmartPtr<QelDataOrg> const moved =
        qelRequireChanged(org->withOrigin(rect.x, rect.y), *org, "origin");
    dataOrg_.set(qelRequireChanged(moved->withSize(rect.width, rect.height), *moved, "tile size"));
}

void QelImageInfo::setLayout(QelLayout layout) {
    MoxSmartPtr<QelDataOrg> const org = dataOrg();
    if (org->asSimple() == nullptr) {
        qelRaise(QelErrorCode::invalidDataOrg,
                 "Invalid data organization: a layout can only be set on a QelSimpleDataOrg");
    }
    dataOrg_.set(qelRequireChanged(org->withLayout(layout), *org, "layout"));
}

bool QelImageInfo::sameSize(QelDataOrg const * org) const {
    return org != nullptr && org->tileWidth() == width_ && org->tileHeight() == height_;
}

bool QelImageInfo::isDense(QelDataOrg const * org) const {
    QelSimpleDataOrg const * const simple = org != nullptr ? org->asSimple() : nullptr;
    if (simple == nullptr) return false;
    std::int64_t const lineStride = simple->lineStride();
    if (lineStride != std::int64_t{simple->pixelStride()} * simple->tileWidth()) return false;
    // One or two bands may lie anywhere.
    if (simple->numBands() < 3) return true;
    return simple->uniformBandOffsets() &&
           simple->bandDelta(0, 1) == lineStride * simple->tileHeight();
}

bool QelImageInfo::acceptsDataOrg(QelDataOrg const * org) const {
    if (org == nullptr) return false;
    MoxSmartPtr<QelDataOrg> const own = dataOrg();
    if (org->isCompatible(*own, false)) return true;
    return org->numBands() == own->numBands() && org->precision() == own->precision() &&
           org->asSimple() != nullptr;
}

#include "QelPixelAccess.h"

#include <string>

#include "QelError.h"
#include "QelSimpleDataOrg.h"

namespace {

// Are the bands of a pixel adjacent and in order?
bool fillsPixels(QelSimpleDataOrg const & org) {
    std::int64_t const size = org.bandTypes().front().size();
    std::int64_t offset = 0;
    for (std::int32_t const given : org.bandOffsets()) {
        if (given != offset) return false;
        offset += size;
    }
    return org.pixelStride() == offset;
}

}  // namespace

bool qelIsNumber(QelDataType type) {
    return type.code() < QelDataType::Mixed;
}

ZanError qelUnsupported(QelDataType type, char const * op) {
    std::string const text =
        std::string("The data type ") + type.name() + " is not a supported data type in " + op;
    return QelError(QelErrorCode::unsupportedDataType, text, __FILE__, __LINE__);
}

int qelCheckTarget(QelRectBuffer const * buffer, QelImageInfo const & report) {
    if (buffer == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    std::int32_t const bands = buffer->numBands();  // raises where there is no organisation
    QelDataOrg const & org = *buffer->dataOrg();
    if (org.asSimple() == nullptr) {
        qelRaise(QelErrorCode::simpleDataOrgNeeded,
                 "Operations on pixels work with QelSimpleDataOrg only");
    }
    MoxSmartPtr<QelDataOrg> const reported = report.dataOrg();
    QelDataType const type = reported->precision();
    if (!(org.precision() == type)) {
        qelRaise(QelErrorCode::wrongPixelFormat, "Output buffer has invalid precision for Op");
    }
    if (bands != reported->numBands()) {
        qelRaise(QelErrorCode::wrongPixelFormat, "Output buffer has wrong number of bands for Op");
    }
    return type.code();
}

MoxSmartPtr<QelTile> qelCompleteTile(Qel2DImage & image, QelRect const & rect) {
    std::int32_t x = 0;
    std::int32_t y = 0;
    if (!image.dataOrg()->isOneTile(rect, x, y)) return nullptr;
    // A buffer that is wrapped in an image need not start at its corner.
    if (x < 0 || y < 0 || x >= image.tilesAcross() || y >= image.tilesDown()) return nullptr;
    MoxSmartPtr<QelTile> tile = image.findTile(x, y);
    bool const usable = tile && tile->isState(QelRenderedItem::complete) && tile->isAllocated() &&
                        tile->rect().containsRect(rect) && tile->dataOrg()->asSimple() != nullptr;
    return usable ? tile : nullptr;
}

QelBandPair::QelBandPair(QelRectBuffer const & source, QelRectBuffer & target, QelRect const & rect)
    : sourceOrg(source.dataOrg()->asSimple()),
      targetOrg(target.dataOrg()->asSimple()),
      bands(targetOrg->numBands()),
      elementSize(targetOrg->bandTypes().front().size()) {
    // The target first: it may be the source, and have no memory yet.
    pixels.to = target.addressOf(rect.x, rect.y);
    pixels.toStep = targetOrg->pixelStride();
    pixels.toLine = targetOrg->lineStride();
    pixels.from = source.addressOf(rect.x, rect.y);
    pixels.fromStep = sourceOrg->pixelStride();
    pixels.fromLine = sourceOrg->lineStride();
    pixels.count = rect.width;
    pixels.rows = rect.height;
}

bool QelBandPair::sideBySide() const {
    if (!fillsPixels(*targetOrg)) return false;
    return sourceOrg == targetOrg || fillsPixels(*sourceOrg);
}

QelPixelRows QelBandPair::together() const {
    QelPixelRows rows = pixels;
    rows.count *= bands;
    rows.fromStep = elementSize;
    rows.toStep = elementSize;
    return rows;
}

QelPixelRows QelBandPair::band(int index) const {
    QelPixelRows rows = pixels;
    auto const at = static_cast<std::size_t>(index);
    rows.from += sourceOrg->bandOffsets()[at];
    rows.to += targetOrg->bandOffsets()[at];
    return rows;
}

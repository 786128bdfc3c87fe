#include "QelDIBDataOrg.h"

#include <array>
#include <limits>
#include <ostream>
#include <string>

#include "QelError.h"
#include "QelRequired.h"

static_assert(sizeof(QelDIBDataOrg::BitmapInfoHeader) == 40);
static_assert(sizeof(QelDIBDataOrg::BitmapInfo) == 1064);

// What the constructor checked and worked out for the organization below it.
struct QelDIBDataOrg::Plan {
    std::array<std::int32_t, 3> offsets;
    std::int32_t lineStride;
};

namespace {

std::int64_t paddedRow(std::int64_t width, std::int64_t bands) {
    return (width * bands + 3) / 4 * 4;
}

void checkShape(std::int32_t width, std::int32_t height, int bands) {
    if (bands != 1 && bands != 3)
        qelRaise(QelErrorCode::invalidValue, "QelDIBDataOrg must have 1 or 3 bands");
    if (width == 0 && height != 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "QelDIBDataOrg cannot have zero width & non-zero height");
    }
    if (height == 0 && width != 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "QelDIBDataOrg cannot have zero height & non-zero width");
    }
}

// Bytes ahead of the pixels.
std::int64_t headBytes(int bands, bool hasHeader) {
    if (!hasHeader) return 0;
    return bands == 1 ? sizeof(QelDIBDataOrg::BitmapInfo) : sizeof(QelDIBDataOrg::BitmapInfoHeader);
}

[[noreturn]] void raiseTooLarge(std::int64_t row, std::int32_t height) {
    qelRaise(QelErrorCode::invalidValue, "A bitmap of " + std::to_string(height) + " lines of " +
                                             std::to_string(row) +
                                             " bytes does not fit in 32 bits");
}

// The offset of the first pixel of the top line. Raises invalidValue (13) when that, the one of
// another band, or the line stride does not fit.
std::int32_t checkedBase(std::int64_t row, std::int32_t height, int bands, bool bottomUp,
                         bool hasHeader) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    // On its own, because the product below may pass 64 bits otherwise.
    if (row > most) raiseTooLarge(row, height);
    std::int64_t base = headBytes(bands, hasHeader);
    if (bottomUp) base += (std::int64_t{height} - 1) * row;
    if (base + bands - 1 > most) raiseTooLarge(row, height);
    return static_cast<std::int32_t>(base);
}

}  // namespace

QelDIBDataOrg::Plan QelDIBDataOrg::planFor(std::int32_t width, std::int32_t height, int bands,
                                           bool bottomUp, bool hasHeader) {
    checkShape(width, height, bands);
    checkTileSize(width, height);
    if (width == 0) return {{0, 0, 0}, 0};
    std::int64_t const row = paddedRow(width, bands);
    std::int32_t const base = checkedBase(row, height, bands, bottomUp, hasHeader);
    auto const lineStride = static_cast<std::int32_t>(bottomUp ? -row : row);
    if (bands == 1) return {{base, 0, 0}, lineStride};
    // The file has blue, green, red.
    return {{base + 2, base + 1, base}, lineStride};
}

QelDIBDataOrg::QelDIBDataOrg(std::int32_t width, std::int32_t height, int bands, bool bottomUp,
                             bool hasHeader)
    : QelDIBDataOrg(width, height, bands, bottomUp, hasHeader,
                    planFor(width, height, bands, bottomUp, hasHeader)) {}

QelDIBDataOrg::QelDIBDataOrg(std::int32_t width, std::int32_t height, int bands, bool bottomUp,
                             bool hasHeader, Plan const & plan)
    : QelSimpleDataOrg(width, height, QelDataType::UChar, bands, plan.offsets.data(), bands,
                       plan.lineStride),
      bottomUp_(bottomUp),
      hasHeader_(hasHeader) {}

QelDIBDataOrg::QelDIBDataOrg(QelDIBDataOrg const & other) = default;

QelDIBDataOrg::~QelDIBDataOrg() = default;

MoxSmartPtr<QelDataOrg> QelDIBDataOrg::clone() const {
    return MoxSmartPtr<QelDataOrg>(new QelDIBDataOrg(*this));
}

void QelDIBDataOrg::print(std::ostream & out) const {
    printAs("DIBDataOrg", out);
}

MoxSmartPtr<QelSimpleDataOrg> QelDIBDataOrg::makeWithBands(int bands) const {
    if (bands == numBands()) return QelSimpleDataOrg::makeWithBands(bands);
    return bitmapLike(tileWidth(), tileHeight(), bands);
}

MoxSmartPtr<QelSimpleDataOrg> QelDIBDataOrg::makeWithSize(std::int32_t width,
                                                          std::int32_t height) const {
    if (width == tileWidth() && height == tileHeight()) {
        return QelSimpleDataOrg::makeWithSize(width, height);
    }
    return bitmapLike(width, height, numBands());
}

MoxSmartPtr<QelSimpleDataOrg> QelDIBDataOrg::bitmapLike(std::int32_t width, std::int32_t height,
                                                        int bands) const {
    MoxSmartPtr<QelDIBDataOrg> made(new QelDIBDataOrg(width, height, bands, bottomUp_, hasHeader_));
    made->setOrigin(originX(), originY());
    return made;
}

std::int32_t QelDIBDataOrg::rowBytes(bool negate) const {
    auto const row = static_cast<std::int32_t>(paddedRow(tileWidth(), numBands()));
    return negate ? -row : row;
}

void QelDIBDataOrg::makeBitmapInfoHeader(BitmapInfoHeader * header) const {
    qelRequired(header) = BitmapInfoHeader{};
    header->biSize = sizeof(BitmapInfoHeader);
    header->biWidth = tileWidth();
    header->biHeight = bottomUp_ ? tileHeight() : -tileHeight();
    header->biPlanes = 1;
    header->biBitCount = numBands() == 1 ? 8 : 24;
}

void QelDIBDataOrg::makeBitmapInfo(BitmapInfo * info) const {
    makeBitmapInfoHeader(&qelRequired(info).header);
    if (numBands() != 1) return;
    std::uint8_t grey = 0;
    for (PaletteEntry & entry : info->palette) {
        entry = {grey, grey, grey, 0};
        ++grey;
    }
}

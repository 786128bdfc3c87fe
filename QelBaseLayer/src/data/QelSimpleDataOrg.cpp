#include "QelSimpleDataOrg.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <utility>

#include "QelError.h"
#include "QelRequired.h"

struct QelSimpleDataOrg::Plan {
    std::vector<QelDataType> types;
    QelLayout layout;
    std::int32_t pixelStride;
    std::int32_t lineStride;
    std::vector<std::int32_t> offsets;
};

namespace {

// What is to be laid out. Its strides are computed in 64 bits until they are known to fit. Its
// numbers are not negative, so a product that passes even 64 bits may stay at the largest number,
// which fits in 32 bits as little as the product does.
struct Extent {
    std::int64_t width;
    std::int64_t height;
    std::int64_t bands;
    std::int64_t elementSize;

    std::int32_t checked(std::int64_t bytes, char const * what) const {
        if (bytes > std::numeric_limits<std::int32_t>::max()) {
            qelRaise(QelErrorCode::invalidValue,
                     std::string(what) + " for " + std::to_string(width) + " by " +
                         std::to_string(height) + " pixels with " + std::to_string(bands) +
                         " bands of " + std::to_string(elementSize) +
                         " bytes does not fit in 32 bits");
        }
        return static_cast<std::int32_t>(bytes);
    }
};

struct Strides {
    std::int64_t pixel;
    std::int64_t line;
    std::int64_t step;  // from band to band
};

std::int64_t product(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (!__builtin_mul_overflow(a, b, &result)) return result;
    return std::numeric_limits<std::int64_t>::max();
}

std::int64_t product(std::int64_t a, std::int64_t b, std::int64_t c) {
    return product(product(a, b), c);
}

Strides standardStrides(Extent const & of, QelLayout layout) {
    std::int64_t const size = of.elementSize;
    switch (layout) {
        case PIXEL_INTERLEAVED:
        case SPELLED_OUT: return {product(size, of.bands), product(size, of.bands, of.width), size};
        case LINE_INTERLEAVED:
            return {size, product(size, of.bands, of.width), product(size, of.width)};
        case BAND_INTERLEAVED:
            return {size, product(size, of.width), product(size, of.width, of.height)};
    }
    qelRaise(QelErrorCode::unsupported,
             "This QelSimpleDataOrg constructor is called with an unknown QelLayout option");
}

// Those of an organization whose pixel stride stays and whose tile size becomes the extent's.
// The step of PIXEL_INTERLEAVED does not depend on the size.
Strides resizedStrides(Extent const & to, QelLayout layout, std::int64_t pixelStride) {
    std::int64_t const row = product(to.width, pixelStride);
    switch (layout) {
        case PIXEL_INTERLEAVED: return {pixelStride, row, 0};
        case LINE_INTERLEAVED: return {pixelStride, product(to.bands, row), row};
        case BAND_INTERLEAVED: return {pixelStride, row, product(to.height, row)};
        case SPELLED_OUT:
            qelRaise(QelErrorCode::unsupported,
                     "This QelSimpleDataOrg resize constructor does not support this SPELLED_OUT "
                     "option");
    }
    qelRaise(QelErrorCode::unsupported, "Invalid Layout option");
}

// Bands that follow each other at one step, the first at 0.
std::vector<std::int32_t> steppedOffsets(Extent const & of, std::int64_t step) {
    if (of.bands > 1) of.checked(product(of.bands - 1, step), "The band offset");
    std::vector<std::int32_t> offsets(static_cast<std::size_t>(of.bands));
    for (std::size_t b = 1; b < offsets.size(); ++b) {
        offsets[b] = static_cast<std::int32_t>(static_cast<std::int64_t>(b) * step);
    }
    return offsets;
}

void checkBands(int bands) {
    if (bands < 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "A data organization of " + std::to_string(bands) + " bands is impossible");
    }
}

void checkElementSize(QelDataType type) {
    if (type.size() < 0) {
        qelRaise(QelErrorCode::invalidValue, "A data organization with elements of " +
                                                 std::to_string(type.size()) +
                                                 " bytes is impossible");
    }
}

std::int32_t const * checkedList(std::vector<std::int32_t> const & offsets, int bands) {
    if (bands > 0 && offsets.size() < static_cast<std::size_t>(bands)) {
        qelRaise(QelErrorCode::invalidValue, "A data organization of " + std::to_string(bands) +
                                                 " bands is given " +
                                                 std::to_string(offsets.size()) + " band offsets");
    }
    return offsets.data();
}

bool isUniform(std::vector<std::int32_t> const & offsets) {
    for (std::size_t b = 2; b < offsets.size(); ++b) {
        if (std::int64_t{offsets[b]} - offsets[b - 1] != std::int64_t{offsets[1]} - offsets[0]) {
            return false;
        }
    }
    return true;
}

bool isAscending(std::vector<std::int32_t> const & offsets) {
    return std::adjacent_find(offsets.begin(), offsets.end(), std::greater_equal<>()) ==
           offsets.end();
}

// How far the last of `count` steps of `stride` is from the first, towards higher addresses.
std::int64_t upwards(std::int32_t stride, std::int32_t count) {
    return stride > 0 ? (std::int64_t{count} - 1) * stride : 0;
}

std::int64_t downwards(std::int32_t stride, std::int32_t count) {
    return stride < 0 ? (std::int64_t{count} - 1) * stride : 0;
}

}  // namespace

QelSimpleDataOrg::Plan QelSimpleDataOrg::standardPlan(std::int32_t tileWidth,
                                                      std::int32_t tileHeight, QelDataType type,
                                                      int bands, QelLayout layout) {
    checkTileSize(tileWidth, tileHeight);
    checkBands(bands);
    checkElementSize(type);
    Extent const extent{tileWidth, tileHeight, bands, type.size()};
    Strides const strides = standardStrides(extent, layout);
    std::int32_t const pixelStride = extent.checked(strides.pixel, "The pixel stride");
    std::int32_t const lineStride = extent.checked(strides.line, "The line stride");
    std::vector<std::int32_t> offsets = steppedOffsets(extent, strides.step);
    return {std::vector<QelDataType>(offsets.size(), type), layout, pixelStride, lineStride,
            std::move(offsets)};
}

QelSimpleDataOrg::Plan QelSimpleDataOrg::listedPlan(std::int32_t tileWidth, std::int32_t tileHeight,
                                                    QelDataType type, int bands,
                                                    std::int32_t const * offsets,
                                                    std::int32_t pixelStride,
                                                    std::int32_t lineStride) {
    checkTileSize(tileWidth, tileHeight);
    checkBands(bands);
    checkElementSize(type);
    if (bands > 0) qelRequired(offsets);
    return {std::vector<QelDataType>(static_cast<std::size_t>(bands), type), ::SPELLED_OUT,
            pixelStride, lineStride, std::vector<std::int32_t>(offsets, offsets + bands)};
}

QelSimpleDataOrg::Plan QelSimpleDataOrg::selectedPlan(QelSimpleDataOrg const & source, int count,
                                                      int const * indices) {
    checkBands(count);
    if (count > 0) qelRequired(indices);
    Plan plan{{}, ::SPELLED_OUT, source.pixelStride_, source.lineStride_, {}};
    for (int i = 0; i < count; ++i) {
        auto const band = static_cast<std::size_t>(indices[i]);
        plan.types.push_back(source.bandTypes().at(band));
        plan.offsets.push_back(source.bandOffsets_.at(band));
    }
    return plan;
}

QelSimpleDataOrg::Plan QelSimpleDataOrg::resizedPlan(QelSimpleDataOrg const * source,
                                                     std::int32_t tileWidth,
                                                     std::int32_t tileHeight, bool recompute) {
    qelRequired(source);
    checkTileSize(tileWidth, tileHeight);
    Plan plan{source->bandTypes(), source->layout_, source->pixelStride_, source->lineStride_,
              source->bandOffsets_};
    if (!recompute) return plan;
    Extent const extent{tileWidth, tileHeight, source->numBands(), source->firstType().size()};
    Strides const strides = resizedStrides(extent, plan.layout, plan.pixelStride);
    plan.lineStride = extent.checked(strides.line, "The line stride");
    if (plan.layout != ::PIXEL_INTERLEAVED) plan.offsets = steppedOffsets(extent, strides.step);
    return plan;
}

QelSimpleDataOrg::QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, Plan && plan)
    : QelDataOrg(tileWidth, tileHeight, std::move(plan.types)),
      layout_(plan.layout),
      pixelStride_(plan.pixelStride),
      lineStride_(plan.lineStride),
      bandOffsets_(std::move(plan.offsets)) {
    derive();
}

QelSimpleDataOrg::QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight,
                                   QelDataType type, int bands, QelLayout layout)
    : QelSimpleDataOrg(tileWidth, tileHeight,
                       standardPlan(tileWidth, tileHeight, type, bands, layout)) {}

QelSimpleDataOrg::QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight,
                                   QelDataType type, int bands, std::int32_t const * offsets,
                                   std::int32_t pixelStride, std::int32_t lineStride)
    : QelSimpleDataOrg(
          tileWidth, tileHeight,
          listedPlan(tileWidth, tileHeight, type, bands, offsets, pixelStride, lineStride)) {}

QelSimpleDataOrg::QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight,
                                   QelDataType type, int bands,
                                   std::vector<std::int32_t> const & offsets,
                                   std::int32_t pixelStride, std::int32_t lineStride)
    : QelSimpleDataOrg(tileWidth, tileHeight, type, bands, checkedList(offsets, bands), pixelStride,
                       lineStride) {}

QelSimpleDataOrg::QelSimpleDataOrg(QelSimpleDataOrg const & source, int count, int const * indices)
    : QelSimpleDataOrg(source.tileWidth(), source.tileHeight(),
                       selectedPlan(source, count, indices)) {
    setOrigin(source.originX(), source.originY());
}

QelSimpleDataOrg::QelSimpleDataOrg(MoxSmartPtr<QelSimpleDataOrg> source, std::int32_t tileWidth,
                                   std::int32_t tileHeight, bool recompute)
    : QelSimpleDataOrg(tileWidth, tileHeight,
                       resizedPlan(source, tileWidth, tileHeight, recompute)) {
    setOrigin(source->originX(), source->originY());
}

QelSimpleDataOrg::QelSimpleDataOrg(QelSimpleDataOrg const & other)
    : QelDataOrg(other),
      layout_(other.layout_),
      pixelStride_(other.pixelStride_),
      lineStride_(other.lineStride_),
      totalSize_(other.totalSize_),
      bandOffsets_(other.bandOffsets_),
      uniformOffsets_(other.uniformOffsets_) {
    simple_ = this;
}

QelSimpleDataOrg::~QelSimpleDataOrg() = default;

void QelSimpleDataOrg::checkTileSize(std::int32_t width, std::int32_t height) {
    if (width < 0 || height < 0) {
        qelRaise(QelErrorCode::invalidValue, "A tile of " + std::to_string(width) + " by " +
                                                 std::to_string(height) + " pixels is impossible");
    }
}

void QelSimpleDataOrg::derive() {
    simple_ = this;
    uniformOffsets_ = isUniform(bandOffsets_);
    if (bandOffsets_.empty()) return;
    std::int64_t const highest = *std::max_element(bandOffsets_.begin(), bandOffsets_.end());
    // An axis without pixels takes one step back, so the sum may fall below 0.
    totalSize_ = std::max<std::int64_t>(0, highest + firstType().size() +
                                               upwards(lineStride_, tileHeight()) +
                                               upwards(pixelStride_, tileWidth()));
}

QelDataType QelSimpleDataOrg::firstType() const {
    return bandTypes().empty() ? QelDataType() : bandTypes().front();
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::clone() const {
    return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(*this));
}

bool QelSimpleDataOrg::isCompatible(QelDataOrg const & other, bool sizeOnly) const {
    QelSimpleDataOrg const * const simple = other.asSimple();
    if (simple == nullptr) return false;
    QelDataType const own = firstType();
    QelDataType const others = simple->firstType();
    return (own == others || (sizeOnly && own.size() == others.size())) &&
           tileWidth() == simple->tileWidth() && tileHeight() == simple->tileHeight() &&
           pixelStride_ == simple->pixelStride_ && lineStride_ == simple->lineStride_ &&
           bandOffsets_ == simple->bandOffsets_;
}

bool QelSimpleDataOrg::satisfies(std::uint32_t flags) const {
    auto const waived = [flags](std::uint32_t bit) { return (flags & bit) != 0; };
    bool const denseLines = lineStride_ == std::int64_t{tileWidth()} * pixelStride_;
    // Both layouts are demanded unless one is waived. What flags 0 demands on top of that, density
    // across bands, therefore never decides anything.
    return (layout_ == ::PIXEL_INTERLEAVED || waived(waivePixelInterleaved)) &&
           (layout_ == ::BAND_INTERLEAVED || waived(waiveBandInterleaved)) &&
           (denseLines || waived(waiveDenseLines)) &&
           (uniformOffsets_ || waived(waiveUniformOffsets)) &&
           (isAscending(bandOffsets_) || waived(waivePositiveStep));
}

bool QelSimpleDataOrg::sameDataType(QelDataOrg const & other) const {
    QelSimpleDataOrg const * const simple = other.asSimple();
    return simple != nullptr && numBands() == simple->numBands() &&
           firstType() == simple->firstType();
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::selectBands(int count, int const * indices) const {
    return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(*this, count, indices));
}

std::int64_t QelSimpleDataOrg::offset(std::int32_t x, std::int32_t y, int band) const {
    return bandOffsets_.at(static_cast<std::size_t>(band)) + offset(x, y);
}

void QelSimpleDataOrg::print(std::ostream & out) const {
    printAs("SimpleDataOrg", out);
}

void QelSimpleDataOrg::printAs(char const * name, std::ostream & out) const {
    out << name << '[';
    for (std::int32_t const number :
         {originX(), originY(), tileWidth(), tileHeight(), pixelStride_, lineStride_}) {
        out << std::to_string(number) << ',';
    }
    out << "l=" << layout_;
    for (std::int32_t const bandOffset : bandOffsets_)
        out << ',' << std::to_string(bandOffset);
    out << ']';
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::selfAsSimple() const {
    return const_cast<QelSimpleDataOrg *>(self()->asSimple());
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::standardLike(std::int32_t width,
                                                             std::int32_t height, QelDataType type,
                                                             int bands, QelLayout layout) const {
    MoxSmartPtr<QelSimpleDataOrg> made(new QelSimpleDataOrg(width, height, type, bands, layout));
    made->setOrigin(originX(), originY());
    return made;
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::makeWithBands(int bands) const {
    if (bands == numBands()) return selfAsSimple();
    return standardLike(tileWidth(), tileHeight(), firstType(), bands, layout_);
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::makeWithSize(std::int32_t width,
                                                             std::int32_t height) const {
    if (width == tileWidth() && height == tileHeight()) return selfAsSimple();
    return standardLike(width, height, firstType(), numBands(), layout_);
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::makeWithDataType(QelDataType type) const {
    if (type == firstType()) return selfAsSimple();
    return standardLike(tileWidth(), tileHeight(), type, numBands(), layout_);
}

MoxSmartPtr<QelSimpleDataOrg> QelSimpleDataOrg::makeWithLayout(QelLayout layout) const {
    if (layout == layout_) return selfAsSimple();
    return standardLike(tileWidth(), tileHeight(), firstType(), numBands(), layout);
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::withBands(int bands) const {
    return makeWithBands(bands);
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::withSize(std::int32_t width, std::int32_t height) const {
    return makeWithSize(width, height);
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::withDataType(QelDataType type) const {
    return makeWithDataType(type);
}

MoxSmartPtr<QelDataOrg> QelSimpleDataOrg::withLayout(QelLayout layout) const {
    return makeWithLayout(layout);
}

std::int64_t QelSimpleDataOrg::bandDelta(int from, int to) const {
    return std::int64_t{bandOffsets_.at(static_cast<std::size_t>(to))} -
           bandOffsets_.at(static_cast<std::size_t>(from));
}

std::vector<std::int64_t> QelSimpleDataOrg::bandDeltas() const {
    std::vector<std::int64_t> deltas;
    deltas.reserve(bandOffsets_.size() * bandOffsets_.size());
    for (std::int64_t const from : bandOffsets_) {
        for (std::int64_t const to : bandOffsets_)
            deltas.push_back(to - from);
    }
    return deltas;
}

void QelSimpleDataOrg::reach(std::int32_t width, std::int32_t height, std::int64_t & before,
                             std::int64_t & after) const {
    before = after = 0;
    if (width < 1 || height < 1 || bandOffsets_.empty()) return;
    auto const [low, high] = std::minmax_element(bandOffsets_.begin(), bandOffsets_.end());
    std::int64_t const lowest =
        *low + downwards(pixelStride_, width) + downwards(lineStride_, height);
    before = std::max<std::int64_t>(0, -lowest);
    after =
        *high + upwards(pixelStride_, width) + upwards(lineStride_, height) + firstType().size();
}

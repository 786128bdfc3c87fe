#include "QelRectBuffer.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <ostream>
#include <string>
#include <utility>

#include "QelError.h"
#include "QelErrorFrames.h"
#include "QelOrgChange.h"
#include "QelOutput.h"
#include "QelRequired.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"

namespace {

bool fitsIn32Bits(std::int64_t value) {
    return value >= std::numeric_limits<std::int32_t>::min() &&
           value <= std::numeric_limits<std::int32_t>::max();
}

std::string textOf(QelRect const & rect) {
    QelTextStream text;
    text << rect;
    return text.str();
}

std::int64_t bytesTogether(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        qelRaise(QelErrorCode::invalidValue, "QelRectBuffer cannot have " + std::to_string(a) +
                                                 " + " + std::to_string(b) + " bytes");
    }
    return sum;
}

// How far the pixels of a rectangle reach from the address of its top-left pixel, in bytes.
struct Reach {
    std::int64_t before = 0;  // to the lowest address
    std::int64_t after = 0;   // to one past the highest
};

Reach reachOf(QelDataOrg const & org, std::int32_t width, std::int32_t height) {
    Reach reach;
    if (QelSimpleDataOrg const * const simple = org.asSimple()) {
        simple->reach(width, height, reach.before, reach.after);
    } else {
        // What a client's own organisation does between its corners only itself knows.
        reach.after = org.size();
    }
    return reach;
}

MoxSmartPtr<QelDataOrg> standardOrg(QelRect const & rect, int bands, QelLayout layout,
                                    QelDataType type) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(rect.width, rect.height, type, bands, layout));
    return rect.x == 0 && rect.y == 0 ? org : org->withOrigin(rect.x, rect.y);
}

// A width or height of -1 means the tile's.
QelRect rectInTile(QelDataOrg const & org, std::int32_t x, std::int32_t y, std::int32_t width,
                   std::int32_t height) {
    return {x, y, width == -1 ? org.tileWidth() : width, height == -1 ? org.tileHeight() : height};
}

// A clone of `org` that is at least as large as `rect`; null for null.
MoxSmartPtr<QelDataOrg> orgFor(QelDataOrg const * org, QelRect const & rect) {
    if (org == nullptr) return nullptr;
    if (org->tileWidth() >= rect.width && org->tileHeight() >= rect.height) return org->clone();
    return qelRequireChanged(org->withSize(rect.width, rect.height), *org, "size");
}

void traceAdoption(QelRectBuffer const & buffer) noexcept {
    if (!QelSystemConfig::traces(QelSystemConfig::traceActivity)) return;
    try {
        QelTextStream line;
        line << "QelRectBuffer ADOPTING buffer "
             << static_cast<void const *>(buffer.dataBuffer()->data()) << ' '
             << buffer.dataBuffer()->size() << ' ' << static_cast<void const *>(&buffer) << '\n';
        QelOutput::write(line.str());
    } catch (...) {
        // The memory is adopted, whether the line can be written or not.
    }
}

}  // namespace

QelRectBuffer::QelRectBuffer()
    : dataOrg_(standardOrg(QelRect(0, 0, 1, 1), 1, PIXEL_INTERLEAVED, QelDataType::UChar)) {
    setMemory(nullptr, true);
}

QelRectBuffer::QelRectBuffer(std::int32_t width, std::int32_t height, int bands, QelLayout layout,
                             QelDataType type)
    : QelRectBuffer(width, height, bands, layout, type, nullptr, true) {}

QelRectBuffer::QelRectBuffer(std::int32_t width, std::int32_t height, int bands, QelLayout layout,
                             QelDataType type, void * memory, bool ownsData)
    : QelRectBuffer(QelRect(0, 0, width, height), bands, layout, type, memory, ownsData) {}

QelRectBuffer::QelRectBuffer(QelRect const & rect, int bands, QelLayout layout, QelDataType type)
    : QelRectBuffer(rect, bands, layout, type, nullptr, true) {}

QelRectBuffer::QelRectBuffer(QelRect const & rect, int bands, QelLayout layout, QelDataType type,
                             void * memory, bool ownsData)
    : rect_(rect), dataOrg_(standardOrg(rect, bands, layout, type)) {
    setMemory(memory, ownsData);
}

QelRectBuffer::QelRectBuffer(std::int64_t minBytes, std::int64_t offset, QelRect const & rect,
                             int bands, QelLayout layout, QelDataType type)
    : rect_(rect), dataOrg_(standardOrg(rect, bands, layout, type)), dataOffset_(offset) {
    if (offset < 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "QelRectBuffer cannot have a data offset of " + std::to_string(offset));
    }
    dataBuffer_ = new QelDataBuffer(std::max(minBytes, bytesTogether(offset, dataOrg_->size())));
}

QelRectBuffer::QelRectBuffer(QelDataOrg * org, std::int32_t x, std::int32_t y, std::int32_t width,
                             std::int32_t height)
    : QelRectBuffer(org, x, y, width, height, nullptr, true) {}

QelRectBuffer::QelRectBuffer(QelDataOrg * org, std::int32_t x, std::int32_t y, std::int32_t width,
                             std::int32_t height, void * memory, bool ownsData, bool cloneOrg)
    : rect_(rectInTile(qelRequired(org), x, y, width, height)),
      dataOrg_(cloneOrg ? org->clone() : MoxSmartPtr<QelDataOrg>(org)) {
    setMemory(memory, ownsData);
}

QelRectBuffer::QelRectBuffer(QelDataOrg * org, QelRect const & rect)
    : QelRectBuffer(org, rect, nullptr, true) {}

QelRectBuffer::QelRectBuffer(QelDataOrg * org, QelRect const & rect, void * memory, bool ownsData)
    : rect_(rect), dataOrg_(orgFor(org, rect)) {
    if (dataOrg_) setMemory(memory, ownsData);
}

QelRectBuffer::QelRectBuffer(QelRectBuffer const & other)
    : ZanRefCount(other),
      QelRenderedItem(other),
      dataBuffer_(other.dataBuffer_),
      rect_(other.rect_),
      dataOrg_(other.dataOrg_),
      dataOffset_(other.dataOffset_),
      fullWidth_(other.fullWidth_),
      fullHeight_(other.fullHeight_) {}

QelRectBuffer::~QelRectBuffer() = default;

void QelRectBuffer::setMemory(void * memory, bool ownsData) {
    if (memory == nullptr) {
        // For the whole tile, so that setRect() may move within it whatever the strides.
        dataOffset_ += missingBefore(std::max(rect_.width, org().tileWidth()),
                                     std::max(rect_.height, org().tileHeight()));
    }
    dataBuffer_ = new QelDataBuffer(storageBytes(), ownsData, memory);
}

std::int64_t QelRectBuffer::missingBefore(std::int32_t width, std::int32_t height) const {
    std::int64_t const before = reachOf(org(), width, height).before;
    return std::max(before - dataOffset_, std::int64_t{0});
}

std::int64_t QelRectBuffer::storageBytes() const {
    // A view of a tile keeps the whole tile's storage: its data offset may lie anywhere in it.
    Reach const whole = reachOf(org(), org().tileWidth(), org().tileHeight());
    Reach const own = reachOf(org(), rect_.width, rect_.height);
    // In wrapped memory with negative strides it may also lie below the start.
    std::int64_t const below = std::max(std::min(dataOffset_, whole.before), std::int64_t{0});
    return std::max(bytesTogether(below, std::max(org().size(), whole.after)),
                    bytesTogether(dataOffset_, own.after));
}

QelDataOrg const & QelRectBuffer::org() const {
    if (!dataOrg_) qelRaise(QelErrorCode::nullPointer, "QelRectBuffer has no data organization");
    return *dataOrg_;
}

void QelRectBuffer::compute() {
    qelRaise(QelErrorCode::misuse, "May not call compute() on QelRectBuffer");
}

void QelRectBuffer::setComplete(bool value) {
    QelRenderedItem::setComplete(value);
}

void QelRectBuffer::print(std::ostream & out) const {
    out << "RectBuffer[" << rect_ << ',';
    if (dataOrg_) {
        dataOrg_->print(out);
    } else {
        out << "NULL";
    }
    out << ',' << dataOffset_ << ']';
}

void QelRectBuffer::printDependencies(std::ostream & out) const {
    QelRenderedItem::printDependencies(out);
}

std::uint8_t * QelRectBuffer::getData() {
    if (!isAllocated()) allocate();
    return dataBuffer_->data() + dataOffset_;
}

std::uint8_t const * QelRectBuffer::getData() const {
    // Memory that comes late changes nothing that a reader could have seen before.
    if (!isAllocated()) const_cast<QelRectBuffer *>(this)->allocate();
    return dataBuffer_->data() + dataOffset_;
}

void QelRectBuffer::allocate() {
    if (isAllocated()) return;
    std::int64_t bytes = 0;
    errno = 0;
    try {
        if (dataBuffer_) {
            bytes = dataBuffer_->size();
            dataBuffer_->allocate();
        } else {
            allocateAnew(bytes);
        }
    } catch (...) {
        qelRaiseSystemFrame("Failed to allocate a memory buffer of size " + std::to_string(bytes) +
                            " bytes");
    }
}

void QelRectBuffer::allocateAnew(std::int64_t & bytes) {
    // Memory that was wrapped started at the top-left pixel, whatever the strides.
    std::int64_t const missing = missingBefore(rect_.width, rect_.height);
    bytes = bytesTogether(storageBytes(), missing);
    MoxSmartPtr<QelDataBuffer> fresh(new QelDataBuffer(bytes));
    fresh->allocate();
    dataOffset_ += missing;
    dataBuffer_ = std::move(fresh);
}

void QelRectBuffer::adopt(void * memory, bool ownsData) {
    if (memory == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    dataBuffer_ = new QelDataBuffer(storageBytes(), ownsData, memory);
    traceAdoption(*this);
}

MoxSmartPtr<QelRectBuffer> QelRectBuffer::subBuffer(QelRect const & rect) const {
    MoxSmartPtr<QelRectBuffer> view(new QelRectBuffer(*this));
    view->rect_ = rect_.intersect(rect);
    if (!view->rect_.isEmpty()) view->dataOffset_ = offsetOf(view->rect_.x, view->rect_.y);
    return view;
}

MoxSmartPtr<QelRectBuffer> QelRectBuffer::translated(std::int32_t dx, std::int32_t dy) const {
    std::int64_t const x = std::int64_t{rect_.x} + dx;
    std::int64_t const y = std::int64_t{rect_.y} + dy;
    if (!fitsIn32Bits(x) || !fitsIn32Bits(y)) {
        qelRaise(QelErrorCode::invalidValue, "QelRectBuffer cannot move " + textOf(rect_) +
                                                 " by (" + std::to_string(dx) + "," +
                                                 std::to_string(dy) + ")");
    }
    MoxSmartPtr<QelRectBuffer> view(new QelRectBuffer(*this));
    view->rect_.x = static_cast<std::int32_t>(x);
    view->rect_.y = static_cast<std::int32_t>(y);
    return view;
}

std::int64_t QelRectBuffer::distanceTo(std::int32_t x, std::int32_t y) const {
    std::int64_t const dx = std::int64_t{x} - rect_.x;
    std::int64_t const dy = std::int64_t{y} - rect_.y;
    if (!fitsIn32Bits(dx) || !fitsIn32Bits(dy)) {
        qelRaise(QelErrorCode::invalidValue, "Pixel (" + std::to_string(x) + "," +
                                                 std::to_string(y) + ") is too far from " +
                                                 textOf(rect_));
    }
    return org().offset(static_cast<std::int32_t>(dx), static_cast<std::int32_t>(dy));
}

std::int64_t QelRectBuffer::offsetOf(std::int32_t x, std::int32_t y) const {
    return distanceTo(x, y) + dataOffset_;
}

std::uint8_t * QelRectBuffer::addressOf(std::int32_t x, std::int32_t y) {
    std::int64_t const distance = distanceTo(x, y);
    return getData() + distance;
}

std::uint8_t const * QelRectBuffer::addressOf(std::int32_t x, std::int32_t y) const {
    std::int64_t const distance = distanceTo(x, y);
    return getData() + distance;
}

std::int64_t QelRectBuffer::pixelStride() const {
    return org().offset(1, 0);
}

std::int64_t QelRectBuffer::lineStride() const {
    return org().offset(0, 1);
}

void QelRectBuffer::getStrides(std::int32_t & pixel, std::int32_t & line,
                               std::int32_t & band) const {
    QelSimpleDataOrg const * const simple = org().asSimple();
    if (simple == nullptr || simple->numBands() < 1) return;
    std::int32_t const size = simple->bandTypes().front().size();
    if (size < 1) return;
    std::int64_t const bandStep = simple->numBands() > 1 ? simple->bandDelta(0, 1) / size : 0;
    if (!fitsIn32Bits(bandStep)) {
        qelRaise(QelErrorCode::invalidValue,
                 "A band stride of " + std::to_string(bandStep) + " elements is too large");
    }
    pixel = simple->pixelStride() / size;
    line = simple->lineStride() / size;
    band = static_cast<std::int32_t>(bandStep);
}

void QelRectBuffer::getGeometry(std::int32_t & width, std::int32_t & height, std::int32_t & bands,
                                QelDataType & type) const {
    QelDataOrg const & organisation = org();
    width = rect_.width;
    height = rect_.height;
    bands = organisation.numBands();
    if (organisation.asSimple() != nullptr) type = organisation.precision();
}

std::int32_t QelRectBuffer::numBands() const {
    return org().numBands();
}

QelDataType QelRectBuffer::precision(int band) const {
    return org().precision(band);
}

std::int32_t QelRectBuffer::referenceCount() const {
    return refCount() + (dataBuffer_ ? dataBuffer_->refCount() - 1 : 0);
}

void QelRectBuffer::stealData(QelRectBuffer & other) {
    if (this == &other) return;
    MoxSmartPtr<QelDataBuffer> replacement;
    std::int64_t missing = 0;
    if (other.dataBuffer_) {
        if (other.dataOrg_) missing = other.missingBefore(other.rect_.width, other.rect_.height);
        replacement = new QelDataBuffer(bytesTogether(other.dataBuffer_->size(), missing));
    }
    dataOffset_ = other.dataOffset_;
    dataBuffer_ = std::move(other.dataBuffer_);
    other.dataOffset_ += missing;
    other.dataBuffer_ = std::move(replacement);
}

bool QelRectBuffer::shareData(QelRectBuffer & other, bool takeOffset) {
    if (!dataOrg_ || !other.dataOrg_) return false;
    if (!dataOrg_->isCompatible(*other.dataOrg_, takeOffset)) return false;
    if (dataBuffer_ && dataBuffer_->refCount() > 1) return false;
    if (takeOffset) dataOffset_ = other.dataOffset_;
    dataBuffer_ = other.dataBuffer_;
    return true;
}

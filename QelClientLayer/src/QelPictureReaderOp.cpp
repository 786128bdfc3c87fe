#include "QelPictureReaderOp.h"

#include <algorithm>
#include <utility>

#include "QelColorSpaces.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelFileSource.h"
#include "QelJpegReaderOp.h"
#include "QelPictureDecoder.h"
#include "QelPngReaderOp.h"

namespace {

[[noreturn]] void raiseTooLarge(QelFileSource const & source, std::string const & what,
                                std::int64_t value, std::int64_t limit) {
    qelRaise(QelErrorCode::limitExceeded, "Cannot read " + source.name() + ": its " + what +
                                              " is " + std::to_string(value) + ", the limit is " +
                                              std::to_string(limit));
}

QelResolution halfOf(double dpu, int unit, std::int32_t pixels) {
    QelResolution half(dpu, unit);
    half.pixels = static_cast<std::uint32_t>(pixels);
    return half;
}

// No space accepts a picture whose dots are so small that it has no size.
bool isUsable(double dpu, int unit, std::int32_t pixels) {
    return dpu > 0.0 && QelValue(pixels / dpu, unit) > 0.0;
}

// A density that is useless on one axis is not trusted on the other either.
QelXyCoordSpace::Resolution resolutionOf(QelPictureHeader const & header) {
    bool const known = isUsable(header.horzDpu, header.resolutionUnit, header.width) &&
                       isUsable(header.vertDpu, header.resolutionUnit, header.height);
    double const horz = known ? header.horzDpu : 0.0;
    double const vert = known ? header.vertDpu : 0.0;
    return {halfOf(horz, header.resolutionUnit, header.width),
            halfOf(vert, header.resolutionUnit, header.height)};
}

MoxSmartPtr<QelColorSpace> usualSpace(int bands) {
    switch (bands) {
        case 1: return new QelLumColorSpace();
        case 2: return new QelLumAColorSpace();
        case 3: return new QelRGBColorSpace();
        case 4: return new QelRGBAColorSpace();
        default: return new QelGenericColorSpace();
    }
}

MoxSmartPtr<QelColorSpace> colorSpaceOf(QelPictureHeader const & header) {
    double min = 0.0;
    double max = 0.0;
    QelCoreMisc::getDataTypeMinMaxValues(header.type, min, max);
    MoxSmartPtr<QelColorSpace> const space =
        header.colorSpace ? header.colorSpace : usualSpace(header.bands);
    return space->newWithBands(header.bands)->newWithRange(min, max);
}

}  // namespace

QelPictureDecoder::QelPictureDecoder(std::unique_ptr<QelFileSource> source)
    : source_(std::move(source)) {}

QelPictureDecoder::~QelPictureDecoder() = default;

void QelPictureDecoder::nextChunk() noexcept {
    if (source_->next()) return;
    if (source_->error() != 0) inC_.leaveWith(source_->error());
    inC_.leave("the file ends too early");
}

void QelPictureDecoder::failRead() const {
    source_->fail(inC_.text());
}

void qelCheckSize(QelFileSource const & source, QelReadLimits const & limits, std::int64_t width,
                  std::int64_t height) {
    if (width > limits.maxWidth) raiseTooLarge(source, "width", width, limits.maxWidth);
    if (height > limits.maxHeight) raiseTooLarge(source, "height", height, limits.maxHeight);
}

void qelCheckBytes(QelFileSource const & source, QelReadLimits const & limits,
                   QelPictureHeader const & header) {
    std::int64_t const pixel = std::int64_t{header.bands} * header.type.size();
    std::int64_t const row = pixel * header.width;
    // Each factor has at most 31 bits, but the product may exceed 63.
    std::int64_t bytes = 0;
    bool const overflow = __builtin_mul_overflow(row, std::int64_t{header.height}, &bytes);
    if (!overflow && bytes <= limits.maxBytes) return;
    std::string const size = std::to_string(header.width) + " by " + std::to_string(header.height) +
                             " pixels of " + std::to_string(pixel) + " bytes";
    qelRaise(QelErrorCode::limitExceeded, "Cannot read " + source.name() + ": its " + size +
                                              " exceed the limit of " +
                                              std::to_string(limits.maxBytes) + " bytes");
}

QelPictureReaderOp::QelPictureReaderOp(std::unique_ptr<QelPictureDecoder> decoder)
    : fileName_(decoder->source().name()),
      width_(decoder->header().width),
      height_(decoder->header().height),
      bands_(decoder->header().bands),
      type_(decoder->header().type),
      colorSpace_(colorSpaceOf(decoder->header())),
      resolution_(resolutionOf(decoder->header())),
      picture_(new QelRectBuffer(width_, height_, bands_, PIXEL_INTERLEAVED, type_)),
      decoder_(std::move(decoder)) {}

QelPictureReaderOp::~QelPictureReaderOp() = default;

QelXyCoordSpace::Resolution QelPictureReaderOp::resolution() const {
    constexpr double usual = 72.0;
    if (hasResolution()) return resolution_;
    return {halfOf(usual, QEL_UNIT_INCH, width_), halfOf(usual, QEL_UNIT_INCH, height_)};
}

bool QelPictureReaderOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    info.setSize(width_, height_);
    info.setNumBands(bands_);
    info.setPrecision(type_);
    return true;
}

void QelPictureReaderOp::compute(QelRectBuffer * buffer, QelOpContext) {
    if (buffer == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    QelRect const wanted = buffer->rect().intersect(picture_->rect());
    if (wanted.isEmpty()) return;
    decodeTo(static_cast<std::int32_t>(wanted.bottom() + 1));
    buffer->copyFrom(*picture_, wanted);
}

void QelPictureReaderOp::decodeTo(std::int32_t rows) {
    if (decodedRows() >= rows) return;
    ZanLock const lock(lock_);
    if (decodedRows() >= rows) return;
    if (failure_) throw ZanError(*failure_);
    picture_->allocate();
    try {
        decodeMissing(decoder_->isWhole() ? height_ : rows);
    } catch (ZanError const & error) {
        failure_ = error;
        decoder_.reset();
        throw;
    }
}

void QelPictureReaderOp::decodeMissing(std::int32_t rows) {
    std::int32_t const first = decodedRows();
    decoder_->decode(picture_->addressOf(0, first), picture_->lineStride(), rows - first);
    decodedRows_.store(rows, std::memory_order_release);
    if (rows == height_) decoder_.reset();
}

QelJpegReaderOp::QelJpegReaderOp(std::string const & fileName, QelReadLimits const & limits)
    : QelJpegReaderOp(std::make_unique<QelFileSource>(fileName), limits) {}

QelJpegReaderOp::QelJpegReaderOp(std::unique_ptr<QelFileSource> source,
                                 QelReadLimits const & limits)
    : QelPictureReaderOp(qelDecodeJpeg(std::move(source), limits)) {}

QelJpegReaderOp::~QelJpegReaderOp() = default;

QelPngReaderOp::QelPngReaderOp(std::string const & fileName, QelReadLimits const & limits)
    : QelPngReaderOp(std::make_unique<QelFileSource>(fileName), limits) {}

QelPngReaderOp::QelPngReaderOp(std::unique_ptr<QelFileSource> source, QelReadLimits const & limits)
    : QelPictureReaderOp(qelDecodePng(std::move(source), limits)) {}

QelPngReaderOp::~QelPngReaderOp() = default;

MoxSmartPtr<QelPictureReaderOp> qelOpenPicture(std::string const & fileName,
                                               QelReadLimits const & limits) {
    auto source = std::make_unique<QelFileSource>(fileName);
    if (qelIsJpeg(*source)) return new QelJpegReaderOp(std::move(source), limits);
    if (qelIsPng(*source)) return new QelPngReaderOp(std::move(source), limits);
    source->fail(source->size() == 0 ? "the file is empty" : "it is neither a JPEG nor a PNG file");
}

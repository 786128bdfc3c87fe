#include "QelPictureWriter.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "QelError.h"
#include "QelFileReplacement.h"
#include "QelPictureEncoder.h"

namespace {

// libjpeg's own limit.
constexpr std::int32_t maxJpegSide = 65500;

bool endsWith(std::string_view name, std::string_view end) {
    if (name.size() < end.size()) return false;
    auto const same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == b;
    };
    return std::equal(end.begin(), end.end(), name.end() - static_cast<std::ptrdiff_t>(end.size()),
                      [&](char b, char a) { return same(a, b); });
}

// The rows from `first` to `last` that lie in one row of tiles, so that each tile is requested
// once.
std::int32_t stripHeight(QelDataOrg const & org, std::int32_t first, std::int64_t last) {
    std::int32_t index = 0;
    std::int32_t above = 0;
    org.tileIndexWithRemainderY(first, index, above);
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(org.tileHeight() - above, last + 1 - first));
}

bool hasResolution(QelWriteOptions const & options) {
    return !options.horzResolution.isArbitrary() && !options.vertResolution.isArbitrary();
}

// In a unit that the format has.
void addResolution(QelPictureHeader & header, QelWriteOptions const & options, bool jpeg) {
    if (!hasResolution(options)) return;
    bool const metric = options.horzResolution.unit == QEL_UNIT_CENTIMETER;
    int const unit = !jpeg ? QEL_UNIT_METER : (metric ? QEL_UNIT_CENTIMETER : QEL_UNIT_INCH);
    header.horzDpu = options.horzResolution.getDpu(unit);
    header.vertDpu = options.vertResolution.getDpu(unit);
    header.resolutionUnit = unit;
}

QelPictureHeader headerOf(Qel2DImage const & image, QelRect const & region) {
    QelPictureHeader header;
    header.width = region.width;
    header.height = region.height;
    header.bands = image.dataOrg()->numBands();
    header.type = image.dataOrg()->precision();
    return header;
}

void checkCancelled(QelWriteOptions const & options, std::string const & name) {
    if (options.cancelled == nullptr || !options.cancelled->load()) return;
    qelRaise(QelErrorCode::cancelled, "Cannot write " + name + ": cancelled");
}

}  // namespace

QelPictureEncoder::~QelPictureEncoder() = default;

void QelPictureEncoder::put(std::uint8_t const * bytes, std::size_t count) {
    if (!file_.write(bytes, count)) inC_.leaveWith(file_.error());
}

QelPictureWriter::QelPictureWriter(std::string fileName, QelWriteOptions const & options)
    : fileName_(std::move(fileName)), options_(options), format_(PNG) {
    if (endsWith(fileName_, ".jpg") || endsWith(fileName_, ".jpeg")) {
        format_ = JPEG;
    } else if (!endsWith(fileName_, ".png")) {
        fail("its name must end in .png, .jpg or .jpeg");
    }
    if (options_.jpegQuality < 1 || options_.jpegQuality > 100) {
        fail("the JPEG quality is " + std::to_string(options_.jpegQuality) +
             ", it must lie between 1 and 100");
    }
    if (options_.pngCompression < 0 || options_.pngCompression > 9) {
        fail("the PNG compression is " + std::to_string(options_.pngCompression) +
             ", it must lie between 0 and 9");
    }
    QelPictureHeader resolved;
    addResolution(resolved, options_, format_ == JPEG);
}

QelPictureWriter::~QelPictureWriter() = default;

char const * QelPictureWriter::formatName() const {
    return format_ == JPEG ? "JPEG" : "PNG";
}

void QelPictureWriter::write(Qel2DImage & image) const {
    write(image, image.imageRect());
}

void QelPictureWriter::write(Qel2DImage & image, QelRect const & region) const {
    checkImage(image, region);
    QelPictureHeader header = headerOf(image, region);
    addResolution(header, options_, format_ == JPEG);
    QelFileReplacement file(fileName_);
    std::unique_ptr<QelPictureEncoder> const encoder =
        format_ == JPEG ? qelEncodeJpeg(file, header, options_.jpegQuality)
                        : qelEncodePng(file, header, options_.pngCompression);
    writeStrips(image, region, *encoder);
    encoder->finish();
    file.commit();
}

void QelPictureWriter::writeStrips(Qel2DImage & image, QelRect const & region,
                                   QelPictureEncoder & encoder) const {
    MoxSmartPtr<QelDataOrg> const org = image.dataOrg();
    QelRect rect = region;
    rect.height = std::min(region.height, org->tileHeight());
    MoxSmartPtr<QelRectBuffer> const strip =
        new QelRectBuffer(rect, org->numBands(), PIXEL_INTERLEAVED, org->precision());
    strip->allocate();
    for (std::int64_t y = region.y; y <= region.bottom(); y += rect.height) {
        checkCancelled(options_, fileName_);
        rect.y = static_cast<std::int32_t>(y);
        rect.height = stripHeight(*org, rect.y, region.bottom());
        strip->setRect(rect);
        if (!image.fillRWBuffer(strip, true)) fail("the image has nothing to compute with");
        encoder.encode(strip->addressOf(rect.x, rect.y), strip->lineStride(), rect.height);
    }
}

void QelPictureWriter::checkImage(Qel2DImage & image, QelRect const & region) const {
    QelImageInfo info;
    if (!image.outputInfo(info)) fail("the image does not know its size");
    QelRect const whole(0, 0, info.width(), info.height());
    if (region.isEmpty() || !whole.containsRect(region)) {
        std::ostringstream text;
        text << "the region " << region << " does not lie in the image, which is " << whole;
        fail(text.str());
    }
    checkElements(info.numBands(), info.precision());
    if (format_ == JPEG && std::max(region.width, region.height) > maxJpegSide) {
        fail("a JPEG file takes " + std::to_string(maxJpegSide) +
             " pixels a side, the region has " + std::to_string(region.width) + " by " +
             std::to_string(region.height));
    }
}

void QelPictureWriter::checkElements(int bands, QelDataType type) const {
    bool const narrow = type == QelDataType::UChar;
    bool const wide = type == QelDataType::UShort;
    if (format_ == JPEG ? narrow && (bands == 1 || bands == 3)
                        : (narrow || wide) && bands >= 1 && bands <= 4) {
        return;
    }
    fail(std::string(format_ == JPEG ? "a JPEG file takes 1 or 3 bands of unsigned char"
                                     : "a PNG file takes 1 to 4 bands of unsigned char or "
                                       "unsigned short") +
         ", the image has " + std::to_string(bands) + " of " + type.name());
}

void QelPictureWriter::fail(std::string const & reason) const {
    qelRaise(QelErrorCode::invalidValue, "Cannot write " + fileName_ + ": " + reason);
}

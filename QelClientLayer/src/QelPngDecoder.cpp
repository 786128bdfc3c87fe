#include <png.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include "QelFileSource.h"
#include "QelPictureDecoder.h"

namespace {

constexpr std::uint8_t magic[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

class PngDecoder final : public QelPictureDecoder {
  public:
    explicit PngDecoder(std::unique_ptr<QelFileSource> source)
        : QelPictureDecoder(std::move(source)) {}
    ~PngDecoder() override { png_destroy_read_struct(&png_, &info_, nullptr); }

    void readHeader(QelReadLimits const & limits);

    bool isWhole() const override { return passes_ > 1; }
    void decode(std::uint8_t * to, std::ptrdiff_t lineStride, std::int32_t count) override;

  private:
    [[noreturn]] static void onError(png_structp png, png_const_charp text);
    static void onWarning(png_structp, png_const_charp) {}
    static void onRead(png_structp png, png_bytep to, std::size_t count);

    void checkDeclaredSize(QelReadLimits const & limits);
    void connect(QelReadLimits const & limits);
    QelPictureHeader readReport() const;
    void addDensity(QelPictureHeader & report) const;
    void chooseOutput();
    void read(std::uint8_t * to, std::size_t count);

    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::size_t used_ = 0;  // bytes of the source's chunk
    int passes_ = 1;
    std::int32_t decoded_ = 0;
};

void PngDecoder::onError(png_structp png, png_const_charp text) {
    static_cast<PngDecoder *>(png_get_error_ptr(png))->leave(text);
}

void PngDecoder::onRead(png_structp png, png_bytep to, std::size_t count) {
    static_cast<PngDecoder *>(png_get_io_ptr(png))->read(to, count);
}

void PngDecoder::read(std::uint8_t * to, std::size_t count) {
    while (count > 0) {
        if (used_ == source().size()) {
            nextChunk();
            used_ = 0;
        }
        std::size_t const part = std::min(count, source().size() - used_);
        std::memcpy(to, source().data() + used_, part);
        used_ += part;
        to += part;
        count -= part;
    }
}

// The first chunk of a PNG file, IHDR, has its size at a fixed place. libpng would also check it,
// but without reporting the numbers.
void PngDecoder::checkDeclaredSize(QelReadLimits const & limits) {
    constexpr std::size_t widthAt = 16;
    constexpr std::size_t heightAt = 20;
    if (source().size() < heightAt + 4) source().fail("the file ends too early");
    qelCheckSize(source(), limits, png_get_uint_32(source().data() + widthAt),
                 png_get_uint_32(source().data() + heightAt));
}

void PngDecoder::connect(QelReadLimits const & limits) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
    if (png_ == nullptr) leave("libpng cannot be set up");
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) leave("libpng cannot be set up");
    png_set_read_fn(png_, this, onRead);
    png_set_user_limits(png_, static_cast<png_uint_32>(limits.maxWidth),
                        static_cast<png_uint_32>(limits.maxHeight));
    // By default libpng would only warn of damage in chunks that are not critical.
    png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
}

void PngDecoder::readHeader(QelReadLimits const & limits) {
    checkDeclaredSize(limits);
    run([this, &limits] {
        connect(limits);
        png_read_info(png_, info_);
    });
    setHeader(readReport());
    qelCheckBytes(source(), limits, header());
    run([this] { chooseOutput(); });
}

// The result of the transformations that chooseOutput() requests.
QelPictureHeader PngDecoder::readReport() const {
    int const colour = png_get_color_type(png_, info_);
    bool const opacity =
        (colour & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    QelPictureHeader report;
    report.width = static_cast<std::int32_t>(png_get_image_width(png_, info_));
    report.height = static_cast<std::int32_t>(png_get_image_height(png_, info_));
    report.bands = ((colour & PNG_COLOR_MASK_COLOR) != 0 ? 3 : 1) + (opacity ? 1 : 0);
    report.type = png_get_bit_depth(png_, info_) == 16 ? QelDataType::UShort : QelDataType::UChar;
    addDensity(report);
    return report;
}

// A pHYs chunk has dots per meter, or only the shape of a pixel.
void PngDecoder::addDensity(QelPictureHeader & report) const {
    png_uint_32 horz = 0;
    png_uint_32 vert = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (png_get_pHYs(png_, info_, &horz, &vert, &unit) == 0) return;
    if (unit != PNG_RESOLUTION_METER) return;
    report.horzDpu = horz;
    report.vertDpu = vert;
    report.resolutionUnit = QEL_UNIT_METER;
}

void PngDecoder::chooseOutput() {
    png_set_expand(png_);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    std::size_t const rowBytes = static_cast<std::size_t>(header().width) *
                                 static_cast<std::size_t>(header().bands * header().type.size());
    if (png_get_rowbytes(png_, info_) != rowBytes) leave("its header contradicts itself");
}

void PngDecoder::decode(std::uint8_t * to, std::ptrdiff_t lineStride, std::int32_t count) {
    run([=, this] {
        for (int pass = 0; pass < passes_; ++pass) {
            for (std::int32_t y = 0; y < count; ++y) {
                png_read_row(png_, to + y * lineStride, nullptr);
            }
        }
        decoded_ += count;
        // Looks for the end of the file.
        if (decoded_ == header().height) png_read_end(png_, nullptr);
    });
}

}  // namespace

bool qelIsPng(QelFileSource const & source) {
    return source.size() >= sizeof magic && std::equal(magic, magic + sizeof magic, source.data());
}

std::unique_ptr<QelPictureDecoder> qelDecodePng(std::unique_ptr<QelFileSource> source,
                                                QelReadLimits const & limits) {
    if (!qelIsPng(*source)) source->fail("it is not a PNG file");
    auto decoder = std::make_unique<PngDecoder>(std::move(source));
    decoder->readHeader(limits);
    return decoder;
}

#include <png.h>

#include <bit>
#include <cmath>
#include <limits>

#include "QelPictureEncoder.h"

namespace {

class PngEncoder final : public QelPictureEncoder {
  public:
    explicit PngEncoder(QelFileReplacement & file) : QelPictureEncoder(file) {}
    ~PngEncoder() override { png_destroy_write_struct(&png_, &info_); }

    void start(QelPictureHeader const & header, int compression);
    void encode(std::uint8_t const * from, std::ptrdiff_t lineStride, std::int32_t count) override;
    void finish() override;

  private:
    [[noreturn]] static void onError(png_structp png, png_const_charp text);
    static void onWarning(png_structp, png_const_charp) {}
    static void onWrite(png_structp png, png_bytep from, std::size_t count);
    static void onFlush(png_structp) {}

    void connect();
    void choose(QelPictureHeader const & header, int compression);
    void chooseDensity(QelPictureHeader const & header);

    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

void PngEncoder::onError(png_structp png, png_const_charp text) {
    static_cast<PngEncoder *>(png_get_error_ptr(png))->leave(text);
}

void PngEncoder::onWrite(png_structp png, png_bytep from, std::size_t count) {
    static_cast<PngEncoder *>(png_get_io_ptr(png))->put(from, count);
}

void PngEncoder::start(QelPictureHeader const & header, int compression) {
    run([this, &header, compression] {
        connect();
        choose(header, compression);
        png_write_info(png_, info_);
        if (header.type.size() == 2 && std::endian::native == std::endian::little) {
            png_set_swap(png_);
        }
    });
}

void PngEncoder::connect() {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
    if (png_ == nullptr) leave("libpng cannot be set up");
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) leave("libpng cannot be set up");
    png_set_write_fn(png_, this, onWrite, onFlush);
    constexpr png_uint_32 any = std::numeric_limits<std::int32_t>::max();
    png_set_user_limits(png_, any, any);
}

void PngEncoder::choose(QelPictureHeader const & header, int compression) {
    constexpr int colours[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                               PNG_COLOR_TYPE_RGB_ALPHA};
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(header.width),
                 static_cast<png_uint_32>(header.height), header.type.size() * 8,
                 colours[header.bands - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png_, compression);
    // The best filter for photographs; trying all of them on each row takes half as long again and
    // gains almost nothing.
    png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_AVG);
    png_set_compression_buffer_size(png_, 64 * 1024);
    chooseDensity(header);
}

// Left out where it does not fit.
void PngEncoder::chooseDensity(QelPictureHeader const & header) {
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    double const horz = std::round(header.horzDpu);
    double const vert = std::round(header.vertDpu);
    auto const fits = [](double dots) { return dots >= 1.0 && dots <= most; };
    if (!fits(horz) || !fits(vert)) return;
    png_set_pHYs(png_, info_, static_cast<png_uint_32>(horz), static_cast<png_uint_32>(vert),
                 PNG_RESOLUTION_METER);
}

void PngEncoder::encode(std::uint8_t const * from, std::ptrdiff_t lineStride, std::int32_t count) {
    run([=, this] {
        for (std::int32_t y = 0; y < count; ++y)
            png_write_row(png_, from + y * lineStride);
    });
}

void PngEncoder::finish() {
    run([this] { png_write_end(png_, info_); });
}

}  // namespace

std::unique_ptr<QelPictureEncoder> qelEncodePng(QelFileReplacement & file,
                                                QelPictureHeader const & header, int compression) {
    auto encoder = std::make_unique<PngEncoder>(file);
    encoder->start(header, compression);
    return encoder;
}

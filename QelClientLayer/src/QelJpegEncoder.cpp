#include <cstdio>  // ahead of jpeglib.h, which needs it

#include <jpeglib.h>

#include <cmath>

#include "QelPictureEncoder.h"

namespace {

constexpr std::size_t chunkBytes = 64 * 1024;

class JpegEncoder final : public QelPictureEncoder {
  public:
    explicit JpegEncoder(QelFileReplacement & file);
    ~JpegEncoder() override { jpeg_destroy_compress(&jpeg_); }

    void start(QelPictureHeader const & header, int quality);
    void encode(std::uint8_t const * from, std::ptrdiff_t lineStride, std::int32_t count) override;
    void finish() override;

  private:
    static JpegEncoder & of(void * jpeg) {
        return *static_cast<JpegEncoder *>(static_cast<j_common_ptr>(jpeg)->client_data);
    }
    [[noreturn]] static void onError(j_common_ptr jpeg);
    static void onText(j_common_ptr) {}
    static void onStart(j_compress_ptr jpeg) { of(jpeg).useChunk(); }
    static boolean onFull(j_compress_ptr jpeg);
    static void onEnd(j_compress_ptr jpeg);

    void useChunk();
    void choose(QelPictureHeader const & header, int quality);
    void chooseDensity(QelPictureHeader const & header);

    jpeg_compress_struct jpeg_{};
    jpeg_error_mgr errors_{};
    jpeg_destination_mgr output_{};
    std::unique_ptr<std::uint8_t[]> chunk_ = std::make_unique<std::uint8_t[]>(chunkBytes);
};

JpegEncoder::JpegEncoder(QelFileReplacement & file) : QelPictureEncoder(file) {
    jpeg_.err = jpeg_std_error(&errors_);
    errors_.error_exit = onError;
    errors_.output_message = onText;
    jpeg_.client_data = this;
    output_.init_destination = onStart;
    output_.empty_output_buffer = onFull;
    output_.term_destination = onEnd;
}

void JpegEncoder::useChunk() {
    output_.next_output_byte = chunk_.get();
    output_.free_in_buffer = chunkBytes;
}

void JpegEncoder::onError(j_common_ptr jpeg) {
    char text[JMSG_LENGTH_MAX];
    (*jpeg->err->format_message)(jpeg, text);
    of(jpeg).leave(text);
}

// Always writes the whole chunk, whatever the fields say.
boolean JpegEncoder::onFull(j_compress_ptr jpeg) {
    of(jpeg).put(of(jpeg).chunk_.get(), chunkBytes);
    of(jpeg).useChunk();
    return TRUE;
}

void JpegEncoder::onEnd(j_compress_ptr jpeg) {
    of(jpeg).put(of(jpeg).chunk_.get(), chunkBytes - of(jpeg).output_.free_in_buffer);
}

void JpegEncoder::start(QelPictureHeader const & header, int quality) {
    run([this, &header, quality] {
        jpeg_create_compress(&jpeg_);
        jpeg_.dest = &output_;
        choose(header, quality);
        jpeg_start_compress(&jpeg_, TRUE);
    });
}

void JpegEncoder::choose(QelPictureHeader const & header, int quality) {
    jpeg_.image_width = static_cast<JDIMENSION>(header.width);
    jpeg_.image_height = static_cast<JDIMENSION>(header.height);
    jpeg_.input_components = header.bands;
    jpeg_.in_color_space = header.bands == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, quality, TRUE);
    // Full resolution for colour too.
    jpeg_.comp_info[0].h_samp_factor = 1;
    jpeg_.comp_info[0].v_samp_factor = 1;
    chooseDensity(header);
}

// Left out where it does not fit.
void JpegEncoder::chooseDensity(QelPictureHeader const & header) {
    constexpr double most = 65535.0;
    double const horz = std::round(header.horzDpu);
    double const vert = std::round(header.vertDpu);
    auto const fits = [](double dots) { return dots >= 1.0 && dots <= most; };
    if (!fits(horz) || !fits(vert)) return;
    jpeg_.density_unit = header.resolutionUnit == QEL_UNIT_CENTIMETER ? 2 : 1;
    jpeg_.X_density = static_cast<UINT16>(horz);
    jpeg_.Y_density = static_cast<UINT16>(vert);
}

void JpegEncoder::encode(std::uint8_t const * from, std::ptrdiff_t lineStride, std::int32_t count) {
    run([=, this] {
        for (std::int32_t y = 0; y < count; ++y) {
            // libjpeg does not write to rows, though it does not say so.
            JSAMPROW row = const_cast<JSAMPROW>(from + y * lineStride);
            jpeg_write_scanlines(&jpeg_, &row, 1);
        }
    });
}

void JpegEncoder::finish() {
    run([this] { jpeg_finish_compress(&jpeg_); });
}

}  // namespace

std::unique_ptr<QelPictureEncoder> qelEncodeJpeg(QelFileReplacement & file,
                                                 QelPictureHeader const & header, int quality) {
    auto encoder = std::make_unique<JpegEncoder>(file);
    encoder->start(header, quality);
    return encoder;
}

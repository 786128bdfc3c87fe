#include <cstdio>  // ahead of jpeglib.h, which needs it

#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <string>
#include <utility>

#include "QelColorSpaces.h"
#include "QelFileSource.h"
#include "QelPictureDecoder.h"

namespace {

// Each scan of a progressive file is a pass over the whole picture, however little it adds. Real
// files have about ten.
constexpr int maxScans = 500;

// Warnings that leave no doubt about the pixels; all others mean that data is damaged or missing.
constexpr bool isHarmless(int warning) {
    return warning == JWRN_EXTRANEOUS_DATA || warning == JWRN_JFIF_MAJOR ||
           warning == JWRN_ADOBE_XFORM;
}

class JpegDecoder final : public QelPictureDecoder {
  public:
    explicit JpegDecoder(std::unique_ptr<QelFileSource> source);
    ~JpegDecoder() override { jpeg_destroy_decompress(&jpeg_); }

    void readHeader(QelReadLimits const & limits);

    bool isWhole() const override { return false; }
    void decode(std::uint8_t * to, std::ptrdiff_t lineStride, std::int32_t count) override;

  private:
    static JpegDecoder & of(void * jpeg) {
        return *static_cast<JpegDecoder *>(static_cast<j_common_ptr>(jpeg)->client_data);
    }
    [[noreturn]] static void onError(j_common_ptr jpeg);
    static void onMessage(j_common_ptr jpeg, int level);
    static void onText(j_common_ptr) {}
    static void onProgress(j_common_ptr jpeg);
    static void onStart(j_decompress_ptr) {}
    static boolean onMore(j_decompress_ptr jpeg);
    static void onSkip(j_decompress_ptr jpeg, long bytes);

    void connect();
    void chooseOutput();
    QelPictureHeader readReport() const;
    void addDensity(QelPictureHeader & report) const;
    void useChunk();

    jpeg_decompress_struct jpeg_{};
    jpeg_error_mgr errors_{};
    jpeg_source_mgr input_{};
    jpeg_progress_mgr progress_{};
    bool started_ = false;
};

JpegDecoder::JpegDecoder(std::unique_ptr<QelFileSource> source)
    : QelPictureDecoder(std::move(source)) {
    jpeg_.err = jpeg_std_error(&errors_);
    errors_.error_exit = onError;
    errors_.emit_message = onMessage;
    errors_.output_message = onText;
    jpeg_.client_data = this;
    input_.init_source = onStart;
    input_.fill_input_buffer = onMore;
    input_.skip_input_data = onSkip;
    input_.resync_to_restart = jpeg_resync_to_restart;
    input_.term_source = onStart;
    progress_.progress_monitor = onProgress;
    useChunk();
}

void JpegDecoder::useChunk() {
    input_.next_input_byte = source().data();
    input_.bytes_in_buffer = source().size();
}

void JpegDecoder::onError(j_common_ptr jpeg) {
    char text[JMSG_LENGTH_MAX];
    (*jpeg->err->format_message)(jpeg, text);
    of(jpeg).leave(text);
}

void JpegDecoder::onMessage(j_common_ptr jpeg, int level) {
    if (level < 0 && !isHarmless(jpeg->err->msg_code)) onError(jpeg);
}

void JpegDecoder::onProgress(j_common_ptr jpeg) {
    JpegDecoder & decoder = of(jpeg);
    if (decoder.jpeg_.input_scan_number > maxScans) decoder.leave("it has too many scans");
}

boolean JpegDecoder::onMore(j_decompress_ptr jpeg) {
    JpegDecoder & decoder = of(jpeg);
    decoder.nextChunk();
    decoder.useChunk();
    return TRUE;
}

void JpegDecoder::onSkip(j_decompress_ptr jpeg, long bytes) {
    jpeg_source_mgr & input = *jpeg->src;
    auto left = static_cast<std::size_t>(std::max(0L, bytes));
    while (left > input.bytes_in_buffer) {
        left -= input.bytes_in_buffer;
        onMore(jpeg);
    }
    input.next_input_byte += left;
    input.bytes_in_buffer -= left;
}

// jpeg_create_decompress() clears everything set before it, except two fields.
void JpegDecoder::connect() {
    jpeg_create_decompress(&jpeg_);
    jpeg_.src = &input_;
    jpeg_.progress = &progress_;
}

void JpegDecoder::readHeader(QelReadLimits const & limits) {
    run([this] {
        connect();
        jpeg_read_header(&jpeg_, TRUE);
        chooseOutput();
    });
    setHeader(readReport());
    qelCheckSize(source(), limits, jpeg_.image_width, jpeg_.image_height);
    qelCheckBytes(source(), limits, header());
}

void JpegDecoder::chooseOutput() {
    if (jpeg_.jpeg_color_space == JCS_YCbCr) jpeg_.out_color_space = JCS_RGB;
    if (jpeg_.jpeg_color_space == JCS_YCCK) jpeg_.out_color_space = JCS_CMYK;
    jpeg_calc_output_dimensions(&jpeg_);
}

QelPictureHeader JpegDecoder::readReport() const {
    QelPictureHeader report;
    report.width = static_cast<std::int32_t>(jpeg_.output_width);
    report.height = static_cast<std::int32_t>(jpeg_.output_height);
    report.bands = jpeg_.output_components;
    if (jpeg_.out_color_space == JCS_CMYK) report.colorSpace = new QelCMYKColorSpace();
    if (jpeg_.out_color_space == JCS_UNKNOWN) report.colorSpace = new QelGenericColorSpace();
    addDensity(report);
    return report;
}

// A JFIF header has dots per inch, dots per centimeter, or only the shape of a pixel.
void JpegDecoder::addDensity(QelPictureHeader & report) const {
    constexpr int perInch = 1;
    constexpr int perCentimeter = 2;
    if (!jpeg_.saw_JFIF_marker) return;
    if (jpeg_.density_unit != perInch && jpeg_.density_unit != perCentimeter) return;
    report.horzDpu = jpeg_.X_density;
    report.vertDpu = jpeg_.Y_density;
    report.resolutionUnit = jpeg_.density_unit == perInch ? QEL_UNIT_INCH : QEL_UNIT_CENTIMETER;
}

void JpegDecoder::decode(std::uint8_t * to, std::ptrdiff_t lineStride, std::int32_t count) {
    run([=, this] {
        if (!started_) jpeg_start_decompress(&jpeg_);
        started_ = true;
        for (std::int32_t y = 0; y < count; ++y) {
            JSAMPROW row = to + y * lineStride;
            jpeg_read_scanlines(&jpeg_, &row, 1);
        }
        // Looks for the end of the file.
        if (jpeg_.output_scanline == jpeg_.output_height) jpeg_finish_decompress(&jpeg_);
    });
}

}  // namespace

bool qelIsJpeg(QelFileSource const & source) {
    constexpr std::uint8_t magic[] = {0xFF, 0xD8, 0xFF};
    return source.size() >= sizeof magic && std::equal(magic, magic + sizeof magic, source.data());
}

std::unique_ptr<QelPictureDecoder> qelDecodeJpeg(std::unique_ptr<QelFileSource> source,
                                                 QelReadLimits const & limits) {
    if (!qelIsJpeg(*source)) source->fail("it is not a JPEG file");
    auto decoder = std::make_unique<JpegDecoder>(std::move(source));
    decoder->readHeader(limits);
    return decoder;
}

#include "QelPngReaderOp.h"

#include <png.h>

#include <functional>
#include <sstream>

#include "ClientTesting.h"

namespace {

// A PNG as libpng itself writes it, of kinds that QelPictureWriter does not write.
struct Kind {
    int width = 0;
    int height = 0;
    int depth = 8;
    int colour = PNG_COLOR_TYPE_GRAY;
    bool interlaced = false;
    std::function<void(png_structp, png_infop)> more = [](png_structp, png_infop) {};
};

void append(png_structp png, png_bytep from, std::size_t count) {
    auto & bytes = *static_cast<Bytes *>(png_get_io_ptr(png));
    bytes.insert(bytes.end(), from, from + count);
}

// `rows` in the file's own form, one after the other.
Bytes encoded(Kind const & kind, Bytes rows) {
    Bytes bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, append, nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(kind.width),
                 static_cast<png_uint_32>(kind.height), kind.depth, kind.colour,
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    kind.more(png, info);
    png_write_info(png, info);
    std::size_t const stride = png_get_rowbytes(png, info);
    std::vector<png_bytep> pointers;
    for (int y = 0; y < kind.height; ++y) {
        pointers.push_back(rows.data() + stride * static_cast<std::size_t>(y));
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

class QelPngReaderOpTest : public testing::Test {
  protected:
    std::string write(Bytes const & bytes) {
        setContent(folder_.file("picture.png"), bytes);
        return folder_.file("picture.png");
    }
    MoxSmartPtr<QelRectBuffer> read(Kind const & kind, Bytes const & rows) {
        return readPicture(write(encoded(kind, rows)));
    }
    static std::vector<double> elements(QelRectBuffer const & buffer) {
        std::vector<double> values;
        for (std::int32_t y = 0; y < buffer.rect().height; ++y) {
            for (std::int32_t x = 0; x < buffer.rect().width; ++x) {
                for (int band = 0; band < buffer.numBands(); ++band) {
                    values.push_back(elementAt(buffer, x, y, band));
                }
            }
        }
        return values;
    }

    TemporaryFolder folder_;
};

using Values = std::vector<double>;

TEST_F(QelPngReaderOpTest, LowDepthsOfGreyAreStretched) {
    EXPECT_EQ((Values{255, 0, 255, 255}),
              elements(*read({.width = 4, .height = 1, .depth = 1}, {0xB0})));
    EXPECT_EQ((Values{0, 85, 170, 255}),
              elements(*read({.width = 4, .height = 1, .depth = 2}, {0x1B})));
    EXPECT_EQ((Values{0, 17, 238, 255}),
              elements(*read({.width = 4, .height = 1, .depth = 4}, {0x01, 0xEF})));
}

TEST_F(QelPngReaderOpTest, SixteenBitsComeInTheHostsOrder) {
    MoxSmartPtr<QelRectBuffer> const found =
        read({.width = 2, .height = 1, .depth = 16}, {0x12, 0x34, 0xFF, 0x01});
    EXPECT_TRUE(found->dataOrg()->precision() == QelDataType::UShort);
    EXPECT_EQ((Values{0x1234, 0xFF01}), elements(*found));
}

void setPalette(png_structp png, png_infop info) {
    constexpr png_color colours[] = {{10, 20, 30}, {40, 50, 60}, {70, 80, 90}};
    png_set_PLTE(png, info, colours, 3);
}

TEST_F(QelPngReaderOpTest, PalettesBecomeColours) {
    Kind const kind{.width = 3, .height = 1, .colour = PNG_COLOR_TYPE_PALETTE, .more = setPalette};
    EXPECT_EQ((Values{70, 80, 90, 10, 20, 30, 40, 50, 60}), elements(*read(kind, {2, 0, 1})));
    Kind narrow = kind;
    narrow.depth = 2;
    EXPECT_EQ((Values{70, 80, 90, 10, 20, 30, 40, 50, 60}), elements(*read(narrow, {0x84})));
}

TEST_F(QelPngReaderOpTest, TransparentColoursBecomeOpacity) {
    Kind const palette{.width = 3,
                       .height = 1,
                       .colour = PNG_COLOR_TYPE_PALETTE,
                       .more = [](png_structp png, png_infop info) {
                           setPalette(png, info);
                           constexpr png_byte opacity[] = {0, 128};
                           png_set_tRNS(png, info, opacity, 2, nullptr);
                       }};
    EXPECT_EQ((Values{70, 80, 90, 255, 10, 20, 30, 0, 40, 50, 60, 128}),
              elements(*read(palette, {2, 0, 1})));
    Kind const grey{.width = 2, .height = 1, .more = [](png_structp png, png_infop info) {
                        png_color_16 clear{};
                        clear.gray = 7;
                        png_set_tRNS(png, info, nullptr, 1, &clear);
                    }};
    EXPECT_EQ((Values{7, 0, 8, 255}), elements(*read(grey, {7, 8})));
}

TEST_F(QelPngReaderOpTest, ColourSpacesAreThoseOfTheBands) {
    struct Row {
        Kind kind;
        char const * text;
    };
    for (Row const & row : std::vector<Row>{
             {{.colour = PNG_COLOR_TYPE_GRAY}, "QelLumColorSpace[b=1, min=0, max=255]"},
             {{.depth = 1, .colour = PNG_COLOR_TYPE_GRAY}, "QelLumColorSpace[b=1, min=0, max=255]"},
             {{.colour = PNG_COLOR_TYPE_GRAY_ALPHA}, "QelLumAColorSpace[b=2, min=0, max=255]"},
             {{.colour = PNG_COLOR_TYPE_RGB}, "QelRGBColorSpace[b=3, min=0, max=255]"},
             {{.colour = PNG_COLOR_TYPE_PALETTE, .more = setPalette},
              "QelRGBColorSpace[b=3, min=0, max=255]"},
             {{.colour = PNG_COLOR_TYPE_RGB_ALPHA}, "QelRGBAColorSpace[b=4, min=0, max=255]"},
             {{.depth = 16, .colour = PNG_COLOR_TYPE_GRAY},
              "QelLumColorSpace[b=1, min=0, max=65535]"},
             {{.depth = 16, .colour = PNG_COLOR_TYPE_RGB_ALPHA},
              "QelRGBAColorSpace[b=4, min=0, max=65535]"}}) {
        Kind kind = row.kind;
        kind.width = kind.height = 1;
        std::ostringstream text;
        text << qelOpenPicture(write(encoded(kind, Bytes(8))))->colorSpace();
        EXPECT_EQ(row.text, text.str());
    }
}

TEST_F(QelPngReaderOpTest, InterlacedPicturesAreDecodedAsAWhole) {
    Random random(20240109);
    for (int round = 0; round < 20; ++round) {
        Kind kind{.width = random.between(1, 40),
                  .height = random.between(1, 40),
                  .depth = random.coin() ? 8 : 16,
                  .colour = PNG_COLOR_TYPE_RGB_ALPHA};
        Bytes rows(static_cast<std::size_t>(kind.width * kind.height * kind.depth / 2));
        for (std::uint8_t & byte : rows)
            byte = static_cast<std::uint8_t>(random.between(0, 255));
        Values const expected = elements(*read(kind, rows));
        kind.interlaced = true;
        MoxSmartPtr<QelPictureReaderOp> const op = qelOpenPicture(write(encoded(kind, rows)));
        QelRectBuffer corner(1, 1, 4, PIXEL_INTERLEAVED, op->elementType());
        op->compute(&corner, 0);
        EXPECT_EQ(kind.height, op->decodedRows());
        ASSERT_EQ(expected, elements(*op->genResult()));
    }
}

TEST_F(QelPngReaderOpTest, RoundTripsAreExact) {
    Random random(20240110);
    for (int round = 0; round < 40; ++round) {
        QelDataType const type = random.coin() ? QelDataType::UChar : QelDataType::UShort;
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(
            random, random.between(1, 300), random.between(1, 300), random.between(1, 4), type);
        std::string const file = folder_.file("picture.png");
        Qel2DImage image(picture.get());
        QelPictureWriter(file).write(image);
        MoxSmartPtr<QelRectBuffer> const found = readPicture(file);
        ASSERT_EQ(picture->rect(), found->rect());
        ASSERT_EQ(picture->numBands(), found->numBands());
        ASSERT_TRUE(found->dataOrg()->precision() == type);
        ASSERT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*picture)));
    }
}

TEST_F(QelPngReaderOpTest, WrongChecksumsAreErrorsInEveryChunk) {
    Bytes bytes = encoded({.width = 3,
                           .height = 1,
                           .more =
                               [](png_structp png, png_infop info) {
                                   png_text text{};
                                   text.compression = PNG_TEXT_COMPRESSION_NONE;
                                   text.key = const_cast<char *>("Comment");
                                   text.text = const_cast<char *>("something that is not vital");
                                   png_set_text(png, info, &text, 1);
                               }},
                          {1, 2, 3});
    std::string const name = "tEXt";
    auto const chunk = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
    ASSERT_NE(bytes.end(), chunk);
    chunk[12] ^= 1;
    std::string const file = write(bytes);
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": tEXt: CRC error",
                 [&] { readPicture(file); });
}

TEST_F(QelPngReaderOpTest, MissingEndIsAnError) {
    Bytes bytes = encoded({.width = 3, .height = 1}, {1, 2, 3});
    bytes.resize(bytes.size() - 12);
    std::string const file = write(bytes);
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": the file ends too early",
                 [&] { readPicture(file); });
}

TEST_F(QelPngReaderOpTest, SizeOfZeroIsAnError) {
    Bytes bytes = encoded({.width = 3, .height = 1}, {1, 2, 3});
    bytes[19] = 0;
    std::string const file = write(bytes);
    std::optional<ZanError> const error = errorOf([&] { qelOpenPicture(file); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::invalidValue, error->getErrcode());
}

}  // namespace

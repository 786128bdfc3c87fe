#include "QelJpegReaderOp.h"

#include <sstream>

#include "JpegTesting.h"

namespace {

class QelJpegReaderOpTest : public testing::Test {
  protected:
    std::string write(Bytes const & bytes) {
        setContent(folder_.file("picture.jpg"), bytes);
        return folder_.file("picture.jpg");
    }
    // The largest distance between an element of the picture and of what was read.
    static double worst(QelRectBuffer const & expected, QelRectBuffer const & found) {
        double most = 0;
        for (std::int32_t y = 0; y < expected.rect().height; ++y) {
            for (std::int32_t x = 0; x < expected.rect().width; ++x) {
                for (int band = 0; band < expected.numBands(); ++band) {
                    most = std::max(most, std::abs(elementAt(expected, x, y, band) -
                                                   elementAt(found, x, y, band)));
                }
            }
        }
        return most;
    }
    void expectClose(Bytes const & bytes, QelRectBuffer const & picture, double distance) {
        MoxSmartPtr<QelRectBuffer> const found = readPicture(write(bytes));
        ASSERT_EQ(picture.rect(), found->rect());
        ASSERT_EQ(picture.numBands(), found->numBands());
        EXPECT_LE(worst(picture, *found), distance);
    }

    TemporaryFolder folder_;
};

TEST_F(QelJpegReaderOpTest, GreyHasOneBand) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(101, 67, 1);
    expectClose(encoded(*picture, JCS_GRAYSCALE, plain), *picture, 3);
}

TEST_F(QelJpegReaderOpTest, ColourHasThreeBands) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(101, 67, 3);
    expectClose(encoded(*picture, JCS_RGB, plain), *picture, 12);
}

TEST_F(QelJpegReaderOpTest, ColourStoredAsRedGreenBlue) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(40, 30, 3);
    expectClose(
        encoded(*picture, JCS_RGB, [](auto & jpeg) { jpeg_set_colorspace(&jpeg, JCS_RGB); }),
        *picture, 3);
}

TEST_F(QelJpegReaderOpTest, CmykHasFourBandsAsStored) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(40, 30, 4);
    expectClose(encoded(*picture, JCS_CMYK, plain), *picture, 3);
    expectClose(
        encoded(*picture, JCS_CMYK, [](auto & jpeg) { jpeg_set_colorspace(&jpeg, JCS_YCCK); }),
        *picture, 12);
}

TEST_F(QelJpegReaderOpTest, UnnamedColourSpacesGiveTheirBands) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(40, 30, 2);
    expectClose(encoded(*picture, JCS_UNKNOWN, plain), *picture, 3);
}

TEST_F(QelJpegReaderOpTest, ColourSpacesAreThoseOfTheBands) {
    struct Row {
        int bands;
        J_COLOR_SPACE from;
        J_COLOR_SPACE stored;
        char const * text;
    };
    for (Row const & row :
         {Row{1, JCS_GRAYSCALE, JCS_GRAYSCALE, "QelLumColorSpace[b=1, min=0, max=255]"},
          Row{3, JCS_RGB, JCS_YCbCr, "QelRGBColorSpace[b=3, min=0, max=255]"},
          Row{3, JCS_RGB, JCS_RGB, "QelRGBColorSpace[b=3, min=0, max=255]"},
          Row{4, JCS_CMYK, JCS_CMYK, "QelCMYKColorSpace[b=4, min=0, max=255]"},
          Row{4, JCS_CMYK, JCS_YCCK, "QelCMYKColorSpace[b=4, min=0, max=255]"},
          Row{2, JCS_UNKNOWN, JCS_UNKNOWN, "QelGenericColorSpace[b=2, min=0, max=255]"},
          Row{5, JCS_UNKNOWN, JCS_UNKNOWN, "QelGenericColorSpace[b=5, min=0, max=255]"}}) {
        Bytes const bytes = encoded(*softPicture(9, 7, row.bands), row.from, [&](auto & jpeg) {
            jpeg_set_colorspace(&jpeg, row.stored);
            // More than four bands do not go into one scan.
            if (row.bands > 4) jpeg_simple_progression(&jpeg);
        });
        std::ostringstream text;
        text << qelOpenPicture(write(bytes))->colorSpace();
        EXPECT_EQ(row.text, text.str());
    }
}

TEST_F(QelJpegReaderOpTest, ProgressiveArithmeticAndRestarts) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(150, 140, 3);
    for (JpegSettings const & settings :
         std::vector<JpegSettings>{[](auto & jpeg) { jpeg_simple_progression(&jpeg); },
                                   [](auto & jpeg) { jpeg.restart_in_rows = 1; },
                                   [](auto & jpeg) { jpeg.optimize_coding = TRUE; },
                                   [](auto & jpeg) { jpeg.arith_code = TRUE; }}) {
        expectClose(encoded(*picture, JCS_RGB, settings), *picture, 12);
    }
}

TEST_F(QelJpegReaderOpTest, ManyScansAreRefused) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(16, 16, 1);
    // Bit 13 of the steepest wave, then each of the others, over and over.
    std::vector<jpeg_scan_info> scans{{1, {0, 0, 0, 0}, 0, 0, 0, 0}};
    for (int band = 1; band < 64; ++band) {
        scans.push_back({1, {0, 0, 0, 0}, band, band, 0, 8});
        for (int bit = 8; bit > 0; --bit) {
            scans.push_back({1, {0, 0, 0, 0}, band, band, bit, bit - 1});
        }
    }
    std::string const file = write(encoded(*picture, JCS_GRAYSCALE, [&](auto & jpeg) {
        jpeg.scan_info = scans.data();
        jpeg.num_scans = static_cast<int>(scans.size());
    }));
    ASSERT_GT(scans.size(), 500U);
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": it has too many scans",
                 [&] { readPicture(file); });
}

TEST_F(QelJpegReaderOpTest, BytesAheadOfAMarkerAreHarmless) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(101, 67, 1);
    Bytes bytes = encoded(*picture, JCS_GRAYSCALE, plain);
    bytes.insert(bytes.begin() + 2, {1, 2, 3});  // behind the start of image
    // Told apart by the two bytes that follow as well, so there must be a marker first.
    bytes.insert(bytes.begin() + 2, {0xFF, 0xFE, 0, 4, 'a', 'b'});
    expectClose(bytes, *picture, 3);
}

TEST_F(QelJpegReaderOpTest, BytesBehindTheEndAreHarmless) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(101, 67, 1);
    Bytes bytes = encoded(*picture, JCS_GRAYSCALE, plain);
    bytes.insert(bytes.end(), 1000, 0xAB);
    expectClose(bytes, *picture, 3);
}

TEST_F(QelJpegReaderOpTest, MissingEndIsAnError) {
    Bytes bytes = encoded(*softPicture(101, 67, 1), JCS_GRAYSCALE, plain);
    bytes.resize(bytes.size() - 2);
    std::string const file = write(bytes);
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": the file ends too early",
                 [&] { readPicture(file); });
}

TEST_F(QelJpegReaderOpTest, DataThatEndsWithAMarkerIsAnError) {
    Bytes bytes = encoded(*softPicture(101, 67, 1), JCS_GRAYSCALE, plain);
    bytes.resize(bytes.size() - 200);
    bytes.insert(bytes.end(), {0xFF, 0xD9});
    std::string const file = write(bytes);
    expectRaises(QelErrorCode::invalidValue,
                 "Cannot read " + file + ": Corrupt JPEG data: premature end of data segment",
                 [&] { readPicture(file); });
}

TEST_F(QelJpegReaderOpTest, ErrorsOfTheHeaderAreTold) {
    Bytes bytes = encoded(*softPicture(101, 67, 1), JCS_GRAYSCALE, plain);
    std::size_t frame = 0;
    while (!(bytes[frame] == 0xFF && bytes[frame + 1] == 0xC0))
        ++frame;
    Bytes wide = bytes;
    wide[frame + 4] = 12;
    std::string const file = write(wide);
    expectRaises(QelErrorCode::invalidValue,
                 "Cannot read " + file + ": Unsupported JPEG data precision 12",
                 [&] { qelOpenPicture(file); });
    bytes[frame + 5] = bytes[frame + 6] = 0;
    write(bytes);
    expectRaises(QelErrorCode::invalidValue,
                 "Cannot read " + file + ": Empty JPEG image (DNL not supported)",
                 [&] { qelOpenPicture(file); });
}

}  // namespace

#include "QelPictureReaderOp.h"

#include <fcntl.h>

#include <cerrno>

#include "ClientTesting.h"
#include "FaultySystem.h"

namespace {

class QelPictureReaderOpTest : public testing::Test {
  protected:
    // Writes a picture and returns the file's name.
    std::string write(std::string const & name, MoxSmartPtr<QelRectBuffer> const & picture) {
        Qel2DImage image(picture.get());
        QelPictureWriter(folder_.file(name)).write(image);
        return folder_.file(name);
    }
    std::string writeBytes(std::string const & name, Bytes const & bytes) {
        setContent(folder_.file(name), bytes);
        return folder_.file(name);
    }
    std::string missing(std::string const & name) const { return folder_.file(name); }

    void expectRefused(std::string const & file, std::string const & reason) {
        expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": " + reason,
                     [&] { qelOpenPicture(file); });
    }

    TemporaryFolder folder_;
    Random random_{20240108};
};

using Reader = MoxSmartPtr<QelPictureReaderOp>;

TEST_F(QelPictureReaderOpTest, TellsFormatsByContentAndNotByName) {
    std::string const png = write("picture.png", softPicture(40, 30, 3));
    std::string const jpeg = write("picture.jpg", softPicture(40, 30, 3));
    writeBytes("lies.jpg", contentOf(png));
    writeBytes("lies", contentOf(jpeg));
    EXPECT_STREQ("PNG", qelOpenPicture(folder_.file("lies.jpg"))->formatName());
    EXPECT_STREQ("JPEG", qelOpenPicture(folder_.file("lies"))->formatName());
}

TEST_F(QelPictureReaderOpTest, RefusesWhatItCannotRead) {
    expectRefused(missing("nothing.png"), "No such file or directory");
    expectRefused(folder_.path(), "Is a directory");
    expectRefused(writeBytes("empty.png", {}), "the file is empty");
    expectRefused(writeBytes("text.png", Bytes(500, 'x')), "it is neither a JPEG nor a PNG file");
    expectRefused(writeBytes("short.jpg", {0xFF, 0xD8}), "it is neither a JPEG nor a PNG file");
    expectRefused(writeBytes("start.jpg", {0xFF, 0xD8, 0xFF}), "the file ends too early");
    expectRefused(writeBytes("start.png", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0}),
                  "the file ends too early");
}

TEST_F(QelPictureReaderOpTest, DensitiesOfAJpegFile) {
    Bytes bytes = contentOf(write("picture.jpg", softPicture(40, 30, 3)));
    struct Row {
        char const * name;
        std::uint8_t unit;
        std::uint8_t horz;
        std::uint8_t vert;
        bool known;
        double dpu;
        int dpuUnit;
    };
    for (Row const & row : {Row{"per inch", 1, 90, 45, true, 90, QEL_UNIT_INCH},
                            Row{"per centimeter", 2, 90, 45, true, 90, QEL_UNIT_CENTIMETER},
                            Row{"the shape of a pixel", 0, 90, 45, false, 72, QEL_UNIT_INCH},
                            Row{"no unit at all", 3, 90, 45, false, 72, QEL_UNIT_INCH},
                            Row{"0 across", 1, 0, 45, false, 72, QEL_UNIT_INCH},
                            Row{"0 down", 1, 90, 0, false, 72, QEL_UNIT_INCH}}) {
        SCOPED_TRACE(row.name);
        // Behind the marker, "JFIF" and the version: the unit, and two numbers of two bytes.
        bytes.at(13) = row.unit;
        bytes.at(15) = row.horz;
        bytes.at(17) = row.vert;
        Reader const reader = qelOpenPicture(writeBytes("row.jpg", bytes));
        EXPECT_EQ(row.known, reader->hasResolution());
        QelXyCoordSpace::Resolution const resolution = reader->resolution();
        EXPECT_EQ(row.dpu, resolution.horz.dpu);
        EXPECT_EQ(row.dpuUnit, resolution.horz.unit);
        EXPECT_EQ(row.dpuUnit, resolution.vert.unit);
        EXPECT_EQ(40u, resolution.horz.pixels);
        EXPECT_EQ(30u, resolution.vert.pixels);
    }
}

TEST_F(QelPictureReaderOpTest, DotsThatLeaveThePictureNoSizeAreNoResolution) {
    Qel2DImage image(softPicture(40, 30, 3).get());
    QelWriteOptions options;
    options.horzResolution = QelResolution(1000, QEL_UNIT_METER);
    // 30 dots are more than a micron, or less.
    for (auto const & [dots, known] : {std::pair(2e7, true), std::pair(1e9, false)}) {
        options.vertResolution = QelResolution(dots, QEL_UNIT_METER);
        QelPictureWriter(folder_.file("dense.png"), options).write(image);
        Reader const reader = qelOpenPicture(folder_.file("dense.png"));
        EXPECT_EQ(known, reader->hasResolution()) << dots;
        EXPECT_EQ(known ? dots : 72.0, reader->resolution().vert.dpu);
        QelXyCoordSpace const space(reader->resolution());
        EXPECT_EQ(40u, space.numPixelsWide());
        EXPECT_EQ(30u, space.numPixelsHigh());
    }
}

TEST_F(QelPictureReaderOpTest, EachCallGivesAColourSpaceOfItsOwn) {
    for (int const bands : {1, 3}) {
        Reader const reader = qelOpenPicture(write("picture.jpg", softPicture(8, 8, bands)));
        MoxSmartPtr<QelColorSpace> const space = reader->colorSpace();
        EXPECT_EQ(bands, space->numBands());
        space->setFlag(true);
        EXPECT_FALSE(reader->colorSpace()->getFlag());
        EXPECT_EQ(0, reader->decodedRows());
    }
}

TEST_F(QelPictureReaderOpTest, EachReaderRefusesTheOtherFormat) {
    std::string const png = write("picture.png", softPicture(40, 30, 3));
    std::string const jpeg = write("picture.jpg", softPicture(40, 30, 3));
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + png + ": it is not a JPEG file",
                 [&] { QelJpegReaderOp op(png); });
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + jpeg + ": it is not a PNG file",
                 [&] { QelPngReaderOp op(jpeg); });
    EXPECT_EQ(40, QelPngReaderOp(png).width());
    EXPECT_EQ(30, QelJpegReaderOp(jpeg).height());
}

TEST_F(QelPictureReaderOpTest, ReportsTheHeaderWithoutDecoding) {
    std::string const file =
        write("picture.png", randomPicture(random_, 300, 200, 4, QelDataType::UShort));
    Reader const op = qelOpenPicture(file);
    QelImageInfo info;
    ASSERT_TRUE(op->outputInfo(info));
    EXPECT_EQ(300, info.width());
    EXPECT_EQ(200, info.height());
    EXPECT_EQ(4, info.numBands());
    EXPECT_TRUE(info.precision() == QelDataType::UShort);
    EXPECT_EQ(PIXEL_INTERLEAVED, info.layout());
    EXPECT_EQ(QelRect(0, 0, 128, 128), info.tileRect());
    EXPECT_EQ(0, op->decodedRows());
    EXPECT_EQ(file, op->fileName());
    EXPECT_TRUE(op->elementType() == QelDataType::UShort);
    EXPECT_EQ(4, op->bands());
}

TEST_F(QelPictureReaderOpTest, DecodesOnlyAsFarDownAsNeeded) {
    for (char const * const name : {"picture.png", "picture.jpg"}) {
        SCOPED_TRACE(name);
        Reader const op = qelOpenPicture(write(name, softPicture(300, 300, 3)));
        Qel2DImage image(op);
        image.getTile(1, 0);
        EXPECT_EQ(128, op->decodedRows());
        QelRectBuffer part(QelRect(5, 140, 10, 11), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        op->compute(&part, 0);
        EXPECT_EQ(151, op->decodedRows());
        image.getTile(0, 0);
        EXPECT_EQ(151, op->decodedRows());
        image.getTile(0, 2);
        EXPECT_EQ(300, op->decodedRows());
    }
}

TEST_F(QelPictureReaderOpTest, RowsMayBeAskedForInAnyOrder) {
    MoxSmartPtr<QelRectBuffer> const picture =
        randomPicture(random_, 200, 150, 3, QelDataType::UChar);
    std::string const file = write("picture.png", picture);
    for (int round = 0; round < 20; ++round) {
        Reader const op = qelOpenPicture(file);
        for (int request = 0; request < 5; ++request) {
            QelRect const part = random_.rectIn(picture->rect());
            QelRectBuffer buffer(random_.org(part.width, part.height, QelDataType::UChar, 3), part);
            op->compute(&buffer, 0);
            ASSERT_TRUE(showsPixels(buffer, part, pixelsOf(*picture)));
        }
    }
}

TEST_F(QelPictureReaderOpTest, PixelsOutsideThePictureStay) {
    std::string const file = write("picture.png", softPicture(20, 10, 1));
    QelRectBuffer buffer(QelRect(30, 0, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Reader const op = qelOpenPicture(file);
    op->compute(&buffer, 0);
    EXPECT_FALSE(buffer.isAllocated());
    EXPECT_EQ(0, op->decodedRows());
}

TEST_F(QelPictureReaderOpTest, LimitsAreCheckedAheadOfAnyAllocation) {
    struct Row {
        QelReadLimits limits;
        std::string text;
    };
    std::vector<Row> const table{
        {{.maxBytes = 300 * 200 * 3 - 1},
         "its 300 by 200 pixels of 3 bytes exceed the limit of 179999 bytes"},
        {{.maxBytes = 0}, "its 300 by 200 pixels of 3 bytes exceed the limit of 0 bytes"},
        {{.maxWidth = 299}, "its width is 300, the limit is 299"},
        {{.maxHeight = 199}, "its height is 200, the limit is 199"}};
    for (char const * const name : {"picture.png", "picture.jpg"}) {
        std::string const file = write(name, softPicture(300, 200, 3));
        for (Row const & row : table) {
            FaultySystem const memory;
            expectRaises(QelErrorCode::limitExceeded, "Cannot read " + file + ": " + row.text,
                         [&] { qelOpenPicture(file, row.limits); });
            EXPECT_EQ(0U, memory.allocations());
            EXPECT_EQ(0, memory.openFiles());
        }
        EXPECT_NO_THROW(
            qelOpenPicture(file, {.maxBytes = 300 * 200 * 3, .maxWidth = 300, .maxHeight = 200}));
    }
}

// A PNG of the declared size whose data is not there.
Bytes hugePng(std::uint32_t width, std::uint32_t height) {
    Bytes bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
    for (std::uint32_t const side : {width, height}) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<std::uint8_t>(side >> shift));
        }
    }
    bytes.insert(bytes.end(), {16, 6, 0, 0, 0, 0, 0, 0, 0});
    return bytes;
}

TEST_F(QelPictureReaderOpTest, DeclaredSizesOfAnyMagnitudeAreRefused) {
    struct Row {
        std::uint32_t width, height;
        char const * text;
    };
    for (Row const & row :
         {Row{4294967295U, 4294967295U, "its width is 4294967295, the limit is 1000000"},
          Row{2147483647, 1, "its width is 2147483647, the limit is 1000000"},
          Row{1000001, 1, "its width is 1000001, the limit is 1000000"},
          Row{1, 1000001, "its height is 1000001, the limit is 1000000"}}) {
        std::string const file = writeBytes("huge.png", hugePng(row.width, row.height));
        FaultySystem const memory;
        expectRaises(QelErrorCode::limitExceeded, "Cannot read " + file + ": " + row.text,
                     [&] { qelOpenPicture(file); });
        EXPECT_EQ(0U, memory.allocations());
    }
}

TEST_F(QelPictureReaderOpTest, FailuresStay) {
    std::string const file = write("picture.png", softPicture(100, 100, 3));
    Bytes bytes = contentOf(file);
    bytes.resize(bytes.size() / 2);
    writeBytes("picture.png", bytes);
    Reader const op = qelOpenPicture(file);
    QelRectBuffer bottom(QelRect(0, 99, 1, 1), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    for (int attempt = 0; attempt < 2; ++attempt) {
        expectRaises(QelErrorCode::invalidValue,
                     "Cannot read " + file + ": the file ends too early",
                     [&] { op->compute(&bottom, 0); });
    }
}

TEST_F(QelPictureReaderOpTest, FileThatShrinksMeanwhileIsAnError) {
    // Larger than one chunk of reading.
    std::string const file =
        write("picture.png", randomPicture(random_, 400, 300, 3, QelDataType::UChar));
    Reader const op = qelOpenPicture(file);
    std::filesystem::resize_file(file, 5000);
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": the file ends too early",
                 [&] { op->genResult(); });
}

TEST_F(QelPictureReaderOpTest, FileThatIsReplacedMeanwhileIsReadToItsEnd) {
    MoxSmartPtr<QelRectBuffer> const picture =
        randomPicture(random_, 400, 300, 3, QelDataType::UChar);
    std::string const file = write("picture.png", picture);
    Reader const op = qelOpenPicture(file);
    write("picture.png", softPicture(10, 10, 1));
    MoxSmartPtr<QelRectBuffer> const result = op->genResult();
    EXPECT_TRUE(showsPixels(*result, result->rect(), pixelsOf(*picture)));
}

TEST_F(QelPictureReaderOpTest, ErrorsOfTheSystemAreTold) {
    for (char const * const name : {"picture.png", "picture.jpg"}) {
        std::string const file =
            write(name, randomPicture(random_, 400, 300, 3, QelDataType::UChar));
        std::uint64_t reads = 0;
        {
            FaultySystem system;
            readPicture(file);
            reads = system.fileCalls(FaultySystem::READ);
        }
        ASSERT_GT(reads, 3U);
        for (std::uint64_t n = 1; n <= reads; ++n) {
            FaultySystem system;
            system.failFile(FaultySystem::READ, n, EIO);
            expectRaises(QelErrorCode::invalidValue, "Cannot read " + file + ": Input/output error",
                         [&] { readPicture(file); });
            EXPECT_EQ(0, system.openFiles()) << "read " << n;
            EXPECT_EQ(0U, system.liveAllocations()) << "read " << n;
        }
        FaultySystem system;
        system.failFile(FaultySystem::OPEN, 1, EMFILE);
        expectRefused(file, "Too many open files");
    }
}

TEST_F(QelPictureReaderOpTest, ReadsThatGiveLittleAtATimeAreEnough) {
    MoxSmartPtr<QelRectBuffer> const picture =
        randomPicture(random_, 50, 40, 3, QelDataType::UChar);
    std::string const png = write("picture.png", picture);
    std::string const jpeg = write("picture.jpg", picture);
    MoxSmartPtr<QelRectBuffer> const expected = readPicture(jpeg);
    FaultySystem system;
    system.limitTransfers(3);
    MoxSmartPtr<QelRectBuffer> const fromPng = readPicture(png);
    EXPECT_TRUE(showsPixels(*fromPng, fromPng->rect(), pixelsOf(*picture)));
    MoxSmartPtr<QelRectBuffer> const fromJpeg = readPicture(jpeg);
    EXPECT_TRUE(showsPixels(*fromJpeg, fromJpeg->rect(), pixelsOf(*expected)));
}

TEST_F(QelPictureReaderOpTest, LackOfMemoryCanBeOvercome) {
    std::string const file = write("picture.png", softPicture(100, 100, 3));
    Reader const op = qelOpenPicture(file);
    QelRectBuffer part(QelRect(0, 0, 9, 9), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    part.allocate();
    {
        FaultySystem system;
        system.failAllocation(1);
        std::optional<ZanError> const error = errorOf([&] { op->compute(&part, 0); });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    }
    EXPECT_NO_THROW(op->compute(&part, 0));
}

TEST_F(QelPictureReaderOpTest, ClosesItsFileWithTheLastRow) {
    std::string const file = write("picture.png", softPicture(100, 100, 3));
    FaultySystem const system;
    Reader const op = qelOpenPicture(file);
    EXPECT_EQ(1, system.openFiles());
    op->genResult();
    EXPECT_EQ(0, system.openFiles());
}

}  // namespace

#include "QelPictureWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "ClientTesting.h"

namespace {

namespace fs = std::filesystem;

class QelPictureWriterTest : public testing::Test {
  protected:
    std::string file(std::string const & name) const { return folder_.file(name); }
    void expectRefused(std::string const & name, std::string const & reason,
                       std::function<void()> const & action) {
        expectRaises(QelErrorCode::invalidValue, "Cannot write " + name + ": " + reason, action);
    }
    static unsigned permissionsOf(std::string const & name) {
        struct stat there {};
        EXPECT_EQ(0, ::stat(name.c_str(), &there)) << name;
        return there.st_mode & 07777U;
    }

    TemporaryFolder folder_;
};

MoxSmartPtr<Qel2DImage> testCard() {
    return new Qel2DImage(new QelTestCardOp(300, 200));
}

MoxSmartPtr<Qel2DImage> imageOfType(int bands, QelDataType type) {
    return new Qel2DImage(
        new GradientOp({.width = 30, .height = 20, .bands = bands, .type = type}));
}

TEST_F(QelPictureWriterTest, NameChoosesTheFormat) {
    for (char const * const name : {"a.png", "A.PNG", "dir.jpg/a.Png", "a.jpg.png"}) {
        EXPECT_STREQ("PNG", QelPictureWriter(name).formatName()) << name;
    }
    for (char const * const name : {"a.jpg", "a.JPG", "a.jpeg", "a.JpEg"}) {
        EXPECT_STREQ("JPEG", QelPictureWriter(name).formatName()) << name;
    }
    for (char const * const name : {"", "a", "a.tif", "png", "a.png.", "a.png "}) {
        expectRefused(name, "its name must end in .png, .jpg or .jpeg",
                      [&] { QelPictureWriter writer(name); });
    }
}

TEST_F(QelPictureWriterTest, RefusesOptionsOutOfRange) {
    expectRefused("a.jpg", "the JPEG quality is 0, it must lie between 1 and 100",
                  [] { QelPictureWriter writer("a.jpg", {.jpegQuality = 0}); });
    expectRefused("a.jpg", "the JPEG quality is 101, it must lie between 1 and 100",
                  [] { QelPictureWriter writer("a.jpg", {.jpegQuality = 101}); });
    expectRefused("a.png", "the PNG compression is -1, it must lie between 0 and 9",
                  [] { QelPictureWriter writer("a.png", {.pngCompression = -1}); });
    expectRefused("a.png", "the PNG compression is 10, it must lie between 0 and 9",
                  [] { QelPictureWriter writer("a.png", {.pngCompression = 10}); });
}

TEST_F(QelPictureWriterTest, RefusesResolutionsThatAreNotPerLength) {
    QelResolution const perSecond(300, QEL_UNIT_SECOND);
    QelResolution const perInch(300, QEL_UNIT_INCH);
    auto const make = [](char const * name, QelResolution const & horz,
                         QelResolution const & vert) {
        QelWriteOptions options;
        options.horzResolution = horz;
        options.vertResolution = vert;
        QelPictureWriter writer(name, options);
    };
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)",
                 [&] { make("a.jpg", perInch, perSecond); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit meters (id = 5)",
                 [&] { make("a.png", perSecond, perInch); });
    expectRaises(QelErrorCode::unsuitableResolution,
                 "cannot convert resolution object with no dpu info",
                 [&] { make("a.png", perInch, QelResolution::ofPixels(300)); });
    // Nothing is said, so nothing is wrong.
    make("a.png", perSecond, QelResolution());
}

TEST_F(QelPictureWriterTest, RefusesElementsAheadOfWriting) {
    struct Row {
        char const * name;
        int bands;
        QelDataType type;
        char const * reason;
    };
    constexpr char const * jpeg = "a JPEG file takes 1 or 3 bands of unsigned char, the image has ";
    constexpr char const * png =
        "a PNG file takes 1 to 4 bands of unsigned char or unsigned short, the image has ";
    for (Row const & row : {Row{"a.jpg", 2, QelDataType::UChar, "2 of unsigned char"},
                            Row{"a.jpg", 4, QelDataType::UChar, "4 of unsigned char"},
                            Row{"a.jpg", 3, QelDataType::UShort, "3 of unsigned short"},
                            Row{"a.png", 5, QelDataType::UChar, "5 of unsigned char"},
                            Row{"a.png", 3, QelDataType::Float, "3 of float"},
                            Row{"a.png", 1, QelDataType::Short, "1 of short"}}) {
        std::string const name = file(row.name);
        MoxSmartPtr<Qel2DImage> const image = imageOfType(row.bands, row.type);
        std::string const start = name.back() == 'g' && name[name.size() - 2] == 'p' ? jpeg : png;
        expectRefused(name, start + row.reason, [&] { QelPictureWriter(name).write(*image); });
        EXPECT_EQ(0, image->statistics().tilesComputed);
    }
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

TEST_F(QelPictureWriterTest, RefusesRegionsThatLeaveTheImage) {
    std::string const name = file("a.png");
    MoxSmartPtr<Qel2DImage> const image = testCard();
    struct Row {
        QelRect region;
        char const * text;
    };
    for (Row const & row :
         {Row{QelRect(-1, 0, 10, 10), "(-1,0,10,10)"}, Row{QelRect(295, 0, 6, 10), "(295,0,6,10)"},
          Row{QelRect(0, 200, 10, 10), "(0,200,10,10)"},
          Row{QelRect(2147483647, 0, 2147483647, 10), "(2147483647,0,2147483647,10)"},
          Row{QelRect(0, 0, 0, 10), "[empty]"}}) {
        expectRefused(name,
                      "the region " + std::string(row.text) +
                          " does not lie in the image, which is (0,0,300,200)",
                      [&] { QelPictureWriter(name).write(*image, row.region); });
    }
    EXPECT_EQ(0, image->statistics().tilesComputed);
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

TEST_F(QelPictureWriterTest, RefusesJpegsThatAreTooLarge) {
    std::string const name = file("a.jpg");
    Qel2DImage image(new QelTestCardOp(65501, 3));
    expectRefused(name, "a JPEG file takes 65500 pixels a side, the region has 65501 by 3",
                  [&] { QelPictureWriter(name).write(image); });
    EXPECT_NO_THROW(QelPictureWriter(name).write(image, QelRect(1, 0, 65500, 3)));
}

TEST_F(QelPictureWriterTest, RefusesAnImageWithNothingToComputeWith) {
    std::string const name = file("a.png");
    MoxSmartPtr<QelDataOrg> const org =
        new QelSimpleDataOrg(64, 64, QelDataType::UChar, 3, PIXEL_INTERLEAVED);
    Qel2DImage image(QelTileId(-1, -1, 90, 90), org, 90, 90, nullptr);
    expectRefused(name, "the image has nothing to compute with",
                  [&] { QelPictureWriter(name).write(image); });
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

TEST_F(QelPictureWriterTest, RefusesTargetsThatAreNoFiles) {
    fs::create_directory(file("folder.png"));
    expectRefused(file("folder.png"), "Is a directory",
                  [&] { QelPictureWriter(file("folder.png")).write(*testCard()); });
    ASSERT_EQ(0, ::mkfifo(file("pipe.png").c_str(), 0600));
    expectRefused(file("pipe.png"), "it is not a regular file",
                  [&] { QelPictureWriter(file("pipe.png")).write(*testCard()); });
    expectRefused(file("no/folder.png"), "No such file or directory",
                  [&] { QelPictureWriter(file("no/folder.png")).write(*testCard()); });
    EXPECT_EQ((std::vector<std::string>{"folder.png", "pipe.png"}), folder_.names());
}

TEST_F(QelPictureWriterTest, WritesRegionsOfAnyPosition) {
    Random random(20240113);
    MoxSmartPtr<QelRectBuffer> const whole = allOf(*testCard());
    for (int round = 0; round < 30; ++round) {
        TileSize const tiles(random.between(1, 90), random.between(1, 90));
        QelRect const region = random.rectIn(whole->rect());
        QelPictureWriter(file("a.png")).write(*testCard(), region);
        MoxSmartPtr<QelRectBuffer> const found = readPicture(file("a.png"));
        ASSERT_EQ(QelRect(0, 0, region.width, region.height), found->rect());
        ASSERT_TRUE(showsPixels(*found->translated(region.x, region.y), region, pixelsOf(*whole)));
    }
}

TEST_F(QelPictureWriterTest, ReplacesTheFileThatItIsReading) {
    QelPictureWriter(file("a.png")).write(*testCard());
    Qel2DImage inverted(new QelInvertOp(new Qel2DImage(qelOpenPicture(file("a.png")))));
    QelPictureWriter(file("a.png")).write(inverted);
    MoxSmartPtr<QelRectBuffer> const found = readPicture(file("a.png"));
    MoxSmartPtr<QelRectBuffer> const card = allOf(*testCard());
    EXPECT_TRUE(showsPixels(*found, found->rect(), [&](std::int32_t x, std::int32_t y, int band) {
        return 255 - elementAt(*card, x, y, band);
    }));
    EXPECT_EQ(std::vector<std::string>{"a.png"}, folder_.names());
}

TEST_F(QelPictureWriterTest, NewFilesHonourTheUmask) {
    ::mode_t const before = ::umask(027);
    QelPictureWriter(file("a.png")).write(*testCard());
    ::umask(before);
    EXPECT_EQ(0640U, permissionsOf(file("a.png")));
}

TEST_F(QelPictureWriterTest, ReplacedFilesKeepTheirPermissions) {
    for (unsigned const mode : {0600U, 0666U, 0755U, 0444U}) {
        setContent(file("a.png"), {1, 2, 3});
        ASSERT_EQ(0, ::chmod(file("a.png").c_str(), mode));
        QelPictureWriter(file("a.png")).write(*testCard());
        EXPECT_EQ(mode, permissionsOf(file("a.png")));
        fs::remove(file("a.png"));
    }
}

TEST_F(QelPictureWriterTest, PrivateFilesArePrivateWhileTheyAreWritten) {
    setContent(file("a.png"), {1, 2, 3});
    ASSERT_EQ(0, ::chmod(file("a.png").c_str(), 0600));
    unsigned seen = 0;
    Qel2DImage image(
        new GradientOp({.width = 1, .height = 1, .bands = 1}, [&](std::int32_t, std::int32_t, int) {
            EXPECT_EQ(2U, folder_.names().size());
            for (std::string const & name : folder_.names())
                seen |= permissionsOf(file(name));
            return 0.0;
        }));
    ::mode_t const before = ::umask(0);
    QelPictureWriter(file("a.png")).write(image);
    ::umask(before);
    EXPECT_EQ(0600U, seen);
}

TEST_F(QelPictureWriterTest, SymbolicLinksStay) {
    fs::create_directory(file("elsewhere"));
    setContent(file("elsewhere/real.png"), {1, 2, 3});
    fs::create_symlink("elsewhere/real.png", file("a.png"));
    QelPictureWriter(file("a.png")).write(*testCard());
    EXPECT_TRUE(fs::is_symlink(file("a.png")));
    EXPECT_EQ(300, qelOpenPicture(file("elsewhere/real.png"))->width());
    EXPECT_EQ((std::vector<std::string>{"a.png", "elsewhere"}), folder_.names());
}

TEST_F(QelPictureWriterTest, NamesAsLongAsTheyMayBe) {
    std::string const name = std::string(251, 'n') + ".png";
    QelPictureWriter(file(name)).write(*testCard());
    EXPECT_EQ(std::vector<std::string>{name}, folder_.names());
}

TEST_F(QelPictureWriterTest, CancelledWritesLeaveNoTrace) {
    std::atomic<bool> cancelled{false};
    setContent(file("a.png"), {1, 2, 3});
    // The first tile asked for cancels, so that the second strip is not begun.
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(
        new GradientOp({.width = 200, .height = 400}, [&](std::int32_t, std::int32_t, int) {
            cancelled = true;
            return 0.0;
        }));
    QelPictureWriter const writer(file("a.png"), {.cancelled = &cancelled});
    expectRaises(QelErrorCode::cancelled, "Cannot write " + file("a.png") + ": cancelled",
                 [&] { writer.write(*image); });
    EXPECT_EQ(2, image->statistics().tilesComputed);
    EXPECT_EQ((Bytes{1, 2, 3}), contentOf(file("a.png")));
    EXPECT_EQ(std::vector<std::string>{"a.png"}, folder_.names());
}

TEST_F(QelPictureWriterTest, QualityAndCompressionMatter) {
    MoxSmartPtr<Qel2DImage> const image = testCard();
    auto const size = [&](char const * name, QelWriteOptions const & options) {
        QelPictureWriter(file(name), options).write(*image);
        return fs::file_size(file(name));
    };
    EXPECT_LT(size("a.jpg", {.jpegQuality = 40}), size("a.jpg", {.jpegQuality = 95}));
    EXPECT_LT(size("a.png", {.pngCompression = 9}), size("a.png", {.pngCompression = 0}));
}

TEST_F(QelPictureWriterTest, JpegKeepsColoursAtFullResolution) {
    // Coloured stripes of one pixel: half the resolution would mix them.
    auto const stripes = [](std::int32_t x, std::int32_t, int band) {
        return (x % 2 == 0) == (band == 0) ? 200.0 : 60.0;
    };
    Qel2DImage image(new GradientOp({.width = 64, .height = 16}, stripes));
    QelPictureWriter(file("a.jpg"), {.jpegQuality = 100}).write(image);
    MoxSmartPtr<QelRectBuffer> const found = readPicture(file("a.jpg"));
    for (std::int32_t x = 0; x < 64; ++x) {
        EXPECT_NEAR(stripes(x, 8, 0), elementAt(*found, x, 8, 0), 6) << x;
        EXPECT_NEAR(stripes(x, 8, 2), elementAt(*found, x, 8, 2), 6) << x;
    }
}

}  // namespace

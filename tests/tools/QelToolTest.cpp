// The command line tool, run as a user runs it.

#include <sys/stat.h>
#include <csignal>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <sstream>
#include <thread>

#include "ToolTesting.h"

namespace {

TEST_F(QelToolTest, VersionAndHelp) {
    Outcome const version = run({"--version"});
    EXPECT_EQ(0, version.code);
    EXPECT_EQ("qel " QEL_VERSION "\n", version.out);
    for (std::vector<std::string> const & arguments :
         std::vector<std::vector<std::string>>{{"--help"},
                                               {"colours", "--help"},
                                               {"convert", "--help"},
                                               {"graph", "--help"},
                                               {"info", "--help"},
                                               {"ops", "--help"},
                                               {"space", "--help"}}) {
        Outcome const help = run(arguments);
        EXPECT_EQ(0, help.code);
        EXPECT_EQ("", help.err);
        EXPECT_NE(std::string::npos, help.out.find("Usage: qel")) << help.out;
    }
    std::string const help = run({"convert", "--help"}).out;
    for (char const * const word : {"IN", "OUT", "OP", "--region", "X,Y,W,H", "--tile", "WxH",
                                    "--stats", "--max-bytes", "--memory-limit", "BYTES"}) {
        EXPECT_NE(std::string::npos, help.find(word)) << word;
    }
}

TEST_F(QelToolTest, OpsTellsParametersWithTypesDefaultsAndRanges) {
    Outcome const outcome = run({"ops"});
    EXPECT_EQ(0, outcome.code);
    for (char const * const line :
         {"blur\n",
          "convolve\n    weighted sum of the pixels around each pixel\n    kernel: list of ",
          "invert\n", "linear\n", "sharpen\n",
          "    gain: number from -1000000 to 1000000, default 1; contrast factor\n",
          "    offset: number from -1000000 to 1000000, default 0; added after the gain, in pixel "
          "values\n",
          "    radius: integer from 1 to 64; radius of the blur, in pixels\n",
          "    radius: integer from 1 to 64; radius in pixels of the blur that is subtracted from "
          "twice the pixel\n",
          "    kernel: list of numbers from -1000000 to 1000000; weights of a square around "
          "each pixel, row by row, such as 9 or 25\n"}) {
        EXPECT_NE(std::string::npos, outcome.out.find(line)) << line;
    }
}

TEST_F(QelToolTest, InfoTellsWhatThereIs) {
    Random random(20240114);
    Qel2DImage image(randomPicture(random, 200, 100, 4, QelDataType::UShort).get());
    QelPictureWriter(file("a.png")).write(image);
    Outcome const outcome = run({"info", file("a.png")});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ("picture:            " + file("a.png") +
                  "\nformat:             PNG\n"
                  "size:               200 x 100 pixels\n"
                  "bands:              4\n"
                  "type:               unsigned short\n"
                  "colour space:       RGBA (QelRGBAColorSpace), 0 to 65535\n"
                  "tiles:              2 x 1 of 128 x 128 pixels\n"
                  "data organisation:  "
                  "SimpleDataOrg[0,0,128,128,8,1024,l=PIXEL_INTERLEAVED,0,2,4,6]\n"
                  "bytes:              160000\n"
                  "resolution:         not known\n",
              outcome.out);
}

TEST_F(QelToolTest, ConvertsTheTestCard) {
    expectDone({"convert", "@testcard", file("a.png")});
    expectDone({"convert", "@testcard:70x50", file("b.png")});
    EXPECT_EQ(QelRect(0, 0, 1024, 768), readPicture(file("a.png"))->rect());
    MoxSmartPtr<QelRectBuffer> const found = readPicture(file("b.png"));
    Qel2DImage card(new QelTestCardOp(70, 50));
    EXPECT_TRUE(showsPixels(*found, QelRect(0, 0, 70, 50), pixelsOf(*allOf(card))));
}

TEST_F(QelToolTest, InvertingTwiceGivesThePixelsBack) {
    expectDone({"convert", "@testcard:300x200", file("a.jpg")});
    expectDone({"convert", file("a.jpg"), file("plain.png")});
    expectDone({"convert", file("a.jpg"), file("twice.png"), "invert", "invert"});
    EXPECT_EQ(contentOf(file("plain.png")), contentOf(file("twice.png")));
    expectDone({"convert", file("a.jpg"), file("once.png"), "invert"});
    EXPECT_NE(contentOf(file("plain.png")), contentOf(file("once.png")));
}

TEST_F(QelToolTest, AppliesOperationsInTheirOrder) {
    expectDone({"convert", "@testcard:300x200", file("a.png"), "linear:gain=2,offset=-50", "invert",
                "blur"});
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(new QelTestCardOp(300, 200));
    image = new Qel2DImage(new QelLinearOp(image, 2, -50));
    image = new Qel2DImage(new QelInvertOp(image));
    image = new Qel2DImage(new QelBlurOp(image));
    MoxSmartPtr<QelRectBuffer> const found = readPicture(file("a.png"));
    EXPECT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*allOf(*image))));
}

TEST_F(QelToolTest, BlursAndSharpensByARadiusOrAKernel) {
    struct Row {
        char const * op;
        std::function<QelImageOp *(MoxSmartPtr<Qel2DImage>)> make;
    };
    QelConvolutionKernel const kernel({0, -1, 0, -1, 5, -1, 0, -1, 0});
    for (Row const & row : std::vector<Row>{
             {"blur:radius=3", [](auto input) { return new QelBlurOp(input, 3); }},
             {"blur:radius=64", [](auto input) { return new QelBlurOp(input, 64); }},
             {"convolve:kernel=0:-1:0:-1:5:-1:0:-1:0",
              [&](auto input) { return new QelConvolveOp(input, kernel); }},
             {"sharpen:radius=2", [](auto input) { return new QelSharpenOp(input, 2); }},
             {"sharpen:kernel=0:-1:0:-1:5:-1:0:-1:0",
              [&](auto input) { return new QelSharpenOp(input, kernel); }}}) {
        SCOPED_TRACE(row.op);
        expectDone({"convert", "@testcard:300x200", file("a.png"), row.op});
        Qel2DImage image(row.make(new Qel2DImage(new QelTestCardOp(300, 200))));
        MoxSmartPtr<QelRectBuffer> const found = readPicture(file("a.png"));
        EXPECT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*allOf(image))));
    }
}

TEST_F(QelToolTest, InAndOutMayBeTheSameFile) {
    expectDone({"convert", "@testcard:300x200", file("a.png")});
    MoxSmartPtr<QelRectBuffer> const before = readPicture(file("a.png"));
    expectDone({"convert", file("a.png"), file("a.png"), "invert"});
    MoxSmartPtr<QelRectBuffer> const after = readPicture(file("a.png"));
    EXPECT_TRUE(showsPixels(*after, after->rect(), [&](std::int32_t x, std::int32_t y, int band) {
        return 255 - elementAt(*before, x, y, band);
    }));
    EXPECT_EQ(std::vector<std::string>{"a.png"}, folder_.names());
}

TEST_F(QelToolTest, RegionIsThePartOfTheWholeResult) {
    expectDone({"convert", "@testcard:400x300", file("whole.png"), "sharpen", "blur"});
    expectDone({"convert", "@testcard:400x300", file("part.png"), "sharpen", "blur", "--region",
                "120,0,150,140"});
    MoxSmartPtr<QelRectBuffer> const whole = readPicture(file("whole.png"));
    MoxSmartPtr<QelRectBuffer> const part = readPicture(file("part.png"))->translated(120, 0);
    EXPECT_TRUE(showsPixels(*part, QelRect(120, 0, 150, 140), pixelsOf(*whole)));
}

TEST_F(QelToolTest, TileSizeChangesNoPixel) {
    expectDone({"convert", "@testcard:400x300", file("a.png"), "sharpen", "linear:gain=0.7"});
    for (char const * const tile : {"16x16", "33x77", "8192x8192"}) {
        expectDone({"convert", "@testcard:400x300", file("b.png"), "sharpen", "linear:gain=0.7",
                    "--tile", tile});
        EXPECT_EQ(contentOf(file("a.png")), contentOf(file("b.png"))) << tile;
    }
}

// The four numbers of each image of the chain, and the peak.
struct Stats {
    std::vector<std::vector<std::int64_t>> images;
    std::int64_t peakBytes = 0;
};

Stats parseStats(std::string const & text) {
    Stats stats;
    std::istringstream in(text);
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(" tiles in grid  tiles computed  pixels computed  pixels copied  image", line);
    while (std::getline(in, line)) {
        std::string const peak = "peak bytes of pixel buffers: ";
        if (line.compare(0, peak.size(), peak) == 0) {
            stats.peakBytes = std::stoll(line.substr(peak.size()));
            continue;
        }
        std::istringstream fields(line);
        std::vector<std::int64_t> numbers(4);
        for (std::int64_t & number : numbers)
            fields >> number;
        EXPECT_TRUE(fields) << line;
        stats.images.push_back(numbers);
    }
    return stats;
}

TEST_F(QelToolTest, RegionOfALargePictureComputesAFewDozenTiles) {
    Outcome const outcome = run({"convert", "@testcard:10000x10000", file("a.png"), "linear:gain=2",
                                 "sharpen", "blur", "--region", "4000,4000,512,512", "--stats"});
    ASSERT_EQ(0, outcome.code) << outcome.err;
    Stats const stats = parseStats(outcome.out);
    ASSERT_EQ(4U, stats.images.size());
    for (auto const & image : stats.images) {
        EXPECT_EQ(79 * 79, image[0]);
        EXPECT_GE(image[1], 16);
        EXPECT_LE(image[1], 49);
        EXPECT_GE(image[2], 512 * 512);
        EXPECT_LE(image[2], 49 * 128 * 128);
    }
    EXPECT_EQ(512 * 512, stats.images[3][2]);
    EXPECT_GT(stats.peakBytes, 0);
    EXPECT_LT(stats.peakBytes, 8 << 20);
}

TEST_F(QelToolTest, PointOperationsNeedLittleMemory) {
    std::vector<std::string> arguments{"convert", "@testcard:4000x4000", file("a.png")};
    for (int i = 0; i < 5; ++i) {
        arguments.insert(arguments.end(), {"invert", "linear:gain=0.9"});
    }
    arguments.push_back("--stats");
    Outcome const outcome = run(arguments);
    ASSERT_EQ(0, outcome.code) << outcome.err;
    Stats const stats = parseStats(outcome.out);
    ASSERT_EQ(11U, stats.images.size());
    for (auto const & image : stats.images) {
        EXPECT_EQ(32 * 32, image[1]);
        EXPECT_EQ(4000 * 4000, image[2]);
        EXPECT_EQ(0, image[3]);
    }
    EXPECT_LT(stats.peakBytes, 8 << 20);
}

struct Recycled {
    std::int64_t bytes = -1;
    std::int64_t limit = -1;
    std::int64_t made = -1;
    std::int64_t reused = -1;
};

// What the last line tells about the manager.
Recycled parseRecycled(std::string const & text) {
    std::size_t const begin = text.rfind('\n', text.size() - 2) + 1;
    Recycled found;
    int end = 0;
    std::sscanf(text.c_str() + begin,
                "recycled memory: %" SCNd64 " bytes held, limit %" SCNd64 ", %" SCNd64
                " blocks made, %" SCNd64 " times reused\n%n",
                &found.bytes, &found.limit, &found.made, &found.reused, &end);
    EXPECT_EQ(text.size(), begin + static_cast<std::size_t>(end)) << text;
    return found;
}

TEST_F(QelToolTest, AMemoryLimitRecyclesMemoryAndChangesNoPixel) {
    std::vector<std::string> const plain{"convert", "@testcard:1500x1500", file("a.png"),
                                         "sharpen", "linear:gain=0.7",     "--stats"};
    Outcome const without = run(plain);
    EXPECT_EQ(std::string::npos, without.out.find("recycled")) << without.out;
    Bytes const expected = contentOf(file("a.png"));
    struct {
        std::string limit;
        std::int64_t bytes;
        bool reuses;
    } const cases[] = {{"1", 1, false},
                       {"64000000", 64000000, true},
                       {"64MB", 64000000, true},
                       {"64mib", 64 << 20, true},
                       {"64 kB", 64000, false}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.limit);
        std::vector<std::string> arguments = plain;
        arguments.insert(arguments.end(), {"--memory-limit", c.limit});
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ(expected, contentOf(file("a.png")));
        Recycled const found = parseRecycled(outcome.out);
        EXPECT_EQ(c.bytes, found.limit);
        EXPECT_GT(found.made, 0);
        if (c.reuses) {
            EXPECT_GT(found.reused, found.made);
            EXPECT_GT(found.bytes, 0);
        } else {
            EXPECT_LT(found.reused, found.made);
        }
    }
}

TEST_F(QelToolTest, AFailedConversionWithAMemoryLimitFailsAsWithout) {
    expectDone({"convert", "@testcard:300x200", file("a.png")});
    std::filesystem::resize_file(file("a.png"), std::filesystem::file_size(file("a.png")) / 2);
    expectFailed(
        1, "Cannot read " + file("a.png") + ": the file ends too early",
        {"convert", file("a.png"), file("b.png"), "sharpen", "--memory-limit", "64MB", "--stats"});
}

TEST_F(QelToolTest, MemoryLimitsThatCannotBeUnderstood) {
    for (std::string const limit : {"0", "0MB", "x", "-1", "1.5MB", "5zb", "MB", "1MB2", " 1",
                                    "99999999999999999999", "99999999999999999999MB", "20EB"}) {
        SCOPED_TRACE(limit);
        expectFailed(2,
                     "--memory-limit is \"" + limit +
                         "\", it must be a number of bytes of at least 1, as in 64000000, 64MB "
                         "or 64MiB",
                     {"convert", "@testcard", file("a.png"), "--memory-limit=" + limit});
    }
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

struct BadLine {
    std::vector<std::string> arguments;
    std::string line;
};

TEST_F(QelToolTest, CommandLinesThatCannotBeUnderstood) {
    std::string const out = file("a.png");
    for (BadLine const & row : std::vector<BadLine>{
             {{}, "A subcommand is required"},
             {{"convert"}, "IN is required"},
             {{"convert", "@testcard"}, "OUT is required"},
             {{"info"}, "IN is required"},
             {{"convert", "@testcard", out, "--nothing"},
              "The following argument was not expected: --nothing"},
             {{"convert", "@testcard", out, "inverse"},
              "There is no operation \"inverse\"; there are blur, convolve, invert, linear and "
              "sharpen"},
             {{"convert", "@testcard", out, "linear:scale=1"},
              "The operation linear has no parameter \"scale\"; it has gain and offset"},
             {{"convert", "@testcard", out, "linear:gain=2000000"},
              "The value of linear:gain is 2000000, it must lie between -1000000 and 1000000"},
             // The input that is not there shows that no file is opened ahead of these.
             {{"convert", file("none.png"), out, "blur:radius=65"},
              "The value of blur:radius is 65, it must lie between 1 and 64"},
             {{"convert", file("none.png"), out, "blur:radius=1.5"},
              "The value of blur:radius is \"1.5\", it must be an integer"},
             {{"convert", file("none.png"), out, "sharpen:kernel=1:2"},
              "A kernel of 2 weights is impossible; their number must be 1, 9, 25 or another "
              "square of an odd number up to 129"},
             {{"convert", file("none.png"), out, "sharpen:kernel=1:x:3"},
              "The value of sharpen:kernel is \"x\", it must be a number"},
             {{"convert", file("none.png"), out, "blur:radius=2,kernel=1"},
              "The operation blur takes a radius or a kernel, not both"},
             {{"convert", file("none.png"), out, "convolve"},
              "The operation convolve needs a kernel"},
             {{"convert", file("none.png"), out, "convolve:radius=2"},
              "The operation convolve has no parameter \"radius\"; it has kernel"}}) {
        SCOPED_TRACE(row.line);
        expectFailed(2, row.line, row.arguments);
    }
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

TEST_F(QelToolTest, PlacesAndSizesThatCannotBeUnderstood) {
    std::string const out = file("a.png");
    for (BadLine const & row : std::vector<BadLine>{
             {{"convert", "@testcard", out, "--region", "1,2,3"},
              "--region is \"1,2,3\", it must be X,Y,W,H, each in whole pixels or as a value with "
              "a unit such as 2.5 centimeters, with W and H above 0"},
             {{"convert", "@testcard", out, "--region", "1,2,3,4,"},
              "--region is \"1,2,3,4,\", it must be X,Y,W,H, each in whole pixels or as a value "
              "with a unit such as 2.5 centimeters, with W and H above 0"},
             {{"convert", "@testcard", out, "--region", "1,2,0,4"},
              "--region is \"1,2,0,4\", it must be X,Y,W,H, each in whole pixels or as a value "
              "with a unit such as 2.5 centimeters, with W and H above 0"},
             {{"convert", "@testcard", out, "--region", "1,2,3,99999999999"},
              "--region is \"1,2,3,99999999999\", it must be X,Y,W,H, each in whole pixels or as a "
              "value with a unit such as 2.5 centimeters, with W and H above 0"},
             {{"convert", "@testcard", out, "--region", ""},
              "--region is \"\", it must be X,Y,W,H, each in whole pixels or as a value with a "
              "unit such as 2.5 centimeters, with W and H above 0"},
             {{"info", "@testcard", "--region", ""},
              "--region is \"\", it must be X,Y,W,H, each in whole pixels or as a value with a "
              "unit such as 2.5 centimeters, with W and H above 0"},
             {{"convert", "@testcard", out, "--tile", ""},
              "--tile is \"\", it must be WxH, with both from 16 to 8192"},
             {{"space", "--size", "2 inches", "1 inch", "--convert", ""},
              "--convert is \"\", it must be a number and a unit, as in \"2.5 centimeters\"; \"qel "
              "space --list-units\" lists the units"},
             {{"convert", "@testcard", out, "--tile", "15x16"},
              "--tile is \"15x16\", it must be WxH, with both from 16 to 8192"},
             {{"convert", "@testcard", out, "--tile", "16"},
              "--tile is \"16\", it must be WxH, with both from 16 to 8192"},
             {{"convert", "@testcard:10", out},
              "The size of the test card is \"10\", it must be WxH, with both from 1 to 1000000"},
             {{"convert", "@photo", out},
              "There is no built-in picture \"@photo\"; there are @testcard and @testcard:WxH"}}) {
        SCOPED_TRACE(row.line);
        expectFailed(2, row.line, row.arguments);
    }
    EXPECT_EQ(std::vector<std::string>(), folder_.names());
}

TEST_F(QelToolTest, FailuresAreOneLine) {
    setContent(file("text.png"), Bytes(100, 'x'));
    std::string const missing = file("missing.png");
    std::string const lines = file("two\nlines.png");
    expectFailed(1, "Cannot read " + missing + ": No such file or directory",
                 {"convert", missing, file("a.png")});
    expectFailed(1, "Cannot read " + folder_.path() + "/two; lines.png: No such file or directory",
                 {"info", lines});
    expectFailed(1, "Cannot read " + file("text.png") + ": it is neither a JPEG nor a PNG file",
                 {"info", file("text.png")});
    expectFailed(1, "Cannot write " + file("a.tif") + ": its name must end in .png, .jpg or .jpeg",
                 {"convert", "@testcard", file("a.tif")});
    expectFailed(1, "Cannot write " + file("no/a.png") + ": No such file or directory",
                 {"convert", "@testcard", file("no/a.png")});
    expectFailed(1,
                 "Cannot write " + file("a.png") +
                     ": the region (1000,0,25,10) does not lie in the image, which is "
                     "(0,0,1024,768)",
                 {"convert", "@testcard", file("a.png"), "--region", "1000,0,25,10"});
    EXPECT_EQ(std::vector<std::string>{"text.png"}, folder_.names());
}

TEST_F(QelToolTest, TooManyBytesAreRefused) {
    expectDone({"convert", "@testcard:300x200", file("a.jpg")});
    expectFailed(1,
                 "Cannot read " + file("a.jpg") +
                     ": its 300 by 200 pixels of 3 bytes exceed the limit of 179999 bytes",
                 {"convert", file("a.jpg"), file("b.png"), "--max-bytes", "179999"});
    expectDone({"convert", file("a.jpg"), file("b.png"), "--max-bytes", "180000"});
}

TEST_F(QelToolTest, DamagedInputLeavesTheOutputAlone) {
    expectDone({"convert", "@testcard:300x200", file("a.png")});
    std::filesystem::resize_file(file("a.png"), std::filesystem::file_size(file("a.png")) / 2);
    setContent(file("b.png"), {1, 2, 3});
    expectFailed(1, "Cannot read " + file("a.png") + ": the file ends too early",
                 {"convert", file("a.png"), file("b.png"), "sharpen"});
    EXPECT_EQ((Bytes{1, 2, 3}), contentOf(file("b.png")));
    EXPECT_EQ((std::vector<std::string>{"a.png", "b.png"}), folder_.names());
}

TEST_F(QelToolTest, FullStandardOutputIsAFailure) {
    Outcome const outcome = finish(start({"ops"}, "/dev/full"));
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ("qel: Cannot write to standard output\n", outcome.err);
}

TEST_F(QelToolTest, InterruptedRunsLeaveNoTrace) {
    for (int const signal : {SIGINT, SIGTERM}) {
        pid_t const child = start({"convert", "@testcard:20000x20000", file("a.png"), "blur"},
                                  scratch_.file("out"));
        // The temporary file shows that the tool is at work.
        while (folder_.names().empty())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_EQ(0, ::kill(child, signal));
        Outcome const outcome = finish(child);
        EXPECT_EQ(1, outcome.code);
        EXPECT_EQ("qel: Cannot write " + file("a.png") + ": cancelled\n", outcome.err);
        EXPECT_EQ(std::vector<std::string>(), folder_.names());
    }
}

}  // namespace

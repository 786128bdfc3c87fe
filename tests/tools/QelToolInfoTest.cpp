// What the command line tool tells about pictures: their colour spaces, and statistics.

#include <sstream>

#include "../QelClientLayer/JpegTesting.h"
#include "StatisticsReference.h"
#include "ToolTesting.h"

namespace {

class QelToolInfoTest : public QelToolTest {
  protected:
    std::string write(std::string const & name, MoxSmartPtr<QelRectBuffer> const & picture) {
        Qel2DImage image(picture.get());
        QelPictureWriter(file(name)).write(image);
        return file(name);
    }
    // What follows the blank line.
    std::string statisticsOf(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "info");
        arguments.push_back("--stats");
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.err);
        std::size_t const blank = outcome.out.find("\n\n");
        EXPECT_NE(std::string::npos, blank) << outcome.out;
        return blank == std::string::npos ? "" : outcome.out.substr(blank + 2);
    }
};

struct Line {
    std::string band;
    BandStatistics numbers;
};

std::vector<Line> parse(std::string const & table) {
    std::istringstream in(table);
    std::string line;
    std::getline(in, line);
    std::istringstream headings(line);
    std::string const expected[] = {"band", "minimum", "maximum", "mean", "standard", "deviation"};
    for (std::string const & word : expected) {
        std::string found;
        headings >> found;
        EXPECT_EQ(word, found);
    }
    std::vector<Line> lines;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        Line one;
        fields >> one.band >> one.numbers.minimum >> one.numbers.maximum >> one.numbers.mean >>
            one.numbers.standardDeviation;
        EXPECT_TRUE(fields && fields.eof()) << line;
        lines.push_back(one);
    }
    return lines;
}

void expectLines(std::vector<Line> const & expected, std::vector<Line> const & found) {
    ASSERT_EQ(expected.size(), found.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].band);
        EXPECT_EQ(expected[i].band, found[i].band);
        BandStatistics const & numbers = expected[i].numbers;
        EXPECT_EQ(numbers.minimum, found[i].numbers.minimum);
        EXPECT_EQ(numbers.maximum, found[i].numbers.maximum);
        // Ten digits are printed.
        EXPECT_NEAR(numbers.mean, found[i].numbers.mean, 1e-9 * numbers.mean);
        EXPECT_NEAR(numbers.standardDeviation, found[i].numbers.standardDeviation,
                    1e-9 * numbers.standardDeviation);
    }
}

std::vector<std::string> namesOf(int bands) {
    if (bands == 1) return {"luminance"};
    if (bands == 2) return {"luminance", "alpha"};
    if (bands == 3) return {"red", "green", "blue"};
    return {"red", "green", "blue", "alpha"};
}

// Pixel by pixel, from the numbers that were drawn.
std::vector<Line> linesOf(QelRectBuffer const & picture, QelRect const & region) {
    std::vector<Line> lines;
    for (std::string const & name : namesOf(picture.numBands()))
        lines.push_back({name, plainly(picture, region, static_cast<int>(lines.size()))});
    return lines;
}

std::string textOf(QelRect const & region) {
    std::ostringstream text;
    text << region.x << ',' << region.y << ',' << region.width << ',' << region.height;
    return text.str();
}

TEST_F(QelToolInfoTest, NamesTheColourSpace) {
    struct Row {
        int bands;
        QelDataType::Code type;
        char const * line;
    };
    for (Row const & row : {Row{1, QelDataType::UChar, "Lum (QelLumColorSpace), 0 to 255"},
                            Row{2, QelDataType::UChar, "LumA (QelLumAColorSpace), 0 to 255"},
                            Row{3, QelDataType::UChar, "RGB (QelRGBColorSpace), 0 to 255"},
                            Row{4, QelDataType::UChar, "RGBA (QelRGBAColorSpace), 0 to 255"},
                            Row{1, QelDataType::UShort, "Lum (QelLumColorSpace), 0 to 65535"},
                            Row{4, QelDataType::UShort, "RGBA (QelRGBAColorSpace), 0 to 65535"}}) {
        MoxSmartPtr<QelRectBuffer> const picture =
            new QelRectBuffer(5, 4, row.bands, PIXEL_INTERLEAVED, row.type);
        picture->allocate();
        fillPixels(*picture, picture->rect(), gradientAt);
        Outcome const outcome = run({"info", write("a.png", picture)});
        std::string const line = "\ncolour space:       " + std::string(row.line) + "\n";
        EXPECT_NE(std::string::npos, outcome.out.find(line)) << line << outcome.out;
    }
}

TEST_F(QelToolInfoTest, StatisticsFollowTheOtherLines) {
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(4, 1, 2, PIXEL_INTERLEAVED, QelDataType::UShort);
    picture->allocate();
    fillPixels(*picture, picture->rect(),
               [](std::int32_t x, auto, int band) { return band == 0 ? 1000 * x : 65535; });
    std::string const name = write("a.png", picture);
    Outcome const plain = run({"info", name});
    Outcome const outcome = run({"info", name, "--stats"});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ(plain.out +
                  "\n"
                  "band       minimum  maximum  mean   standard deviation\n"
                  "luminance  0        3000     1500   1118.033989\n"
                  "alpha      65535    65535    65535  0\n",
              outcome.out);
}

TEST_F(QelToolInfoTest, BandsWithoutANameAreNumbered) {
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(8, 8, 2, PIXEL_INTERLEAVED, QelDataType::UChar);
    picture->allocate();
    fillPixels(*picture, picture->rect(), [](auto, auto, int band) { return 50 * band; });
    setContent(file("a.jpg"), encoded(*picture, JCS_UNKNOWN, plain));
    Outcome const outcome = run({"info", file("a.jpg")});
    EXPECT_NE(std::string::npos,
              outcome.out.find("\ncolour space:       Generic (QelGenericColorSpace), 0 to 255\n"))
        << outcome.out;
    EXPECT_EQ(
        "band    minimum  maximum  mean  standard deviation\n"
        "band 0  0        0        0     0\n"
        "band 1  50       50       50    0\n",
        statisticsOf({file("a.jpg")}));
}

TEST_F(QelToolInfoTest, InksHaveTheirNames) {
    MoxSmartPtr<QelRectBuffer> const picture = softPicture(8, 8, 4);
    setContent(file("a.jpg"), encoded(*picture, JCS_CMYK, plain));
    std::vector<std::string> names;
    for (Line const & line : parse(statisticsOf({file("a.jpg")})))
        names.push_back(line.band);
    EXPECT_EQ((std::vector<std::string>{"C", "M", "Y", "K"}), names);
}

TEST_F(QelToolInfoTest, StatisticsOfTheTestCard) {
    Qel2DImage card(new QelTestCardOp(1024, 768));
    MoxSmartPtr<QelRectBuffer> const pixels = allOf(card);
    expectLines(linesOf(*pixels, pixels->rect()), parse(statisticsOf({"@testcard"})));
}

TEST_F(QelToolInfoTest, StatisticsAreThoseOfASlowReferenceWithAndWithoutARegion) {
    Random random(20261123);
    for (int round = 0; round < 24; ++round) {
        int const bands = 1 + round % 4;
        QelDataType const type = round % 8 < 4 ? QelDataType::UChar : QelDataType::UShort;
        MoxSmartPtr<QelRectBuffer> const picture =
            randomPicture(random, random.between(1, 300), random.between(1, 300), bands, type);
        std::string const name = write("a.png", picture);
        std::vector<std::string> arguments{name};
        QelRect region = picture->rect();
        if (round % 3 != 0) {
            region = random.rectIn(region);
            arguments.insert(arguments.end(), {"--region", textOf(region)});
        }
        SCOPED_TRACE(testing::Message() << bands << " bands of " << type.name() << ", "
                                        << picture->rect() << ", region " << region);
        expectLines(linesOf(*picture, region), parse(statisticsOf(arguments)));
    }
}

TEST_F(QelToolInfoTest, StatisticsTakeRegionsInUnits) {
    std::string const half =
        "0 normalized units,0.5 normalized units,0.5 normalized units,0.5 normalized units";
    EXPECT_EQ(statisticsOf({"@testcard:100x80", "--region", "0,40,50,40"}),
              statisticsOf({"@testcard:100x80", "--region", half}));
    EXPECT_NE(statisticsOf({"@testcard:100x80"}),
              statisticsOf({"@testcard:100x80", "--region", half}));
}

TEST_F(QelToolInfoTest, RegionsOutsideThePictureAreRefused) {
    expectFailed(1, "The region (1000,0,25,10) does not lie in the image, which is (0,0,1024,768)",
                 {"info", "@testcard", "--stats", "--region", "1000,0,25,10"});
    expectFailed(1, "The region (-1,0,25,10) does not lie in the image, which is (0,0,1024,768)",
                 {"info", "@testcard", "--stats", "--region", "-1,0,25,10"});
    expectFailed(1, "The region 2 normalized units,0,1,1 has no pixel of @testcard",
                 {"info", "@testcard", "--stats", "--region", "2 normalized units,0,1,1"});
}

TEST_F(QelToolInfoTest, DamagedPicturesGiveTheErrorAlone) {
    std::string const name = write("a.png", softPicture(300, 200, 3));
    std::filesystem::resize_file(name, std::filesystem::file_size(name) / 2);
    expectFailed(1, "Cannot read " + name + ": the file ends too early", {"info", name, "--stats"});
    // Only the header is looked at.
    EXPECT_EQ(0, run({"info", name}).code);
}

}  // namespace

// Units, spaces and regions of the command line tool.

#include <algorithm>

#include "ToolTesting.h"

namespace {

class QelToolUnitsTest : public QelToolTest {};

// A picture that says how many dots per unit it has.
void writeScan(std::string const & name, double horz, double vert, int unit) {
    Random random(20261120);
    Qel2DImage image(randomPicture(random, 300, 200, 3, QelDataType::UChar).get());
    QelWriteOptions options;
    options.horzResolution = QelResolution(horz, unit);
    options.vertResolution = QelResolution(vert, unit);
    QelPictureWriter(name, options).write(image);
}

TEST_F(QelToolUnitsTest, SpaceListsUnits) {
    Outcome const outcome = run({"space", "--list-units"});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    for (char const * const line :
         {"id  singular              plural                 standard unit         multiplier   "
          "tolerance\n",
          "\n0   arbitrary unit        arbitrary units        arbitrary unit                     "
          "1e-06\n",
          "\n13  arc second            arc seconds            radian                4.84814e-06  "
          "0.206265\n",
          "\n43  inch                  inches                 meter                 0.0254       "
          "3.93701e-05\n"}) {
        EXPECT_NE(std::string::npos, outcome.out.find(line)) << line;
    }
    EXPECT_EQ(25, std::count(outcome.out.begin(), outcome.out.end(), '\n'));
}

TEST_F(QelToolUnitsTest, SpaceTakesOneOrTwoDotsPerInch) {
    EXPECT_EQ("space:       2 inches by 1 inch, 200 by 50 pixels\n",
              run({"space", "--size", "2 inches", "1 inch", "--dpi", "100", "50"}).out);
    EXPECT_EQ("space:       2 inches by 1 inch, 200 by 100 pixels\n",
              run({"space", "--size", "2 inches", "1 inch", "--dpi", "100"}).out);
}

TEST_F(QelToolUnitsTest, SpaceRefusals) {
    expectFailed(2, "--size or --list-units is required", {"space"});
    expectFailed(2,
                 "--size is \"2\", it must be a number and a unit, as in \"2.5 centimeters\"; "
                 "\"qel space --list-units\" lists the units",
                 {"space", "--size", "2", "1 inch"});
    expectFailed(
        2,
        "--convert is \"2 furlongs\", it must be a number and a unit, as in \"2.5 "
        "centimeters\"; \"qel space --list-units\" lists the units",
        {"space", "--size", "20 inches", "10 inches", "--dpi", "10", "--convert", "2 furlongs"});
    expectFailed(2, "--dpi goes with a --size in inches or the like, not in pixels",
                 {"space", "--size", "20 pixels", "10 pixels", "--dpi", "10"});
    expectFailed(1, "Cannot create coordinate space with world-height = 0 inches",
                 {"space", "--size", "2 inches", "0 inches"});
}

TEST_F(QelToolUnitsTest, InfoTellsTheResolutionOfBothFormats) {
    writeScan(file("a.jpg"), 300, 150, QEL_UNIT_INCH);
    writeScan(file("b.jpg"), 40, 80, QEL_UNIT_CENTIMETER);
    writeScan(file("c.png"), 300, 150, QEL_UNIT_INCH);
    struct Row {
        char const * name;
        char const * line;
    };
    for (Row const & row :
         {Row{"a.jpg", "\nresolution:         300 x 150 dots per inch, 1 inch x 1.33333 inches\n"},
          Row{"b.jpg",
              "\nresolution:         40 x 80 dots per centimeter, 7.5 centimeters x 2.5 "
              "centimeters\n"},
          Row{"c.png",
              "\nresolution:         11811 x 5906 dots per meter, 0.0254001 meters x 0.0338639 "
              "meters\n"}}) {
        Outcome const outcome = run({"info", file(row.name)});
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_NE(std::string::npos, outcome.out.find(row.line)) << outcome.out;
    }
}

TEST_F(QelToolUnitsTest, ConvertKeepsTheResolution) {
    writeScan(file("a.jpg"), 300, 150, QEL_UNIT_INCH);
    expectDone({"convert", file("a.jpg"), file("b.png"), "invert"});
    expectDone({"convert", file("b.png"), file("c.jpg")});
    EXPECT_NE(std::string::npos, run({"info", file("c.jpg")}).out.find("300 x 150 dots per inch"));
}

TEST_F(QelToolUnitsTest, RegionsInUnitsAreThePixelsWhoseCentresTheyHave) {
    writeScan(file("a.png"), 100, 50, QEL_UNIT_CENTIMETER);
    struct Row {
        char const * region;
        char const * pixels;
    };
    // 3 by 4 centimeters.
    for (Row const & row :
         {Row{"1 centimeter,20 millimeters,0.01 meters,1 centimeter", "100,100,100,50"},
          Row{"0.25 normalized units,0.25 normalized units,0.5 normalized units,"
              "0.5 normalized units",
              "75,50,150,100"},
          Row{"0.5 width relative units,0 pixels,1 centimeter,10.5 pixels", "150,0,100,11"},
          Row{"2 centimeters,3 centimeters,50 centimeters,50 centimeters", "200,150,100,50"},
          Row{"-1 centimeters,-1 centimeters,2 centimeters,2 centimeters", "0,0,100,50"},
          Row{"10,20,30,40", "10,20,30,40"}, Row{"10 pixels,20 pixels,30,40", "10,20,30,40"}}) {
        Outcome const outcome = run({"info", file("a.png"), "--region", row.region});
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.err);
        EXPECT_NE(std::string::npos,
                  outcome.out.find("\nregion:             " + std::string(row.pixels) + "\n"))
            << row.region << " gave\n"
            << outcome.out;
    }
}

TEST_F(QelToolUnitsTest, ConvertTakesRegionsInUnits) {
    writeScan(file("a.png"), 100, 50, QEL_UNIT_CENTIMETER);
    expectDone({"convert", file("a.png"), file("units.png"), "blur", "--region",
                "1 centimeter,20 millimeters,0.01 meters,1 centimeter"});
    expectDone(
        {"convert", file("a.png"), file("pixels.png"), "blur", "--region", "100,100,100,50"});
    EXPECT_EQ(contentOf(file("pixels.png")), contentOf(file("units.png")));
}

TEST_F(QelToolUnitsTest, WithoutAResolutionItAssumes72DotsPerInchAndSaysSo) {
    Outcome const physical =
        run({"info", "@testcard", "--region", "1 inches,1 inches,2 inches,50 millimeters"});
    EXPECT_EQ(0, physical.code);
    EXPECT_EQ("qel: @testcard does not say its resolution; 72 dots per inch are assumed\n",
              physical.err);
    EXPECT_NE(std::string::npos, physical.out.find("\nregion:             72,72,144,142\n"));
    Outcome const relative =
        run({"info", "@testcard", "--region",
             "0 normalized units,0 normalized units,1 normalized units,1 normalized units"});
    EXPECT_EQ("", relative.err);
    EXPECT_NE(std::string::npos, relative.out.find("\nregion:             0,0,1024,768\n"));
}

TEST_F(QelToolUnitsTest, RegionsWithoutAPixelAreRefused) {
    writeScan(file("a.png"), 100, 50, QEL_UNIT_CENTIMETER);
    for (char const * const region :
         {"9 centimeters,1,1,1", "1 centimeter,1 centimeter,1 microns,1 centimeter"}) {
        std::string const line =
            "The region " + std::string(region) + " has no pixel of " + file("a.png");
        expectFailed(1, line, {"convert", file("a.png"), file("b.png"), "--region", region});
        expectFailed(1, line, {"info", file("a.png"), "--region", region});
    }
    expectFailed(1, "Cannot convert from unit seconds (id = 6) to unit meters (id = 5)",
                 {"convert", file("a.png"), file("b.png"), "--region", "1 seconds,1,1,1"});
    expectFailed(1, "Cannot convert from unit seconds (id = 6) to unit meters (id = 5)",
                 {"convert", file("a.png"), file("b.png"), "--region", "1 seconds,1 radians,1,1"});
}

}  // namespace

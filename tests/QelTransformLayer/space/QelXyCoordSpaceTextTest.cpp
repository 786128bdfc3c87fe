#include <limits>
#include <sstream>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// The text form.

namespace {

using Resolution = QelXyCoordSpace::Resolution;
using Pointer = MoxSmartPtr<QelXyCoordSpace>;

constexpr char const * badSpace = "Invalid QelXyCoordSpace value";
constexpr char const * badRow = "Invalid QelXyCoordSpace::Resolution";
constexpr char const * badUnit = "Bad unit for QelValue";

QelXyCoordSpace physical() {
    QelXyCoordSpace space(inches(1), inches(20));
    space.addResolution(1000, 2000);
    space.addResolution({QelResolution::ofPixels(500), {}});
    space.addResolution({{}, QelResolution::ofPixels(50)});
    space.selectResolution(500, 200);
    return space;
}

std::string textOf(QelXyCoordSpace const & space) {
    std::ostringstream out;
    out << space;
    return out.str();
}

// What stands in the texts below.
std::string const row = "QelXyCoordSpace::Resolution[";
std::string const two = "QelXyCoordSpace[w=10 inches,h=20 inches, " + row +
                        "100,200:10,10/inch], " + row + "50,0:5,0/inch]: sel=" + row +
                        "50,400:5,20/inch]]";

QelXyCoordSpace read(std::string const & text) {
    std::istringstream in(text);
    QelXyCoordSpace space(77, 77);
    in >> space;
    return space;
}

// ---- Writing

TEST(QelXyCoordSpaceTextTest, Writes) {
    EXPECT_EQ(
        "QelXyCoordSpace[w=1 inch, h=20 inches, QelXyCoordSpace::Resolution[1000,2000:1000,"
        "100/inch], QelXyCoordSpace::Resolution[500,0:500,0/inch], "
        "QelXyCoordSpace::Resolution[0,50:0,2.5/arbitrary unit]: sel="
        "QelXyCoordSpace::Resolution[500,200:500,10/inch]]",
        textOf(physical()));
    EXPECT_EQ(
        "QelXyCoordSpace[w=640 pixels, h=1 pixel, QelXyCoordSpace::Resolution[640,1:1,1/"
        "pixel]: sel=QelXyCoordSpace::Resolution[640,1:1,1/pixel]]",
        textOf(QelXyCoordSpace(640, 1)));
}

TEST(QelXyCoordSpaceTextTest, WritesNoListWhereThereIsNone) {
    EXPECT_EQ("QelXyCoordSpace[w=1 inch, h=2 inches, ]",
              textOf(QelXyCoordSpace(inches(1), inches(2))));
    EXPECT_EQ("QelXyCoordSpace[w=1 normalized unit, h=1 normalized unit, ]",
              textOf(QelXyCoordSpace(QEL_UNIT_NORMALIZED)));
}

TEST(QelXyCoordSpaceTextTest, WritesNoSelection) {
    QelXyCoordSpace space(inches(1), inches(2));
    space.addResolution(Resolution());
    EXPECT_EQ(
        "QelXyCoordSpace[w=1 inch, h=2 inches, QelXyCoordSpace::Resolution[0,0:0,0/arbitrary "
        "unit]: sel=QelXyCoordSpace::Resolution[0,0:0,0/arbitrary unit]]",
        textOf(space));
}

// Values are written as the stream likes it; rows have to be read again.
TEST(QelXyCoordSpaceTextTest, RowsAreTheSameInEveryLocale) {
    GroupedLocale const grouped;
    QelXyCoordSpace space(inches(2500), inches(20));
    space.addResolution(1000000, 123450);
    std::ostringstream out;
    out << space;
    EXPECT_EQ(
        "QelXyCoordSpace[w=2.500 inches, h=20 inches, QelXyCoordSpace::Resolution[1000000,"
        "123450:400,6172.5/inch]: sel=QelXyCoordSpace::Resolution[0,0:0,0/arbitrary unit]]",
        out.str());
}

TEST(QelXyCoordSpaceTextTest, TheStreamSaysHowManyDigits) {
    QelXyCoordSpace space(inches(3), inches(3));
    space.addResolution(100, 100);
    space.selectResolution(100, 100);
    std::ostringstream out;
    out.precision(12);
    out << space;
    EXPECT_NE(std::string::npos, out.str().find("100,100:33.3333333333,33.3333333333/inch"));
}

TEST(QelXyCoordSpaceTextTest, APointerIsWrittenAsItsSpaceOrNull) {
    std::ostringstream out;
    out << Pointer() << ' ' << Pointer(new QelXyCoordSpace(physical()));
    EXPECT_EQ("NULL " + textOf(physical()), out.str());
}

// ---- Reading

TEST(QelXyCoordSpaceTextTest, Reads) {
    QelXyCoordSpace const space = read(two);
    QelXyCoordSpace expected(inches(10), inches(20));
    expected.addResolution(100, 200);
    expected.addResolution({QelResolution::ofPixels(50), {}});
    expected.selectResolution(50, 400);
    EXPECT_EQ(stateOf(expected), stateOf(space));
}

TEST(QelXyCoordSpaceTextTest, ReadsNothingBehindTheEnd) {
    std::istringstream in("  " + two + " rest");
    QelXyCoordSpace space(1, 1);
    in >> space;
    std::string rest;
    in >> rest;
    EXPECT_EQ("rest", rest);
    EXPECT_EQ(10.0, space.width().value());
}

TEST(QelXyCoordSpaceTextTest, ReadsWhatIsUnusual) {
    // Anything ahead of the bracket, two characters, three, one.
    EXPECT_EQ(stateOf(read(two)),
              stateOf(read("x[??10 inches???20 inches?" + two.substr(two.find(row)))));
    // Blanks ahead of rows and numbers.
    QelXyCoordSpace const blanks =
        read("[w= 10  inches,h= 20 inches,\n\t" + row + " 5 , 6: 1,1 /inch ],\n" + row +
             "7,8:1,1/inches]:=" + row + "0,0:0,0/inch]]");
    EXPECT_EQ(2U, blanks.numResolutions());
    EXPECT_FALSE(blanks.hasSelectedResolution());
    // An end right behind the height.
    EXPECT_EQ(0U, read("[w=10 inches,h=20 inches]").numResolutions());
    // The height in another unit, rows of counts only.
    QelXyCoordSpace const counts = read("[w=10 inches,h=50.8 centimeters, " + row +
                                        "100,200:0,0/inch]: sel=" + row + "100,200:0,0/inch]]");
    EXPECT_DOUBLE_EQ(20, counts.height().value());
    EXPECT_DOUBLE_EQ(10, counts.selectedResolution().vert.dpu);
}

TEST(QelXyCoordSpaceTextTest, ReadsPixelsAndRelativeUnits) {
    QelXyCoordSpace const pixel = read("[w=640 pixels,h=480 pixels, " + row +
                                       "640,480:1,1/pixel]: sel=" + row + "640,480:1,1/pixel]]");
    EXPECT_EQ(stateOf(QelXyCoordSpace(640, 480)), stateOf(pixel));
    for (char const * unit : {"width relative unit", "height relative unit", "normalized unit"}) {
        QelXyCoordSpace const part = read(std::string("[w=1 ") + unit + ",h=1 " + unit + ']');
        EXPECT_EQ(stateOf(QelXyCoordSpace(QelValue::getUnitInfo(unit).id)), stateOf(part));
    }
    // The extent that the unit does not speak of.
    EXPECT_TRUE(read("[w=0 height relative units,h=1 height relative unit]").isRelative());
    EXPECT_TRUE(read("[w=1 width relative unit,h=0 width relative units]").isRelative());
}

// No other way leads to such a selection; its one half follows the unit like two would.
TEST(QelXyCoordSpaceTextTest, ReadsASelectionOfOneHalf) {
    QelXyCoordSpace space = read("[w=10 inches,h=10 inches, " + row +
                                 "100,100:10,10/inch]: sel=" + row + "100,0:10,0/inch]]");
    EXPECT_FALSE(space.hasSelectedResolution());
    EXPECT_EQ(100U, space.numPixelsWide());
    space.setXyUnit(QEL_UNIT_CENTIMETER);
    EXPECT_DOUBLE_EQ(10 / 2.54, space.selectedResolution().horz.dpu);
    EXPECT_EQ(QEL_UNIT_CENTIMETER, space.selectedResolution().horz.unit);
    EXPECT_TRUE(space.selectedResolution().vert.isArbitrary());
}

// The rows of a space in mils have a unit that no text may end with.
TEST(QelXyCoordSpaceTextTest, RowsInMilsAreNotRead) {
    expectRaises(QelErrorCode::invalidValue, badRow,
                 [] { read("[w=10 mils,h=10 mils, " + row + "100,100:10,10/mil]: sel="); });
    EXPECT_NO_THROW(read("[w=10 mils,h=10 mils]"));
}

TEST(QelXyCoordSpaceTextTest, ReadsPointers) {
    std::istringstream in(" NULL " + two + "NOTHING");
    Pointer space(new QelXyCoordSpace(1, 1));
    in >> space;
    EXPECT_EQ(nullptr, space);
    in >> space;
    ASSERT_NE(nullptr, space);
    EXPECT_EQ(stateOf(read(two)), stateOf(*space));
    // Only the first letter is looked at.
    in >> space;
    EXPECT_EQ(nullptr, space);
    std::string rest;
    in >> rest;
    EXPECT_EQ("ING", rest);
}

TEST(QelXyCoordSpaceTextTest, ReadsInEveryLocale) {
    std::string const expected = stateOf(read(two));
    GroupedLocale const grouped;
    std::istringstream in(two);
    QelXyCoordSpace space(1, 1);
    in >> space;
    EXPECT_EQ(expected, stateOf(space));
}

TEST(QelXyCoordSpaceTextTest, Refusals) {
    struct Case {
        std::string text;
        int code;
        char const * message;
    };
    std::string const size = "[w=10 inches,h=20 inches, ";
    Case const cases[] = {
        {"", QelErrorCode::invalidValue, badSpace},
        {"no bracket", QelErrorCode::invalidValue, badSpace},
        {"[w", QelErrorCode::invalidValue, badSpace},
        {"[w=", QelErrorCode::invalidValue, badUnit},
        {"[w=10 inches", QelErrorCode::invalidValue, badSpace},
        {"[w=10 nothings,h=20 inches]", QelErrorCode::invalidValue, badUnit},
        {"[w=1 mil,h=2 mils]", QelErrorCode::invalidValue, badUnit},
        {"[w=10 inches,h=", QelErrorCode::invalidValue, badUnit},
        {"[w=0 inches,h=0 inches]", QelErrorCode::invalidValue, "Width must be greater than 0.0"},
        {"[w=-1 inches,h=1 inch]", QelErrorCode::invalidValue, "Width must be greater than 0.0"},
        {"[w=0 normalized units,h=1 normalized unit]", QelErrorCode::invalidValue,
         "Width must be greater than 0.0"},
        {"[w=0 width relative units,h=1 inch]", QelErrorCode::invalidValue,
         "Width must be greater than 0.0"},
        {"[w=1 inch,h=0 inches]", QelErrorCode::invalidValue, "Height must be greater than 0.0"},
        {"[w=1 normalized unit,h=-1 normalized units]", QelErrorCode::invalidValue,
         "Height must be greater than 0.0"},
        {"[w=1 inch,h=1 second]", QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)"},
        {"[w=0.4 pixels,h=1 pixel]", QelErrorCode::zeroPixelsWide,
         "Cannot construct zero pixel-wide coordinate space"},
        {size, QelErrorCode::invalidValue, badRow},
        {size + "]", QelErrorCode::invalidValue, badRow},
        {size + row, QelErrorCode::invalidValue, badRow},
        {size + row + "-5,6:1,1/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "5;6:1,1/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "4294967296,6:1,1/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:-1,1/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,nan/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1e999/inch]", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1/nothing]", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1/inch", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1/inch]", QelErrorCode::invalidValue, badSpace},
        {size + row + "5,6:1,1/inch],", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1/inch]: sel=", QelErrorCode::invalidValue, badRow},
        {size + row + "5,6:1,1/inch]: sel=" + row + "5,6:1,1/inch]", QelErrorCode::invalidValue,
         badSpace},
        {size + row + "5,6:1,1/second]", QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)"},
        {"[w=1 normalized unit,h=1 normalized unit, " + row + "5,6:0,0/inch]",
         QelErrorCode::unsuitableUnit,
         "Cannot modify resolution information for coordinate space whose unit of measure is "
         "\"normalized unit\""},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.text);
        std::istringstream in(each.text);
        QelXyCoordSpace space = physical();
        EXPECT_REFUSED(each.code, each.message, space, in >> space);
        EXPECT_TRUE(each.code != QelErrorCode::invalidValue || in.fail());
        std::istringstream again(each.text);
        Pointer const before(new QelXyCoordSpace(1, 1));
        Pointer pointer = before;
        expectRaises(each.code, each.message, [&] { again >> pointer; });
        EXPECT_EQ(before, pointer);
    }
    Pointer pointer;
    std::istringstream in("NUL");
    expectRaises(QelErrorCode::invalidValue, badSpace, [&] { in >> pointer; });
}

// The blank ahead of "h=" is too much for the reader.
TEST(QelXyCoordSpaceTextTest, TheWritersOwnTextRaises) {
    for (QelXyCoordSpace const & space :
         {physical(), QelXyCoordSpace(5, 6), QelXyCoordSpace(inches(1), inches(1)),
          QelXyCoordSpace(QEL_UNIT_WIDTH_RELATIVE)}) {
        expectRaises(QelErrorCode::invalidValue, badUnit, [&] { read(textOf(space)); });
    }
}

// Without the blank it is the space again.
TEST(QelXyCoordSpaceTextTest, WithoutTheBlankItIsRead) {
    RandomNumbers random(50);
    for (int i = 0; i < 500; ++i) {
        QelXyCoordSpace space(inches(random.whole(1, 100)), inches(random.whole(1, 100)));
        for (int rows = random.whole(1, 5); rows > 0; --rows) {
            std::uint32_t const width = random.whole(0U, 5000U);
            space.addResolution(
                {QelResolution::ofPixels(width),
                 QelResolution::ofPixels(width == 0 ? 0 : random.whole(0U, 5000U))});
        }
        std::ostringstream out;
        out.precision(std::numeric_limits<double>::max_digits10);
        out << space;
        std::string text = out.str();
        text.erase(text.find(" h="), 1);
        QelXyCoordSpace const again = read(text);
        ASSERT_EQ(stateOf(space), stateOf(again)) << text;
    }
}

// ---- Whatever else it may be

bool readsOrRaises(std::string const & text) {
    std::istringstream in(text);
    QelXyCoordSpace space(1, 1);
    std::string const before = stateOf(space);
    try {
        in >> space;
        return true;
    } catch (ZanError const &) {
        EXPECT_EQ(before, stateOf(space)) << text;
        return false;
    }
}

TEST(QelXyCoordSpaceTextTest, CutAnywhereItRaises) {
    ASSERT_TRUE(readsOrRaises(two));
    for (std::size_t length = 0; length < two.size(); ++length)
        EXPECT_FALSE(readsOrRaises(two.substr(0, length))) << length;
}

TEST(QelXyCoordSpaceTextTest, WithAnyCharacterReplacedItIsReadOrRaises) {
    for (std::size_t at = 0; at < two.size(); ++at) {
        for (char const c : {'\0', ' ', ',', ']', '[', '9', '-', 'e', '\xff'}) {
            std::string text = two;
            text[at] = c;
            readsOrRaises(text);
        }
    }
}

TEST(QelXyCoordSpaceTextTest, GarbageNeitherHangsNorCrashes) {
    RandomNumbers random(51);
    std::string const pieces[] = {
        row, "[",     "]",       ",",    "w=",         "h=",      ": sel=", "1",  "1e300", "-", " ",
        "/", " inch", " pixels", "NULL", "4294967295", " minute", "nan",    "\0", "\xff",  two};
    int readable = 0;
    for (int i = 0; i < 10000; ++i) {
        std::string text = random.oneIn(3) ? two.substr(0, random.whole(std::size_t{0}, two.size()))
                                           : "[w=1 inch,h=1 inch";
        for (int n = random.whole(0, 12); n > 0; --n)
            text += random.of(pieces);
        readable += readsOrRaises(text) ? 1 : 0;
    }
    EXPECT_LT(0, readable);
}

TEST(QelXyCoordSpaceTextTest, AStreamThatFailedIsRefused) {
    std::istringstream in(two);
    in.setstate(std::ios_base::failbit);
    QelXyCoordSpace space = physical();
    EXPECT_REFUSED(QelErrorCode::invalidValue, badSpace, space, in >> space);
}

}  // namespace

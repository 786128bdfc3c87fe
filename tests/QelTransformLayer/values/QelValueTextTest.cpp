#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>

#include "ExpectError.h"
#include "QelValue.h"
#include "UnitTesting.h"

namespace {

constexpr unsigned seed = 20311;
constexpr char const * badUnit = "Bad unit for QelValue";

std::string written(QelValue const & value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

QelValue readFrom(std::string const & text) {
    std::istringstream in(text);
    QelValue value;
    in >> value;
    return value;
}

void expectReads(double number, int unit, std::string const & text) {
    SCOPED_TRACE(text);
    QelValue const value = readFrom(text);
    EXPECT_EQ(number, value.value());
    EXPECT_EQ(unit, value.unit());
}

// Raises, sets badbit and leaves the target alone.
void expectRefused(std::string const & text) {
    SCOPED_TRACE(text);
    std::istringstream in(text);
    QelValue value(7.5, QEL_UNIT_HOUR);
    expectRaises(QelErrorCode::invalidValue, badUnit, [&] { in >> value; });
    EXPECT_TRUE(in.bad());
    EXPECT_EQ(7.5, value.value());
    EXPECT_EQ(QEL_UNIT_HOUR, value.unit());
}

TEST(QelValueTextTest, WritesANumberAndAName) {
    EXPECT_EQ("2.5 inches", written(inches(2.5)));
    EXPECT_EQ("1 inch", written(inches(1.0)));
    EXPECT_EQ("0 arbitrary units", written(QelValue()));
    EXPECT_EQ("-1 pixels", written(pixels(-1.0)));
    EXPECT_EQ("1 pica", written(QelValue(1.0, QEL_UNIT_PICA)));
    EXPECT_EQ("2 pica", written(QelValue(2.0, QEL_UNIT_PICA)));
}

TEST(QelValueTextTest, TheSingularIsForWhatEqualsOneWithinTheTolerance) {
    EXPECT_EQ("1.0009 millimeter", written(QelValue(1.0009, QEL_UNIT_MILLIMETER)));
    EXPECT_EQ("1.0011 millimeters", written(QelValue(1.0011, QEL_UNIT_MILLIMETER)));
    EXPECT_EQ("1.05 micron", written(QelValue(1.05, QEL_UNIT_MICRON)));
}

TEST(QelValueTextTest, TheStreamsFormatHoldsForTheNumber) {
    std::ostringstream out;
    out << std::fixed << std::setprecision(3) << std::setw(9) << std::setfill('*') << inches(2.5);
    EXPECT_EQ("****2.500 inches", out.str());
}

TEST(QelValueTextTest, TheStreamsLocaleHoldsForTheNumber) {
    GroupedLocale const grouped;
    std::ostringstream out;
    out << std::fixed << std::setprecision(1) << pixels(1234567.5);
    EXPECT_EQ("1.234.567,5 pixels", out.str());
}

TEST(QelValueTextTest, EveryUnitReadsBackButTheMil) {
    for (int id : builtInIds()) {
        for (double number : {0.0, 1.0, 2.0, -17.25, 1e-300, 1.7976931348623157e308, 0.1}) {
            std::string const text = exactText(QelValue(number, id));
            if (text == "1 mil") {
                expectRefused(text);
            } else {
                expectReads(number, id, text);
            }
        }
    }
}

TEST(QelValueTextTest, BothNamesRead) {
    for (int id : builtInIds()) {
        QelUnitInfo const & unit = QelValue::getUnitInfo(id);
        if (id != QEL_UNIT_MIL) expectReads(3.5, id, "3.5 " + unit.singularName);
        expectReads(3.5, id, "3.5 " + unit.pluralName);
    }
}

TEST(QelValueTextTest, ANameThatBeginsAnEarlierOneIsNotFound) {
    expectRefused("1 mil");  // millimeter
    expectReads(2.0, QEL_UNIT_MIL, "2 mils");
    expectRefused("2 m");
    expectRefused("2 arc");
    expectRefused("2 pi");
}

TEST(QelValueTextTest, ABareNumberIsRefused) {
    for (char const * text : {"1", "1 ", "-2.5e3", "1\n"})
        expectRefused(text);
}

TEST(QelValueTextTest, PicaAndArcSecondsRead) {
    expectReads(1.0, QEL_UNIT_PICA, "1 pica");
    expectReads(2.0, QEL_UNIT_PICA, "2 pica");
    expectReads(2.0, QEL_UNIT_ARC_SECOND, "2 arc seconds");
    expectReads(1.0, QEL_UNIT_ARC_SECOND, "1 arc second");
}

TEST(QelValueTextTest, CapitalsAreRefusedThoughTheLookupFindsThem) {
    expectRefused("2 Inches");
    expectRefused("2 INCHES");
    EXPECT_EQ(QEL_UNIT_INCH, QelValue::getUnitInfo("Inches").id);
}

TEST(QelValueTextTest, WhiteSpaceIsAnyAndMayBeLeftOut) {
    expectReads(2.0, QEL_UNIT_INCH, " \t\n2 \r\v inches");
    expectReads(2.0, QEL_UNIT_INCH, "2inches");
    expectReads(2.0, QEL_UNIT_WIDTH_RELATIVE, "2 width\n relative\t\tunits");
    expectReads(0.5, QEL_UNIT_METER, "+.5 meters");
}

TEST(QelValueTextTest, OtherTextsAreRefused) {
    for (char const * text : {"",
                              " ",
                              "inches",
                              "x 2 inches",
                              "nan inches",
                              "inf inches",
                              "0x10 inches",
                              "1e999 inches",
                              "1e inches",
                              "- inches",
                              "1,000 inches",
                              "1.2.3 inches",
                              "2 inches_",
                              "2 inchess",
                              "2 _inches",
                              "2 width",
                              "2 width relative",
                              "2 width  relative unitss",
                              "2 furlongs",
                              "2 \xe9",
                              "2 \xff inches",
                              "2 arc-minutes",
                              "2 ,"})
        expectRefused(text);
}

TEST(QelValueTextTest, ReadsNoFurtherThanTheName) {
    std::istringstream in("2 inches, 3 meters] 1 second");
    QelValue value;
    in >> value;
    EXPECT_EQ(',', in.get());
    in >> value;
    EXPECT_EQ(3.0, value.value());
    EXPECT_EQ(']', in.get());
    in >> value;
    EXPECT_EQ(QEL_UNIT_SECOND, value.unit());
    EXPECT_FALSE(in.fail());
    EXPECT_TRUE(in.eof());
    expectRaises(QelErrorCode::invalidValue, badUnit, [&] { in >> value; });
    EXPECT_TRUE(in.bad());
}

TEST(QelValueTextTest, AStreamThatFailedBeforeIsRefused) {
    for (std::ios_base::iostate state :
         {std::ios_base::failbit, std::ios_base::badbit, std::ios_base::eofbit}) {
        std::istringstream in("2 inches");
        in.setstate(state);
        QelValue value;
        expectRaises(QelErrorCode::invalidValue, badUnit, [&] { in >> value; });
        EXPECT_TRUE(in.bad());
    }
}

TEST(QelValueTextTest, ReadsWhateverTheLocale) {
    GroupedLocale const grouped;
    std::istringstream in("1234.5 inches 1.234 meters");
    in.imbue(GroupedLocale::grouped());
    QelValue value;
    in >> std::hex >> value;
    EXPECT_EQ(1234.5, value.value());
    in >> value;
    EXPECT_EQ(1.234, value.value());
}

TEST(QelValueTextTest, TextsCutAnywhereAreRefusedOrRead) {
    for (int id : builtInIds()) {
        QelUnitInfo const & unit = QelValue::getUnitInfo(id);
        std::string const text = "-12.5 " + unit.pluralName;
        for (std::size_t length = 0; length < text.size(); ++length) {
            std::string const cut = text.substr(0, length);
            std::string const name = length < 6 ? "" : cut.substr(6);
            // The singular is a plural cut short; "mil" is the start of another name.
            if (name == unit.singularName && id != QEL_UNIT_MIL) {
                expectReads(-12.5, id, cut);
            } else {
                expectRefused(cut);
            }
        }
    }
}

// Words of units, numbers and separators, and any characters, in any order.
std::string garbage(std::mt19937 & random) {
    static constexpr std::array<char const *, 14> pieces{"1",     "-2.5",     "e",    " ",   "arc",
                                                         "width", "relative", "unit", "mil", "mils",
                                                         "s",     "_",        ",",    "inch"};
    std::string text;
    for (unsigned i = random() % 8; i > 0; --i) {
        if (random() % 3 == 0) {
            text += static_cast<char>(random() % 256);
        } else {
            text += pieces[random() % pieces.size()];
        }
    }
    return text;
}

TEST(QelValueTextTest, RandomTextIsRefusedOrReadsBackTheSame) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    int read = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string const text = garbage(random);
        std::istringstream in(text);
        QelValue value;
        try {
            in >> value;
        } catch (ZanError const & error) {
            expectQelError(error, QelErrorCode::invalidValue, badUnit);
            ASSERT_TRUE(in.bad()) << text;
            continue;
        }
        ++read;
        ASSERT_FALSE(in.fail()) << text;
        std::string const again = exactText(value);
        if (again.find(" mil") != std::string::npos && value == 1.0) continue;
        ASSERT_NO_FATAL_FAILURE(expectReads(value.value(), value.unit(), again)) << text;
    }
    EXPECT_GT(read, 20);
}

TEST(QelValueTextTest, AVeryLongWordIsRefusedAtOnce) {
    std::istringstream in("2 inches" + std::string(1 << 20, 's'));
    QelValue value;
    expectRaises(QelErrorCode::invalidValue, badUnit, [&] { in >> value; });
    in.clear();
    // Most of the word is still there: nothing reads further than a name can be long.
    EXPECT_LT(in.tellg(), 100);
}

}  // namespace

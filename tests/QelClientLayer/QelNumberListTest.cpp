#include "QelNumberList.h"

#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

#include "ClientTesting.h"

namespace {

std::string written(std::vector<double> const & numbers) {
    std::ostringstream out;
    out << QelNumberList{numbers};
    return out.str();
}

struct Read {
    QelNumberList list{{4, 2}};
    bool good = false;
    std::string rest;
};

// What reading over a list of 4 and 2 gives.
Read read(std::string const & text) {
    Read found;
    std::istringstream in(text);
    in >> found.list;
    found.good = static_cast<bool>(in);
    in.clear();
    std::getline(in, found.rest, '\0');
    return found;
}

struct Row {
    std::vector<double> numbers;
    char const * text;
};

TEST(QelNumberListTest, WritesNumbersBetweenBrackets) {
    for (Row const & row :
         std::vector<Row>{{{}, "[]"},
                          {{0, -1.5, 0}, "[0:-1.5:0]"},
                          {{7}, "[7]"},
                          {{-0.25, 1e6, 1e-7, 250000}, "[-0.25:1e+06:1e-07:250000]"},
                          {{123456789, 0.1}, "[123456789:0.1]"}}) {
        EXPECT_EQ(row.text, written(row.numbers));
    }
}

TEST(QelNumberListTest, NumbersHaveTheDigitsThatRestoreThem) {
    for (double const number :
         {0.1 + 0.2, 1.0 / 3, std::nextafter(1.0, 2.0), std::numeric_limits<double>::max(),
          std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
          9007199254740991.0}) {
        Read const found = read(written({number, -number}));
        EXPECT_TRUE(found.good) << written({number});
        EXPECT_EQ((std::vector<double>{number, -number}), found.list.numbers);
    }
    EXPECT_EQ("[0.30000000000000004]", written({0.1 + 0.2}));
}

TEST(QelNumberListTest, WhatIsWrittenIsReadAgain) {
    Random random(20240402);
    for (int round = 0; round < 500; ++round) {
        std::vector<double> numbers(static_cast<std::size_t>(random.between(0, 30)));
        for (double & number : numbers)
            number = std::ldexp(random.between(-1000000, 1000000), random.between(-60, 60)) / 3;
        Read const found = read(written(numbers));
        ASSERT_TRUE(found.good) << written(numbers);
        ASSERT_EQ(numbers, found.list.numbers) << written(numbers);
    }
}

TEST(QelNumberListTest, ReadsUpToTheBracket) {
    for (auto const & [text, numbers, rest] :
         std::vector<std::tuple<std::string, std::vector<double>, std::string>>{
             {"[]", {}, ""},
             {"[1]", {1}, ""},
             {"[0:-1.5:0]", {0, -1.5, 0}, ""},
             {"  \n[1e3:.5]", {1000, 0.5}, ""},
             {"[1:2][3]", {1, 2}, "[3]"},
             {"[] x", {}, " x"}}) {
        Read const found = read(text);
        EXPECT_TRUE(found.good) << text;
        EXPECT_EQ(numbers, found.list.numbers) << text;
        EXPECT_EQ(rest, found.rest) << text;
    }
}

TEST(QelNumberListTest, MalformedTextFailsAndChangesNothing) {
    for (char const * const text : {"",         "   ",
                                    "1",        "1:2]",
                                    "[",        "[1",
                                    "[1:2",     "[1:",
                                    "[1:]",     "[:1]",
                                    "[:]",      "[1::2]",
                                    "[x]",      "[1x]",
                                    "[1 2]",    "[1:x]",
                                    "[1,2]",    "[1;2]",
                                    "[1:2)",    "(1:2)",
                                    "[nan]",    "[inf]",
                                    "[-inf:1]", "[1e999]",
                                    "[0x10]",   "[1:2:3:4:5:6:-]"}) {
        Read const found = read(text);
        EXPECT_FALSE(found.good) << '"' << text << '"';
        EXPECT_EQ((std::vector<double>{4, 2}), found.list.numbers) << '"' << text << '"';
    }
}

TEST(QelNumberListTest, StreamsKeepTheirFormat) {
    std::ostringstream out;
    out.precision(3);
    out << QelNumberList{{0.123456789012}} << ' ' << 0.123456789012;
    EXPECT_EQ("[0.123456789012] 0.123", out.str());
    EXPECT_EQ(3, out.precision());
}

// Decimal commas and grouped thousands.
class Foreign : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(QelNumberListTest, NumbersHaveAPointInEveryLocale) {
    std::locale const foreign(std::locale::classic(), new Foreign);
    std::ostringstream out;
    out.imbue(foreign);
    out << QelNumberList{{1234567.5}};
    EXPECT_EQ("[1234567.5]", out.str());
    std::istringstream in("[1234567.5:2.5]");
    in.imbue(foreign);
    QelNumberList list;
    EXPECT_TRUE(in >> list);
    EXPECT_EQ((std::vector<double>{1234567.5, 2.5}), list.numbers);
}

TEST(QelNumberListTest, ListsAreEqualWhenTheirNumbersAre) {
    EXPECT_EQ(QelNumberList(), (QelNumberList{{}}));
    EXPECT_EQ((QelNumberList{{1, 2}}), (QelNumberList{{1, 2}}));
    EXPECT_NE((QelNumberList{{1, 2}}), (QelNumberList{{2, 1}}));
    EXPECT_NE((QelNumberList{{1}}), (QelNumberList{{1, 1}}));
}

TEST(QelNumberListTest, AnAttributeHoldsOne) {
    MoxSmartPtr<QelSimpleAttribute<QelNumberList>> const attribute =
        new QelSimpleAttribute<QelNumberList>("kernel", QelNumberList{{1, -0.5}});
    std::ostringstream out;
    attribute->writeValue(out);
    EXPECT_EQ("[1:-0.5]", out.str());
    std::istringstream good("[3]");
    attribute->readValue(good);
    EXPECT_EQ(std::vector<double>{3}, attribute->getValue().numbers);
    std::istringstream bad("[3:]");
    attribute->readValue(bad);
    EXPECT_FALSE(bad);
    EXPECT_EQ(std::vector<double>{3}, attribute->getValue().numbers);
    MoxSmartPtr<QelAttribute> const clone = attribute->clone(nullptr, nullptr);
    EXPECT_TRUE(clone->getType() == typeid(QelNumberList));
}

}  // namespace

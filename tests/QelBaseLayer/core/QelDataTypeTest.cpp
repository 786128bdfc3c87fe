#include "QelDataType.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

struct Row {
    int code;
    std::type_info const & type;
    int size;
    char const * name;
    bool isTypeswitchType;
};

// The whole table, written out a second time.
Row const rows[] = {
    {0, typeid(std::uint8_t), 1, "unsigned char", true},
    {1, typeid(std::int16_t), 2, "short", true},
    {2, typeid(std::int32_t), 4, "long", false},
    {3, typeid(float), 4, "float", true},
    {4, typeid(double), 8, "double", false},
    {5, typeid(std::uint16_t), 2, "unsigned short", false},
    {6, typeid(std::int8_t), 1, "char", false},
    {7, typeid(std::uint32_t), 4, "unsigned long", false},
    {8, typeid(QelDataType::MixedClass), 0, "QelDataType::MixedClass", false},
    {9, typeid(QelDataType::ErrorClass), 0, "QelDataType::ErrorClass", false},
};

struct Unlisted {
    char bytes[3];
};

template <class T>
std::string printed(T const & value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

QelDataType readFrom(std::istream & in) {
    QelDataType type = QelDataType::Double;
    in >> type;
    return type;
}

TEST(QelDataTypeTest, RowsOfTheTable) {
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        QelDataType const type(row.code);
        EXPECT_EQ(row.code, type.code());
        EXPECT_EQ(row.type, *type.type());
        EXPECT_EQ(row.size, type.size());
        EXPECT_STREQ(row.name, type.name());
        EXPECT_EQ(row.isTypeswitchType, type.isTypeswitchType());
    }
}

TEST(QelDataTypeTest, EnumeratorsAreTheCodes) {
    EXPECT_EQ(0, QelDataType::UChar);
    EXPECT_EQ(1, QelDataType::Short);
    EXPECT_EQ(2, QelDataType::Long);
    EXPECT_EQ(3, QelDataType::Float);
    EXPECT_EQ(4, QelDataType::Double);
    EXPECT_EQ(5, QelDataType::UShort);
    EXPECT_EQ(6, QelDataType::Char);
    EXPECT_EQ(7, QelDataType::ULong);
    EXPECT_EQ(8, QelDataType::Mixed);
    EXPECT_EQ(9, QelDataType::Error);
}

TEST(QelDataTypeTest, OfAnElement) {
    EXPECT_EQ(QelDataType::UChar, QelDataType::of<std::uint8_t>().code());
    EXPECT_EQ(QelDataType::Float, QelDataType::of<float>().code());
    EXPECT_EQ(QelDataType::ULong, QelDataType::of<std::uint32_t>().code());
    // The name of Long, and not its 32 bits.
    EXPECT_EQ(QelDataType::Error, QelDataType::of<long>().code());
    EXPECT_EQ(8, QelDataType::of<long>().size());
}

// QelDataType(42).code() is 9; QelDataType(8).size is 0.
TEST(QelDataTypeTest, UnknownCodeGivesError) {
    for (int const code : {42, 10, -1, -2147483647 - 1, 2147483647}) {
        SCOPED_TRACE(code);
        EXPECT_EQ(9, QelDataType(code).code());
    }
    EXPECT_EQ(0, QelDataType(8).size());
    EXPECT_EQ(9, QelDataType().code());
}

TEST(QelDataTypeTest, FromNameFindsNineRows) {
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.code, QelDataType::fromName(row.name).code());
        EXPECT_EQ(row.code, QelDataType(row.name).code());
    }
}

TEST(QelDataTypeTest, FromNameGivesErrorForAnyOtherText) {
    for (char const * name : {"", "int", "Float", " float", "float ", "unsigned", "MixedClass",
                              "unsigned  short", "signed char"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(9, QelDataType::fromName(name).code());
    }
    EXPECT_EQ(9, QelDataType::fromName(nullptr).code());
    EXPECT_EQ(9, QelDataType(static_cast<char const *>(nullptr)).code());
}

// QelDataType("char") is code 6 and is not the same as code 0 although both are one byte wide.
TEST(QelDataTypeTest, CharIsNotUnsignedChar) {
    QelDataType const type("char");
    EXPECT_EQ(6, type.code());
    EXPECT_FALSE(type == QelDataType(0));
    EXPECT_TRUE(type != QelDataType(0));
    EXPECT_EQ(type.size(), QelDataType(0).size());
}

TEST(QelDataTypeTest, EqualityAmongAllRows) {
    for (Row const & a : rows) {
        for (Row const & b : rows) {
            SCOPED_TRACE(std::string(a.name) + " and " + b.name);
            EXPECT_EQ(a.code == b.code, QelDataType(a.code) == QelDataType(b.code));
            EXPECT_EQ(a.code != b.code, QelDataType(a.code) != QelDataType(b.code));
            EXPECT_EQ(a.code == b.code, QelDataType(a.code) == b.code);
            EXPECT_EQ(a.code == b.code, a.code == QelDataType(b.code));
            EXPECT_EQ(a.code != b.code, QelDataType(a.code) != b.code);
            EXPECT_EQ(a.code != b.code, a.code != QelDataType(b.code));
        }
    }
}

TEST(QelDataTypeTest, TheSameRecordIsEqualWhateverTheSize) {
    EXPECT_TRUE(QelDataType(typeid(float), 8) == QelDataType(QelDataType::Float));
    EXPECT_FALSE(QelDataType(typeid(Unlisted), 4) == QelDataType(QelDataType::Float));
}

TEST(QelDataTypeTest, ATypeOfTheClientsOwnHasCodeErrorAndItsOwnName) {
    QelDataType const type = QelDataType::of<Unlisted>();
    EXPECT_EQ(9, type.code());
    EXPECT_EQ(3, type.size());
    EXPECT_STREQ("(anonymous namespace)::Unlisted", type.name());
    EXPECT_FALSE(type == QelDataType(QelDataType::Error));
    EXPECT_TRUE(type == QelDataType::Error);
    EXPECT_FALSE(type.isTypeswitchType());
}

TEST(QelDataTypeTest, WritesTheName) {
    for (Row const & row : rows) {
        EXPECT_EQ(row.name, printed(QelDataType(row.code)));
        EXPECT_EQ(row.name, printed(QelDataType::Code(row.code)));
    }
    EXPECT_EQ("QelDataType::ErrorClass", printed(QelDataType::Code(42)));
}

TEST(QelDataTypeTest, ReadsWhatItWrites) {
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        std::istringstream in(std::string(row.name) + " next");
        EXPECT_EQ(row.code, readFrom(in).code());
        std::string next;
        in >> next;
        EXPECT_EQ("next", next);

        std::istringstream again(row.name);
        QelDataType::Code code = QelDataType::Double;
        again >> code;
        EXPECT_EQ(row.code, code);
    }
}

// Reading "unsigned short" from a stream gives code 5; reading "unsigned" at end of input gives
// Error.
TEST(QelDataTypeTest, ReadsASecondWordAfterUnsigned) {
    std::istringstream twoWords("unsigned short");
    EXPECT_EQ(5, readFrom(twoWords).code());
    std::istringstream lines("\n unsigned \t\n long");
    EXPECT_EQ(7, readFrom(lines).code());

    std::istringstream oneWord("unsigned");
    EXPECT_EQ(9, readFrom(oneWord).code());
    EXPECT_TRUE(oneWord.eof());
    EXPECT_TRUE(oneWord.fail());
}

TEST(QelDataTypeTest, ReadsErrorFromAnUnknownWord) {
    std::istringstream in("integer float");
    EXPECT_EQ(9, readFrom(in).code());
    EXPECT_TRUE(in.good());
    EXPECT_EQ(3, readFrom(in).code());
}

TEST(QelDataTypeTest, ReadsErrorAtTheEndOfInput) {
    std::istringstream in("");
    EXPECT_EQ(9, readFrom(in).code());
    EXPECT_TRUE(in.fail());
    QelDataType::Code code = QelDataType::Double;
    in >> code;
    EXPECT_EQ(QelDataType::Error, code);
}

}  // namespace

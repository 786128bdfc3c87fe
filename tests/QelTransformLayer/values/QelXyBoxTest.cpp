#include "QelXyBox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>

#include "ExpectError.h"
#include "QelXyPoint.h"
#include "UnitTesting.h"

namespace {

constexpr unsigned seed = 20322;
constexpr char const * badUnit = "Bad unit for QelValue";
constexpr char const * badBox = "Invalid QelXyBox value";
constexpr char const * badPoint = "Invalid QelXyPoint value";

QelXyBox someBox() {
    return {QelValueRange(pixels(5), pixels(6), 1, true, false),
            QelValueRange(inches(7), inches(8), 0, false, true)};
}

QelXyPoint somePoint() {
    return {pixels(5), inches(7)};
}

// What the target says afterwards: it may not have changed.
template <class T>
void expectRefused(T const & target, int code, std::string const & refusal,
                   std::string const & text) {
    SCOPED_TRACE(text);
    T value = target;
    std::istringstream in(text);
    expectRaises(code, refusal, [&] { in >> value; });
    EXPECT_EQ(exactText(target), exactText(value));
    EXPECT_EQ(code == QelErrorCode::invalidValue, in.fail());
}

TEST(QelXyBoxTest, HasItsEndsAndSizes) {
    QelXyBox const box = someBox();
    EXPECT_EQ(2u, box.dimensions());
    EXPECT_EQ("5 pixels", exactText(box.xMin()));
    EXPECT_EQ("11 pixels", exactText(box.xMax()));
    EXPECT_EQ("6 pixels", exactText(box.width()));
    EXPECT_EQ("7 inches", exactText(box.yMin()));
    EXPECT_EQ("15 inches", exactText(box.yMax()));
    EXPECT_EQ("8 inches", exactText(box.height()));
}

TEST(QelXyBoxTest, ReadsContinuousClosedRanges) {
    QelXyBox box = someBox();
    std::istringstream in("  QelXyBox[x=1 inch, y=2.5 centimeters ,w=2 inches\n, h=3 meters] tail");
    expectRaises(QelErrorCode::invalidValue, badBox,
                 [&] { in >> box; });  // no blank after the comma
    std::istringstream good(
        "  QelXyBox[x=1 inch, y=2.5 centimeters , w=2 inches\n, h=3 meters ] tail");
    good >> box;
    EXPECT_EQ("QelXyBox[x=1 inch, y=2.5 centimeters, w=2 inches, h=300 centimeters]",
              exactText(box));
    for (unsigned i = 0; i < 2; ++i) {
        EXPECT_EQ(0, box.range(i).discrete());
        EXPECT_TRUE(box.range(i).minClosed());
        EXPECT_TRUE(box.range(i).maxClosed());
    }
    EXPECT_EQ(' ', good.get());
}

TEST(QelXyBoxTest, BadTextsAreRefused) {
    std::string const good = exactText(someBox());
    ASSERT_EQ("QelXyBox[x=5 pixels, y=7 inches, w=6 pixels, h=8 inches]", good);
    for (char const * text : {"", "  ", "QelXyBox", "QelXyPoint[x=5 pixels, y=7 inches]",
                              "qelXyBox[x=5 pixels", "QelXyBox[ x=5 pixels",
                              "QelXyBox[x=5 pixels; y=7 inches", "QelXyBox[x=5 pixels, w=7 inches",
                              "QelXyBox[x=5 pixels, y=7 inches, w=6 pixels, h=8 inches)"})
        expectRefused(someBox(), QelErrorCode::invalidValue, badBox, text);
    for (char const * text :
         {"QelXyBox[x=5, y=7 inches, w=6 pixels, h=8 inches]", "QelXyBox[x=, y=7 inches",
          "QelXyBox[x=1 mil, y=7 inches", "QelXyBox[x=5 pixels, y=7 furlongs"})
        expectRefused(someBox(), QelErrorCode::invalidValue, badUnit, text);
}

TEST(QelXyBoxTest, WhatARangeRefusesIsRefused) {
    expectRefused(someBox(), QelErrorCode::illegalWidth, "Negative width value",
                  "QelXyBox[x=5 pixels, y=7 inches, w=6 pixels, h=-8 inches]");
    expectRefused(someBox(), QelErrorCode::cannotConvertUnit,
                  "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)",
                  "QelXyBox[x=5 pixels, y=7 inches, w=6 inches, h=8 inches]");
}

TEST(QelXyBoxTest, APointReadsBack) {
    QelXyPoint point = somePoint();
    std::istringstream in(" QelXyPoint[x=1.5 width relative units, y=-2 seconds]]");
    in >> point;
    EXPECT_EQ("QelXyPoint[x=1.5 width relative units, y=-2 seconds]", exactText(point));
    EXPECT_EQ(']', in.get());
    for (char const * text : {"", "QelXyPoint", "QelXyBox[x=", "QelXyPoint[x=1 inch",
                              "QelXyPoint[x=1 inch, x=", "QelXyPoint[x=1 inch, y=2 pixels)"})
        expectRefused(somePoint(), QelErrorCode::invalidValue, badPoint, text);
    for (char const * text : {"QelXyPoint[x=1", "QelXyPoint[x=1 inch, y=]"})
        expectRefused(somePoint(), QelErrorCode::invalidValue, badUnit, text);
}

TEST(QelXyBoxTest, ErrorsNameTheReader) {
    QelXyBox box = someBox();
    QelXyPoint point = somePoint();
    std::istringstream in("x");
    std::optional<ZanError> const ofBox = errorOf([&] { in >> box; });
    ASSERT_TRUE(ofBox);
    EXPECT_THAT(ofBox->getFile(), testing::EndsWith("/QelXyBox.cpp"));
    std::optional<ZanError> const ofPoint = errorOf([&] { in >> point; });
    ASSERT_TRUE(ofPoint);
    EXPECT_THAT(ofPoint->getFile(), testing::EndsWith("/QelXyPoint.cpp"));
}

TEST(QelXyBoxTest, EveryCutIsRefused) {
    std::string const box = exactText(someBox());
    std::string const point = exactText(somePoint());
    for (std::size_t length = 0; length < box.size(); ++length) {
        std::istringstream in(box.substr(0, length));
        QelXyBox value = someBox();
        std::optional<ZanError> const error = errorOf([&] { in >> value; });
        ASSERT_TRUE(error) << in.str();
        EXPECT_EQ(QelErrorCode::invalidValue, error->getErrcode()) << in.str();
    }
    for (std::size_t length = 0; length < point.size(); ++length) {
        std::istringstream in(point.substr(0, length));
        QelXyPoint value = somePoint();
        std::optional<ZanError> const error = errorOf([&] { in >> value; });
        ASSERT_TRUE(error) << in.str();
        EXPECT_EQ(QelErrorCode::invalidValue, error->getErrcode()) << in.str();
    }
}

bool holdsAMil(QelValue const & value) {
    return value.unit() == QEL_UNIT_MIL && value == 1.0;
}

TEST(QelXyBoxTest, RandomBoxesReadBack) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> anyNumber(-1e6, 1e6);
    for (int i = 0; i < 3000; ++i) {
        int const x = builtInIds()[random() % builtInIds().size()];
        int const y = builtInIds()[random() % builtInIds().size()];
        double const width = i % 5 == 0 ? 1.0 : std::fabs(anyNumber(random));
        QelXyBox const box(
            QelValueRange(QelValue(anyNumber(random), x), QelValue(width, x), 0, true, true),
            QelValueRange(QelValue(1.0, y), QelValue(std::fabs(anyNumber(random)), y), 0, true,
                          true));
        std::string const text = exactText(box);
        if (holdsAMil(box.width()) || holdsAMil(box.yMin())) {
            expectRefused(someBox(), QelErrorCode::invalidValue, badUnit, text);
            continue;
        }
        std::istringstream in(text);
        QelXyBox read = someBox();
        in >> read;
        ASSERT_EQ(text, exactText(read));
        ASSERT_EQ(box.xMax().value(), read.xMax().value());
        ASSERT_EQ(box.height().value(), read.height().value());
    }
}

// Any one character is another one, or is gone.
TEST(QelXyBoxTest, DamagedTextIsRefusedOrReadsBackTheSame) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    std::string const good = exactText(someBox());
    for (int i = 0; i < 10000; ++i) {
        std::string text = good;
        std::size_t const at = random() % text.size();
        if (random() % 2 == 0) {
            text[at] = static_cast<char>(random() % 256);
        } else {
            text.erase(at, 1);
        }
        std::istringstream in(text);
        QelXyBox box = someBox();
        try {
            in >> box;
        } catch (ZanError const & error) {
            int const code = error.getErrcode();
            ASSERT_TRUE(code == QelErrorCode::invalidValue ||
                        code == QelErrorCode::cannotConvertUnit ||
                        code == QelErrorCode::illegalWidth)
                << text << error.getMsg();
            continue;
        }
        std::istringstream again(exactText(box));
        QelXyBox copy = someBox();
        again >> copy;
        ASSERT_EQ(exactText(box), exactText(copy)) << text;
    }
}

TEST(QelXyBoxTest, ReadsWhateverTheLocale) {
    GroupedLocale const grouped;
    std::istringstream in("QelXyBox[x=1234.5 inches, y=7 inches, w=6 inches, h=8 inches]");
    QelXyBox box = someBox();
    in >> box;
    EXPECT_EQ(1234.5, box.xMin().value());
}

}  // namespace

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelPixelRun.h"
#include "QelSimpleDataOrg.h"

namespace {

template <class T>
std::vector<T> elementsOf(QelPixelRun<T const> const & run) {
    std::vector<T> elements;
    run.forEach([&elements](T value) { elements.push_back(value); });
    return elements;
}

constexpr std::array<std::uint8_t, 12> digits{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};

class QelPixelRunTest : public testing::Test {
  protected:
    std::array<std::uint8_t, 8> bytes{10, 11, 12, 13, 14, 15, 16, 17};
};

}  // namespace

TEST_F(QelPixelRunTest, VisitsDenseElementsInOrder) {
    QelPixelRun<std::uint8_t const> const run(bytes.data(), 1, 4);
    EXPECT_TRUE(run.isDense());
    EXPECT_EQ(4, run.size());
    EXPECT_EQ(bytes.data(), run.address());
    EXPECT_EQ((std::vector<std::uint8_t>{10, 11, 12, 13}), elementsOf(run));
    EXPECT_EQ(13, run[3]);
}

TEST_F(QelPixelRunTest, VisitsElementsAtAStepInOrder) {
    QelPixelRun<std::uint8_t const> const run(bytes.data(), 3, 3);
    EXPECT_FALSE(run.isDense());
    EXPECT_EQ(3, run.step());
    EXPECT_EQ((std::vector<std::uint8_t>{10, 13, 16}), elementsOf(run));
}

TEST_F(QelPixelRunTest, GoesBackwardsWithANegativeStep) {
    QelPixelRun<std::uint8_t const> const run(bytes.data() + 7, -2, 4);
    EXPECT_EQ((std::vector<std::uint8_t>{17, 15, 13, 11}), elementsOf(run));
    EXPECT_EQ(11, run[3]);
}

TEST_F(QelPixelRunTest, StaysInPlaceWithAStepOf0) {
    QelPixelRun<std::uint8_t const> const run(bytes.data() + 2, 0, 3);
    EXPECT_EQ((std::vector<std::uint8_t>{12, 12, 12}), elementsOf(run));
}

TEST_F(QelPixelRunTest, OfNoElementsIsEmpty) {
    QelPixelRun<std::uint8_t const> const none(bytes.data(), 1, 0);
    EXPECT_TRUE(none.empty());
    EXPECT_TRUE(elementsOf(none).empty());
    EXPECT_FALSE(QelPixelRun<std::uint8_t const>(bytes.data(), 1, 1).empty());
}

TEST_F(QelPixelRunTest, ReadsAndWritesDoublesAtOddAddresses) {
    std::array<std::uint8_t, 40> memory{};
    QelPixelRun<double> const run(memory.data() + 1, 11, 3);
    for (int i = 0; i < 3; ++i)
        run.set(i, 0.5 + i);
    run.transform([](double value) { return value * 2; });
    double second = 0;
    std::memcpy(&second, memory.data() + 12, sizeof second);
    EXPECT_EQ(3.0, second);
    EXPECT_EQ(5.0, run[2]);
    EXPECT_EQ(0, memory[0]);
    EXPECT_EQ(0, memory[9]);
    EXPECT_EQ(0, memory[31]);
}

TEST_F(QelPixelRunTest, TransformChangesDenseElementsOnly) {
    QelPixelRun<std::uint8_t> const run(bytes.data() + 1, 1, 3);
    run.transform([](std::uint8_t value) { return static_cast<std::uint8_t>(value + 100); });
    EXPECT_EQ((std::array<std::uint8_t, 8>{10, 111, 112, 113, 14, 15, 16, 17}), bytes);
}

TEST_F(QelPixelRunTest, VisitsGroupsInOrder) {
    std::vector<int> seen;
    auto const note = [&seen](int a, int b) { seen.push_back(100 * a + b); };
    QelPixelRun<std::uint8_t const>(bytes.data(), 1, 6).forEachGroup<2>(note);
    EXPECT_EQ((std::vector<int>{1011, 1213, 1415}), seen);
    seen.clear();
    QelPixelRun<std::uint8_t const>(bytes.data() + 7, -2, 4).forEachGroup<2>(note);
    EXPECT_EQ((std::vector<int>{1715, 1311}), seen);
    seen.clear();
    QelPixelRun<std::uint8_t const>(bytes.data(), 1, 0).forEachGroup<2>(note);
    EXPECT_TRUE(seen.empty());
}

TEST_F(QelPixelRunTest, AGroupMayBeOneElement) {
    std::vector<int> seen;
    QelPixelRun<std::uint8_t const>(bytes.data(), 3, 3).forEachGroup<1>([&seen](int a) {
        seen.push_back(a);
    });
    EXPECT_EQ((std::vector<int>{10, 13, 16}), seen);
}

TEST_F(QelPixelRunTest, PartOfADenseRun) {
    QelPixelRun<std::uint8_t const> const run(digits.data(), 1, 12);
    EXPECT_EQ((std::vector<std::uint8_t>{4, 5, 6}), elementsOf(run.part(4, 3)));
    EXPECT_TRUE(run.part(12, 0).empty());
}

TEST_F(QelPixelRunTest, PartOfARunThatGoesBackwards) {
    QelPixelRun<std::uint8_t const> const run(digits.data() + 11, -3, 4);
    EXPECT_EQ((std::vector<std::uint8_t>{8, 5}), elementsOf(run.part(1, 2)));
}

TEST_F(QelPixelRunTest, GroupsOfElements) {
    struct Case {
        std::int64_t first, step, size;
        std::vector<int> expected;  // the elements of a group as digits
    };
    Case const cases[] = {
        {0, 1, 9, {12, 345, 678}},
        {9, -1, 9, {987, 654, 321}},
        {0, 2, 3, {24}},
        {5, 0, 6, {555, 555}},
        {0, 1, 0, {}},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(::testing::Message() << row.first << " by " << row.step << ", " << row.size);
        std::vector<int> groups;
        QelPixelRun<std::uint8_t const>(digits.data() + row.first, row.step, row.size)
            .forEachGroup<3>(
                [&groups](int a, int b, int c) { groups.push_back(100 * a + 10 * b + c); });
        EXPECT_EQ(row.expected, groups);
    }
}

TEST(QelPixelRunElementTypeTest, TakesTheTypeOfAllBands) {
    QelSimpleDataOrg const org(4, 4, QelDataType::Float, 3, PIXEL_INTERLEAVED);
    EXPECT_NO_THROW(qelRequireElementType(org, QelDataType::of<float>()));
}

TEST(QelPixelRunElementTypeTest, AnotherTypeRaises119) {
    struct Row {
        QelDataType has;
        QelDataType wanted;
        char const * text;
    };
    for (Row const & row : {Row{QelDataType::UChar, QelDataType::of<float>(),
                                "An iterator over float cannot visit pixels of unsigned char"},
                            Row{QelDataType::UShort, QelDataType::of<std::int16_t>(),
                                "An iterator over short cannot visit pixels of unsigned short"},
                            Row{QelDataType::Long, QelDataType::of<std::uint32_t>(),
                                "An iterator over unsigned long cannot visit pixels of long"},
                            Row{QelDataType::Float, QelDataType::of<double>(),
                                "An iterator over double cannot visit pixels of float"}}) {
        SCOPED_TRACE(row.text);
        QelSimpleDataOrg const org(4, 4, row.has, 2, BAND_INTERLEAVED);
        expectRaises(QelErrorCode::wrongPixelFormat, row.text,
                     [&] { qelRequireElementType(org, row.wanted); });
    }
}

TEST(QelPixelRunElementTypeTest, AnOrganisationWithoutBandsRaises119) {
    QelSimpleDataOrg const org(4, 4, QelDataType::UChar, 0, PIXEL_INTERLEAVED);
    expectRaises(QelErrorCode::wrongPixelFormat,
                 "An iterator over unsigned char cannot visit pixels of QelDataType::ErrorClass",
                 [&] { qelRequireElementType(org, QelDataType::UChar); });
}

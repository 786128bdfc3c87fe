#include <algorithm>

#include <gtest/gtest.h>

#include "CopyReference.h"
#include "QelRectBuffer.h"

namespace {

constexpr QelRect whole(0, 0, 90, 80);

// Copies a view of a buffer onto another view of it, (dx, dy) away, and compares all of its memory
// with a copy by way of a third buffer.
void expectCopyThroughAThird(QelRectBuffer & buffer, QelRect const & view, int dx, int dy) {
    auto const source = buffer.subBuffer(view);
    auto const target =
        buffer.subBuffer(QelRect(view.x + dx, view.y + dy, view.width, view.height))
            ->translated(-dx, -dy);
    ASSERT_EQ(view, source->rect());
    ASSERT_EQ(view, target->rect());

    std::vector<std::uint8_t> const before = storageOf(buffer);
    QelRectBuffer third(view, buffer.numBands(), BAND_INTERLEAVED, buffer.precision(0));
    third.copyFrom(*source, view);
    target->copyFrom(third, view);
    std::vector<std::uint8_t> const expected = storageOf(buffer);

    std::copy(before.begin(), before.end(), buffer.dataBuffer()->data());
    target->copyFrom(*source, view);
    ASSERT_TRUE(expected == storageOf(buffer)) << view << " by " << dx << ", " << dy;
}

void expectAllShifts(QelRectBuffer & buffer, QelRect const & view) {
    for (int const dy : {-5, -1, 0, 1, 5}) {
        for (int const dx : {-5, -1, 0, 1, 5})
            ASSERT_NO_FATAL_FAILURE(expectCopyThroughAThird(buffer, view, dx, dy));
    }
}

class QelRectBufferCopyOverlapTest : public testing::TestWithParam<QelLayout> {};

std::string layoutName(testing::TestParamInfo<QelLayout> const & tested) {
    std::ostringstream name;
    name << tested.param;
    return name.str();
}

}  // namespace

TEST_P(QelRectBufferCopyOverlapTest, OfLargeViewsIsACopyThroughAThirdBuffer) {
    CopyRandom random(31);
    for (int const code : {QelDataType::UChar, QelDataType::Float}) {
        for (int const bands : {1, 3}) {
            QelRectBuffer buffer(whole, bands, GetParam(), code);
            random.fill(buffer);
            expectAllShifts(buffer, QelRect(5, 6, 75, 66));
            expectAllShifts(buffer, QelRect(5, 6, 10, 68));
        }
    }
}

TEST_P(QelRectBufferCopyOverlapTest, OfSmallViewsIsACopyThroughAThirdBuffer) {
    CopyRandom random(32);
    for (int const code : {QelDataType::UChar, QelDataType::Short, QelDataType::Double}) {
        for (int const bands : {1, 2, 3, 4}) {
            QelRectBuffer buffer(whole, bands, GetParam(), code);
            random.fill(buffer);
            expectAllShifts(buffer, QelRect(6, 7, 20, 13));
            expectAllShifts(buffer, QelRect(6, 7, 1, 13));
            expectAllShifts(buffer, QelRect(6, 7, 20, 1));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, QelRectBufferCopyOverlapTest,
                         testing::Values(PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED),
                         layoutName);

TEST(QelRectBufferCopyOverlapSpelledOutTest, OfAnyStridesIsACopyThroughAThirdBuffer) {
    CopyRandom random(33);
    for (int i = 0; i < 150; ++i) {
        int const code = random.between(0, 7);
        QelRectBuffer buffer(
            random.org(SPELLED_OUT, code, random.between(1, 5), whole.width, whole.height), 0, 0,
            whole.width, whole.height);
        random.fill(buffer);
        QelRect const view(random.between(10, 30), random.between(10, 30), random.between(1, 50),
                           random.between(1, 40));
        ASSERT_NO_FATAL_FAILURE(expectCopyThroughAThird(buffer, view, random.between(-10, 10),
                                                        random.between(-10, 10)));
    }
}

TEST(QelRectBufferCopyOverlapWholeBuffersTest, OntoItselfChangesNothing) {
    CopyRandom random(34);
    QelRectBuffer buffer(whole, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    random.fill(buffer);
    std::vector<std::uint8_t> const before = storageOf(buffer);
    buffer.copyFrom(buffer, whole);
    buffer.copyFrom(buffer, QelRect(3, 3, 9, 9));
    EXPECT_TRUE(before == storageOf(buffer));
}

// The two halves of one buffer do not overlap, though their memory is interleaved.
TEST(QelRectBufferCopyOverlapWholeBuffersTest, OfInterleavedHalvesIsCopiedWhole) {
    CopyRandom random(35);
    for (QelLayout const layout : {PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED}) {
        QelRectBuffer buffer(whole, 3, layout, QelDataType::UShort);
        random.fill(buffer);
        expectCopyThroughAThird(buffer, QelRect(0, 0, 45, 80), 45, 0);
        expectCopyThroughAThird(buffer, QelRect(45, 0, 45, 80), -45, 0);
    }
}

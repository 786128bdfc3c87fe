#include <sstream>

#include <gtest/gtest.h>

#include "CopyReference.h"
#include "QelRectBuffer.h"

namespace {

constexpr int elementTypes = 8;
constexpr QelLayout layouts[] = {PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED,
                                 SPELLED_OUT};

std::string described(QelRectBuffer const & buffer) {
    std::ostringstream text;
    text << buffer.precision(0) << ' ';
    buffer.print(text);
    return text.str();
}

// Copies through both ways and compares every byte of the target's memory.
void expectSameAsReference(QelRectBuffer & target, QelRectBuffer const & source,
                           QelRect const & rect) {
    std::vector<std::uint8_t> expected = storageOf(target);
    copyIntoStorage(expected, target, source, rect);
    target.copyFrom(source, rect);
    ASSERT_TRUE(expected == storageOf(target))
        << described(source) << "\nto " << described(target) << "\nin " << rect;
}

class QelRectBufferCopyRandomPairsTest : public testing::TestWithParam<int> {
  protected:
    void copyOnce(CopyRandom & random, int sourceType, int targetType, QelLayout sourceLayout,
                  QelLayout targetLayout) {
        std::int32_t width = 0;
        std::int32_t height = 0;
        random.size(width, height);
        QelRect const from(random.between(-9, 9), random.between(-9, 9), width, height);
        // Mostly the same pixels, sometimes others that they share some with.
        QelRect to = from;
        if (random.between(0, 1) != 0) {
            random.size(to.width, to.height);
            to.x += random.between(-5, 5);
            to.y += random.between(-5, 5);
        }
        auto const source = random.view(sourceLayout, sourceType, random.between(1, 5), from);
        auto const target = random.view(targetLayout, targetType, random.between(1, 5), to);
        QelRect const rect = random.between(0, 1) != 0
                                 ? QelRect(-100, -100, 1000, 1000)
                                 : QelRect(from.x + random.between(0, 9), from.y, 200, 100);
        expectSameAsReference(*target, *source, rect);
    }
};

}  // namespace

TEST_P(QelRectBufferCopyRandomPairsTest, EqualAReferenceThatCopiesElementByElement) {
    int const sourceType = GetParam();
    CopyRandom random(20240 + static_cast<std::uint32_t>(sourceType));
    for (int targetType = 0; targetType < elementTypes; ++targetType) {
        for (QelLayout const sourceLayout : layouts) {
            for (QelLayout const targetLayout : layouts) {
                for (int i = 0; i < 4; ++i) {
                    copyOnce(random, sourceType, targetType, sourceLayout, targetLayout);
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, QelRectBufferCopyRandomPairsTest,
                         testing::Range(0, elementTypes),
                         [](testing::TestParamInfo<int> const & tested) {
                             std::string name = QelDataType(tested.param).name();
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

// Small rectangles take the element path whatever their layouts, so this is where the same bands,
// strides and signs meet in every way.
TEST(QelRectBufferCopyRandomSmallTest, EqualAReferenceThatCopiesElementByElement) {
    CopyRandom random(77);
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        QelRect const rect(0, 0, random.between(1, 40), random.between(1, 8));
        int const type = random.between(0, elementTypes - 1);
        bool const sameType = random.between(0, 2) != 0;
        int const bands = random.between(1, 4);
        auto const source = random.view(layouts[random.between(0, 3)], type, bands, rect);
        auto const target =
            random.view(layouts[random.between(0, 3)],
                        sameType ? type : random.between(0, elementTypes - 1), bands, rect);
        expectSameAsReference(*target, *source, rect);
    }
}

// Elements need not lie at multiples of their size.
TEST(QelRectBufferCopyRandomMisalignedTest, EqualAReferenceThatCopiesElementByElement) {
    CopyRandom random(78);
    for (int sourceType = 0; sourceType < elementTypes; ++sourceType) {
        for (int targetType = 0; targetType < elementTypes; ++targetType) {
            QelRect const rect(0, 0, random.between(60, 90), 3);
            QelRectBuffer source(0, 1 + sourceType % 3, rect, 3, layouts[random.between(0, 2)],
                                 sourceType);
            QelRectBuffer target(0, 3, rect, 3, layouts[random.between(0, 2)], targetType);
            random.fill(source);
            random.fill(target);
            expectSameAsReference(target, source, rect);
        }
    }
}

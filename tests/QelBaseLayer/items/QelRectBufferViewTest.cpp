#include <gtest/gtest.h>

#include <iostream>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "QelError.h"
#include "QelRectBuffer.h"
#include "QelSimpleDataOrg.h"

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

std::vector<std::int32_t> const oneBand = {0};

template <class Action>
void expectError13(std::string const & text, Action const & action) {
    try {
        action();
        ADD_FAILURE() << "nothing raised, but expected: " << text;
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::invalidValue, error.getErrcode());
        EXPECT_EQ("QEL error 13\n" + text, error.getMsg());
    }
}

class QelRectBufferViewTest : public testing::Test {
  protected:
    // (10,20) to (17,25), two bands of short.
    MoxSmartPtr<QelRectBuffer> buffer_{
        new QelRectBuffer(QelRect(10, 20, 8, 6), 2, PIXEL_INTERLEAVED, QelDataType::Short)};
};

TEST_F(QelRectBufferViewTest, SubBufferIsAViewOfTheCommonPixels) {
    MoxSmartPtr<QelRectBuffer> const view = buffer_->subBuffer(QelRect(12, 23, 100, 2));
    EXPECT_EQ(12, view->rect().x);
    EXPECT_EQ(QelRect(12, 23, 6, 2), view->rect());
    EXPECT_EQ(buffer_->dataBuffer(), view->dataBuffer());
    EXPECT_EQ(buffer_->dataOrg(), view->dataOrg());
    EXPECT_EQ(3 * 32 + 2 * 4, view->dataOffset());
    EXPECT_EQ(buffer_->addressOf(12, 23), view->getData());
    EXPECT_EQ(1, view->refCount());
}

TEST_F(QelRectBufferViewTest, SubBufferOfTheWholeIsTheSame) {
    MoxSmartPtr<QelRectBuffer> const view = buffer_->subBuffer(QelRect(0, 0, 1000, 1000));
    EXPECT_EQ(buffer_->rect(), view->rect());
    EXPECT_EQ(0, view->dataOffset());
}

TEST_F(QelRectBufferViewTest, SubBufferOutsideTheRectangleIsEmpty) {
    MoxSmartPtr<QelRectBuffer> const inner = buffer_->subBuffer(QelRect(12, 23, 2, 2));
    for (QelRect const & outside :
         {QelRect(0, 0, 5, 5), QelRect(14, 23, 2, 2), QelRect(12, 25, 2, 2), QelRect(),
          QelRect(12, 23, 0, 2), QelRect(most, most, most, most)}) {
        MoxSmartPtr<QelRectBuffer> const view = inner->subBuffer(outside);
        EXPECT_TRUE(view->rect().isEmpty());
        EXPECT_EQ(inner->dataOffset(), view->dataOffset());
        EXPECT_EQ(inner->dataBuffer(), view->dataBuffer());
    }
}

TEST_F(QelRectBufferViewTest, SubBufferDoesNotAllocate) {
    MoxSmartPtr<QelRectBuffer> const view = buffer_->subBuffer(QelRect(12, 23, 2, 2));
    EXPECT_FALSE(buffer_->isAllocated());
    view->getData();
    EXPECT_TRUE(buffer_->isAllocated());
}

TEST_F(QelRectBufferViewTest, ViewsBelongToNobodyAndAreCompleteIfTheBufferIs) {
    EXPECT_FALSE(buffer_->subBuffer(buffer_->rect())->isState(0xff));
    buffer_->setComplete(true);
    EXPECT_TRUE(buffer_->subBuffer(buffer_->rect())->isState(QelRenderedItem::complete));
    EXPECT_TRUE(buffer_->translated(1, 1)->isState(QelRenderedItem::complete));
}

TEST_F(QelRectBufferViewTest, TranslatedLeavesTheData) {
    MoxSmartPtr<QelRectBuffer> const view = buffer_->translated(5, 5);
    EXPECT_EQ(buffer_->getData(), view->getData());
    EXPECT_EQ(15, view->rect().x);
    EXPECT_EQ(QelRect(15, 25, 8, 6), view->rect());
    EXPECT_EQ(buffer_->addressOf(10, 20), view->addressOf(15, 25));
    EXPECT_EQ(10, buffer_->rect().x);
}

TEST_F(QelRectBufferViewTest, TranslatedReachesTheEndsOfTheCoordinates) {
    EXPECT_EQ(most, buffer_->translated(most - 10, 0)->rect().x);
    EXPECT_EQ(least,
              buffer_->translated(0, -1)->translated(0, least)->translated(0, -19)->rect().y);
}

TEST_F(QelRectBufferViewTest, TranslatedBeyondTheCoordinatesIsRefused) {
    expectError13("QelRectBuffer cannot move (10,20,8,6) by (2147483638,0)",
                  [&] { buffer_->translated(most - 9, 0); });
    expectError13("QelRectBuffer cannot move (10,20,8,6) by (0,2147483647)",
                  [&] { buffer_->translated(0, most); });
    MoxSmartPtr<QelRectBuffer> const low = buffer_->translated(-11, -21);
    expectError13("QelRectBuffer cannot move (-1,-1,8,6) by (-2147483648,0)",
                  [&] { low->translated(least, 0); });
    expectError13("QelRectBuffer cannot move (-1,-1,8,6) by (0,-2147483648)",
                  [&] { low->translated(0, least); });
}

TEST_F(QelRectBufferViewTest, OffsetOfCountsFromTheStartOfTheMemory) {
    MoxSmartPtr<QelRectBuffer> const view = buffer_->subBuffer(QelRect(12, 23, 2, 2));
    EXPECT_EQ(0, buffer_->offsetOf(10, 20));
    EXPECT_EQ(4, buffer_->offsetOf(11, 20));
    EXPECT_EQ(32, buffer_->offsetOf(10, 21));
    EXPECT_EQ(-36, buffer_->offsetOf(9, 19));
    for (auto const & [x, y] : {std::pair{12, 23}, {13, 24}, {10, 20}, {17, 25}, {0, 0}}) {
        EXPECT_EQ(buffer_->offsetOf(x, y), view->offsetOf(x, y)) << x << "," << y;
    }
}

TEST_F(QelRectBufferViewTest, OffsetsHave64Bits) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(1, 1, QelDataType::UChar, 1, oneBand, 1, most));
    QelRectBuffer const buffer(org, 0, 0, 1, 1);
    EXPECT_EQ(std::int64_t{most} * 1000 + 7, buffer.offsetOf(7, 1000));
    EXPECT_EQ(std::int64_t{most} * -1000, buffer.offsetOf(0, -1000));
}

TEST_F(QelRectBufferViewTest, PixelsTooFarAwayAreRefused) {
    MoxSmartPtr<QelRectBuffer> const low = buffer_->translated(least, least);
    QelRectBuffer const & constant = *low;
    std::string const where = " is too far from (-2147483638,-2147483628,8,6)";
    expectError13("Pixel (10,0)" + where, [&] { low->offsetOf(10, 0); });
    expectError13("Pixel (0,20)" + where, [&] { low->addressOf(0, 20); });
    expectError13("Pixel (2147483647,0)" + where, [&] { constant.addressOf(most, 0); });
    EXPECT_FALSE(buffer_->isAllocated());
    EXPECT_EQ(std::int64_t{most} * 4, low->offsetOf(9, low->rect().y));
}

TEST_F(QelRectBufferViewTest, SetRectMovesNoMemory) {
    MoxSmartPtr<QelDataBuffer> const memory = buffer_->dataBuffer().get();
    buffer_->setRect(QelRect(1, 1, 4, 4));
    EXPECT_EQ(QelRect(1, 1, 4, 4), buffer_->rect());
    EXPECT_EQ(memory, buffer_->dataBuffer());
    EXPECT_EQ(0, buffer_->offsetOf(1, 1));
}

// The pixels of a chain of views, kept one by one: where each lies is written down for the first
// buffer and only renamed or dropped by the views.
class Model {
  public:
    explicit Model(QelRectBuffer const & buffer) {
        QelRect const & rect = buffer.rect();
        for (std::int32_t y = 0; y < rect.height; ++y) {
            for (std::int32_t x = 0; x < rect.width; ++x) {
                offsets_[{rect.x + x, rect.y + y}] =
                    buffer.dataOffset() + buffer.pixelStride() * x + buffer.lineStride() * y;
            }
        }
    }

    void cut(QelRect const & rect) {
        std::erase_if(offsets_, [&](auto const & pixel) {
            return !rect.contains(pixel.first.first, pixel.first.second);
        });
    }
    void move(std::int32_t dx, std::int32_t dy) {
        Offsets moved;
        for (auto const & [at, offset] : offsets_)
            moved[{at.first + dx, at.second + dy}] = offset;
        offsets_.swap(moved);
    }

    testing::AssertionResult describes(QelRectBuffer const & view) const {
        if (static_cast<std::int64_t>(offsets_.size()) != view.rect().area()) {
            return testing::AssertionFailure() << offsets_.size() << " pixels, not " << view.rect();
        }
        for (auto const & [at, offset] : offsets_) {
            if (view.rect().contains(at.first, at.second) &&
                view.offsetOf(at.first, at.second) == offset &&
                view.addressOf(at.first, at.second) == view.dataBuffer()->data() + offset) {
                continue;
            }
            return testing::AssertionFailure() << "pixel (" << at.first << "," << at.second << ")";
        }
        return testing::AssertionSuccess();
    }

  private:
    using Offsets = std::map<std::pair<std::int32_t, std::int32_t>, std::int64_t>;
    Offsets offsets_;
};

TEST_F(QelRectBufferViewTest, RandomChainsOfViewsKeepEachPixelInItsPlace) {
    unsigned const seed = 2302;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const between = [&](int low, int high) {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random);
    };
    for (int round = 0; round < 500; ++round) {
        std::int32_t const width = between(1, 12);
        MoxSmartPtr<QelDataOrg> const org(new QelSimpleDataOrg(
            width, between(1, 12), QelDataType::Short, 1, oneBand, between(0, 1) == 0 ? 2 : -2,
            (between(0, 1) == 0 ? 2 : -2) * width));
        MoxSmartPtr<QelRectBuffer> view(
            new QelRectBuffer(org, between(-50, 50), between(-50, 50), -1, -1));
        Model model(*view);
        for (int step = 0; step < 6; ++step) {
            if (between(0, 1) == 0) {
                std::int32_t const dx = between(-20, 20);
                std::int32_t const dy = between(-20, 20);
                view = view->translated(dx, dy);
                model.move(dx, dy);
            } else {
                QelRect const part(view->rect().x + between(-2, 4), view->rect().y + between(-2, 4),
                                   between(0, 14), between(0, 14));
                view = view->subBuffer(part);
                model.cut(part);
            }
            ASSERT_TRUE(model.describes(*view)) << "round " << round << " step " << step;
        }
    }
}

}  // namespace

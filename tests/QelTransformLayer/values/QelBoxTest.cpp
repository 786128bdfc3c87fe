#include "QelBox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <type_traits>

#include "ExpectError.h"
#include "MoxSmartPtr.h"
#include "QelXyBox.h"
#include "UnitTesting.h"

namespace {

static_assert(std::has_virtual_destructor_v<QelBox>);
static_assert(std::is_base_of_v<ZanRefCount, QelBox>);

QelValueRange samples(double min, double width) {
    return {pixels(min), pixels(width), 1, true, false};
}

TEST(QelBoxTest, StartsWithUnitRanges) {
    QelBox const box(3);
    EXPECT_EQ(3u, box.dimensions());
    for (unsigned i = 0; i < 3; ++i) {
        QelValueRange const & range = box.range(i);
        EXPECT_EQ(0.0, range.min().value());
        EXPECT_EQ(1.0, range.width().value());
        EXPECT_EQ(1.0, range.max().value());
        EXPECT_EQ(QEL_UNIT_ARBITRARY, range.unit());
        EXPECT_EQ(0, range.discrete());
    }
}

TEST(QelBoxTest, ZeroDimensionsAreRefused) {
    expectRaises(QelErrorCode::noDimensions, "Cannot define a box in zero dimensions",
                 [] { QelBox box(0); });
}

TEST(QelBoxTest, ARangeIsReplacedWithItsUnit) {
    QelBox box(2);
    box.setRange(1, samples(2, 3));
    EXPECT_EQ("[2 pixels, 5 pixels) discrete", exactText(box.range(1)));
    EXPECT_EQ(QEL_UNIT_ARBITRARY, box.range(0).unit());
    box.setRange(1, box.range(0));
    EXPECT_EQ(QEL_UNIT_ARBITRARY, box.range(1).unit());
}

TEST(QelBoxTest, BadIndicesAreRefused) {
    QelBox box(2);
    constexpr char const * text = "index value 2 into box with 2 dimensions";
    expectRaises(QelErrorCode::outOfRange, text, [&] { box.range(2); });
    expectRaises(QelErrorCode::outOfRange, text, [&] { box.setRange(2, samples(0, 1)); });
}

TEST(QelBoxTest, AllRangesAreReplacedTogether) {
    QelBox box(2);
    box.setRanges({samples(1, 2), samples(3, 4)});
    EXPECT_EQ(1.0, box.range(0).min().value());
    EXPECT_EQ(4.0, box.range(1).width().value());
    expectRaises(QelErrorCode::countsDiffer,
                 "cannot update 2-dimensional box with range set containing 3 entries", [&] {
                     box.setRanges({samples(9, 9), samples(9, 9), samples(9, 9)});
                 });
    expectRaises(QelErrorCode::countsDiffer,
                 "cannot update 2-dimensional box with range set containing 0 entries",
                 [&] { box.setRanges({}); });
    EXPECT_EQ(1.0, box.range(0).min().value());
    EXPECT_EQ(4.0, box.range(1).width().value());
}

TEST(QelBoxTest, ACopyIsABoxOfItsOwn) {
    MoxSmartPtr<QelBox> const box = new QelBox(1);
    MoxSmartPtr<QelBox> const copy = new QelBox(*box);
    copy->setRange(0, samples(5, 6));
    EXPECT_EQ(0.0, box->range(0).min().value());
    EXPECT_EQ(5.0, copy->range(0).min().value());
}

TEST(QelBoxTest, IsWrittenByItsOwnKind) {
    QelBox box(2);
    box.setRange(0, samples(1, 2));
    EXPECT_EQ("QelBox[[1 pixel, 3 pixels) discrete, [0 arbitrary units, 1 arbitrary unit]]",
              exactText(box));
    QelXyBox const rectangle(samples(1, 2), samples(3, 4));
    QelBox const & base = rectangle;
    EXPECT_EQ("QelXyBox[x=1 pixel, y=3 pixels, w=2 pixels, h=4 pixels]", exactText(base));
}

TEST(QelBoxTest, ErrorsNameTheirSource) {
    std::optional<ZanError> const error = errorOf([] { QelBox box(0); });
    ASSERT_TRUE(error);
    EXPECT_THAT(error->getFile(), testing::EndsWith("/QelBox.cpp"));
}

}  // namespace

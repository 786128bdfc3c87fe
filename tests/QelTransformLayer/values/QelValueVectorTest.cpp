#include "QelValueVector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "ExpectError.h"
#include "QelPoint.h"
#include "QelXyPoint.h"
#include "QelXyVector.h"
#include "UnitTesting.h"

namespace {

static_assert(std::is_base_of_v<QelXyVector, QelXyPoint>);
static_assert(std::is_base_of_v<QelPoint, QelXyPoint>);
// One QelValueVector in it, not two: the conversion would be ambiguous.
static_assert(std::is_convertible_v<QelXyPoint *, QelValueVector *>);
static_assert(std::has_virtual_destructor_v<QelValueVector>);

void expectElement(double number, int unit, QelValue const & value) {
    EXPECT_EQ(number, value.value());
    EXPECT_EQ(unit, value.unit());
}

QelValueVector twoLengths() {
    QelValueVector vector(2, inches(1));
    vector.setElement(1, centimeters(2));
    return vector;
}

TEST(QelValueVectorTest, StartsWithOneValueForAll) {
    QelValueVector const zeros(3);
    EXPECT_EQ(3u, zeros.size());
    for (unsigned i = 0; i < 3; ++i)
        expectElement(0.0, QEL_UNIT_ARBITRARY, zeros.element(i));
    QelValueVector const lengths(2, inches(4));
    expectElement(4.0, QEL_UNIT_INCH, lengths.element(0));
    expectElement(4.0, QEL_UNIT_INCH, lengths.element(1));
}

TEST(QelValueVectorTest, NoElementsAreRefused) {
    constexpr char const * text = "Value vector size must be greater than zero";
    expectRaises(QelErrorCode::invalidValue, text, [] { QelValueVector(0u); });
    expectRaises(QelErrorCode::invalidValue, text, [] { QelValueVector(0u, inches(1)); });
    expectRaises(QelErrorCode::invalidValue, text, [] { QelPoint(0u); });
}

TEST(QelValueVectorTest, BadIndicesAreRefused) {
    QelValueVector vector = twoLengths();
    expectRaises(QelErrorCode::outOfRange, "index value 2 into vector containing 2 elements",
                 [&] { vector.element(2); });
    expectRaises(QelErrorCode::outOfRange,
                 "index value 4294967295 into vector containing 2 elements",
                 [&] { vector.setElement(4294967295u, inches(9)); });
    expectRaises(QelErrorCode::outOfRange, "index value 2 into vector containing 2 elements",
                 [&] { vector.setElements(0, 2, inches(9)); });
    expectRaises(QelErrorCode::outOfRange, "index value 3 into vector containing 2 elements",
                 [&] { vector.setElements(3, 4294967295u, inches(9)); });
    expectRaises(QelErrorCode::outOfRange,
                 "low index value 5 is greater than high index value 4 of range of vector elements",
                 [&] { vector.setElements(5, 4, inches(9)); });
    expectElement(1.0, QEL_UNIT_INCH, vector.element(0));
    expectElement(2.0, QEL_UNIT_CENTIMETER, vector.element(1));
}

TEST(QelValueVectorTest, SetsElementsWithTheirUnit) {
    QelValueVector vector(4);
    vector.setElement(0, inches(5));
    vector.setElements(1, 2, pixels(3));
    vector.setElements(3, 3, vector.element(1));
    expectElement(5.0, QEL_UNIT_INCH, vector.element(0));
    for (unsigned i = 1; i < 4; ++i)
        expectElement(3.0, QEL_UNIT_PIXEL, vector.element(i));
}

TEST(QelValueVectorTest, DifferentSizesAreRefused) {
    QelValueVector vector = twoLengths();
    QelValueVector const other(3, inches(1));
    expectRaises(QelErrorCode::lengthsDiffer,
                 "assignment between value vector with 2 elements and value vector with 3 elements",
                 [&] { vector = other; });
    expectRaises(QelErrorCode::lengthsDiffer,
                 "replaceWith() against value vector with 2 elements cannot be passed a value "
                 "vector with 3 elements",
                 [&] { vector.replaceWith(other); });
    expectRaises(QelErrorCode::lengthsDiffer,
                 "add between value vector with 2 elements and value vector with 3 elements",
                 [&] { vector.add(other); });
    expectRaises(QelErrorCode::lengthsDiffer,
                 "subtract between value vector with 2 elements and value vector with 3 elements",
                 [&] { vector.subtract(other); });
    EXPECT_TRUE(vector == twoLengths());
    EXPECT_FALSE(vector == other);
}

TEST(QelValueVectorTest, OperationsConvertToTheLeftUnits) {
    QelValueVector vector = twoLengths();
    QelValueVector const other(2, QelValue(0.0254, QEL_UNIT_METER));
    vector.add(other);
    expectElement(1.0 + 0.0254 / 0.0254, QEL_UNIT_INCH, vector.element(0));
    expectElement(2.0 + 0.0254 / 0.01, QEL_UNIT_CENTIMETER, vector.element(1));
    vector.subtract(other);
    EXPECT_TRUE(vector == twoLengths());
    vector = other;
    expectElement(0.0254 / 0.0254, QEL_UNIT_INCH, vector.element(0));
    expectElement(0.0254 / 0.01, QEL_UNIT_CENTIMETER, vector.element(1));
    vector.replaceWith(other);
    expectElement(0.0254, QEL_UNIT_METER, vector.element(0));
    vector.add(vector);
    expectElement(0.0508, QEL_UNIT_METER, vector.element(1));
    vector.subtract(vector);
    expectElement(0.0, QEL_UNIT_METER, vector.element(0));
}

TEST(QelValueVectorTest, UnitsThatDoNotConvertChangeNothing) {
    QelValueVector vector = twoLengths();
    QelValueVector other(2, inches(3));  // only the second one is bad
    other.setElement(1, pixels(1));
    constexpr char const * text =
        "Cannot convert from unit pixels (id = 1) to unit centimeters (id = 32)";
    expectRaises(QelErrorCode::cannotConvertUnit, text, [&] { vector.add(other); });
    expectRaises(QelErrorCode::cannotConvertUnit, text, [&] { vector.subtract(other); });
    expectRaises(QelErrorCode::cannotConvertUnit, text, [&] { vector = other; });
    EXPECT_TRUE(vector == twoLengths());
}

TEST(QelValueVectorTest, APointIsAVector) {
    QelPoint point(3, inches(1));
    QelPoint const other(3, QelValue(0.0254, QEL_UNIT_METER));
    point = other;
    expectElement(1.0, QEL_UNIT_INCH, point.element(2));
    QelPoint const copy = other;
    expectElement(0.0254, QEL_UNIT_METER, copy.element(0));
    EXPECT_EQ(2u, QelPoint(2).size());
}

TEST(QelValueVectorTest, AnXyVectorHasTwoElements) {
    QelXyVector vector(inches(1), pixels(2));
    EXPECT_EQ(2u, vector.size());
    expectElement(1.0, QEL_UNIT_INCH, vector.x());
    expectElement(2.0, QEL_UNIT_PIXEL, vector.y());
    vector.setX(pixels(3));
    vector.setY(inches(4));
    expectElement(3.0, QEL_UNIT_PIXEL, vector.element(0));
    expectElement(4.0, QEL_UNIT_INCH, vector.element(1));
    vector = QelXyVector(pixels(5), QelValue(0.0254, QEL_UNIT_METER));
    expectElement(5.0, QEL_UNIT_PIXEL, vector.x());
    expectElement(1.0, QEL_UNIT_INCH, vector.y());
}

TEST(QelValueVectorTest, AnXyPointIsBothAPointAndAVector) {
    QelXyPoint point(inches(1), centimeters(2));
    QelPoint & asPoint = point;
    QelXyVector & asVector = point;
    asPoint.setElement(0, inches(3));
    expectElement(3.0, QEL_UNIT_INCH, asVector.x());
    expectElement(2.0, QEL_UNIT_CENTIMETER, asPoint.element(1));
    QelXyPoint const copy = point;
    expectElement(3.0, QEL_UNIT_INCH, copy.x());
    expectElement(2.0, QEL_UNIT_CENTIMETER, copy.y());
    point = QelXyPoint(QelValue(0.0254, QEL_UNIT_METER), QelValue(0.01, QEL_UNIT_METER));
    expectElement(1.0, QEL_UNIT_INCH, point.x());
    expectElement(1.0, QEL_UNIT_CENTIMETER, point.y());
}

TEST(QelValueVectorTest, ErrorsNameTheirSource) {
    std::optional<ZanError> const error = errorOf([] { QelValueVector(0u); });
    ASSERT_TRUE(error);
    EXPECT_THAT(error->getFile(), testing::EndsWith("/QelValueVector.cpp"));
}

}  // namespace

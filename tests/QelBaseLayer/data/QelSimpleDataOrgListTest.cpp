#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ExpectError.h"
#include "QelSimpleDataOrg.h"

// Organisations whose band offsets are given: as an array, a vector or a list in braces.
namespace {

using Org = MoxSmartPtr<QelSimpleDataOrg>;
using Offsets = std::vector<std::int32_t>;

TEST(QelSimpleDataOrgListTest, SpelledOut) {
    std::int32_t const offsets[] = {100, -8, 0};
    Org const org(new QelSimpleDataOrg(10, 4, QelDataType::Float, 3, offsets, -12, 200));
    EXPECT_EQ(SPELLED_OUT, org->layout());
    EXPECT_EQ(-12, org->pixelStride());
    EXPECT_EQ(200, org->lineStride());
    EXPECT_EQ((Offsets{100, -8, 0}), org->bandOffsets());
    EXPECT_EQ(100 - 12 * 3 + 200 * 2, org->offset(3, 2, 0));
    EXPECT_EQ(-8 - 12 * 3 + 200 * 2, org->offset(3, 2, 1));
    EXPECT_EQ(-12 * 3 + 200 * 2, org->offset(3, 2));
    EXPECT_EQ(12, org->offset(-1, 0));
}

TEST(QelSimpleDataOrgListTest, SpelledOutWithTooFewOffsetsRaises13) {
    expectRaises(QelErrorCode::invalidValue,
                 "A data organization of 3 bands is given 2 band offsets", [] {
                     MoxSmartPtr<QelSimpleDataOrg>(
                         new QelSimpleDataOrg(1, 1, QelDataType::UChar, 3, Offsets{0, 1}, 3, 3));
                 });
    // More are not looked at.
    Org const org(new QelSimpleDataOrg(1, 1, QelDataType::UChar, 1, Offsets{4, 5}, 3, 3));
    EXPECT_EQ(Offsets{4}, org->bandOffsets());
}

TEST(QelSimpleDataOrgListTest, NullListsRaise4) {
    std::int32_t const * const none = nullptr;
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", [&] {
        MoxSmartPtr<QelSimpleDataOrg>(
            new QelSimpleDataOrg(1, 1, QelDataType::UChar, 1, none, 1, 1));
    });
    Org const org(new QelSimpleDataOrg(1, 1, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { org->selectBands(1, nullptr); });
    EXPECT_EQ(0, org->selectBands(0, nullptr)->numBands());
}

// Alone, {0} would also do for a null pointer, and {} for none at all.
TEST(QelSimpleDataOrgListTest, BracesAreAListAndNeverANullPointer) {
    Org const zero(new QelSimpleDataOrg(10, 4, QelDataType::Short, 1, {0}, 2, 20));
    EXPECT_EQ(Offsets{0}, zero->bandOffsets());
    EXPECT_EQ(SPELLED_OUT, zero->layout());
    EXPECT_EQ(2, zero->pixelStride());
    EXPECT_EQ(20, zero->lineStride());
    Org const one(new QelSimpleDataOrg(10, 4, QelDataType::Short, 1, {7}, 2, 20));
    EXPECT_EQ(Offsets{7}, one->bandOffsets());
    Org const three(new QelSimpleDataOrg(10, 4, QelDataType::Short, 3, {4, 0, 2}, 6, 60));
    EXPECT_EQ((Offsets{4, 0, 2}), three->bandOffsets());
    Org const none(new QelSimpleDataOrg(10, 4, QelDataType::Short, 0, {}, 2, 20));
    EXPECT_EQ(Offsets{}, none->bandOffsets());
    EXPECT_EQ(0, none->numBands());
}

// A null pointer would raise nullPointer (4).
TEST(QelSimpleDataOrgListTest, BracesWithTooFewOffsetsRaise13) {
    expectRaises(
        QelErrorCode::invalidValue, "A data organization of 2 bands is given 1 band offsets",
        [] { Org const org(new QelSimpleDataOrg(1, 1, QelDataType::UChar, 2, {0}, 1, 1)); });
    expectRaises(
        QelErrorCode::invalidValue, "A data organization of 1 bands is given 0 band offsets",
        [] { Org const org(new QelSimpleDataOrg(1, 1, QelDataType::UChar, 1, {}, 1, 1)); });
    expectRaises(QelErrorCode::invalidValue, "A data organization of -1 bands is impossible", [] {
        Org const org(new QelSimpleDataOrg(1, 1, QelDataType::UChar, -1, {0}, 1, 1));
    });
}

// Each is taken as what it is, without the braces.
TEST(QelSimpleDataOrgListTest, ArraysAndVectorsMeanTheSame) {
    std::int32_t const array[] = {4, 0, 2};
    Offsets const vector(array, array + 3);
    Org const braces(new QelSimpleDataOrg(10, 4, QelDataType::Short, 3, {4, 0, 2}, -6, 60));
    Org const fromArray(new QelSimpleDataOrg(10, 4, QelDataType::Short, 3, array, -6, 60));
    Org const fromVector(new QelSimpleDataOrg(10, 4, QelDataType::Short, 3, vector, -6, 60));
    EXPECT_TRUE(braces->isCompatible(*fromArray, false));
    EXPECT_TRUE(braces->isCompatible(*fromVector, false));
    EXPECT_EQ(braces->size(), fromArray->size());
    EXPECT_EQ(braces->size(), fromVector->size());
}

}  // namespace

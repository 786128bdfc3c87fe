#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "CopyReference.h"
#include "ExpectError.h"
#include "FaultySystem.h"
#include "QelDIBDataOrg.h"
#include "QelError.h"
#include "QelRectBuffer.h"
#include "RigidDataOrg.h"

namespace {

// A buffer of one band with its elements side by side.
template <class Element>
struct Row {
    explicit Row(std::vector<Element> numbers)
        : elements(std::move(numbers)),
          buffer(static_cast<std::int32_t>(elements.size()), 1, 1, PIXEL_INTERLEAVED,
                 QelDataType::of<Element>(), elements.data(), false) {}

    std::vector<Element> elements;
    QelRectBuffer buffer;
};

template <class Target, class Source>
std::vector<Target> copied(std::vector<Source> const & numbers) {
    Row<Source> source(numbers);
    Row<Target> target(std::vector<Target>(numbers.size()));
    target.buffer.copyFrom(source.buffer, source.buffer.rect());
    return target.elements;
}

// Ascending bytes.
std::vector<std::uint8_t> bytesFrom(std::uint8_t first, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(first + i);
    return bytes;
}

// A buffer with an organisation that is not a QelSimpleDataOrg.
struct RigidBuffer : QelRectBuffer {
    RigidBuffer() : QelRectBuffer(rigidOrg(), 0, 0, 8, 8) {}

    static MoxSmartPtr<QelDataOrg> rigidOrg() {
        return new RigidDataOrg(8, 8, {QelDataType::UChar});
    }
};

// A buffer whose memory cannot be had.
class Unreadable : public QelRectBuffer {
  public:
    Unreadable() : QelRectBuffer(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar) {}
    std::function<void()> raise;
    std::uint8_t const * getData() const override {
        raise();
        return nullptr;
    }
    std::uint8_t * getData() override {
        raise();
        return nullptr;
    }
};

void expectCopyRaises(int code, std::string const & text, QelDataType source, QelDataType target) {
    for (std::int32_t const width : {5, 63, 64, 200}) {
        QelRectBuffer from(width, 2, 2, PIXEL_INTERLEAVED, source);
        QelRectBuffer to(width, 2, 2, PIXEL_INTERLEAVED, target);
        expectRaises(code, text, [&] { to.copyFrom(from, from.rect()); });
        EXPECT_FALSE(from.isAllocated());
        EXPECT_FALSE(to.isAllocated());
    }
}

}  // namespace

// ---- Conversions

TEST(QelRectBufferCopyTest, FloatsAreCutAndKeepTheirLowByte) {
    std::vector<float> const numbers{300.7F, -1.5F, 0.99F, -0.99F, 255.9F, 65536.0F, 1e6F};
    EXPECT_EQ((std::vector<std::uint8_t>{44, 255, 0, 0, 255, 0, 64}),
              copied<std::uint8_t>(numbers));
    EXPECT_EQ((std::vector<std::int8_t>{44, -1, 0, 0, -1, 0, 64}), copied<std::int8_t>(numbers));
    EXPECT_EQ((std::vector<std::int16_t>{300, -1, 0, 0, 255, 0, 16960}),
              copied<std::int16_t>(numbers));
    EXPECT_EQ((std::vector<std::uint32_t>{300, 4294967295U, 0, 0, 255, 65536, 1000000}),
              copied<std::uint32_t>(numbers));
}

TEST(QelRectBufferCopyTest, DoublesAreCutAndKeepTheirLowByte) {
    std::vector<double> const numbers{300.7, -1.5, -2147483648.9, 2147483647.9};
    EXPECT_EQ((std::vector<std::uint8_t>{44, 255, 0, 255}), copied<std::uint8_t>(numbers));
    EXPECT_EQ((std::vector<std::uint16_t>{300, 65535, 0, 65535}), copied<std::uint16_t>(numbers));
    EXPECT_EQ((std::vector<std::int32_t>{300, -1, std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max()}),
              copied<std::int32_t>(numbers));
}

TEST(QelRectBufferCopyTest, RealsOutOfRangeStoreTheLowBytesOfTheSignBit) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> const numbers{2147483648.0F, -2147483904.0F, 1e30F, -1e30F,
                                     infinity,      -infinity,      NAN};
    std::vector<double> const wide(numbers.begin(), numbers.end());
    EXPECT_EQ(std::vector<std::uint8_t>(7, 0), copied<std::uint8_t>(numbers));
    EXPECT_EQ(std::vector<std::int16_t>(7, 0), copied<std::int16_t>(numbers));
    std::vector<std::int32_t> const lowest(7, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(lowest, copied<std::int32_t>(numbers));
    EXPECT_EQ(lowest, copied<std::int32_t>(wide));
    std::vector<std::uint32_t> const signBit(7, 0x80000000U);
    EXPECT_EQ(signBit, copied<std::uint32_t>(numbers));
    EXPECT_EQ(signBit, copied<std::uint32_t>(wide));
}

TEST(QelRectBufferCopyTest, ULongTakesRealsUpTo32Bits) {
    EXPECT_EQ(
        (std::vector<std::uint32_t>{2147483648U, 4294967040U, 0x80000000U}),
        copied<std::uint32_t>(std::vector<float>{2147483648.0F, 4294967040.0F, 4294967296.0F}));
    EXPECT_EQ((std::vector<std::uint32_t>{3000000000U, 4294967295U, 0x80000000U}),
              copied<std::uint32_t>(std::vector<double>{3000000000.7, 4294967295.9, 4294967296.0}));
}

TEST(QelRectBufferCopyTest, BetweenUCharAndCharBytesMoveUnchanged) {
    std::vector<std::uint8_t> const bytes{0, 127, 128, 200, 255};
    EXPECT_EQ((std::vector<std::int8_t>{0, 127, -128, -56, -1}), copied<std::int8_t>(bytes));
    EXPECT_EQ(bytes, copied<std::uint8_t>(copied<std::int8_t>(bytes)));
}

TEST(QelRectBufferCopyTest, IntegersWidenByTheirOwnSignAndNarrowToTheirLowBytes) {
    EXPECT_EQ((std::vector<std::uint16_t>{65535, 65408, 127}),
              copied<std::uint16_t>(std::vector<std::int8_t>{-1, -128, 127}));
    EXPECT_EQ((std::vector<std::int32_t>{255, 128}),
              copied<std::int32_t>(std::vector<std::uint8_t>{255, 128}));
    EXPECT_EQ((std::vector<std::uint32_t>{4294967295U, 32767}),
              copied<std::uint32_t>(std::vector<std::int16_t>{-1, 32767}));
    EXPECT_EQ((std::vector<std::int32_t>{65535}),
              copied<std::int32_t>(std::vector<std::uint16_t>{65535}));
    EXPECT_EQ((std::vector<std::uint8_t>{0x78}),
              copied<std::uint8_t>(std::vector<std::int32_t>{0x12345678}));
    EXPECT_EQ((std::vector<std::int16_t>{0x5678}),
              copied<std::int16_t>(std::vector<std::uint32_t>{0x12345678}));
}

TEST(QelRectBufferCopyTest, IntegersBecomeRealsByTheirOwnSign) {
    EXPECT_EQ((std::vector<float>{4294967296.0F, 3000000000.0F}),
              copied<float>(std::vector<std::uint32_t>{4294967295U, 3000000000U}));
    EXPECT_EQ((std::vector<double>{4294967295.0}),
              copied<double>(std::vector<std::uint32_t>{4294967295U}));
    EXPECT_EQ(
        (std::vector<float>{-1, -2147483648.0F}),
        copied<float>(std::vector<std::int32_t>{-1, std::numeric_limits<std::int32_t>::min()}));
    EXPECT_EQ((std::vector<double>{-128}), copied<double>(std::vector<std::int8_t>{-128}));
}

TEST(QelRectBufferCopyTest, RealsWidenAndNarrow) {
    EXPECT_EQ((std::vector<double>{0.5, static_cast<double>(0.1F)}),
              copied<double>(std::vector<float>{0.5F, 0.1F}));
    EXPECT_EQ((std::vector<float>{0.1F, std::numeric_limits<float>::infinity()}),
              copied<float>(std::vector<double>{0.1, 1e300}));
}

// ---- What is copied

TEST(QelRectBufferCopyTest, SixtyFourAndSixtyThreeByOneGiveTheSame) {
    for (std::int32_t const width : {63, 64}) {
        Row<std::uint8_t> source(bytesFrom(7, 64));
        Row<std::uint8_t> target(std::vector<std::uint8_t>(64));
        target.buffer.copyFrom(source.buffer, QelRect(0, 0, width, 1));
        source.elements.resize(static_cast<std::size_t>(width));
        source.elements.resize(64);
        EXPECT_EQ(source.elements, target.elements) << width;
    }
}

TEST(QelRectBufferCopyTest, AsManyBandsAsBothHaveAreCopied) {
    auto three = bytesFrom(1, 3 * 2);
    auto four = bytesFrom(101, 4 * 2);
    QelRectBuffer source(2, 1, 3, PIXEL_INTERLEAVED, QelDataType::UChar, three.data(), false);
    QelRectBuffer target(2, 1, 4, PIXEL_INTERLEAVED, QelDataType::UChar, four.data(), false);
    target.copyFrom(source, source.rect());
    EXPECT_EQ((std::vector<std::uint8_t>{1, 2, 3, 104, 4, 5, 6, 108}), four);
}

TEST(QelRectBufferCopyTest, OnlyCommonPixelsAreCopied) {
    auto from = bytesFrom(1, 9);
    std::vector<std::uint8_t> to(9);
    QelRectBuffer source(QelRect(0, 0, 3, 3), 1, PIXEL_INTERLEAVED, QelDataType::UChar, from.data(),
                         false);
    QelRectBuffer target(QelRect(1, 1, 3, 3), 1, PIXEL_INTERLEAVED, QelDataType::UChar, to.data(),
                         false);
    target.copyFrom(source, QelRect(-10, -10, 100, 12));
    EXPECT_EQ((std::vector<std::uint8_t>{5, 6, 0, 0, 0, 0, 0, 0, 0}), to);
}

TEST(QelRectBufferCopyTest, RectanglesThatMissEitherBufferDoNothingAndAllocateNothing) {
    QelRectBuffer source(QelRect(0, 0, 100, 100), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer target(QelRect(50, 0, 100, 100), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer away(QelRect(500, 0, 100, 100), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    FaultySystem system;
    target.copyFrom(source, QelRect(0, 0, 50, 100));
    target.copyFrom(source, QelRect(100, 0, 50, 100));
    target.copyFrom(source, QelRect());
    target.copyFrom(source, QelRect(60, 10, -5, 5));
    away.copyFrom(source, QelRect(0, 0, 1000, 1000));
    EXPECT_FALSE(source.isAllocated() || target.isAllocated() || away.isAllocated());
    EXPECT_EQ(0U, system.allocations());
}

TEST(QelRectBufferCopyTest, MissesAskForNoOrganisation) {
    QelRectBuffer source(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::Mixed);
    RigidBuffer target;
    target.copyFrom(source, QelRect(8, 0, 5, 5));
    EXPECT_FALSE(target.isAllocated());
}

TEST(QelRectBufferCopyTest, BuffersWithoutMemoryAreGivenSome) {
    QelRectBuffer source(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer target(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    target.copyFrom(source, source.rect());
    EXPECT_TRUE(source.isAllocated());
    EXPECT_TRUE(target.isAllocated());
}

TEST(QelRectBufferCopyTest, BuffersWithoutBandsCopyNothing) {
    QelRectBuffer source(4, 4, 0, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer target(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    target.copyFrom(source, source.rect());
    EXPECT_FALSE(target.isAllocated());
}

TEST(QelRectBufferCopyTest, BitmapsGiveTheirBandsInOrder) {
    // Blue, green and red of each pixel; the lower row first; rows of 8 bytes.
    std::vector<std::uint8_t> bitmap{7, 8, 9, 10, 11, 12, 0, 0, 1, 2, 3, 4, 5, 6, 0, 0};
    MoxSmartPtr<QelDataOrg> const org = new QelDIBDataOrg(2, 2, 3, true, false);
    QelRectBuffer source(org, 0, 0, 2, 2, bitmap.data(), false);
    std::vector<std::uint8_t> pixels(12);
    QelRectBuffer target(2, 2, 3, PIXEL_INTERLEAVED, QelDataType::UChar, pixels.data(), false);
    target.copyFrom(source, source.rect());
    EXPECT_EQ((std::vector<std::uint8_t>{3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}), pixels);

    std::vector<std::uint8_t> back(16);
    QelRectBuffer again(org, 0, 0, 2, 2, back.data(), false);
    again.copyFrom(target, target.rect());
    EXPECT_EQ(bitmap, back);
}

// ---- Types of a client's own

struct Complex {
    float real;
    float imaginary;
};

struct Triple {
    std::uint8_t bytes[3];
};

TEST(QelRectBufferCopyTest, AnyTypeOfAMovableSizeIsMoved) {
    std::vector<float> numbers{1, 2, 3, 4};
    std::vector<float> moved(4);
    QelDataType const type = QelDataType::of<Complex>();
    QelRectBuffer source(2, 1, 1, PIXEL_INTERLEAVED, type, numbers.data(), false);
    QelRectBuffer target(2, 1, 1, PIXEL_INTERLEAVED, type, moved.data(), false);
    target.copyFrom(source, source.rect());
    EXPECT_EQ(numbers, moved);
}

TEST(QelRectBufferCopyTest, ElementsOfThreeBytesAreCopiedInBlocksAlone) {
    QelDataType const type = QelDataType::of<Triple>();
    auto numbers = bytesFrom(0, 300);
    std::vector<std::uint8_t> moved(300);
    QelRectBuffer source(100, 1, 1, PIXEL_INTERLEAVED, type, numbers.data(), false);
    QelRectBuffer target(100, 1, 1, PIXEL_INTERLEAVED, type, moved.data(), false);
    target.copyFrom(source, source.rect());
    EXPECT_EQ(numbers, moved);
    expectRaises(QelErrorCode::invalidValue,
                 "src and dest data orgs in copy had a precision type whose size is not supported",
                 [&] { target.copyFrom(source, QelRect(0, 0, 63, 1)); });
}

// ---- Refusals

TEST(QelRectBufferCopyTest, OrganisationsThatAreNotSimpleRaise150) {
    std::string const text =
        "Current implementation of QelRectBuffer::copyFrom() "
        "only works with QelSimpleDataOrg for both src and dst";
    QelRectBuffer simple(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    RigidBuffer rigid;
    QelRectBuffer bare(nullptr, QelRect(0, 0, 8, 8));
    for (QelRectBuffer * other : {static_cast<QelRectBuffer *>(&rigid), &bare}) {
        expectRaises(QelErrorCode::simpleDataOrgNeeded, text,
                     [&] { simple.copyFrom(*other, simple.rect()); });
        expectRaises(QelErrorCode::simpleDataOrgNeeded, text,
                     [&] { other->copyFrom(simple, simple.rect()); });
        EXPECT_FALSE(other->isAllocated());
    }
    EXPECT_FALSE(simple.isAllocated());
}

TEST(QelRectBufferCopyTest, TypesWithoutASizeAreRefused) {
    std::string const text =
        "src and dest data orgs in copy had a precision type whose size is not supported";
    expectCopyRaises(QelErrorCode::invalidValue, text, QelDataType::Mixed, QelDataType::Mixed);
    expectCopyRaises(QelErrorCode::invalidValue, text, QelDataType::Error, QelDataType::Error);
}

TEST(QelRectBufferCopyTest, SourcesOutsideTheTableAreRefused) {
    for (int code = QelDataType::UChar; code <= QelDataType::Error; ++code) {
        QelDataType const target(code);
        std::string const tail = std::string(" (destination type = ") + target.name() + ")";
        std::string const text =
            "source data org in copy had a precision "
            "type which was not a recognized QelDataType: ";
        if (code != QelDataType::Mixed) {
            expectCopyRaises(QelErrorCode::invalidValue, text + "QelDataType::MixedClass" + tail,
                             QelDataType::Mixed, target);
        }
        if (code != QelDataType::Error) {
            expectCopyRaises(QelErrorCode::invalidValue, text + "QelDataType::ErrorClass" + tail,
                             QelDataType::Error, target);
        }
    }
}

TEST(QelRectBufferCopyTest, TargetsOutsideTheTableAreRefused) {
    for (int code = QelDataType::UChar; code <= QelDataType::ULong; ++code) {
        expectCopyRaises(
            QelErrorCode::invalidValue,
            "destination data org in copy had precision type defined as QelDataType::Error",
            QelDataType(code), QelDataType::Error);
        expectCopyRaises(QelErrorCode::invalidValue,
                         "destination data org in copy had a precision type which was not a "
                         "recognized QelDataType",
                         QelDataType(code), QelDataType::Mixed);
    }
}

// ---- Failures on the way

TEST(QelRectBufferCopyTest, ForeignExceptionsBecomeTheSystemFrame) {
    errno = 0;
    std::string const text =
        "Unexpected exception in rect buffer copy logic"
        "System error code = 0\nSystem error string = " +
        ZanError::getSystemErrorMsg();
    QelRectBuffer plain(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Unreadable bad;
    for (auto const & raise : std::vector<std::function<void()>>{
             [] { throw std::runtime_error("broken"); }, [] { throw 5; }}) {
        bad.raise = raise;
        for (int turn = 0; turn < 2; ++turn) {
            errno = EIO;
            auto const error = errorOf([&] {
                if (turn == 0) plain.copyFrom(bad, plain.rect());
                if (turn == 1) bad.copyFrom(plain, plain.rect());
            });
            ASSERT_TRUE(error);
            EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
            EXPECT_EQ(text, error->getMsg());
        }
    }
}

TEST(QelRectBufferCopyTest, ErrorsOfTheLibraryPassUnchanged) {
    QelRectBuffer plain(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Unreadable bad;
    bad.raise = [] { qelRaise(204, "cancelled"); };
    expectRaises(QelErrorCode::cancelled, "cancelled", [&] { plain.copyFrom(bad, plain.rect()); });
}

TEST(QelRectBufferCopyTest, FailedAllocationsLeaveTheTargetAlone) {
    auto bytes = bytesFrom(0, 64);
    QelRectBuffer source(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer target(8, 8, 1, PIXEL_INTERLEAVED, QelDataType::UChar, bytes.data(), false);
    FaultySystem system;
    system.failAllocation(1);
    auto const error = errorOf([&] { target.copyFrom(source, source.rect()); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_EQ(
        0U,
        std::string(error->getMsg()).find("Failed to allocate a memory buffer of size 64 bytes"));
    EXPECT_EQ(bytesFrom(0, 64), bytes);
    EXPECT_FALSE(source.isAllocated());
}

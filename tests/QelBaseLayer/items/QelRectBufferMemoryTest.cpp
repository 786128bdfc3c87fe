#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "DiagonalOrg.h"
#include "FaultySystem.h"
#include "OutputCapture.h"
#include "QelDIBDataOrg.h"
#include "QelError.h"
#include "QelRectBuffer.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"

namespace {

// Lines upwards, pixels to the left, the second band before the first.
MoxSmartPtr<QelDataOrg> backwardOrg(std::int32_t width, std::int32_t height) {
    return new QelSimpleDataOrg(width, height, QelDataType::UChar, 2, {0, -1}, -2, -2 * width);
}

class QelRectBufferMemoryTest : public testing::Test {
  protected:
    ~QelRectBufferMemoryTest() override { QelSystemConfig::traceFlags = 0; }

    struct Counters {
        std::int64_t current = QelSystemConfig::currentBytes;
        std::int64_t peak = QelSystemConfig::peakBytes;
        std::int64_t allocations = QelSystemConfig::allocationCount;
        std::int64_t blocks = QelSystemConfig::liveBlocks;
        bool operator==(Counters const &) const = default;
    };

    // All bytes of all pixels lie inside the buffer's memory.
    static testing::AssertionResult staysInside(QelRectBuffer const & buffer) {
        QelRect const & rect = buffer.rect();
        for (std::int32_t y = 0; y < rect.height; ++y) {
            for (std::int32_t x = 0; x < rect.width; ++x) {
                for (int band = 0; band < buffer.numBands(); ++band) {
                    std::int64_t const first = buffer.offsetOf(rect.x + x, rect.y + y) +
                                               buffer.dataOrg()->offset(0, 0, band);
                    std::int64_t const last = first + buffer.precision(band).size() - 1;
                    if (first >= 0 && last < buffer.dataBuffer()->size()) continue;
                    return testing::AssertionFailure()
                           << "(" << x << "," << y << ") band " << band << " at " << first << " of "
                           << buffer.dataBuffer()->size();
                }
            }
        }
        return testing::AssertionSuccess();
    }

    std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(10'000);
};

// Whether a caller's memory is to be freed is the caller's to say.
template <class... Arguments>
constexpr bool takesMemoryOnlyWithAnOwner =
    std::is_constructible_v<QelRectBuffer, Arguments...> &&
        std::is_constructible_v<QelRectBuffer, Arguments..., void *, bool> &&
    !std::is_constructible_v<QelRectBuffer, Arguments..., void *>;

static_assert(takesMemoryOnlyWithAnOwner<int, int, int, QelLayout, QelDataType>);
static_assert(takesMemoryOnlyWithAnOwner<QelRect, int, QelLayout, QelDataType>);
static_assert(takesMemoryOnlyWithAnOwner<QelDataOrg *, int, int, int, int>);
static_assert(takesMemoryOnlyWithAnOwner<QelDataOrg *, QelRect>);

TEST_F(QelRectBufferMemoryTest, GetDataAllocatesOnce) {
    QelRectBuffer buffer(0, 6, QelRect(0, 0, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Counters const before;
    EXPECT_FALSE(buffer.isAllocated());
    std::uint8_t * const data = buffer.getData();
    EXPECT_TRUE(buffer.isAllocated());
    EXPECT_EQ(buffer.dataBuffer()->data() + 6, data);
    EXPECT_EQ(data, buffer.getData());
    EXPECT_EQ(before.allocations + 1, QelSystemConfig::allocationCount);
    EXPECT_EQ(before.current + 22, QelSystemConfig::currentBytes);
}

TEST_F(QelRectBufferMemoryTest, GetDataOfAConstantBufferAllocatesToo) {
    QelRectBuffer const buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    std::uint8_t const * const data = buffer.getData();
    EXPECT_TRUE(buffer.isAllocated());
    EXPECT_EQ(data + 5, buffer.addressOf(1, 1));
}

TEST_F(QelRectBufferMemoryTest, AllocateTwiceDoesNothingMore) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.allocate();
    Counters const before;
    std::uint8_t const * const data = buffer.getData();
    buffer.allocate();
    EXPECT_EQ(data, buffer.getData());
    EXPECT_EQ(before, Counters());
}

TEST_F(QelRectBufferMemoryTest, ReleasedMemoryComesAgain) {
    Counters const before;
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.getData();
    buffer.releaseData();
    EXPECT_FALSE(buffer.isAllocated());
    EXPECT_EQ(nullptr, buffer.dataBuffer());
    EXPECT_EQ(before.current, QelSystemConfig::currentBytes);
    EXPECT_NE(nullptr, buffer.getData());
    EXPECT_EQ(16, buffer.dataBuffer()->size());
    EXPECT_TRUE(buffer.dataBuffer()->ownsData());
}

TEST_F(QelRectBufferMemoryTest, ReleasedMemoryLivesWithItsLastSharer) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.getData()[0] = 7;
    QelRectBuffer sharer(buffer);
    buffer.releaseData();
    EXPECT_EQ(7, sharer.getData()[0]);
    Counters const before;
    sharer.releaseData();
    EXPECT_EQ(before.current - 16, QelSystemConfig::currentBytes);
}

TEST_F(QelRectBufferMemoryTest, AFailedAllocationLeavesTheBufferAsItWas) {
    std::string const text =
        "Failed to allocate a memory buffer of size 48 bytesSystem error code = ";
    for (bool const released : {false, true}) {
        SCOPED_TRACE(released);
        QelRectBuffer buffer(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        if (released) buffer.releaseData();
        Counters const before;
        FaultySystem system;
        system.failAllocation(1);
        try {
            buffer.getData();
            FAIL() << "nothing raised";
        } catch (QelError const & error) {
            EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
            EXPECT_STREQ("QEL", error.getComponent());
            std::string const message = error.getMsg();
            std::string const number = message.substr(std::min(text.size(), message.size()),
                                                      message.find('\n') - text.size());
            errno = std::stoi(number);
            EXPECT_EQ(text + number + "\nSystem error string = " + ZanError::getSystemErrorMsg(),
                      message);
        }
        EXPECT_FALSE(buffer.isAllocated());
        EXPECT_EQ(released, buffer.dataBuffer() == nullptr);
        EXPECT_EQ(before, Counters());
        EXPECT_NE(nullptr, buffer.getData());
        EXPECT_EQ(1U, system.failures());
    }
}

// A manager that raises what the test says, then has no memory.
class FailingManager : public QelMemoryManager {
  public:
    explicit FailingManager(void (*raise)()) : raise_(raise) {}
    void * allocate(std::size_t) override {
        raise_();
        return nullptr;
    }
    bool free(void *) override { return true; }

  private:
    void (*raise_)();
};

TEST_F(QelRectBufferMemoryTest, WhateverAnAllocationRaisesBecomesCode10) {
    for (auto const raise : {+[] { qelRaise(204, "Render cancelled in progress"); },
                             +[] { throw std::runtime_error("foreign"); }, +[] { throw 7; }}) {
        MoxSmartPtr<FailingManager> const manager(new FailingManager(raise));
        QelMemoryManager::setDefaultManager(manager);
        QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
        QelMemoryManager::clearDefaultManager();
        try {
            buffer.allocate();
            FAIL() << "nothing raised";
        } catch (ZanError const & error) {
            EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
            errno = 0;
            EXPECT_EQ(
                "Failed to allocate a memory buffer of size 16 bytesSystem error code = 0"
                "\nSystem error string = " +
                    ZanError::getSystemErrorMsg(),
                error.getMsg());
        }
        EXPECT_FALSE(buffer.isAllocated());
    }
}

TEST_F(QelRectBufferMemoryTest, ABufferWithoutOrganisationCannotAllocate) {
    QelRectBuffer buffer(nullptr, QelRect(0, 0, 2, 2));
    try {
        buffer.getData();
        FAIL() << "nothing raised";
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
        errno = 0;
        EXPECT_EQ(
            "Failed to allocate a memory buffer of size 0 bytesSystem error code = 0"
            "\nSystem error string = " +
                ZanError::getSystemErrorMsg(),
            error.getMsg());
    }
}

TEST_F(QelRectBufferMemoryTest, AdoptReplacesTheMemory) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.getData();
    Counters const before;
    MoxSmartPtr<QelDataBuffer> const former = buffer.dataBuffer();
    buffer.adopt(memory_.data(), false);
    EXPECT_NE(former, buffer.dataBuffer());
    EXPECT_EQ(memory_.data(), buffer.getData());
    EXPECT_EQ(16, buffer.dataBuffer()->size());
    EXPECT_FALSE(buffer.dataBuffer()->ownsData());
    buffer.adopt(::operator new(16), true);
    EXPECT_TRUE(buffer.dataBuffer()->ownsData());
    EXPECT_EQ(before.current + 16, QelSystemConfig::currentBytes);
}

TEST_F(QelRectBufferMemoryTest, AdoptKeepsTheDataOffset) {
    QelRectBuffer buffer(0, 6, QelRect(0, 0, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.adopt(memory_.data(), false);
    EXPECT_EQ(memory_.data() + 6, buffer.getData());
    EXPECT_EQ(22, buffer.dataBuffer()->size());
}

TEST_F(QelRectBufferMemoryTest, AdoptRefusesNullAndKeepsTheMemory) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    std::uint8_t const * const data = buffer.getData();
    try {
        buffer.adopt(nullptr, true);
        FAIL() << "nothing raised";
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::nullPointer, error.getErrcode());
        EXPECT_STREQ("QEL error 4\nArgument is a NULL pointer", error.getMsg());
    }
    EXPECT_EQ(data, buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, AdoptIsTraced) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    OutputCapture output;
    buffer.adopt(memory_.data(), false);
    EXPECT_EQ("", output.text());
    QelSystemConfig::traceFlags = QelSystemConfig::traceActivity;
    buffer.adopt(memory_.data() + 1, false);
    QelSystemConfig::traceFlags = 0;
    std::ostringstream expected;
    expected << "QelRectBuffer ADOPTING buffer " << static_cast<void *>(memory_.data() + 1)
             << " 16 " << static_cast<void *>(&buffer) << '\n';
    EXPECT_EQ(expected.str(), output.text());
}

TEST_F(QelRectBufferMemoryTest, AdoptSucceedsWhenItsTraceCannotBeWritten) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelOutput::Receiver former =
        QelOutput::redirect([](std::string_view) { throw std::runtime_error("disk full"); });
    QelSystemConfig::traceFlags = QelSystemConfig::traceActivity;
    EXPECT_NO_THROW(buffer.adopt(memory_.data(), false));
    QelSystemConfig::traceFlags = 0;
    QelOutput::redirect(std::move(former));
    EXPECT_EQ(memory_.data(), buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, ReferenceCountAddsOwnersAndSharers) {
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar));
    EXPECT_EQ(1, buffer->referenceCount());
    MoxSmartPtr<QelRectBuffer> const second = buffer;
    EXPECT_EQ(2, buffer->referenceCount());
    QelRectBuffer const view(*buffer);
    EXPECT_EQ(3, buffer->referenceCount());
    EXPECT_EQ(1, view.referenceCount());  // on the stack, with one other sharer
    buffer->releaseData();
    EXPECT_EQ(2, buffer->referenceCount());
}

TEST_F(QelRectBufferMemoryTest, StealDataMovesThePixels) {
    QelRectBuffer other(100, 6, QelRect(0, 0, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    other.getData()[3] = 9;
    std::uint8_t const * const data = other.getData();
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    Counters const before;
    buffer.stealData(other);
    EXPECT_EQ(data, buffer.getData());
    EXPECT_EQ(9, buffer.getData()[3]);
    EXPECT_EQ(6, buffer.dataOffset());
    EXPECT_FALSE(other.isAllocated());
    ASSERT_NE(nullptr, other.dataBuffer());
    EXPECT_EQ(100, other.dataBuffer()->size());
    EXPECT_EQ(6, other.dataOffset());
    EXPECT_EQ(before, Counters());
    EXPECT_NE(data, other.getData());
    EXPECT_EQ(1, other.dataBuffer()->refCount());
}

TEST_F(QelRectBufferMemoryTest, StealingFromABufferWithoutMemoryLeavesNone) {
    QelRectBuffer other(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    other.releaseData();
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.stealData(other);
    EXPECT_EQ(nullptr, buffer.dataBuffer());
    EXPECT_EQ(nullptr, other.dataBuffer());
    QelRectBuffer bare(nullptr, QelRect(0, 0, 1, 1));
    buffer.stealData(bare);
    EXPECT_EQ(nullptr, buffer.dataBuffer());
}

TEST_F(QelRectBufferMemoryTest, StealingFromItselfKeepsTheMemory) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    std::uint8_t const * const data = buffer.getData();
    buffer.stealData(buffer);
    EXPECT_EQ(data, buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, ShareDataSharesWhenBothAddressMemoryAlike) {
    QelRectBuffer other(0, 6, QelRect(7, 7, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    EXPECT_TRUE(buffer.shareData(other, false));
    EXPECT_EQ(other.dataBuffer(), buffer.dataBuffer());
    EXPECT_EQ(0, buffer.dataOffset());
}

TEST_F(QelRectBufferMemoryTest, ShareDataTakesTheOffsetOnRequest) {
    QelRectBuffer other(0, 6, QelRect(7, 7, 4, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    EXPECT_TRUE(buffer.shareData(other, true));
    EXPECT_EQ(6, buffer.dataOffset());
    EXPECT_EQ(other.getData(), buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, ShareDataComparesTypesOrWithTheOffsetOnlySizes) {
    QelRectBuffer other(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::Char);
    MoxSmartPtr<QelDataBuffer> const own = buffer.dataBuffer().get();
    EXPECT_FALSE(buffer.shareData(other, false));
    EXPECT_EQ(own, buffer.dataBuffer());
}

TEST_F(QelRectBufferMemoryTest, ShareDataWithTheOffsetNeedsEqualElementSizesOnly) {
    QelRectBuffer other(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer same(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::Char);
    EXPECT_TRUE(same.shareData(other, true));
    QelRectBuffer wider(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::Short);
    EXPECT_FALSE(wider.shareData(other, true));
}

TEST_F(QelRectBufferMemoryTest, ShareDataLeavesMemoryThatOthersShare) {
    QelRectBuffer other(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    {
        QelRectBuffer const view(buffer);
        EXPECT_FALSE(buffer.shareData(other, true));
        EXPECT_EQ(view.dataBuffer(), buffer.dataBuffer());
    }
    EXPECT_TRUE(buffer.shareData(other, true));
}

TEST_F(QelRectBufferMemoryTest, ShareDataGivesMemoryToABufferWithoutAny) {
    QelRectBuffer other(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.releaseData();
    EXPECT_TRUE(buffer.shareData(other, false));
    EXPECT_EQ(other.getData(), buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, ShareDataNeedsOrganisations) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    QelRectBuffer bare(nullptr, QelRect(0, 0, 4, 4));
    EXPECT_FALSE(buffer.shareData(bare, true));
    EXPECT_FALSE(bare.shareData(buffer, true));
}

// Negative strides: memory to come starts low enough.

TEST_F(QelRectBufferMemoryTest, ABackwardOrganisationStartsAtTheFarEnd) {
    QelRectBuffer const buffer(backwardOrg(5, 3), 10, 20, -1, -1);
    EXPECT_EQ(2 * 5 * 2 + 2 * 4 + 1, buffer.dataOffset());
    EXPECT_EQ(30, buffer.dataBuffer()->size());
    EXPECT_TRUE(staysInside(buffer));
}

TEST_F(QelRectBufferMemoryTest, ABottomUpBitmapBringsItsOwnStart) {
    MoxSmartPtr<QelDataOrg> const org(new QelDIBDataOrg(10, 10, 3, true, false));
    QelRectBuffer const buffer(org, 0, 0, -1, -1);
    EXPECT_EQ(0, buffer.dataOffset());
    EXPECT_EQ(org->size(), buffer.dataBuffer()->size());
    EXPECT_TRUE(staysInside(buffer));
}

TEST_F(QelRectBufferMemoryTest, WrappedMemoryStartsAtTheTopLeftPixelWhateverTheStrides) {
    QelRectBuffer const buffer(backwardOrg(5, 3), 0, 0, -1, -1, memory_.data() + 100, false);
    EXPECT_EQ(0, buffer.dataOffset());
    EXPECT_EQ(memory_.data() + 100, buffer.getData());
}

TEST_F(QelRectBufferMemoryTest, MemoryAfterBackwardWrappedMemoryHasRoomBelow) {
    QelRectBuffer released(backwardOrg(5, 3), 0, 0, -1, -1, memory_.data() + 100, false);
    released.releaseData();
    released.allocate();
    EXPECT_TRUE(staysInside(released));
    EXPECT_EQ(30, released.dataBuffer()->size());

    QelRectBuffer robbed(backwardOrg(5, 3), 0, 0, -1, -1, memory_.data() + 100, false);
    QelRectBuffer robber;
    robber.stealData(robbed);
    EXPECT_EQ(memory_.data() + 100, robber.getData());
    EXPECT_TRUE(staysInside(robbed));
}

// Its pixels lie below the address that was wrapped.
TEST_F(QelRectBufferMemoryTest, AViewOfBackwardWrappedMemoryTakesOtherMemory) {
    QelRectBuffer const whole(backwardOrg(5, 3), 0, 0, -1, -1, memory_.data() + 100, false);
    MoxSmartPtr<QelRectBuffer> const view = whole.subBuffer(QelRect(1, 1, 2, 2));
    EXPECT_EQ(-12, view->dataOffset());
    view->adopt(memory_.data() + 200, false);
    EXPECT_EQ(memory_.data() + 188, view->getData());
    EXPECT_EQ(whole.dataOrg()->size(), view->dataBuffer()->size());

    view->releaseData();
    view->allocate();
    EXPECT_TRUE(staysInside(*view));
}

TEST_F(QelRectBufferMemoryTest, OrganisationsOfTheClientsOwnGetTheirSize) {
    MoxSmartPtr<QelDataOrg> const org(new DiagonalOrg(4, 3));
    QelRectBuffer const buffer(org, 0, 0, -1, -1);
    EXPECT_EQ(14, buffer.dataBuffer()->size());
    EXPECT_TRUE(staysInside(buffer));
}

TEST_F(QelRectBufferMemoryTest, RandomOrganisationsStayInsideTheirMemory) {
    unsigned const seed = 2301;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const between = [&](int low, int high) {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random);
    };
    for (int round = 0; round < 3000; ++round) {
        int const bands = between(1, 3);
        std::vector<std::int32_t> offsets;
        for (int band = 0; band < bands; ++band)
            offsets.push_back(between(-20, 20));
        MoxSmartPtr<QelDataOrg> const org(new QelSimpleDataOrg(between(0, 6), between(0, 6),
                                                               QelDataType::Short, bands, offsets,
                                                               between(-10, 10), between(-60, 60)));
        QelRectBuffer buffer(org, between(-9, 9), between(-9, 9), between(-1, 8), between(-1, 8));
        ASSERT_TRUE(staysInside(buffer)) << "round " << round;
        MoxSmartPtr<QelRectBuffer> const view =
            buffer.subBuffer(QelRect(between(-9, 9), between(-9, 9), between(0, 9), between(0, 9)));
        ASSERT_TRUE(staysInside(*view)) << "view of round " << round;
        buffer.releaseData();
        buffer.allocate();
        ASSERT_TRUE(staysInside(buffer)) << "again in round " << round;
        view->releaseData();
        view->allocate();
        ASSERT_TRUE(staysInside(*view)) << "view again in round " << round;
    }
}

}  // namespace

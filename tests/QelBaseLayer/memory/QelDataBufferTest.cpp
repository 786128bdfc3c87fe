#include "QelDataBuffer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <limits>
#include <locale>
#include <new>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "FaultySystem.h"
#include "HeapManager.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"

namespace {

using Buffer = MoxSmartPtr<QelDataBuffer>;

std::string systemFrame(std::string const & sentence, int code) {
    return sentence + "System error code = " + std::to_string(code) +
           "\nSystem error string = " + std::strerror(code);
}

// The frame's text has no base text in front.
template <class Action>
void expectSystemFrame(std::string const & sentence, int systemError, Action && action) {
    auto const error = errorOf(action);
    if (!error) return;
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_STREQ("QEL", error->getComponent());
    EXPECT_EQ(systemFrame(sentence, systemError), error->getMsg());
}

char const * const allocateSentence = "\nUnknown exception allocating data buffer";
char const * const deallocateSentence =
    "\nUnrecognized exception caught in QelDataBuffer::deallocate() ";

std::string traceLine(char const * what, void const * memory, QelDataBuffer const & buffer) {
    std::ostringstream line;
    line << "QelRectBuffer " << what << " buffer " << memory << ' ' << buffer.size() << ' '
         << static_cast<void const *>(&buffer) << '\n';
    return line.str();
}

void fill(QelDataBuffer & buffer, int first) {
    std::iota(buffer.data(), buffer.data() + buffer.size(), static_cast<std::uint8_t>(first));
}

std::vector<int> bytesOf(QelDataBuffer const & buffer) {
    return {buffer.data(), buffer.data() + buffer.size()};
}

class QelDataBufferTest : public testing::Test {
  protected:
    ~QelDataBufferTest() override { QelMemoryManager::clearDefaultManager(); }

    FaultySystem system_;
};

TEST_F(QelDataBufferTest, StartsUnallocated) {
    QelDataBuffer const plain(100);
    EXPECT_EQ(nullptr, plain.data());
    EXPECT_TRUE(plain.ownsData());
    EXPECT_EQ(100, plain.size());
    EXPECT_FALSE(plain.manager());
    EXPECT_FALSE(QelDataBuffer(100, false).ownsData());
    EXPECT_EQ(0U, system_.allocations());
}

TEST_F(QelDataBufferTest, ManagersOfTheConstructors) {
    MoxSmartPtr<HeapManager> const byDefault(new HeapManager);
    MoxSmartPtr<HeapManager> const given(new HeapManager);
    QelMemoryManager::setDefaultManager(byDefault);
    std::uint8_t memory[4] = {};

    EXPECT_EQ(byDefault.get(), QelDataBuffer(4).manager().get());
    EXPECT_EQ(byDefault.get(), QelDataBuffer(4, false).manager().get());
    EXPECT_EQ(byDefault.get(), QelDataBuffer(4, true, nullptr).manager().get());
    EXPECT_EQ(nullptr, QelDataBuffer(4, false, memory).manager().get());
    EXPECT_EQ(given.get(), QelDataBuffer(4, true, nullptr, given).manager().get());
    EXPECT_EQ(given.get(), QelDataBuffer(4, false, memory, given).manager().get());
    EXPECT_EQ(nullptr, QelDataBuffer(4, true, nullptr, nullptr).manager().get());
    EXPECT_EQ(given.get(), QelDataBuffer(4, given).manager().get());
    EXPECT_TRUE(QelDataBuffer(4, given).ownsData());
    EXPECT_EQ(1, given->refCount()) << "each buffer dropped it";
    EXPECT_EQ(1, byDefault->refCount());
}

TEST_F(QelDataBufferTest, NegativeSizesRaise13) {
    std::string const text = "A data buffer of -1 bytes is impossible";
    std::uint8_t memory[4] = {};
    expectRaises(QelErrorCode::invalidValue, text, [] { QelDataBuffer buffer(-1); });
    expectRaises(QelErrorCode::invalidValue, text,
                 [&] { QelDataBuffer buffer(-1, false, memory); });
    expectRaises(QelErrorCode::invalidValue, text,
                 [&] { QelDataBuffer buffer(-1, false, memory, nullptr); });
    expectRaises(QelErrorCode::invalidValue, text,
                 [] { QelDataBuffer buffer(-1, static_cast<QelMemoryManager *>(nullptr)); });
}

TEST_F(QelDataBufferTest, AllocatesOnceFromTheHeap) {
    QelDataBuffer buffer(100);
    buffer.allocate();
    std::uint8_t const * const data = buffer.data();
    ASSERT_NE(nullptr, data);
    fill(buffer, 1);
    buffer.allocate();
    EXPECT_EQ(data, buffer.data());
    EXPECT_EQ(1U, system_.allocations());
    EXPECT_EQ(100U, system_.liveBytes());
    buffer.deallocate();
    EXPECT_EQ(nullptr, buffer.data());
    EXPECT_EQ(0U, system_.liveAllocations());
    buffer.deallocate();
    EXPECT_EQ(1U, system_.releases());
    buffer.allocate();
    EXPECT_NE(nullptr, buffer.data());
}

TEST_F(QelDataBufferTest, TheDestructorFreesWhatWasAllocated) {
    { QelDataBuffer(100).allocate(); }
    EXPECT_EQ(1U, system_.releases());
    EXPECT_EQ(0U, system_.liveAllocations());
}

TEST_F(QelDataBufferTest, MemoryOfItsOwnIsFreedWhateverOwnsDataSays) {
    QelDataBuffer buffer(100, false);
    buffer.allocate();
    buffer.deallocate();
    EXPECT_EQ(nullptr, buffer.data());
    EXPECT_EQ(0U, system_.liveAllocations());
    EXPECT_EQ(1U, system_.releases());
}

TEST_F(QelDataBufferTest, AllocatesFromItsManagerAndReturnsItThere) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(100, manager);
    buffer.allocate();
    EXPECT_TRUE(manager->owns(buffer.data()));
    EXPECT_EQ(1, manager->outstanding());
    buffer.deallocate();
    EXPECT_EQ(0, manager->outstanding());
    EXPECT_EQ(0U, system_.allocations());
    EXPECT_EQ(0U, system_.releases());
}

TEST_F(QelDataBufferTest, ASizeOfZeroComesFromTheManagerAndGoesBackThere) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(0, manager);
    buffer.allocate();
    EXPECT_NE(nullptr, buffer.data());
    EXPECT_EQ(1, manager->outstanding());
    buffer.deallocate();
    EXPECT_EQ(0, manager->outstanding());
}

TEST_F(QelDataBufferTest, WhatTheManagerDoesNotKnowGoesToTheHeap) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    void * const memory = system_.allocate(10);
    { QelDataBuffer const buffer(10, true, memory, manager); }
    EXPECT_EQ(1U, system_.releases());
    EXPECT_EQ(0U, system_.foreignReleases());
}

TEST_F(QelDataBufferTest, WrappedOwnedMemoryIsFreed) {
    void * const memory = system_.allocate(10);
    QelDataBuffer buffer(10, true, memory);
    EXPECT_EQ(memory, buffer.data());
    buffer.deallocate();
    EXPECT_EQ(nullptr, buffer.data());
    EXPECT_EQ(1U, system_.releases());
}

// deallocate on a non-owning buffer leaves the memory alone, and the statistics too.
TEST_F(QelDataBufferTest, DeallocateOnANonOwningBufferLeavesTheMemoryAlone) {
    std::uint8_t memory[3] = {7, 8, 9};
    std::int64_t const bytes = QelSystemConfig::currentBytes;
    std::int64_t const blocks = QelSystemConfig::liveBlocks;
    QelDataBuffer buffer(3, false, memory);
    buffer.deallocate();
    EXPECT_EQ(nullptr, buffer.data());
    EXPECT_EQ(0U, system_.releases());
    EXPECT_EQ(8, memory[1]);
    EXPECT_EQ(bytes, QelSystemConfig::currentBytes);
    EXPECT_EQ(blocks, QelSystemConfig::liveBlocks);
    // What it allocates afterwards is its own.
    buffer.allocate();
    EXPECT_NE(memory, buffer.data());
    buffer.deallocate();
    EXPECT_EQ(1U, system_.releases());
    EXPECT_EQ(bytes, QelSystemConfig::currentBytes);
}

TEST_F(QelDataBufferTest, NoMemoryFromTheHeapRaises10AndLeavesItUnallocated) {
    QelDataBuffer buffer(100);
    system_.failAllocation(1);
    expectSystemFrame(allocateSentence, ENOMEM, [&] { buffer.allocate(); });
    EXPECT_EQ(nullptr, buffer.data());
    buffer.allocate();
    EXPECT_NE(nullptr, buffer.data());
}

TEST_F(QelDataBufferTest, MoreThanThereIsRaises10WithTheSystemsError) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer ends the program on such a size";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "a sanitizer ends the program on such a size";
#endif
#endif
    QelDataBuffer buffer(std::numeric_limits<std::int64_t>::max() / 2);
    expectSystemFrame(allocateSentence, ENOMEM, [&] { buffer.allocate(); });
}

TEST_F(QelDataBufferTest, AnExhaustedManagerRaises10) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    manager->isExhausted = true;
    QelDataBuffer buffer(100, manager);
    errno = EACCES;  // of something before, and not told
    expectSystemFrame(allocateSentence, 0, [&] { buffer.allocate(); });
    EXPECT_EQ(nullptr, buffer.data());
    EXPECT_EQ(1, manager->allocations());
    EXPECT_EQ(0U, system_.allocations()) << "the heap is not asked instead";
}

TEST_F(QelDataBufferTest, WhateverAManagerRaisesInAllocateBecomes10) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(100, manager);
    manager->onAllocate = [] {
        errno = EAGAIN;
        throw std::runtime_error("no");
    };
    expectSystemFrame(allocateSentence, EAGAIN, [&] { buffer.allocate(); });
    manager->onAllocate = [] { throw 42; };
    expectSystemFrame(allocateSentence, 0, [&] { buffer.allocate(); });
    manager->onAllocate = [] { qelRaise(3, "misuse"); };
    expectSystemFrame(allocateSentence, 0, [&] { buffer.allocate(); });
    EXPECT_EQ(nullptr, buffer.data());
    manager->onAllocate = nullptr;
    buffer.allocate();
    EXPECT_NE(nullptr, buffer.data());
}

TEST_F(QelDataBufferTest, AForeignExceptionInDeallocateBecomes10) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(100, manager);
    buffer.allocate();
    manager->onFree = [] {
        errno = EBUSY;
        throw std::runtime_error("no");
    };
    expectSystemFrame(deallocateSentence, EBUSY, [&] { buffer.deallocate(); });
    EXPECT_EQ(nullptr, buffer.data()) << "forgotten all the same";
    manager->pretendOutstanding(-1);
}

TEST_F(QelDataBufferTest, AZanErrorInDeallocatePasses) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(100, manager);
    buffer.allocate();
    manager->onFree = [] { qelRaise(204, "Render cancelled in progress"); };
    expectRaises(QelErrorCode::cancelled, "Render cancelled in progress",
                 [&] { buffer.deallocate(); });
    EXPECT_EQ(nullptr, buffer.data());
    manager->pretendOutstanding(-1);
}

TEST_F(QelDataBufferTest, TheDestructorWritesAnErrorAndThrowsNothing) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    struct {
        std::function<void()> onFree;
        std::string text;
    } const cases[] = {
        {[] { throw std::runtime_error("no"); }, systemFrame(deallocateSentence, 0) + '\n'},
        {[] { throw 42; }, systemFrame(deallocateSentence, 0) + '\n'},
        {[] { qelRaise(3, "misuse"); }, "QEL error 3\nmisuse\n"},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.text);
        OutputCapture const capture;
        Buffer buffer(new QelDataBuffer(100, manager));
        buffer->allocate();
        manager->onFree = c.onFree;
        buffer.release();
        EXPECT_EQ(c.text, capture.text());
        manager->onFree = nullptr;
        manager->pretendOutstanding(-1);
    }
}

TEST_F(QelDataBufferTest, TheDestructorSurvivesAnOutputThatThrows) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    Buffer buffer(new QelDataBuffer(100, manager));
    buffer->allocate();
    manager->onFree = [] { throw 42; };
    QelOutput::Receiver const former =
        QelOutput::redirect([](std::string_view) { throw std::runtime_error("full"); });
    EXPECT_NO_THROW(buffer.release());
    QelOutput::redirect(former);
    manager->pretendOutstanding(-1);
}

TEST_F(QelDataBufferTest, AManagerThatEndsWithItsLastBufferIsHeard) {
    OutputCapture const capture;
    Buffer buffer;
    {
        MoxSmartPtr<HeapManager> const manager(new HeapManager);
        manager->pretendOutstanding(3);
        buffer = new QelDataBuffer(100, manager);
    }
    buffer.release();
    EXPECT_EQ("QEL error 11\n\x03 buffers still remaining that were allocated with this manager\n",
              capture.text());
}

TEST_F(QelDataBufferTest, CopyFromRefusesASourceThatIsSmaller) {
    QelDataBuffer target(5);
    QelDataBuffer source(4);
    source.allocate();
    expectRaises(QelErrorCode::misuse, "Source buffer is too small",
                 [&] { target.copyFrom(source); });
    EXPECT_EQ(nullptr, target.data()) << "refused ahead of the allocation";
}

// copyFrom a source larger than the target copies only the target's size.
TEST_F(QelDataBufferTest, CopyFromALargerSourceCopiesTheTargetsSize) {
    QelDataBuffer source(6);
    source.allocate();
    fill(source, 10);
    std::uint8_t memory[6] = {1, 2, 3, 4, 5, 6};
    QelDataBuffer target(4, false, memory);
    target.copyFrom(source);
    EXPECT_EQ((std::vector<int>{10, 11, 12, 13, 5, 6}), std::vector<int>(memory, memory + 6));
}

TEST_F(QelDataBufferTest, CopyFromAllocatesTheTargetFirst) {
    QelDataBuffer source(3);
    source.allocate();
    fill(source, 20);
    QelDataBuffer target(3);
    target.copyFrom(source);
    EXPECT_EQ((std::vector<int>{20, 21, 22}), bytesOf(target));
}

TEST_F(QelDataBufferTest, CopyFromASourceWithoutMemoryCopiesNothing) {
    std::uint8_t memory[2] = {1, 2};
    QelDataBuffer wrapped(2, false, memory);
    QelDataBuffer unallocated(2);
    QelDataBuffer const source(2);
    wrapped.copyFrom(source);
    EXPECT_EQ((std::vector<int>{1, 2}), bytesOf(wrapped));
    unallocated.copyFrom(source);
    EXPECT_NE(nullptr, unallocated.data()) << "but the target has memory then";
}

TEST_F(QelDataBufferTest, CopyFromOverlappingOrEqualMemory) {
    std::uint8_t memory[5] = {1, 2, 3, 4, 5};
    QelDataBuffer target(4, false, memory + 1);
    target.copyFrom(QelDataBuffer(4, false, memory));
    EXPECT_EQ((std::vector<int>{1, 1, 2, 3, 4}), std::vector<int>(memory, memory + 5));
    target.copyFrom(target);
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), bytesOf(target));
}

TEST_F(QelDataBufferTest, CopyFromWithoutMemoryToBeHadRaises10) {
    QelDataBuffer source(3);
    source.allocate();
    QelDataBuffer target(3);
    system_.failAllocation(1);
    expectSystemFrame(allocateSentence, ENOMEM, [&] { target.copyFrom(source); });
    EXPECT_EQ(nullptr, target.data());
}

TEST_F(QelDataBufferTest, TheDestructorLeavesTheLastSystemErrorAlone) {
    Buffer buffer = new QelDataBuffer(100);
    buffer->allocate();
    errno = ENOSPC;
    buffer.release();
    EXPECT_EQ(ENOSPC, errno);
}

class QelDataBufferTraceTest : public QelDataBufferTest {
  protected:
    OutputCapture capture_;
    ScopedSetting<std::uint32_t> flags_{QelSystemConfig::traceFlags,
                                        QelSystemConfig::traceActivity};
};

TEST_F(QelDataBufferTraceTest, AllocatingAndFreeing) {
    QelDataBuffer buffer(100);
    buffer.allocate();
    void const * const data = buffer.data();
    EXPECT_EQ(traceLine("ALLOCATING", data, buffer), capture_.take());
    buffer.allocate();
    EXPECT_EQ("", capture_.take());
    buffer.deallocate();
    EXPECT_EQ(traceLine("FREEING", data, buffer), capture_.take());
    buffer.deallocate();
    EXPECT_EQ(traceLine("FREEING", nullptr, buffer), capture_.take());
}

TEST_F(QelDataBufferTraceTest, TheClientsLocaleTakesNoPart) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    QelDataBuffer buffer(1234567);
    std::locale const former =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    buffer.allocate();
    std::locale::global(former);
    EXPECT_EQ(traceLine("ALLOCATING", buffer.data(), buffer), capture_.take());
}

TEST_F(QelDataBufferTraceTest, AForeignMemoryForgottenLeavesNoTrace) {
    std::uint8_t memory[4] = {};
    QelDataBuffer(4, false, memory).deallocate();
    EXPECT_EQ("", capture_.take());
}

TEST_F(QelDataBufferTraceTest, AFailedAllocationLeavesNoTrace) {
    QelDataBuffer buffer(100);
    system_.failAllocation(1);
    EXPECT_THROW(buffer.allocate(), ZanError);
    EXPECT_EQ("", capture_.take());
}

TEST_F(QelDataBufferTraceTest, OtherBitsTraceNothing) {
    QelSystemConfig::traceFlags = ~QelSystemConfig::traceActivity;
    { QelDataBuffer(100).allocate(); }
    EXPECT_EQ("", capture_.take());
}

TEST_F(QelDataBufferTraceTest, ALineThatCannotBeWrittenChangesNothing) {
    QelOutput::Receiver const capturing =
        QelOutput::redirect([](std::string_view) { throw std::runtime_error("full"); });
    QelDataBuffer buffer(100);
    EXPECT_NO_THROW(buffer.allocate());
    EXPECT_NE(nullptr, buffer.data());
    EXPECT_NO_THROW(buffer.deallocate());
    EXPECT_EQ(0U, system_.liveAllocations());
    QelOutput::redirect(capturing);
}

}  // namespace

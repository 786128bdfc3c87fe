// Whatever fails while a picture is written: the target stays as it was, and no other file is
// left beside it.

#include <cerrno>

#include "ClientTesting.h"
#include "FaultySystem.h"

namespace {

struct FileFault {
    FaultySystem::FileOp op;
    char const * name;
    int error;
    char const * text;
};

std::vector<FileFault> fileFaults() {
    return {{FaultySystem::OPEN, "open", EACCES, "Permission denied"},
            {FaultySystem::WRITE, "write", ENOSPC, "No space left on device"},
            {FaultySystem::SYNC, "sync", EIO, "Input/output error"},
            {FaultySystem::CLOSE, "close", EDQUOT, "Disk quota exceeded"},
            {FaultySystem::RENAME, "rename", EXDEV, "Invalid cross-device link"}};
}

class QelPictureWriterFaultTest : public testing::TestWithParam<char const *> {
  protected:
    std::string file() const { return folder_.file(GetParam()); }
    // Large enough for several writes.
    static void write(std::string const & name) {
        Qel2DImage image(new QelSharpenOp(new Qel2DImage(new QelTestCardOp(400, 300))));
        QelPictureWriter(name).write(image);
    }
    void expectUntouched(bool existed) const {
        if (existed) {
            EXPECT_EQ((Bytes{1, 2, 3}), contentOf(file()));
            EXPECT_EQ(std::vector<std::string>{GetParam()}, folder_.names());
        } else {
            EXPECT_EQ(std::vector<std::string>(), folder_.names());
        }
    }
    void makeTarget(bool existing) const {
        std::filesystem::remove(file());
        if (existing) setContent(file(), {1, 2, 3});
    }

    TemporaryFolder folder_;
};

TEST_P(QelPictureWriterFaultTest, EachFileCallFailsInTurn) {
    for (FileFault const & fault : fileFaults()) {
        std::uint64_t calls = 0;
        {
            FaultySystem system;
            write(file());
            calls = system.fileCalls(fault.op);
        }
        ASSERT_GE(calls, fault.op == FaultySystem::WRITE ? 2U : 1U) << fault.name;
        for (std::uint64_t n = 1; n <= calls; ++n) {
            for (bool const existing : {false, true}) {
                SCOPED_TRACE(std::string(fault.name) + " " + std::to_string(n));
                makeTarget(existing);
                FaultySystem system;
                system.failFile(fault.op, n, fault.error);
                expectRaises(QelErrorCode::invalidValue,
                             "Cannot write " + file() + ": " + fault.text, [&] { write(file()); });
                EXPECT_EQ(1U, system.failures());
                EXPECT_EQ(0, system.openFiles());
                EXPECT_EQ(0U, system.liveAllocations());
                expectUntouched(existing);
            }
        }
    }
}

TEST_P(QelPictureWriterFaultTest, EachAllocationFailsInTurn) {
    std::uint64_t allocations = 0;
    {
        FaultySystem system;
        write(file());
        allocations = system.allocations();
    }
    ASSERT_GT(allocations, 3U);
    for (std::uint64_t n = 1; n <= allocations; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        makeTarget(true);
        FaultySystem system;
        system.failAllocation(n);
        std::optional<ZanError> const error = errorOf([&] { write(file()); });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
        EXPECT_EQ(0, system.openFiles());
        EXPECT_EQ(0U, system.liveAllocations());
        expectUntouched(true);
    }
}

TEST_P(QelPictureWriterFaultTest, WritesThatTakeLittleAtATimeAreEnough) {
    write(file());
    Bytes const expected = contentOf(file());
    FaultySystem system;
    system.limitTransfers(1000);
    write(file());
    EXPECT_EQ(expected, contentOf(file()));
}

TEST_P(QelPictureWriterFaultTest, TemporaryNamesThatAreTakenAreSkipped) {
    FaultySystem system;
    system.failFile(FaultySystem::OPEN, 1, EEXIST);
    write(file());
    EXPECT_EQ(2U, system.fileCalls(FaultySystem::OPEN));
    EXPECT_EQ(std::vector<std::string>{GetParam()}, folder_.names());
}

TEST_P(QelPictureWriterFaultTest, ErrorsOfTheImageLeaveNoTrace) {
    makeTarget(true);
    Qel2DImage image(new ThrowingOp(
        {.width = 400, .height = 400}, [] { qelRaise(77, "the op failed"); }, 5));
    expectRaises(77, "the op failed", [&] { QelPictureWriter(file()).write(image); });
    expectUntouched(true);
}

INSTANTIATE_TEST_SUITE_P(Formats, QelPictureWriterFaultTest,
                         testing::Values("picture.png", "picture.jpg"),
                         [](auto const & format) { return std::string(format.param).substr(8); });

}  // namespace

#include "QelErrorFrames.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "ExpectError.h"
#include "ScopedSetting.h"

namespace {

class ClientFailure : public std::exception {
  public:
    char const * what() const noexcept override { return "out of paper"; }
};

// What a render that fails with `thrown` is reported as.
template <class Thrown>
void renderFailsWith(Thrown thrown) {
    errno = 0;
    try {
        throw thrown;
    } catch (...) {
        errno = ENOSPC;
        qelRaiseForeignFrame("Printer", "left");
    }
}

// The system frame has no base text in front.
void expectSystemFrame(ZanError const & error, std::string const & text) {
    EXPECT_STREQ("QEL", error.getComponent());
    EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
    EXPECT_EQ(text, error.getMsg());
}

TEST(QelErrorFramesTest, SystemFrameDropsTheBaseText) {
    auto const error = errorOf([] {
        errno = ENOMEM;
        qelRaiseSystemFrame("\nUnknown exception allocating data buffer");
    });
    ASSERT_TRUE(error);
    expectSystemFrame(*error, "\nUnknown exception allocating data bufferSystem error code = " +
                                  std::to_string(ENOMEM) +
                                  "\nSystem error string = " + std::strerror(ENOMEM));
    EXPECT_NE(std::string::npos, std::string(error->getFile()).find("QelErrorFramesTest.cpp"));
    EXPECT_GT(error->getLine(), 0);
}

TEST(QelErrorFramesTest, SystemFrameWithoutASystemError) {
    auto const error = errorOf([] {
        errno = 0;
        qelRaiseSystemFrame("Unexpected exception in rect buffer copy logic");
    });
    ASSERT_TRUE(error);
    expectSystemFrame(*error, std::string("Unexpected exception in rect buffer copy logic"
                                          "System error code = 0\nSystem error string = ") +
                                  std::strerror(0));
}

TEST(QelErrorFramesTest, LastErrorFrame) {
    std::string const text =
        "\nUnknown exception during compute\nagainst Tile 7\nWindows function GetLastError() "
        "returned error code value " +
        std::to_string(EACCES);
    expectRaises(QelErrorCode::unexpectedException, text, [] {
        errno = EACCES;
        qelRaiseLastErrorFrame("compute", "Tile 7");
    });
}

TEST(QelErrorFramesTest, LastErrorTail) {
    errno = 5;
    EXPECT_EQ("\nWindows function GetLastError() returned error code value 5", qelLastErrorTail());
}

TEST(QelErrorFramesTest, RethrowFrameExtendsTheText) {
    QelError error(7, "text", "f.cpp", 1);
    ZanSourceLocation const here = ZanSourceLocation::current();
    qelAddRethrowFrame(error, here);
    expectQelError(error, QelErrorCode::outOfRange,
                   "text\n[exception caught and rethrown near line " + std::to_string(here.line()) +
                       " in file " + here.file_name() + "]");
}

TEST(QelErrorFramesTest, RethrowFramesAddUp) {
    ScopedSetting const noLines(ZanError::useLines, false);
    QelError error(7, "text", "f.cpp", 1);
    qelAddRethrowFrame(error);
    qelAddRethrowFrame(error);
    expectQelError(error, QelErrorCode::outOfRange,
                   "text\n[exception caught and rethrown near line XXX in file FFF]"
                   "\n[exception caught and rethrown near line XXX in file FFF]");
}

// With useLines false a rethrown error ends in "XXX in file FFF]".
TEST(QelErrorFramesTest, RethrowFrameWithoutLinesEndsInXxxInFileFff) {
    ScopedSetting const noLines(ZanError::useLines, false);
    ZanError error("Zan", 2, "f.cpp", 1);
    qelAddRethrowFrame(error);
    EXPECT_STREQ("Zan error 2\n[exception caught and rethrown near line XXX in file FFF]",
                 error.getMsg());
}

TEST(QelErrorFramesTest, ForeignFrameTellsTheClassOfAStandardException) {
    expectRaises(QelErrorCode::renderFailed,
                 "C++ Exception during preRender/doRender in sink Printer with label left"
                 "\nException Class = runtime_error\nMessage String = no ink",
                 [] { renderFailsWith(std::runtime_error("no ink")); });
    expectRaises(QelErrorCode::renderFailed,
                 "C++ Exception during preRender/doRender in sink Printer with label left"
                 "\nException Class = (anonymous namespace)::ClientFailure"
                 "\nMessage String = out of paper",
                 [] { renderFailsWith(ClientFailure()); });
}

TEST(QelErrorFramesTest, ForeignFrameTellsTheTextOfACharacterPointer) {
    std::string const text =
        "(char *) Exception during preRender/doRender in sink Printer with label left"
        "\nMessage String = jam";
    char mutableText[] = "jam";
    expectRaises(QelErrorCode::renderFailed, text,
                 [] { renderFailsWith(static_cast<char const *>("jam")); });
    expectRaises(QelErrorCode::renderFailed, text,
                 [&] { renderFailsWith(static_cast<char *>(mutableText)); });
}

TEST(QelErrorFramesTest, ForeignFrameTakesANullCharacterPointerAsEmpty) {
    expectRaises(QelErrorCode::renderFailed,
                 "(char *) Exception during preRender/doRender in sink Printer with label left"
                 "\nMessage String = ",
                 [] { renderFailsWith(static_cast<char const *>(nullptr)); });
}

TEST(QelErrorFramesTest, ForeignFrameTellsTheValueOfALong) {
    expectRaises(QelErrorCode::renderFailed,
                 "(long) Exception during preRender/doRender in sink Printer with label left"
                 "\nInteger Value = -42",
                 [] { renderFailsWith(-42L); });
}

TEST(QelErrorFramesTest, ForeignFrameTellsTheLastErrorForAnythingElse) {
    expectRaises(QelErrorCode::renderFailed,
                 "Unknown exception during preRender/doRender in sink Printer with label left"
                 "\nWindows function GetLastError() returned error code value " +
                     std::to_string(ENOSPC),
                 [] { renderFailsWith(3.5); });
}

TEST(QelErrorFramesTest, ForeignFrameLetsAZanErrorPass) {
    expectRaises(QelErrorCode::cancelled, "Render cancelled in progress",
                 [] { renderFailsWith(QelError(204, "Render cancelled in progress", "f", 1)); });
    try {
        renderFailsWith(ZanError("Zan", 5, "f", 1));
        FAIL() << "no error was raised";
    } catch (QelError const &) {
        FAIL() << "became a QelError";
    } catch (ZanError const & error) {
        EXPECT_STREQ("Zan error 5", error.getMsg());
    }
}

}  // namespace

#include "ZanError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "SmallStack.h"
#include "ThreadTesting.h"

namespace {

class ZanErrorTest : public testing::Test {
  protected:
    ~ZanErrorTest() override { ZanError::useLines = true; }

    static std::string printed(ZanError const & error) {
        std::ostringstream out;
        error.print(out);
        return out.str();
    }
};

TEST_F(ZanErrorTest, DefaultIsTheGoodStatus) {
    ZanError const good;
    EXPECT_EQ(0, good.getErrcode());
    EXPECT_STREQ("", good.getComponent());
    EXPECT_STREQ("", good.getFile());
    EXPECT_EQ(0, good.getLine());
    EXPECT_STREQ("no error", good.getMsg());
}

TEST_F(ZanErrorTest, RecordsAllFour) {
    ZanError const error("QEL", 7, "QelTile.cpp", 41);
    EXPECT_EQ(7, error.getErrcode());
    EXPECT_STREQ("QEL", error.getComponent());
    EXPECT_STREQ("QelTile.cpp", error.getFile());
    EXPECT_EQ(41, error.getLine());
}

TEST_F(ZanErrorTest, FreshTextIsComponentErrorCode) {
    struct {
        char const * component;
        int code;
        char const * text;
    } const cases[] = {{"QEL", 7, "QEL error 7"},
                       {"Zan", -3, "Zan error -3"},
                       {"QEL", 0, "QEL error 0"},
                       {"", 5, " error 5"},
                       {nullptr, 5, " error 5"}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_STREQ(c.text, ZanError(c.component, c.code, "f", 1).getMsg());
    }
}

TEST_F(ZanErrorTest, NullFileCountsAsEmpty) {
    EXPECT_STREQ("", ZanError("QEL", 1, nullptr, 3).getFile());
}

TEST_F(ZanErrorTest, WhatIsTheSameTextAsGetMsg) {
    ZanError error("QEL", 7, "f", 1);
    EXPECT_STREQ(error.getMsg(), error.what());
    error.setMsg("other");
    EXPECT_STREQ("other", error.what());
    EXPECT_STREQ("other", error.getMsg());
}

TEST_F(ZanErrorTest, SetMsgReplacesTheWholeTextAndReturnsTheError) {
    ZanError error("QEL", 7, "f", 1);
    EXPECT_EQ(&error, &error.setMsg("one"));
    EXPECT_STREQ("one", error.getMsg());
    EXPECT_EQ(&error, &error.setMsg(std::string("two")));
    EXPECT_STREQ("two", error.getMsg());
    error.setMsg(static_cast<char const *>(nullptr));
    EXPECT_STREQ("", error.getMsg());
}

TEST_F(ZanErrorTest, SetMsgTakesAPartOfItsOwnText) {
    ZanError error("QEL", 7, "f", 1);
    error.setMsg("a text that is too long for the buffer inside a string");
    error.setMsg(error.getMsg() + 7);
    EXPECT_STREQ("that is too long for the buffer inside a string", error.getMsg());
}

TEST_F(ZanErrorTest, CopiesKeepAllStateMessageIncluded) {
    ZanError error("QEL", 7, "QelTile.cpp", 41);
    error.setMsg("a text of its own");
    ZanError const copy(error);
    ZanError assigned;
    assigned = error;
    error.setMsg("changed later");
    for (ZanError const * each : {&copy, static_cast<ZanError const *>(&assigned)}) {
        EXPECT_EQ(7, each->getErrcode());
        EXPECT_STREQ("QEL", each->getComponent());
        EXPECT_STREQ("QelTile.cpp", each->getFile());
        EXPECT_EQ(41, each->getLine());
        EXPECT_STREQ("a text of its own", each->getMsg());
    }
}

// ---- Pieces

TEST_F(ZanErrorTest, PiecesStandInTheOrderInWhichTheyWereAdded) {
    ZanError error("QEL", 7, "f", 1);
    EXPECT_EQ(&error, &error.appendMsg(", behind"));
    EXPECT_EQ(&error, &error.prependMsg("ahead, "));
    EXPECT_STREQ("ahead, QEL error 7, behind", error.getMsg());
    error.prependMsg("").appendMsg(" and last").prependMsg("first and ").appendMsg("");
    EXPECT_STREQ("first and ahead, QEL error 7, behind and last", error.getMsg());
    EXPECT_STREQ("first and ahead, QEL error 7, behind and last", error.what());
    EXPECT_EQ("QEL error 7 at f:1: first and ahead, QEL error 7, behind and last", printed(error));
    EXPECT_EQ(7, error.getErrcode());
}

TEST_F(ZanErrorTest, AppendTakesTheTextOfAnotherError) {
    ZanError plain("QEL", 7, "f", 1);
    ZanError pieces("Zan", 3, "g", 2);
    EXPECT_EQ(&pieces, &pieces.appendMsg(ZanError()));
    EXPECT_STREQ("Zan error 3no error", pieces.getMsg());
    EXPECT_STREQ("QEL error 7Zan error 3no error", plain.appendMsg(pieces).getMsg());
    pieces.prependMsg("<").appendMsg(">");
    EXPECT_STREQ("<Zan error 3no error>QEL error 7Zan error 3no error",
                 pieces.appendMsg(plain).getMsg());
    EXPECT_STREQ("QEL error 7Zan error 3no error", plain.getMsg());
    EXPECT_EQ(3, pieces.getErrcode());
    EXPECT_STREQ("g", pieces.getFile());
}

TEST_F(ZanErrorTest, AppendTakesItsOwnText) {
    ZanError error("QEL", 7, "f", 1);
    error.appendMsg(error);
    EXPECT_STREQ("QEL error 7QEL error 7", error.getMsg());
    error.appendMsg(error).appendMsg(error.getMsg());
    EXPECT_STREQ(
        "QEL error 7QEL error 7QEL error 7QEL error 7"
        "QEL error 7QEL error 7QEL error 7QEL error 7",
        error.getMsg());
}

TEST_F(ZanErrorTest, AppendAsksADerivedClassForItsText) {
    class Late : public ZanError {
      public:
        char const * getMsg() const override { return "a text made late"; }
    };
    EXPECT_STREQ("QEL error 7: a text made late",
                 ZanError("QEL", 7, "f", 1).appendMsg(": ").appendMsg(Late()).getMsg());
}

TEST_F(ZanErrorTest, CopiesDoNotSeeWhatIsAddedLater) {
    ZanError error("QEL", 7, "f", 1);
    ZanError const plain(error);
    error.appendMsg(", more");
    ZanError const pieces(error);
    ZanError assigned("Zan", 2, "g", 3);
    assigned.appendMsg("to be replaced");
    EXPECT_STREQ("Zan error 2to be replaced", assigned.getMsg());
    assigned = error;
    error.prependMsg("ahead, ").appendMsg(", behind");
    EXPECT_STREQ("QEL error 7", plain.getMsg());
    EXPECT_STREQ("QEL error 7, more", pieces.getMsg());
    EXPECT_STREQ("QEL error 7, more", assigned.getMsg());
    EXPECT_STREQ("ahead, QEL error 7, more, behind", error.getMsg());
}

TEST_F(ZanErrorTest, CopiesOutliveTheErrorThatTheyCameFrom) {
    auto error = std::make_unique<ZanError>("QEL", 7, "f", 1);
    error->appendMsg(", more");
    ZanError const copy(*error);
    error = nullptr;
    EXPECT_STREQ("QEL error 7, more", copy.getMsg());
}

TEST_F(ZanErrorTest, AssignmentToItselfKeepsThePieces) {
    ZanError error("QEL", 7, "f", 1);
    ZanError & same = error.appendMsg(", more");
    error = same;
    EXPECT_STREQ("QEL error 7, more", error.getMsg());
}

TEST_F(ZanErrorTest, PiecesAreReplacedByATextAndByAPlainError) {
    ZanError error("QEL", 7, "f", 1);
    error.appendMsg(", more");
    EXPECT_STREQ("QEL error 7, more", error.getMsg());
    error.setMsg(error.getMsg() + 4);
    EXPECT_STREQ("error 7, more", error.getMsg());
    error.appendMsg("!");
    error = ZanError("Zan", 2, "f", 1);
    EXPECT_STREQ("Zan error 2", error.getMsg());
}

TEST_F(ZanErrorTest, TheTextStaysWhereItIsUntilTheErrorChanges) {
    ZanError error("QEL", 7, "f", 1);
    error.appendMsg(", more");
    char const * const text = error.getMsg();
    EXPECT_EQ(text, error.getMsg());
    EXPECT_EQ(text, error.what());
    ZanError const copy(error);
    EXPECT_STREQ(text, copy.getMsg());
    EXPECT_EQ(text, error.getMsg());
}

// What each error says is added to what the one before says. All texts apart would take 200 GB.
std::vector<ZanError> errorsThatPassOn(int count) {
    std::vector<ZanError> errors{ZanError("QEL", 7, "f", 1)};
    errors.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 1; i <= count; ++i) {
        std::string const number = std::to_string(i);
        ZanError next("QEL", 600, "f", i);
        next.setMsg('(' + number + ' ').appendMsg(errors.back()).appendMsg(' ' + number + ')');
        errors.push_back(next);
    }
    return errors;
}

std::string textOfLast(int count) {
    std::string text = "QEL error 7";
    for (int i = 1; i <= count; ++i)
        text += ' ' + std::to_string(i) + ')';
    std::string ahead;
    for (int i = count; i >= 1; --i)
        ahead += '(' + std::to_string(i) + ' ';
    return ahead + text;
}

TEST_F(ZanErrorTest, ManyErrorsShareWhatTheySayAlike) {
    constexpr int count = 100000;
    runOnSmallStack([] {
        std::vector<ZanError> errors = errorsThatPassOn(count);
        EXPECT_STREQ(textOfLast(10).c_str(), errors[10].getMsg());
        ZanError last = errors.back();
        // From the first on; all pieces live on in the last.
        std::vector<ZanError>().swap(errors);
        EXPECT_TRUE(textOfLast(count) == last.getMsg());
        last = ZanError();
    });
}

TEST_F(ZanErrorTest, ManyErrorsAreReleasedFromTheLastOn) {
    runOnSmallStack([] {
        std::vector<ZanError> errors = errorsThatPassOn(100000);
        while (errors.size() > 5)
            errors.pop_back();
        EXPECT_EQ(textOfLast(4), errors.back().getMsg());
    });
}

TEST_F(ZanErrorTest, ThreadsReadOneErrorAtOnce) {
    for (int round = 0; round < 50; ++round) {
        ZanError const error = errorsThatPassOn(50).back();
        std::vector<char const *> texts(threadCount);
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            start.await();
            texts[thread] = thread % 2 == 0 ? error.getMsg() : error.what();
            ZanError copy(error);
            EXPECT_STREQ(texts[thread], copy.getMsg());
            copy.appendMsg("!");
            EXPECT_EQ(texts[thread] + std::string("!"), copy.getMsg());
        });
        EXPECT_EQ(textOfLast(50), error.getMsg());
        EXPECT_EQ(std::vector<char const *>(threadCount, error.getMsg()), texts);
    }
}

// The last reference on a piece goes with whichever thread comes last.
TEST_F(ZanErrorTest, ThreadsReleaseSharedPiecesAtOnce) {
    for (int round = 0; round < 50; ++round) {
        std::vector<ZanError> errors = errorsThatPassOn(int{threadCount} - 1);
        ZanError const kept = round % 2 == 0 ? errors[threadCount / 2] : ZanError();
        std::string const text = kept.getMsg();
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            start.await();
            errors[thread] = ZanError();
        });
        EXPECT_EQ(text, ZanError(kept).getMsg());
    }
}

// ---- Exceptions and people

TEST_F(ZanErrorTest, IsCaughtAsAStandardException) {
    try {
        throw ZanError("QEL", 7, "f", 1);
    } catch (std::exception const & error) {
        EXPECT_STREQ("QEL error 7", error.what());
    }
}

TEST_F(ZanErrorTest, PrintWritesEverything) {
    ZanError error("QEL", 7, "QelTile.cpp", 41);
    error.setMsg("QEL error 7\nBad index");
    EXPECT_EQ("QEL error 7 at QelTile.cpp:41: QEL error 7\nBad index", printed(error));
}

TEST_F(ZanErrorTest, PrintWithoutUseLinesLeavesThePositionOut) {
    ZanError::useLines = false;
    EXPECT_EQ("QEL error 7: QEL error 7", printed(ZanError("QEL", 7, "QelTile.cpp", 41)));
}

TEST_F(ZanErrorTest, PrintWithoutFileOrComponent) {
    EXPECT_EQ("error 0: no error", printed(ZanError()));
    EXPECT_EQ("QEL error 7: QEL error 7", printed(ZanError("QEL", 7, "", 41)));
}

TEST_F(ZanErrorTest, PrintIgnoresTheStreamsFormat) {
    std::ostringstream out;
    out << std::hex << std::showbase << std::setw(60) << std::setfill('*');
    ZanError("QEL", 200, "f", 255).print(out);
    EXPECT_EQ("QEL error 200 at f:255: QEL error 200", out.str());
}

TEST_F(ZanErrorTest, SystemErrorIsErrnoAndItsText) {
    for (int const code : {0, ENOENT, EACCES, ENOSPC, EAGAIN}) {
        SCOPED_TRACE(code);
        errno = code;
        EXPECT_EQ(code, ZanError::getSystemErrorCode());
        std::string const text = ZanError::getSystemErrorMsg();
        EXPECT_EQ(code, ZanError::getSystemErrorCode()) << "asking for the text changed the code";
        EXPECT_EQ(std::strerror(code), text);
    }
}

TEST_F(ZanErrorTest, UnknownSystemErrorHasATextToo) {
    errno = 987654;
    EXPECT_NE(std::string::npos, ZanError::getSystemErrorMsg().find("987654"));
}

TEST_F(ZanErrorTest, SystemErrorIsTheCallingThreads) {
    errno = ENOENT;
    std::thread([] { errno = EACCES; }).join();
    EXPECT_EQ(ENOENT, ZanError::getSystemErrorCode());
}

}  // namespace

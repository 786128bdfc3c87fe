#include "ZanError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <thread>

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

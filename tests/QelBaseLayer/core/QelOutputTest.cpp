#include "QelOutput.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OutputCapture.h"

namespace {

TEST(QelOutputTest, GoesToStandardOutput) {
    testing::internal::CaptureStdout();
    QelOutput::write("plain\n");
    EXPECT_EQ("plain\n", testing::internal::GetCapturedStdout());
}

TEST(QelOutputTest, GoesToTheReceiverAndNowhereElse) {
    testing::internal::CaptureStdout();
    {
        OutputCapture const capture;
        QelOutput::write("first ");
        QelOutput::write("second");
        EXPECT_EQ("first second", capture.text());
    }
    QelOutput::write("after");
    EXPECT_EQ("after", testing::internal::GetCapturedStdout());
}

TEST(QelOutputTest, CapturesNest) {
    OutputCapture const outer;
    {
        OutputCapture const inner;
        QelOutput::write("inner");
        EXPECT_EQ("inner", inner.text());
    }
    QelOutput::write("outer");
    EXPECT_EQ("outer", outer.text());
}

TEST(QelOutputTest, TakeStartsAnew) {
    OutputCapture capture;
    QelOutput::write("one");
    EXPECT_EQ("one", capture.take());
    EXPECT_EQ("", capture.take());
}

TEST(QelOutputTest, RedirectReturnsTheFormerReceiver) {
    std::string text;
    QelOutput::Receiver const standard =
        QelOutput::redirect([&text](std::string_view part) { text += part; });
    EXPECT_FALSE(standard);
    QelOutput::Receiver const mine = QelOutput::redirect(nullptr);
    ASSERT_TRUE(mine);
    mine("by hand");
    EXPECT_EQ("by hand", text);
}

TEST(QelOutputTest, PassesZeroBytesAndEmptyTexts) {
    OutputCapture const capture;
    QelOutput::write(std::string_view("a\0b", 3));
    QelOutput::write("");
    EXPECT_EQ(std::string("a\0b", 3), capture.text());
}

TEST(QelOutputTest, ReceiverThatThrowsLeavesTheOutputUsable) {
    QelOutput::Receiver const former =
        QelOutput::redirect([](std::string_view) { throw std::runtime_error("full"); });
    EXPECT_THROW(QelOutput::write("x"), std::runtime_error);
    EXPECT_THROW(QelOutput::write("x"), std::runtime_error);
    QelOutput::redirect(former);
    OutputCapture const capture;
    QelOutput::write("y");
    EXPECT_EQ("y", capture.text());
}

TEST(QelOutputTest, ThreadsWriteWholeTexts) {
    constexpr int threads = 4;
    constexpr int lines = 200;
    std::string const body(100, '.');
    OutputCapture const capture;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&body, t] {
            for (int i = 0; i < lines; ++i) {
                QelOutput::write(std::to_string(t) + body + std::to_string(i) + '\n');
            }
        });
    }
    for (std::thread & writer : writers)
        writer.join();

    std::set<std::string> expected;
    for (int t = 0; t < threads; ++t) {
        for (int i = 0; i < lines; ++i) {
            expected.insert(std::to_string(t) + body + std::to_string(i));
        }
    }
    std::set<std::string> written;
    std::istringstream in(capture.text());
    for (std::string line; std::getline(in, line);)
        written.insert(line);
    EXPECT_EQ(expected, written);
}

}  // namespace

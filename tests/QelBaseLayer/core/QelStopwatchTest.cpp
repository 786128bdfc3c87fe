#include "QelStopwatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

namespace {

// At least this long, which is at least as many ticks.
void waitMilliseconds(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::string textOf(QelStopwatch const & watch) {
    std::ostringstream text;
    text << watch;
    return text.str();
}

TEST(QelStopwatchTest, NothingRunsUntilItIsStarted) {
    QelStopwatch watch(false);
    waitMilliseconds(2);
    EXPECT_EQ(0, watch.stop());
    EXPECT_EQ(0.0, watch.seconds());
}

TEST(QelStopwatchTest, RunsFromTheStartIfAsked) {
    QelStopwatch watch(true);
    waitMilliseconds(5);
    EXPECT_GE(watch.stop(), 5);
}

TEST(QelStopwatchTest, StopAddsTheIntervalAndReturnsIt) {
    QelStopwatch watch(true);
    waitMilliseconds(3);
    std::int64_t const first = watch.stop();
    EXPECT_EQ(static_cast<double>(first) / 1000.0, watch.seconds());
    watch.start(false);
    waitMilliseconds(4);
    std::int64_t const second = watch.stop();
    EXPECT_GE(second, 4);
    EXPECT_EQ(static_cast<double>(first + second) / 1000.0, watch.seconds());
}

TEST(QelStopwatchTest, AnIntervalUnderWayIsNotInTheTotal) {
    QelStopwatch watch(true);
    waitMilliseconds(2);
    EXPECT_EQ(0.0, watch.seconds());
}

TEST(QelStopwatchTest, ASecondStopAddsNothing) {
    QelStopwatch watch(true);
    waitMilliseconds(2);
    watch.stop();
    double const total = watch.seconds();
    waitMilliseconds(2);
    EXPECT_EQ(0, watch.stop());
    EXPECT_EQ(total, watch.seconds());
}

TEST(QelStopwatchTest, StartWithResetClearsTheTotal) {
    QelStopwatch watch(true);
    waitMilliseconds(2);
    ASSERT_GE(watch.stop(), 2);
    watch.start(true);
    EXPECT_EQ(0.0, watch.seconds());
    std::int64_t const ticks = watch.stop();
    EXPECT_EQ(static_cast<double>(ticks) / 1000.0, watch.seconds());
}

TEST(QelStopwatchTest, ASecondStartDropsTheIntervalUnderWay) {
    using Clock = std::chrono::steady_clock;
    QelStopwatch watch(true);
    waitMilliseconds(20);
    Clock::time_point const beforeStart = Clock::now();
    watch.start(false);
    std::int64_t const ticks = watch.stop();
    auto const passed = Clock::now() - beforeStart;
    // The interval is not longer than the time around it, up to the tick that it began in.
    EXPECT_LE(std::chrono::milliseconds(ticks - 1), passed);
    EXPECT_EQ(static_cast<double>(ticks) / 1000.0, watch.seconds());
}

TEST(QelStopwatchTest, ACopyGoesItsOwnWay) {
    QelStopwatch watch(true);
    QelStopwatch copy = watch;
    waitMilliseconds(2);
    EXPECT_GE(watch.stop(), 2);
    EXPECT_EQ(0.0, copy.seconds());
    EXPECT_GE(copy.stop(), 2);
}

TEST(QelStopwatchTest, WritesTheSeconds) {
    EXPECT_EQ("0", textOf(QelStopwatch(false)));
    QelStopwatch watch(true);
    waitMilliseconds(7);
    watch.stop();
    std::ostringstream expected;
    expected << watch.seconds();
    EXPECT_EQ(expected.str(), textOf(watch));
}

TEST(QelStopwatchTest, WritesWithTheStreamsOwnSettings) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    std::ostringstream text;
    text.imbue(std::locale(std::locale::classic(), new Comma));
    text << std::fixed << std::setprecision(2) << std::setfill('*') << std::setw(7)
         << QelStopwatch(false) << '|' << QelStopwatch(false);
    EXPECT_EQ("***0,00|0,00", text.str());
}

}  // namespace

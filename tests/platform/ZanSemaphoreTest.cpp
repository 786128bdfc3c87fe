#include "ZanSemaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

TEST(ZanSemaphoreTest, StartsWithTheGivenCount) {
    EXPECT_EQ(0, ZanSemaphore().value());
    EXPECT_EQ(3, ZanSemaphore(3).value());
}

TEST(ZanSemaphoreTest, WaitTakesOne) {
    ZanSemaphore semaphore(2);
    EXPECT_TRUE(semaphore.wait());
    EXPECT_EQ(1, semaphore.value());
    EXPECT_TRUE(semaphore.wait(0));
    EXPECT_EQ(0, semaphore.value());
}

TEST(ZanSemaphoreTest, WaitTimesOutAndTakesNothing) {
    ZanSemaphore semaphore;
    EXPECT_FALSE(semaphore.wait(0));
    auto const before = Clock::now();
    EXPECT_FALSE(semaphore.wait(30));
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(30));
    EXPECT_EQ(0, semaphore.value());
}

TEST(ZanSemaphoreTest, TryWaitNeverWaits) {
    ZanSemaphore semaphore(1);
    EXPECT_TRUE(semaphore.tryWait());
    EXPECT_FALSE(semaphore.tryWait());
    EXPECT_EQ(0, semaphore.value());
}

TEST(ZanSemaphoreTest, PostWakesAWaiter) {
    ZanSemaphore semaphore;
    std::thread waiter([&semaphore] { EXPECT_TRUE(semaphore.wait()); });
    semaphore.post();
    waiter.join();
    EXPECT_EQ(0, semaphore.value());
}

TEST(ZanSemaphoreTest, ATimedWaitIsWokenToo) {
    // The longest times must not overflow the clock and so end at once.
    for (unsigned long const milliseconds : {60000UL, ZanSemaphore::infinite - 1}) {
        SCOPED_TRACE(milliseconds);
        ZanSemaphore semaphore;
        std::thread waiter([&] { EXPECT_TRUE(semaphore.wait(milliseconds)); });
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        semaphore.post();
        waiter.join();
    }
}

TEST(ZanSemaphoreTest, PostOfSeveralWakesAsMany) {
    ZanSemaphore semaphore;
    std::atomic<int> through{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            EXPECT_TRUE(semaphore.wait());
            ++through;
        });
    }
    // Long enough for all to wait, so that they have to be woken.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    semaphore.post(3);
    while (through < 3)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(3, through);
    semaphore.post();
    for (std::thread & waiter : waiters)
        waiter.join();
    EXPECT_EQ(0, semaphore.value());
}

TEST(ZanSemaphoreTest, ProducersAndConsumersBalance) {
    ZanSemaphore semaphore;
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&semaphore] {
            for (int k = 0; k < 1000; ++k)
                semaphore.post(1 + k % 2);
        });
        threads.emplace_back([&] {
            for (int k = 0; k < 1000; ++k)
                taken += semaphore.wait() ? 1 : 0;
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(4000, taken);
    EXPECT_EQ(4 * 1500 - 4000, semaphore.value());
}

// Who gets through may destroy the semaphore although the poster has not returned yet.
TEST(ZanSemaphoreTest, MayBeDestroyedByTheThreadThatGotThrough) {
    for (int round = 0; round < 300; ++round) {
        auto semaphore = std::make_unique<ZanSemaphore>();
        std::thread poster([raw = semaphore.get()] { raw->post(); });
        semaphore->wait();
        semaphore.reset();
        poster.join();
    }
}

}  // namespace

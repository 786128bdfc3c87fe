#include "ZanMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <iostream>
#include <random>
#include <thread>
#include <vector>

namespace {

constinit ZanMutex staticMutex;

// Locks before main, in a constructor that may well run ahead of all others of this program.
struct EarlyUser {
    EarlyUser() {
        ZanLock const lock(staticMutex);
        used = true;
    }
    bool used = false;
};
EarlyUser const earlyUser;

// The analysis at compile time knows no locks that are taken twice, so it is to look away.
void take(ZanMutex & mutex) ZAN_NO_THREAD_SAFETY_ANALYSIS {
    mutex.lock();
}
bool tryToTake(ZanMutex & mutex) ZAN_NO_THREAD_SAFETY_ANALYSIS {
    return mutex.try_lock();
}
void leave(ZanMutex & mutex) ZAN_NO_THREAD_SAFETY_ANALYSIS {
    mutex.unlock();
}

// Whether another thread finds the mutex free.
bool isFreeForOthers(ZanMutex & mutex) {
    return std::async(std::launch::async,
                      [&mutex] {
                          bool const free = mutex.try_lock();
                          if (free) mutex.unlock();
                          return free;
                      })
        .get();
}

TEST(ZanMutexTest, IsReadyBeforeAnyConstructor) {
    EXPECT_TRUE(earlyUser.used);
    EXPECT_TRUE(isFreeForOthers(staticMutex));
}

TEST(ZanMutexTest, KeepsOthersOutUntilUnlocked) {
    ZanMutex mutex;
    EXPECT_TRUE(isFreeForOthers(mutex));
    take(mutex);
    EXPECT_FALSE(isFreeForOthers(mutex));
    leave(mutex);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(ZanMutexTest, HolderMayTakeItAgainAndUnlocksAsOften) {
    ZanMutex mutex;
    for (int depth = 0; depth < 5; ++depth)
        take(mutex);
    for (int depth = 0; depth < 5; ++depth) {
        EXPECT_FALSE(isFreeForOthers(mutex)) << "at depth " << depth;
        leave(mutex);
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(ZanMutexTest, TryLockCountsLikeLock) {
    ZanMutex mutex;
    ASSERT_TRUE(tryToTake(mutex));
    ASSERT_TRUE(tryToTake(mutex));
    take(mutex);
    leave(mutex);
    leave(mutex);
    EXPECT_FALSE(isFreeForOthers(mutex));
    leave(mutex);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(ZanMutexTest, TwoMutexesNestInOneThread) {
    ZanMutex first;
    ZanMutex second;
    take(first);
    take(second);
    take(first);
    leave(second);
    EXPECT_TRUE(isFreeForOthers(second));
    leave(first);
    EXPECT_FALSE(isFreeForOthers(first));
    leave(first);
    EXPECT_TRUE(isFreeForOthers(first));
}

TEST(ZanMutexTest, BothGuardsHoldForTheirScope) {
    ZanMutex mutex;
    {
        ZanLock const outer(mutex);
        {
            std::lock_guard<ZanMutex> const inner(mutex);
            EXPECT_FALSE(isFreeForOthers(mutex));
        }
        EXPECT_FALSE(isFreeForOthers(mutex));
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(ZanMutexTest, AWaitingThreadGetsItAfterTheLastUnlock) {
    ZanMutex mutex;
    std::atomic<bool> entered{false};
    take(mutex);
    take(mutex);
    std::thread waiter([&] {
        ZanLock const lock(mutex);
        entered = true;
    });
    leave(mutex);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);
    leave(mutex);
    waiter.join();
    EXPECT_TRUE(entered);
}

TEST(ZanMutexTest, EightThreadsWithRandomNestingLoseNothing) {
    unsigned const seed = 7;
    std::cout << "seed " << seed << '\n';
    ZanMutex mutex;
    long guarded = 0;
    long expected = 0;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 8; ++i) {
        std::mt19937 forThread(seed + i);
        std::mt19937 forCount(seed + i);
        for (int k = 0; k < 3000; ++k)
            expected += static_cast<long>(forCount() % 4) + 1;
        threads.emplace_back([&, random = forThread]() mutable {
            for (int k = 0; k < 3000; ++k) {
                unsigned const depth = static_cast<unsigned>(random() % 4) + 1;
                for (unsigned d = 0; d < depth; ++d) {
                    take(mutex);
                    ++guarded;
                }
                for (unsigned d = 0; d < depth; ++d)
                    leave(mutex);
            }
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(expected, guarded);
}

}  // namespace

#include "ZanThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "BodyThread.h"
#include "ZanSemaphore.h"

namespace {

using Clock = std::chrono::steady_clock;

class ZanThreadTest : public testing::Test {
  protected:
    // A body that stays until letGo() is called.
    std::function<void()> stays() {
        return [this] {
            entered_.post();
            leave_.wait();
        };
    }
    void awaitEntry() { entered_.wait(); }
    void letGo() { leave_.post(); }

    static void launchAsSoonAsItEnds(ZanThreadBase & thread) {
        for (;;) {
            try {
                thread.launch();
                return;
            } catch (ZanError const &) {
                std::this_thread::yield();
            }
        }
    }

    ZanSemaphore entered_;
    ZanSemaphore leave_;
};

TEST_F(ZanThreadTest, RunsItsBodyOnceOnAThreadOfItsOwn) {
    int runs = 0;
    std::thread::id runner;
    BodyThread thread([&] {
        ++runs;
        runner = std::this_thread::get_id();
    });
    EXPECT_TRUE(thread.launch());
    thread.join();
    EXPECT_EQ(1, runs);
    EXPECT_NE(std::thread::id(), runner);
    EXPECT_NE(std::this_thread::get_id(), runner);
    EXPECT_FALSE(thread.getError());
}

TEST_F(ZanThreadTest, StateTellsWhatItIsDoing) {
    BodyThread thread(stays());
    EXPECT_EQ(ZAN_THREAD_IDLE, thread.state());
    EXPECT_FALSE(thread.isRunning());
    thread.launch();
    EXPECT_EQ(ZAN_THREAD_RUNNING, thread.state());
    EXPECT_TRUE(thread.isRunning());
    letGo();
    thread.join();
    EXPECT_EQ(ZAN_THREAD_ENDED, thread.state());
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(ZanThreadTest, StatesHaveTheNumbersThatClientsMayCompareWith) {
    EXPECT_EQ(0, ZAN_THREAD_IDLE);
    EXPECT_EQ(1, ZAN_THREAD_RUNNING);
    EXPECT_EQ(2, ZAN_THREAD_LAUNCH_FAILED);
    EXPECT_EQ(3, ZAN_THREAD_ENDED);
}

TEST_F(ZanThreadTest, IdsAreDistinctAndStayTheSameForEachLaunch) {
    std::set<unsigned long> ids;
    for (int i = 0; i < 10; ++i)
        ids.insert(BodyThread().id());
    EXPECT_EQ(10U, ids.size());
    EXPECT_EQ(0U, ids.count(0));
    BodyThread thread;
    unsigned long const id = thread.id();
    thread.runAndWait();
    thread.runAndWait();
    EXPECT_EQ(id, thread.id());
}

TEST_F(ZanThreadTest, CurrentIdIsTheIdOfTheBodysThread) {
    unsigned long seen = 0;
    BodyThread thread([&seen] { seen = ZanThreadBase::currentId(); });
    thread.runAndWait();
    EXPECT_EQ(thread.id(), seen);
    EXPECT_EQ(0U, ZanThreadBase::currentId());
}

TEST_F(ZanThreadTest, WaitForThreadIsTrueAtTheEnd) {
    std::atomic<bool> done{false};
    BodyThread thread([&done] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        done = true;
    });
    thread.launch();
    EXPECT_TRUE(ZanThread<ZanMutex>::waitForThread(thread.id()));
    EXPECT_TRUE(done);
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(ZanThreadTest, WaitForThreadIsFalseOnTimeOut) {
    BodyThread thread(stays());
    thread.launch();
    auto const before = Clock::now();
    EXPECT_FALSE(ZanThreadBase::waitForThread(thread.id(), 30));
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(30));
    EXPECT_FALSE(ZanThreadBase::waitForThread(thread.id(), 0));
    letGo();
    EXPECT_TRUE(ZanThreadBase::waitForThread(thread.id(), 60000));
}

TEST_F(ZanThreadTest, WaitForThreadIsTrueAtOnceForWhoDoesNotRun) {
    BodyThread never;
    BodyThread ended;
    ended.runAndWait();
    EXPECT_TRUE(ZanThreadBase::waitForThread(0)) << "no thread has this id";
    EXPECT_TRUE(ZanThreadBase::waitForThread(~0UL)) << "unknown";
    EXPECT_TRUE(ZanThreadBase::waitForThread(never.id())) << "never launched";
    EXPECT_TRUE(ZanThreadBase::waitForThread(ended.id())) << "ended";
    unsigned long destroyed = BodyThread().id();
    EXPECT_TRUE(ZanThreadBase::waitForThread(destroyed)) << "destroyed";
}

TEST_F(ZanThreadTest, AThreadThatWaitsForItselfIsToldAtOnce) {
    bool waited = true;
    BodyThread selfish([&] {
        waited = ZanThreadBase::waitForThread(ZanThreadBase::currentId());
        selfish.join();
    });
    selfish.launch();
    EXPECT_TRUE(ZanThreadBase::waitForThread(selfish.id(), 60000));
    EXPECT_FALSE(waited);
}

TEST_F(ZanThreadTest, AllWaitersAreWoken) {
    BodyThread thread(stays());
    thread.launch();
    std::vector<std::future<bool>> waiters;
    for (int i = 0; i < 6; ++i)
        waiters.push_back(std::async(std::launch::async, [id = thread.id(), i] {
            return i % 2 == 0 ? ZanThreadBase::waitForThread(id)
                              : ZanThreadBase::waitForThread(id, 60000);
        }));
    letGo();
    for (auto & waiter : waiters)
        EXPECT_TRUE(waiter.get());
}

TEST_F(ZanThreadTest, ALongTimeIsNoShortOne) {
    BodyThread thread(stays());
    thread.launch();
    auto waiter = std::async(std::launch::async, [id = thread.id()] {
        return ZanThreadBase::waitForThread(id, ZanThreadBase::infinite - 1);
    });
    EXPECT_EQ(std::future_status::timeout, waiter.wait_for(std::chrono::milliseconds(20)));
    letGo();
    EXPECT_TRUE(waiter.get());
}

TEST_F(ZanThreadTest, RunsAgainAfterItsEnd) {
    int runs = 0;
    BodyThread thread([&runs] { ++runs; });
    for (int round = 1; round <= 3; ++round) {
        thread.runAndWait();
        EXPECT_EQ(round, runs);
    }
}

// A waiter that begins late rightly waits for the second launch, which cannot be told from one that
// is held by it. So a few of them are granted.
TEST_F(ZanThreadTest, AWaiterIsNotHeldByTheNextLaunch) {
    BodyThread thread(stays());
    ZanSemaphore waiting;
    int late = 0;
    for (int round = 0; round < 20 && late < 5; ++round) {
        thread.launch();
        awaitEntry();
        auto waiter = std::async(std::launch::async, [&waiting, id = thread.id()] {
            waiting.post();
            return ZanThreadBase::waitForThread(id);
        });
        waiting.wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        letGo();
        launchAsSoonAsItEnds(thread);
        awaitEntry();
        if (waiter.wait_for(std::chrono::seconds(1)) == std::future_status::timeout) ++late;
        letGo();
        EXPECT_TRUE(waiter.get());
        thread.join();
    }
    EXPECT_LT(late, 5);
}

TEST_F(ZanThreadTest, LaunchWhileRunningRaisesCode3) {
    BodyThread thread(stays());
    thread.launch();
    try {
        thread.launch();
        ADD_FAILURE() << "a running thread was launched";
    } catch (ZanError const & error) {
        EXPECT_EQ(3, error.getErrcode());
        EXPECT_STREQ("Zan", error.getComponent());
        EXPECT_STREQ("Zan error 3\nThe thread is already running", error.getMsg());
    }
    EXPECT_TRUE(thread.isRunning());
    letGo();
    thread.join();
    EXPECT_FALSE(thread.getError());
}

TEST_F(ZanThreadTest, GetErrorReturnsWhatTheBodyLeftOnce) {
    BodyThread thread([] { throw ZanError("QEL", 602, "QelTile.cpp", 12).setMsg("no tile"); });
    thread.runAndWait();
    EXPECT_EQ(ZAN_THREAD_ENDED, thread.state());
    ZanErrp const error = thread.getError();
    ASSERT_TRUE(error);
    EXPECT_EQ(602, error->getErrcode());
    EXPECT_STREQ("QEL", error->getComponent());
    EXPECT_STREQ("QelTile.cpp", error->getFile());
    EXPECT_EQ(12, error->getLine());
    EXPECT_STREQ("no tile", error->getMsg());
    EXPECT_FALSE(thread.getError());
}

TEST_F(ZanThreadTest, ADerivedErrorIsKeptWithAllItSays) {
    struct Derived : ZanError {
        Derived() : ZanError("QEL", 204, "f", 1) { setMsg("Render cancelled in progress"); }
    };
    BodyThread thread([] { throw Derived(); });
    thread.runAndWait();
    ZanErrp const error = thread.getError();
    ASSERT_TRUE(error);
    EXPECT_EQ(204, error->getErrcode());
    EXPECT_STREQ("Render cancelled in progress", error->getMsg());
}

TEST_F(ZanThreadTest, ForeignExceptionsBecomeCode10) {
    struct {
        std::function<void()> body;
        char const * text;
    } const cases[] = {
        {[] { throw std::runtime_error("disk on fire"); }, "Zan error 10\ndisk on fire"},
        {[] { throw std::bad_alloc(); }, "Zan error 10\nstd::bad_alloc"},
        {[] { throw 42L; }, "Zan error 10\nUnknown exception"},
        {[] { throw "a text"; }, "Zan error 10\nUnknown exception"},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.text);
        BodyThread thread(c.body);
        thread.runAndWait();
        ZanErrp const error = thread.getError();
        ASSERT_TRUE(error);
        EXPECT_EQ(10, error->getErrcode());
        EXPECT_STREQ("Zan", error->getComponent());
        EXPECT_STREQ(c.text, error->getMsg());
    }
}

TEST_F(ZanThreadTest, TheNextLaunchDropsAnErrorThatNobodyFetched) {
    bool fail = true;
    BodyThread thread([&fail] {
        if (fail) throw ZanError("QEL", 7, "f", 1);
    });
    thread.runAndWait();
    fail = false;
    thread.runAndWait();
    EXPECT_FALSE(thread.getError());
}

TEST_F(ZanThreadTest, TheLockGuardsWhatBodiesShare) {
    BodyThread owner;
    long guarded = 0;
    std::vector<std::unique_ptr<BodyThread>> workers;
    for (int i = 0; i < 8; ++i) {
        workers.push_back(std::make_unique<BodyThread>([&owner, &guarded] {
            for (int k = 0; k < 1000; ++k) {
                ZanLock const lock(owner.mutex());
                ++guarded;
            }
        }));
    }
    for (auto & worker : workers)
        worker->launch();
    for (auto & worker : workers)
        worker->join();
    EXPECT_EQ(8000, guarded);
}

TEST_F(ZanThreadTest, ManyThreadsRunAndEnd) {
    std::atomic<int> runs{0};
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<BodyThread>> threads;
        for (int i = 0; i < 60; ++i)
            threads.push_back(std::make_unique<BodyThread>([&runs] { ++runs; }));
        for (auto & thread : threads)
            EXPECT_TRUE(thread->launch());
        for (auto & thread : threads)
            EXPECT_TRUE(ZanThreadBase::waitForThread(thread->id()));
    }
    EXPECT_EQ(300, runs);
}

TEST_F(ZanThreadTest, ThreadsLaunchThreads) {
    std::atomic<int> runs{0};
    std::vector<std::unique_ptr<BodyThread>> outer;
    for (int i = 0; i < 8; ++i) {
        outer.push_back(std::make_unique<BodyThread>([&runs] {
            BodyThread inner([&runs] { ++runs; });
            inner.runAndWait();
            ++runs;
        }));
        outer.back()->launch();
    }
    for (auto & thread : outer)
        thread->join();
    EXPECT_EQ(16, runs);
}

}  // namespace

// Launch failures, priorities, ownership and destruction of threads.

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "BodyThread.h"
#include "FaultySystem.h"
#include "MoxSmartPtr.h"
#include "Sanitized.h"
#include "ZanSemaphore.h"
#include "ZanThread.h"

namespace {

TEST(ZanThreadLifeLaunchTest, AFailedLaunchIsToldByStateAndError) {
    FaultySystem system;
    system.failLaunch(1, EAGAIN);
    bool ran = false;
    BodyThread thread([&ran] { ran = true; });
    EXPECT_FALSE(thread.launch());
    EXPECT_EQ(ZAN_THREAD_LAUNCH_FAILED, thread.state());
    EXPECT_EQ(0, thread.refCount());
    EXPECT_FALSE(ran);
    ZanErrp const error = thread.getError();
    ASSERT_TRUE(error);
    EXPECT_EQ(10, error->getErrcode());
    EXPECT_STREQ("Zan", error->getComponent());
    EXPECT_STREQ(
        "Zan error 10\nFailed to launch a thread\nSystem error code = 11\n"
        "System error string = Resource temporarily unavailable",
        error->getMsg());
    EXPECT_FALSE(thread.getError());
}

TEST(ZanThreadLifeLaunchTest, WaitingForAFailedLaunchReturnsAtOnce) {
    FaultySystem system;
    system.failLaunch(1, EAGAIN);
    BodyThread thread;
    thread.launch();
    EXPECT_TRUE(ZanThreadBase::waitForThread(thread.id()));
    thread.join();
}

TEST(ZanThreadLifeLaunchTest, TheNextLaunchMayWork) {
    FaultySystem system;
    system.failLaunch(1, ENOMEM);
    bool ran = false;
    BodyThread thread([&ran] { ran = true; });
    EXPECT_FALSE(thread.launch());
    EXPECT_TRUE(thread.launch());
    thread.join();
    EXPECT_TRUE(ran);
    EXPECT_EQ(ZAN_THREAD_ENDED, thread.state());
    EXPECT_FALSE(thread.getError()) << "the error of the failed launch outlived the next one";
    EXPECT_EQ(2U, system.launches());
}

TEST(ZanThreadLifeLaunchTest, AFailedRelaunchReplacesTheErrorOfTheBody) {
    FaultySystem system;
    BodyThread thread([] { throw ZanError("QEL", 7, "f", 1); });
    thread.runAndWait();
    system.failLaunch(1, EAGAIN);
    EXPECT_FALSE(thread.launch());
    ZanErrp const error = thread.getError();
    ASSERT_TRUE(error);
    EXPECT_EQ(10, error->getErrcode());
}

TEST(ZanThreadLifeLaunchTest, OwnersKeepAThreadThatCouldNotBeLaunched) {
    FaultySystem system;
    system.failLaunch(1, EAGAIN);
    MoxSmartPtr<BodyThread> const thread = new BodyThread;
    EXPECT_FALSE(thread->launch());
    EXPECT_EQ(1, thread->refCount());
}

// Runs the body at once, on the thread that asks for another one.
class InlineSystem : public ZanSystem {
  public:
    InlineSystem() : before_(ZanSystem::replace(this)) {}
    ~InlineSystem() override { ZanSystem::replace(before_); }

    int launchThread(std::function<void()> body) override {
        body();
        return 0;
    }

  private:
    ZanSystem * before_;
};

TEST(ZanThreadLifeLaunchTest, ABodyThatEndsBeforeLaunchReturnsIsNoTrouble) {
    InlineSystem const system;
    unsigned long seen = 0;
    BodyThread thread([&seen] { seen = ZanThreadBase::currentId(); });
    EXPECT_TRUE(thread.launch());
    EXPECT_EQ(thread.id(), seen);
    EXPECT_EQ(0U, ZanThreadBase::currentId());
    EXPECT_EQ(ZAN_THREAD_ENDED, thread.state());
}

TEST(ZanThreadLifeLaunchTest, EndedThreadsLeaveNothingBehind) {
    if (sanitized) GTEST_SKIP() << "the heap of a sanitizer cannot be asked for its size";
    InlineSystem const system;
    auto const runMany = [] {
        for (int i = 0; i < 5000; ++i)
            BodyThread().launch();
    };
    runMany();
    std::size_t const before = ::mallinfo2().uordblks;
    runMany();
    EXPECT_LE(::mallinfo2().uordblks, before + 10000);
}

// Writes down the priorities that are asked for instead of setting them.
class PrioritySystem : public FaultySystem {
  public:
    int setThreadPriority(int systemThread, int priority) override {
        EXPECT_NE(0, systemThread);
        std::lock_guard const guard(lock_);
        asked_.push_back(priority);
        return refusal;
    }
    std::vector<int> asked() {
        std::lock_guard const guard(lock_);
        return asked_;
    }

    int refusal = 0;

  private:
    std::mutex lock_;
    std::vector<int> asked_;
};

TEST(ZanThreadLifePriorityTest, IsLimitedToMinusTwoToTwo) {
    struct {
        int asked;
        int kept;
    } const cases[] = {{0, 0},   {1, 1},   {2, 2},   {3, 2},       {5, 2},
                       {-1, -1}, {-2, -2}, {-7, -2}, {1 << 30, 2}, {-(1 << 30), -2}};
    BodyThread thread;
    for (auto const & c : cases) {
        EXPECT_TRUE(thread.setPriority(c.asked)) << c.asked;
        EXPECT_EQ(c.kept, thread.priority()) << c.asked;
    }
}

TEST(ZanThreadLifePriorityTest, TakesEffectWithTheLaunch) {
    PrioritySystem system;
    BodyThread thread;
    EXPECT_TRUE(thread.setPriority(-2));
    EXPECT_TRUE(system.asked().empty());
    thread.runAndWait();
    EXPECT_EQ(std::vector<int>({-2}), system.asked());
}

TEST(ZanThreadLifePriorityTest, TakesEffectAtOnceOnARunningThread) {
    PrioritySystem system;
    ZanSemaphore entered;
    ZanSemaphore leave;
    BodyThread thread([&] {
        entered.post();
        leave.wait();
    });
    thread.launch();
    entered.wait();
    EXPECT_TRUE(thread.setPriority(5));
    EXPECT_TRUE(thread.setPriority(0));
    EXPECT_EQ(std::vector<int>({2, 0}), system.asked());
    leave.post();
    thread.join();
    EXPECT_TRUE(thread.setPriority(1));
    EXPECT_EQ(2U, system.asked().size()) << "an ended thread was given a priority";
}

TEST(ZanThreadLifePriorityTest, TheDefaultIsNotAskedFor) {
    PrioritySystem system;
    BodyThread thread;
    thread.runAndWait();
    EXPECT_TRUE(system.asked().empty());
}

TEST(ZanThreadLifePriorityTest, ARefusalIsReturnedAndOtherwiseIgnored) {
    PrioritySystem system;
    system.refusal = EACCES;
    bool accepted = true;
    bool ran = false;
    BodyThread own([&] {
        ran = true;
        accepted = own.setPriority(2);
    });
    own.setPriority(1);
    EXPECT_TRUE(own.launch());
    own.join();
    EXPECT_TRUE(ran);
    EXPECT_FALSE(accepted);
    EXPECT_FALSE(own.getError());
}

TEST(ZanThreadLifePriorityTest, LowersTheThreadAndNoOther) {
    int const process = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid()));
    int inBody = -100;
    BodyThread thread(
        [&inBody] { inBody = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid())); });
    thread.setPriority(-1);
    thread.runAndWait();
    EXPECT_EQ(std::min(process + 5, 19), inBody);
    EXPECT_EQ(process, ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid())));
}

// Tells when it goes, and on which thread.
class Mortal : public ZanThread<ZanMutex> {
  public:
    struct Fate {
        std::atomic<bool> destroyed{false};
        std::thread::id on;
        ZanSemaphore mayEnd;
    };
    explicit Mortal(Fate & fate) : fate_(fate) {}
    Mortal(Mortal const & other) : ZanThread(other), fate_(other.fate_) {}
    ~Mortal() override {
        fate_.on = std::this_thread::get_id();
        fate_.destroyed = true;
    }

  protected:
    void run() override {
        fate_.mayEnd.wait();
        fate_.on = std::this_thread::get_id();
    }

  private:
    Fate & fate_;
};

TEST(ZanThreadLifeOwnershipTest, TheBodyKeepsAThreadThatItsOwnerDropped) {
    Mortal::Fate fate;
    MoxSmartPtr<Mortal> thread = new Mortal(fate);
    unsigned long const id = thread->id();
    thread->launch();
    thread = nullptr;
    EXPECT_FALSE(fate.destroyed);
    fate.mayEnd.post();
    EXPECT_TRUE(ZanThreadBase::waitForThread(id));
    EXPECT_TRUE(fate.destroyed) << "who waits is to find the object gone";
    EXPECT_NE(std::this_thread::get_id(), fate.on);
}

TEST(ZanThreadLifeOwnershipTest, AnOwnedThreadStaysWithItsOwner) {
    Mortal::Fate fate;
    fate.mayEnd.post();
    MoxSmartPtr<Mortal> thread = new Mortal(fate);
    thread->launch();
    thread->join();
    EXPECT_FALSE(fate.destroyed);
    EXPECT_EQ(1, thread->refCount());
    thread = nullptr;
    EXPECT_TRUE(fate.destroyed);
    EXPECT_EQ(std::this_thread::get_id(), fate.on);
}

TEST(ZanThreadLifeOwnershipTest, AnObjectWithoutOwnersIsNotDeleted) {
    Mortal::Fate fate;
    Mortal thread(fate);
    fate.mayEnd.post();
    thread.launch();
    thread.join();
    EXPECT_FALSE(fate.destroyed);
    EXPECT_EQ(0, thread.refCount());
}

TEST(ZanThreadLifeOwnershipTest, ManyDroppedThreadsAllDie) {
    constexpr int count = 40;
    std::vector<Mortal::Fate> fates(count);
    std::vector<unsigned long> ids;
    for (Mortal::Fate & fate : fates) {
        MoxSmartPtr<Mortal> const thread = new Mortal(fate);
        ids.push_back(thread->id());
        thread->launch();
    }
    for (Mortal::Fate & fate : fates)
        fate.mayEnd.post();
    for (unsigned long const id : ids)
        EXPECT_TRUE(ZanThreadBase::waitForThread(id));
    for (Mortal::Fate const & fate : fates)
        EXPECT_TRUE(fate.destroyed);
}

TEST(ZanThreadLifeOwnershipTest, ACopyIsAThreadOfItsOwn) {
    Mortal::Fate fate;
    MoxSmartPtr<Mortal> const thread = new Mortal(fate);
    thread->setPriority(-1);
    thread->launch();
    MoxSmartPtr<Mortal> const copy = new Mortal(*thread);
    EXPECT_NE(thread->id(), copy->id());
    EXPECT_EQ(ZAN_THREAD_IDLE, copy->state());
    EXPECT_EQ(-1, copy->priority());
    EXPECT_EQ(1, copy->refCount());
    EXPECT_NE(&thread->mutex(), &copy->mutex());
    fate.mayEnd.post(2);
    thread->join();
    EXPECT_TRUE(copy->launch());
    copy->join();
}

using ZanThreadDeathTest = testing::Test;

TEST(ZanThreadLifeDeathTest, DestroyingARunningThreadEndsTheProgram) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            Mortal::Fate fate;
            Mortal thread(fate);
            thread.launch();
        },
        "");
}

}  // namespace

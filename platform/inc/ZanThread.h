#pragma once

#include <memory>

#include "QelExport.h"
#include "ZanErrp.h"
#include "ZanMutex.h"
#include "ZanRefCount.h"

// What a ZanThread is doing.
enum ZanThreadState {
    ZAN_THREAD_IDLE = 0,           // never launched
    ZAN_THREAD_RUNNING = 1,        // launched, and the body has not ended
    ZAN_THREAD_LAUNCH_FAILED = 2,  // the last launch got no thread
    ZAN_THREAD_ENDED = 3           // the body of the last launch has ended
};

// ZanThread without its lock type. Clients derive from ZanThread.
//
// A launch runs run() once, on a thread of its own. A ZanError that leaves run() is kept for
// getError(), as a plain ZanError; any other exception is kept as a ZanError with component "Zan",
// code unexpectedException (10), and the exception's text on a second line ("Unknown exception"
// when it has none).
//
// Ownership: counted. From launch() to its end, the body holds its own reference, so an owner that
// has launched a thread may drop it. The object is then destroyed on that thread, before any
// waiting thread is woken. An object without owners when it is launched (such as one on a stack) is
// not deleted; see the destructor.
//
// Thread-safe, apart from construction and destruction.
class QEL_API ZanThreadBase : public ZanRefCount {
  public:
    // Waits for ever.
    static constexpr unsigned long infinite = ~0UL;

    ZanThreadBase();

    // Another thread with the same priority: not launched, with an id of its own and no error.
    ZanThreadBase(ZanThreadBase const & other);
    ZanThreadBase & operator=(ZanThreadBase const &) = delete;

    // Requires: the thread is not running, or the thread itself destroys its object. For an object
    // without owners, join() must therefore be called before its destruction, in its most derived
    // destructor at the latest. Otherwise the program ends, since the body would go on without its
    // object.
    virtual ~ZanThreadBase();

    // Starts the body on its own thread, and drops the error of an earlier launch. When no thread
    // can be started, the result is false, the state is ZAN_THREAD_LAUNCH_FAILED, and getError()
    // yields a ZanError ("Zan", code unexpectedException (10)) with the system's text. The object
    // can be launched again after that and after the body has ended. Raises a ZanError ("Zan", code
    // misuse (3)) while running.
    bool launch();

    // -2 (least) to 2 (most), relative to the process; values outside are limited to that range.
    // Takes effect at once on a running thread, otherwise at launch. A launch with 0 keeps the
    // priority that the system gives, which is that of the launching thread. False when the system
    // refuses, which leaves the thread unchanged.
    bool setPriority(int priority);
    int priority() const;

    // A process-wide number from 1 on, never reused; the same for each launch.
    unsigned long id() const;

    // The id of the thread whose body the caller runs in; 0 on any other thread.
    static unsigned long currentId();

    ZanThreadState state() const;
    bool isRunning() const { return state() == ZAN_THREAD_RUNNING; }

    // Waits for the end of the body, without limit. Returns at once within the body itself.
    void join();

    // The error of the body or the launch, or nothing; a second call yields nothing.
    ZanErrp getError();

    // Waits up to `milliseconds` for the end of the thread with this id; false on time-out. True
    // at once for an id that is unknown or belongs to a thread that has ended or never began.
    // False at once for the thread's own id, since a thread cannot wait for itself.
    static bool waitForThread(unsigned long id, unsigned long milliseconds = infinite);

  protected:
    virtual void run() = 0;

  private:
    struct State;
    struct Registry;

    int start(bool owned);
    static void body(std::shared_ptr<State> const & state, ZanThreadBase * thread, bool owned);

    std::shared_ptr<State> state_;
};

// A thread whose body is the client's, with a lock to guard what it shares with others.
template <class Lock>
class ZanThread : public ZanThreadBase {
  public:
    ZanThread() = default;
    ZanThread(ZanThread const & other) : ZanThreadBase(other) {}

    Lock & mutex() { return lock_; }

  private:
    Lock lock_;
};

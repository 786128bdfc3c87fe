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
    ZAN_THREAD_LAUNCH_FAILED = 2,  // the last launch found no thread
    ZAN_THREAD_ENDED = 3           // the body of the last launch has ended
};

// What ZanThread is made of, apart from its lock type. Clients derive from ZanThread.
//
// A launch runs run() once, on a thread of its own. A ZanError that leaves run() is kept for
// getError(), as a plain ZanError; any other exception is kept as a ZanError with component "Zan",
// code unexpectedException (10), and the exception's text on a second line ("Unknown exception"
// when it has none).
//
// Ownership: counted. From launch() to its end the body holds a reference of its own, so an owner
// that has launched a thread may drop it; the object then dies on that thread, before anyone
// who waits for the thread is woken. An object without owners when it is launched (one on a
// stack, say) is not deleted; see the destructor.
//
// Safe from any thread, apart from construction and destruction.
class QEL_API ZanThreadBase : public ZanRefCount {
  public:
    // Waits for ever.
    static constexpr unsigned long infinite = ~0UL;

    ZanThreadBase();

    // Another thread with the same priority: not launched, with an id of its own and no error.
    ZanThreadBase(ZanThreadBase const & other);
    ZanThreadBase & operator=(ZanThreadBase const &) = delete;

    // Requires: the thread is not running, or it is the thread itself that destroys its object.
    // An object without owners therefore calls join() before it goes, in its most derived
    // destructor at the latest. Otherwise the program ends, since the body would go on without
    // its object.
    virtual ~ZanThreadBase();

    // Starts the body on a thread of its own, and drops the error of an earlier launch. When no
    // thread can be had the result is false, the state ZAN_THREAD_LAUNCH_FAILED, and getError()
    // yields a ZanError ("Zan", code unexpectedException (10)) with the system's text. The object
    // can be launched again after that and after the body has ended. Raises a ZanError ("Zan", code
    // misuse (3)) while running.
    bool launch();

    // -2 (least) to 2 (most), relative to the process; values outside are limited to that range.
    // Takes effect at once on a running thread, otherwise with the launch; a launch with 0 leaves
    // the priority that the system gives, which is that of the launching thread. False when the
    // system refuses, which leaves the thread as it is.
    bool setPriority(int priority);
    int priority() const;

    // A process-wide number, never used again, from 1 on; the same for each launch.
    unsigned long id() const;

    // The id of the thread whose body the caller runs in; 0 on any other thread.
    static unsigned long currentId();

    ZanThreadState state() const;
    bool isRunning() const { return state() == ZAN_THREAD_RUNNING; }

    // Waits for the end of the body, for ever. Returns at once within the body itself.
    void join();

    // The error that the body or the launch left, or nothing; a second call yields nothing.
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

// A thread with a body of the client's own, and a lock to guard what it shares with others.
template <class Lock>
class ZanThread : public ZanThreadBase {
  public:
    ZanThread() = default;
    ZanThread(ZanThread const & other) : ZanThreadBase(other) {}

    Lock & mutex() { return lock_; }

  private:
    Lock lock_;
};

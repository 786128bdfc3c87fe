#include "ZanThread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "ZanImmortal.h"
#include "ZanSystem.h"
#include "ZanWait.h"

namespace {

// The codes that a thread raises and keeps; the layers above have them in QelErrorCode.h.
constexpr int misuse = 3;
constexpr int unexpectedException = 10;

thread_local unsigned long idOfThisThread = 0;

unsigned long nextId() {
    static constinit std::atomic<unsigned long> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

ZanError failure(int code, std::string const & text, int line) {
    ZanError error("Zan", code, __FILE__, line);
    error.setMsg(error.getMsg() + ('\n' + text));
    return error;
}

ZanError launchFailure(int reason) {
    errno = reason;
    std::string const text = ZanError::getSystemErrorMsg();
    return failure(unexpectedException,
                   "Failed to launch a thread\nSystem error code = " + std::to_string(reason) +
                       "\nSystem error string = " + text,
                   __LINE__);
}

}  // namespace

// What a thread object and its body share. It outlives the object, so that waiters learn of the end
// of the body after the object has gone. All fields but the id are guarded by the lock of the
// registry. Threads are launched a few times per render, so one lock for all costs nothing and lets
// a thread leave the registry and change its state in one step.
struct ZanThreadBase::State {
    explicit State(int initialPriority) : priority(initialPriority) {}

    int applyPriority() const {
        return ZanSystem::current().setThreadPriority(systemThread, priority);
    }

    unsigned long const id = nextId();
    std::condition_variable ended;
    ZanThreadState state = ZAN_THREAD_IDLE;
    // Shows a waiter that its launch is over even if the next one is running.
    std::uint64_t launches = 0;
    int priority = 0;
    int systemThread = 0;  // 0 unless a body is running
    std::optional<ZanError> error;
};

// The running threads by id.
struct ZanThreadBase::Registry {
    using StatePointer = std::shared_ptr<State>;

    static Registry & instance() {
        static ZanImmortal<Registry> registry;
        return registry.get();
    }

    // Marks a thread as running. Raises misuse (3) when it is.
    void claim(State & state);
    void enter(StatePointer const & state);
    void bodyBegins(State & state);
    void keepError(State & state, ZanError const & error);
    void bodyEnds(State & state);
    void launchFailed(State & state, int reason);
    bool wait(StatePointer const & state, unsigned long milliseconds);
    StatePointer find(unsigned long id);

    // Requires: the lock is held.
    void leave(State & state, ZanThreadState how);

    // Runs the body and keeps the error that leaves it.
    void run(State & state, ZanThreadBase & thread);

    std::mutex lock;
    std::unordered_map<unsigned long, StatePointer> running;
};

void ZanThreadBase::Registry::claim(State & state) {
    std::lock_guard const guard(lock);
    if (state.state == ZAN_THREAD_RUNNING)
        throw failure(misuse, "The thread is already running", __LINE__);
    state.state = ZAN_THREAD_RUNNING;
    ++state.launches;
    state.error.reset();
}

void ZanThreadBase::Registry::enter(StatePointer const & state) {
    std::lock_guard const guard(lock);
    running.emplace(state->id, state);
}

void ZanThreadBase::Registry::bodyBegins(State & state) {
    std::lock_guard const guard(lock);
    state.systemThread = ZanSystem::current().callingThread();
    // 0 keeps whatever priority the thread has, so that threads launched by a low-priority thread
    // do not overtake it.
    if (state.priority != 0) state.applyPriority();
}

void ZanThreadBase::Registry::keepError(State & state, ZanError const & error) {
    std::lock_guard const guard(lock);
    state.error = error;
}

void ZanThreadBase::Registry::bodyEnds(State & state) {
    std::lock_guard const guard(lock);
    leave(state, ZAN_THREAD_ENDED);
}

void ZanThreadBase::Registry::launchFailed(State & state, int reason) {
    std::lock_guard const guard(lock);
    leave(state, ZAN_THREAD_LAUNCH_FAILED);
    // Last, since building the error may fail as well.
    state.error = launchFailure(reason);
}

void ZanThreadBase::Registry::leave(State & state, ZanThreadState how) {
    running.erase(state.id);
    state.systemThread = 0;
    state.state = how;
    state.ended.notify_all();
}

bool ZanThreadBase::Registry::wait(StatePointer const & state, unsigned long milliseconds) {
    if (state->id == idOfThisThread) return false;
    std::unique_lock guard(lock);
    return zanWait(state->ended, guard, milliseconds, [&, launch = state->launches] {
        return state->state != ZAN_THREAD_RUNNING || state->launches != launch;
    });
}

ZanThreadBase::Registry::StatePointer ZanThreadBase::Registry::find(unsigned long id) {
    std::lock_guard const guard(lock);
    auto const found = running.find(id);
    return found != running.end() ? found->second : nullptr;
}

void ZanThreadBase::Registry::run(State & state, ZanThreadBase & thread) {
    try {
        try {
            thread.run();
        } catch (ZanError const & error) {
            keepError(state, error);
        } catch (std::exception const & foreign) {
            keepError(state, failure(unexpectedException, foreign.what(), __LINE__));
        } catch (...) {
            keepError(state, failure(unexpectedException, "Unknown exception", __LINE__));
        }
    } catch (std::bad_alloc const &) {
        // No memory to keep the error with. This one is short enough to need none.
        keepError(state, ZanError("Zan", unexpectedException, "", 0));
    }
}

ZanThreadBase::ZanThreadBase() : state_(std::make_shared<State>(0)) {}

ZanThreadBase::ZanThreadBase(ZanThreadBase const & other)
    : ZanRefCount(other), state_(std::make_shared<State>(other.priority())) {}

ZanThreadBase::~ZanThreadBase() {
    if (isRunning() && currentId() != id()) std::terminate();
}

bool ZanThreadBase::launch() {
    Registry & registry = Registry::instance();
    registry.claim(*state_);
    bool const owned = refCount() > 0;
    addRef();
    int const reason = start(owned);
    // From here on the object may be gone, unless there is no body that could have dropped it.
    if (reason == 0) return true;
    giveBackRef();
    registry.launchFailed(*state_, reason);
    return false;
}

int ZanThreadBase::start(bool owned) {
    try {
        Registry::instance().enter(state_);
        return ZanSystem::current().launchThread(
            [state = state_, this, owned] { body(state, this, owned); });
    } catch (std::bad_alloc const &) {
        return ENOMEM;
    }
}

void ZanThreadBase::body(std::shared_ptr<State> const & state, ZanThreadBase * thread, bool owned) {
    Registry & registry = Registry::instance();
    // Kept and restored for services that run the body on a thread that lives on.
    unsigned long const idBefore = std::exchange(idOfThisThread, state->id);
    registry.bodyBegins(*state);
    registry.run(*state, *thread);
    if (!owned) {
        thread->giveBackRef();
    } else if (thread->deleteRef()) {
        delete thread;
    }
    // Last, so that a thread that waited finds the object gone, or untouched from then on.
    registry.bodyEnds(*state);
    idOfThisThread = idBefore;
}

bool ZanThreadBase::setPriority(int priority) {
    std::lock_guard const guard(Registry::instance().lock);
    state_->priority = std::clamp(priority, -2, 2);
    // Holding the lock keeps the body from ending, so that the number stays this thread's.
    return state_->systemThread == 0 || state_->applyPriority() == 0;
}

int ZanThreadBase::priority() const {
    std::lock_guard const guard(Registry::instance().lock);
    return state_->priority;
}

unsigned long ZanThreadBase::id() const {
    return state_->id;
}

unsigned long ZanThreadBase::currentId() {
    return idOfThisThread;
}

ZanThreadState ZanThreadBase::state() const {
    std::lock_guard const guard(Registry::instance().lock);
    return state_->state;
}

void ZanThreadBase::join() {
    Registry::instance().wait(state_, infinite);
}

ZanErrp ZanThreadBase::getError() {
    std::lock_guard const guard(Registry::instance().lock);
    if (!state_->error) return {};
    auto error = std::make_unique<ZanError>(*state_->error);
    state_->error.reset();
    return ZanErrp(std::move(error));
}

bool ZanThreadBase::waitForThread(unsigned long id, unsigned long milliseconds) {
    auto const state = Registry::instance().find(id);
    return state == nullptr || Registry::instance().wait(state, milliseconds);
}

#include <utility>
#include <vector>

#include "QelError.h"
#include "QelFirstFailure.h"
#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"
#include "QelStreamData.h"
#include "QelTransform.h"
#include "QelTransformMarking.h"
#include "ZanBorrow.h"

// ---- Out of date

void QelTransform::MarkLink::unlink() {
    before->behind = behind;
    behind->before = before;
    before = behind = this;
}

void QelTransform::MarkLink::moveAheadOf(MarkLink & other) {
    unlink();
    before = other.before;
    behind = &other;
    before->behind = this;
    other.before = this;
}

void QelTransform::MarkLink::takeAll(MarkLink & other) {
    if (!other.isLinked()) return;
    MarkLink * const first = other.behind;
    MarkLink * const last = other.before;
    other.before = other.behind = &other;
    last->behind = behind;
    behind->before = last;
    behind = first;
    first->before = this;
}

QelTransform::Marking & QelTransform::Marking::ofThisThread() {
    thread_local Marking marking;
    return marking;
}

void QelTransform::Marking::run(QelTransform & transform) {
    Marking & mine = ofThisThread();
    transform.mark_.moveAheadOf(mine.asked_);
    if (!mine.active_) mine.drain();
}

void QelTransform::Marking::drain() {
    active_ = true;
    QelFirstFailure failure;
    for (waiting_.takeAll(asked_); waiting_.isLinked(); waiting_.takeAll(asked_)) {
        QelTransform & next = *waiting_.behind->transform;
        next.mark_.unlink();
        // What a client's class raises must not leave transforms downstream that pass for valid.
        failure.attempt([&] { mark(next); });
    }
    active_ = false;
    failure.raise();
}

void QelTransform::Marking::mark(QelTransform & transform) {
    if (!transform.setupDone_) return;
    ZanBorrow<QelTransform> const keep(&transform);
    transform.propagateOutOfDate(true);
}

void QelTransform::markOutOfDate(bool) {
    if (setupDone_) Marking::run(*this);
}

void QelTransform::inputChanged(QelInputConnectionPoint *, bool flag) {
    markOutOfDate(flag);
}

// Tells all outputs, even where one raises: none may pass for valid.
void QelTransform::propagateOutOfDate(bool flag) {
    if (flag) clearStatus();
    QelFirstFailure failure;
    // By index: a client's class may change the list meanwhile.
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        MoxSmartPtr<QelOutputConnectionPoint> const output = outputs_[i];
        failure.attempt([&] { output->outOfDate(flag); });
    }
    failure.raise();
}

void QelTransform::clearStatus() {
    setupDone_ = false;
    statusOk_ = false;
    statusError_ = nullptr;
}

// ---- Set-up

// Sets transforms up. Each asks its inputs, which nests; beyond a depth the transforms upstream are
// set up ahead of that, from the farthest on, so that the questions are answered at once.
class QelTransform::SetUp {
  public:
    static void run(QelTransform & transform) noexcept {
        int const depth = ofThisThread().depth;
        try {
            if (depth >= deepest) upstreamOf(transform);
        } catch (...) {
            // There was no memory for the way upstream. The questions nest on for a while, since
            // there may be some again.
            if (depth >= 2 * deepest) return fail(transform, nullptr);
        }
        alone(transform);
    }

    // `transform` is asked for its status while it is being set up: by itself, which is nothing to
    // worry about, or by one that it asked before.
    static void meetAgain(QelTransform & transform) {
        if (ofThisThread().innermost != &transform) transform.onCircle_ = true;
    }

  private:
    static constexpr int deepest = 100;

    // A transform on the way upstream, and the inputs that are still to be visited.
    struct Step {
        MoxSmartPtr<QelTransform> transform;
        int inputsLeft;
    };

    struct State {
        int depth = 0;
        QelTransform const * innermost = nullptr;
    };

    static State & ofThisThread() {
        thread_local State state;
        return state;
    }

    // On the way like in questions from within set-ups: who is met again while it is on the way
    // lies on a circle, and answers that it is bad.
    class Path {
      public:
        explicit Path(QelTransform & root) { steps_.push_back({&root, root.numInputs()}); }
        Path(Path const &) = delete;
        Path & operator=(Path const &) = delete;
        ~Path() {
            while (steps_.size() > 1)
                leave();
        }

        bool isAtRoot() const { return steps_.size() == 1; }
        Step & last() { return steps_.back(); }
        void enter(QelTransform & transform) {
            steps_.push_back({&transform, transform.numInputs()});
            transform.settingUp_ = true;
            transform.onCircle_ = false;
        }
        void leave() {
            steps_.back().transform->settingUp_ = false;
            steps_.pop_back();
        }

      private:
        std::vector<Step> steps_;
    };

    static void upstreamOf(QelTransform & transform) {
        Path path(transform);
        while (true) {
            Step & step = path.last();
            if (step.inputsLeft > 0) {
                QelTransform * const source = sourceOf(*step.transform, --step.inputsLeft);
                if (source != nullptr && !source->setupDone_ && !source->settingUp_) {
                    path.enter(*source);
                }
            } else if (path.isAtRoot()) {
                return;
            } else {
                alone(*step.transform);
                path.leave();
            }
        }
    }

    static QelTransform * sourceOf(QelTransform const & transform, int index) {
        // Set-ups may have taken inputs off.
        if (index >= transform.numInputs()) return nullptr;
        MoxSmartPtr<QelOutputConnectionPoint> const output =
            transform.inputs_[static_cast<std::size_t>(index)]->getConnectedOutput(false);
        return output ? output->owner() : nullptr;
    }

    static void alone(QelTransform & transform) noexcept {
        State & state = ofThisThread();
        State const outside = std::exchange(state, {state.depth + 1, &transform});
        try {
            transform.setupTransform();
            transform.setupDone_ = true;
            if (transform.onCircle_ && transform.statusOk_) refuseCircle(transform);
        } catch (ZanError const & error) {
            fail(transform, &error);
            askInputs(transform);
        } catch (...) {
            fail(transform, nullptr);
            askInputs(transform);
        }
        state = outside;
    }

    // A set-up that ends early, for want of memory or because it raises, may not have asked its
    // inputs. Changes upstream are passed on by transforms that are settled, and by no others.
    static void askInputs(QelTransform & transform) noexcept {
        for (int i = transform.numInputs() - 1; i >= 0; --i) {
            try {
                transform.getInputCP(i)->getStatus();
            } catch (...) {
                // The status is bad already.
            }
        }
    }

    // Whatever it made of the bad status that it was answered with.
    static void refuseCircle(QelTransform & transform) {
        transform.settleBad(
            QelError(QelErrorCode::setupFailed,
                     "Transform " + transform.describe() + " is connected to itself in a circle",
                     __FILE__, __LINE__));
    }

    // The bad status after an exception; null for one that is no ZanError.
    static void fail(QelTransform & transform, ZanError const * error) noexcept {
        try {
            std::string const text = error != nullptr
                                         ? "SetupTransform in transform " + transform.describe() +
                                               " failed with an exception and this message:\n"
                                         : "SetupTransform failed with a non-Zan exception";
            QelError failure(QelErrorCode::setupFailed, text, __FILE__, __LINE__);
            if (error != nullptr) failure.appendMsg(*error);
            transform.settleBad(failure);
        } catch (...) {
            // Short enough to need no memory.
            transform.settleBad(QelError(QelErrorCode::setupFailed, "", "", 0));
        }
    }
};

void QelTransform::update() {
    if (setupDone_) return;
    if (settingUp_) {
        SetUp::meetAgain(*this);
        return;
    }
    ZanBorrow<QelTransform> const keep(this);
    settingUp_ = true;
    onCircle_ = false;
    SetUp::run(*this);
    settingUp_ = false;
}

namespace {

// For want of memory.
void settleWithoutReason(QelOutputConnectionPoint const & output) noexcept {
    QelStreamData * const data = output.streamData();
    if (data == nullptr || !(data->statusOk() || data->outOfDate())) return;
    try {
        data->setStatus(false);
    } catch (...) {
        // A client's class, which keeps its own status.
    }
}

}  // namespace

// setStatusBad(), whatever fails in it: the transform is not to be set up again and again.
void QelTransform::settleBad(ZanError const & error) noexcept {
    try {
        setStatusBad(error);
    } catch (...) {
        statusOk_ = false;
        setupDone_ = true;
        for (MoxSmartPtr<QelOutputConnectionPoint> const & output : outputs_)
            settleWithoutReason(*output);
        try {
            statusError_ = std::make_unique<ZanError>(error);
        } catch (...) {
            statusError_ = nullptr;
        }
    }
}

bool QelTransform::isStatusOk() {
    if (setupDone_) return statusOk_;
    // A set-up may drop the last one who holds this transform.
    ZanBorrow<QelTransform> const keep(this);
    update();
    return statusOk_;
}

ZanError QelTransform::getStatusMessage() {
    MoxSmartPtr<QelTransform> const keep = zanKeepIfOwned(this);
    if (!setupDone_) update();
    if (statusError_) return *statusError_;
    return QelError(QelErrorCode::noStatusMessage,
                    "There is no status message in transform " + describe(), __FILE__, __LINE__);
}

void QelTransform::setStatusOK() {
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        MoxSmartPtr<QelOutputConnectionPoint>(outputs_[i])->setStatusOK();
    statusOk_ = true;
    statusError_ = nullptr;
    setupDone_ = true;
}

void QelTransform::settleGood() {
    statusOk_ = true;
    statusError_ = nullptr;
}

void QelTransform::setStatusBad(ZanError const & error) {
    // A copy first: `error` may be the one that this transform or one of its outputs gives up here.
    auto copy = std::make_unique<ZanError>(error);
    for (MoxSmartPtr<QelOutputConnectionPoint> const & output : outputs_)
        output->setStatusBad(*copy);
    statusError_ = std::move(copy);
    statusOk_ = false;
    setupDone_ = true;
}

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "QelError.h"
#include "QelGraphIterator.h"
#include "QelGraphWork.h"
#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"
#include "QelTransform.h"

// The clones that are being made by the calling thread. The outermost call holds them until all is
// connected, and takes them back if something fails.
class QelTransform::Cloning {
  public:
    Cloning() {
        if (current() == nullptr) current() = this;
    }
    Cloning(Cloning const &) = delete;
    Cloning & operator=(Cloning const &) = delete;
    ~Cloning() {
        if (current() != this) return;
        current() = nullptr;
        if (done_) return;
        for (Made const & one : made_)
            one.source->clonePtr_ = nullptr;
    }

    void succeed() { done_ = true; }

    static void add(QelTransform & source, MoxSmartPtr<QelTransform> const & clone) {
        current()->made_.push_back({&source, clone});
        source.clonePtr_ = clone.get();
    }

  private:
    struct Made {
        MoxSmartPtr<QelTransform> source;
        MoxSmartPtr<QelTransform> clone;
    };

    static Cloning *& current() {
        thread_local Cloning * cloning = nullptr;
        return cloning;
    }

    std::vector<Made> made_;
    bool done_ = false;
};

// The visit of one transform, by one way to it.
struct QelTransform::CloneTask {
    MoxSmartPtr<QelTransform> transform;
    std::string outputName;
    MoxSmartPtr<QelInputConnectionPoint> inputOfClone;  // null for the first one
    MoxSmartPtr<QelTransform> requester;

    void run() const {
        bool const isNew = transform->clonePtr_ == nullptr;
        if (isNew) make();
        QelTransform & clone = *transform->clonePtr_;
        if (inputOfClone) inputOfClone->connect(&clone, outputName);
        if (isNew) cloneSources(clone);
    }

    void make() const {
        MoxSmartPtr<QelTransform> const clone = transform->clone();
        if (!clone) {
            qelRaise(QelErrorCode::nullPointer,
                     "Transform " + transform->describe() + " has no clone");
        }
        Cloning::add(*transform, clone);
        for (MoxSmartPtr<QelOutputConnectionPoint> const & output : clone->outputs_)
            keepCaching(*output, false);
    }

    void cloneSources(QelTransform & clone) const {
        for (int i = 0; i < transform->numInputs(); ++i) {
            MoxSmartPtr<QelOutputConnectionPoint> const source =
                transform->getInputCP(i)->getConnectedOutput(false);
            if (!source || source->owner() == nullptr) continue;
            source->owner()->cloneForRender(source->name(), clone.getInputCP(i).get(),
                                            transform.get());
        }
    }
};

// The visit of one transform that is to forget its clone.
struct QelTransform::ClearCloneTask {
    MoxSmartPtr<QelTransform> transform;

    void run() const {
        if (transform->clonePtr_ == nullptr) return;
        transform->clonePtr_ = nullptr;
        for (int i = 0; i < transform->numInputs(); ++i) {
            MoxSmartPtr<QelOutputConnectionPoint> const source =
                transform->getInputCP(i)->getConnectedOutput(false);
            if (source && source->owner() != nullptr)
                source->owner()->clearClonePtr(transform.get());
        }
    }

    static void start(QelTransform & transform) {
        ClearCloneTask const task{&transform};
        try {
            QelGraphWork<ClearCloneTask>::run(task);
        } catch (std::bad_alloc const &) {
            // Without memory to put it off it comes at once: no clone that may go is to stay known.
            task.run();
        }
    }
};

void QelTransform::cloneForRender(std::string const & outputName,
                                  QelInputConnectionPoint * inputOfClone,
                                  QelTransform * requester) {
    if (inputOfClone == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    }
    if (QelGraphWork<CloneTask>::isActive()) {
        QelGraphWork<CloneTask>::run({this, outputName, inputOfClone, requester});
        return;
    }
    Cloning cloning;
    try {
        QelGraphWork<CloneTask>::run({this, std::string(), nullptr, requester});
        // Last of all, so that the input keeps its source where something fails.
        inputOfClone->connect(clonePtr_, outputName);
    } catch (...) {
        forgetAllClones();
        throw;
    }
    cloning.succeed();
}

// Those of earlier requests, too, wherever they are upstream: clearClonePtr() would stop at the
// first transform that has none.
void QelTransform::forgetAllClones() noexcept {
    ClearCloneTask::start(*this);
    try {
        for (QelGraphIterator i(this, false, false); !i.done(); i.next())
            i.current()->clonePtr_ = nullptr;
    } catch (std::bad_alloc const &) {
        // What could be reached without memory is done.
    }
}

void QelTransform::clearClonePtr(QelTransform *) {
    ClearCloneTask::start(*this);
}

#include "QelOutputConnectionPoint.h"

#include <algorithm>
#include <ostream>

#include "QelError.h"
#include "QelErrorFrames.h"
#include "QelFirstFailure.h"
#include "QelInputConnectionPoint.h"
#include "QelReleaseQueue.h"
#include "QelStreamData.h"
#include "ZanBorrow.h"

QelOutputConnectionPoint::QelOutputConnectionPoint() : QelConnectionPoint(std::string()) {}

QelOutputConnectionPoint::~QelOutputConnectionPoint() {
    disconnectAll();
}

QelOutputConnectionPoint & QelOutputConnectionPoint::operator=(QelOutputConnectionPoint const &) {
    qelRaise(QelErrorCode::misuse, "QelOutputConnectionPoint assignment operator not supported");
}

void QelOutputConnectionPoint::disconnectAll() noexcept {
    while (numConnected_ > 0) {
        while (connectedInputs_.back() == nullptr)
            connectedInputs_.pop_back();
        QelInputConnectionPoint & input = *connectedInputs_.back();
        if (input.connectedOutput_ != this) {
            // On the list by connectInternal() alone.
            connectedInputs_.pop_back();
            --numConnected_;
            continue;
        }
        MoxSmartPtr<QelTransform> upstream;
        try {
            upstream = input.detach();
            input.outOfDate(true);
        } catch (...) {
            // This point goes, and with it what anybody could still ask of it.
        }
        qelReleaseLater(std::move(upstream));
    }
}

void QelOutputConnectionPoint::setStatusOK() {
    if (streamData() == nullptr) raiseNoStreamData("setStatusOK");
    streamData()->setStatus(true);
}

void QelOutputConnectionPoint::setStatusBad(ZanError const & error) {
    if (streamData() == nullptr) raiseNoStreamData("setStatusBad");
    streamData()->setStatusError(error);
}

void QelOutputConnectionPoint::invalidateStreamData(bool flag) {
    if (streamData() != nullptr) streamData()->setOutOfDate(flag);
}

// While one lives, consumers keep their places.
class QelOutputConnectionPoint::Walk {
  public:
    explicit Walk(QelOutputConnectionPoint & point) : point_(point) { ++point_.walks_; }
    Walk(Walk const &) = delete;
    Walk & operator=(Walk const &) = delete;
    ~Walk() {
        --point_.walks_;
        point_.compact();
    }

  private:
    QelOutputConnectionPoint & point_;
};

void QelOutputConnectionPoint::notifyOutOfDate(bool flag, bool propagate) {
    // A consumer may take this point off its transform.
    ZanBorrow<QelOutputConnectionPoint> const keep(this);
    QelFirstFailure failure;
    {
        Walk const walk(*this);
        // By index: the list may grow.
        for (std::size_t i = 0; i < connectedInputs_.size(); ++i) {
            QelInputConnectionPoint * const input = connectedInputs_[i];
            if (input != nullptr) failure.attempt([&] { input->outOfDate(flag); });
        }
    }
    if (propagate) failure.attempt([&] { invalidateStreamData(flag); });
    failure.raise();
}

namespace {

// Keeps a flag set.
class PassingBy {
  public:
    explicit PassingBy(bool & flag) : flag_(flag) { flag_ = true; }
    PassingBy(PassingBy const &) = delete;
    PassingBy & operator=(PassingBy const &) = delete;
    ~PassingBy() { flag_ = false; }

  private:
    bool & flag_;
};

}  // namespace

void QelOutputConnectionPoint::passOn(QelStreamData * data) {
    if (isPassedBy_) return;
    // Chains of aliases may be long: the walk climbs back by the one source that each alias has.
    QelOutputConnectionPoint * at = this;
    std::size_t next = 0;
    while (at != this || next < at->connectedInputs_.size()) {
        if (next == at->connectedInputs_.size()) {
            auto const & way = dynamic_cast<QelInputConnectionPoint const &>(*at);
            at = way.connectedOutput_;
            next = way.slot_ + 1;
            continue;
        }
        QelInputConnectionPoint * const input = at->connectedInputs_[next++];
        auto * const alias = dynamic_cast<QelOutputConnectionPoint *>(input);
        // Aliases may be connected in a circle.
        if (input == nullptr || alias == this) continue;
        if (alias == nullptr) {
            input->setStreamData(data);
            continue;
        }
        PassingBy const passing(alias->isPassedBy_);
        input->setStreamData(data);
        at = alias;
        next = 0;
    }
}

void QelOutputConnectionPoint::outOfDate(bool flag) {
    notifyOutOfDate(flag, true);
}

void QelOutputConnectionPoint::checkStatus() {
    if (streamData() != nullptr && streamData()->statusOk()) return;
    if (streamData() != nullptr && getStatus()) return;
    throw QelError(getStatusMessage());
}

bool QelOutputConnectionPoint::getStatus() {
    if (streamData() == nullptr) {
        qelRaise(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL");
    }
    if (streamData()->outOfDate()) streamData()->update();
    return streamData()->statusOk();
}

namespace {

// ", called for output CP NAME of transform LABEL(CLASS)"
std::string calledFor(QelConnectionPoint const & point) {
    std::string const transform =
        point.owner() != nullptr ? " of transform " + point.owner()->describe() : std::string();
    return "( ), called for output CP " + point.name() + transform;
}

QelInputConnectionPoint * inputOf(QelTransform * transform, std::string const & name,
                                  char const * operation) {
    if (transform == nullptr) {
        qelRaise(QelErrorCode::nullPointer, std::string("NULL transform pointer passed to ") +
                                                operation +
                                                "( ), called for transform and CP named " + name);
    }
    if (!transform->hasInput(name)) {
        qelRaise(QelErrorCode::noSuchPoint,
                 "Input Connection Point named \"" + name +
                     "\" not found in call to QelOutputConnectionPoint::" + operation + "()");
    }
    return transform->getInputCP(transform->findInputIndex(name));
}

}  // namespace

void QelOutputConnectionPoint::addConnection(QelInputConnectionPoint * input) {
    if (input == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL pointer passed to addConnection" + calledFor(*this));
    }
    input->connect(this);
}

void QelOutputConnectionPoint::addConnection(QelTransform * transform,
                                             std::string const & inputName) {
    addConnection(inputOf(transform, inputName, "addConnection"));
}

void QelOutputConnectionPoint::removeConnection(QelInputConnectionPoint * input) {
    if (input == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL pointer passed to removeConnection" + calledFor(*this));
    }
    if (input->connectedOutput_ != this) {
        qelRaise(QelErrorCode::notConnectedHere,
                 "input CP " + input->name() + " of transform " + input->describeOwner() +
                     " was passed to removeConnection( ) against output CP " + name() +
                     " of transform " + describeOwner() +
                     ", but it is not directly connected to this output CP");
    }
    input->disconnect();
}

void QelOutputConnectionPoint::removeConnection(QelTransform * transform,
                                                std::string const & inputName) {
    removeConnection(inputOf(transform, inputName, "removeConnection"));
}

std::vector<QelInputConnectionPoint *> QelOutputConnectionPoint::connectedInputs() const {
    std::vector<QelInputConnectionPoint *> inputs;
    inputs.reserve(numConnected_);
    std::copy_if(connectedInputs_.begin(), connectedInputs_.end(), std::back_inserter(inputs),
                 [](QelInputConnectionPoint const * input) { return input != nullptr; });
    return inputs;
}

void QelOutputConnectionPoint::makeRoom() {
    if (connectedInputs_.size() < connectedInputs_.capacity()) return;
    connectedInputs_.reserve(std::max<std::size_t>(1, 2 * connectedInputs_.size()));
}

void QelOutputConnectionPoint::connectInternal(QelInputConnectionPoint * input) {
    if (input == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL pointer passed to QelOutputConnectionPoint::connectInternal");
    }
    try {
        connectedInputs_.push_back(input);
    } catch (...) {
        qelRaiseSystemFrame("\nCould not add input connection point to collection");
    }
    input->slot_ = connectedInputs_.size() - 1;
    ++numConnected_;
}

void QelOutputConnectionPoint::disconnectInternal(QelInputConnectionPoint * input) {
    if (input == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL pointer passed to QelOutputConnectionPoint::disconnectInternal");
    }
    std::size_t const slot = input->slot_;
    if (slot >= connectedInputs_.size() || connectedInputs_[slot] != input) {
        qelRaise(QelErrorCode::notConnectedHere,
                 "Output connection point named \"" + name() +
                     "\" was disconnected from input point named \"" + input->name() +
                     "\" to which it did not appear to have been connected");
    }
    connectedInputs_[slot] = nullptr;
    --numConnected_;
    compact();
}

void QelOutputConnectionPoint::compact() noexcept {
    if (walks_ > 0 || connectedInputs_.size() < 2 * numConnected_ + 1) return;
    std::size_t place = 0;
    for (QelInputConnectionPoint * const input : connectedInputs_) {
        if (input == nullptr) continue;
        connectedInputs_[place] = input;
        input->slot_ = place++;
    }
    connectedInputs_.resize(place);
}

void QelOutputConnectionPoint::print(std::ostream & out, std::string const & prefix) const {
    QelConnectionPoint::print(out, prefix);
    std::string const inner = prefix + "    ";
    if (streamData() != nullptr) streamData()->print(out, inner);
    printConsumers(out, inner);
}

void QelOutputConnectionPoint::printConsumers(std::ostream & out,
                                              std::string const & prefix) const {
    for (QelInputConnectionPoint const * const input : connectedInputs())
        out << prefix << "connected input: " << input->name() << " of " << input->describeOwner()
            << '\n';
}

#include "QelInputConnectionPoint.h"

#include <ostream>
#include <utility>

#include "QelAliasCP.h"
#include "QelError.h"
#include "QelOperation.h"
#include "QelOutputConnectionPoint.h"
#include "QelReleaseQueue.h"
#include "QelStreamData.h"
#include "ZanBorrow.h"

QelInputConnectionPoint::QelInputConnectionPoint() : QelConnectionPoint(std::string()) {}

QelInputConnectionPoint::~QelInputConnectionPoint() {
    MoxSmartPtr<QelTransform> upstream;
    try {
        upstream = detach();
    } catch (...) {
        // Nobody is left who could do something about it.
    }
    // The transforms upstream may be many, each held by the one before it alone.
    qelReleaseLater(std::move(upstream));
}

QelInputConnectionPoint & QelInputConnectionPoint::operator=(QelInputConnectionPoint const &) {
    qelRaise(QelErrorCode::misuse, "QelInputConnectionPoint assignment operator not supported");
}

bool QelInputConnectionPoint::isCompatible(QelOutputConnectionPoint const * output) const {
    if (output == nullptr) qelRaise(QelErrorCode::nullPointer, "Null input argument");
    return getDataType() == output->getDataType();
}

void QelInputConnectionPoint::setStreamData(QelStreamData * data) {
    if (streamData() != nullptr && caching()) streamData()->setCachingClient(false);
    setStreamDataPointer(data);
    if (data != nullptr && caching()) data->setCachingClient(true);
}

bool QelInputConnectionPoint::canConnect() const {
    return !locked_ && owner() != nullptr && !owner()->isRendering();
}

bool QelInputConnectionPoint::canDisconnect() const {
    return connectedOutput_ == nullptr || canConnect();
}

void QelInputConnectionPoint::connect(QelOutputConnectionPoint * output) {
    requireConnectable(output);
    requireLegal(*output);
    // An aggregate owns its members: a member that held it would close a circle.
    bool const isAliasFromAggregate = output->owner() == owner()->aggregate();
    bool const keepsUpstream = !isAliasFromAggregate && output->owner() != owner();
    // Whoever hears of the change may take either point off its transform, or let the source go.
    ZanBorrow<QelInputConnectionPoint> const keep(this);
    ZanBorrow<QelOutputConnectionPoint> const keepOutput(output);
    ZanBorrow<QelTransform> const keepSource(output->owner());
    // What can fail for want of memory comes ahead of all changes.
    output->makeRoom();
    outOfDate(true);

    MoxSmartPtr<QelTransform> former = std::move(upstreamTransform_);
    if (connectedOutput_ != nullptr) connectedOutput_->disconnectInternal(this);
    connectedOutput_ = output;
    upstreamTransform_ = keepsUpstream ? output->owner() : nullptr;
    output->connectInternal(this);
    // Aliases in a circle have no source: what this one has is about to go.
    setStreamData(feeds(*output) ? nullptr : output->streamData());
    qelReleaseLater(std::move(former));
}

void QelInputConnectionPoint::connect(QelTransform * transform, std::string const & outputName) {
    if (transform == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL transform pointer passed to connect() call along with output connection "
                 "point name \"" +
                     outputName + '"');
    }
    connect(transform->getOutputCP(transform->findOutputIndex(outputName)));
}

void QelInputConnectionPoint::connect(QelOperation * operation) {
    if (operation == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL operation pointer passed to connect() call against cp with name \"" +
                     name() + '"');
    }
    if (operation->getPrimaryOutput() == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "operation pointer passed to connect() call against cp with name \"" + name() +
                     "\" has no primary output");
    }
    connect(operation->getPrimaryOutput());
}

MoxSmartPtr<QelTransform> QelInputConnectionPoint::detach() {
    MoxSmartPtr<QelTransform> upstream = std::move(upstreamTransform_);
    if (connectedOutput_ == nullptr) return upstream;
    std::exchange(connectedOutput_, nullptr)->disconnectInternal(this);
    setStreamData(nullptr);
    return upstream;
}

void QelInputConnectionPoint::disconnect() {
    if (connectedOutput_ == nullptr) return;
    if (!canDisconnect()) {
        qelRaise(QelErrorCode::cannotDisconnect,
                 "Input connection point named \"" + name() +
                     "\" or its owner transform was not in a state where disconnect() is allowed");
    }
    MoxSmartPtr<QelTransform> upstream = detach();
    outOfDate(true);
    qelReleaseLater(std::move(upstream));
}

namespace {

// Notices when a walk from alias to alias comes round: it meets a place that was remembered after
// 1, 2, 4, 8, ... steps.
class CircleGuard {
  public:
    bool hasComeRound(QelConnectionPoint const * at) {
        if (at == remembered_) return true;
        if (++steps_ == limit_) {
            remembered_ = at;
            steps_ = 0;
            limit_ *= 2;
        }
        return false;
    }

  private:
    QelConnectionPoint const * remembered_ = nullptr;
    std::size_t steps_ = 0;
    std::size_t limit_ = 1;
};

bool isAlias(QelOutputConnectionPoint const & output) {
    return dynamic_cast<QelAliasConnectionPoint const *>(&output) != nullptr;
}

// The input side of an alias.
QelInputConnectionPoint const & inputSideOf(QelOutputConnectionPoint const & alias) {
    auto const * const input = dynamic_cast<QelInputConnectionPoint const *>(&alias);
    if (input == nullptr) {
        qelRaise(QelErrorCode::misuse, "Alias connection point class \"" + alias.getClassName() +
                                           "\" is not valid, because it is not derived from an "
                                           "input cp class");
    }
    return *input;
}

}  // namespace

bool QelInputConnectionPoint::feeds(QelOutputConnectionPoint const & output) const {
    // Spares the walk, which may be long: all that this point feeds shares its stream data.
    if (streamData() == nullptr || output.streamData() != streamData()) return false;
    QelOutputConnectionPoint const * at = &output;
    CircleGuard guard;
    while (at != nullptr && isAlias(*at) && !guard.hasComeRound(at)) {
        auto const * const input = dynamic_cast<QelInputConnectionPoint const *>(at);
        if (input == this) return true;
        at = input != nullptr ? input->connectedOutput_ : nullptr;
    }
    return false;
}

MoxSmartPtr<QelOutputConnectionPoint> QelInputConnectionPoint::getConnectedOutput(
    bool resolveAliases) const {
    QelOutputConnectionPoint * output = connectedOutput_;
    CircleGuard guard;
    while (resolveAliases && output != nullptr && isAlias(*output)) {
        if (guard.hasComeRound(output)) return nullptr;
        QelInputConnectionPoint const & input = inputSideOf(*output);
        if (!output->isInput() && output->owner() != nullptr) output->owner()->isStatusOk();
        output = input.connectedOutput_;
    }
    return output;
}

bool QelInputConnectionPoint::isPassingMetadata() const {
    QelInputConnectionPoint const * input = this;
    CircleGuard guard;
    while (input->passesMetadata_ && input->connectedOutput_ != nullptr) {
        QelOutputConnectionPoint const & output = *input->connectedOutput_;
        if (!output.isInput()) return true;
        if (guard.hasComeRound(&output)) return false;
        input = &inputSideOf(output);
    }
    return false;
}

void QelInputConnectionPoint::print(std::ostream & out, std::string const & prefix) const {
    QelConnectionPoint::print(out, prefix);
    out << prefix << "    upstream connection: "
        << (connectedOutput_ != nullptr ? connectedOutput_->name() : "NULL") << '\n';
}

bool QelInputConnectionPoint::getStatus() {
    return connectedOutput_ != nullptr && connectedOutput_->getStatus();
}

ZanError QelInputConnectionPoint::getStatusMessage() {
    if (streamData() != nullptr) return streamData()->getStatus();
    MoxSmartPtr<QelOutputConnectionPoint> const source = getConnectedOutput(true);
    if (source) return source->getStatusMessage();
    return QelError(QelErrorCode::notConnected,
                    "Input " + name() + " of transform " + describeOwner() + " is not connected",
                    __FILE__, __LINE__);
}

void QelInputConnectionPoint::outOfDate(bool flag) {
    if (owner() != nullptr) owner()->inputChanged(this, flag);
}

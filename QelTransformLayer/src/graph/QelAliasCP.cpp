#include "QelAliasCP.h"

#include <ostream>

#include "QelStreamData.h"

QelAliasConnectionPoint::~QelAliasConnectionPoint() = default;

namespace {

// Asks points of both classes whether they go together.
template <class InputCP, class OutputCP>
bool areCompatible() {
    static InputCP const input("");
    static OutputCP const output("");
    return input.isCompatible(&output);
}

}  // namespace

template <class InputCP, class OutputCP>
QelAliasCP<InputCP, OutputCP>::QelAliasCP(std::string name)
    : QelConnectionPoint(std::move(name)),
      InputCP(std::string()),
      OutputCP(typename OutputCP::Borrowing()) {
    if (areCompatible<InputCP, OutputCP>()) return;
    qelRaise(QelErrorCode::incompatiblePoints,
             std::string("Alias connection point cannot be constructed for incompatible "
                         "connection points of type ") +
                 QelCoreMisc::typeNameOf(typeid(InputCP)) + " and " +
                 QelCoreMisc::typeNameOf(typeid(OutputCP)));
}

template <class InputCP, class OutputCP>
QelAliasCP<InputCP, OutputCP>::~QelAliasCP() = default;

template <class InputCP, class OutputCP>
MoxSmartPtr<QelConnectionPoint> QelAliasCP<InputCP, OutputCP>::clone() const {
    return create(this->name());
}

template <class InputCP, class OutputCP>
MoxSmartPtr<QelConnectionPoint> QelAliasCP<InputCP, OutputCP>::create(
    std::string const & name) const {
    return MoxSmartPtr<QelConnectionPoint>(new QelAliasCP(name));
}

template <class InputCP, class OutputCP>
MoxSmartPtr<QelConnectionPoint> QelAliasCP<InputCP, OutputCP>::createAlias(
    std::string const & name) const {
    return create(name);
}

template <class InputCP, class OutputCP>
std::type_info const & QelAliasCP<InputCP, OutputCP>::getDataType() const {
    return InputCP::getDataType();
}

template <class InputCP, class OutputCP>
void QelAliasCP<InputCP, OutputCP>::setStreamData(QelStreamData * data) {
    InputCP::setStreamData(data);
    this->setImageStreamData(InputCP::imageStreamData());
    this->passOn(data);
}

template <class InputCP, class OutputCP>
bool QelAliasCP<InputCP, OutputCP>::getStatus() {
    if (!this->isInput() && this->owner() != nullptr) this->owner()->isStatusOk();
    // Not from alias to alias: they may be many, or lead in a circle.
    MoxSmartPtr<QelOutputConnectionPoint> const source = this->getConnectedOutput(true);
    return source && source->getStatus();
}

template <class InputCP, class OutputCP>
ZanError QelAliasCP<InputCP, OutputCP>::getStatusMessage() {
    if (this->isInput() || this->owner() == nullptr) return InputCP::getStatusMessage();
    this->owner()->isStatusOk();
    bool const isConnected = this->getConnectedOutput(false).get() != nullptr;
    return isConnected ? InputCP::getStatusMessage() : this->owner()->getStatusMessage();
}

template <class InputCP, class OutputCP>
void QelAliasCP<InputCP, OutputCP>::outOfDate(bool flag) {
    if (this->isInput()) {
        InputCP::outOfDate(flag);
    } else if (!this->isNotifying()) {
        // The stream data is the real output's to invalidate.
        this->notifyOutOfDate(flag, false);
    }
}

template <class InputCP, class OutputCP>
void QelAliasCP<InputCP, OutputCP>::checkStatus() {
    if (!this->isInput() && this->owner() != nullptr) this->owner()->isStatusOk();
    OutputCP::checkStatus();
}

template <class InputCP, class OutputCP>
void QelAliasCP<InputCP, OutputCP>::print(std::ostream & out, std::string const & prefix) const {
    InputCP::print(out, prefix);
    this->printConsumers(out, prefix + "    ");
}

template class QelAliasCP<QelImageInputCP, QelImageOutputCP>;

#include "QelConnectionPoint.h"

#include <ostream>
#include <utility>

#include "QelAliasCP.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelHexText.h"
#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"
#include "QelStreamData.h"
#include "QelTransform.h"

QelConnectionPoint::QelConnectionPoint(std::string name) : name_(std::move(name)) {}

QelConnectionPoint::~QelConnectionPoint() {
    if (owner_ != nullptr) owner_->forget(this);
}

ZanError QelConnectionPoint::getStatusMessage() {
    if (streamData_ != nullptr) return streamData_->getStatus();
    return QelError(
        QelErrorCode::nullPointer,
        "Connection point " + name_ + " does not currently point to an QelStreamData object",
        __FILE__, __LINE__);
}

namespace {

// The status makes the owner set its outputs up. An alias may have nothing behind it.
void askStatus(QelConnectionPoint & point) {
    bool const isAlias = dynamic_cast<QelAliasConnectionPoint *>(&point) != nullptr;
    try {
        point.getStatus();
    } catch (ZanError const &) {
        if (!isAlias) throw;
    }
}

}  // namespace

void QelConnectionPoint::setCaching(bool flag) {
    if (flag == caching_) return;
    // Ahead of the change: stream data that comes with it would be asked twice.
    if (streamData_ == nullptr) askStatus(*this);
    caching_ = flag;
    if (streamData_ != nullptr) streamData_->setCachingClient(flag);
}

std::string QelConnectionPoint::transformLabel() const {
    return owner_ != nullptr ? owner_->getLabel() : "NULL";
}

std::string QelConnectionPoint::connectionPointName() const {
    return name_;
}

std::string QelConnectionPoint::getClassName() const {
    return QelCoreMisc::classNameOf(*this);
}

std::string QelConnectionPoint::describeOwner() const {
    return owner_ != nullptr ? owner_->describe() : "NULL";
}

namespace {

char const * kindOf(QelConnectionPoint const & point) {
    if (point.owner() == nullptr) return "unknown";
    return point.isInput() ? "input-cp" : "output-cp";
}

}  // namespace

void QelConnectionPoint::raiseNoStreamData(char const * operation) const {
    qelRaise(QelErrorCode::nullPointer,
             "Connection point " + name_ + " of type " + getClassName() + ' ' + kindOf(*this) +
                 " cannot complete function " + operation +
                 "( ), because the cp's stream data object pointer is NULL");
}

void QelConnectionPoint::print(std::ostream & out, std::string const & prefix) const {
    constexpr std::size_t column = 20;
    std::string padded = name_;
    if (padded.size() < column) padded.resize(column, ' ');
    out << prefix << padded << " [addr:0x" << qelHexText(dynamic_cast<void const *>(this)) << ' '
        << kindOf(*this) << ' ' << transformLabel() << " type:" << getClassName() << "]\n";
}

#include "QelSourceTransform.h"

#include <string>

#include "QelError.h"

namespace {

constexpr char const * outputName = "out";

}  // namespace

QelSourceTransform::QelSourceTransform(QelTransformDescription const & description)
    : QelDescribedTransform(description) {
    addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP(outputName)));
}

QelSourceTransform::~QelSourceTransform() = default;

// Anybody may remove it, so no pointer to it is kept.
QelImageOutputCP * QelSourceTransform::output() const {
    if (!hasOutput(outputName)) return nullptr;
    return dynamic_cast<QelImageOutputCP *>(getOutputCP(findOutputIndex(outputName)).get());
}

void QelSourceTransform::setupTransform() {
    op_ = nullptr;
    if (!areParametersGood()) return;
    try {
        open();
    } catch (ZanError const & error) {
        // Its own text is the best one: it names the file and what is wrong with it.
        setStatusBad(error);
    }
}

namespace {

[[noreturn]] void raiseBadReport(ZanError const & status) {
    if (status.getErrcode() > 0) throw ZanError(status);
    qelRaise(QelErrorCode::invalidInput, "The source is invalid for an unknown reason");
}

}  // namespace

void QelSourceTransform::open() {
    QelImageOutputCP * const point = output();
    if (point == nullptr) {
        qelRaise(QelErrorCode::noSuchPoint,
                 "Transform " + describe() + " has no image output \"" + outputName + '"');
    }
    Source const source = openSource();
    if (!source.op)
        qelRaise(QelErrorCode::nullPointer, "The source of transform " + describe() + " has no op");
    QelImageInfo report;
    if (!source.op->outputInfo(report)) raiseBadReport(report.status());
    op_ = source.op;
    point->setAttributes(report.dataOrg(), new QelXyCoordSpace(source.resolution),
                         source.colorSpace, nullptr, true);
    setStatusOK();
}

MoxSmartPtr<QelImageOp> QelSourceTransform::determineOp(QelTileId const & id, int) const {
    QelImageInfo report;
    if (op_ && op_->outputInfo(report) && report.width() == id.resolutionWidth &&
        report.height() == id.resolutionHeight) {
        return op_;
    }
    qelRaise(QelErrorCode::noMatchingResolution,
             "The picture of transform " + describe() + " has no resolution of " +
                 std::to_string(id.resolutionWidth) + " x " + std::to_string(id.resolutionHeight) +
                 " pixels");
}

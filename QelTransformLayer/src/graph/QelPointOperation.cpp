#include "QelPointOperation.h"

#include "QelError.h"
#include "QelRegionClone.h"

QelPointOperation::~QelPointOperation() = default;

void QelPointOperation::setupTransform() {
    if (!areInputsGood()) return;
    QelOperation::setupTransform();
    if (statusOk() && getPrimaryImageInput() != nullptr && getPrimaryImageOutput() != nullptr)
        describeCommonResolutions();
}

namespace {

QelError inputError(QelTransform const & transform, QelInputConnectionPoint const & input,
                    int index, char const * what) {
    return {QelErrorCode::noCommonResolution,
            "Input " + input.name() + "(index " + std::to_string(index) + ") of transform " +
                transform.describe() + what,
            __FILE__, __LINE__};
}

}  // namespace

bool QelPointOperation::areInputsGood() {
    for (int i = 0; i < numInputs(); ++i) {
        MoxSmartPtr<QelInputConnectionPoint> const input = getInputCP(i);
        if (!input->getConnectedOutput(false)) {
            setStatusBad(inputError(*this, *input, i, " is unconnected"));
            return false;
        }
        if (!input->getStatus()) {
            QelError error = inputError(*this, *input, i, " has bad status: \n");
            error.appendMsg(input->getStatusMessage());
            setStatusBad(error);
            return false;
        }
    }
    return true;
}

void QelPointOperation::describeCommonResolutions() {
    QelImageInputCP const * const primary = getPrimaryImageInput();
    MoxSmartPtr<QelXyCoordSpace> const known = primary->getCoordSpace();
    if (!known) return;
    MoxSmartPtr<QelXyCoordSpace> const common = known->cloneXy();
    bool isEmpty = false;
    for (int i = 0; i < numInputs(); ++i) {
        MoxSmartPtr<QelInputConnectionPoint> const input = getInputCP(i);
        auto const * const image = dynamic_cast<QelImageInputCP const *>(input.get());
        // With itself there is nothing to do, and a space without a list stays as it is.
        if (image == nullptr || image == primary) continue;
        try {
            common->intersectResolutions(image->getCoordSpace().get());
        } catch (ZanError const & error) {
            // A space of pixels has one resolution and cannot lose it.
            if (error.getErrcode() != QelErrorCode::noCommonResolution) throw;
            isEmpty = true;
        }
    }
    if (isEmpty || common->numResolutions() == 0) {
        setStatusBad(QelError(QelErrorCode::noCommonResolution,
                              "There are no common resolutions in transform " + describe(),
                              __FILE__, __LINE__));
        return;
    }
    getPrimaryImageOutput()->setCoordSpace(common);
}

MoxSmartPtr<QelXyRegion> QelPointOperation::getInputRegion(QelXyRegion const & outputRegion,
                                                           int inputIndex, int) {
    MoxSmartPtr<QelInputConnectionPoint> const input = getInputCP(inputIndex);
    auto const * const image = dynamic_cast<QelImageInputCP const *>(input.get());
    if (image == nullptr || image->imageStreamData() == nullptr) return nullptr;
    MoxSmartPtr<QelXyCoordSpace> const known = image->getCoordSpace();
    if (!known) return nullptr;
    // A region without a space has no resolution either.
    return qelCloneIn(*known, QelTileId(0, 0, outputRegion.xyCoordSpace().get()), outputRegion);
}

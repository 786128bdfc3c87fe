#include "QelDescribedTransform.h"

#include "QelError.h"
#include "QelImageInputCP.h"
#include "QelPixelAccess.h"

QelDescribedTransform::QelDescribedTransform(QelTransformDescription const & description)
    : description_(&description) {
    description.addAttributes(*this);
}

QelDescribedTransform::~QelDescribedTransform() = default;

bool QelDescribedTransform::areParametersGood() {
    try {
        description_->requireGood(*this);
        return true;
    } catch (ZanError const & error) {
        setStatusBad(error);
        return false;
    }
}

void QelDescribedTransform::requireNumbers(int inputIndex) {
    if (!statusOk()) return;
    MoxSmartPtr<QelInputConnectionPoint> const point = getInputCP(inputIndex);
    auto const * const image = dynamic_cast<QelImageInputCP const *>(point.get());
    if (image == nullptr || !image->getDataOrg()) return;
    QelDataType const type = image->commonPrecision();
    if (!qelIsNumber(type)) setStatusBad(qelUnsupported(type, getClassName().c_str()));
}

#include "QelOperation.h"

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelRegionClone.h"

QelOperation::QelOperation(std::optional<std::string> const & inputName,
                           std::optional<std::string> const & outputName) {
    if (inputName) {
        MoxSmartPtr<QelImageInputCP> const input = new QelImageInputCP(*inputName);
        primaryInput_ = addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    }
    if (outputName) {
        MoxSmartPtr<QelImageOutputCP> const output = new QelImageOutputCP(*outputName);
        primaryOutput_ = addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
    }
}

QelOperation::QelOperation(QelOperation const & other) : ZanRefCount(), QelTransform(other) {
    checkCopyConstructed();
    if (QelInputConnectionPoint const * const input = other.getPrimaryInput(); input != nullptr)
        primaryInput_ = getInputCP(findInputIndex(input->name())).get();
    if (QelOutputConnectionPoint const * const output = other.getPrimaryOutput(); output != nullptr)
        primaryOutput_ = getOutputCP(findOutputIndex(output->name())).get();
}

QelOperation::~QelOperation() = default;

QelInputConnectionPoint * QelOperation::getPrimaryInput() const {
    for (int i = 0; i < numInputs(); ++i) {
        if (getInputCP(i).get() == primaryInput_) return primaryInput_;
    }
    return nullptr;
}

QelOutputConnectionPoint * QelOperation::getPrimaryOutput() const {
    for (int i = 0; i < numOutputs(); ++i) {
        if (getOutputCP(i).get() == primaryOutput_) return primaryOutput_;
    }
    return nullptr;
}

QelImageInputCP * QelOperation::getPrimaryImageInput() const {
    return dynamic_cast<QelImageInputCP *>(getPrimaryInput());
}

QelImageOutputCP * QelOperation::getPrimaryImageOutput() const {
    return dynamic_cast<QelImageOutputCP *>(getPrimaryOutput());
}

namespace {

[[noreturn]] void refusePrimary(int code, char const * direction, char const * reason) {
    qelRaise(code, std::string("QelOperation::setPrimaryIO( ) was passed an ") + direction +
                       " connection point which is not " + reason);
}

constexpr char const * notForImages = "compatible with image connection points";
constexpr char const * notOwned = "owned by the operation";

bool takesImages(QelInputConnectionPoint const & input) {
    static QelImageOutputCP const reference("");
    return dynamic_cast<QelImageInputCP const *>(&input) != nullptr ||
           input.isCompatible(&reference);
}

bool givesImages(QelOutputConnectionPoint const & output) {
    static QelImageInputCP const reference("");
    return dynamic_cast<QelImageOutputCP const *>(&output) != nullptr ||
           reference.isCompatible(&output);
}

}  // namespace

void QelOperation::setPrimaryIO(QelInputConnectionPoint * input,
                                QelOutputConnectionPoint * output) {
    if (input != nullptr) {
        if (!takesImages(*input))
            refusePrimary(QelErrorCode::incompatiblePoints, "input", notForImages);
        if (input->owner() != this) refusePrimary(QelErrorCode::sameTransform, "input", notOwned);
    }
    if (output != nullptr) {
        if (!givesImages(*output))
            refusePrimary(QelErrorCode::incompatiblePoints, "output", notForImages);
        if (output->owner() != this) refusePrimary(QelErrorCode::sameTransform, "output", notOwned);
    }
    primaryInput_ = input;
    primaryOutput_ = output;
}

namespace {

template <class Point>
Point & requirePoint(Point * point) {
    if (point == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    return *point;
}

}  // namespace

void QelOperation::connect(QelOutputConnectionPoint * output) {
    requirePoint(getPrimaryInput()).connect(output);
}

void QelOperation::connectTo(QelInputConnectionPoint * input) {
    requirePoint(input).connect(getPrimaryOutput());
}

void QelOperation::connect(MoxSmartPtr<QelOperation> operation) {
    requirePoint(getPrimaryInput()).connect(requirePoint(operation.get()).getPrimaryOutput());
}

// ---- Primary points stay

void QelOperation::requireNotPrimary(QelConnectionPoint const * point) const {
    if (point == nullptr) return;
    auto const refuse = [&](char const * direction, char const * kind) {
        qelRaise(QelErrorCode::primaryPoint, std::string("It is illegal to remove the primary ") +
                                                 direction + " connection point:  " + kind +
                                                 " CP " + point->name() + " of operation " +
                                                 getLabel() + " (" + getClassName() + ')');
    };
    if (point == getPrimaryInput()) refuse("input", "input");
    if (point == getPrimaryOutput()) refuse("output", "output");
}

void QelOperation::removeInputConnectionPoint(QelInputConnectionPoint const * point) {
    requireNotPrimary(point);
    QelTransform::removeInputConnectionPoint(point);
}

void QelOperation::removeInputConnectionPoint(int index) {
    if (index >= 0 && index < numInputs()) requireNotPrimary(getInputCP(index).get());
    QelTransform::removeInputConnectionPoint(index);
}

void QelOperation::removeInputConnectionPoint(std::string const & name) {
    if (hasInput(name)) requireNotPrimary(getInputCP(findInputIndex(name)).get());
    QelTransform::removeInputConnectionPoint(name);
}

void QelOperation::removeOutputConnectionPoint(QelOutputConnectionPoint const * point) {
    requireNotPrimary(point);
    QelTransform::removeOutputConnectionPoint(point);
}

void QelOperation::removeOutputConnectionPoint(int index) {
    if (index >= 0 && index < numOutputs()) requireNotPrimary(getOutputCP(index).get());
    QelTransform::removeOutputConnectionPoint(index);
}

void QelOperation::removeOutputConnectionPoint(std::string const & name) {
    if (hasOutput(name)) requireNotPrimary(getOutputCP(findOutputIndex(name)).get());
    QelTransform::removeOutputConnectionPoint(name);
}

MoxSmartPtr<QelXyRegion> QelOperation::outputInfo(QelXyRegion const & region,
                                                  QelTileId const & tileId) const {
    QelImageInputCP const * const input = getPrimaryImageInput();
    if (input == nullptr || input->imageStreamData() == nullptr) return nullptr;
    MoxSmartPtr<QelXyCoordSpace> const known = input->getCoordSpace();
    if (!known) return nullptr;
    return qelCloneIn(*known, tileId, region);
}

// ---- Set-up

void QelOperation::setupTransform() {
    for (int i = numInputs() - 1; i >= 0; --i)
        getInputCP(i)->getStatus();
    QelInputConnectionPoint * const primary = getPrimaryInput();
    if (primary == nullptr) {
        setStatusBad(QelError(QelErrorCode::noPrimaryInput,
                              "There is no primary input on which to base output attributes for "
                              "operation " +
                                  describe(),
                              __FILE__, __LINE__));
        return;
    }
    if (!primary->getStatus()) {
        ZanError error = primary->getStatusMessage();
        error.appendMsg("\nTransform " + describe() + " has invalid inputs");
        setStatusBad(error);
        return;
    }
    describeOutputs(*primary);
    settleGood();
}

void QelOperation::describeOutputs(QelInputConnectionPoint const & input) {
    QelOutputConnectionPoint const * const primary = getPrimaryOutput();
    for (int i = numOutputs() - 1; i >= 0; --i) {
        MoxSmartPtr<QelOutputConnectionPoint> const output = getOutputCP(i);
        if (output != primary) output->setStatusOK();
        auto * const image = dynamic_cast<QelImageOutputCP *>(output.get());
        if (image == nullptr) continue;
        MoxSmartPtr<QelOutputConnectionPoint> const source = input.getConnectedOutput(true);
        auto const * const sourceImage = dynamic_cast<QelImageOutputCP const *>(source.get());
        if (sourceImage == nullptr) {
            qelRaise(QelErrorCode::misuse,
                     "default implementation of QelOperation::setupTransform requires that "
                     "primary input be directly or indirectly connected to an QelImageOutputCP");
        }
        image->setAttributes(sourceImage->getDataOrg(), sourceImage->getCoordSpace(),
                             sourceImage->getColorSpace(), nullptr, true);
    }
}

// ---- Types

namespace {

template <class ImagePoint, class Point>
ImagePoint const & requireImage(QelTransform const & transform, Point const * point, int index,
                                char const * direction) {
    auto const * const image = dynamic_cast<ImagePoint const *>(point);
    if (image == nullptr) {
        qelRaise(QelErrorCode::misuse, std::string(direction) + ' ' + std::to_string(index) +
                                           " of transform " + transform.describe() +
                                           " is not an image " +
                                           (direction[0] == 'I' ? "input" : "output"));
    }
    return *image;
}

}  // namespace

void QelOperation::requireType(char const * direction, QelDataType found,
                               QelDataType const * type) {
    auto const start = [&] { return std::string(direction) + " data type (" + found.name() + ')'; };
    if (type == nullptr && !found.isTypeswitchType()) {
        setStatusBad(QelError(
            QelErrorCode::unsuitableType,
            start() + " is not a run-time supported (typeswitch) type: transform " + describe(),
            __FILE__, __LINE__));
    } else if (type != nullptr && !(found == *type)) {
        setStatusBad(QelError(QelErrorCode::unsuitableType,
                              start() + " does not match the template data type (" + type->name() +
                                  ") in " + describe(),
                              __FILE__, __LINE__));
    }
}

QelDataType QelOperation::inputType(int index) const {
    MoxSmartPtr<QelInputConnectionPoint> const point =
        index == -1 ? MoxSmartPtr<QelInputConnectionPoint>(getPrimaryInput()) : getInputCP(index);
    return requireImage<QelImageInputCP>(*this, point.get(), index, "Input").commonPrecision();
}

QelDataType QelOperation::outputType(int index) const {
    MoxSmartPtr<QelOutputConnectionPoint> const point =
        index == -1 ? MoxSmartPtr<QelOutputConnectionPoint>(getPrimaryOutput())
                    : getOutputCP(index);
    return requireImage<QelImageOutputCP>(*this, point.get(), index, "Output").commonPrecision();
}

void QelOperation::checkInputType(QelDataType type, int inputIndex) {
    requireType("Input", inputType(inputIndex), &type);
}

void QelOperation::checkInputTypeSwitch(int inputIndex) {
    requireType("Input", inputType(inputIndex), nullptr);
}

void QelOperation::checkOutputType(QelDataType type, int outputIndex) {
    requireType("Output", outputType(outputIndex), &type);
}

void QelOperation::checkOutputTypeSwitch(int outputIndex) {
    requireType("Output", outputType(outputIndex), nullptr);
}

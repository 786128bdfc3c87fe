#include "GraphTesting.h"

#include "QelColorSpaces.h"
#include "QelXyCoordSpace.h"

SourceTransform::SourceTransform(TestImage image) : image_(std::move(image)) {
    addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out")));
    addAttribute(new QelSimpleAttribute<double>("level", 0.0), true);
}

SourceTransform::~SourceTransform() = default;

MoxSmartPtr<QelTransform> SourceTransform::clone() const {
    return MoxSmartPtr<QelTransform>(new SourceTransform(*this));
}

void SourceTransform::setupTransform() {
    ++setups_;
    MoxSmartPtr<QelXyCoordSpace> const space = new QelXyCoordSpace(
        static_cast<unsigned>(image_.width), static_cast<unsigned>(image_.height));
    imageOutput(*this).setAttributes(image_.dataOrg(), space, nullptr, nullptr, true);
    setStatusOK();
}

MoxSmartPtr<QelImageOp> SourceTransform::determineOp(QelTileId const &, int) const {
    double const level = attributeValue<double>("level");
    return MoxSmartPtr<QelImageOp>(
        new GradientOp(image_, [level](std::int32_t x, std::int32_t y, int band) {
            return gradientAt(x, y, band) + level;
        }));
}

AddTransform::AddTransform(double amount) : QelPointOperation("in", "out") {
    addAttribute(new QelSimpleAttribute<double>("amount", amount), true);
}

AddTransform::~AddTransform() = default;

MoxSmartPtr<QelTransform> AddTransform::clone() const {
    return MoxSmartPtr<QelTransform>(new AddTransform(*this));
}

void AddTransform::setupTransform() {
    ++setups_;
    QelPointOperation::setupTransform();
}

MoxSmartPtr<QelImageOp> AddTransform::determineOp(QelTileId const & id, int) const {
    return MoxSmartPtr<QelImageOp>(
        new AddOp(getPrimaryImageInput()->get2DImage(id), attributeValue<double>("amount")));
}

JointTransform::JointTransform(int inputs, int outputs) : QelOperation({}, {}) {
    for (int i = 0; i < inputs; ++i) {
        addConnectionPoint(
            MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP("in" + std::to_string(i))));
    }
    for (int i = 0; i < outputs; ++i) {
        addConnectionPoint(
            MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out" + std::to_string(i))));
    }
    setPrimaryIO(inputs > 0 ? getInputCP(0).get() : nullptr,
                 outputs > 0 ? getOutputCP(0).get() : nullptr);
}

JointTransform::~JointTransform() = default;

MoxSmartPtr<QelTransform> JointTransform::clone() const {
    return MoxSmartPtr<QelTransform>(new JointTransform(*this));
}

void JointTransform::setupTransform() {
    ++setups_;
    QelOperation::setupTransform();
}

MoxSmartPtr<QelImageOp> JointTransform::determineOp(QelTileId const & id, int outputIndex) const {
    return MoxSmartPtr<QelImageOp>(new AddOp(getPrimaryImageInput()->get2DImage(id), outputIndex));
}

std::vector<MoxSmartPtr<QelOperation>> chainBehind(QelTransform & first, int count) {
    std::vector<MoxSmartPtr<QelOperation>> chain;
    chain.reserve(static_cast<std::size_t>(count));
    QelTransform * last = &first;
    for (int i = 0; i < count; ++i) {
        chain.push_back(new AddTransform());
        chain.back()->getInputCP(0)->connect(last->getOutputCP(0).get());
        last = chain.back().get();
    }
    return chain;
}

MoxSmartPtr<QelRectBuffer> pixelsOf(QelTransform & transform, int outputIndex) {
    QelImageOutputCP & output = imageOutput(transform, outputIndex);
    if (!transform.isStatusOk()) return nullptr;
    QelImageRequestDesc const request(output.getMaxResRegion());
    return output.getData(&request, true);
}

QelImageInputCP & imageInput(QelTransform & transform, int index) {
    return dynamic_cast<QelImageInputCP &>(*transform.getInputCP(index));
}

QelImageOutputCP & imageOutput(QelTransform & transform, int index) {
    return dynamic_cast<QelImageOutputCP &>(*transform.getOutputCP(index));
}

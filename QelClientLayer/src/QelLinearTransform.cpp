#include "QelLinearTransform.h"

#include "QelLinearOp.h"

QelLinearTransform::QelLinearTransform() : QelPointTransform(catalogEntry()) {}

QelLinearTransform::~QelLinearTransform() = default;

QelTransformDescription const & QelLinearTransform::catalogEntry() {
    using Type = QelTransformParameter::Type;
    constexpr double most = 1e6;
    static QelTransformDescription const entry{
        "linear",
        "QelLinearTransform",
        "gain * value + offset, limited to the range of the type",
        false,
        {{"gain", "contrast factor", Type::Number, 1, -most, most},
         {"offset", "added after the gain, in pixel values", Type::Number, 0, -most, most}},
        [] { return MoxSmartPtr<QelTransform>(new QelLinearTransform); }};
    return entry;
}

MoxSmartPtr<QelTransform> QelLinearTransform::clone() const {
    return new QelLinearTransform(*this);
}

MoxSmartPtr<QelImageOp> QelLinearTransform::determineOp(QelTileId const & id, int) const {
    return new QelLinearOp(input(id), attributeValue<double>("gain"),
                           attributeValue<double>("offset"));
}

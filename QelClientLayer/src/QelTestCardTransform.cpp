#include "QelTestCardTransform.h"

#include "QelColorSpaces.h"
#include "QelTestCardOp.h"

QelTestCardTransform::QelTestCardTransform() : QelSourceTransform(catalogEntry()) {}

QelTestCardTransform::~QelTestCardTransform() = default;

QelTransformDescription const & QelTestCardTransform::catalogEntry() {
    using Type = QelTransformParameter::Type;
    static QelTransformDescription const entry{
        "testcard",
        "QelTestCardTransform",
        "the built-in picture",
        true,
        {{"width", "in pixels", Type::Integer, 1024, 1, QelTestCardOp::maxSide},
         {"height", "in pixels", Type::Integer, 768, 1, QelTestCardOp::maxSide}},
        [] { return MoxSmartPtr<QelTransform>(new QelTestCardTransform); }};
    return entry;
}

MoxSmartPtr<QelTransform> QelTestCardTransform::clone() const {
    return new QelTestCardTransform(*this);
}

QelSourceTransform::Source QelTestCardTransform::openSource() {
    int const width = attributeValue<int>("width");
    int const height = attributeValue<int>("height");
    constexpr double dpi = 72.0;
    QelXyCoordSpace::Resolution resolution{{dpi, QEL_UNIT_INCH}, {dpi, QEL_UNIT_INCH}};
    resolution.horz.pixels = static_cast<std::uint32_t>(width);
    resolution.vert.pixels = static_cast<std::uint32_t>(height);
    return {new QelTestCardOp(width, height), new QelRGBColorSpace, resolution};
}

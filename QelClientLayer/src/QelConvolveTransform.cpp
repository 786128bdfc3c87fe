#include "QelConvolveTransform.h"

#include <algorithm>

#include "QelConvolveOp.h"
#include "QelConvolving.h"
#include "QelError.h"
#include "QelNumberList.h"
#include "QelXySimpleRegion.h"

QelConvolveTransform::QelConvolveTransform() : QelConvolveTransform(catalogEntry()) {}

QelConvolveTransform::QelConvolveTransform(QelTransformDescription const & description)
    : QelOperation("in", "out"), QelDescribedTransform(description) {}

QelConvolveTransform::~QelConvolveTransform() = default;

QelTransformDescription const & QelConvolveTransform::catalogEntry() {
    static QelTransformDescription const entry{
        "convolve",
        "QelConvolveTransform",
        "weighted sum of the pixels around each pixel",
        false,
        {qelKernelParameter()},
        [] { return MoxSmartPtr<QelTransform>(new QelConvolveTransform); },
        [](QelTransformValues const & values) {
            if (values[0].empty()) {
                qelRaise(QelErrorCode::invalidValue, "The operation convolve needs a kernel");
            }
            QelConvolutionKernel{values[0]};
        }};
    return entry;
}

MoxSmartPtr<QelTransform> QelConvolveTransform::clone() const {
    return new QelConvolveTransform(*this);
}

void QelConvolveTransform::setupTransform() {
    if (!areParametersGood()) return;
    QelOperation::setupTransform();
    requireNumbers(0);
}

MoxSmartPtr<QelImageOp> QelConvolveTransform::determineOp(QelTileId const & id, int) const {
    std::optional<QelConvolutionKernel> const weights = kernel();
    return weights ? new QelConvolveOp(input(id), *weights) : nullptr;
}

std::optional<QelConvolutionKernel> QelConvolveTransform::kernel() const {
    std::vector<double> const & weights = attributeValue<QelNumberList>("kernel").numbers;
    if (weights.empty()) return std::nullopt;
    return QelConvolutionKernel(weights);
}

std::int32_t QelConvolveTransform::radius() const {
    return getAttribute("radius") ? attributeValue<int>("radius") : 0;
}

std::int32_t QelConvolveTransform::reach() const {
    std::optional<QelConvolutionKernel> const weights = kernel();
    if (weights) return weights->reach();
    return radius() > 0 ? radius() : 1;
}

MoxSmartPtr<Qel2DImage> QelConvolveTransform::input(QelTileId const & id) const {
    return getPrimaryImageInput()->get2DImage(id);
}

namespace {

// `size` pixels from `start` on and `reach` more to both sides, from 0 to `end`, which is not
// included.
void growSide(std::int32_t & start, std::int32_t & size, std::int64_t reach, std::int64_t end) {
    std::int64_t const first = std::max<std::int64_t>(start - reach, 0);
    std::int64_t const last = std::min(std::int64_t{start} + size + reach, end);
    start = static_cast<std::int32_t>(first);
    size = static_cast<std::int32_t>(std::max<std::int64_t>(last - first, 0));
}

// Nothing needs nothing.
QelRect grown(QelRect rect, std::int32_t reach, QelRect const & image) {
    if (rect.isEmpty()) return rect;
    growSide(rect.x, rect.width, reach, image.width);
    growSide(rect.y, rect.height, reach, image.height);
    return rect;
}

}  // namespace

MoxSmartPtr<QelXyRegion> QelConvolveTransform::getInputRegion(QelXyRegion const & outputRegion,
                                                              int inputIndex, int outputIndex) {
    MoxSmartPtr<QelXyRegion> const whole =
        QelOperation::getInputRegion(outputRegion, inputIndex, outputIndex);
    if (!whole) return nullptr;
    QelRect const image = whole->pixelBounds();
    MoxSmartPtr<QelXyRegion> const needed = new QelXySimpleRegion(whole->xyCoordSpace().get());
    needed->setPixelBounds(grown(outputRegion.pixelBounds(), reach(), image));
    return needed;
}

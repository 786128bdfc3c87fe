#pragma once

#include <cstdint>
#include <optional>

#include "QelConvolutionKernel.h"
#include "QelDescribedTransform.h"
#include "QelOperation.h"

// A convolution with a kernel of the client's: QelConvolveOp, and base of its relatives. It has the
// image input "in" and the image output "out". What it needs of its input reaches as far around as
// the kernel.
//
// | attribute | type | default | range |
// | "kernel" | QelNumberList | [] | weights from -1,000,000 to 1,000,000 |
//
// The kernel is one that QelConvolutionKernel takes; the default has to be replaced.
class QEL_API QelConvolveTransform : public QelOperation, public QelDescribedTransform {
  public:
    QelConvolveTransform();
    QelConvolveTransform(QelConvolveTransform const &) = default;
    ~QelConvolveTransform() override;

    // "convolve"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;
    // Refuses attributes out of range, a kernel that is impossible, and elements that are no
    // numbers.
    void setupTransform() override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;
    // The rectangle of the region's pixels, grown by the reach of the kernel and cut to the image.
    MoxSmartPtr<QelXyRegion> getInputRegion(QelXyRegion const & outputRegion, int inputIndex,
                                            int outputIndex) override;

  protected:
    explicit QelConvolveTransform(QelTransformDescription const & description);

    // That of the attribute "kernel"; none when it is empty.
    std::optional<QelConvolutionKernel> kernel() const;
    // That of the attribute "radius", in pixels; 0 without one.
    std::int32_t radius() const;
    MoxSmartPtr<Qel2DImage> input(QelTileId const & id) const;

  private:
    // How far around a pixel the input matters, in pixels; 1 for the slight blur and sharpening.
    std::int32_t reach() const;
};

#pragma once

#include "QelPointOp.h"

// Brightness and contrast: an element v becomes gain * v + offset.
//
// Integers are limited to the range of their type and rounded to the nearest, halves to even. The
// arithmetic is single precision for elements of 8 and 16 bits and for Float, double precision for
// Long, ULong and Double. Float and Double follow IEEE arithmetic, including infinities and NaN,
// and are not limited.
class QEL_API QelLinearOp : public QelPointOp {
  public:
    // Raises invalidValue (13) for a gain or an offset that is not finite.
    QelLinearOp(MoxSmartPtr<Qel2DImage> input, double gain, double offset);
    ~QelLinearOp() override;
    using QelPointOp::operator=;

    double gain() const { return gain_; }
    double offset() const { return offset_; }

  protected:
    void changeElements(int type, QelPixelRows const & rows) const override;

  private:
    double gain_;
    double offset_;
};

#pragma once

#include "MoxSmartPtr.h"
#include "QelOneInputOp.h"
#include "QelPixelRows.h"

// Base of operations that make each element of a pixel from the same element of one input image,
// in the same way for all bands.
//
// Pixels are touched once. Input that is complete in one tile is read in place and written straight
// to the result. Any other input is computed in the result's own memory and changed there, so a
// chain of such operations works in one buffer. A buffer to compute must not overlap the memory of
// the input, unless it is exactly the same pixels.
//
// Clients derive from it and implement changeElements(). Thread-safe, as changeElements() must be.
class QEL_API QelPointOp : public QelOneInputOp {
  public:
    ~QelPointOp() override;
    using QelOneInputOp::operator=;

  protected:
    // A null input makes the report a bad one.
    explicit QelPointOp(MoxSmartPtr<Qel2DImage> input);

    // Raises noPixelSource (602) when the input has nothing to compute with, and whatever
    // computing the input raises.
    void computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                     QelOpContext opContext) const override;

    // Makes the target elements from the source elements, which may be the same memory. `type` is
    // one of the QelDataType codes that supports() accepts.
    virtual void changeElements(int type, QelPixelRows const & rows) const = 0;

  private:
    void change(int type, QelRectBuffer const & source, QelRectBuffer & target,
                QelRect const & rect) const;
};

#pragma once

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelImageOp.h"
#include "QelPixelRows.h"

// Base of operations that make each element of a pixel from the same element of one input image,
// in the same way for all bands. The result has the size, the bands, the element type and the tile
// grid of the input.
//
// Pixels are touched once. Input that is complete in one tile is read in place and written straight
// to the result. Any other input is computed in the result's own memory and changed there, so a
// chain of such operations works in one buffer. A buffer to compute must not overlap the memory of
// the input, unless it is exactly the same pixels.
//
// Clients derive from it and implement changeElements(). Thread-safe, as changeElements() must be.
class QEL_API QelPointOp : public QelImageOp {
  public:
    ~QelPointOp() override;
    using QelImageOp::operator=;

    MoxSmartPtr<Qel2DImage> input() const { return input_; }

    // The input's report, or a bad one with status unsupportedDataType (118) for an element type
    // that supports() refuses.
    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;

    // Raises wrongPixelFormat (119) for a buffer of another element type or number of bands,
    // simpleDataOrgNeeded (150) for one whose organisation is not a QelSimpleDataOrg, noPixelSource
    // (602) when the input has nothing to compute with, and whatever computing the input raises.
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  protected:
    // A null input makes the report a bad one.
    explicit QelPointOp(MoxSmartPtr<Qel2DImage> input);

    // By default true for the eight numeric types.
    virtual bool supports(QelDataType type) const;

    // Makes the target elements from the source elements, which may be the same memory. `type` is
    // one of the QelDataType codes that supports() accepts.
    virtual void changeElements(int type, QelPixelRows const & rows) const = 0;

  private:
    void change(int type, QelRectBuffer const & source, QelRectBuffer & target,
                QelRect const & rect) const;

    MoxSmartPtr<Qel2DImage> input_;
};

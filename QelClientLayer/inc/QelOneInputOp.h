#pragma once

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelImageOp.h"

// Base of operations that make an image from one input image. The result has the size, the bands,
// the element type and the tile grid of the input.
//
// It holds the input and passes its report on, and it looks at every buffer before a pixel is made.
// A client derives and implements computeRect(), which may read any pixels of the input: those of a
// mirrored, turned or warped picture say. Two bases for the usual cases stand on this one:
// QelPointOp, whose elements are made from the same element of the input, and QelNeighbourOp, whose
// elements are made from those around it.
//
// Safe from any thread, as computeRect() is. An operation whose result has another size or other
// bands derives from QelImageOp.
class QEL_API QelOneInputOp : public QelImageOp {
  public:
    ~QelOneInputOp() override;
    using QelImageOp::operator=;

    // Null when there is none.
    MoxSmartPtr<Qel2DImage> const & input() const { return input_; }

    // The input's report. It is a bad one with the status misuse (3) without an input, and with
    // unsupportedDataType (118) for an element type that supports() refuses.
    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;

    // Raises nullPointer (4) for a null buffer and for one without organisation, the status of a
    // bad report, wrongPixelFormat (119) for a buffer of another element type or number of bands,
    // simpleDataOrgNeeded (150) for one whose organisation is no QelSimpleDataOrg, and what
    // computeRect() raises. Pixels of the buffer outside the image stay as they are.
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  protected:
    // A null input makes the report a bad one.
    explicit QelOneInputOp(MoxSmartPtr<Qel2DImage> input);

    // True here for the eight types of numbers.
    virtual bool supports(QelDataType type) const;

    // Makes the pixels of `rect`, which is not empty and lies in `buffer` and in the input image;
    // allocates the buffer if need be. `type` is one of the QelDataType codes that supports()
    // accepts, and that of all bands of the buffer, whose organisation is a QelSimpleDataOrg.
    // Requires no lock: several threads call it at once, with different buffers.
    virtual void computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                             QelOpContext opContext) const = 0;

  private:
    MoxSmartPtr<Qel2DImage> input_;
};

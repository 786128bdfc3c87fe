#pragma once

#include <cstdint>
#include <memory>

#include "MoxSmartPtr.h"
#include "QelOneInputOp.h"
#include "QelPixelRows.h"

// Base of operations that make each element of a pixel from the same element of the pixels around
// it, in a square of 2 * reach + 1 pixels a side, in one input image and in the same way for all
// bands. At the edges of the image the outermost pixels are repeated.
//
// A tile of the result needs the rims of the eight tiles around it in the input. The operation
// keeps the input tiles that it used last, about as many rows of them as the square touches, so
// that each is computed once when the result is pulled in any regular order. They are released with
// the operation. A buffer to compute must not overlap the memory of the input.
//
// Clients derive from it and implement changeElements(). Thread-safe, as changeElements() must be.
class QEL_API QelNeighbourOp : public QelOneInputOp {
  public:
    ~QelNeighbourOp() override;
    using QelOneInputOp::operator=;

  protected:
    // A null input makes the report a bad one. Raises invalidValue (13) for a reach below 0.
    explicit QelNeighbourOp(MoxSmartPtr<Qel2DImage> input, std::int32_t reach = 1);

    // In pixels.
    std::int32_t reach() const { return reach_; }

    // Raises whatever computing the input raises.
    void computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                     QelOpContext opContext) const override;

    // Makes the target elements from the source elements and their neighbours, which are in other
    // memory. `type` is one of the QelDataType codes that supports() accepts.
    virtual void changeElements(int type, QelPixelNeighbours const & pixels) const = 0;

  private:
    class Workspace;

    void change(int type, QelRectBuffer const & source, QelRectBuffer & target,
                QelRect const & rect) const;
    void assemble(QelRectBuffer & scratch) const;

    std::int32_t reach_;
    std::unique_ptr<Workspace> workspace_;
};

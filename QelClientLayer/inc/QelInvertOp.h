#pragma once

#include "QelPointOp.h"

// The negative of an image. An element v becomes
//     255 - v         UChar
//     65535 - v       UShort
//     4294967295 - v  ULong
//     -1 - v          Char, Short and Long: the range mirrored onto itself
//     1 - v           Float and Double, where 0 to 1 is black to white
// Inverting an integer image twice restores it bit for bit.
class QEL_API QelInvertOp : public QelPointOp {
  public:
    explicit QelInvertOp(MoxSmartPtr<Qel2DImage> input);
    ~QelInvertOp() override;
    using QelPointOp::operator=;

  protected:
    void changeElements(int type, QelPixelRows const & rows) const override;
};

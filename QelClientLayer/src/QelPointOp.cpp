#include "QelPointOp.h"

#include <string>
#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelPixelAccess.h"

namespace {

// This and change() stand apart, because a request runs through computeRect() once for each
// operation of a chain: what is needed before or after it would lie on the stack as often.
[[noreturn, gnu::noinline]] void raiseNothingToComputeWith(QelPointOp const & op) {
    qelRaise(QelErrorCode::noPixelSource, std::string("The input image of ") +
                                              QelCoreMisc::classNameOf(op) +
                                              " has nothing to compute its pixels with");
}

}  // namespace

QelPointOp::QelPointOp(MoxSmartPtr<Qel2DImage> input) : QelOneInputOp(std::move(input)) {}

QelPointOp::~QelPointOp() = default;

void QelPointOp::computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                             QelOpContext) const {
    if (MoxSmartPtr<QelTile> const tile = qelCompleteTile(*input(), rect)) {
        change(type, *tile, buffer, rect);
        return;
    }
    if (!input()->fillRWBuffer(&buffer, true)) raiseNothingToComputeWith(*this);
    change(type, buffer, buffer, rect);
}

[[gnu::noinline]] void QelPointOp::change(int type, QelRectBuffer const & source,
                                          QelRectBuffer & target, QelRect const & rect) const {
    qelEachBand(source, target, rect,
                [this, type](QelPixelRows const & rows, int) { changeElements(type, rows); });
}

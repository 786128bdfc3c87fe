#include "QelPointOp.h"

#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelPixelAccess.h"

QelPointOp::QelPointOp(MoxSmartPtr<Qel2DImage> input) : input_(std::move(input)) {}

QelPointOp::~QelPointOp() = default;

bool QelPointOp::supports(QelDataType type) const {
    return qelIsNumber(type);
}

bool QelPointOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    if (!imageOutputInfo(input_, info)) return false;
    if (supports(info.precision())) return true;
    info.setStatus(qelUnsupported(info.precision(), QelCoreMisc::classNameOf(*this)));
    return false;
}

void QelPointOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    if (!isGood(opContext)) throw ZanError(storedStatus());
    int const type = qelCheckTarget(*buffer, info());
    QelRect const rect = buffer->rect().intersect(input_->imageRect());
    if (rect.isEmpty()) return;
    if (MoxSmartPtr<QelTile> const tile = qelCompleteTile(*input_, rect)) {
        change(type, *tile, *buffer, rect);
    } else if (input_->fillRWBuffer(buffer, true)) {
        change(type, *buffer, *buffer, rect);
    } else {
        qelRaise(QelErrorCode::noPixelSource, std::string("The input image of ") +
                                                  QelCoreMisc::classNameOf(*this) +
                                                  " has nothing to compute its pixels with");
    }
}

void QelPointOp::change(int type, QelRectBuffer const & source, QelRectBuffer & target,
                        QelRect const & rect) const {
    qelEachBand(source, target, rect,
                [this, type](QelPixelRows const & rows, int) { changeElements(type, rows); });
}

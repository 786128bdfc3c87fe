#include "QelOneInputOp.h"

#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelPixelAccess.h"

namespace {

// Apart, because a request runs through compute() once for each operation of a chain: what only an
// error needs would lie on the stack as often.
[[noreturn, gnu::noinline]] void raise(ZanError const & status) {
    throw ZanError(status);
}

}  // namespace

QelOneInputOp::QelOneInputOp(MoxSmartPtr<Qel2DImage> input) : input_(std::move(input)) {}

QelOneInputOp::~QelOneInputOp() = default;

bool QelOneInputOp::supports(QelDataType type) const {
    return qelIsNumber(type);
}

bool QelOneInputOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    if (!imageOutputInfo(input_, info)) return false;
    if (supports(info.precision())) return true;
    info.setStatus(qelUnsupported(info.precision(), QelCoreMisc::classNameOf(*this)));
    return false;
}

void QelOneInputOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    if (!isGood(opContext)) raise(storedStatus());
    int const type = qelCheckTarget(buffer, info());
    QelRect const rect = buffer->rect().intersect(input_->imageRect());
    if (!rect.isEmpty()) computeRect(type, *buffer, rect, opContext);
}

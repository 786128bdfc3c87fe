#include "QelCompute.h"

#include <utility>

#include "QelError.h"
#include "QelOpResult.h"
#include "QelRequired.h"

namespace {

// Null, and the op's own status, when the op is bad.
MoxSmartPtr<QelRectBuffer> makeBuffer(QelImageOp & op, ZanError & status) {
    QelImageInfo report;
    if (op.outputInfo(report, 0)) return qelMakeResultBuffer(report);
    status = op.status(0);
    if (status.getErrcode() == 0) status = qelNoReasonStatus(op);
    return nullptr;
}

bool accepts(QelImageOp & op, QelRectBuffer * buffer, ZanError & status, QelOpContext opContext) {
    if (op.canFill(buffer, opContext)) return true;
    status =
        QelError(QelErrorCode::misuse, "qelCompute: provided output rect buffer is not acceptable",
                 __FILE__, __LINE__);
    return false;
}

}  // namespace

void qelCompute(MoxSmartPtr<QelRectBuffer> & result, ZanError & status, QelImageOp * op,
                QelRectBuffer * buffer, QelOpContext opContext) {
    qelRequired(op);
    // `result` may hold the very buffer that is to be filled, so it is kept while it is cleared.
    MoxSmartPtr<QelRectBuffer> const previous = std::exchange(result, nullptr);
    // A result that is never produced must not look good.
    status = QelError(QelErrorCode::notComputed, "", __FILE__, __LINE__);
    if (buffer == nullptr) {
        MoxSmartPtr<QelRectBuffer> const made = makeBuffer(*op, status);
        if (!made) return;
        op->compute(made, opContext);
        result = made;
    } else if (accepts(*op, buffer, status, opContext)) {
        op->compute(buffer, opContext);
        result = buffer;
    }
}

MoxSmartPtr<QelRectBuffer> qelCompute(QelImageOp * op, QelRectBuffer * buffer,
                                      QelOpContext opContext) {
    MoxSmartPtr<QelRectBuffer> result;
    ZanError status;
    qelCompute(result, status, op, buffer, opContext);
    if (!result) throw status;
    return result;
}

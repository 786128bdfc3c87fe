#include "QelImageOp.h"

#include "QelError.h"
#include "QelOpResult.h"
#include "QelRequired.h"

namespace {

QelDataType firstType(QelDataOrg const * org) {
    return org != nullptr && !org->bandTypes().empty() ? org->bandTypes().front() : QelDataType();
}

int bandCount(QelDataOrg const * org) {
    return org != nullptr ? org->numBands() : 0;
}

}  // namespace

QelImageOp::QelImageOp() = default;

QelImageOp::~QelImageOp() = default;

void QelImageOp::takeReport(QelOpContext opContext) {
    if (info_.computed()) return;
    // A separate report: one that fails half-way leaves nothing behind, and a status of an earlier
    // one is not taken for the new one's.
    QelImageInfo report;
    bool const good = genOutputInfo(report, opContext);
    // Made now, because render threads will read it and must not make it.
    if (good) report.dataOrg();
    report.setComputed(true);
    info_ = report;
    good_ = good;
    setStatus(report.status());
}

bool QelImageOp::isGood(QelOpContext opContext) {
    takeReport(opContext);
    return good_;
}

bool QelImageOp::outputInfo(QelImageInfo & info, QelOpContext opContext) {
    takeReport(opContext);
    info = info_;
    return good_;
}

void QelImageOp::aboutToRender(QelOpContext, QelOpContext) {}

bool QelImageOp::isOutputOK(QelRectBuffer * buffer, QelOpContext opContext) {
    QelImageInfo report;
    if (!outputInfo(report, opContext)) {
        ZanError const reason = report.status();
        setStatus(reason.getErrcode() < 1
                      ? QelError(QelErrorCode::invalidInput,
                                 "Input is invalid for an unknown reason", __FILE__, __LINE__)
                      : reason);
        return false;
    }
    if (buffer == nullptr) return true;
    QelDataOrg const * const org = buffer->dataOrg();
    if (!(firstType(org) == report.precision())) {
        setStatus(QelError(QelErrorCode::wrongPixelFormat,
                           "Output buffer has invalid precision for Op", __FILE__, __LINE__));
        return false;
    }
    if (bandCount(org) != report.numBands()) {
        setStatus(QelError(QelErrorCode::wrongPixelFormat,
                           "Output buffer has wrong number of bands for Op", __FILE__, __LINE__));
        return false;
    }
    return true;
}

bool QelImageOp::acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) {
    return isGood(opContext) && info_.acceptsDataOrg(org);
}

bool QelImageOp::canFill(QelRectBuffer * buffer, QelOpContext opContext) {
    return acceptsDataOrg(qelRequired(buffer).dataOrg(), opContext);
}

MoxSmartPtr<QelRectBuffer> QelImageOp::genResult(QelOpContext opContext) {
    QelImageInfo report;
    if (!outputInfo(report, opContext)) {
        if (report.status().getErrcode() == 0) setStatus(qelNoReasonStatus(*this));
        throw status(opContext);
    }
    MoxSmartPtr<QelRectBuffer> const buffer = qelMakeResultBuffer(report);
    compute(buffer, opContext);
    return buffer;
}

void QelImageOp::getTile(QelTile * tile, QelOpContext opContext) {
    if (qelRequired(tile).isState(QelRenderedItem::complete)) return;
    compute(tile, opContext);
    tile->setComplete(true);
}

// Stands here, since buffers know nothing of ops.
QelRectBuffer::QelRectBuffer(QelImageOp * op) {
    MoxSmartPtr<QelRectBuffer> const result = qelRequired(op).genResult();
    if (!result) qelRaise(QelErrorCode::misuse, "QelImageOp::genResult returned no buffer");
    dataBuffer_ = result->dataBuffer_;
    rect_ = result->rect_;
    dataOrg_ = result->dataOrg_;
    dataOffset_ = result->dataOffset_;
    setFullSize(result->fullWidth_, result->fullHeight_);
}

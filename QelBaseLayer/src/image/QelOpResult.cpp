#include "QelOpResult.h"

#include <algorithm>
#include <string>

#include "QelCoreMisc.h"
#include "QelOrgChange.h"

namespace {

MoxSmartPtr<QelDataOrg> wholeImageOrg(QelImageInfo const & report) {
    MoxSmartPtr<QelDataOrg> org = report.dataOrg();
    if (org->tileWidth() < report.width() || org->tileHeight() < report.height()) {
        org = qelRequireChanged(org->withSize(std::max(org->tileWidth(), report.width()),
                                              std::max(org->tileHeight(), report.height())),
                                *org, "tile size");
    }
    return qelRequireChanged(org->withOrigin(0, 0), *org, "origin");
}

}  // namespace

MoxSmartPtr<QelRectBuffer> qelMakeResultBuffer(QelImageInfo const & report) {
    std::int32_t const width = report.width();
    std::int32_t const height = report.height();
    // A size of -1 would otherwise pass for "the tile size".
    if (width < 0 || height < 0) {
        qelRaise(QelErrorCode::invalidValue, "An op reports an image of illegal size: width " +
                                                 std::to_string(width) + ", height " +
                                                 std::to_string(height));
    }
    MoxSmartPtr<QelDataOrg> const org = wholeImageOrg(report);
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(org, 0, 0, width, height, nullptr, true, true));
    buffer->setFullSize(width, height);
    return buffer;
}

QelError qelNoReasonStatus(QelOp const & op) {
    return QelError(QelErrorCode::renderFailed,
                    std::string("Bad status reported by ") + QelCoreMisc::classNameOf(op) +
                        " with no reason given",
                    __FILE__, __LINE__);
}

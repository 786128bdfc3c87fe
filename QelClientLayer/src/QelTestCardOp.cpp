#include "QelTestCardOp.h"

#include <string>
#include <vector>

#include "QelError.h"
#include "QelPixelAccess.h"
#include "QelSimpleDataOrg.h"
#include "QelTestCard.h"

namespace {

std::int32_t checked(std::int32_t side, char const * name) {
    if (side >= 1 && side <= QelTestCardOp::maxSide) return side;
    qelRaise(QelErrorCode::invalidValue, std::string("The test card's ") + name + " is " +
                                             std::to_string(side) + ", it must lie between 1 and " +
                                             std::to_string(QelTestCardOp::maxSide));
}

bool isInterleaved(QelDataOrg const & org) {
    QelSimpleDataOrg const & simple = *org.asSimple();
    return simple.pixelStride() == 3 && simple.bandOffsets() == std::vector<std::int32_t>{0, 1, 2};
}

}  // namespace

QelTestCardOp::QelTestCardOp(std::int32_t width, std::int32_t height)
    : card_(std::make_unique<QelTestCard const>(checked(width, "width"),
                                                checked(height, "height"))) {}

QelTestCardOp::~QelTestCardOp() = default;

bool QelTestCardOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    info.setSize(card_->width(), card_->height());
    info.setNumBands(3);
    info.setPrecision(QelDataType::UChar);
    return true;
}

void QelTestCardOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    isGood(opContext);
    qelCheckTarget(buffer, info());
    QelRect const rect = buffer->rect().intersect(QelRect(0, 0, card_->width(), card_->height()));
    if (rect.isEmpty()) return;
    if (isInterleaved(*buffer->dataOrg())) {
        card_->draw(rect, buffer->addressOf(rect.x, rect.y), buffer->lineStride());
        return;
    }
    MoxSmartPtr<QelRectBuffer> const drawn =
        new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    card_->draw(rect, drawn->getData(), drawn->lineStride());
    buffer->copyFrom(*drawn, rect);
}

#include "QelXyBox.h"

#include "QelValueText.h"
#include "ReadBack.h"

namespace {

QelValueRange between5And12() {
    return {inches(5.0), inches(7.0), 0, true, true};
}

bool isPeculiar(QelXyBox const & box) {
    return hasNoReadableText(box.xMin()) || hasNoReadableText(box.yMin()) ||
           hasNoReadableText(box.width()) || hasNoReadableText(box.height());
}

// Units that do not convert and negative widths are also refused, once everything is read.
bool isRefusalOfABox(int code) {
    return code == QelErrorCode::invalidValue || code == QelErrorCode::cannotConvertUnit ||
           code == QelErrorCode::illegalWidth;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(data, size, QelXyBox(between5And12(), between5And12()), isRefusalOfABox,
                 isPeculiar);
    return 0;
}

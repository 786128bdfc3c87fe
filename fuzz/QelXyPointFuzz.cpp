#include "QelXyPoint.h"

#include "QelValueText.h"
#include "ReadBack.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, QelXyPoint(pixels(5.0), inches(7.0)),
        [](int code) { return code == QelErrorCode::invalidValue; },
        [](QelXyPoint const & point) {
            return hasNoReadableText(point.x()) || hasNoReadableText(point.y());
        });
    return 0;
}

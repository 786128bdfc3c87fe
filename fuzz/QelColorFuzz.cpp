#include "QelColor.h"

#include "QelColorSpaces.h"
#include "ReadBack.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, QelColor(MoxSmartPtr<QelColorSpace>(new QelRGBColorSpace()), 7.0),
        [](int code) {
            return code == QelErrorCode::invalidValue || code == QelErrorCode::countsDiffer;
        },
        [](QelColor const &) { return false; });
    return 0;
}

#include "QelColorSpace.h"

#include "QelColorSpaces.h"
#include "ReadBack.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, MoxSmartPtr<QelColorSpace>(new QelLumColorSpace()),
        [](int code) { return code == QelErrorCode::invalidValue; },
        [](MoxSmartPtr<QelColorSpace> const &) { return false; });
    return 0;
}

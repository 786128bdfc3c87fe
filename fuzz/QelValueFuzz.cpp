#include "QelValueText.h"
#include "ReadBack.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, QelValue(7.5, QEL_UNIT_HOUR),
        [](int code) { return code == QelErrorCode::invalidValue; }, hasNoReadableText);
    return 0;
}

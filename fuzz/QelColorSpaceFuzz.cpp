#include "QelColorSpace.h"

#include <cmath>

#include "QelColorSpaces.h"
#include "ReadBack.h"

namespace {

// Infinities and what is no number have no text that reads.
bool hasNoReadableText(MoxSmartPtr<QelColorSpace> const & space) {
    return space && !(std::isfinite(space->minValue()) && std::isfinite(space->maxValue()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, MoxSmartPtr<QelColorSpace>(new QelLumColorSpace()),
        [](int code) { return code == QelErrorCode::invalidValue; }, hasNoReadableText);
    return 0;
}

#include "QelColor.h"

#include <algorithm>
#include <cmath>

#include "QelColorSpaces.h"
#include "ReadBack.h"

namespace {

// Infinities and what is no number have no text that reads.
bool isFinite(double number) {
    return std::isfinite(number);
}

bool hasNoReadableText(QelColor const & color) {
    MoxSmartPtr<QelColorSpace> const & space = color.colorSpace();
    if (space && !(isFinite(space->minValue()) && isFinite(space->maxValue()))) return true;
    return !std::all_of(color.codeValues().begin(), color.codeValues().end(), isFinite);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    fuzzReadBack(
        data, size, QelColor(MoxSmartPtr<QelColorSpace>(new QelRGBColorSpace()), 7.0),
        [](int code) {
            return code == QelErrorCode::invalidValue || code == QelErrorCode::countsDiffer;
        },
        hasNoReadableText);
    return 0;
}

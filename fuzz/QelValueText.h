#pragma once

#include <cmath>

#include "QelValue.h"

// "1 mil" is written but does not read, since "mil" begins "millimeter"; neither do infinities,
// which come out of conversions.
inline bool hasNoReadableText(QelValue const & value) {
    return !std::isfinite(value.value()) || (value.unit() == QEL_UNIT_MIL && value == 1.0);
}

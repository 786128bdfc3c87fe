#pragma once

#include <cmath>

#include "QelValue.h"

// "1 mil" is written but cannot be read, since "mil" begins "millimeter"; nor can infinities, which
// result from conversions.
inline bool hasNoReadableText(QelValue const & value) {
    return !std::isfinite(value.value()) || (value.unit() == QEL_UNIT_MIL && value == 1.0);
}

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "QelClients.h"
#include "TestOps.h"

// The operations, one element at a time, slow and plain: what tests compare with. Elements are
// doubles, which hold every element type exactly.

inline bool isReal(QelDataType type) {
    return type == QelDataType::Float || type == QelDataType::Double;
}

inline double limited(QelDataType type, double value) {
    double least = 0;
    double most = 0;
    QelCoreMisc::getDataTypeMinMaxValues(type, least, most);
    if (std::isnan(value)) return least;
    return std::clamp(value, least, most);
}

inline double invertedElement(QelDataType type, double value) {
    switch (type.code()) {
        case QelDataType::UChar: return 255 - value;
        case QelDataType::UShort: return 65535 - value;
        case QelDataType::ULong: return 4294967295.0 - value;
        case QelDataType::Float: return 1.0F - static_cast<float>(value);
        case QelDataType::Double: return 1 - value;
        default: return -1 - value;
    }
}

inline double linearElement(QelDataType type, double value, double gain, double offset) {
    double changed = 0;
    if (type == QelDataType::Double || (type.size() == 4 && !isReal(type))) {
        changed = value * gain + offset;
    } else {
        float const product = static_cast<float>(value) * static_cast<float>(gain);
        changed = product + static_cast<float>(offset);
    }
    return isReal(type) ? changed : std::nearbyint(limited(type, changed));
}

// The weights of three by three pixels, their common divisor, and whether the sum may leave the
// range of the elements.
struct Kernel {
    int weights[3][3];
    int divisor;
};

constexpr Kernel blurKernel{{{1, 2, 1}, {2, 4, 2}, {1, 2, 1}}, 16};
constexpr Kernel sharpenKernel{{{0, -1, 0}, {-1, 8, -1}, {0, -1, 0}}, 4};

// With the pixels at the edges of `image` repeated outside of it.
inline double weighedElement(Kernel const & kernel, QelDataType type, PixelFunction const & pixels,
                             QelRect const & image, std::int32_t x, std::int32_t y, int band) {
    double sum = 0;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            std::int32_t const px =
                std::clamp<std::int32_t>(x + dx, image.x, static_cast<std::int32_t>(image.right()));
            std::int32_t const py = std::clamp<std::int32_t>(
                y + dy, image.y, static_cast<std::int32_t>(image.bottom()));
            sum += kernel.weights[dy + 1][dx + 1] * pixels(px, py, band);
        }
    }
    double const mean = sum / kernel.divisor;
    return isReal(type) ? mean : limited(type, std::floor(mean + 0.5));
}

// How far a sum of real elements may be off, since its rounding depends on its order.
inline double tolerance(QelDataType type) {
    if (type == QelDataType::Float) return 1e-5;
    return type == QelDataType::Double ? 1e-13 : 0;
}

// Fails with the first pixel of `rect` that is wrong by more than the type's tolerance.
inline testing::AssertionResult isNearly(QelRectBuffer const & buffer, QelRect const & rect,
                                         PixelFunction const & expected) {
    double const allowed = tolerance(buffer.dataOrg()->precision());
    for (std::int32_t y = rect.y; y <= rect.bottom(); ++y) {
        for (std::int32_t x = rect.x; x <= rect.right(); ++x) {
            for (int band = 0; band < buffer.numBands(); ++band) {
                double const found = elementAt(buffer, x, y, band);
                double const wanted = expected(x, y, band);
                if (std::abs(found - wanted) <= allowed) continue;
                return testing::AssertionFailure() << "band " << band << " of pixel (" << x << ","
                                                   << y << ") is " << found << ", not " << wanted;
            }
        }
    }
    return testing::AssertionSuccess();
}

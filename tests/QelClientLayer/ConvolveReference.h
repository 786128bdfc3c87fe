#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "OpReference.h"

// Convolutions, one weight at a time, slow and plain: what tests compare with.

// One value for each element of some rectangle of pixels.
template <class Number>
class Elements {
  public:
    Elements(QelRect const & rect, int bands)
        : rect_(rect),
          bands_(bands),
          values_(static_cast<std::size_t>(std::int64_t{rect.width} * rect.height * bands)) {}

    QelRect const & rect() const { return rect_; }
    int bands() const { return bands_; }

    Number & at(std::int32_t x, std::int32_t y, int band) { return values_[place(x, y, band)]; }
    Number at(std::int32_t x, std::int32_t y, int band) const { return values_[place(x, y, band)]; }

    // With the pixels at the edges repeated outside.
    Number near(std::int32_t x, std::int32_t y, int band) const {
        return at(std::clamp(x, rect_.x, static_cast<std::int32_t>(rect_.right())),
                  std::clamp(y, rect_.y, static_cast<std::int32_t>(rect_.bottom())), band);
    }

    // The same pixels, each element made by make(x, y, band).
    template <class Other, class Make>
    Elements<Other> made(Make const & make) const {
        Elements<Other> result(rect_, bands_);
        for (std::int32_t y = rect_.y; y <= rect_.bottom(); ++y) {
            for (std::int32_t x = rect_.x; x <= rect_.right(); ++x) {
                for (int band = 0; band < bands_; ++band)
                    result.at(x, y, band) = make(x, y, band);
            }
        }
        return result;
    }

  private:
    std::size_t place(std::int32_t x, std::int32_t y, int band) const {
        std::int64_t const row = std::int64_t{y - rect_.y} * rect_.width;
        return static_cast<std::size_t>((row + x - rect_.x) * bands_ + band);
    }

    QelRect rect_;
    int bands_;
    std::vector<Number> values_;
};

inline Elements<double> elementsOf(QelRectBuffer const & buffer) {
    return Elements<double>(buffer.rect(), buffer.numBands())
        .made<double>([&](std::int32_t x, std::int32_t y, int band) {
            return elementAt(buffer, x, y, band);
        });
}

// The sum over a square of weight(i) * pixel, i counting row by row.
template <class Sum, class Number, class Weight>
Elements<Sum> weighedSquare(Elements<Number> const & from, std::int32_t reach,
                            Weight const & weight) {
    return from.template made<Sum>([&](std::int32_t x, std::int32_t y, int band) {
        Sum sum = 0;
        std::size_t i = 0;
        for (std::int32_t dy = -reach; dy <= reach; ++dy) {
            for (std::int32_t dx = -reach; dx <= reach; ++dx)
                sum += weight(i++) * static_cast<Sum>(from.near(x + dx, y + dy, band));
        }
        return sum;
    });
}

// The same over a row of pixels, or over a column.
template <class Sum, class Number, class Weight>
Elements<Sum> weighedLine(Elements<Number> const & from, std::int32_t reach, bool columns,
                          Weight const & weight) {
    return from.template made<Sum>([&](std::int32_t x, std::int32_t y, int band) {
        Sum sum = 0;
        std::size_t i = 0;
        for (std::int32_t d = -reach; d <= reach; ++d) {
            std::int32_t const dx = columns ? 0 : d;
            std::int32_t const dy = columns ? d : 0;
            sum += weight(i++) * static_cast<Sum>(from.near(x + dx, y + dy, band));
        }
        return sum;
    });
}

// In exact arithmetic, as far as doubles go.
inline Elements<double> convolvedExactly(Elements<double> const & from,
                                         QelConvolutionKernel const & kernel) {
    std::vector<double> const & weights = kernel.weights();
    auto const weight = [&](std::size_t i) { return weights[i]; };
    if (!kernel.isSeparable()) return weighedSquare<double>(from, kernel.reach(), weight);
    auto const side = static_cast<std::size_t>(kernel.side());
    Elements<double> const rows = weighedLine<double>(from, kernel.reach(), false, weight);
    Elements<double> const columns = weighedLine<double>(
        rows, kernel.reach(), true, [&](std::size_t i) { return weights[side + i]; });
    return from.made<double>([&](std::int32_t x, std::int32_t y, int band) {
        return columns.at(x, y, band) + kernel.centre() * from.at(x, y, band);
    });
}

inline std::int64_t flooredQuotient(std::int64_t value, std::int64_t divisor) {
    std::int64_t const quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

// To the nearest, halves upwards.
inline std::int64_t roundedQuotient(std::int64_t value, std::int64_t divisor) {
    return flooredQuotient(value + divisor / 2, divisor);
}

// Weights as quantizeKernel() makes them in 16-bit arithmetic.
struct Quantised {
    explicit Quantised(QelConvolutionKernel const & kernel)
        : separable(kernel.isSeparable()), reach(kernel.reach()) {
        std::vector<double> const & weights = kernel.weights();
        std::size_t const count = separable ? weights.size() / 2 : weights.size();
        integers.resize(count);
        int negatives = 0;
        possible = !QelCoreMisc::quantizeKernel(weights.data(), static_cast<int>(count), 2, scale,
                                                negatives, integers.data());
        columnSign = separable && weights[count] < 0 ? -1 : 1;
        centre = static_cast<std::int64_t>(kernel.centre());
    }

    bool separable;
    std::int32_t reach;
    bool possible = false;
    int scale = 0;
    std::vector<int> integers;
    std::int64_t columnSign = 1;
    std::int64_t centre = 0;
};

// In fixed point, not yet limited to the range of a type. Rows of a separable kernel keep 7 bits of
// fraction.
inline Elements<std::int64_t> convolvedInFixedPoint(Elements<double> const & from,
                                                    Quantised const & kernel) {
    using Sums = Elements<std::int64_t>;
    auto const weight = [&](std::size_t i) { return std::int64_t{kernel.integers[i]}; };
    if (!kernel.separable) {
        Sums const sums = weighedSquare<std::int64_t>(from, kernel.reach, weight);
        return from.made<std::int64_t>([&](std::int32_t x, std::int32_t y, int band) {
            return roundedQuotient(sums.at(x, y, band), kernel.scale);
        });
    }
    Sums const sums = weighedLine<std::int64_t>(from, kernel.reach, false, weight);
    Sums const rows = from.made<std::int64_t>([&](std::int32_t x, std::int32_t y, int band) {
        return roundedQuotient(sums.at(x, y, band), kernel.scale / 128);
    });
    Sums const columns = weighedLine<std::int64_t>(rows, kernel.reach, true, weight);
    std::int64_t const one = std::int64_t{kernel.scale} * 128;
    return from.made<std::int64_t>([&](std::int32_t x, std::int32_t y, int band) {
        auto const pixel = static_cast<std::int64_t>(from.at(x, y, band));
        return roundedQuotient(
            kernel.columnSign * columns.at(x, y, band) + kernel.centre * pixel * one, one);
    });
}

// The sum of the magnitudes of the weights, everything counted in, or a little more.
inline double magnitudesOf(QelConvolutionKernel const & kernel) {
    double sum = 0;
    for (double const weight : kernel.weights())
        sum += std::abs(weight);
    return kernel.isSeparable() ? sum * sum / 4 + kernel.centre() : sum;
}

inline bool isSmall(QelDataType type) {
    return type == QelDataType::UChar || type == QelDataType::Char;
}

// How far the result for one element may be from the exact one, as QelConvolveOp documents it;
// `largest` is the largest magnitude of a pixel.
inline double allowedError(QelDataType type, QelConvolutionKernel const & kernel, bool fixedPoint,
                           double largest) {
    double const magnitudes = magnitudesOf(kernel);
    auto const count = static_cast<double>(kernel.weights().size());
    if (fixedPoint) return 0.5 + magnitudes * (count + 1) / 32;
    bool const wide =
        type == QelDataType::Double || type == QelDataType::Long || type == QelDataType::ULong;
    double const epsilon = wide ? std::numeric_limits<double>::epsilon()
                                : double{std::numeric_limits<float>::epsilon()};
    // Each weight, product and sum is rounded once; the reference rounds, too.
    double const sum = (2 * count + 8) * epsilon * magnitudes * largest;
    return isReal(type) ? sum : 0.5 + sum;
}

// What a convolution should make of a picture: exactly, or nearly.
class ConvolveReference {
  public:
    ConvolveReference(QelDataType type, Elements<double> const & from,
                      QelConvolutionKernel const & kernel)
        : type_(type), exact_(convolvedExactly(from, kernel)), fixed_(QelRect(), 0) {
        Quantised const quantised(kernel);
        inFixedPoint_ = isSmall(type) && quantised.possible;
        if (inFixedPoint_) fixed_ = convolvedInFixedPoint(from, quantised);
        double largest = 0;
        from.made<double>([&](std::int32_t x, std::int32_t y, int band) {
            return largest = std::max(largest, std::abs(from.at(x, y, band)));
        });
        allowed_ = allowedError(type, kernel, inFixedPoint_, largest);
    }

    // Nothing if `found` is right; else what it should be.
    testing::AssertionResult agrees(std::int32_t x, std::int32_t y, int band, double found) const {
        double const exact =
            isReal(type_) ? exact_.at(x, y, band) : limited(type_, exact_.at(x, y, band));
        if (!(std::abs(found - exact) <= allowed_)) {
            return testing::AssertionFailure()
                   << place(x, y, band) << found << ", more than " << allowed_ << " from " << exact;
        }
        if (!inFixedPoint_) return testing::AssertionSuccess();
        double const expected = limited(type_, static_cast<double>(fixed_.at(x, y, band)));
        if (found == expected) return testing::AssertionSuccess();
        return testing::AssertionFailure() << place(x, y, band) << found << ", not " << expected;
    }

  private:
    static std::string place(std::int32_t x, std::int32_t y, int band) {
        return "band " + std::to_string(band) + " of pixel (" + std::to_string(x) + "," +
               std::to_string(y) + ") is ";
    }

    QelDataType type_;
    Elements<double> exact_;
    Elements<std::int64_t> fixed_;
    bool inFixedPoint_ = false;
    double allowed_ = 0;
};

// A random kernel of one of the kinds that there are.
inline QelConvolutionKernel randomKernel(Random & random, std::int32_t mostRadius) {
    int const kind = random.between(0, 6);
    if (kind == 0) return QelConvolutionKernel::blur(random.between(1, mostRadius));
    if (kind == 1) return QelConvolutionKernel::unsharp(random.between(1, mostRadius));
    std::int32_t const side = 2 * random.between(0, 4) + 1;
    std::vector<double> weights(static_cast<std::size_t>(side * side));
    // Blurs, mixed signs whose sum may be small beside their magnitudes, and few that are not 0.
    int const least = kind < 4 ? 0 : -100;
    for (double & weight : weights)
        weight = kind == 6 && random.coin() ? 0 : random.between(least, 100) / 8.0;
    return QelConvolutionKernel(weights);
}

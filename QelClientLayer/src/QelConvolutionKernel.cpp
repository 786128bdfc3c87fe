#include "QelConvolutionKernel.h"

#include <cmath>
#include <limits>
#include <string>

#include "QelError.h"

namespace {

// Raises invalidValue (13) unless `count` is the square of the side of a kernel.
std::int32_t reachOf(std::size_t count) {
    for (std::int32_t reach = 0; reach <= QelConvolutionKernel::maxReach; ++reach) {
        auto const side = static_cast<std::size_t>(2 * reach + 1);
        if (side * side == count) return reach;
    }
    qelRaise(QelErrorCode::invalidValue,
             "A kernel of " + std::to_string(count) +
                 " weights is impossible; their number must be 1, 9, 25 or another square of "
                 "an odd number up to 129");
}

// Decimal fractions that should add up to 0, such as 0.1 + 0.2 - 0.3, leave a rounding error;
// nothing may be divided by that.
std::vector<double> normalised(std::vector<double> weights) {
    double sum = 0;
    double magnitudes = 0;
    for (double const weight : weights) {
        sum += weight;
        magnitudes += std::abs(weight);
    }
    if (!std::isfinite(magnitudes)) {
        qelRaise(QelErrorCode::invalidValue,
                 "The weights of a kernel and the sum of their magnitudes must be finite");
    }
    double const rounding =
        magnitudes * static_cast<double>(weights.size()) * std::numeric_limits<double>::epsilon();
    if (std::abs(sum) > rounding) {
        for (double & weight : weights)
            weight /= sum;
    }
    return weights;
}

std::int32_t checkedRadius(std::int32_t radius) {
    if (radius < 1 || radius > QelConvolutionKernel::maxReach) {
        qelRaise(QelErrorCode::invalidValue, "The radius of a kernel is " + std::to_string(radius) +
                                                 ", it must lie between 1 and 64");
    }
    return radius;
}

// The coefficients grow to about 2^124, of which a double keeps the first 53 bits; only copying the
// first half makes the second its exact mirror.
std::vector<double> binomial(std::int32_t radius) {
    std::int32_t const n = 2 * radius;
    std::vector<double> weights(static_cast<std::size_t>(n) + 1);
    double weight = std::ldexp(1.0, -n);
    for (std::int32_t k = 0; k <= radius; ++k) {
        weights[static_cast<std::size_t>(k)] = weight;
        weights[static_cast<std::size_t>(n - k)] = weight;
        weight = weight * (n - k) / (k + 1);
    }
    return weights;
}

}  // namespace

QelConvolutionKernel::QelConvolutionKernel(std::vector<double> const & weights)
    : reach_(reachOf(weights.size())), weights_(normalised(weights)) {}

QelConvolutionKernel::QelConvolutionKernel(std::int32_t radius, double centre, double sign)
    : reach_(checkedRadius(radius)), separable_(true), centre_(centre), weights_(binomial(radius)) {
    std::vector<double> const rows = weights_;
    for (double const weight : rows)
        weights_.push_back(sign * weight);
}

QelConvolutionKernel::QelConvolutionKernel(QelConvolutionKernel const &) = default;
QelConvolutionKernel & QelConvolutionKernel::operator=(QelConvolutionKernel const &) = default;
QelConvolutionKernel::~QelConvolutionKernel() = default;

QelConvolutionKernel QelConvolutionKernel::blur(std::int32_t radius) {
    return {radius, 0, 1};
}

QelConvolutionKernel QelConvolutionKernel::unsharp(std::int32_t radius) {
    return {radius, 2, -1};
}

double QelConvolutionKernel::weight(std::int32_t dx, std::int32_t dy) const {
    if (dx < -reach_ || dx > reach_ || dy < -reach_ || dy > reach_) return 0;
    auto const column = static_cast<std::size_t>(dx + reach_);
    auto const row = static_cast<std::size_t>(dy + reach_);
    auto const size = static_cast<std::size_t>(side());
    if (!separable_) return weights_[row * size + column];
    return weights_[column] * weights_[size + row] + (dx == 0 && dy == 0 ? centre_ : 0);
}

#pragma once

#include <cstdint>
#include <vector>

#include "QelExport.h"

// The weights of a convolution: a square of 2 * reach + 1 pixels a side around each pixel. An
// immutable value.
//
// A kernel is one of two kinds. A general one has a weight for each pixel of the square. A
// separable one weights each row first and then the columns of the results, which takes 2 * side
// instead of side * side multiplications, and may add a multiple of the pixel itself.
class QEL_API QelConvolutionKernel {
  public:
    static constexpr std::int32_t maxReach = 64;

    // A general kernel: side * side weights, row by row from the top left. They are divided by
    // their sum, so that even areas keep their values, unless the sum is 0, or differs from 0 only
    // by rounding (for n weights: by n * 2^-52 of the sum of their magnitudes). Raises invalidValue
    // (13) unless their number is the square of an odd number up to 129 and the sum of their
    // magnitudes is finite.
    explicit QelConvolutionKernel(std::vector<double> const & weights);

    // A blur: rows and columns are weighted by the binomial coefficients of 2 * radius (1 2 1 for
    // radius 1), divided by their sum: the discrete counterpart of a Gaussian with the variance
    // radius / 2. Raises invalidValue (13) unless 1 <= radius <= 64.
    static QelConvolutionKernel blur(std::int32_t radius);

    // An unsharp mask: twice the pixel minus its blur(). Raises invalidValue (13) likewise.
    static QelConvolutionKernel unsharp(std::int32_t radius);

    QelConvolutionKernel(QelConvolutionKernel const &);
    QelConvolutionKernel & operator=(QelConvolutionKernel const &);
    ~QelConvolutionKernel();

    std::int32_t reach() const { return reach_; }
    std::int32_t side() const { return 2 * reach_ + 1; }
    bool isSeparable() const { return separable_; }

    // The factor of the pixel itself, which is added; 0 for a general kernel.
    double centre() const { return centre_; }
    // Row by row; for a separable kernel, first the weights within rows, then those of columns.
    std::vector<double> const & weights() const { return weights_; }

    // The total weight of the pixel `dx` to the right and `dy` below; 0 beyond the reach.
    double weight(std::int32_t dx, std::int32_t dy) const;

    friend bool operator==(QelConvolutionKernel const &, QelConvolutionKernel const &) = default;

  private:
    QelConvolutionKernel(std::int32_t radius, double centre, double sign);

    std::int32_t reach_ = 0;
    bool separable_ = false;
    double centre_ = 0;
    std::vector<double> weights_;
};

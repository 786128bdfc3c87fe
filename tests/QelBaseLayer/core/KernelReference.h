#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

// What quantised kernels are compared with: the rules one after the other, in doubles and with no
// care for speed. After each change the largest residue is looked for from the front.

// The results of a quantisation; of a failure, only that it is one.
struct QuantizedKernel {
    bool failed = true;
    int scale = 0;
    int negativeSum = 0;
    std::vector<int> integers{};
    // The sums that the integers should have.
    double goalAbs = 0;
    double goalNet = 0;

    bool operator==(QuantizedKernel const & other) const {
        return failed == other.failed && scale == other.scale && negativeSum == other.negativeSum &&
               integers == other.integers;
    }
};

inline std::string textOf(std::vector<double> const & kernel) {
    std::ostringstream text;
    text.precision(17);
    for (double const element : kernel)
        text << element << ' ';
    return text.str();
}

inline std::ostream & operator<<(std::ostream & stream, QuantizedKernel const & kernel) {
    if (kernel.failed) return stream << "failure";
    stream << "scale " << kernel.scale << " negativeSum " << kernel.negativeSum << ':';
    for (int const integer : kernel.integers)
        stream << ' ' << integer;
    return stream;
}

class KernelReference {
  public:
    static double limitOf(int level) { return level < 2 ? 256 : 16384; }

    static double absSumOf(std::vector<double> const & kernel) {
        double sum = 0;
        for (double const element : kernel)
            sum += std::fabs(element);
        return sum;
    }

    static bool isSymmetric(std::vector<double> const & kernel) {
        return std::equal(kernel.begin(), kernel.end(), kernel.rbegin());
    }

    // 0 on failure.
    static double scaleFor(std::vector<double> const & kernel, int level) {
        double scale = limitOf(level);
        while (scale >= 1 && !(std::trunc(scale * absSumOf(kernel) + 0.2) <= limitOf(level)))
            scale = std::trunc(scale / 2);
        return scale;
    }

    static QuantizedKernel quantize(std::vector<double> const & kernel, int level, int requested) {
        KernelReference reference(kernel, limitOf(level));
        if (!reference.findScale(requested)) return {};
        reference.cut();
        if (isSymmetric(kernel)) reference.settleOddDifference();
        reference.spread();
        return reference.result();
    }

  private:
    KernelReference(std::vector<double> const & kernel, double limit)
        : kernel_(kernel), n_(kernel.size()), limit_(limit) {
        for (double const element : kernel) {
            if (element > 0) positive_ += element;
            if (element < 0) negative_ += element;
            finite_ = finite_ && std::isfinite(element);
        }
        finite_ = finite_ && std::isfinite(positive_ - negative_);
    }

    void setScale(double scale) {
        scale_ = scale;
        goalAbs_ = std::trunc(scale * (positive_ - negative_) + 0.2);
        goalNet_ = std::trunc(scale * (positive_ + negative_) + 0.2);
    }

    bool findScale(double requested) {
        if (!finite_ || requested == -2147483648.0) return false;
        setScale(requested != 0 ? std::fabs(requested) : limit_);
        if (requested != 0) return goalAbs_ <= limit_;
        while (goalAbs_ > limit_) {
            if (scale_ == 1) return false;
            setScale(scale_ / 2);
        }
        while (goalAbs_ > 0 && goalAbs_ < limit_ / 2)
            setScale(scale_ * 2);
        return true;
    }

    void cut() {
        firstGoalAbs_ = goalAbs_;
        firstGoalNet_ = goalNet_;
        for (double const element : kernel_) {
            double const whole = std::trunc(element * scale_);
            out_.push_back(whole);
            residues_.push_back(element * scale_ - whole);
            actualAbs_ += std::fabs(whole);
            actualNet_ += whole;
        }
        if (actualAbs_ > goalAbs_) {
            goalAbs_ = actualAbs_;
            goalNet_ = actualNet_;
        }
    }

    void settleOddDifference() {
        bool const oddAbs = std::fmod(goalAbs_ - actualAbs_, 2) != 0;
        bool const oddNet = std::fmod(goalNet_ - actualNet_, 2) != 0;
        bool const hasCentre = n_ % 2 != 0;
        if (hasCentre) residues_[n_ / 2] = 0;
        if (hasCentre ? !oddAbs : !oddAbs && !oddNet) return;
        if (hasCentre) out_[n_ / 2] += 1;
        actualAbs_ += 1;
        actualNet_ += 1;
    }

    void move(std::size_t i, double step) {
        out_[i] += step;
        residues_[i] = 0;
        actualAbs_ += 1;
        actualNet_ += step;
    }

    void spread() {
        bool const symmetric = isSymmetric(kernel_);
        while (actualNet_ != goalNet_ && actualAbs_ < goalAbs_) {
            std::size_t largest = 0;
            for (std::size_t i = 1; i < n_; ++i) {
                if (std::fabs(residues_[i]) > std::fabs(residues_[largest])) largest = i;
            }
            if (residues_[largest] == 0) return;
            double const step = residues_[largest] > 0 ? 1 : -1;
            move(largest, step);
            if (symmetric && n_ - 1 - largest != largest) move(n_ - 1 - largest, step);
        }
    }

    QuantizedKernel result() const {
        QuantizedKernel result{false, static_cast<int>(scale_)};
        for (double const value : out_) {
            result.integers.push_back(static_cast<int>(value));
            if (value < 0) result.negativeSum -= static_cast<int>(value);
        }
        result.goalAbs = firstGoalAbs_;
        result.goalNet = firstGoalNet_;
        return result;
    }

    std::vector<double> kernel_;
    std::size_t n_;
    double limit_;
    double positive_ = 0;
    double negative_ = 0;
    bool finite_ = true;
    double scale_ = 0;
    double goalAbs_ = 0;
    double goalNet_ = 0;
    double firstGoalAbs_ = 0;
    double firstGoalNet_ = 0;
    double actualAbs_ = 0;
    double actualNet_ = 0;
    std::vector<double> out_;
    std::vector<double> residues_;
};

// Kernels by chance: of 1 to 60 elements, every other one symmetric, of magnitudes from 1e-6 to
// 1e6, and some with elements that are equal or 0.
class RandomKernels {
  public:
    explicit RandomKernels(unsigned seed) : random_(seed) {}

    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

    double real(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random_);
    }

    std::vector<double> next(double lowestExponent = -6, double highestExponent = 6) {
        std::vector<double> kernel(static_cast<std::size_t>(pick(1, 60)));
        double const magnitude = std::pow(10, real(lowestExponent, highestExponent));
        double const lowest = pick(0, 1) != 0 ? -1 : 0;
        bool const coarse = pick(0, 3) == 0;
        for (double & element : kernel) {
            double const share = real(lowest, 1);
            element = magnitude * (coarse ? std::round(share * 4) / 4 : share);
        }
        if (pick(0, 1) != 0) mirror(kernel);
        return kernel;
    }

  private:
    static void mirror(std::vector<double> & kernel) {
        for (std::size_t i = 0; i < kernel.size() / 2; ++i)
            kernel[kernel.size() - 1 - i] = kernel[i];
    }

    std::mt19937 random_;
};

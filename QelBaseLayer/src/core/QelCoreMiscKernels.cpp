#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

#include "QelCoreMisc.h"
#include "ZanPlatformMMX.h"

namespace {

using Kernel = std::span<double const>;

// The level of the tables of kernels, and its limit.
constexpr int tableLevel = 2;
constexpr int tableLimit = 16384;

Kernel kernelOf(double const * elements, int n) {
    return n > 0 ? Kernel(elements, static_cast<std::size_t>(n)) : Kernel();
}

double sumOfAbs(Kernel kernel) {
    double sum = 0.0;
    for (double const element : kernel)
        sum += std::fabs(element);
    return sum;
}

struct SignedSums {
    double positive = 0.0;
    double negative = 0.0;
};

// An element that is not a number lands in a sum, too, so that it shows there.
SignedSums signedSumsOf(Kernel kernel) {
    SignedSums sums;
    for (double const element : kernel)
        (element < 0.0 ? sums.negative : sums.positive) += element;
    return sums;
}

// Sums of integers: of their magnitudes and of their values.
struct IntSums {
    int abs = 0;
    int net = 0;
};

// A scale, and the sums that integers of that scale should have.
struct Goal {
    int scale = 0;
    IntSums sums;
};

// The 0.2 lets a sum that lies just below an integer, by rounding or by design, count as it.
double inSteps(double sum, int scale) {
    return std::trunc(scale * sum + 0.2);
}

// None if the sum exceeds the limit or is not a number. Compared as doubles: only what is known
// to be small is turned into an int. The net sum is never larger than that of the magnitudes.
std::optional<Goal> goalAt(SignedSums const & sums, int scale, int limit) {
    double const abs = inSteps(sums.positive - sums.negative, scale);
    if (!(abs <= limit)) return std::nullopt;
    double const net = inSteps(sums.positive + sums.negative, scale);
    return Goal{scale, {static_cast<int>(abs), static_cast<int>(net)}};
}

std::optional<Goal> goalFromLimitDown(SignedSums const & sums, int limit) {
    for (int scale = limit; scale >= 1; scale /= 2) {
        if (std::optional<Goal> const goal = goalAt(sums, scale, limit)) return goal;
    }
    return std::nullopt;
}

// A sum below half the limit cannot exceed the limit when it is doubled. Since it starts at 1 at
// least, it reaches that half before the scale leaves the range of an int.
std::optional<Goal> goalAtBestScale(SignedSums const & sums, int limit) {
    std::optional<Goal> goal = goalFromLimitDown(sums, limit);
    while (goal && goal->sums.abs > 0 && goal->sums.abs < limit / 2)
        goal = goalAt(sums, goal->scale * 2, limit);
    return goal;
}

std::optional<Goal> goalFor(Kernel kernel, int limit, int requestedScale) {
    SignedSums const sums = signedSumsOf(kernel);
    if (requestedScale == 0) return goalAtBestScale(sums, limit);
    if (requestedScale == INT_MIN) return std::nullopt;
    return goalAt(sums, std::abs(requestedScale), limit);
}

bool isSymmetric(Kernel kernel) {
    std::size_t const n = kernel.size();
    for (std::size_t i = 0; i < n / 2; ++i) {
        if (kernel[i] != kernel[n - 1 - i]) return false;
    }
    return true;
}

bool isOdd(int value) {
    return value % 2 != 0;
}

// What an element lost when it was cut to an integer.
struct Residue {
    double lost;
    std::size_t index;
};

// Short kernels, as nearly all are, need no heap.
class Residues {
  public:
    explicit Residues(std::size_t n)
        : heap_(n > local_.size() ? n : 0),
          all_(heap_.empty() ? std::span(local_).first(n) : std::span(heap_)) {}
    Residues(Residues const &) = delete;
    Residues & operator=(Residues const &) = delete;

    std::span<Residue> all() const { return all_; }

  private:
    std::array<Residue, 20> local_;
    std::vector<Residue> heap_;
    std::span<Residue> all_;
};

// Cuts every element towards zero. `residues` may be shorter than the kernel: it gets those of
// the first elements.
IntSums cut(Kernel kernel, int scale, std::span<int> out, std::span<Residue> residues) {
    IntSums sums;
    for (std::size_t i = 0; i < kernel.size(); ++i) {
        double const exact = kernel[i] * scale;
        out[i] = static_cast<int>(exact);
        if (i < residues.size()) residues[i] = {exact - out[i], i};
        sums.abs += std::abs(out[i]);
        sums.net += out[i];
    }
    return sums;
}

// Pairs can only change by two, so an odd difference is settled ahead of them: the centre takes
// it, or if there is none it counts as made up for.
void settleOddDifference(IntSums const & goal, std::span<int> out, IntSums & actual) {
    bool const hasCentre = out.size() % 2 != 0;
    bool const odd = isOdd(goal.abs - actual.abs) || (!hasCentre && isOdd(goal.net - actual.net));
    if (!odd) return;
    if (hasCentre) ++out[out.size() / 2];
    ++actual.abs;
    ++actual.net;
}

// Moves the elements that lost most away from zero until either goal is reached. Sorted once: a
// residue only ever changes by being used up, so the largest one left is always the next one of
// the order at the start.
void spread(IntSums const & goal, bool inPairs, std::span<Residue> residues, std::span<int> out,
            IntSums actual) {
    std::sort(residues.begin(), residues.end(), [](Residue const & a, Residue const & b) {
        double const absA = std::fabs(a.lost);
        double const absB = std::fabs(b.lost);
        return absA != absB ? absA > absB : a.index < b.index;
    });
    for (Residue const & residue : residues) {
        if (actual.net == goal.net || actual.abs >= goal.abs || residue.lost == 0.0) return;
        int const step = residue.lost > 0.0 ? 1 : -1;
        int const elements = inPairs ? 2 : 1;
        out[residue.index] += step;
        if (inPairs) out[out.size() - 1 - residue.index] += step;
        actual.abs += elements;
        actual.net += elements * step;
    }
}

// Allocates, if at all, ahead of the first change. The first half of a symmetric kernel has all
// the residues: the mirror of an element has the same one, is later in the order and is used up
// with it, and the centre has done its part with the odd difference.
void quantize(Kernel kernel, Goal const & goal, std::span<int> out) {
    bool const symmetric = isSymmetric(kernel);
    Residues const residues(symmetric ? kernel.size() / 2 : kernel.size());
    IntSums actual = cut(kernel, goal.scale, out, residues.all());
    // Only rounding in the sums of a huge kernel could put its goal below its parts.
    IntSums const target = actual.abs > goal.sums.abs ? actual : goal.sums;
    if (symmetric) settleOddDifference(target, out, actual);
    spread(target, symmetric, residues.all(), out, actual);
}

int magnitudeOfNegatives(std::span<int const> integers) {
    int sum = 0;
    for (int const integer : integers)
        sum -= std::min(integer, 0);
    return sum;
}

struct FixedPointKernel {
    int scale = 0;
    std::vector<int> integers;
};

std::optional<FixedPointKernel> fixedPointKernel(Kernel kernel, int requestedScale) {
    std::optional<Goal> const goal = goalFor(kernel, tableLimit, requestedScale);
    if (!goal) return std::nullopt;
    FixedPointKernel result{goal->scale, std::vector<int>(kernel.size())};
    quantize(kernel, *goal, result.integers);
    return result;
}

std::vector<double> copyOf(Kernel kernel, bool reverse) {
    std::vector<double> copy(kernel.begin(), kernel.end());
    if (reverse) std::reverse(copy.begin(), copy.end());
    return copy;
}

// Leaves room for the offset in B, and makes up for that in A.
void normalize(std::vector<double> & a, std::vector<double> & b, double absSumB, int offsetB) {
    if (absSumB == 0.0) return;
    double const factor = (1.0 - static_cast<double>(offsetB) / tableLimit) / absSumB;
    if (factor == 0.0) return;
    for (double & element : b)
        element *= factor;
    for (double & element : a)
        element /= factor;
}

std::optional<FixedPointKernel> secondKernel(std::vector<double> const & a,
                                             FixedPointKernel const & first, int offset) {
    std::optional<Goal> const goal = goalFromLimitDown({sumOfAbs(a), 0.0}, tableLimit);
    if (!goal) return std::nullopt;
    int scale = goal->scale;
    if (std::int64_t{magnitudeOfNegatives(first.integers)} + offset > tableLimit) scale /= 2;
    // As a request, 0 would ask for any scale.
    if (scale < 1) return std::nullopt;
    return fixedPointKernel(a, scale);
}

std::int32_t * writeHeader(int scale, std::int32_t * table) {
    *table++ = scale / 2;
    *table++ = 0;
    *table++ = static_cast<int>(std::bit_width(static_cast<unsigned>(scale))) - 1;
    return table;
}

template <class Word>
Word * writeElement(std::uint64_t element, Word * table) {
    *table++ = static_cast<Word>(static_cast<std::uint32_t>(element));
    *table++ = static_cast<Word>(static_cast<std::uint32_t>(element >> 32));
    return table;
}

void writePlain(FixedPointKernel const & kernel, std::int32_t * table) {
    if (table == nullptr) return;
    std::copy(kernel.integers.begin(), kernel.integers.end(), writeHeader(kernel.scale, table));
}

void writePacked(FixedPointKernel const & kernel, bool reverse, std::int32_t * table) {
    if (table == nullptr) return;
    table = writeHeader(kernel.scale, table);
    std::vector<int> const & integers = kernel.integers;
    std::size_t const paired = integers.size() / 2 * 2;
    for (std::size_t i = 0; i < paired; i += 2) {
        table = writeElement(
            ZanPlatformMMX::makeMMXIntKernelElement2x(integers[i], integers[i + 1]), table);
    }
    if (paired == integers.size()) return;
    int const last = integers.back();
    writeElement(ZanPlatformMMX::makeMMXIntKernelElement2x(reverse ? 0 : last, reverse ? last : 0),
                 table);
}

}  // namespace

int QelCoreMisc::fixedPointLimit(int level) {
    return level < tableLevel ? 256 : tableLimit;
}

bool QelCoreMisc::chooseKernelScale(double const * kernel, int n, int level, int & scale,
                                    int & sumOut) {
    SignedSums const magnitudes{sumOfAbs(kernelOf(kernel, n)), 0.0};
    std::optional<Goal> const goal = goalFromLimitDown(magnitudes, fixedPointLimit(level));
    if (!goal) return true;
    scale = goal->scale;
    sumOut = goal->sums.abs;
    return false;
}

bool QelCoreMisc::quantizeKernel(double const * kernel, int n, int level, int & scale,
                                 int & negativeSum, int * out) {
    Kernel const elements = kernelOf(kernel, n);
    std::optional<Goal> const goal = goalFor(elements, fixedPointLimit(level), scale);
    if (!goal) return true;
    if (out == nullptr) return false;
    std::span<int> const integers(out, elements.size());
    quantize(elements, *goal, integers);
    negativeSum = magnitudeOfNegatives(integers);
    scale = goal->scale;
    return false;
}

bool QelCoreMisc::makeFixedPointKernels(double const * kernelA, int countA, double const * kernelB,
                                        int countB, int offsetA, int offsetB, bool reverse,
                                        std::int32_t * tableA, std::int32_t * tableB,
                                        std::int32_t * packedA, std::int32_t * packedB) {
    std::vector<double> a = copyOf(kernelOf(kernelA, countA), reverse);
    std::vector<double> b = copyOf(kernelOf(kernelB, countB), reverse);
    double const absSumB = sumOfAbs(b);
    if (!(absSumB <= 2.0)) return true;
    bool const hasOffsets = offsetA >= 0 && offsetB >= 0;
    if (hasOffsets) normalize(a, b, absSumB, offsetB);

    std::optional<FixedPointKernel> const first = fixedPointKernel(b, 0);
    if (!first) return true;
    std::optional<FixedPointKernel> const second =
        secondKernel(a, *first, hasOffsets ? offsetA : 0);
    if (!second) return true;

    writePlain(*second, tableA);
    writePlain(*first, tableB);
    writePacked(*second, reverse, packedA);
    writePacked(*first, reverse, packedB);
    return false;
}

void QelCoreMisc::makeClampConstants(int low, int high, std::uint32_t * table) {
    std::int64_t const aboveHigh = std::int64_t{32767} - high;
    for (std::int64_t const constant :
         {std::int64_t{32768}, aboveHigh, aboveHigh + low + 32768, std::int64_t{low}}) {
        int const lane = static_cast<int>(constant & 0xFFFF);
        table = writeElement(ZanPlatformMMX::makeMMXIntKernelElement4x(lane), table);
    }
}

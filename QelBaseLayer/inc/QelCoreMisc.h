#pragma once

#include <cstdint>
#include <string>
#include <typeinfo>

#include "QelDataType.h"
#include "ZanSourceLocation.h"

// Utilities of the core that belong to no object. Safe from any thread.
//
// Fixed-point kernels: a convolution kernel of n doubles becomes n integers, integer[i] being
// about kernel[i] * scale, so that an inner loop over integer samples needs no floating point:
//
//     int sum = scale / 2;                      // makes the shift round to the nearest
//     for (int i = 0; i < n; ++i) sum += integer[i] * sample[i];
//     int const result = sum >> halvings;       // halvings is log2(scale)
//
// scale How many integer steps represent the factor 1.0. A scale that the library chooses is a
//        power of two, at least 1 and at most 2^28, so that the division by it is a shift.
// limit  The largest sum of the integers' magnitudes, and so a bound on every sum in the loop:
//        it is at most limit times the largest magnitude of a sample, plus half the scale.
// level  Selects the limit by the width of the loop's arithmetic. Below 2 the limit is 256: 8-bit
//        samples under a kernel without negative elements add up to at most 65280, 16 bits. From 2
//        on the limit is 16384: 16-bit samples add up to less than 2^30, a signed 32-bit sum.
//
// The operations on kernels return true on failure and false on success. A failure, like a raised
// std::bad_alloc, leaves every output parameter, array and table as it was. A kernel whose sum of
// magnitudes is not finite (an element is infinite or not a number, or the sum overflows) is a
// failure. n <= 0 is an empty kernel: its sums are 0 and its address is not used. Otherwise,
// Requires: a kernel's address points to n elements.
class QEL_API QelCoreMisc {
  public:
    QelCoreMisc() = delete;

    // The smallest and the largest value of an element type. Raises unsupportedDataType (118) for
    // Mixed, Error and every type outside the table.
    static void getDataTypeMinMaxValues(QelDataType type, double & min, double & max);

    // Raises unsupportedDataType (118): "The data type ", the name, " is not a supported data type
    // in " and `where`.
    [[noreturn]] static void raiseUnsupportedDataType(QelDataType type, std::string const & where,
                                                      char const * file, int line);

    // Turns the compiler's name of a type into a short one: without "class ", "struct ", "enum ",
    // "__cdecl" and "std::", every "allocator<...>" as "A", and "> >" for ">>". Returns an
    // address that stays valid for the life of the process; null counts as empty.
    static char const * cleanTypeName(char const * raw);

    // cleanTypeName() of a type, or of an object's most derived class.
    static char const * typeNameOf(std::type_info const & type);
    template <class T>
    static char const * classNameOf(T const & object) {
        return typeNameOf(typeid(object));
    }

    // The limit of a level: 256 below 2, otherwise 16384.
    static int fixedPointLimit(int level);

    // Finds the largest scale, halving from the limit downwards, at which the kernel stays within
    // the limit. `sumOut` is the sum of the magnitudes in integer steps,
    //     trunc(scale * sum of |kernel[i]| + 0.2),
    // and at most the limit. Fails if even the scale 1 exceeds the limit.
    [[nodiscard]] static bool chooseKernelScale(double const * kernel, int n, int level,
                                                int & scale, int & sumOut);

    // Turns a kernel into `n` integers. The integers' sum, and the sum of their magnitudes, come
    // as close as the rules below allow to the goals
    //     trunc(scale * sum of kernel[i] + 0.2)  and  trunc(scale * sum of |kernel[i]| + 0.2),
    // which keeps a flat area at its value better than rounding each element alone. The sum of the
    // magnitudes never exceeds its goal, and the goal never the limit.
    //
    // `scale` comes in as the requested scale and goes out as the one that was used:
    // - 0 chooses. Halving from the limit downwards, the first scale that stays within the limit;
    //   for a kernel that leaves more than half of the limit unused, a larger scale, doubled until
    //   the goal of the magnitudes is at least half the limit. A kernel whose goal is 0 (all zeros,
    //   say) keeps scale = limit.
    // - Any other value is used with its sign dropped, and need not be a power of two.
    //
    // Every integer is kernel[i] * scale truncated towards zero. Then, until the goal of the sum or
    // of the magnitudes is reached, the elements that lost most move away from zero by one: each at
    // most once, the first of equals first. A kernel with kernel[i] == kernel[n - 1 - i] throughout
    // gives integers with the same symmetry: elements move in pairs, and an odd difference makes
    // the centre one larger; without a centre it remains.
    //
    // `negativeSum` is the magnitude of the sum of the negative integers: the loop's sum never
    // falls below -negativeSum times the largest sample, for samples that are not negative.
    // `out` holds n integers. If it is null, the call only reports whether the kernel can be
    // quantised, and changes nothing.
    //
    // Fails if the kernel exceeds the limit with the requested scale, or with the scale 1 if
    // none was requested, or if INT_MIN was requested, which has no magnitude.
    [[nodiscard]] static bool quantizeKernel(double const * kernel, int n, int level, int & scale,
                                             int & negativeSum, int * out);

    // Quantises two kernels that are used one after the other, in 16-bit arithmetic (level 2,
    // limit 16384): B on the samples, A on B's results. One is multiplied by a factor and the other
    // divided by it, so their combined gain is unchanged.
    //
    // `offsetA` and `offsetB` are the constants that the loops add to the kernels' sums, in steps
    // of 1/16384. If both are at least 0, B is multiplied by
    //     f = (1 - offsetB / 16384.0) / sum of |kernelB[i]|
    // and A divided by it: B's magnitudes and its offset then reach the limit together. (An
    // `offsetB` above 16384 thus flips the signs of both kernels.) If B is all zeros or f is 0,
    // both kernels stay as they are. If either offset is negative, they also stay as they are, and
    // both offsets count as 0. A's scale is halved once if the magnitude of B's negative integers
    // and `offsetA` together exceed the limit.
    //
    // `reverse` reverses the order of both kernels. The integers of a kernel of n elements go to
    // two kinds of tables, and a null table is skipped:
    // - Plain (`tableA`, `tableB`): 3 + n values. [0] half the scale, [1] 0, [2] log2(scale), and
    //   from [3] on the integers.
    // - Packed (`packedA`, `packedB`): 3 + 2 * ceil(n / 2) values. The same first three, then for
    //   each pair of integers one 64-bit element of ZanPlatformMMX::makeMMXIntKernelElement2x, the
    //   low word first. The last one of an odd number of integers is paired with 0, which goes in
    //   the high half, or in the low half if `reverse` is set.
    //
    // Fails if the sum of B's magnitudes is above 2.0, if either kernel cannot be quantised, or if
    // halving takes A's scale below 1. Requires: the tables do not overlap.
    [[nodiscard]] static bool makeFixedPointKernels(double const * kernelA, int countA,
                                                    double const * kernelB, int countB, int offsetA,
                                                    int offsetB, bool reverse,
                                                    std::int32_t * tableA, std::int32_t * tableB,
                                                    std::int32_t * packedA, std::int32_t * packedB);

    // The constants with which four 16-bit lanes x are clamped to [low, high], both inclusive,
    // without a comparison: add table element 0 (wrapping), add element 1 (unsigned, saturating),
    // subtract element 2 (unsigned, saturating), add element 3 (wrapping). The elements hold, in
    // every lane, 32768, 32767 - high, 32767 - high + low + 32768, and low.
    // `table` gets eight words: four 64-bit elements, the low word first.
    // Requires: -32768 <= low <= high <= 32767.
    static void makeClampConstants(int low, int high, std::uint32_t * table);
};

#pragma once

#include <concepts>
#include <iosfwd>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelColorSpace.h"

// One colour: code values and the space that gives them meaning. The space may be null. Otherwise
// there is one value for each of its bands, within its range, both ends inclusive.
//
// A value; copies share the space. One thread changes a colour. Except for setColorSpace(space,
// clamp, fromZero), an operation that raises changes nothing.
class QEL_API QelColor {
  public:
    // Without a space: that many values of 0.0. Raises invalidValue (13) "A color cannot have ",
    // the count and " code values" for a negative count. A lone code value is not a count and does
    // not compile.
    explicit QelColor(int count = 3);
    template <std::floating_point Number>
    explicit QelColor(Number) = delete;
    // Without a space: `count` values from `codes` on. Raises invalidValue (13) for a negative
    // count, nullPointer (4) "QelColor cannot be constructed from a null pointer to code values"
    // for null where the count is not 0.
    QelColor(double const * codes, int count);
    template <std::floating_point Number>
    QelColor(double const * codes, Number count) = delete;

    // All constructors with a space raise nullPointer (4) "QelColor cannot be constructed from
    // pointer to color space, if pointer value is NULL", and invalidValue (13) for a value outside
    // the range or a negative number of bands. These set all bands to the minimum, or to `code`.
    explicit QelColor(MoxSmartPtr<QelColorSpace> space);
    QelColor(MoxSmartPtr<QelColorSpace> space, double code);
    // The first three bands; any others are at the minimum. Raises countsDiffer (400) for fewer
    // than three.
    QelColor(MoxSmartPtr<QelColorSpace> space, double a, double b, double c);
    // Raises countsDiffer (400) unless there are as many values as bands.
    QelColor(MoxSmartPtr<QelColorSpace> space, std::vector<double> const & codes);

    int numChannels() const { return static_cast<int>(codeValues_.size()); }
    MoxSmartPtr<QelColorSpace> const & colorSpace() const { return colorSpace_; }
    std::vector<double> const & codeValues() const { return codeValues_; }

    // Raise outOfRange (7) for a bad index; setCode() invalidValue (13) for a value outside the
    // range.
    double code(int index) const;
    void setCode(int index, double value);

    // Gives the same values another space. Raises countsDiffer (400) if the number of bands
    // differs, invalidValue (13) for a value outside its range. Null removes the space.
    void setColorSpace(MoxSmartPtr<QelColorSpace> space);

    // Sets another space and scales the values from the old range to the new one; like the form
    // above if either space is null. With `fromZero` they are multiplied by the ratio of the maxima
    // (of the minima if the old maximum is 0), so that 0 stays 0. With `clamp` they are then
    // limited to the new range. A value that leaves the new range only by rounding is always
    // limited. Raises countsDiffer (400) if the number of bands differs, and cannotRescale (153)
    // for an old range that gives no factor. The same code is raised for a value further outside
    // the new range: without `clamp`, or with it if the numbers are too large to scale or the new
    // range is empty. Earlier values are then already scaled.
    void setColorSpace(MoxSmartPtr<QelColorSpace> space, bool clamp, bool fromZero);

    // The same space (see QelColorSpace::isEqual()), or none in both, and exactly the same values.
    friend bool operator==(QelColor const & a, QelColor const & b) { return a.equals(b); }

  private:
    bool equals(QelColor const & other) const;
    void checkIndex(int index) const;
    void checkBands(QelColorSpace const & space) const;
    void rescale(QelColorSpace const & to);
    void rescaleFromZero(QelColorSpace const & to, bool clamp);

    MoxSmartPtr<QelColorSpace> colorSpace_;
    std::vector<double> codeValues_;
};

// `color` in `space`, scaled to its range, and limited to it with `clamp`. Works between a generic
// space and any other, and between ranges of one class; raises misuse (3) "Conversions between
// color spaces not implemented" otherwise. With a null space on either side, the values are
// unchanged.
QEL_API QelColor convert(QelColor const & color, bool clamp, MoxSmartPtr<QelColorSpace> space);

// "QelColor[", the space and ":" if there is one, "<", the values, separated by ",", and ">]".
// Raises invalidValue (13), and writes nothing, for a value that is infinite or NaN, and what
// QelColorSpace::write() raises: what is written can be read.
QEL_API std::ostream & operator<<(std::ostream & out, QelColor const & color);
// Reads that form; "NULL" is the colour without values. Raises invalidValue (13) "Invalid QelColor
// value", what the reader of the space raises, and what setColorSpace() raises; the colour is then
// unchanged.
QEL_API std::istream & operator>>(std::istream & in, QelColor & color);

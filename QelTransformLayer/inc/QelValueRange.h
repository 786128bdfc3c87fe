#pragma once

#include <iosfwd>

#include "QelValue.h"

// An interval along an axis. Each end belongs to it (closed) or not (open). Both are in the
// minimum's unit.
//
// Coordinates are continuous or discrete. Continuous ones measure: the width is the distance from
// end to end. Discrete ones count samples: the ends are integers (rounded to floor(v + 0.5)
// whenever they are set), and the width is the number of samples, so ten samples from 0 end at 9 if
// both ends are closed, at 10 if one is, and at 11 if neither is.
//
// A range of width 0.0 has both ends closed or both open; it contains nothing.
//
// A plain value, except that assignment keeps the target's unit, see operator=. Operations with
// values and ranges whose units do not convert raise cannotConvertUnit (306) and change nothing.
class QEL_API QelValueRange {
  public:
    // `width` may have another unit and is converted. `discrete` is 0 or not. Raises
    // illegalWidth (309) "Negative width value".
    QelValueRange(QelValue const & min, QelValue const & width, int discrete, bool minClosed,
                  bool maxClosed);
    QelValueRange(QelValueRange const &) = default;
    virtual ~QelValueRange();

    // Takes everything but the unit: both ends are converted to this range's unit.
    QelValueRange & operator=(QelValueRange const & other);
    // Takes everything, including the unit.
    void replaceWith(QelValueRange const & other);

    QelValue const & min() const { return min_; }
    QelValue const & max() const { return max_; }
    QelValue const & width() const { return width_; }
    bool minClosed() const { return minClosed_; }
    bool maxClosed() const { return maxClosed_; }
    int discrete() const { return discrete_; }
    int unit() const { return min_.unit(); }

    // Converts both ends. A continuous width is then the new distance of the ends, a discrete one
    // the number of samples between the rounded ends.
    void setUnit(int unit);
    void setDiscrete(int discrete);

    // The ends stay in place; the width of a discrete range follows. If both ends are at the same
    // place, both change. setOpen() sets both, and does nothing if both already are as requested.
    void setMinOpen(bool open);
    void setMaxOpen(bool open);
    void setOpen(bool open);

    // Keeps the width.
    void setMin(QelValue const & min);
    // Keeps the minimum. Raises illegalWidth (309) "Negative width value".
    void setWidth(QelValue const & width);

    // Keep the other end. Raise invertedRange (308) "Range with min value of ", the minimum, " and
    // max value of ", the maximum, " (unit identifier = ", the unit's and ")" if the maximum would
    // be below the minimum by more than the tolerance; the ends are then already changed.
    void setMinKeepMax(QelValue const & min);
    void setMax(QelValue const & max);
    void setMinMax(QelValue const & min, QelValue const & max);

    // Moves both ends; a discrete range by the nearest whole number.
    void translate(QelValue const & distance);
    // Multiplies the minimum and the width. A negative factor mirrors the range first.
    void scale(double factor);

    // Without tolerance. A discrete range tests the floor of `position`.
    bool contains(QelValue const & position) const;

    // The intersection, in this range's unit, and discrete if this range is. Ends compare with the
    // unit's tolerance. Disjoint ranges give one of width 0.0 at 0.0 with both ends open.
    QelValueRange intersect(QelValueRange const & other) const;

  private:
    struct Ends;

    void roundIfDiscrete(QelValue & value) const;
    void roundEnds();
    void computeMax();
    void computeWidth();
    void followWidth();
    void checkOrder() const;
    bool isPoint() const;
    bool hasExtent() const;

    QelValue min_;
    QelValue max_;
    QelValue width_;
    bool minClosed_;
    bool maxClosed_;
    int discrete_;
};

// "[" or "(" for a closed or open minimum, the minimum, ", ", the maximum, "]" or ")", and
// " discrete" if it is.
QEL_API std::ostream & operator<<(std::ostream & out, QelValueRange const & range);

#pragma once

#include <memory>
#include <string>
#include <utility>

#include "QelPixelCount.h"
#include "QelValueRange.h"

// A named axis of a coordinate space: an extent in a unit of measure. The unit gives the kind:
// - pixel based: discrete coordinates, from 0, a whole number of pixels wide;
// - relative (width relative, height relative, normalized): continuous, from 0.0, 1.0 wide (or 0.0
//   wide); cannot be moved or scaled;
// - physical or arbitrary (all other units): any origin, wider than 0.0, continuous or discrete.
//
// "Wider than 0.0" allows for the unit's tolerance: 1e-07 inches is not wider.
//
// Owned by one coordinate space and changed by one thread. An operation that raises changes
// nothing.
class QEL_API QelDimension {
  public:
    // Pixel based. Raises illegalWidth (309) "pixel based dimension object constructed with width
    // equal to zero pixels", and what qelPixelCount() raises. A number with a fraction does not
    // compile.
    QelDimension(std::string name, unsigned pixels);
    template <std::integral Number>
    QelDimension(std::string name, Number pixels)
        : QelDimension(std::move(name), qelPixelCount(pixels)) {}
    template <std::floating_point Number>
    QelDimension(std::string name, Number pixels) = delete;
    // From 0.0, closed, discrete if the unit is pixels. Raises illegalExtent (411) "dimension based
    // on relative unit of measure must have a width of 0.0 or 1.0", illegalWidth (309) "Dimension
    // object constructed with width <= 0.0".
    QelDimension(std::string name, QelValue const & width);
    // Closed; the width is converted to the origin's unit. Raises illegalExtent (411) for a
    // combination that the kind does not allow, illegalWidth (309) for a width that is not above
    // 0.0.
    QelDimension(std::string name, QelValue const & origin, QelValue const & width, int discrete);
    QelDimension(QelDimension const &) = default;
    QelDimension & operator=(QelDimension const &) = delete;
    virtual ~QelDimension();

    virtual std::unique_ptr<QelDimension> clone() const;

    // Converts the extent. Into pixels or a relative unit only from arbitrary units: raises
    // cannotConvertUnit (306) "Cannot convert dimension object from unit "...; the extent is then
    // the same number of pixels from 0, or 1.0 from 0.0. Raises cannotConvertUnit (306) for a unit
    // that the current one does not convert to, and illegalWidth (309) if the width is then no
    // longer above 0.0.
    virtual void setUnit(int unit);
    virtual void setName(std::string name);
    // Keeps the width. Raises unsuitableUnit (312) in pixels and relative units.
    virtual void setOrigin(QelValue const & origin);
    // Keeps the origin. Raises unsuitableUnit (312) in relative units, illegalWidth (309) for a
    // width that is not above 0.0.
    virtual void setWidth(QelValue const & width);
    // setWidth(), and setOrigin() unless the dimension is pixel based.
    virtual void setRange(QelValueRange const & range);
    // Moves the extent. Raises unsuitableUnit (312) in pixels and relative units.
    virtual void translate(QelValue const & distance);
    // Multiplies origin and width; a negative factor mirrors the extent. In pixels the width alone,
    // by the factor's magnitude. Raises unsuitableUnit (312) in relative units, illegalWidth (309)
    // if the width is then not above 0.0.
    virtual void scale(double factor);

    std::string const & name() const { return name_; }
    QelValueRange const & range() const { return range_; }
    int unit() const { return range_.unit(); }
    QelValue const & origin() const { return range_.min(); }
    QelValue const & width() const { return range_.width(); }
    bool isPixelBased() const;
    bool isRelative() const;

  protected:
    // Raises unsuitableUnit (312) with `action`, the plural name of the unit and a quote.
    [[noreturn]] void refuse(char const * action) const;
    // For operations that undo their changes.
    void restoreRange(QelValueRange const & range) { range_.replaceWith(range); }

  private:
    void checkPixelBased() const;
    void checkRelative() const;
    QelValueRange rangeIn(int unit) const;
    void checkMovable(char const * action) const;

    std::string name_;
    QelValueRange range_;
};

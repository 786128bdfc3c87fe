#pragma once

#include <iosfwd>

#include "QelBox.h"

// A rectangle: the range of x, number 0, and that of y, number 1. They may have different units.
class QEL_API QelXyBox : public QelBox {
  public:
    QelXyBox(QelValueRange const & x, QelValueRange const & y);
    QelXyBox(QelXyBox const & other);
    ~QelXyBox() override;

    // "QelXyBox[x=", the minimum of x, ", y=", that of y, ", w=", the width of x, ", h=", that of y
    // and "]".
    void print(std::ostream & out) const override;

    QelValue const & xMin() const { return range(0).min(); }
    QelValue const & yMin() const { return range(1).min(); }
    QelValue const & xMax() const { return range(0).max(); }
    QelValue const & yMax() const { return range(1).max(); }
    QelValue const & width() const { return range(0).width(); }
    QelValue const & height() const { return range(1).width(); }
};

// Reads that form; the ranges become continuous, with both ends closed. Raises invalidValue (13)
// "Invalid QelXyBox value" for any other text, "Bad unit for QelValue" for a bad value in it, and
// what a range of such values raises; the box is then unchanged.
QEL_API std::istream & operator>>(std::istream & in, QelXyBox & box);

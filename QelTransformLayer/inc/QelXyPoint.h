#pragma once

#include <iosfwd>

#include "QelPoint.h"
#include "QelXyVector.h"

// A place in a plane.
class QEL_API QelXyPoint : public QelXyVector, public QelPoint {
  public:
    QelXyPoint(QelValue const & x, QelValue const & y);
    QelXyPoint(QelXyPoint const &) = default;
    ~QelXyPoint() override;

    QelXyPoint & operator=(QelXyPoint const & other) {
        QelValueVector::operator=(other);
        return *this;
    }
};

// "QelXyPoint[x=", x, ", y=", y and "]".
QEL_API std::ostream & operator<<(std::ostream & out, QelXyPoint const & point);
// Reads that form; the point takes the units read. Raises invalidValue (13) "Invalid QelXyPoint
// value" for any other text, "Bad unit for QelValue" for a bad value in it; the point is then
// unchanged.
QEL_API std::istream & operator>>(std::istream & in, QelXyPoint & point);

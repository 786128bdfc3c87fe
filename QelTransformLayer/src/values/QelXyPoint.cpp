#include "QelXyPoint.h"

#include <iostream>

#include "QelError.h"
#include "QelTextForm.h"

QelXyPoint::QelXyPoint(QelValue const & x, QelValue const & y)
    : QelValueVector(2, x), QelXyVector(x, y), QelPoint(2) {
    setY(y);
}

QelXyPoint::~QelXyPoint() = default;

std::ostream & operator<<(std::ostream & out, QelXyPoint const & point) {
    return out << "QelXyPoint[x=" << point.x() << ", y=" << point.y() << ']';
}

std::istream & operator>>(std::istream & in, QelXyPoint & point) {
    QelValue x;
    QelValue y;
    qelExpect(in, "QelXyPoint[x=", "Invalid QelXyPoint value");
    in >> x;
    qelExpect(in, ", y=", "Invalid QelXyPoint value");
    in >> y;
    qelExpect(in, "]", "Invalid QelXyPoint value");
    point.replaceWith(QelXyPoint(x, y));
    return in;
}

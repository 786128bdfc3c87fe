#include "QelXyVector.h"

QelXyVector::QelXyVector(QelValue const & x, QelValue const & y) : QelValueVector(2, x) {
    setY(y);
}

QelXyVector::~QelXyVector() = default;

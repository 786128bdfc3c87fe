#pragma once

#include "QelValueVector.h"

// A value for x, element 0, and one for y, element 1: a distance, say.
class QEL_API QelXyVector : public virtual QelValueVector {
  public:
    QelXyVector(QelValue const & x, QelValue const & y);
    QelXyVector(QelXyVector const &) = default;
    ~QelXyVector() override;

    QelXyVector & operator=(QelXyVector const & other) {
        QelValueVector::operator=(other);
        return *this;
    }

    QelValue const & x() const { return element(0); }
    QelValue const & y() const { return element(1); }
    void setX(QelValue const & x) { setElement(0, x); }
    void setY(QelValue const & y) { setElement(1, y); }
};

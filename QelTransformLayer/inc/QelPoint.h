#pragma once

#include "QelValueVector.h"

// A place: one value for each axis.
class QEL_API QelPoint : public virtual QelValueVector {
  public:
    explicit QelPoint(unsigned dimensions) : QelValueVector(dimensions) {}
    QelPoint(unsigned dimensions, QelValue const & value) : QelValueVector(dimensions, value) {}
    QelPoint(QelPoint const &) = default;
    ~QelPoint() override;

    QelPoint & operator=(QelPoint const & other) {
        QelValueVector::operator=(other);
        return *this;
    }
};

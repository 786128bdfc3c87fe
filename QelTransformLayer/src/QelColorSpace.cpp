#include "QelColorSpace.h"

#include <typeinfo>

#include "QelCoreMisc.h"

QelColorSpace::QelColorSpace(int bands, double min, double max)
    : numBands_(bands), minValue_(min), maxValue_(max) {}

QelColorSpace::QelColorSpace(QelColorSpace const & other)
    : ZanRefCount(other),
      ZanMutex(),
      numBands_(other.numBands_),
      minValue_(other.minValue_),
      maxValue_(other.maxValue_),
      flag_(other.getFlag()) {}

QelColorSpace::~QelColorSpace() = default;

bool QelColorSpace::isEqual(QelColorSpace const & other) const {
    return isSameType(other) && minValue_ == other.minValue_ && maxValue_ == other.maxValue_ &&
           numBands() == other.numBands();
}

bool QelColorSpace::isSameType(QelColorSpace const & other) const {
    return typeid(*this) == typeid(other);
}

int QelColorSpace::numBands() const {
    return numBands_;
}

char const * QelColorSpace::className() const {
    return QelCoreMisc::classNameOf(*this);
}

bool QelColorSpace::isRGBLike() const {
    return false;
}

bool QelColorSpace::isYCCLike() const {
    return false;
}

bool QelColorSpace::hasAlpha() const {
    return false;
}

char const * QelColorSpace::alphaPartnerName() const {
    return nullptr;
}

bool QelColorSpace::getFlag() const {
    return flag_.load(std::memory_order_relaxed);
}

void QelColorSpace::setFlag(bool flag) {
    flag_.store(flag, std::memory_order_relaxed);
}

#include "QelColorSpace.h"

#include <iostream>
#include <limits>
#include <typeinfo>
#include <utility>

#include "QelColorSpaceRegistry.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelTextForm.h"

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

void QelColorSpace::setFields(int bands, double min, double max) {
    numBands_ = bands;
    minValue_ = min;
    maxValue_ = max;
}

void QelColorSpace::write(std::ostream & out) const {
    out << className() << "[b=" << qelShortest(numBands()) << ", min=" << qelShortest(minValue())
        << ", max=" << qelShortest(maxValue()) << ']';
}

namespace {

constexpr char const * invalid = "Invalid QelColorSpace value";

double readBehind(std::istream & in, char before) {
    double number = 0.0;
    if (!qelSkipPast(in, before) || !qelReadNumber(in, number))
        qelRaise(QelErrorCode::invalidValue, invalid);
    return number;
}

}  // namespace

void QelColorSpace::read(std::istream & in) {
    unsigned bands = 0;
    constexpr unsigned most = std::numeric_limits<int>::max();
    bool const good = qelSkipPast(in, '[') && qelSkip(in, 2) && qelReadNumber(in, bands);
    if (!good || bands > most) {
        in.setstate(std::ios_base::failbit);
        qelRaise(QelErrorCode::invalidValue, invalid);
    }
    double const min = readBehind(in, '=');
    double const max = readBehind(in, '=');
    if (!qelSkip(in, 1)) qelRaise(QelErrorCode::invalidValue, invalid);
    setFields(static_cast<int>(bands), min, max);
}

std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelColorSpace> const & space) {
    if (!space) return out << "NULL";
    space->write(out);
    return out;
}

std::istream & operator>>(std::istream & in, MoxSmartPtr<QelColorSpace> & space) {
    constexpr std::size_t longestName = 1000;
    qelSkipSpace(in);
    if (qelPeek(in) == 'N') {
        qelExpect(in, "NULL", invalid);
        space = MoxSmartPtr<QelColorSpace>();
        return in;
    }
    MoxSmartPtr<QelColorSpace> read = qelNewColorSpace(qelReadUntil(in, '[', longestName));
    read->read(in);
    space = std::move(read);
    return in;
}

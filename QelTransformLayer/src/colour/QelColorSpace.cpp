#include "QelColorSpace.h"

#include <cmath>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
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

namespace {

constexpr std::size_t longestClassName = 1000;

// Whether operator>> reads all of this as the name of a class.
bool isReadable(std::string_view className) {
    constexpr std::string_view space = " \t\n\v\f\r";
    return className.find_first_not_of(space) == 0 && className.size() <= longestClassName &&
           className.find('[') == className.npos && !className.starts_with("NULL");
}

void checkReadable(QelColorSpace const & space) {
    bool const good = space.numBands() >= 0 && std::isfinite(space.minValue()) &&
                      std::isfinite(space.maxValue()) && isReadable(space.className());
    if (good) return;
    qelRaise(QelErrorCode::invalidValue,
             std::string("Class ") + space.className() + " with " + qelShortest(space.numBands()) +
                 " bands and a range of " + qelShortest(space.minValue()) + " to " +
                 qelShortest(space.maxValue()) + " has no text form that can be read");
}

}  // namespace

void QelColorSpace::write(std::ostream & out) const {
    checkReadable(*this);
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

std::ostream & operator<<(std::ostream & out, QelColorSpace const & space) {
    space.write(out);
    return out;
}

std::ostream & operator<<(std::ostream & out, QelColorSpace const * space) {
    return space != nullptr ? out << *space : out << "NULL";
}

std::istream & operator>>(std::istream & in, MoxSmartPtr<QelColorSpace> & space) {
    constexpr std::string_view null = "NULL";
    qelSkipSpace(in);
    bool const maybeNull = qelPeek(in) == null.front();
    std::string name = maybeNull ? qelReadWord(in, null.size()) : "";
    if (name == null) {
        space = MoxSmartPtr<QelColorSpace>();
        return in;
    }
    // Other names may also start with that letter.
    name += qelReadUntil(in, '[', longestClassName - name.size());
    if (maybeNull && qelPeek(in) != '[') {
        in.setstate(std::ios_base::failbit);
        qelRaise(QelErrorCode::invalidValue, invalid);
    }
    MoxSmartPtr<QelColorSpace> read = qelNewColorSpace(name);
    read->read(in);
    space = std::move(read);
    return in;
}

#include "QelValueVector.h"

#include "QelError.h"
#include "QelTextStream.h"

namespace {

unsigned checkedSize(unsigned size) {
    if (size == 0)
        qelRaise(QelErrorCode::invalidValue, "Value vector size must be greater than zero");
    return size;
}

}  // namespace

QelValueVector::QelValueVector(unsigned size) : elements_(checkedSize(size)) {}

QelValueVector::QelValueVector(unsigned size, QelValue const & value)
    : elements_(checkedSize(size), value) {}

QelValueVector::~QelValueVector() = default;

QelValueVector & QelValueVector::operator=(QelValueVector const & other) {
    checkSize(other, "assignment between value vector with ", " elements and value vector with ");
    elements_ = converted(other);
    return *this;
}

void QelValueVector::replaceWith(QelValueVector const & other) {
    checkSize(other, "replaceWith() against value vector with ",
              " elements cannot be passed a value vector with ");
    elements_ = other.elements_;
}

QelValue const & QelValueVector::element(unsigned index) const {
    checkIndex(index);
    return elements_[index];
}

void QelValueVector::setElement(unsigned index, QelValue const & value) {
    checkIndex(index);
    elements_[index] = value;
}

void QelValueVector::setElements(unsigned low, unsigned high, QelValue const & value) {
    if (low > high) {
        QelTextStream text;
        text << "low index value " << low << " is greater than high index value " << high
             << " of range of vector elements";
        qelRaise(QelErrorCode::outOfRange, text.str());
    }
    checkIndex(low);
    checkIndex(high);
    for (unsigned i = low; i <= high; ++i)
        elements_[i] = value;
}

void QelValueVector::add(QelValueVector const & other) {
    checkSize(other, "add between value vector with ", " elements and value vector with ");
    std::vector<QelValue> const right = converted(other);
    for (std::size_t i = 0; i < right.size(); ++i)
        elements_[i] += right[i];
}

void QelValueVector::subtract(QelValueVector const & other) {
    checkSize(other, "subtract between value vector with ", " elements and value vector with ");
    std::vector<QelValue> const right = converted(other);
    for (std::size_t i = 0; i < right.size(); ++i)
        elements_[i] -= right[i];
}

void QelValueVector::checkIndex(unsigned index) const {
    if (index < size()) return;
    QelTextStream text;
    text << "index value " << index << " into vector containing " << size() << " elements";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

void QelValueVector::checkSize(QelValueVector const & other, char const * before,
                               char const * between) const {
    if (other.size() == size()) return;
    QelTextStream text;
    text << before << size() << between << other.size() << " elements";
    qelRaise(QelErrorCode::lengthsDiffer, text.str());
}

// The other's elements in the units of this one's.
std::vector<QelValue> QelValueVector::converted(QelValueVector const & other) const {
    std::vector<QelValue> result;
    result.reserve(elements_.size());
    for (std::size_t i = 0; i < elements_.size(); ++i)
        result.emplace_back(other.elements_[i], elements_[i].unit());
    return result;
}

bool operator==(QelValueVector const & a, QelValueVector const & b) {
    if (a.size() != b.size()) return false;
    for (unsigned i = 0; i < a.size(); ++i) {
        if (a.element(i) != b.element(i)) return false;
    }
    return true;
}

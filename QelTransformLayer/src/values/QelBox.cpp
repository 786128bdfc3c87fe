#include "QelBox.h"

#include <iostream>

#include "QelError.h"
#include "QelTextStream.h"

namespace {

unsigned checkedDimensions(unsigned dimensions) {
    if (dimensions == 0)
        qelRaise(QelErrorCode::noDimensions, "Cannot define a box in zero dimensions");
    return dimensions;
}

}  // namespace

QelBox::QelBox(unsigned dimensions)
    : ranges_(checkedDimensions(dimensions),
              QelValueRange(QelValue(), QelValue(1.0, QEL_UNIT_ARBITRARY), 0, true, true)) {}

QelBox::QelBox(QelBox const & other) : ZanRefCount(), ranges_(other.ranges_) {}

QelBox::~QelBox() = default;

void QelBox::print(std::ostream & out) const {
    out << "QelBox[";
    char const * separator = "";
    for (QelValueRange const & range : ranges_) {
        out << separator << range;
        separator = ", ";
    }
    out << ']';
}

void QelBox::checkIndex(unsigned index) const {
    if (index < dimensions()) return;
    QelTextStream text;
    text << "index value " << index << " into box with " << dimensions() << " dimensions";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

QelValueRange const & QelBox::range(unsigned index) const {
    checkIndex(index);
    return ranges_[index];
}

void QelBox::setRange(unsigned index, QelValueRange const & range) {
    checkIndex(index);
    ranges_[index].replaceWith(range);
}

void QelBox::setRanges(std::vector<QelValueRange> const & ranges) {
    if (ranges.size() != ranges_.size()) {
        QelTextStream text;
        text << "cannot update " << dimensions() << "-dimensional box with range set containing "
             << ranges.size() << " entries";
        qelRaise(QelErrorCode::countsDiffer, text.str());
    }
    for (std::size_t i = 0; i < ranges.size(); ++i)
        ranges_[i].replaceWith(ranges[i]);
}

std::ostream & operator<<(std::ostream & out, QelBox const & box) {
    box.print(out);
    return out;
}

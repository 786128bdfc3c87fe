#include "QelXyBox.h"

#include <iostream>
#include <vector>

#include "QelError.h"
#include "QelTextForm.h"

QelXyBox::QelXyBox(QelValueRange const & x, QelValueRange const & y) : QelBox(2) {
    setRange(0, x);
    setRange(1, y);
}

QelXyBox::QelXyBox(QelXyBox const & other) : QelBox(other) {}

QelXyBox::~QelXyBox() = default;

void QelXyBox::print(std::ostream & out) const {
    out << "QelXyBox[x=" << xMin() << ", y=" << yMin() << ", w=" << width() << ", h=" << height()
        << ']';
}

std::istream & operator>>(std::istream & in, QelXyBox & box) {
    constexpr char const * invalid = "Invalid QelXyBox value";
    constexpr char const * labels[] = {"QelXyBox[x=", ", y=", ", w=", ", h="};
    QelValue values[4];
    for (int i = 0; i < 4; ++i) {
        qelExpect(in, labels[i], invalid);
        in >> values[i];
    }
    qelExpect(in, "]", invalid);
    box.setRanges({QelValueRange(values[0], values[2], 0, true, true),
                   QelValueRange(values[1], values[3], 0, true, true)});
    return in;
}

#pragma once

#include <iosfwd>
#include <vector>

#include "QelExport.h"

// A list of numbers as the value of an attribute. Its text form is "[0:-1.5:0]", "[]" when empty,
// with 17 digits where that many are needed to restore a number.
struct QelNumberList {
    std::vector<double> numbers;

    friend bool operator==(QelNumberList const &, QelNumberList const &) = default;
};

QEL_API std::ostream & operator<<(std::ostream & out, QelNumberList const & list);
// Malformed text leaves the stream failed and the list as it was.
QEL_API std::istream & operator>>(std::istream & in, QelNumberList & list);

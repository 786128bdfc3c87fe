#pragma once

#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "QelValue.h"

// The identifiers of the units that the library brings along.
inline std::vector<int> const & builtInIds() {
    static std::vector<int> const ids{0,  1,  2,  3,  4,  5,  6,  7,  10, 11, 12, 13,
                                      20, 21, 22, 23, 30, 31, 32, 33, 40, 41, 42, 43};
    return ids;
}

inline double toleranceOf(int id) {
    return QelValue::getUnitInfo(id).tolerance;
}

// Puts the tolerances of the built-in units back at the end of the scope.
class KeptTolerances {
  public:
    KeptTolerances() {
        for (int id : builtInIds())
            before_.emplace_back(id, toleranceOf(id));
    }
    KeptTolerances(KeptTolerances const &) = delete;
    KeptTolerances & operator=(KeptTolerances const &) = delete;
    ~KeptTolerances() {
        for (auto const & [id, tolerance] : before_)
            QelValue::setTolerance(id, tolerance);
    }

  private:
    std::vector<std::pair<int, double>> before_;
};

// Digits in groups of three, and a comma in fractions: what a program's own locale may do.
class GroupedDigits : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Groups digits everywhere, in streams made from now on too, up to the end of the scope.
class GroupedLocale {
  public:
    GroupedLocale() : before_(std::locale::global(grouped())) {}
    GroupedLocale(GroupedLocale const &) = delete;
    GroupedLocale & operator=(GroupedLocale const &) = delete;
    ~GroupedLocale() { std::locale::global(before_); }

    static std::locale grouped() {
        return std::locale(std::locale::classic(), new GroupedDigits);  // the locale owns it
    }

  private:
    std::locale before_;
};

// The text of `value`, with all digits that a double needs.
template <class T>
std::string exactText(T const & value) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(std::numeric_limits<double>::max_digits10);
    out << value;
    return out.str();
}

#include "QelPixelCount.h"

#include <cmath>
#include <limits>

#include "QelError.h"
#include "QelPixelLimits.h"
#include "QelTextStream.h"

namespace {

constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
using Signed = std::numeric_limits<std::int32_t>;

template <class Number, class Limit>
[[noreturn]] void raiseDoesNotFit(char const * what, Number number, Limit from, Limit to,
                                  ZanSourceLocation const & here) {
    QelTextStream text;
    text.precision(std::numeric_limits<double>::digits10);
    text << what << ' ' << number << " is not from " << from << " to " << to;
    qelRaise(QelErrorCode::invalidValue, text.str(), here);
}

}  // namespace

std::uint32_t qelPixelCountOfSigned(std::int64_t count) {
    if (count >= 0) return qelPixelCountOfUnsigned(static_cast<std::uint64_t>(count));
    raiseDoesNotFit("pixel count", count, std::uint32_t{0}, most, ZanSourceLocation::current());
}

std::uint32_t qelPixelCountOfUnsigned(std::uint64_t count) {
    if (count <= most) return static_cast<std::uint32_t>(count);
    raiseDoesNotFit("pixel count", count, std::uint32_t{0}, most, ZanSourceLocation::current());
}

std::uint32_t qelCheckedPixels(double count, ZanSourceLocation const & here) {
    if (!(count >= 1.0)) return 0;
    double const whole = std::trunc(count);
    if (whole <= most) return static_cast<std::uint32_t>(whole);
    raiseDoesNotFit("pixel count", count, std::uint32_t{0}, most, here);
}

std::int32_t qelCheckedSigned(char const * what, double number, ZanSourceLocation const & here) {
    double const whole = std::trunc(number);
    if (whole >= Signed::min() && whole <= Signed::max()) return static_cast<std::int32_t>(whole);
    raiseDoesNotFit(what, number, Signed::min(), Signed::max(), here);
}

std::int32_t qelCheckedSigned(std::uint32_t count, ZanSourceLocation const & here) {
    constexpr std::int32_t limit = Signed::max();
    if (count <= static_cast<std::uint32_t>(limit)) return static_cast<std::int32_t>(count);
    raiseDoesNotFit("pixel count", count, 0, limit, here);
}

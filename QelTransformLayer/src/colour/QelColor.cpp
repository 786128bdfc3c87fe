#include "QelColor.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

#include "QelColorSpaces.h"
#include "QelError.h"
#include "QelTextForm.h"
#include "QelTextStream.h"

namespace {

bool isLegal(QelColorSpace const & space, double code) {
    return code >= space.minValue() && code <= space.maxValue();
}

bool hasBands(QelColorSpace const & space, std::size_t count) {
    return space.numBands() >= 0 && static_cast<std::size_t>(space.numBands()) == count;
}

QelColorSpace const & checked(MoxSmartPtr<QelColorSpace> const & space) {
    if (!space) {
        qelRaise(QelErrorCode::nullPointer,
                 "QelColor cannot be constructed from pointer to color space, if pointer value is "
                 "NULL");
    }
    return *space;
}

[[noreturn]] void raiseIllegal(char const * before, double code, char const * between,
                               QelColorSpace const & space) {
    QelTextStream text;
    text << before << code << between << space.name() << " with min and max values of "
         << space.minValue() << " and " << space.maxValue();
    qelRaise(QelErrorCode::invalidValue, text.str());
}

double checkedCode(QelColorSpace const & space, double code) {
    if (isLegal(space, code)) return code;
    raiseIllegal("QelColor cannot be constructed with code value of ", code, " and color space ",
                 space);
}

std::size_t checkedCount(int count) {
    if (count < 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "A color cannot have " + std::to_string(count) + " code values");
    }
    return static_cast<std::size_t>(count);
}

double const * checkedCodes(double const * codes, int count) {
    if (codes == nullptr && count > 0) {
        qelRaise(QelErrorCode::nullPointer,
                 "QelColor cannot be constructed from a null pointer to code values");
    }
    return codes;
}

std::vector<double> codesOf(QelColorSpace const & space, double code) {
    return std::vector<double>(checkedCount(space.numBands()), checkedCode(space, code));
}

// All values at the minimum.
std::vector<double> leastOf(QelColorSpace const & space) {
    return codesOf(space, space.minValue());
}

std::vector<double> codesOf(QelColorSpace const & space, double a, double b, double c) {
    if (space.numBands() < 3) {
        qelRaise(
            QelErrorCode::countsDiffer,
            "Cannot use this QelColor constructor for color spaces with less than three bands");
    }
    std::vector<double> codes = leastOf(space);
    codes[0] = checkedCode(space, a);
    codes[1] = checkedCode(space, b);
    codes[2] = checkedCode(space, c);
    return codes;
}

std::vector<double> const & checkedCodes(QelColorSpace const & space,
                                         std::vector<double> const & codes) {
    if (!hasBands(space, codes.size())) {
        QelTextStream text;
        text << "Cannot construct QelColor from color space " << space.name() << '('
             << space.numBands() << " bands) and vector with " << codes.size() << " code values";
        qelRaise(QelErrorCode::countsDiffer, text.str());
    }
    for (double const code : codes)
        checkedCode(space, code);
    return codes;
}

}  // namespace

QelColor::QelColor(int count) : codeValues_(checkedCount(count)) {}

QelColor::QelColor(double const * codes, int count) : codeValues_(checkedCount(count)) {
    std::copy_n(checkedCodes(codes, count), count, codeValues_.begin());
}

QelColor::QelColor(MoxSmartPtr<QelColorSpace> space)
    : colorSpace_(space), codeValues_(leastOf(checked(space))) {}

QelColor::QelColor(MoxSmartPtr<QelColorSpace> space, double code)
    : colorSpace_(space), codeValues_(codesOf(checked(space), code)) {}

QelColor::QelColor(MoxSmartPtr<QelColorSpace> space, double a, double b, double c)
    : colorSpace_(space), codeValues_(codesOf(checked(space), a, b, c)) {}

QelColor::QelColor(MoxSmartPtr<QelColorSpace> space, std::vector<double> const & codes)
    : colorSpace_(space), codeValues_(checkedCodes(checked(space), codes)) {}

void QelColor::checkIndex(int index) const {
    if (index >= 0 && index < numChannels()) return;
    QelTextStream text;
    text << "Illegal index " << index << " into QelColor with " << numChannels()
         << " channels (color space = " << (colorSpace_ ? colorSpace_->name() : "unknown") << ')';
    qelRaise(QelErrorCode::outOfRange, text.str());
}

double QelColor::code(int index) const {
    checkIndex(index);
    return codeValues_[static_cast<std::size_t>(index)];
}

void QelColor::setCode(int index, double value) {
    checkIndex(index);
    if (colorSpace_ && !isLegal(*colorSpace_, value)) {
        raiseIllegal("Illegal code value ", value, " for color space ", *colorSpace_);
    }
    codeValues_[static_cast<std::size_t>(index)] = value;
}

void QelColor::checkBands(QelColorSpace const & space) const {
    if (hasBands(space, codeValues_.size())) return;
    QelTextStream text;
    text << "Cannot set color space " << space.name() << '(' << space.numBands()
         << " bands) into QelColor with " << numChannels() << " bands";
    qelRaise(QelErrorCode::countsDiffer, text.str());
}

void QelColor::setColorSpace(MoxSmartPtr<QelColorSpace> space) {
    if (space) {
        checkBands(*space);
        for (double const code : codeValues_) {
            if (isLegal(*space, code)) continue;
            QelTextStream text;
            text << "Cannot set color space " << space->name()
                 << "(value range = " << space->minValue() << " to " << space->maxValue()
                 << ") into QelColor which contains " << code << " as a code value";
            qelRaise(QelErrorCode::invalidValue, text.str());
        }
    }
    colorSpace_ = std::move(space);
}

void QelColor::setColorSpace(MoxSmartPtr<QelColorSpace> space, bool clamp, bool fromZero) {
    if (!colorSpace_ || !space) {
        setColorSpace(std::move(space));
        return;
    }
    checkBands(*space);
    if (fromZero) {
        rescaleFromZero(*space, clamp);
    } else {
        rescale(*space);
    }
    colorSpace_ = std::move(space);
}

namespace {

double limited(QelColorSpace const & space, double code) {
    return std::min(std::max(code, space.minValue()), space.maxValue());
}

// A value that no limit brings into the range comes from numbers too large to scale, or an empty
// range.
double checkedScaled(QelColorSpace const & to, double scaled) {
    if (!isLegal(to, scaled)) qelRaise(QelErrorCode::cannotRescale, "Scaled value is out of range");
    return scaled;
}

// Whether rounding alone takes `code` times `factor` beyond an end of the range. Factor and product
// are each rounded once, by half of the last digit; the factor by more if it is subnormal.
bool leavesByRounding(QelColorSpace const & to, double code, double factor) {
    double const scaled = code * factor;
    double const beyond = std::max(to.minValue() - scaled, scaled - to.maxValue());
    double const rounding = std::fabs(scaled) * 2.0 * std::numeric_limits<double>::epsilon() +
                            std::fabs(code) * std::numeric_limits<double>::denorm_min();
    return std::isfinite(scaled) && beyond <= rounding;
}

}  // namespace

// From one range to the other: a value leaves the new one by rounding alone.
void QelColor::rescale(QelColorSpace const & to) {
    double const width = colorSpace_->maxValue() - colorSpace_->minValue();
    if (width == 0.0)
        qelRaise(QelErrorCode::cannotRescale,
                 "Cannot rescale a color space which has equal max and min");
    double const factor = (to.maxValue() - to.minValue()) / width;
    for (double & code : codeValues_) {
        double const scaled = (code - colorSpace_->minValue()) * factor + to.minValue();
        code = checkedScaled(to, limited(to, scaled));
    }
}

void QelColor::rescaleFromZero(QelColorSpace const & to, bool clamp) {
    double const min = colorSpace_->minValue();
    double const max = colorSpace_->maxValue();
    if (min == 0.0 && max == 0.0) {
        qelRaise(QelErrorCode::cannotRescale,
                 "Cannot rescale a color space which has a max and min value of 0");
    }
    double const factor = max != 0.0 ? to.maxValue() / max : to.minValue() / min;
    for (double & code : codeValues_) {
        double const scaled = code * factor;
        bool const limit = clamp || leavesByRounding(to, code, factor);
        code = checkedScaled(to, limit ? limited(to, scaled) : scaled);
    }
}

bool QelColor::equals(QelColor const & other) const {
    bool const sameSpace = colorSpace_ && other.colorSpace_
                               ? colorSpace_->isEqual(*other.colorSpace_)
                               : colorSpace_ == other.colorSpace_;
    return sameSpace && codeValues_ == other.codeValues_;
}

namespace {

bool isGeneric(QelColorSpace const & space) {
    return dynamic_cast<QelGenericColorSpace const *>(&space) != nullptr;
}

}  // namespace

QelColor convert(QelColor const & color, bool clamp, MoxSmartPtr<QelColorSpace> space) {
    QelColorSpace const * const from = color.colorSpace();
    bool const foreign = from != nullptr && space && !isGeneric(*from) && !isGeneric(*space) &&
                         !from->isSameType(*space);
    if (foreign) qelRaise(QelErrorCode::misuse, "Conversions between color spaces not implemented");
    QelColor result(color);
    result.setColorSpace(std::move(space), clamp, false);
    return result;
}

// ---- Text form

namespace {

void writeCode(std::ostream & out, double code) {
    if (!std::isfinite(code)) {
        qelRaise(QelErrorCode::invalidValue, "QelColor with a code value of " + qelShortest(code) +
                                                 " has no text form that can be read");
    }
    out << qelShortest(code);
}

}  // namespace

// Built first, so that a refusal writes nothing.
std::ostream & operator<<(std::ostream & out, QelColor const & color) {
    std::ostringstream text;
    text.copyfmt(out);
    text.width(0);
    text << "QelColor[";
    if (color.colorSpace()) text << color.colorSpace() << ':';
    char const * separator = "<";
    for (double const code : color.codeValues()) {
        text << separator;
        writeCode(text, code);
        separator = ",";
    }
    text << (color.numChannels() == 0 ? "<>]" : ">]");
    return out << text.str();
}

namespace {

constexpr char const * invalid = "Invalid QelColor value";

[[noreturn]] void raiseInvalid(std::istream & in) {
    in.setstate(std::ios_base::failbit);
    qelRaise(QelErrorCode::invalidValue, invalid);
}

// After "<", up to and including ">".
std::vector<double> readCodes(std::istream & in) {
    std::vector<double> codes;
    if (qelTake(in, '>')) return codes;
    for (;;) {
        double code = 0.0;
        if (!qelReadNumber(in, code)) raiseInvalid(in);
        codes.push_back(code);
        if (qelTake(in, '>')) return codes;
        if (!qelSkip(in, 1)) raiseInvalid(in);
    }
}

}  // namespace

std::istream & operator>>(std::istream & in, QelColor & color) {
    qelSkipSpace(in);
    if (qelPeek(in) == 'N') {
        qelExpect(in, "NULL", invalid);
        color = QelColor(0);
        return in;
    }
    if (!qelSkipPast(in, '[')) raiseInvalid(in);
    qelSkipSpace(in);
    MoxSmartPtr<QelColorSpace> space;
    if (qelPeek(in) != '<') {
        in >> space;
        qelTake(in, ':');
    }
    if (!qelSkip(in, 1)) raiseInvalid(in);
    std::vector<double> const codes = readCodes(in);
    QelColor read(codes.data(), static_cast<int>(codes.size()));
    if (space) read.setColorSpace(std::move(space));
    if (!qelSkip(in, 1)) raiseInvalid(in);
    color = read;
    return in;
}

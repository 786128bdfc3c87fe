#include "QelValue.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <iostream>
#include <locale>

#include "QelError.h"
#include "QelErrorFrames.h"
#include "QelTextForm.h"
#include "QelTextStream.h"
#include "ZanImmortal.h"

namespace {

constexpr int firstClientId = 128;
constexpr int lastId = 255;

// The initial rows. The numbers are fixed to the last digit, not computed: most are what dividing
// gives, some are not.
struct BuiltIn {
    char const * singular;
    char const * plural;
    int id;
    int standardId;
    double multiplier;
    double tolerance;
};

constexpr BuiltIn builtIns[] = {
    {"arbitrary unit", "arbitrary units", 0, 0, 0.0, 1e-06},
    {"pixel", "pixels", 1, 1, 0.0, 1e-06},
    {"width relative unit", "width relative units", 2, 2, 0.0, 1e-06},
    {"height relative unit", "height relative units", 3, 3, 0.0, 1e-06},
    {"normalized unit", "normalized units", 4, 4, 0.0, 1e-06},
    {"meter", "meters", 5, 5, 1.0, 1e-06},
    {"second", "seconds", 6, 6, 1.0, 1e-06},
    {"radian", "radians", 7, 7, 1.0, 1e-06},
    {"degree", "degrees", 10, 7, 0.017453292519944444, 5.729577951307854e-05},
    {"grad", "grads", 11, 7, 0.01570796326795, 6.366197723675393e-05},
    {"arc minute", "arc minutes", 12, 7, 0.00029088820866574077, 0.0034377467707847127},
    {"arc second", "arc seconds", 13, 7, 4.848136811095679e-06, 0.2062648062470828},
    {"minute", "minutes", 20, 6, 60.0, 1.6666666666666667e-08},
    {"hour", "hours", 21, 6, 3600.0, 2.7777777777777777e-10},
    {"frame", "frames", 22, 6, 0.041666666666666664, 2.4e-05},
    {"video frame", "video frames", 23, 6, 0.03333333333333333, 2.9999999999999997e-05},
    {"micron", "microns", 30, 5, 1e-06, 0.09999999999999999},
    {"millimeter", "millimeters", 31, 5, 0.001, 0.001},
    {"centimeter", "centimeters", 32, 5, 0.01, 9.999999999999999e-05},
    {"decimeter", "decimeters", 33, 5, 0.1, 9.999999999999999e-06},
    {"mil", "mils", 40, 5, 2.54e-05, 0.03937007874015748},
    {"point", "points", 41, 5, 0.00035277777777777776, 0.0028346456692913387},
    {"pica", "pica", 42, 5, 0.004233333333333333, 0.00023622047244094488},
    {"inch", "inches", 43, 5, 0.0254, 3.937007874015748e-05},
};

class Registry {
  public:
    Registry() {
        for (BuiltIn const & unit : builtIns) {
            set({unit.singular, unit.plural, unit.id, unit.standardId, unit.multiplier,
                 unit.tolerance, true, unit.id == unit.standardId});
        }
    }

    QelUnitInfo & row(int id) { return rows_[static_cast<std::size_t>(id)]; }
    auto & rows() { return rows_; }
    void set(QelUnitInfo && unit) {
        longestName_ = std::max({longestName_, unit.singularName.size(), unit.pluralName.size()});
        row(unit.id) = std::move(unit);
    }
    std::size_t longestName() const { return longestName_; }

  private:
    std::array<QelUnitInfo, lastId + 1> rows_;
    std::size_t longestName_ = 0;
};

Registry & registry() {
    static ZanImmortal<Registry> theRegistry;
    return theRegistry.get();
}

// Negative identifiers are large unsigned ones.
bool isAboveLast(int id) {
    return static_cast<unsigned>(id) > static_cast<unsigned>(lastId);
}

[[noreturn]] void raiseOutOfRange(int id) {
    QelTextStream text;
    text << "Unit identifier " << id << " is not in the range 0 through " << lastId;
    qelRaise(QelErrorCode::noSuchUnit, text.str());
}

[[noreturn]] void raiseNotRegistered(int id) {
    QelTextStream text;
    text << "Unit identifier " << id << " has not been registered";
    qelRaise(QelErrorCode::unitNotRegistered, text.str());
}

// Part of every conversion and comparison, so the messages are built elsewhere.
QelUnitInfo & registered(int id) {
    if (isAboveLast(id)) raiseOutOfRange(id);
    QelUnitInfo & row = registry().row(id);
    if (!row.isRegistered) raiseNotRegistered(id);
    return row;
}

[[noreturn]] void raiseNotConvertible(QelUnitInfo const & from, QelUnitInfo const & to) {
    QelTextStream text;
    text << "Cannot convert from unit " << from.pluralName << " (id = " << from.id << ") to unit "
         << to.pluralName << " (id = " << to.id << ')';
    qelRaise(QelErrorCode::cannotConvertUnit, text.str());
}

void checkTolerance(double tolerance) {
    if (!(tolerance >= 0))
        qelRaise(QelErrorCode::invalidValue, "Negative tolerance value is illegal");
}

// `Unit "NAME" (id = ID` and the rest of the sentence.
[[noreturn]] void raiseCannotRegister(int code, char const * start, std::string const & singular,
                                      int id, std::string const & rest) {
    QelTextStream text;
    text << start << '"' << singular << "\" (id = " << id << rest;
    qelRaise(code, text.str());
}

void checkFree(std::string const & singular, int id) {
    if (!isAboveLast(id) && id < firstClientId) {
        raiseCannotRegister(QelErrorCode::unitReserved, "Unit ", singular, id,
                            ") cannot be registered -- id is reserved for use by QEL");
    }
    if (isAboveLast(id)) {
        raiseCannotRegister(QelErrorCode::noSuchUnit, "Unit ", singular, id,
                            " ) cannot be registered -- id is not in the range 128 through 255");
    }
    QelUnitInfo const & row = registry().row(id);
    if (!row.isRegistered) return;
    QelTextStream text;
    text << "Unit identifier " << id << " has already been registered as unit \""
         << row.singularName << '"';
    qelRaise(QelErrorCode::unitTaken, text.str());
}

void checkMultiplier(std::string const & singular, int id, int standardId, double multiplier) {
    if (id == standardId) {
        if (multiplier == 1.0) return;
        raiseCannotRegister(QelErrorCode::illegalUnitMultiplier, "Cannot register unit ", singular,
                            id, ") with multiplier value not equal to 1.0");
    }
    QelUnitInfo const & standard = registered(standardId);
    if (standard.multiplier != 1.0) {
        raiseCannotRegister(
            QelErrorCode::notAStandardUnit, "Cannot register new unit ", singular, id,
            ") with unit \"" + standard.singularName + "\" (id = " + std::to_string(standardId) +
                ") as the standard unit of measure");
    }
    if (!(multiplier > 0.0)) {
        raiseCannotRegister(QelErrorCode::illegalUnitMultiplier, "Cannot register new unit ",
                            singular, id, ") with negative scalew factor");
    }
}

std::string lowered(std::string const & text) {
    std::string result = text;
    for (char & c : result)
        c = std::tolower(c, std::locale::classic());
    return result;
}

QelUnitInfo const * findNamed(std::string const & name, std::string QelUnitInfo::*which) {
    for (QelUnitInfo const & row : registry().rows()) {
        if (row.isRegistered && lowered(row.*which) == name) return &row;
    }
    return nullptr;
}

[[noreturn]] void raiseBadUnit(std::istream & in) {
    in.setstate(std::ios_base::badbit);
    qelRaise(QelErrorCode::invalidValue, "Bad unit for QelValue");
}

enum class Match { yes, no, never };

// Whether `word`, with as many more words of the stream as the name needs, is all of `name`. Never
// true if the word is only a prefix of the name's.
Match matches(std::istream & in, std::string const & name, std::string & word) {
    while (name.size() > word.size() && name.compare(0, word.size(), word) == 0) {
        if (name[word.size()] != ' ') return Match::never;
        qelSkipSpace(in);
        word += ' ' + qelReadWord(in, registry().longestName() + 1);
    }
    return name == word ? Match::yes : Match::no;
}

}  // namespace

bool qelReadUnit(std::istream & in, int & unit) {
    qelSkipSpace(in);
    std::string word = qelReadWord(in, registry().longestName() + 1);
    for (QelUnitInfo const & row : registry().rows()) {
        if (!row.isRegistered) continue;
        Match match = matches(in, row.singularName, word);
        if (match == Match::no) match = matches(in, row.pluralName, word);
        if (match == Match::no) continue;
        if (match == Match::never) break;
        unit = row.id;
        return true;
    }
    in.setstate(std::ios_base::badbit);
    return false;
}

bool isRelativeUnit(int id) {
    return id == QEL_UNIT_WIDTH_RELATIVE || id == QEL_UNIT_HEIGHT_RELATIVE ||
           id == QEL_UNIT_NORMALIZED;
}

bool isPixelUnit(int id) {
    return id == QEL_UNIT_PIXEL;
}

QelValue::QelValue(double value, int unit) : value_(value), unit_(unit) {
    getUnitInfo(unit);
}

QelValue::QelValue(QelValue const & other, int unit) : unit_(unit) {
    getUnitInfo(unit);
    value_ = other.numberIn(unit);
}

void QelValue::assignConverted(QelValue const & other) {
    value_ = other.numberIn(unit_);
}

void QelValue::convertTo(int unit) {
    if (unit != unit_) *this = QelValue(*this, unit);
}

int QelValue::getStandardUnit() const {
    return getUnitInfo(unit_).standardId;
}

bool QelValue::isCompatible(QelValue const & other) const {
    errno = 0;
    try {
        return isCompatible(unit_, other.unit_);
    } catch (...) {
        qelRaiseSystemFrame("Unexpected exception in QelValue::isCompatible");
    }
}

// Standard units skip the arithmetic: some of them have the multiplier 0.
double QelValue::convertedTo(int unit) const {
    if (unit == QEL_UNIT_ARBITRARY || unit_ == QEL_UNIT_ARBITRARY) return value_;
    QelUnitInfo const & from = getUnitInfo(unit_);
    QelUnitInfo const & to = getUnitInfo(unit);
    if (from.standardId != to.standardId) raiseNotConvertible(from, to);
    double const standard = from.isStandard ? value_ : value_ * from.multiplier;
    return to.isStandard ? standard : standard / to.multiplier;
}

QelValue & QelValue::operator+=(QelValue const & other) {
    value_ += other.numberIn(unit_);
    return *this;
}

QelValue & QelValue::operator-=(QelValue const & other) {
    value_ -= other.numberIn(unit_);
    return *this;
}

QelValue & QelValue::operator+=(double number) {
    value_ += number;
    return *this;
}

QelValue & QelValue::operator-=(double number) {
    value_ -= number;
    return *this;
}

QelValue & QelValue::operator*=(double factor) {
    value_ *= factor;
    return *this;
}

void QelValue::round() {
    value_ = std::floor(value_ + 0.5);
}

void QelValue::truncate() {
    value_ = std::trunc(value_);
}

void QelValue::ceiling() {
    value_ = std::ceil(value_);
}

void QelValue::floor() {
    value_ = std::floor(value_);
}

bool QelValue::equals(double number) const {
    return value_ == number || std::fabs(number - value_) <= getUnitInfo(unit_).tolerance;
}

// Ordering uses equals() too: adding the tolerance to one of the numbers would round, and then 0.7
// and 0.701 millimeters would be neither equal nor in any order.
bool QelValue::isBelow(double number) const {
    return number > value_ && !equals(number);
}

bool QelValue::isAtMost(double number) const {
    return number >= value_ || equals(number);
}

QelUnitInfo const & QelValue::getUnitInfo(int id) {
    return registered(id);
}

QelUnitInfo const & QelValue::getUnitInfo(std::string const & name) {
    std::string const wanted = lowered(name);
    QelUnitInfo const * found = findNamed(wanted, &QelUnitInfo::singularName);
    if (found == nullptr) found = findNamed(wanted, &QelUnitInfo::pluralName);
    if (found != nullptr) return *found;
    qelRaise(QelErrorCode::noSuchUnit,
             "The name \"" + name + "\" is not associated with a registered unit of measure");
}

void QelValue::registerUnit(std::string const & singular, std::string const & plural, int id,
                            int standardId, double multiplier, double tolerance) {
    checkFree(singular, id);
    checkMultiplier(singular, id, standardId, multiplier);
    checkTolerance(tolerance);
    registry().set(
        {singular, plural, id, standardId, multiplier, tolerance, true, id == standardId});
}

void QelValue::registerUnit(std::string const & singular, std::string const & plural, int id,
                            double tolerance) {
    registerUnit(singular, plural, id, id, 1.0, tolerance);
}

bool QelValue::isCompatible(int idA, int idB) {
    if (idA == idB || idA == QEL_UNIT_ARBITRARY || idB == QEL_UNIT_ARBITRARY) return true;
    return getUnitInfo(idA).standardId == getUnitInfo(idB).standardId;
}

void QelValue::setTolerance(int id, double tolerance) {
    QelUnitInfo & row = registered(id);
    checkTolerance(tolerance);
    row.tolerance = tolerance;
}

// Multiplies by the inverse, which gives round numbers where dividing would be off by a bit.
void QelValue::setStandardTolerance(int id, double tolerance) {
    QelUnitInfo & standard = registered(id);
    if (!standard.isStandard) {
        qelRaise(QelErrorCode::notAStandardUnit,
                 "Cannot call setStandardTolerance( ) against unit " + standard.singularName +
                     " -- try the corresponding standard unit: " +
                     registered(standard.standardId).singularName);
    }
    checkTolerance(tolerance);
    if (standard.multiplier == 0.0) {
        standard.tolerance = tolerance;
        return;
    }
    for (QelUnitInfo & row : registry().rows()) {
        if (row.isRegistered && row.standardId == id) {
            row.tolerance = tolerance * (1.0 / row.multiplier);
        }
    }
}

QelValue inches(double number) {
    return {number, QEL_UNIT_INCH};
}

QelValue inches(QelValue const & value) {
    return {value, QEL_UNIT_INCH};
}

QelValue centimeters(double number) {
    return {number, QEL_UNIT_CENTIMETER};
}

QelValue centimeters(QelValue const & value) {
    return {value, QEL_UNIT_CENTIMETER};
}

QelValue points(double number) {
    return {number, QEL_UNIT_POINT};
}

QelValue points(QelValue const & value) {
    return {value, QEL_UNIT_POINT};
}

QelValue normalized(double number) {
    return {number, QEL_UNIT_NORMALIZED};
}

QelValue normalized(QelValue const & value) {
    return {value, QEL_UNIT_NORMALIZED};
}

QelValue pixels(double number) {
    return {number, QEL_UNIT_PIXEL};
}

QelValue pixels(QelValue const & value) {
    return {value, QEL_UNIT_PIXEL};
}

std::ostream & operator<<(std::ostream & out, QelValue const & value) {
    QelUnitInfo const & unit = QelValue::getUnitInfo(value.unit());
    return out << value.value() << ' ' << (value == 1.0 ? unit.singularName : unit.pluralName);
}

std::istream & operator>>(std::istream & in, QelValue & value) {
    double number = 0.0;
    int unit = 0;
    if (!qelReadNumber(in, number) || !qelReadUnit(in, unit)) raiseBadUnit(in);
    value = QelValue(number, unit);
    return in;
}

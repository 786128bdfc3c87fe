#pragma once

#include <iosfwd>
#include <string>

#include "QelUnitInfo.h"

// A number with a unit of measure: a length, a time, an angle. A plain value.
//
// Values convert between units that have the same standard unit (inches and centimeters through
// meters). A value in arbitrary units converts to any unit, and any value to arbitrary units,
// without scaling. Pixels and relative units convert to nothing else here; a coordinate space knows
// their size.
//
// Comparison is tolerant: the right operand is converted to the left one's unit and compared with
// the left unit's tolerance, so exactly one of a < b, a == b and a > b holds. It is not symmetric
// across units, and not transitive.
//
// Operations on two values raise cannotConvertUnit (306) if these do not convert: "Cannot convert
// from unit ", plural name, " (id = ", id, ") to unit ", plural name, " (id = ", id and ")". All
// operations that take a unit raise noSuchUnit (300) for an identifier outside 0 to 255 and
// unitNotRegistered (301) for one that is not registered.
//
// The registry of units is process-wide and filled on first use. Any number of threads may read
// it; one thread may register a unit or set a tolerance, while no other reads.
class QEL_API QelValue {
  public:
    // 0.0 in arbitrary units.
    QelValue() = default;
    QelValue(double value, int unit);
    // `other` converted to `unit`.
    QelValue(QelValue const & other, int unit);

    QelValue(QelValue const &) = default;
    QelValue & operator=(QelValue const &) = default;
    // The number alone, in this value's unit.
    QelValue & operator=(double value) {
        value_ = value;
        return *this;
    }

    double value() const { return value_; }
    int unit() const { return unit_; }
    void setValue(double value) { value_ = value; }
    // The number of `other` in this value's unit.
    void assignConverted(QelValue const & other);

    void convertTo(int unit);
    // The number of this value in `unit`.
    double valueIn(int unit) const { return QelValue(*this, unit).value(); }
    int getStandardUnit() const;
    bool isCompatible(QelValue const & other) const;

    // Results are in the left operand's unit; a double is taken to be in that unit.
    QelValue & operator+=(QelValue const & other);
    QelValue & operator-=(QelValue const & other);
    QelValue & operator+=(double number);
    QelValue & operator-=(double number);
    QelValue & operator*=(double factor);
    friend QelValue operator+(QelValue a, QelValue const & b) { return a += b; }
    friend QelValue operator-(QelValue a, QelValue const & b) { return a -= b; }
    friend QelValue operator+(QelValue a, double b) { return a += b; }
    friend QelValue operator-(QelValue a, double b) { return a -= b; }
    friend QelValue operator*(QelValue a, double factor) { return a *= factor; }

    // In place.
    void round();     // floor(value + 0.5)
    void truncate();  // toward zero
    void ceiling();
    void floor();
    void scale(double factor) { value_ *= factor; }

    // Equal, or at most the unit's tolerance apart.
    bool operator==(QelValue const & other) const { return equals(other.numberIn(unit_)); }
    bool operator==(double number) const { return equals(number); }
    bool operator!=(QelValue const & other) const { return !(*this == other); }
    bool operator!=(double number) const { return !equals(number); }
    // More than the tolerance apart, in that direction.
    bool operator<(QelValue const & other) const { return isBelow(other.numberIn(unit_)); }
    bool operator<(double number) const { return isBelow(number); }
    bool operator>(QelValue const & other) const { return !(*this <= other); }
    bool operator>(double number) const { return !isAtMost(number); }
    bool operator<=(QelValue const & other) const { return isAtMost(other.numberIn(unit_)); }
    bool operator<=(double number) const { return isAtMost(number); }
    bool operator>=(QelValue const & other) const { return !(*this < other); }
    bool operator>=(double number) const { return !isBelow(number); }

    // ---- The registry of units

    // Rows keep their addresses for the life of the process.
    static QelUnitInfo const & getUnitInfo(int id);
    // Searches singular names, then plural ones, by ascending identifier, ignoring case. Raises
    // noSuchUnit (300) for an unknown name.
    static QelUnitInfo const & getUnitInfo(std::string const & name);

    // Adds a client's unit, with an identifier from 128 to 255. Checked in this order, before any
    // change:
    // - unitReserved (302) for an identifier below 128, noSuchUnit (300) above 255 or negative,
    //   unitTaken (303) for one that is taken;
    // - illegalUnitMultiplier (304) for a standard unit (id == standardId) with a multiplier other
    //   than 1.0;
    // - unitNotRegistered (301) for another unit whose standard unit is not registered,
    //   notAStandardUnit (305) if that has a multiplier other than 1.0,
    //   illegalUnitMultiplier (304) for a multiplier that is not above 0.0;
    // - invalidValue (13) for a negative tolerance.
    static void registerUnit(std::string const & singular, std::string const & plural, int id,
                             int standardId, double multiplier, double tolerance);
    // A standard unit.
    static void registerUnit(std::string const & singular, std::string const & plural, int id,
                             double tolerance);

    // Whether they are equal, either is arbitrary, or both have the same standard unit.
    static bool isCompatible(int idA, int idB);

    // Raises invalidValue (13) for a negative tolerance.
    static void setTolerance(int id, double tolerance);
    // The tolerance of all units that have the standard unit `id`, as one physical distance, given
    // in that unit; for a unit that converts to no other, its own tolerance. Raises
    // notAStandardUnit (305) for a unit that is not a standard unit, and invalidValue (13) for a
    // negative tolerance.
    static void setStandardTolerance(int id, double tolerance);

  private:
    double numberIn(int unit) const { return unit == unit_ ? value_ : convertedTo(unit); }
    double convertedTo(int unit) const;
    bool equals(double number) const;
    bool isBelow(double number) const;
    bool isAtMost(double number) const;

    double value_ = 0.0;
    int unit_ = QEL_UNIT_ARBITRARY;
};

// In a unit: from a number, or from a value, converted.
QEL_API QelValue inches(double number);
QEL_API QelValue inches(QelValue const & value);
QEL_API QelValue centimeters(double number);
QEL_API QelValue centimeters(QelValue const & value);
QEL_API QelValue points(double number);
QEL_API QelValue points(QelValue const & value);
QEL_API QelValue normalized(double number);
QEL_API QelValue normalized(QelValue const & value);
QEL_API QelValue pixels(double number);
QEL_API QelValue pixels(QelValue const & value);

// The number in the stream's own format, a blank, and the unit's singular name if the value equals
// 1.0, else its plural name.
QEL_API std::ostream & operator<<(std::ostream & out, QelValue const & value);

// A number, blanks, and a unit's name, singular or plural, with exact case. Raises
// invalidValue (13) "Bad unit for QelValue", with the stream's bad bit set, for anything else. A
// name that is a prefix of an earlier one in the registry is not found: "1 mil" fails because of
// "millimeter", "2 mils" does not.
QEL_API std::istream & operator>>(std::istream & in, QelValue & value);

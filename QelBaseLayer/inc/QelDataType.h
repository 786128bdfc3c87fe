#pragma once

#include <cstdint>
#include <iosfwd>
#include <typeinfo>

#include "QelExport.h"

// The element type of a pixel's bands. A small value; safe to copy anywhere.
//
//   code  enumerator  element          bytes  text name
//   0     UChar       std::uint8_t     1      "unsigned char"
//   1     Short       std::int16_t     2      "short"
//   2     Long        std::int32_t     4      "long"
//   3     Float       float            4      "float"
//   4     Double      double           8      "double"
//   5     UShort      std::uint16_t    2      "unsigned short"
//   6     Char        std::int8_t      1      "char"
//   7     ULong       std::uint32_t    4      "unsigned long"
//   8     Mixed       bands differ     0      "QelDataType::MixedClass"
//   9     Error       no valid type    0      "QelDataType::ErrorClass"
class QEL_API QelDataType {
  public:
    enum Code : int { UChar, Short, Long, Float, Double, UShort, Char, ULong, Mixed, Error };

    // Their type records represent the codes Mixed and Error.
    class MixedClass {};
    class ErrorClass {};

    // Error.
    QelDataType();
    // An unknown code gives Error.
    QelDataType(int code);
    // As fromName().
    QelDataType(char const * name);
    // A type of the caller's own: code() is Error unless the record is one of the table's.
    QelDataType(std::type_info const & type, std::int32_t size) : type_(&type), size_(size) {}

    // The type with this text name; null or no match gives Error.
    static QelDataType fromName(char const * name);

    // The type of an element: QelDataType::of<float>() is Float. T is an element of the table, as
    // the fixed-width types are; others give a type of the caller's own with the code Error. Such
    // is of<long>(), since no row has 64 bits: Long is of<std::int32_t>().
    template <class T>
    static QelDataType of() {
        return QelDataType(typeid(T), static_cast<std::int32_t>(sizeof(T)));
    }

    std::type_info const * type() const { return type_; }
    // Bytes per element; 0 for Mixed and Error.
    std::int32_t size() const { return size_; }

    // 9 for a type record that matches no row of the table.
    int code() const;
    // Valid for the life of the process.
    char const * name() const;
    // Does run-time dispatch over pixel types support it? True for UChar, Short and Float.
    bool isTypeswitchType() const;

    // Equal: the same type record, or equal sizes and records that compare equal.
    friend bool operator==(QelDataType const & a, QelDataType const & b) {
        return a.type_ == b.type_ || (a.size_ == b.size_ && *a.type_ == *b.type_);
    }
    friend bool operator==(QelDataType const & a, int code) { return a.code() == code; }

  private:
    std::type_info const * type_;
    std::int32_t size_;
};

// Writes the text name.
QEL_API std::ostream & operator<<(std::ostream & out, QelDataType const & type);
QEL_API std::ostream & operator<<(std::ostream & out, QelDataType::Code code);

// Reads a word, or two after "unsigned"; a text that names no type gives Error.
QEL_API std::istream & operator>>(std::istream & in, QelDataType & type);
QEL_API std::istream & operator>>(std::istream & in, QelDataType::Code & code);

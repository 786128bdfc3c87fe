#pragma once

#include <concepts>
#include <ios>
#include <istream>
#include <locale>
#include <ostream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelAttribute.h"
#include "QelColor.h"
#include "QelColorSpace.h"
#include "QelValue.h"
#include "ptstring.h"

// The value of an attribute that is a list of texts.
using QelStringList = std::vector<ptstring<char>>;

// While it lives, a stream writes and reads in the classic locale, in decimal, without width, fill
// and flags. Its own are then restored. Its precision stays.
class QEL_API QelPlainFormat {
  public:
    explicit QelPlainFormat(std::ios & stream);
    QelPlainFormat(QelPlainFormat const &) = delete;
    QelPlainFormat & operator=(QelPlainFormat const &) = delete;
    ~QelPlainFormat();

  private:
    std::ios & stream_;
    std::ios_base::fmtflags flags_;
    char fill_;
    std::streamsize width_;
    std::locale locale_;
};

// The text form of values of type T: that of T's stream operators, except for the types below. A
// client may specialise it for its own types. The stream is in QelPlainFormat. Malformed text
// leaves the stream failed and, except for texts and lists, the value unchanged. Errors that a
// stream operator raises reach the caller.
template <class T>
struct QelAttributeText {
    static void write(std::ostream & out, T const & value) { out << value; }
    static void read(std::istream & in, T & value) {
        T read = value;
        if (in >> read) value = std::move(read);
    }
};

template <class T>
concept QelAttributeNumber = std::same_as<T, char> || std::same_as<T, unsigned char> ||
    std::same_as<T, short> || std::same_as<T, unsigned short> || std::same_as<T, int> ||
    std::same_as<T, unsigned int> || std::same_as<T, long> || std::same_as<T, unsigned long> ||
    std::same_as<T, float> || std::same_as<T, double> || std::same_as<T, bool>;

// Integers in decimal; an unsigned char is truncated from an int, and other unsigned numbers have
// no sign. Floating point at the stream's precision: 9 digits restore every float, 17 every double;
// infinity and NaN cannot be read. bool is 1 or 0. char is the character itself; white space cannot
// be read.
template <QelAttributeNumber T>
struct QEL_API QelNumberText {
    static void write(std::ostream & out, T const & value);
    static void read(std::istream & in, T & value);
};

template <QelAttributeNumber T>
struct QelAttributeText<T> : QelNumberText<T> {};

// A text between double quotes, without escapes: one that contains a double quote is not restored
// whole. Reading takes any character as the first quote, then at most 255 up to the next double
// quote. If there are more, or no such quote, the value is what was read and the stream fails.
template <>
struct QEL_API QelAttributeText<std::string> {
    static constexpr int longest = 255;
    static void write(std::ostream & out, std::string const & value);
    static void read(std::istream & in, std::string & value);
};

// L" and the units of UTF-16 as 0x and four hexadecimal digits, with commas between them, and ". An
// invalid code point is written as U+FFFD, except a lone surrogate, which is kept. A narrow text
// between double quotes is read too, as above, and converted by ZanATOW.
template <>
struct QEL_API QelAttributeText<std::wstring> {
    static void write(std::ostream & out, std::wstring const & value);
    static void read(std::istream & in, std::wstring & value);
};

// "[", texts between double quotes, with commas between them, and "]". Reading takes texts of at
// most 1023 characters each; if it fails, the value is the list so far, with any text that was cut
// off.
template <>
struct QEL_API QelAttributeText<QelStringList> {
    static constexpr int longest = 1023;
    static void write(std::ostream & out, QelStringList const & value);
    static void read(std::istream & in, QelStringList & value);
};

// An attribute whose value is a T: a number of QelAttributeNumber, a QelValue, a QelColor, a
// MoxSmartPtr<QelColorSpace>, a std::string, a std::wstring, a QelStringList, or any type that can
// be copied and has stream operators or a QelAttributeText.
//
// Operations that change the value raise attributeLocked (21) with the name as the whole text while
// the attribute is locked, before anything else, and what QelAttribute::changed() raises.
template <class T>
class QEL_API QelSimpleAttribute : public QelAttribute {
  public:
    explicit QelSimpleAttribute(std::string name, T value = T())
        : QelAttribute(std::move(name)), value_(std::move(value)) {}

    // `attribute` if its value is a T, otherwise null.
    static MoxSmartPtr<QelSimpleAttribute> of(QelAttribute * attribute) {
        return dynamic_cast<QelSimpleAttribute *>(attribute);
    }

    MoxSmartPtr<QelAttribute> clone(QelAttributeBased const * oldOwner,
                                    QelAttributeBased * newOwner) const override {
        MoxSmartPtr<QelSimpleAttribute> const copy(new QelSimpleAttribute(name(), value_));
        copy->takeCallbacks(*this, oldOwner, newOwner);
        return copy;
    }

    std::type_info const & getType() const override { return typeid(T); }

    void writeValue(std::ostream & out) const override {
        QelPlainFormat const plain(out);
        QelAttributeText<T>::write(out, value_);
    }

    // If the text cannot be read, the stream fails, and changed() is still called. An error that
    // the value's own reader raises leaves the value unchanged.
    void readValue(std::istream & in) override {
        checkChange(ZanSourceLocation::current());
        T read = value_;
        {
            QelPlainFormat const plain(in);
            QelAttributeText<T>::read(in, read);
        }
        value_ = std::move(read);
        changed();
    }

    bool copyValue(QelAttribute const & source) override {
        auto const * const same = dynamic_cast<QelSimpleAttribute const *>(&source);
        if (same == nullptr) return false;
        setValue(same->getValue());
        return true;
    }

    virtual T const & getValue() const { return value_; }

    // For changes in place; the caller calls changed() after them.
    virtual T & getValueForUpdate() {
        checkLock(ZanSourceLocation::current());
        return value_;
    }

    // Takes a new stamp and calls the callbacks, even if the value is the same.
    virtual void setValue(T value) {
        checkChange(ZanSourceLocation::current());
        value_ = std::move(value);
        changed();
    }

  private:
    T value_;
};

extern template class QEL_API QelSimpleAttribute<char>;
extern template class QEL_API QelSimpleAttribute<unsigned char>;
extern template class QEL_API QelSimpleAttribute<short>;
extern template class QEL_API QelSimpleAttribute<unsigned short>;
extern template class QEL_API QelSimpleAttribute<int>;
extern template class QEL_API QelSimpleAttribute<unsigned int>;
extern template class QEL_API QelSimpleAttribute<long>;
extern template class QEL_API QelSimpleAttribute<unsigned long>;
extern template class QEL_API QelSimpleAttribute<float>;
extern template class QEL_API QelSimpleAttribute<double>;
extern template class QEL_API QelSimpleAttribute<bool>;
extern template class QEL_API QelSimpleAttribute<QelValue>;
extern template class QEL_API QelSimpleAttribute<QelColor>;
extern template class QEL_API QelSimpleAttribute<MoxSmartPtr<QelColorSpace>>;
extern template class QEL_API QelSimpleAttribute<std::string>;
extern template class QEL_API QelSimpleAttribute<std::wstring>;
extern template class QEL_API QelSimpleAttribute<QelStringList>;

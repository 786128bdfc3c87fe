#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "QelColorSpaces.h"
#include "QelSimpleAttribute.h"
#include "QelValueText.h"
#include "ReadBack.h"

// The first byte chooses the type of the attribute, the others are the text.

namespace {

using Space = MoxSmartPtr<QelColorSpace>;

// ---- What a type says about itself: a start value, and below, what a value, a failure and an
// error may be.

template <class T>
T startOf() {
    return T(7);
}

template <>
bool startOf() {
    return true;
}

template <>
QelValue startOf() {
    return {7.5, QEL_UNIT_HOUR};
}

template <>
QelColor startOf() {
    return {Space(new QelRGBColorSpace()), 7.0};
}

template <>
Space startOf() {
    return new QelRGBColorSpace();
}

template <>
std::string startOf() {
    return "before";
}

template <>
std::wstring startOf() {
    return L"before";
}

template <>
QelStringList startOf() {
    return {ptstring<char>("before")};
}

template <class T>
bool isSame(T const & a, T const & b) {
    return a == b;
}

// Not within a tolerance.
bool isSame(QelValue const & a, QelValue const & b) {
    return a.value() == b.value() && a.unit() == b.unit();
}

bool isSame(Space const & a, Space const & b) {
    return a && b ? a->isEqual(*b) : a == b;
}

template <class T>
bool isPeculiar(T const &) {
    return false;
}

bool isPeculiar(QelValue const & value) {
    return hasNoReadableText(value);
}

// What may be left where the stream fails: the old value, or the part that was read.
template <class T>
bool mayBeLeft(T const & value) {
    return isSame(value, startOf<T>());
}

bool mayBeLeft(std::string const & text) {
    return text.size() <= QelAttributeText<std::string>::longest;
}

bool mayBeLeft(std::wstring const & text) {
    return text.size() <= QelAttributeText<std::string>::longest;
}

bool mayBeLeft(QelStringList const & list) {
    for (ptstring<char> const & text : list) {
        if (text.length() > QelAttributeText<QelStringList>::longest) return false;
    }
    return true;
}

template <class T>
bool mayRaise(int) {
    return false;
}

template <>
bool mayRaise<QelValue>(int code) {
    return code == QelErrorCode::invalidValue;
}

template <>
bool mayRaise<QelColor>(int code) {
    return code == QelErrorCode::invalidValue || code == QelErrorCode::countsDiffer;
}

template <>
bool mayRaise<Space>(int code) {
    return code == QelErrorCode::invalidValue;
}

// ---- The check

class ChangeCounter : public QelAttributeChangedCallback {
  public:
    explicit ChangeCounter(int & changes)
        : QelAttributeChangedCallback(nullptr), changes_(changes) {}
    std::unique_ptr<QelAttributeChangedCallback> clone(QelAttributeBased *) const override {
        return std::make_unique<ChangeCounter>(changes_);
    }
    void attributeChanged(MoxSmartPtr<QelAttribute> const &) override { ++changes_; }

  private:
    int & changes_;
};

template <class T>
class Reader {
  public:
    Reader() : attribute_(new QelSimpleAttribute<T>("fuzzed", startOf<T>())) {
        attribute_->addCallback(std::make_unique<ChangeCounter>(changes_));
    }
    Reader(Reader const &) = delete;
    Reader & operator=(Reader const &) = delete;

    // False when the stream failed or the value's own reader raised.
    bool read(std::string const & text) {
        std::istringstream in(text);
        in >> std::hex >> std::noskipws;
        auto const flags = in.flags();
        bool const reads = readFrom(in, text);
        if (in.flags() != flags) fuzzFail("the flags of the stream are others", text);
        return reads;
    }

    T const & value() const { return attribute_->getValue(); }

    std::string written() const {
        std::ostringstream out;
        out.precision(std::numeric_limits<double>::max_digits10);
        attribute_->writeValue(out);
        return out.str();
    }

  private:
    bool readFrom(std::istream & in, std::string const & text) {
        try {
            attribute_->readValue(in);
        } catch (ZanError const & error) {
            if (!mayRaise<T>(error.getErrcode())) fuzzFail(error.getMsg(), text);
            if (changes_ != 0) fuzzFail("changed though refused", text);
            if (!isSame(value(), startOf<T>())) fuzzFail("another value though refused", text);
            return false;
        }
        if (changes_ != 1) fuzzFail("not changed once", text);
        if (in.fail() && !mayBeLeft(value())) fuzzFail("another value though failed", text);
        return !in.fail();
    }

    int changes_ = 0;
    MoxSmartPtr<QelSimpleAttribute<T>> attribute_;
};

template <class T>
void check(std::string const & text) {
    Reader<T> first;
    if (!first.read(text)) return;
    std::string const written = first.written();
    Reader<T> again;
    if (again.read(written) == isPeculiar(first.value())) fuzzFail("does not read back", written);
    if (!isPeculiar(first.value()) && !isSame(first.value(), again.value())) {
        fuzzFail("reads back as " + again.written(), written);
    }
}

constexpr void (*checks[])(std::string const & text) = {
    check<char>,          check<unsigned char>, check<short>,       check<unsigned short>,
    check<int>,           check<unsigned int>,  check<long>,        check<unsigned long>,
    check<float>,         check<double>,        check<bool>,        check<QelValue>,
    check<QelColor>,      check<Space>,         check<std::string>, check<std::wstring>,
    check<QelStringList>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size == 0) return 0;
    // Letters from "A" on, so that inputs can be written by hand.
    std::size_t const type = (data[0] - std::size_t{'A'}) % std::size(checks);
    checks[type](std::string(reinterpret_cast<char const *>(data) + 1, size - 1));
    return 0;
}

#include "QelTextForm.h"

#include <charconv>
#include <iterator>
#include <locale>

#include "QelError.h"

namespace {

// Lends the classic locale to a reading facet.
class ClassicFormat : public std::ios {
  public:
    explicit ClassicFormat(std::istream const & stream) {
        init(nullptr);
        imbue(std::locale::classic());
        flags(stream.flags());
        setf(std::ios_base::dec, std::ios_base::basefield);
    }
};

template <class Number>
bool readNumber(std::istream & in, Number & number) {
    qelSkipSpace(in);
    if (!in.good()) {
        in.setstate(std::ios_base::failbit);
        return false;
    }
    using Iterator = std::istreambuf_iterator<char>;
    ClassicFormat format(in);
    std::ios_base::iostate state = std::ios_base::goodbit;
    std::use_facet<std::num_get<char>>(std::locale::classic())
        .get(Iterator(in), Iterator(), format, state, number);
    in.setstate(state);
    return !in.fail();
}

bool isSpace(int character) {
    return character >= 0 && std::isspace(static_cast<char>(character), std::locale::classic());
}

bool isOfWord(int character) {
    return character == '_' ||
           (character >= 0 && std::isalnum(static_cast<char>(character), std::locale::classic()));
}

}  // namespace

bool qelReadNumber(std::istream & in, double & number) {
    return readNumber(in, number);
}

bool qelReadNumber(std::istream & in, unsigned & number) {
    qelSkipSpace(in);
    // The facet would take a negative number and wrap it round.
    if (qelPeek(in) == '-' || qelPeek(in) == '+') in.setstate(std::ios_base::failbit);
    return readNumber(in, number);
}

int qelPeek(std::istream & in) {
    return in.good() ? in.peek() : std::istream::traits_type::eof();
}

void qelSkipSpace(std::istream & in) {
    while (isSpace(qelPeek(in)))
        in.get();
}

std::string qelReadWord(std::istream & in, std::size_t most) {
    std::string word;
    while (word.size() < most && isOfWord(qelPeek(in)))
        word += static_cast<char>(in.get());
    return word;
}

bool qelSkip(std::istream & in, int count) {
    for (int i = 0; i < count; ++i)
        in.get();
    return !in.fail();
}

bool qelSkipPast(std::istream & in, char wanted) {
    while (in.good()) {
        if (in.get() == wanted) return true;
    }
    in.setstate(std::ios_base::failbit);
    return false;
}

bool qelTake(std::istream & in, char wanted) {
    if (qelPeek(in) != wanted) return false;
    in.get();
    return true;
}

void qelExpect(std::istream & in, char const * text, char const * refusal,
               ZanSourceLocation const & here) {
    qelSkipSpace(in);
    for (; *text != '\0'; ++text) {
        if (qelTake(in, *text)) continue;
        in.setstate(std::ios_base::failbit);
        qelRaise(QelErrorCode::invalidValue, refusal, here);
    }
}

std::string qelReadUntil(std::istream & in, char end, std::size_t most) {
    std::string text;
    while (text.size() < most && qelPeek(in) >= 0 && qelPeek(in) != end)
        text += static_cast<char>(in.get());
    return text;
}

std::string qelShortest(double number) {
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

std::string qelShortest(int number) {
    return std::to_string(number);
}

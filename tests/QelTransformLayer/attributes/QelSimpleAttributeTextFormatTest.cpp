#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "AttributeTesting.h"
#include "AttributeTextTesting.h"
#include "ExpectError.h"
#include "QelColorSpaces.h"
#include "QelSimpleAttribute.h"
#include "UnitTesting.h"

// What a client left in a stream says nothing about the text of an attribute, and is still there
// afterwards.

namespace {

using Space = MoxSmartPtr<QelColorSpace>;
using Attribute = MoxSmartPtr<QelAttribute>;

template <class T>
Attribute attributeOf(T value) {
    return Attribute(new QelSimpleAttribute<T>("any", std::move(value)));
}

struct Case {
    Attribute value;
    Attribute other;
    std::string text;
};

template <class T>
Case caseOf(T const & value, T const & other, std::string const & text) {
    return {attributeOf(value), attributeOf(other), text};
}

// One of every type, with another value to read into.
std::vector<Case> allCases() {
    Space const rgb(new QelRGBColorSpace(3, -1000.0, 1234.5));
    std::string const rgbText = "QelRGBColorSpace[b=3, min=-1000, max=1234.5]";
    return {caseOf('x', 'y', "x"),
            caseOf<unsigned char>(200, 1, "200"),
            caseOf<short>(-31234, 1, "-31234"),
            caseOf<unsigned short>(61234, 1, "61234"),
            caseOf(-1234567, 1, "-1234567"),
            caseOf(1234567U, 1U, "1234567"),
            caseOf(-123456789012L, 1L, "-123456789012"),
            caseOf(123456789012UL, 1UL, "123456789012"),
            caseOf(1234.5F, 1.0F, "1234.5"),
            caseOf(-1234.25, 1.0, "-1234.25"),
            caseOf(1e300, 1.0, "1e+300"),
            caseOf(true, false, "1"),
            caseOf(pixels(1234.5), pixels(1.0), "1234.5 pixels"),
            caseOf(QelColor(rgb, 1234.5), QelColor(0),
                   "QelColor[" + rgbText + ":<1234.5,1234.5,1234.5>]"),
            caseOf(rgb, Space(), rgbText),
            caseOf<std::string>(" 1234 ", "", "\" 1234 \""),
            caseOf<std::wstring>(L"\x1234\xabcd", L"", "L\"0x1234,0xabcd\""),
            caseOf<QelStringList>({ptstring<char>("1234"), ptstring<char>(" ")}, {},
                                  "[\"1234\",\" \"]")};
}

using Setting = std::function<void(std::ios & stream)>;

std::vector<std::pair<char const *, Setting>> allSettings() {
    auto flag = [](std::ios_base::fmtflags flags) {
        return [flags](std::ios & stream) { stream.setf(flags); };
    };
    return {{"none", [](std::ios &) {}},
            {"hex", [](std::ios & stream) { std::hex(stream); }},
            {"oct", std::oct},
            {"no base", [](std::ios & stream) { stream.unsetf(std::ios_base::basefield); }},
            {"showbase", flag(std::ios_base::showbase)},
            {"boolalpha", flag(std::ios_base::boolalpha)},
            {"showpos", flag(std::ios_base::showpos)},
            {"showpoint", flag(std::ios_base::showpoint)},
            {"uppercase", flag(std::ios_base::uppercase)},
            {"fixed", std::fixed},
            {"scientific", std::scientific},
            {"hexfloat", std::hexfloat},
            {"noskipws", std::noskipws},
            {"width", [](std::ios & stream) { stream.width(30); }},
            {"width and fill",
             [](std::ios & stream) {
                 stream.width(20);
                 stream.fill('*');
             }},
            {"left", std::left},
            {"internal", std::internal},
            {"locale", [](std::ios & stream) { stream.imbue(GroupedLocale::grouped()); }}};
}

void unusual(std::ios & stream) {
    for (auto const & set : {std::hex, std::noskipws, std::boolalpha, std::fixed, std::uppercase})
        set(stream);
    stream.width(11);
    stream.precision(3);
    stream.fill('-');
    stream.imbue(GroupedLocale::grouped());
}

// All that a stream is set to.
class Settings {
  public:
    explicit Settings(std::ios const & stream)
        : flags_(stream.flags()),
          width_(stream.width()),
          precision_(stream.precision()),
          fill_(stream.fill()),
          locale_(stream.getloc()) {}

    void expectIn(std::ios const & stream) const {
        EXPECT_EQ(flags_, stream.flags());
        EXPECT_EQ(width_, stream.width());
        EXPECT_EQ(precision_, stream.precision());
        EXPECT_EQ(fill_, stream.fill());
        EXPECT_TRUE(locale_ == stream.getloc());
    }

  private:
    std::ios_base::fmtflags flags_;
    std::streamsize width_;
    std::streamsize precision_;
    char fill_;
    std::locale locale_;
};

std::string textOf(QelAttribute const & attribute) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(17);
    attribute.writeValue(out);
    return out.str();
}

void expectWrites(Case const & one, Setting const & setting) {
    std::ostringstream out;
    setting(out);
    Settings const before(out);
    one.value->writeValue(out);
    EXPECT_EQ(one.text, out.str());
    before.expectIn(out);
}

void expectReads(Case const & one, Setting const & setting) {
    std::istringstream in(" \t\n" + one.text + " x");
    setting(in);
    Settings const before(in);
    Attribute const into = one.other->clone(nullptr, nullptr);
    into->readValue(in);
    EXPECT_TRUE(in.good());
    EXPECT_EQ(textOf(*one.value), textOf(*into));
    EXPECT_NE(textOf(*one.other), textOf(*into));
    before.expectIn(in);
    EXPECT_EQ(" x", restOf(in));
}

TEST(QelSimpleAttributeTextFormatTest, NothingThatIsSetInAStreamChangesTheText) {
    for (auto const & [name, setting] : allSettings()) {
        for (Case const & one : allCases()) {
            SCOPED_TRACE(std::string(name) + ", " + one.text);
            expectWrites(one, setting);
            expectReads(one, setting);
        }
    }
}

TEST(QelSimpleAttributeTextFormatTest, AllThatCanBeSetAtOnceChangesNothingEither) {
    GroupedLocale const grouped;
    Setting const all = [](std::ios & stream) {
        unusual(stream);
        std::internal(stream);
        stream.setf(std::ios_base::showbase | std::ios_base::showpos | std::ios_base::unitbuf);
        stream.precision(6);
    };
    for (Case const & one : allCases()) {
        SCOPED_TRACE(one.text);
        expectWrites(one, all);
        expectReads(one, all);
    }
}

TEST(QelSimpleAttributeTextFormatTest, TheProgramsLocaleChangesNothing) {
    GroupedLocale const grouped;
    for (Case const & one : allCases()) {
        SCOPED_TRACE(one.text);
        expectWrites(one, [](std::ios &) {});
        expectReads(one, [](std::ios &) {});
    }
}

TEST(QelSimpleAttributeTextFormatTest, ThePrecisionIsTheStreamsAndStays) {
    for (auto const & [precision, text] :
         {std::pair(3, "1.23e+03"), std::pair(6, "1234.57"), std::pair(9, "1234.56787")}) {
        std::ostringstream out;
        out << std::setprecision(precision) << std::fixed;
        attributeOf(1234.56787109375F)->writeValue(out);
        attributeOf(1234.56787109375)->writeValue(out);
        EXPECT_EQ(std::string(text) + text, out.str());
        EXPECT_EQ(precision, out.precision());
        EXPECT_EQ(std::ios_base::fixed, out.flags() & std::ios_base::floatfield);
    }
}

TEST(QelSimpleAttributeTextFormatTest, TheWidthIsForWhatIsWrittenNext) {
    std::ostringstream out;
    out << std::setw(5) << std::setfill('.');
    attributeOf(12)->writeValue(out);
    out << 34;
    EXPECT_EQ("12...34", out.str());
}

TEST(QelSimpleAttributeTextFormatTest, AnObserverFindsTheStreamAsItWas) {
    for (Case const & one : allCases()) {
        std::istringstream in(one.text + ' ');
        unusual(in);
        Settings const before(in);
        int calls = 0;
        observe(*one.other, [&](AttributePtr const &) {
            ++calls;
            before.expectIn(in);
        });
        one.other->readValue(in);
        EXPECT_EQ(1, calls);
    }
}

// ---- Failures

TEST(QelSimpleAttributeTextFormatTest, TheStreamsSettingsAreBackAfterAFailure) {
    for (Attribute const & attribute :
         {attributeOf('a'), attributeOf(1), attributeOf(1.0), attributeOf(true),
          attributeOf(std::string()), attributeOf(std::wstring()), attributeOf(QelStringList())}) {
        for (char const * text : {"", "L\"0x", "[\"", "\"a"}) {
            std::istringstream in(text);
            unusual(in);
            Settings const before(in);
            attribute->readValue(in);
            before.expectIn(in);
        }
    }
}

TEST(QelSimpleAttributeTextFormatTest, TheStreamsSettingsAreBackAfterAnErrorOfTheReader) {
    std::istringstream in("x");
    unusual(in);
    Settings const before(in);
    expectRaises(QelErrorCode::invalidValue, "Bad unit for QelValue",
                 [&] { attributeOf(inches(1.0))->readValue(in); });
    before.expectIn(in);
    in.clear();
    expectRaises(QelErrorCode::invalidValue, "Invalid QelColor value",
                 [&] { attributeOf(QelColor(1))->readValue(in); });
    before.expectIn(in);
}

TEST(QelSimpleAttributeTextFormatTest, AStreamThatThrowsHasItsSettingsBackAndNothingChanges) {
    WatchedAttribute<int> const attribute(7);
    std::istringstream in("x");
    unusual(in);
    in.exceptions(std::ios_base::failbit);
    Settings const before(in);
    EXPECT_THROW(attribute->readValue(in), std::ios_base::failure);
    before.expectIn(in);
    EXPECT_EQ(7, attribute.value());
    EXPECT_EQ(0, attribute.changes());
}

TEST(QelSimpleAttributeTextFormatTest, AListOnAStreamThatThrowsStaysAsItWas) {
    WatchedAttribute<QelStringList> const attribute({ptstring<char>("a")});
    std::istringstream in("[\"b\";");
    in.exceptions(std::ios_base::failbit);
    EXPECT_THROW(attribute->readValue(in), std::ios_base::failure);
    EXPECT_EQ((QelStringList{ptstring<char>("a")}), attribute.value());
    EXPECT_EQ(0, attribute.changes());
}

TEST(QelSimpleAttributeTextFormatTest, AFailedStreamIsNotWrittenTo) {
    for (Case const & one : allCases()) {
        std::ostringstream out;
        unusual(out);
        out.setstate(std::ios_base::failbit);
        Settings const before(out);
        one.value->writeValue(out);
        EXPECT_EQ("", out.str());
        EXPECT_TRUE(out.fail());
        before.expectIn(out);
    }
}

// ---- The buffer of a stream

// Counts the locales that it is given, at which a file's buffer writes itself out, and how often
// it is flushed.
class CountingBuffer : public std::stringbuf {
  public:
    using std::stringbuf::stringbuf;
    int locales() const { return locales_; }
    int flushes() const { return flushes_; }

  protected:
    void imbue(std::locale const &) override { ++locales_; }
    int sync() override {
        ++flushes_;
        return 0;
    }

  private:
    int locales_ = 0;
    int flushes_ = 0;
};

TEST(QelSimpleAttributeTextFormatTest, AStreamOfTheClassicLocaleIsGivenNone) {
    for (Case const & one : allCases()) {
        CountingBuffer buffer(one.text);
        std::iostream stream(&buffer);
        one.value->writeValue(stream);
        one.other->readValue(stream);
        EXPECT_EQ(0, buffer.locales());
    }
}

TEST(QelSimpleAttributeTextFormatTest, AStreamIsFlushedOnlyIfItFlushesEverything) {
    for (Case const & one : allCases()) {
        CountingBuffer buffer;
        std::ostream stream(&buffer);
        one.value->writeValue(stream);
        EXPECT_EQ(0, buffer.flushes());
        stream << std::unitbuf;
        one.value->writeValue(stream);
        EXPECT_LT(0, buffer.flushes());
    }
}

// ---- Types of a client's own

struct Angle {
    double degrees = 0.0;
};

std::ostream & operator<<(std::ostream & out, Angle const & angle) {
    return out << std::setw(6) << angle.degrees;
}

std::istream & operator>>(std::istream & in, Angle & angle) {
    // Not by way of another one, so that what does not read leaves a trace.
    in >> angle.degrees;
    if (angle.degrees > 360.0) throw std::range_error("too much of an angle");
    return in;
}

TEST(QelSimpleAttributeTextFormatTest, AClientsTypeIsWrittenByItsOperators) {
    std::ostringstream out;
    unusual(out);
    out.precision(6);
    attributeOf(Angle{90.5})->writeValue(out);
    EXPECT_EQ("  90.5", out.str());
}

TEST(QelSimpleAttributeTextFormatTest, AClientsTypeIsReadByItsOperators) {
    WatchedAttribute<Angle> const attribute(Angle{1.0});
    std::istringstream in(" 90.5 x 400");
    unusual(in);
    attribute->readValue(in);
    EXPECT_EQ(90.5, attribute.value().degrees);
    attribute->readValue(in);
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(90.5, attribute.value().degrees);
    EXPECT_EQ(2, attribute.changes());
    in.clear();
    in.get();
    EXPECT_THROW(attribute->readValue(in), std::range_error);
    EXPECT_EQ(90.5, attribute.value().degrees);
    EXPECT_EQ(2, attribute.changes());
}

}  // namespace

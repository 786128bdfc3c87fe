#include "QelSimpleAttribute.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"
#include "ExpectError.h"
#include "QelColorSpaces.h"
#include "QelCoreMisc.h"
#include "ZanTypeInfoName.h"

namespace {

using Space = MoxSmartPtr<QelColorSpace>;
template <class... T>
struct Types {};
using AllTypes =
    Types<char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long, float,
          double, bool, QelValue, QelColor, Space, std::string, std::wstring, QelStringList>;

// Two values of each type that differ; the first one also from that of an attribute that was given
// none.
template <class T>
std::pair<T, T> samples() {
    if constexpr (std::is_same_v<T, char>) {
        return {'a', 'b'};
    } else if constexpr (std::is_arithmetic_v<T>) {
        return {static_cast<T>(1), static_cast<T>(std::is_same_v<T, bool> ? 0 : 2)};
    } else if constexpr (std::is_same_v<T, QelValue>) {
        return {inches(1.5), centimeters(2.0)};
    } else if constexpr (std::is_same_v<T, QelColor>) {
        return {QelColor(1), QelColor(2)};
    } else if constexpr (std::is_same_v<T, Space>) {
        return {new QelRGBColorSpace(3, 0.0, 1.0), new QelLumColorSpace()};
    } else if constexpr (std::is_same_v<T, std::string>) {
        return {"one", "two"};
    } else if constexpr (std::is_same_v<T, std::wstring>) {
        return {L"one", L"two"};
    } else {
        return {{"a", "b"}, {"b"}};
    }
}

enum class Sample { none, one, two };

// What the tests need to know of one type of values. They are written once, for all types.
class Kind {
  public:
    virtual ~Kind() = default;

    virtual std::type_info const & type() const = 0;
    std::string name() const { return QelCoreMisc::cleanTypeName(ZanTypeInfoName(type()).c_str()); }
    virtual AttributePtr make(std::string const & name, Sample sample) const = 0;
    // Is it an attribute of this type?
    virtual bool finds(QelAttribute * attribute) const = 0;
    // All of an attribute of this type.
    virtual bool holds(QelAttribute & attribute, Sample sample) const = 0;
    virtual void set(QelAttribute & attribute, Sample sample) const = 0;
    virtual void update(QelAttribute & attribute, Sample sample) const = 0;
};

template <class T>
class KindOf : public Kind {
  public:
    std::type_info const & type() const override { return typeid(T); }
    AttributePtr make(std::string const & name, Sample sample) const override {
        if (sample == Sample::none) return new QelSimpleAttribute<T>(name);
        return new QelSimpleAttribute<T>(name, valueOf(sample));
    }
    bool finds(QelAttribute * attribute) const override {
        return QelSimpleAttribute<T>::of(attribute).get() == attribute;
    }
    bool holds(QelAttribute & attribute, Sample sample) const override {
        T const & value = QelSimpleAttribute<T>::of(&attribute)->getValue();
        if constexpr (std::is_same_v<T, Space>) {
            if (value && sample != Sample::none) return value->isEqual(*valueOf(sample));
        }
        return value == valueOf(sample);
    }
    void set(QelAttribute & attribute, Sample sample) const override {
        QelSimpleAttribute<T>::of(&attribute)->setValue(valueOf(sample));
    }
    void update(QelAttribute & attribute, Sample sample) const override {
        QelSimpleAttribute<T>::of(&attribute)->getValueForUpdate() = valueOf(sample);
    }

  private:
    static T valueOf(Sample sample) {
        if (sample == Sample::none) return T();
        return sample == Sample::one ? samples<T>().first : samples<T>().second;
    }
};

template <class... T>
std::vector<std::shared_ptr<Kind const>> kindsOf(Types<T...>) {
    return {std::make_shared<KindOf<T>>()...};
}

std::vector<std::shared_ptr<Kind const>> const & allKinds() {
    static auto const kinds = kindsOf(AllTypes());
    return kinds;
}

class QelSimpleAttributeOfTest : public testing::TestWithParam<std::shared_ptr<Kind const>> {
  protected:
    Kind const & kind() const { return *GetParam(); }

    AttributePtr const attribute_ = kind().make("name", Sample::one);
};

// "unsigned_int"
std::string nameOf(testing::TestParamInfo<std::shared_ptr<Kind const>> const & kind) {
    std::string name = kind.param->name();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(EachType, QelSimpleAttributeOfTest, testing::ValuesIn(allKinds()), nameOf);

TEST_P(QelSimpleAttributeOfTest, HoldsItsNameAndItsValue) {
    EXPECT_EQ("name", attribute_->name());
    EXPECT_TRUE(kind().holds(*attribute_, Sample::one));
    kind().set(*attribute_, Sample::two);
    EXPECT_TRUE(kind().holds(*attribute_, Sample::two));
    EXPECT_FALSE(kind().holds(*attribute_, Sample::one));
    kind().update(*attribute_, Sample::one);
    EXPECT_TRUE(kind().holds(*attribute_, Sample::one));
}

TEST_P(QelSimpleAttributeOfTest, IsZeroOrEmptyAtFirst) {
    EXPECT_TRUE(kind().holds(*kind().make("name", Sample::none), Sample::none));
    EXPECT_FALSE(kind().holds(*attribute_, Sample::none));
}

TEST_P(QelSimpleAttributeOfTest, TellsItsType) {
    EXPECT_EQ(kind().type(), attribute_->getType());
}

TEST_P(QelSimpleAttributeOfTest, CloneHasTheValue) {
    attribute_->lock();
    AttributePtr const clone = attribute_->clone(nullptr, nullptr);
    ASSERT_TRUE(kind().finds(clone));
    EXPECT_NE(attribute_.get(), clone.get());
    EXPECT_TRUE(kind().holds(*clone, Sample::one));
    EXPECT_EQ("name", clone->name());
    EXPECT_FALSE(clone->locked());
    kind().set(*clone, Sample::two);
    EXPECT_TRUE(kind().holds(*attribute_, Sample::one));
}

// From each type, and with success from its own alone.
TEST_P(QelSimpleAttributeOfTest, CopiesValuesOfItsOwnTypeOnly) {
    int copied = 0;
    for (std::shared_ptr<Kind const> const & other : allKinds()) {
        SCOPED_TRACE(other->name());
        AttributePtr const source = other->make("source", Sample::one);
        AttributePtr const attribute = kind().make("name", Sample::two);
        int calls = 0;
        observe(*attribute, [&](AttributePtr const &) { ++calls; });
        std::uint32_t const before = attribute->timestamp();
        bool const same = other->type() == kind().type();
        EXPECT_EQ(same, kind().finds(source));
        EXPECT_EQ(same, attribute->copyValue(*source));
        EXPECT_EQ(same ? 1 : 0, calls);
        EXPECT_EQ(before + (same ? 1 : 0), attribute->timestamp());
        EXPECT_TRUE(kind().holds(*attribute, same ? Sample::one : Sample::two));
        EXPECT_EQ("name", attribute->name());
        copied += same ? 1 : 0;
    }
    EXPECT_EQ(1, copied);
}

TEST_P(QelSimpleAttributeOfTest, IsFoundByItsType) {
    EXPECT_TRUE(kind().finds(attribute_));
    EXPECT_TRUE(kind().finds(nullptr));
}

TEST_P(QelSimpleAttributeOfTest, WritesAndReads) {
    AttributePtr const read = kind().make("name", Sample::two);
    std::stringstream text;
    attribute_->writeValue(text);
    read->readValue(text);
    EXPECT_FALSE(text.fail()) << text.str();
    EXPECT_TRUE(kind().holds(*read, Sample::one));
}

// ---- The lock

TEST_P(QelSimpleAttributeOfTest, LockedRefusesEveryChangeAndConsumesNothing) {
    AttributePtr const source = kind().make("source", Sample::two);
    std::stringstream in;
    in << ' ';
    source->writeValue(in);
    std::string const text = in.str();
    attribute_->lock();
    std::uint32_t const before = attribute_->timestamp();
    struct Change {
        char const * name;
        std::function<void()> act;
    };
    for (Change const & change :
         {Change{"setValue", [&] { kind().set(*attribute_, Sample::two); }},
          Change{"getValueForUpdate", [&] { kind().update(*attribute_, Sample::two); }},
          // readValue on a locked attribute raises attributeLocked (21) before it consumes anything
          Change{"readValue", [&] { attribute_->readValue(in); }},
          Change{"copyValue", [&] { attribute_->copyValue(*source); }}}) {
        SCOPED_TRACE(change.name);
        std::optional<ZanError> const error = errorOf(change.act);
        ASSERT_TRUE(error);
        expectQelError(*error, QelErrorCode::attributeLocked, "name");
        EXPECT_NE(std::string::npos, std::string(error->getFile()).find("QelSimpleAttribute"));
        EXPECT_TRUE(kind().holds(*attribute_, Sample::one));
        EXPECT_EQ(before, attribute_->timestamp());
    }
    EXPECT_TRUE(in.good());
    EXPECT_EQ(0, in.tellg());
    EXPECT_EQ(text, in.str());
    attribute_->unlock();
    kind().set(*attribute_, Sample::two);
    EXPECT_TRUE(kind().holds(*attribute_, Sample::two));
}

// Locking changes neither getValue nor writeValue.
TEST_P(QelSimpleAttributeOfTest, LockedStillShowsItsValue) {
    std::ostringstream open;
    attribute_->writeValue(open);
    attribute_->lock();
    std::ostringstream locked;
    attribute_->writeValue(locked);
    EXPECT_EQ(open.str(), locked.str());
    EXPECT_TRUE(kind().holds(*attribute_, Sample::one));
    for (std::shared_ptr<Kind const> const & other : allKinds()) {
        if (other->type() == kind().type()) continue;
        EXPECT_FALSE(attribute_->copyValue(*other->make("source", Sample::one)));
    }
}

TEST(QelSimpleAttributeTest, TheTextOfTheLockIsTheAttributesOwnName) {
    Listener owner;
    IntPtr const attribute(new IntAttribute("own name"));
    owner.addAttribute(attribute, "key");
    attribute->lock();
    expectRaises(QelErrorCode::attributeLocked, "own name", [&] { attribute->setValue(1); });
}

// ---- Values

TEST(QelSimpleAttributeTest, NumbersAreZeroAtFirst) {
    EXPECT_EQ(0, MoxSmartPtr(new QelSimpleAttribute<int>("n"))->getValue());
    EXPECT_EQ(0.0, MoxSmartPtr(new QelSimpleAttribute<double>("n"))->getValue());
    EXPECT_FALSE(MoxSmartPtr(new QelSimpleAttribute<bool>("n"))->getValue());
    EXPECT_EQ('\0', MoxSmartPtr(new QelSimpleAttribute<char>("n"))->getValue());
    EXPECT_EQ("", MoxSmartPtr(new QelSimpleAttribute<std::string>("n"))->getValue());
    EXPECT_FALSE(MoxSmartPtr(new QelSimpleAttribute<Space>("n"))->getValue());
}

TEST(QelSimpleAttributeTest, AValueMayBeSetFromItself) {
    MoxSmartPtr<QelSimpleAttribute<std::string>> const text(
        new QelSimpleAttribute<std::string>("n", std::string(100, 'x')));
    text->setValue(text->getValue());
    EXPECT_EQ(std::string(100, 'x'), text->getValue());
    EXPECT_TRUE(text->copyValue(*text));
    EXPECT_EQ(std::string(100, 'x'), text->getValue());
}

// ---- Classes derived from it

class Even : public IntAttribute {
  public:
    using IntAttribute::IntAttribute;
    void setValue(int value) override { IntAttribute::setValue(value / 2 * 2); }
};

TEST(QelSimpleAttributeTest, CopyValueGoesThroughSetValue) {
    MoxSmartPtr<Even> const even(new Even("n"));
    IntPtr const source(new IntAttribute("n", 7));
    EXPECT_TRUE(even->copyValue(*source));
    EXPECT_EQ(6, even->getValue());
    EXPECT_TRUE(source->copyValue(*even));
    EXPECT_EQ(6, source->getValue());
    EXPECT_EQ(even.get(), IntAttribute::of(even).get());
}

// ---- A client's own types

struct Point {
    int x = 0;
    int y = 0;
    friend bool operator==(Point const &, Point const &) = default;
};

std::ostream & operator<<(std::ostream & out, Point const & point) {
    return out << point.x << ':' << point.y;
}

std::istream & operator>>(std::istream & in, Point & point) {
    char colon = '\0';
    in >> point.x >> colon;
    if (colon != ':') in.setstate(std::ios_base::failbit);
    return in >> point.y;
}

TEST(QelSimpleAttributeTest, HoldsAClientsTypeWithStreamOperators) {
    using PointAttribute = QelSimpleAttribute<Point>;
    Listener owner;
    MoxSmartPtr<PointAttribute> const point(new PointAttribute("at", Point{1, 2}));
    owner.addAttribute(point);
    EXPECT_EQ(typeid(Point), owner.getAttribute("at")->getType());
    std::stringstream text;
    text << std::hex << std::showpos;
    point->setValue({30, -4});
    point->writeValue(text);
    EXPECT_EQ("30:-4", text.str());
    MoxSmartPtr<PointAttribute> const other(new PointAttribute("at"));
    EXPECT_EQ(Point(), other->getValue());
    other->readValue(text);
    EXPECT_EQ((Point{30, -4}), other->getValue());
    EXPECT_TRUE(other->copyValue(*point));
    EXPECT_FALSE(other->copyValue(IntAttribute("at")));
}

TEST(QelSimpleAttributeTest, AClientsTypeThatDoesNotReadStaysAsItWas) {
    using PointAttribute = QelSimpleAttribute<Point>;
    MoxSmartPtr<PointAttribute> const point(new PointAttribute("at", Point{1, 2}));
    std::uint32_t const before = point->timestamp();
    int calls = 0;
    observe(*point, [&](AttributePtr const &) { ++calls; });
    std::istringstream text("7,8");
    point->readValue(text);
    EXPECT_TRUE(text.fail());
    EXPECT_EQ((Point{1, 2}), point->getValue());
    EXPECT_EQ(1, calls);
    EXPECT_EQ(before + 1, point->timestamp());
}

struct Switch {
    bool on = false;
};

}  // namespace

template <>
struct QelAttributeText<Switch> {
    static void write(std::ostream & out, Switch const & value) {
        out << (value.on ? "on" : "off");
    }
    static void read(std::istream & in, Switch & value) {
        std::string word;
        in >> word;
        value.on = word == "on";
    }
};

namespace {

TEST(QelSimpleAttributeTest, HoldsAClientsTypeWithATextFormOfItsOwn) {
    MoxSmartPtr<QelSimpleAttribute<Switch>> const light(
        new QelSimpleAttribute<Switch>("light", Switch{true}));
    std::ostringstream out;
    light->writeValue(out);
    EXPECT_EQ("on", out.str());
    std::istringstream in("off");
    light->readValue(in);
    EXPECT_FALSE(light->getValue().on);
}

}  // namespace

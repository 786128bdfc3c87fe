#include "QelSimpleAttribute.h"

#include <cstdint>
#include <functional>
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

namespace {

using Space = MoxSmartPtr<QelColorSpace>;
using Types = testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, long,
                             unsigned long, float, double, bool, QelValue, QelColor, Space,
                             std::string, std::wstring, QelStringList>;

// Two values of each type that differ, and from that of an attribute that was given none.
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

// One attribute of each type.
template <template <class...> class List, class... T>
std::vector<AttributePtr> oneOfEach(List<T...>) {
    return {AttributePtr(new QelSimpleAttribute<T>("of each", samples<T>().first))...};
}

template <class T>
class QelSimpleAttributeOf : public testing::Test {
  protected:
    using Attribute = QelSimpleAttribute<T>;

    MoxSmartPtr<Attribute> make() const { return new Attribute("name", one_); }

    T const one_ = samples<T>().first;
    T const two_ = samples<T>().second;
};

TYPED_TEST_SUITE(QelSimpleAttributeOf, Types);

TYPED_TEST(QelSimpleAttributeOf, HoldsItsNameAndItsValue) {
    auto const attribute = this->make();
    EXPECT_EQ("name", attribute->name());
    EXPECT_TRUE(attribute->getValue() == this->one_);
    attribute->setValue(this->two_);
    EXPECT_TRUE(attribute->getValue() == this->two_);
    EXPECT_FALSE(attribute->getValue() == this->one_);
    attribute->getValueForUpdate() = this->one_;
    EXPECT_TRUE(attribute->getValue() == this->one_);
}

TYPED_TEST(QelSimpleAttributeOf, IsZeroOrEmptyAtFirst) {
    auto const attribute = MoxSmartPtr(new QelSimpleAttribute<TypeParam>("name"));
    EXPECT_TRUE(attribute->getValue() == TypeParam());
}

TYPED_TEST(QelSimpleAttributeOf, TellsItsType) {
    EXPECT_EQ(typeid(TypeParam), this->make()->getType());
}

TYPED_TEST(QelSimpleAttributeOf, CloneHasTheValue) {
    auto const attribute = this->make();
    attribute->lock();
    auto const clone = QelSimpleAttribute<TypeParam>::of(attribute->clone(nullptr, nullptr));
    ASSERT_TRUE(clone);
    EXPECT_NE(attribute.get(), clone.get());
    EXPECT_TRUE(clone->getValue() == this->one_);
    EXPECT_EQ("name", clone->name());
    EXPECT_FALSE(clone->locked());
    clone->setValue(this->two_);
    EXPECT_TRUE(attribute->getValue() == this->one_);
}

// From each type, and with success from its own alone.
TYPED_TEST(QelSimpleAttributeOf, CopiesValuesOfItsOwnTypeOnly) {
    int copied = 0;
    for (AttributePtr const & source : oneOfEach(Types())) {
        SCOPED_TRACE(source->getType().name());
        auto const attribute = this->make();
        attribute->setValue(this->two_);
        int calls = 0;
        observe(*attribute, [&](AttributePtr const &) { ++calls; });
        std::uint32_t const before = attribute->timestamp();
        bool const same = source->getType() == typeid(TypeParam);
        EXPECT_EQ(same, attribute->copyValue(*source));
        EXPECT_EQ(same ? 1 : 0, calls);
        EXPECT_EQ(before + (same ? 1 : 0), attribute->timestamp());
        auto const own = QelSimpleAttribute<TypeParam>::of(source);
        EXPECT_EQ(same, own != nullptr);
        EXPECT_TRUE(attribute->getValue() == (own ? own->getValue() : this->two_));
        EXPECT_EQ("name", attribute->name());
        copied += same ? 1 : 0;
    }
    EXPECT_EQ(1, copied);
}

TYPED_TEST(QelSimpleAttributeOf, IsFoundByItsType) {
    auto const attribute = this->make();
    AttributePtr const base = attribute;
    EXPECT_EQ(attribute.get(), QelSimpleAttribute<TypeParam>::of(base).get());
    EXPECT_FALSE(QelSimpleAttribute<TypeParam>::of(nullptr));
}

TYPED_TEST(QelSimpleAttributeOf, WritesAndReads) {
    auto const source = this->make();
    auto const attribute = this->make();
    attribute->setValue(this->two_);
    std::stringstream text;
    source->writeValue(text);
    attribute->readValue(text);
    EXPECT_FALSE(text.fail()) << text.str();
    if constexpr (std::is_same_v<TypeParam, Space>) {
        EXPECT_TRUE(attribute->getValue()->isEqual(*this->one_));
    } else {
        EXPECT_TRUE(attribute->getValue() == this->one_);
    }
}

// ---- The lock

struct Change {
    char const * name;
    std::function<void(QelAttribute & attribute)> act;
};

template <class T>
std::vector<Change> changes(std::istream & in, QelAttribute const & source, T const & value) {
    using Attribute = QelSimpleAttribute<T>;
    return {
        {"setValue", [value](QelAttribute & a) { Attribute::of(&a)->setValue(value); }},
        {"getValueForUpdate", [](QelAttribute & a) { Attribute::of(&a)->getValueForUpdate(); }},
        // readValue on a locked attribute raises code 21 before it consumes anything
        {"readValue", [&in](QelAttribute & a) { a.readValue(in); }},
        {"copyValue", [&source](QelAttribute & a) { a.copyValue(source); }},
    };
}

TYPED_TEST(QelSimpleAttributeOf, LockedRefusesEveryChangeAndConsumesNothing) {
    std::stringstream in;
    auto const attribute = this->make();
    auto const source = MoxSmartPtr(new QelSimpleAttribute<TypeParam>("source", this->two_));
    in << ' ';
    source->writeValue(in);
    std::string const text = in.str();
    attribute->lock();
    std::uint32_t const before = attribute->timestamp();
    for (Change const & change : changes<TypeParam>(in, *source, this->two_)) {
        SCOPED_TRACE(change.name);
        std::optional<ZanError> const error = errorOf([&] { change.act(*attribute); });
        ASSERT_TRUE(error);
        expectQelError(*error, 21, "name");
        EXPECT_NE(std::string::npos, std::string(error->getFile()).find("QelSimpleAttribute"));
        EXPECT_TRUE(attribute->getValue() == this->one_);
        EXPECT_EQ(before, attribute->timestamp());
    }
    EXPECT_TRUE(in.good());
    EXPECT_EQ(0, in.tellg());
    EXPECT_EQ(text, in.str());
    attribute->unlock();
    attribute->setValue(this->two_);
    EXPECT_TRUE(attribute->getValue() == this->two_);
}

// Locking changes neither getValue nor writeValue.
TYPED_TEST(QelSimpleAttributeOf, LockedStillShowsItsValue) {
    auto const attribute = this->make();
    std::ostringstream open;
    attribute->writeValue(open);
    attribute->lock();
    std::ostringstream locked;
    attribute->writeValue(locked);
    EXPECT_EQ(open.str(), locked.str());
    EXPECT_TRUE(attribute->getValue() == this->one_);
    for (AttributePtr const & source : oneOfEach(Types())) {
        if (source->getType() == typeid(TypeParam)) continue;
        EXPECT_FALSE(attribute->copyValue(*source));
    }
}

TEST(QelSimpleAttribute, TheTextOfTheLockIsTheAttributesOwnName) {
    Listener owner;
    IntPtr const attribute(new IntAttribute("own name"));
    owner.addAttribute(attribute, "key");
    attribute->lock();
    expectRaises(21, "own name", [&] { attribute->setValue(1); });
}

// ---- Values

TEST(QelSimpleAttribute, NumbersAreZeroAtFirst) {
    EXPECT_EQ(0, MoxSmartPtr(new QelSimpleAttribute<int>("n"))->getValue());
    EXPECT_EQ(0.0, MoxSmartPtr(new QelSimpleAttribute<double>("n"))->getValue());
    EXPECT_FALSE(MoxSmartPtr(new QelSimpleAttribute<bool>("n"))->getValue());
    EXPECT_EQ('\0', MoxSmartPtr(new QelSimpleAttribute<char>("n"))->getValue());
    EXPECT_EQ("", MoxSmartPtr(new QelSimpleAttribute<std::string>("n"))->getValue());
    EXPECT_FALSE(MoxSmartPtr(new QelSimpleAttribute<Space>("n"))->getValue());
}

TEST(QelSimpleAttribute, AValueMayBeSetFromItself) {
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

TEST(QelSimpleAttribute, CopyValueGoesThroughSetValue) {
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

TEST(QelSimpleAttribute, HoldsAClientsTypeWithStreamOperators) {
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

TEST(QelSimpleAttribute, AClientsTypeThatDoesNotReadStaysAsItWas) {
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

TEST(QelSimpleAttribute, HoldsAClientsTypeWithATextFormOfItsOwn) {
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

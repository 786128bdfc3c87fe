#include "QelAttributeChangedRegistration.h"

#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "../platform/Sanitized.h"
#include "AttributeTesting.h"

namespace {

// Notes what is called, and holds an attribute of whoever it is.
class Log {
  public:
    void note(char const * what, AttributePtr const & attribute) {
        text_ += what;
        attribute_ = attribute;
    }
    std::string const & text() const { return text_; }
    QelAttribute const * attribute() const { return attribute_; }

  private:
    std::string text_;
    AttributePtr attribute_;
};

class Plain : public QelAttributeBased, public Log {
  public:
    void changed(AttributePtr const & attribute) { note("plain", attribute); }
    virtual void drawn(AttributePtr const & attribute) { note("drawn", attribute); }
};

class Derived : public Plain {
  public:
    void drawn(AttributePtr const & attribute) override { note("derived", attribute); }
};

// QelAttributeBased is not what the object begins with.
class Shifted : public Log, public QelAttributeBased {
  public:
    void changed(AttributePtr const & attribute) { note("shifted", attribute); }
};

class Virtual : public virtual QelAttributeBased, public Log {
  public:
    void changed(AttributePtr const & attribute) { note("virtual", attribute); }
};

class Left : public virtual QelAttributeBased {};
class Right : public virtual QelAttributeBased {};
class Diamond : public Left, public Right, public Log {
  public:
    void changed(AttributePtr const & attribute) { note("diamond", attribute); }
};

// The action comes from a base class at an offset.
class Aside {
  public:
    void changed(AttributePtr const & attribute) { log.note("aside", attribute); }
    std::string const & text() const { return log.text(); }
    QelAttribute const * attribute() const { return log.attribute(); }

  private:
    Log log;
};
class WithAside : public Left, public Aside {};

template <class T>
class QelAttributeChangedRegistrationTargetTest : public testing::Test {};

// Sanitizers take every call of a function of a base class that stands behind another one, through
// a pointer to member, for one of an object of the wrong class.
using AsideTarget = std::conditional_t<sanitized, Plain, WithAside>;
using Targets = testing::Types<Plain, Derived, Shifted, Virtual, Diamond, AsideTarget>;
TYPED_TEST_SUITE(QelAttributeChangedRegistrationTargetTest, Targets);

template <class T>
std::string expectedText() {
    if constexpr (std::is_base_of_v<Plain, T>) return "plain";
    if constexpr (std::is_same_v<T, Shifted>) return "shifted";
    if constexpr (std::is_same_v<T, Virtual>) return "virtual";
    if constexpr (std::is_same_v<T, Diamond>) return "diamond";
    return "aside";
}

TYPED_TEST(QelAttributeChangedRegistrationTargetTest, CallsTheMemberFunction) {
    TypeParam target;
    IntPtr const attribute(new IntAttribute("size"));
    auto registration =
        std::make_unique<QelAttributeChangedRegistration<TypeParam>>(&target, &TypeParam::changed);
    EXPECT_EQ(static_cast<QelAttributeBased *>(&target), registration->getTarget());
    attribute->addCallback(std::move(registration));
    EXPECT_EQ("", target.text());
    attribute->setValue(1);
    EXPECT_EQ(expectedText<TypeParam>(), target.text());
    EXPECT_EQ(attribute.get(), target.attribute());
}

TYPED_TEST(QelAttributeChangedRegistrationTargetTest, ACloneCallsTheOtherTarget) {
    TypeParam target;
    TypeParam other;
    IntPtr const attribute(new IntAttribute("size"));
    attribute->addCallback(
        std::make_unique<QelAttributeChangedRegistration<TypeParam>>(&target, &TypeParam::changed));
    AttributePtr const clone = attribute->clone(&target, &other);
    ASSERT_EQ(1, clone->numCallbacks());
    clone->changed();
    EXPECT_EQ("", target.text());
    EXPECT_EQ(expectedText<TypeParam>(), other.text());
    EXPECT_EQ(clone.get(), other.attribute());
}

TEST(QelAttributeChangedRegistrationTest, CallsWhatADerivedClassOverrides) {
    Derived target;
    QelAttributeChangedRegistration<Plain> registration(&target, &Plain::drawn);
    registration.attributeChanged(AttributePtr(new IntAttribute("size")));
    EXPECT_EQ("derived", target.text());
}

TEST(QelAttributeChangedRegistrationTest, ATargetOfAnotherClassIsNotCalled) {
    Plain target;
    Virtual other;
    QelAttributeChangedRegistration<Plain> const registration(&target, &Plain::changed);
    auto const clone = registration.clone(&other);
    EXPECT_EQ(&other, clone->getTarget());
    clone->attributeChanged(AttributePtr(new IntAttribute("size")));
    registration.clone(nullptr)->attributeChanged(AttributePtr(new IntAttribute("size")));
    EXPECT_EQ("", target.text());
    EXPECT_EQ("", other.text());
}

// ---- Targets that begin and end

class PlainBase : public QelAttributeBased {};
class VirtualBase : public virtual QelAttributeBased {};

// Changes its attribute when its own objects begin and end; they are no more than that then.
template <class Base>
class Changing : public Base {
  public:
    explicit Changing(QelAttributeChangedCallback const & callback) {
        IntPtr const attribute(new IntAttribute("size"));
        attribute->addCallback(callback.clone(this));
        this->addAttribute(attribute);
        change();
    }
    ~Changing() override { change(); }

    void change() { this->getAttribute("size")->changed(); }
};

template <class Base>
class Living : public Changing<Base> {
  public:
    using Registration = QelAttributeChangedRegistration<Living>;

    explicit Living(std::string & calls)
        : Changing<Base>(Registration(nullptr, &Living::changed)), calls_(&calls) {
        calls += "begins ";
        this->change();
    }
    ~Living() override {
        this->change();
        *calls_ += "ends";
    }

  private:
    void changed(AttributePtr const & attribute) { *calls_ += attribute->name() + ' '; }

    std::string * calls_;
};

template <class Base>
class QelAttributeChangedRegistrationLifeTest : public testing::Test {};

using Bases = testing::Types<PlainBase, VirtualBase>;
TYPED_TEST_SUITE(QelAttributeChangedRegistrationLifeTest, Bases);

TYPED_TEST(QelAttributeChangedRegistrationLifeTest,
           TargetsAreNotCalledBeforeTheyBeginAndOnceTheyEnd) {
    std::string calls;
    {
        Living<TypeParam> const target(calls);
        EXPECT_EQ("begins size ", calls);
        EXPECT_EQ(1, target.getAttribute("size")->numCallbacks());
    }
    EXPECT_EQ("begins size size ends", calls);
}

}  // namespace

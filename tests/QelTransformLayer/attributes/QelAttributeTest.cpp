#include "QelAttribute.h"

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "AttributeTesting.h"
#include "ExpectError.h"

namespace {

IntPtr number(int value = 0) {
    return new IntAttribute("size", value);
}

// Notes the calls of callbacks by their names.
class Calls {
  public:
    ActionCallback::Action named(char const * name) {
        return [this, name](AttributePtr const &) { calls_ += name; };
    }
    QelAttributeChangedCallback const * add(QelAttribute & attribute, char const * name,
                                            QelAttributeBased * target = nullptr) {
        return observe(attribute, named(name), target);
    }
    std::string take() { return std::exchange(calls_, ""); }

  private:
    std::string calls_;
};

// ---- Stamps

TEST(QelAttributeTest, ConstructionTakesTheNextStamp) {
    IntPtr const first = number();
    IntPtr const second = number();
    EXPECT_EQ(first->timestamp() + 1, second->timestamp());
}

TEST(QelAttributeTest, EachChangeTakesOneStampAndNothingElseDoes) {
    struct Row {
        char const * name;
        std::uint32_t stamps;
        void (*act)(IntAttribute & attribute);
    };
    Row const rows[] = {
        {"changed", 1, [](IntAttribute & a) { a.changed(); }},
        {"setValue", 1, [](IntAttribute & a) { a.setValue(7); }},
        {"setValue of the same value", 1, [](IntAttribute & a) { a.setValue(a.getValue()); }},
        {"readValue", 1,
         [](IntAttribute & a) {
             std::istringstream in("5");
             a.readValue(in);
         }},
        {"readValue that fails", 1,
         [](IntAttribute & a) {
             std::istringstream in("x");
             a.readValue(in);
         }},
        {"copyValue of itself", 1, [](IntAttribute & a) { EXPECT_TRUE(a.copyValue(a)); }},
        {"getValue", 0, [](IntAttribute & a) { EXPECT_EQ(3, a.getValue()); }},
        {"getValueForUpdate", 0, [](IntAttribute & a) { a.getValueForUpdate() = 4; }},
        {"writeValue", 0,
         [](IntAttribute & a) {
             std::ostringstream out;
             a.writeValue(out);
         }},
        {"lock and unlock", 0,
         [](IntAttribute & a) {
             a.lock();
             a.unlock();
         }},
        {"callbacks", 0,
         [](IntAttribute & a) {
             a.removeCallback(observe(a, [](AttributePtr const &) {}));
             a.removeCallbacks(nullptr);
             EXPECT_EQ(0, a.numCallbacks());
         }},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        IntPtr const attribute = number(3);
        std::uint32_t const before = attribute->timestamp();
        row.act(*attribute);
        EXPECT_EQ(before + row.stamps, attribute->timestamp());
        EXPECT_EQ(before + row.stamps + 1, number()->timestamp());
    }
}

TEST(QelAttributeTest, CallbacksFindTheNewStampAndTheNewValue) {
    IntPtr const attribute = number();
    std::uint32_t const before = attribute->timestamp();
    int calls = 0;
    observe(*attribute, [&](AttributePtr const & changed) {
        ++calls;
        EXPECT_EQ(attribute.get(), changed.get());
        EXPECT_EQ(before + 1, changed->timestamp());
        EXPECT_EQ(7, attribute->getValue());
    });
    attribute->setValue(7);
    EXPECT_EQ(1, calls);
}

// ---- The lock

TEST(QelAttributeTest, IsUnlockedUntilLocked) {
    IntPtr const attribute = number();
    EXPECT_FALSE(attribute->locked());
    attribute->lock();
    attribute->lock();
    EXPECT_TRUE(attribute->locked());
    attribute->unlock();
    EXPECT_FALSE(attribute->locked());
}

TEST(QelAttributeTest, LockedChangesNeitherStampNorCallsCallbacks) {
    IntPtr const attribute = number(3);
    Calls calls;
    calls.add(*attribute, "a");
    std::uint32_t const before = attribute->timestamp();
    attribute->lock();
    expectRaises(QelErrorCode::attributeLocked, "size", [&] { attribute->setValue(4); });
    EXPECT_EQ(before, attribute->timestamp());
    EXPECT_EQ("", calls.take());
    attribute->unlock();
    attribute->setValue(4);
    EXPECT_EQ("a", calls.take());
}

TEST(QelAttributeTest, ACallbackMayLock) {
    IntPtr const attribute = number();
    observe(*attribute, [](AttributePtr const & changed) { changed->lock(); });
    attribute->setValue(1);
    expectRaises(QelErrorCode::attributeLocked, "size", [&] { attribute->setValue(2); });
    EXPECT_EQ(1, attribute->getValue());
}

// ---- Callbacks

TEST(QelAttributeTest, CallsCallbacksInTheOrderOfTheirAddition) {
    IntPtr const attribute = number();
    Calls calls;
    for (char const * name : {"c", "a", "b"})
        calls.add(*attribute, name);
    EXPECT_EQ(3, attribute->numCallbacks());
    attribute->setValue(1);
    EXPECT_EQ("cab", calls.take());
    attribute->changed();
    EXPECT_EQ("cab", calls.take());
}

// setValue with the same value still takes a new stamp and fires the callbacks.
TEST(QelAttributeTest, SettingTheSameValueStillCallsCallbacks) {
    IntPtr const attribute = number(5);
    Calls calls;
    calls.add(*attribute, "a");
    std::uint32_t const before = attribute->timestamp();
    attribute->setValue(5);
    EXPECT_EQ("a", calls.take());
    EXPECT_EQ(before + 1, attribute->timestamp());
}

TEST(QelAttributeTest, EveryChangeCallsCallbacks) {
    IntPtr const attribute = number(5);
    Calls calls;
    calls.add(*attribute, "a");
    std::istringstream in("6 x");
    attribute->readValue(in);
    EXPECT_EQ("a", calls.take());
    attribute->readValue(in);
    EXPECT_TRUE(in.fail());
    EXPECT_EQ("a", calls.take());
    EXPECT_TRUE(attribute->copyValue(*number(9)));
    EXPECT_EQ("a", calls.take());
    attribute->getValueForUpdate() = 4;
    EXPECT_EQ("", calls.take());
}

TEST(QelAttributeTest, AddCallbackRefusesNull) {
    IntPtr const attribute = number();
    expectRaises(QelErrorCode::nullPointer, "QelAttribute::addCallback requires a callback",
                 [&] { attribute->addCallback(nullptr); });
    EXPECT_EQ(0, attribute->numCallbacks());
}

TEST(QelAttributeTest, DeletesItsCallbacksWithItself) {
    LifeToken const token;
    {
        IntPtr const attribute = number();
        observe(*attribute, [held = token.get()](AttributePtr const &) {});
        EXPECT_FALSE(token.gone());
    }
    EXPECT_TRUE(token.gone());
}

TEST(QelAttributeTest, RemovesTheCallbacksOfOneTarget) {
    IntPtr const attribute = number();
    Listener one;
    Listener other;
    Calls calls;
    LifeToken const token;
    calls.add(*attribute, "a", &one);
    calls.add(*attribute, "b", &other);
    calls.add(*attribute, "c");
    observe(
        *attribute, [held = token.get()](AttributePtr const &) {}, &one);
    calls.add(*attribute, "d", &other);
    attribute->removeCallbacks(&one);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(3, attribute->numCallbacks());
    attribute->setValue(1);
    EXPECT_EQ("bcd", calls.take());
    attribute->removeCallbacks(nullptr);
    attribute->setValue(1);
    EXPECT_EQ("bd", calls.take());
    attribute->removeCallbacks(&one);
    EXPECT_EQ(2, attribute->numCallbacks());
}

TEST(QelAttributeTest, RemovesOneCallback) {
    IntPtr const attribute = number();
    Calls calls;
    LifeToken const token;
    calls.add(*attribute, "a");
    auto const * const second =
        observe(*attribute, [held = token.get()](AttributePtr const &) { FAIL(); });
    calls.add(*attribute, "c");
    attribute->removeCallback(second);
    EXPECT_TRUE(token.gone());
    attribute->removeCallback(second);
    attribute->removeCallback(nullptr);
    EXPECT_EQ(2, attribute->numCallbacks());
    attribute->setValue(1);
    EXPECT_EQ("ac", calls.take());
}

TEST(QelAttributeTest, ADifferentAttributesCallbackIsNotRemoved) {
    IntPtr const attribute = number();
    IntPtr const other = number();
    Calls calls;
    auto const * const callback = calls.add(*attribute, "a");
    other->removeCallback(callback);
    attribute->setValue(1);
    EXPECT_EQ("a", calls.take());
}

// A callback may own what is observed, so that its end removes callbacks from the same list.
TEST(QelAttributeTest, ACallbackThatOwnsTheOwnerMayBeRemoved) {
    MoxSmartPtr<Listener> owner(new Listener);
    IntPtr const attribute = owner->add("size");
    Calls calls;
    LifeToken const token;
    calls.add(*attribute, "a");
    auto const * const keeper = observe(*attribute, [owner](AttributePtr const &) {});
    calls.add(*attribute, "b");
    owner->listenTo(*attribute);
    observe(
        *attribute, [held = token.get()](AttributePtr const &) {}, owner.get());
    calls.add(*attribute, "c");
    owner.release();
    attribute->removeCallback(keeper);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(3, attribute->numCallbacks());
    attribute->setValue(1);
    EXPECT_EQ("abc", calls.take());
}

TEST(QelAttributeTest, TheEndOfAnAttributeMayRemoveItsCallbacks) {
    LifeToken const token;
    IntPtr attribute = number();
    IntAttribute * const raw = attribute;
    Calls calls;
    Listener target;
    for (int i = 0; i < 3; ++i) {
        calls.add(*attribute, "a", &target);
        auto const end = std::make_shared<AtEnd>([raw, &target] {
            raw->removeCallbacks(&target);
            EXPECT_EQ(0, raw->numCallbacks());
        });
        observe(*attribute, [end, held = token.get()](AttributePtr const &) {});
    }
    attribute.release();
    EXPECT_TRUE(token.gone());
}

TEST(QelAttributeTest, TheEndOfACallbackMayAddCallbacksAndChangeTheValue) {
    IntPtr const attribute = number();
    Calls calls;
    Listener target;
    LifeToken const token;
    auto const addAndChange = [&] {
        calls.add(*attribute, "z");
        attribute->setValue(attribute->getValue() + 1);
    };
    calls.add(*attribute, "a");
    for (int i = 0; i < 2; ++i) {
        auto const end = std::make_shared<AtEnd>(addAndChange);
        observe(
            *attribute, [end](AttributePtr const &) { FAIL(); }, &target);
    }
    calls.add(*attribute, "b");
    observe(
        *attribute, [held = token.get()](AttributePtr const &) { FAIL(); }, &target);
    attribute->removeCallbacks(&target);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(2, attribute->getValue());
    EXPECT_EQ(4, attribute->numCallbacks());
    calls.take();
    attribute->setValue(0);
    EXPECT_EQ("abzz", calls.take());
}

// ---- Cloning

TEST(QelAttributeTest, CloneHasNameAndValueAndANewStampAndIsNotLocked) {
    IntPtr const attribute = number(8);
    attribute->lock();
    std::uint32_t const before = number()->timestamp();
    AttributePtr const clone = attribute->clone(nullptr, nullptr);
    ASSERT_NE(attribute.get(), clone.get());
    EXPECT_EQ("size", clone->name());
    EXPECT_EQ(8, IntAttribute::of(clone)->getValue());
    EXPECT_EQ(before + 1, clone->timestamp());
    // clone of a locked attribute is not locked
    EXPECT_FALSE(clone->locked());
    EXPECT_TRUE(attribute->locked());
}

TEST(QelAttributeTest, CloneTakesTheCallbacksOfTheOldOwnerAlong) {
    IntPtr const attribute = number();
    Listener oldOwner;
    Listener stranger;
    Listener newOwner;
    Calls calls;
    calls.add(*attribute, "a", &oldOwner);
    calls.add(*attribute, "b", &stranger);
    calls.add(*attribute, "c");
    calls.add(*attribute, "d", &oldOwner);
    AttributePtr const clone = attribute->clone(&oldOwner, &newOwner);
    EXPECT_EQ(4, attribute->numCallbacks());
    EXPECT_EQ(2, clone->numCallbacks());
    EXPECT_EQ("", calls.take());
    clone->changed();
    EXPECT_EQ("ad", calls.take());
    clone->removeCallbacks(&oldOwner);
    EXPECT_EQ(2, clone->numCallbacks());
    clone->removeCallbacks(&newOwner);
    EXPECT_EQ(0, clone->numCallbacks());
}

TEST(QelAttributeTest, CloneLeavesAllCallbacksBehindWithoutAnOldOwner) {
    IntPtr const attribute = number();
    Listener owner;
    Calls calls;
    calls.add(*attribute, "a", &owner);
    calls.add(*attribute, "b");
    EXPECT_EQ(0, attribute->clone(nullptr, nullptr)->numCallbacks());
    EXPECT_EQ(0, attribute->clone(nullptr, &owner)->numCallbacks());
}

TEST(QelAttributeTest, ACloneIsIndependent) {
    IntPtr const attribute = number(1);
    IntPtr const clone = IntAttribute::of(attribute->clone(nullptr, nullptr));
    attribute->setValue(2);
    EXPECT_EQ(1, clone->getValue());
    clone->setValue(3);
    EXPECT_EQ(2, attribute->getValue());
}

}  // namespace

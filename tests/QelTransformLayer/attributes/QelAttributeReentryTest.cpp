#include <algorithm>
#include <cstdint>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"
#include "ExpectError.h"
#include "QelError.h"

// Callbacks that act on the attribute that calls them.

namespace {

class QelAttributeReentryTest : public testing::Test {
  protected:
    ActionCallback::Action note(char const * name) {
        return [this, name](AttributePtr const &) { calls_ += name; };
    }
    QelAttributeChangedCallback const * add(char const * name) { return add(note(name)); }
    QelAttributeChangedCallback const * add(ActionCallback::Action action,
                                            QelAttributeBased * target = nullptr) {
        return observe(*attribute_, std::move(action), target);
    }

    // The callbacks that one change calls.
    std::string change() {
        calls_.clear();
        attribute_->setValue(1);
        return calls_;
    }

    // Sets the next value without end.
    void addEndless() {
        add([this](AttributePtr const &) {
            ++endlessCalls_;
            attribute_->setValue(attribute_->getValue() + 1);
        });
    }

    IntPtr attribute_{new IntAttribute("size")};
    std::string calls_;
    int endlessCalls_ = 0;
};

std::string const endless = "Attribute size is changed by its own callbacks without end";

// ---- Setting the attribute that calls

TEST_F(QelAttributeReentryTest, AClampingCallbackSetsTheAttributeAgain) {
    std::vector<int> seen;
    add([this](AttributePtr const &) {
        int const clamped = std::clamp(attribute_->getValue(), 0, 10);
        if (clamped != attribute_->getValue()) attribute_->setValue(clamped);
    });
    add([&](AttributePtr const &) { seen.push_back(attribute_->getValue()); });
    std::uint32_t const before = attribute_->timestamp();
    attribute_->setValue(25);
    EXPECT_EQ(10, attribute_->getValue());
    // Once by the change from within, and once by the one around it.
    EXPECT_EQ((std::vector<int>{10, 10}), seen);
    EXPECT_EQ(before + 2, attribute_->timestamp());
    attribute_->setValue(4);
    EXPECT_EQ(4, attribute_->getValue());
    EXPECT_EQ(3U, seen.size());
}

TEST_F(QelAttributeReentryTest, AnEndlessCallbackIsRefusedAndTheAttributeStaysUsable) {
    addEndless();
    add("b");
    // Always alike: nothing of the first time is left.
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        endlessCalls_ = 0;
        std::uint32_t const before = attribute_->timestamp();
        expectRaises(QelErrorCode::endlessCallbacks, endless, [&] { attribute_->setValue(0); });
        EXPECT_EQ(QelAttribute::maxNesting + 1, endlessCalls_);
        EXPECT_EQ(QelAttribute::maxNesting, attribute_->getValue());
        EXPECT_EQ(before + QelAttribute::maxNesting + 1, attribute_->timestamp());
    }
    attribute_->removeCallbacks(nullptr);
    EXPECT_EQ(0, attribute_->numCallbacks());
    add("c");
    EXPECT_EQ("c", change());
    EXPECT_EQ(1, attribute_->refCount());
}

TEST_F(QelAttributeReentryTest, MaxNestingChangesFromWithinAreAllowed) {
    add([this](AttributePtr const &) {
        int const value = attribute_->getValue();
        if (value < QelAttribute::maxNesting) attribute_->setValue(value + 1);
    });
    attribute_->setValue(0);
    EXPECT_EQ(100, attribute_->getValue());
    expectRaises(QelErrorCode::endlessCallbacks, endless, [&] { attribute_->setValue(-1); });
    EXPECT_EQ(99, attribute_->getValue());
}

TEST_F(QelAttributeReentryTest, EveryWayOfChangingWithoutEndIsRefused) {
    std::istringstream in("1 2 3");
    struct Row {
        char const * name;
        std::function<void()> change;
    };
    IntPtr const source(new IntAttribute("source", 5));
    std::vector<Row> const rows = {
        {"changed", [&] { attribute_->changed(); }},
        {"update",
         [&] {
             ++attribute_->getValueForUpdate();
             attribute_->changed();
         }},
        {"copyValue", [&] { attribute_->copyValue(*source); }},
        {"readValue",
         [&] {
             in.clear();
             in.seekg(0);
             attribute_->readValue(in);
         }},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        int calls = 0;
        auto const * const callback = add([&](AttributePtr const &) {
            ++calls;
            row.change();
        });
        expectRaises(QelErrorCode::endlessCallbacks, endless, row.change);
        EXPECT_EQ(QelAttribute::maxNesting + 1, calls);
        attribute_->removeCallback(callback);
        EXPECT_EQ("", change());
    }
}

TEST_F(QelAttributeReentryTest, TheRefusedChangeReadsNothingAndStoresNothing) {
    std::istringstream in("7");
    bool refused = false;
    add([&](AttributePtr const &) {
        try {
            attribute_->setValue(attribute_->getValue() + 1);
        } catch (QelError const & error) {
            EXPECT_EQ(QelErrorCode::endlessCallbacks, error.getErrcode());
            if (refused) return;
            refused = true;
            std::uint32_t const stamp = attribute_->timestamp();
            expectRaises(QelErrorCode::endlessCallbacks, endless,
                         [&] { attribute_->readValue(in); });
            expectRaises(QelErrorCode::endlessCallbacks, endless,
                         [&] { attribute_->setValue(-3); });
            expectRaises(QelErrorCode::endlessCallbacks, endless, [&] { attribute_->changed(); });
            EXPECT_EQ(QelAttribute::maxNesting, attribute_->getValue());
            EXPECT_EQ(stamp, attribute_->timestamp());
        }
    });
    attribute_->setValue(0);
    EXPECT_TRUE(refused);
    EXPECT_EQ(0, in.tellg());
    EXPECT_EQ(QelAttribute::maxNesting, attribute_->getValue());
}

TEST_F(QelAttributeReentryTest, TheLockIsToldBeforeTheEnd) {
    add([&](AttributePtr const &) {
        if (attribute_->getValue() == QelAttribute::maxNesting) attribute_->lock();
        attribute_->setValue(attribute_->getValue() + 1);
    });
    expectRaises(QelErrorCode::attributeLocked, "size", [&] { attribute_->setValue(0); });
}

TEST_F(QelAttributeReentryTest, TwoAttributesThatSetEachOtherWithoutEndAreRefused) {
    IntPtr const other(new IntAttribute("other"));
    add([&](AttributePtr const &) { other->setValue(1); });
    observe(*other, [&](AttributePtr const &) { attribute_->setValue(1); });
    expectRaises(QelErrorCode::endlessCallbacks, endless, [&] { attribute_->setValue(1); });
    expectRaises(QelErrorCode::endlessCallbacks,
                 "Attribute other is changed by its own callbacks without end",
                 [&] { other->setValue(1); });
    other->removeCallbacks(nullptr);
    attribute_->setValue(3);
    EXPECT_EQ(3, attribute_->getValue());
}

// ---- Removing

TEST_F(QelAttributeReentryTest, ACallbackRemovesItself) {
    LifeToken const token;
    QelAttributeChangedCallback const * self = nullptr;
    add("a");
    self = add([this, &self, &token, held = token.get()](AttributePtr const &) {
        calls_ += "b";
        attribute_->removeCallback(self);
        // It is still at work.
        EXPECT_FALSE(token.gone());
        EXPECT_EQ(2, attribute_->numCallbacks());
    });
    add("c");
    EXPECT_EQ("abc", change());
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(2, attribute_->numCallbacks());
    EXPECT_EQ("ac", change());
}

TEST_F(QelAttributeReentryTest, ARemovedCallbackIsNotCalledAnyMore) {
    std::vector<QelAttributeChangedCallback const *> others;
    LifeToken const token;
    others.push_back(add("a"));
    add([&, this](AttributePtr const &) {
        calls_ += "b";
        for (auto const * const other : others)
            attribute_->removeCallback(other);
        EXPECT_EQ(2, attribute_->numCallbacks());
    });
    others.push_back(add([held = token.get()](AttributePtr const &) { FAIL(); }));
    add("d");
    EXPECT_EQ("abd", change());
    EXPECT_TRUE(token.gone());
    EXPECT_EQ("bd", change());
}

TEST_F(QelAttributeReentryTest, ACallbackRemovesAllOfATarget) {
    Listener target;
    LifeToken const token;
    add([held = token.get(), this](AttributePtr const &) { calls_ += "a"; }, &target);
    add([this, &target](AttributePtr const &) {
        calls_ += "b";
        attribute_->removeCallbacks(&target);
    });
    add([](AttributePtr const &) { FAIL(); }, &target);
    add("d");
    EXPECT_EQ("abd", change());
    EXPECT_TRUE(token.gone());
    EXPECT_EQ("bd", change());
}

TEST_F(QelAttributeReentryTest, WhatANestedChangeRemovesLivesUntilTheOutermostEnds) {
    LifeToken const token;
    QelAttributeChangedCallback const * self = nullptr;
    bool nested = false;
    self = add([this, &self, &token, &nested, held = token.get()](AttributePtr const &) {
        calls_ += "a";
        if (nested) return attribute_->removeCallback(self);
        nested = true;
        attribute_->setValue(2);
        EXPECT_FALSE(token.gone());
        EXPECT_EQ(1, attribute_->numCallbacks());
    });
    add("b");
    EXPECT_EQ("aabb", change());
    EXPECT_TRUE(token.gone());
    EXPECT_EQ("b", change());
}

TEST_F(QelAttributeReentryTest, ARemovedCallbackIsNotCloned) {
    Listener owner;
    AttributePtr clone;
    add(
        [&](AttributePtr const &) {
            attribute_->removeCallbacks(&owner);
            clone = attribute_->clone(&owner, &owner);
        },
        &owner);
    change();
    ASSERT_TRUE(clone);
    EXPECT_EQ(0, clone->numCallbacks());
}

// ---- Adding

TEST_F(QelAttributeReentryTest, WhatACallbackAddsIsCalledFromTheNextChangeOn) {
    bool added = false;
    add([&, this](AttributePtr const &) {
        calls_ += "a";
        // So many that the list has to move.
        for (int i = 0; !added && i < 100; ++i)
            add("n");
        added = true;
        EXPECT_EQ(102, attribute_->numCallbacks());
    });
    add("b");
    EXPECT_EQ("ab", change());
    EXPECT_EQ("ab" + std::string(100, 'n'), change());
}

TEST_F(QelAttributeReentryTest, AChangeFromWithinCallsWhatWasAddedBefore) {
    bool added = false;
    add([&, this](AttributePtr const &) {
        calls_ += "a";
        if (std::exchange(added, true)) return;
        add("n");
        attribute_->setValue(2);
    });
    add("b");
    EXPECT_EQ("aabnb", change());
    EXPECT_EQ("abn", change());
}

TEST_F(QelAttributeReentryTest, ACallbackReplacesItself) {
    QelAttributeChangedCallback const * self = nullptr;
    self = add([&, this](AttributePtr const &) {
        calls_ += "a";
        add("n");
        attribute_->removeCallback(self);
    });
    add("b");
    EXPECT_EQ("ab", change());
    EXPECT_EQ("bn", change());
}

// ---- Dropping

TEST_F(QelAttributeReentryTest, ACallbackDropsTheOwner) {
    MoxSmartPtr<Listener> owner(new Listener);
    LifeToken const token;
    owner->addAttribute(attribute_);
    add([&, held = token.get()](AttributePtr const &) { owner.release(); }, owner.get());
    owner->listenTo(*attribute_);
    add("c");
    EXPECT_EQ("c", change());
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(1, attribute_->numCallbacks());
    EXPECT_EQ("c", change());
}

TEST_F(QelAttributeReentryTest, ACallbackDropsTheOwnerThatHeldTheAttributeAlone) {
    MoxSmartPtr<Listener> owner(new Listener);
    LifeToken const token;
    owner->addAttribute(attribute_);
    add(
        [&, held = token.get()](AttributePtr const & changed) {
            owner.release();
            EXPECT_EQ(1, changed->refCount());
            EXPECT_EQ("size", changed->name());
        },
        owner.get());
    add("c");
    add([held = token.get()](AttributePtr const &) {});
    IntAttribute * const raw = attribute_;
    attribute_.release();
    raw->setValue(2);
    EXPECT_EQ("c", calls_);
    EXPECT_TRUE(token.gone());
}

TEST_F(QelAttributeReentryTest, ACallbackDropsTheLastPointerToTheAttribute) {
    LifeToken const token;
    add([this, held = token.get()](AttributePtr const & changed) {
        calls_ += "a";
        attribute_.release();
        EXPECT_EQ(1, changed->refCount());
    });
    add([this](AttributePtr const & changed) { calls_ += changed->name(); });
    IntAttribute * const raw = attribute_;
    raw->setValue(2);
    EXPECT_EQ("asize", calls_);
    EXPECT_TRUE(token.gone());
}

TEST_F(QelAttributeReentryTest, ACallbackRemovesTheAttributeFromItsOwner) {
    Listener owner;
    owner.addAttribute(attribute_);
    add("a");
    add([&](AttributePtr const & changed) { owner.removeAttribute(changed.get()); });
    owner.listenTo(*attribute_);
    add("d");
    EXPECT_EQ("ad", change());
    EXPECT_TRUE(owner.heard().empty());
    EXPECT_EQ(0, owner.getNumAttributes());
    EXPECT_EQ(3, attribute_->numCallbacks());
}

TEST_F(QelAttributeReentryTest, AnAttributeOnAStackOutlivesItsCallbacks) {
    IntAttribute attribute("size");
    observe(attribute, [this](AttributePtr const & changed) {
        AttributePtr const held = changed;
        EXPECT_GE(held->refCount(), 2);
        calls_ += held->name();
    });
    observe(attribute, [&](AttributePtr const &) {
        if (attribute.getValue() < 3) attribute.setValue(attribute.getValue() + 1);
    });
    attribute.setValue(2);
    EXPECT_EQ("sizesize", calls_);
    EXPECT_EQ(3, attribute.getValue());
    EXPECT_EQ(0, attribute.refCount());
}

// ---- Raising

TEST_F(QelAttributeReentryTest, WhatACallbackRaisesGoesToWhoChangedTheValue) {
    add("a");
    auto const * const raising = add([](AttributePtr const &) { qelRaise(13, "no such size"); });
    add("c");
    std::uint32_t const before = attribute_->timestamp();
    expectRaises(QelErrorCode::invalidValue, "no such size", [&] { attribute_->setValue(9); });
    EXPECT_EQ("a", calls_);
    EXPECT_EQ(9, attribute_->getValue());
    EXPECT_EQ(before + 1, attribute_->timestamp());
    EXPECT_EQ(1, attribute_->refCount());
    attribute_->removeCallback(raising);
    EXPECT_EQ("ac", change());
}

TEST_F(QelAttributeReentryTest, ACallbackThatRemovesItselfAndRaisesIsDeleted) {
    LifeToken const token;
    QelAttributeChangedCallback const * self = nullptr;
    self = add([this, &self, held = token.get()](AttributePtr const &) {
        attribute_->removeCallback(self);
        throw std::runtime_error("anything");
    });
    add("b");
    EXPECT_THROW(attribute_->setValue(9), std::runtime_error);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ("b", change());
}

TEST_F(QelAttributeReentryTest, ErrorsDoNotUseUpTheNesting) {
    auto const * const raising = add([](AttributePtr const &) { qelRaise(13, "no such size"); });
    for (int i = 0; i < 3 * QelAttribute::maxNesting; ++i)
        expectRaises(QelErrorCode::invalidValue, "no such size", [&] { attribute_->setValue(i); });
    attribute_->removeCallback(raising);
    EXPECT_EQ("", change());
}

}  // namespace

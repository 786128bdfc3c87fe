#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"

// The end of an object with attributes, and attributes that outlive it.

namespace {

using Names = std::vector<std::string>;

// ---- Attributes that outlive their owners

TEST(QelAttributeBasedEndTest, AHeldAttributeNeverCallsADeadOwner) {
    Listener stranger;
    MoxSmartPtr<Listener> owner(new Listener);
    IntPtr const size = owner->addAndListen("size", 1);
    IntPtr const alias = owner->addAndListen("alias");
    owner->addAttribute(size, "again");
    stranger.listenTo(*size);
    owner->listenTo(*size);
    owner.release();
    EXPECT_EQ(1, size->refCount());
    EXPECT_EQ(1, size->numCallbacks());
    EXPECT_EQ(0, alias->numCallbacks());
    size->setValue(2);
    EXPECT_EQ(Names{"size"}, stranger.heard());
    EXPECT_EQ(2, size->getValue());
}

TEST(QelAttributeBasedEndTest, ALockedAttributeIsLetGo) {
    LifeToken const token;
    MoxSmartPtr<Listener> owner(new Listener);
    IntPtr const size = owner->addAndListen("size", 1);
    observe(
        *size, [held = token.get()](AttributePtr const &) {}, owner.get());
    size->lock();
    owner.release();
    EXPECT_TRUE(size->locked());
    EXPECT_EQ(0, size->numCallbacks());
    EXPECT_TRUE(token.gone());
}

TEST(QelAttributeBasedEndTest, ARemovedAttributeThatAClientHoldsNeverCallsItsOwner) {
    Listener stranger;
    MoxSmartPtr<Listener> owner(new Listener);
    IntPtr const size = owner->addAndListen("size", 1);
    stranger.listenTo(*size);
    owner->removeAttribute(size);
    EXPECT_EQ(1, size->numCallbacks());
    size->setValue(2);
    EXPECT_TRUE(owner->heard().empty());
    owner.release();
    size->setValue(3);
    EXPECT_EQ((Names{"size", "size"}), stranger.heard());
}

TEST(QelAttributeBasedEndTest, OneAttributeOfTwoOwners) {
    MoxSmartPtr<Listener> one(new Listener);
    MoxSmartPtr<Listener> const other(new Listener);
    IntPtr const size = one->addAndListen("size", 1);
    other->addAttribute(size, "length");
    other->listenTo(*size);
    size->setValue(2);
    EXPECT_EQ(Names{"size"}, one->heard());
    EXPECT_EQ(Names{"size"}, other->heard());
    one.release();
    size->setValue(3);
    EXPECT_EQ((Names{"size", "size"}), other->heard());
}

TEST(QelAttributeBasedEndTest, TheOwnerReleasesItsAttributes) {
    LifeToken const token;
    {
        Listener owner;
        for (char const * name : {"a", "b", "c"}) {
            observe(*owner.add(name), [held = token.get()](AttributePtr const &) {});
        }
        EXPECT_EQ(4, token.get().use_count());
        owner.removeAttribute("b");
        EXPECT_EQ(3, token.get().use_count());
    }
    EXPECT_TRUE(token.gone());
}

// ---- Callbacks whose end turns to the owner

// Adds a callback of the target whose end does something.
void addEnding(QelAttribute & attribute, QelAttributeBased * target, std::function<void()> action) {
    auto const end = std::make_shared<AtEnd>(std::move(action));
    observe(
        attribute, [end](AttributePtr const &) {}, target);
}

TEST(QelAttributeBasedEndTest, WhatEndsWithACallbackFindsAnOwnerThatEndsEmpty) {
    int ends = 0;
    MoxSmartPtr<Listener> owner(new Listener);
    Listener * const raw = owner;
    IntPtr const held = owner->add("held");
    LifeToken const token;
    auto const removeAll = [&ends, raw] {
        ++ends;
        EXPECT_EQ(0, raw->getNumAttributes());
        EXPECT_FALSE(raw->getAttribute("last"));
        for (char const * name : {"held", "own", "last"})
            raw->removeAttribute(name);
    };
    addEnding(*held, raw, removeAll);
    // One goes with the owner's callbacks, the other one with the attribute.
    addEnding(*owner->add("own"), raw, removeAll);
    addEnding(*owner->getAttribute("own"), nullptr, removeAll);
    observe(*owner->add("last"), [held = token.get()](AttributePtr const &) {});
    owner.release();
    EXPECT_EQ(3, ends);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(1, held->refCount());
    EXPECT_EQ(0, held->numCallbacks());
}

TEST(QelAttributeBasedEndTest, WhatEndsWithACallbackMayRemoveAttributes) {
    Listener owner;
    for (char const * name : {"b", "a", "c"})
        owner.add(name);
    addEnding(*owner.getAttribute("a"), &owner, [&owner] {
        EXPECT_EQ("c", owner.getAttributeName(1));
        while (owner.getNumAttributes() > 0)
            owner.removeAttribute(0);
    });
    owner.removeAttribute("a");
    EXPECT_EQ(0, owner.getNumAttributes());
    EXPECT_FALSE(owner.getAttribute("c"));
}

TEST(QelAttributeBasedEndTest, WhatEndsWithACallbackMayDropTheOwner) {
    MoxSmartPtr<Listener> owner(new Listener);
    IntPtr const held = owner->addAndListen("held");
    addEnding(*owner->add("size"), owner, [&owner] { owner.release(); });
    owner.get()->removeAttribute("size");
    EXPECT_FALSE(owner);
    EXPECT_EQ(1, held->refCount());
    EXPECT_EQ(0, held->numCallbacks());
}

}  // namespace

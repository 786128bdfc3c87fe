#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"
#include "ExpectError.h"
#include "QelError.h"

// Copying objects with attributes, and copying values between them.

namespace {

using Names = std::vector<std::string>;
using TextAttribute = QelSimpleAttribute<std::string>;

int valueOf(QelAttributeBased const & object, char const * name) {
    return IntAttribute::of(object.getAttribute(name))->getValue();
}

// ---- The copying constructor

TEST(QelAttributeBasedCopyTest, ACopyHasTheSameKeysInTheSameOrderAndAttributesOfItsOwn) {
    Listener source;
    source.add("second", 2);
    source.add("first", 1);
    source.addAttribute(new IntAttribute("third", 3), "key of third");
    source.addAttribute(new TextAttribute("text", "yes"));
    source.renameAttribute("second", "z");
    Listener const copy(source);
    ASSERT_EQ(4, copy.getNumAttributes());
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(source.getAttributeName(i), copy.getAttributeName(i));
        EXPECT_NE(source.getAttribute(i).get(), copy.getAttribute(i).get());
        EXPECT_EQ(source.getAttribute(i)->name(), copy.getAttribute(i)->name());
        EXPECT_EQ(copy.getAttribute(i).get(), copy.getAttribute(copy.getAttributeName(i)).get());
    }
    EXPECT_EQ(2, valueOf(copy, "z"));
    EXPECT_EQ(1, valueOf(copy, "first"));
    EXPECT_EQ(3, valueOf(copy, "key of third"));
    EXPECT_EQ("yes", TextAttribute::of(copy.getAttribute("text"))->getValue());
    EXPECT_EQ(0, copy.refCount());
}

TEST(QelAttributeBasedCopyTest, StampsOfACopyAreNewAndInTheOrderOfTheIndices) {
    Listener source;
    for (char const * name : {"b", "c", "a"})
        source.add(name);
    std::uint32_t const before = source.getLatestTimestamp({"a"});
    Listener const copy(source);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(before + static_cast<std::uint32_t>(i) + 1, copy.getAttribute(i)->timestamp());
    }
    EXPECT_EQ(before, source.getLatestTimestamp({"a", "b", "c"}));
}

TEST(QelAttributeBasedCopyTest, AttributesOfACopyAreNotLocked) {
    Listener source;
    source.add("size")->lock();
    Listener const copy(source);
    EXPECT_FALSE(copy.getAttribute("size")->locked());
    EXPECT_TRUE(source.getAttribute("size")->locked());
}

TEST(QelAttributeBasedCopyTest, CallbacksOfTheSourceFollowAndOthersStayBehind) {
    Listener source;
    Listener stranger;
    int calls = 0;
    IntPtr const size = source.addAndListen("size");
    stranger.listenTo(*size);
    observe(*size, [&](AttributePtr const &) { ++calls; });
    Listener copy(source);
    EXPECT_EQ(3, size->numCallbacks());
    EXPECT_EQ(1, copy.getAttribute("size")->numCallbacks());
    copy.getAttribute("size")->changed();
    EXPECT_EQ(Names{"size"}, copy.heard());
    EXPECT_TRUE(source.heard().empty());
    EXPECT_TRUE(stranger.heard().empty());
    EXPECT_EQ(0, calls);
    size->setValue(1);
    EXPECT_EQ(1U, copy.heard().size());
    EXPECT_EQ(1U, source.heard().size());
    EXPECT_EQ(1U, stranger.heard().size());
    EXPECT_EQ(1, calls);
    // And on to the copy's copy.
    Listener const again(copy);
    again.getAttribute("size")->changed();
    EXPECT_EQ(2U, again.heard().size());
    EXPECT_EQ(1U, copy.heard().size());
}

TEST(QelAttributeBasedCopyTest, ACopyAndItsSourceChangeApart) {
    Listener source;
    source.add("a", 1);
    source.add("b", 2);
    Listener copy(source);
    copy.removeAttribute("a");
    copy.renameAttribute("b", "c");
    copy.add("d");
    IntAttribute::of(copy.getAttribute("c"))->setValue(9);
    EXPECT_EQ(2, source.getNumAttributes());
    EXPECT_EQ(1, valueOf(source, "a"));
    EXPECT_EQ(2, valueOf(source, "b"));
    EXPECT_EQ("c", copy.getAttributeName(0));
    EXPECT_EQ("d", copy.getAttributeName(1));
}

TEST(QelAttributeBasedCopyTest, EachKeyOfASharedAttributeHasACloneOfItsOwn) {
    Listener source;
    IntPtr const size = source.add("size", 4);
    source.addAttribute(size, "alias");
    Listener const copy(source);
    ASSERT_EQ(2, copy.getNumAttributes());
    EXPECT_EQ(4, valueOf(copy, "size"));
    EXPECT_EQ(4, valueOf(copy, "alias"));
    EXPECT_NE(copy.getAttribute(0).get(), copy.getAttribute(1).get());
}

TEST(QelAttributeBasedCopyTest, ACopyOfNothingIsEmpty) {
    Listener const source;
    Listener const copy(source);
    EXPECT_EQ(0, copy.getNumAttributes());
}

TEST(QelAttributeBasedCopyTest, ACopyOutlivesItsSource) {
    MoxSmartPtr<Listener> source(new Listener);
    source->addAndListen("size", 3);
    Listener const copy(*source);
    source.release();
    copy.getAttribute("size")->changed();
    EXPECT_EQ(Names{"size"}, copy.heard());
    EXPECT_EQ(3, valueOf(copy, "size"));
}

// An attribute whose clones fail.
class Uncopyable : public IntAttribute {
  public:
    using IntAttribute::IntAttribute;
    MoxSmartPtr<QelAttribute> clone(QelAttributeBased const *, QelAttributeBased *) const override {
        qelRaise(13, "no clones of " + name());
    }
};

TEST(QelAttributeBasedCopyTest, ACopyThatFailsLeavesTheSourceAsItWas) {
    LifeToken const token;
    Listener source;
    IntPtr const first = source.addAndListen("first", 3);
    observe(
        *first, [held = token.get()](AttributePtr const &) {}, &source);
    source.addAttribute(new Uncopyable("second"));
    expectRaises(QelErrorCode::invalidValue, "no clones of second",
                 [&] { Listener const copy(source); });
    EXPECT_EQ(2, token.get().use_count());
    EXPECT_EQ(2, first->refCount());
    EXPECT_EQ(2, source.getNumAttributes());
    EXPECT_EQ(2, first->numCallbacks());
}

// ---- copyAttributes

class QelAttributeBasedCopyAttributesTest : public testing::Test {
  protected:
    QelAttributeBasedCopyAttributesTest() {
        source_.add("a", 1);
        source_.add("b", 2);
        source_.add("only here", 3);
        source_.add("c", 4);
        for (char const * name : {"c", "only there", "b", "a"})
            dest_.addAndListen(name, 90);
    }

    Listener source_;
    Listener dest_;
};

TEST_F(QelAttributeBasedCopyAttributesTest, CopiesTheValuesOfEqualKeysInTheOrderOfTheSource) {
    dest_.copyAttributes(source_);
    EXPECT_EQ(1, valueOf(dest_, "a"));
    EXPECT_EQ(2, valueOf(dest_, "b"));
    EXPECT_EQ(4, valueOf(dest_, "c"));
    EXPECT_EQ(90, valueOf(dest_, "only there"));
    EXPECT_FALSE(dest_.getAttribute("only here"));
    EXPECT_EQ(4, dest_.getNumAttributes());
    EXPECT_EQ((Names{"a", "b", "c"}), dest_.heard());
    EXPECT_TRUE(source_.heard().empty());
}

TEST_F(QelAttributeBasedCopyAttributesTest, KeysCountAndNotTheAttributesOwnNames) {
    source_.renameAttribute("a", "x");
    dest_.renameAttribute("only there", "x");
    dest_.copyAttributes(source_);
    EXPECT_EQ(1, valueOf(dest_, "x"));
    EXPECT_EQ(90, valueOf(dest_, "a"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, AnotherTypeIsIgnored) {
    dest_.removeAttribute("b");
    MoxSmartPtr<TextAttribute> const text(new TextAttribute("b", "text"));
    dest_.addAttribute(text);
    std::uint32_t const before = text->timestamp();
    text->lock();
    dest_.copyAttributes(source_);
    EXPECT_EQ("text", text->getValue());
    EXPECT_EQ(before, text->timestamp());
    EXPECT_EQ(1, valueOf(dest_, "a"));
    EXPECT_EQ(4, valueOf(dest_, "c"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, ALockedAttributeOfTheDestinationRaises) {
    dest_.getAttribute("b")->lock();
    expectRaises(QelErrorCode::attributeLocked, "b", [&] { dest_.copyAttributes(source_); });
    EXPECT_EQ(1, valueOf(dest_, "a"));
    EXPECT_EQ(90, valueOf(dest_, "b"));
    EXPECT_EQ(90, valueOf(dest_, "c"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, ALockedAttributeOfTheSourceIsCopied) {
    source_.getAttribute("b")->lock();
    dest_.copyAttributes(source_);
    EXPECT_EQ(2, valueOf(dest_, "b"));
    EXPECT_FALSE(dest_.getAttribute("b")->locked());
}

TEST_F(QelAttributeBasedCopyAttributesTest, FromItselfSetsEachValueAgain) {
    dest_.copyAttributes(dest_);
    EXPECT_EQ((Names{"c", "only there", "b", "a"}), dest_.heard());
    EXPECT_EQ(90, valueOf(dest_, "a"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, ACallbackRemovesAttributesOfTheDestination) {
    observe(*dest_.getAttribute("a"), [&](AttributePtr const &) {
        for (char const * name : {"a", "b", "only there"})
            dest_.removeAttribute(name);
    });
    dest_.copyAttributes(source_);
    EXPECT_EQ(1, dest_.getNumAttributes());
    EXPECT_EQ(4, valueOf(dest_, "c"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, ACallbackRemovesAttributesOfTheSource) {
    LifeToken const token;
    observe(*source_.getAttribute("b"), [held = token.get()](AttributePtr const &) {});
    observe(*dest_.getAttribute("b"), [&](AttributePtr const &) {
        for (char const * name : {"a", "b", "only here", "c"})
            source_.removeAttribute(name);
        // It is still being copied from.
        EXPECT_FALSE(token.gone());
    });
    dest_.copyAttributes(source_);
    EXPECT_TRUE(token.gone());
    EXPECT_EQ(0, source_.getNumAttributes());
    EXPECT_EQ(2, valueOf(dest_, "b"));
    EXPECT_EQ(90, valueOf(dest_, "c"));
}

TEST_F(QelAttributeBasedCopyAttributesTest,
       ACallbackRemovesAttributesOfAnObjectThatCopiesFromItself) {
    observe(*dest_.getAttribute("c"), [&](AttributePtr const &) {
        while (dest_.getNumAttributes() > 0)
            dest_.removeAttribute(0);
    });
    dest_.copyAttributes(dest_);
    EXPECT_EQ(0, dest_.getNumAttributes());
}

TEST_F(QelAttributeBasedCopyAttributesTest, ACallbackAddsAttributes) {
    observe(*dest_.getAttribute("a"), [&](AttributePtr const &) {
        for (int i = 0; i < 100; ++i) {
            source_.add("new " + std::to_string(i), i);
            dest_.add("new " + std::to_string(i), -1);
        }
    });
    dest_.copyAttributes(source_);
    EXPECT_EQ(99, valueOf(dest_, "new 99"));
}

TEST_F(QelAttributeBasedCopyAttributesTest, ACallbackDropsBothObjects) {
    MoxSmartPtr<Listener> source(new Listener(source_));
    MoxSmartPtr<Listener> dest(new Listener(dest_));
    IntPtr const a = IntAttribute::of(dest->getAttribute("a"));
    IntPtr const c = IntAttribute::of(dest->getAttribute("c"));
    observe(*a, [&](AttributePtr const &) {
        source.release();
        dest.release();
    });
    dest.get()->copyAttributes(*source);
    EXPECT_EQ(1, a->getValue());
    EXPECT_EQ(4, c->getValue());
    // The objects are gone now.
    EXPECT_EQ(1, c->refCount());
    EXPECT_EQ(1, a->numCallbacks());
}

TEST_F(QelAttributeBasedCopyAttributesTest, ACallbackDropsAnObjectThatCopiesFromItself) {
    MoxSmartPtr<Listener> object(new Listener(dest_));
    IntPtr const last = IntAttribute::of(object->getAttribute("a"));
    observe(*object->getAttribute("c"), [&](AttributePtr const &) { object.release(); });
    object.get()->copyAttributes(*object);
    EXPECT_EQ(1, last->refCount());
    EXPECT_EQ(0, last->numCallbacks());
}

TEST_F(QelAttributeBasedCopyAttributesTest, WhatACallbackRaisesGoesOn) {
    observe(*dest_.getAttribute("b"), [](AttributePtr const &) { qelRaise(13, "not so"); });
    expectRaises(QelErrorCode::invalidValue, "not so", [&] { dest_.copyAttributes(source_); });
    EXPECT_EQ(2, valueOf(dest_, "b"));
    EXPECT_EQ(90, valueOf(dest_, "c"));
    EXPECT_EQ(0, dest_.refCount());
}

}  // namespace

#include "QelAttributeChangedCallback.h"

#include <memory>

#include <gtest/gtest.h>

#include "AttributeTesting.h"

namespace {

using CallbackPtr = std::unique_ptr<QelAttributeChangedCallback>;

TEST(QelAttributeChangedCallbackTest, KeepsItsTarget) {
    Listener target;
    ActionCallback const callback([](AttributePtr const &) {}, &target);
    EXPECT_EQ(&target, callback.getTarget());
    EXPECT_EQ(nullptr, ActionCallback([](AttributePtr const &) {}).getTarget());
}

TEST(QelAttributeChangedCallbackTest, DoesNotCountItsTarget) {
    MoxSmartPtr<Listener> const target(new Listener);
    ActionCallback const callback([](AttributePtr const &) {}, target);
    EXPECT_EQ(1, target->refCount());
}

TEST(QelAttributeChangedCallbackTest, ACloneIsTheSameForAnotherTarget) {
    Listener target;
    Listener other;
    int calls = 0;
    ActionCallback const callback([&](AttributePtr const &) { ++calls; }, &target);
    CallbackPtr const clone = callback.clone(&other);
    EXPECT_EQ(&other, clone->getTarget());
    EXPECT_EQ(&target, callback.getTarget());
    clone->attributeChanged(nullptr);
    EXPECT_EQ(1, calls);
}

TEST(QelAttributeChangedCallbackTest, IsDeletedThroughItsBase) {
    LifeToken const token;
    CallbackPtr callback =
        std::make_unique<ActionCallback>([held = token.get()](AttributePtr const &) {});
    EXPECT_FALSE(token.gone());
    callback.reset();
    EXPECT_TRUE(token.gone());
}

// An attribute asks getTarget(), so that a callback may have its target from elsewhere.
class BorrowedTarget : public ActionCallback {
  public:
    explicit BorrowedTarget(QelAttributeBased * target)
        : ActionCallback([](AttributePtr const &) {}), borrowed_(target) {}
    QelAttributeBased * getTarget() const override { return borrowed_; }

  private:
    QelAttributeBased * borrowed_;
};

TEST(QelAttributeChangedCallbackTest, MaySayAnotherTarget) {
    Listener target;
    IntPtr const attribute(new IntAttribute("size"));
    attribute->addCallback(std::make_unique<BorrowedTarget>(&target));
    EXPECT_EQ(1, attribute->clone(&target, nullptr)->numCallbacks());
    attribute->removeCallbacks(nullptr);
    EXPECT_EQ(1, attribute->numCallbacks());
    attribute->removeCallbacks(&target);
    EXPECT_EQ(0, attribute->numCallbacks());
}

// The pointer that a callback is handed holds the attribute.
TEST(QelAttributeChangedCallbackTest, IsHandedAReference) {
    IntPtr const attribute(new IntAttribute("size"));
    int count = 0;
    observe(*attribute, [&](AttributePtr const & changed) { count = changed->refCount(); });
    attribute->setValue(1);
    EXPECT_EQ(2, count);
    EXPECT_EQ(1, attribute->refCount());
}

}  // namespace

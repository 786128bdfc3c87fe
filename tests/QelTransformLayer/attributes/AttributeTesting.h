#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QelAttributeBased.h"
#include "QelAttributeChangedCallback.h"
#include "QelAttributeChangedRegistration.h"
#include "QelSimpleAttribute.h"

// What tests of attributes share.

using IntAttribute = QelSimpleAttribute<int>;
using AttributePtr = MoxSmartPtr<QelAttribute>;
using IntPtr = MoxSmartPtr<IntAttribute>;

// A callback that does what a test says.
class ActionCallback : public QelAttributeChangedCallback {
  public:
    using Action = std::function<void(AttributePtr const &)>;

    explicit ActionCallback(Action action, QelAttributeBased * target = nullptr)
        : QelAttributeChangedCallback(target), action_(std::move(action)) {}

    std::unique_ptr<QelAttributeChangedCallback> clone(
        QelAttributeBased * newTarget) const override {
        return std::make_unique<ActionCallback>(action_, newTarget);
    }

    void attributeChanged(AttributePtr const & attribute) override { action_(attribute); }

  private:
    Action action_;
};

// Adds such a callback and returns its address.
inline QelAttributeChangedCallback const * observe(QelAttribute & attribute,
                                                   ActionCallback::Action action,
                                                   QelAttributeBased * target = nullptr) {
    auto callback = std::make_unique<ActionCallback>(std::move(action), target);
    QelAttributeChangedCallback const * const address = callback.get();
    attribute.addCallback(std::move(callback));
    return address;
}

// Captured by a callback, it says whether that one still lives.
class LifeToken {
  public:
    std::shared_ptr<int> const & get() const { return token_; }
    bool gone() const { return token_.use_count() == 1; }

  private:
    std::shared_ptr<int> token_ = std::make_shared<int>(0);
};

// Does something when it goes; with the callback, where one has captured it.
class AtEnd {
  public:
    explicit AtEnd(std::function<void()> action) : action_(std::move(action)) {}
    AtEnd(AtEnd const &) = delete;
    AtEnd & operator=(AtEnd const &) = delete;
    ~AtEnd() { action_(); }

  private:
    std::function<void()> action_;
};

// An object with attributes that notes which of them change.
class Listener : public QelAttributeBased {
  public:
    IntPtr add(std::string const & name, int value = 0) {
        IntPtr const attribute(new IntAttribute(name, value));
        addAttribute(attribute);
        return attribute;
    }

    void listenTo(QelAttribute & attribute) {
        attribute.addCallback(
            std::make_unique<QelAttributeChangedRegistration<Listener>>(this, &Listener::hear));
    }

    IntPtr addAndListen(std::string const & name, int value = 0) {
        IntPtr const attribute = add(name, value);
        listenTo(*attribute);
        return attribute;
    }

    std::vector<std::string> const & heard() const { return heard_; }

  private:
    void hear(AttributePtr const & attribute) { heard_.push_back(attribute->name()); }

    std::vector<std::string> heard_;
};

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelAttributeBased.h"
#include "QelAttributeChangedRegistration.h"
#include "QelSimpleAttribute.h"

// What attributes cost the heap, and what is left when it has no more.

namespace {

using Number = QelSimpleAttribute<double>;
using NumberPtr = MoxSmartPtr<Number>;

// Longer than what a string holds within itself.
std::string longName(int index) {
    return "an attribute with a long name, number " + std::to_string(index);
}

class Observed : public QelAttributeBased {
  public:
    explicit Observed(int count = 0) {
        for (int i = 0; i < count; ++i)
            add(i);
    }

    NumberPtr add(int index) {
        NumberPtr const number(new Number(longName(index), index));
        addAttribute(number);
        number->addCallback(
            std::make_unique<QelAttributeChangedRegistration<Observed>>(this, &Observed::changed));
        return number;
    }

    int changes() const { return changes_; }

  private:
    void changed(MoxSmartPtr<QelAttribute> const &) { ++changes_; }

    int changes_ = 0;
};

// The keys in order, with their attributes under them.
void expectNumbers(QelAttributeBased const & object, int count) {
    ASSERT_EQ(count, object.getNumAttributes());
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(longName(i), object.getAttributeName(i));
        EXPECT_EQ(object.getAttribute(i).get(), object.getAttribute(longName(i)).get());
    }
}

// Does it with the first allocation failing, with the second and so on, until none fails; `check`
// sees what is left after each failure. How many failed.
int failEach(std::function<void()> const & action, std::function<void()> const & check) {
    for (int n = 1; n < 1000; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        AllocationCounter const counter;
        bool done = false;
        {
            AllocationFault const fault(n);
            try {
                action();
                done = true;
            } catch (std::bad_alloc const &) {
            }
        }
        if (done) return n - 1;
        EXPECT_EQ(0, counter.live());
        check();
    }
    ADD_FAILURE() << "it never succeeded";
    return 0;
}

// Through several sizes, at some of which the list of attributes has to grow.
TEST(QelAttributeAllocationTest, AddAttributeThatFailsLeavesBothCollectionsUnchanged) {
    Observed object;
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE("attribute " + std::to_string(i));
        NumberPtr const number(new Number(longName(i)));
        int const failures = failEach([&] { EXPECT_TRUE(object.addAttribute(number)); },
                                      [&] {
                                          expectNumbers(object, i);
                                          EXPECT_EQ(1, number->refCount());
                                      });
        // The key, and its entry.
        EXPECT_GE(failures, 2);
        expectNumbers(object, i + 1);
    }
}

TEST(QelAttributeAllocationTest, ACopyThatFailsLeavesTheSourceUnchanged) {
    Observed const object(5);
    int const failures = failEach([&] { Observed const copy(object); },
                                  [&] {
                                      expectNumbers(object, 5);
                                      for (int i = 0; i < 5; ++i) {
                                          EXPECT_EQ(1, object.getAttribute(i)->numCallbacks());
                                      }
                                  });
    EXPECT_GE(failures, 25);
}

TEST(QelAttributeAllocationTest, AddCallbackThatFailsAddsNone) {
    Observed object(1);
    MoxSmartPtr<QelAttribute> const number = object.getAttribute(0);
    auto const registration = [&] {
        return std::make_unique<QelAttributeChangedRegistration<Observed>>(&object, nullptr);
    };
    failEach([&] { number->addCallback(registration()); },
             [&] { EXPECT_EQ(1, number->numCallbacks()); });
    EXPECT_EQ(2, number->numCallbacks());
}

TEST(QelAttributeAllocationTest, RenamingMovesTheKeyAndAllocatesNothing) {
    Observed object(5);
    std::string newName = longName(7);
    AllocationCounter const counter;
    EXPECT_TRUE(object.renameAttribute(object.getAttribute(3), std::move(newName)));
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(longName(7), object.getAttributeName(3));
}

TEST(QelAttributeAllocationTest, LookingUpSettingAndRemovingAllocateNothing) {
    Observed object(100);
    NumberPtr const number = Number::of(object.getAttribute(50));
    NumberPtr const other(new Number("other", 3.0));
    std::string const name = longName(70);
    AllocationCounter const counter;
    EXPECT_EQ(70.0, Number::of(object.getAttribute(name))->getValue());
    EXPECT_FALSE(object.getAttribute("no attribute has this name, however long"));
    number->setValue(3.5);
    EXPECT_TRUE(number->copyValue(*other));
    EXPECT_EQ(2, object.changes());
    object.removeAttribute(name);
    number->removeCallbacks(&object);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(99, object.getNumAttributes());
}

}  // namespace

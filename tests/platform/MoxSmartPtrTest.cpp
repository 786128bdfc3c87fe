#include "MoxSmartPtr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "VZanRefCount.h"
#include "ZanRefCount.h"

namespace {

// Objects that write down what happens to them: "+a" for a reference gained by object a, "-a"
// for one lost, "~a" for the destruction.
using Diary = std::vector<std::string>;

class Shape : public ZanRefCount {
  public:
    explicit Shape(Diary & diary, char const * name = "a") : diary_(diary), name_(name) {}
    virtual ~Shape() {
        diary_.push_back("~" + name_);
        if (onDestruction) onDestruction();
    }

    void addRef() const {
        diary_.push_back("+" + name_);
        ZanRefCount::addRef();
    }
    bool deleteRef() const {
        diary_.push_back("-" + name_);
        return ZanRefCount::deleteRef();
    }
    int corners() const { return 0; }

    std::function<void()> onDestruction;

  private:
    Diary & diary_;
    std::string name_;
};

class Square : public Shape {
  public:
    using Shape::Shape;
    int corners() const { return 4; }
};

class MoxSmartPtrTest : public testing::Test {
  protected:
    Shape * make(char const * name = "a") { return new Shape(diary_, name); }
    Square * makeSquare(char const * name = "s") { return new Square(diary_, name); }

    // What has happened since the last call.
    Diary takeDiary() { return std::exchange(diary_, {}); }

    Diary diary_;
};

TEST_F(MoxSmartPtrTest, EmptyIsNull) {
    MoxSmartPtr<Shape> const none;
    MoxSmartPtr<Shape> const null = nullptr;
    MoxConstSmartPtr<Shape> const constNull = nullptr;
    EXPECT_EQ(nullptr, none.get());
    EXPECT_EQ(nullptr, null.get());
    EXPECT_EQ(nullptr, constNull.get());
}

TEST_F(MoxSmartPtrTest, OwnsOneReferenceAndDeletesWithTheLast) {
    {
        MoxSmartPtr<Shape> const first = make();
        EXPECT_EQ(1, first->refCount());
        {
            MoxSmartPtr<Shape> const second = first;
            EXPECT_EQ(2, first->refCount());
        }
        EXPECT_EQ(Diary({"+a", "+a", "-a"}), takeDiary());
    }
    EXPECT_EQ(Diary({"-a", "~a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, AssignmentAddsToTheNewBeforeItDropsTheOld) {
    MoxSmartPtr<Shape> held = make("old");
    MoxSmartPtr<Shape> const other = make("new");
    takeDiary();
    held = other;
    EXPECT_EQ(Diary({"+new", "-old", "~old"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, AssignmentOfARawPointerAddsBeforeItDrops) {
    MoxSmartPtr<Shape> held = make("old");
    Shape * const fresh = make("new");
    takeDiary();
    held = fresh;
    EXPECT_EQ(Diary({"+new", "-old", "~old"}), takeDiary());
}

// The new object hangs on the old one alone; dropping first would destroy both.
TEST_F(MoxSmartPtrTest, AssignmentSurvivesThatTheOldObjectOwnsTheNewOne) {
    struct Node : ZanRefCount {
        MoxSmartPtr<Node> next;
        int value = 0;
    };
    MoxSmartPtr<Node> head = new Node;
    head->next = new Node;
    head->next->value = 2;
    head = head->next;
    ASSERT_NE(nullptr, head);
    EXPECT_EQ(2, head->value);
    EXPECT_EQ(1, head->refCount());

    head->next = new Node;
    head->next->value = 3;
    head = std::move(head->next);
    ASSERT_NE(nullptr, head);
    EXPECT_EQ(3, head->value);
    EXPECT_EQ(1, head->refCount());
}

TEST_F(MoxSmartPtrTest, SelfAssignmentDoesNothing) {
    MoxSmartPtr<Shape> held = make();
    MoxSmartPtr<Shape> const sameObject = held;
    MoxSmartPtr<Shape> & self = held;
    takeDiary();
    held = self;
    held = sameObject;
    EXPECT_EQ(Diary(), takeDiary());
    held = std::move(self);
    EXPECT_EQ(Diary(), takeDiary());
    EXPECT_EQ(sameObject, held);
}

TEST_F(MoxSmartPtrTest, AssignmentOfTheHeldRawPointerKeepsTheObject) {
    MoxSmartPtr<Shape> held = make();
    takeDiary();
    held = held.get();
    EXPECT_EQ(1, held->refCount());
    EXPECT_EQ(Diary({"+a", "-a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, ReleaseStoresNullBeforeTheDelete) {
    MoxSmartPtr<Shape> held = make();
    bool sawNull = false;
    held->onDestruction = [&] { sawNull = held == nullptr; };
    held.release();
    EXPECT_TRUE(sawNull);
    EXPECT_EQ(nullptr, held);
    EXPECT_EQ(Diary({"+a", "-a", "~a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, AssignmentOfNullStoresNullBeforeTheDelete) {
    MoxSmartPtr<Shape> held = make();
    bool sawNull = false;
    held->onDestruction = [&] { sawNull = held == nullptr; };
    held = nullptr;
    EXPECT_TRUE(sawNull);
}

TEST_F(MoxSmartPtrTest, ReleaseOfASharedObjectStoresNullAndKeepsTheObject) {
    MoxSmartPtr<Shape> const other = make();
    MoxSmartPtr<Shape> held = other;
    takeDiary();
    held.release();
    held.release();
    EXPECT_EQ(nullptr, held);
    EXPECT_EQ(Diary({"-a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, MoveTakesTheReferenceOver) {
    MoxSmartPtr<Shape> first = make();
    Shape * const raw = first;
    takeDiary();
    MoxSmartPtr<Shape> second = std::move(first);
    EXPECT_EQ(nullptr, first);
    EXPECT_EQ(raw, second);
    first = std::move(second);
    EXPECT_EQ(nullptr, second);
    EXPECT_EQ(raw, first);
    EXPECT_EQ(Diary(), takeDiary());
}

TEST_F(MoxSmartPtrTest, MoveAssignmentDropsTheOldObject) {
    MoxSmartPtr<Shape> held = make("old");
    MoxSmartPtr<Shape> other = make("new");
    takeDiary();
    held = std::move(other);
    EXPECT_EQ(Diary({"-old", "~old"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, MoveToABaseOrConstPointerTakesTheReferenceOver) {
    MoxSmartPtr<Square> square = makeSquare();
    takeDiary();
    MoxSmartPtr<Shape> shape = std::move(square);
    EXPECT_EQ(nullptr, square);
    MoxConstSmartPtr<Shape> const constShape = std::move(shape);
    EXPECT_EQ(nullptr, shape);
    MoxConstSmartPtr<Square> constSquare = makeSquare("t");
    MoxConstSmartPtr<Shape> const other = std::move(constSquare);
    EXPECT_EQ(nullptr, constSquare);
    EXPECT_EQ(Diary({"+t"}), takeDiary());
    EXPECT_EQ(1, constShape->refCount());
    EXPECT_EQ(1, other->refCount());
}

TEST_F(MoxSmartPtrTest, ConvertsFromAndToRawPointers) {
    Square * const raw = makeSquare();
    MoxSmartPtr<Square> const square = raw;
    MoxSmartPtr<Shape> const shape = raw;
    MoxConstSmartPtr<Shape> const constShape = raw;
    Shape * const back = square;
    Shape const * const constBack = constShape;
    EXPECT_EQ(raw, back);
    EXPECT_EQ(raw, constBack);
    EXPECT_EQ(raw, shape.get());
    EXPECT_EQ(raw, &*square);
    EXPECT_EQ(4, square->corners());
    EXPECT_EQ(3, raw->refCount());
}

TEST_F(MoxSmartPtrTest, ConvertsToBaseAndConstPointers) {
    MoxSmartPtr<Square> const square = makeSquare();
    MoxSmartPtr<Shape> const shape = square;
    MoxConstSmartPtr<Square> const constSquare = square;
    MoxConstSmartPtr<Shape> const constShape = constSquare;
    MoxConstSmartPtr<Shape> alsoShape;
    alsoShape = shape;
    alsoShape = square;
    alsoShape = constSquare;
    EXPECT_EQ(5, square->refCount());
}

TEST_F(MoxSmartPtrTest, ConversionsThatWouldLoseTypeOrConstAreRefused) {
    static_assert(!std::is_convertible_v<MoxSmartPtr<Shape>, MoxSmartPtr<Square>>);
    static_assert(!std::is_convertible_v<MoxConstSmartPtr<Shape>, MoxSmartPtr<Shape>>);
    static_assert(!std::is_convertible_v<MoxConstSmartPtr<Shape>, Shape *>);
    static_assert(!std::is_convertible_v<Shape const *, MoxSmartPtr<Shape>>);
    static_assert(!std::is_convertible_v<MoxConstSmartPtr<Shape>, MoxConstSmartPtr<Square>>);
}

TEST_F(MoxSmartPtrTest, WhatCannotFailSaysSo) {
    static_assert(std::is_nothrow_default_constructible_v<MoxSmartPtr<Shape>>);
    static_assert(std::is_nothrow_copy_constructible_v<MoxSmartPtr<Shape>>);
    static_assert(std::is_nothrow_move_constructible_v<MoxSmartPtr<Shape>>);
    static_assert(std::is_nothrow_move_constructible_v<MoxConstSmartPtr<Shape>>);
    static_assert(std::is_nothrow_constructible_v<MoxSmartPtr<Shape>, MoxSmartPtr<Square> &&>);
    static_assert(sizeof(MoxSmartPtr<Shape>) == sizeof(Shape *));
}

TEST_F(MoxSmartPtrTest, ComparesWithPointersOfAllKinds) {
    MoxSmartPtr<Square> const square = makeSquare("s");
    MoxSmartPtr<Shape> const shape = square;
    MoxConstSmartPtr<Shape> const constShape = square;
    MoxSmartPtr<Shape> const other = make("o");
    MoxSmartPtr<Shape> const none;
    Shape * const raw = square;
    Shape const * const constRaw = square;

    EXPECT_TRUE(square == shape);
    EXPECT_TRUE(shape == constShape);
    EXPECT_TRUE(shape == raw && raw == shape);
    EXPECT_TRUE(constShape == raw && shape == constRaw);
    EXPECT_TRUE(none == nullptr && nullptr == none);
    EXPECT_TRUE(shape != nullptr && nullptr != constShape);
    EXPECT_TRUE(shape != other && other != raw && none != shape);
    EXPECT_FALSE(shape == other || none == raw || shape == nullptr);
    EXPECT_TRUE((shape < other) != (other < shape));
    EXPECT_TRUE(shape && !none);
}

TEST_F(MoxSmartPtrTest, SwapExchangesWithoutCounting) {
    MoxSmartPtr<Shape> first = make("a");
    MoxSmartPtr<Shape> second = make("b");
    Shape * const a = first;
    takeDiary();
    first.swap(second);
    EXPECT_EQ(a, second);
    EXPECT_EQ(Diary(), takeDiary());
}

TEST_F(MoxSmartPtrTest, AdoptTakesAReferenceOverAndDetachHandsItBack) {
    Shape * const raw = make();
    raw->addRef();
    takeDiary();
    MoxSmartPtr<Shape> held = MoxSmartPtr<Shape>::adopt(raw);
    EXPECT_EQ(raw, held);
    EXPECT_EQ(raw, held.detach());
    EXPECT_EQ(nullptr, held);
    EXPECT_EQ(Diary(), takeDiary());
    EXPECT_EQ(1, raw->refCount());
    { MoxConstSmartPtr<Shape> const last = MoxConstSmartPtr<Shape>::adopt(raw); }
    EXPECT_EQ(Diary({"-a", "~a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, NullIsAdoptedAndDetached) {
    MoxSmartPtr<Shape> none = MoxSmartPtr<Shape>::adopt(nullptr);
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(nullptr, none.detach());
}

TEST_F(MoxSmartPtrTest, AnAdoptedReferenceReplacesTheOldOne) {
    MoxSmartPtr<Shape> held = make("old");
    MoxSmartPtr<Shape> other = make("new");
    takeDiary();
    held = MoxSmartPtr<Shape>::adopt(other.detach());
    EXPECT_EQ(Diary({"-old", "~old"}), takeDiary());
}

// What client code may rely on: one template, whose argument is deduced through the alias.
template <class T>
int cornersOf(MoxConstSmartPtr<T> const & shape) {
    return shape->corners();
}

TEST_F(MoxSmartPtrTest, AConstPointerIsAPointerToConst) {
    static_assert(std::is_same_v<MoxConstSmartPtr<Shape>, MoxSmartPtr<Shape const>>);
    static_assert(std::is_same_v<MoxConstSmartPtr<Shape const>, MoxConstSmartPtr<Shape>>);
    MoxConstSmartPtr<Square> const square = makeSquare();
    EXPECT_EQ(4, cornersOf(square));
}

TEST_F(MoxSmartPtrTest, AConstPointerDeletesItsObject) {
    { MoxConstSmartPtr<Shape> const held = make(); }
    EXPECT_EQ(Diary({"+a", "-a", "~a"}), takeDiary());
}

TEST_F(MoxSmartPtrTest, LivesInContainers) {
    std::vector<MoxSmartPtr<Shape>> shapes;
    for (int i = 0; i < 100; ++i)
        shapes.emplace_back(make());
    for (auto const & shape : shapes)
        EXPECT_EQ(1, shape->refCount());
    takeDiary();
    shapes.clear();
    EXPECT_EQ(200U, takeDiary().size());
}

TEST_F(MoxSmartPtrTest, ADestructorThatRaisesIsHeardByReleaseAndAssignment) {
    struct Raising : ZanRefCount {
        ~Raising() noexcept(false) { throw std::runtime_error("buffers remain"); }
    };
    MoxSmartPtr<Raising> held = new Raising;
    EXPECT_THROW(held.release(), std::runtime_error);
    EXPECT_EQ(nullptr, held);
    held = new Raising;
    EXPECT_THROW(held = nullptr, std::runtime_error);
    EXPECT_EQ(nullptr, held);
}

// The count lies in a virtual base, apart from the parts that reach it.
class CountedPart : public virtual ZanRefCount {
  public:
    virtual ~CountedPart() = default;
    int part = 1;
};
class OtherPart : public virtual ZanRefCount {
  public:
    virtual ~OtherPart() = default;
    int otherPart = 2;
};
class Whole : public CountedPart, public OtherPart {
  public:
    explicit Whole(int & destroyed) : destroyed_(destroyed) {}
    ~Whole() override { ++destroyed_; }

  private:
    int & destroyed_;
};

TEST_F(MoxSmartPtrTest, AVirtualBaseHoldsOneCountForAllParts) {
    int destroyed = 0;
    {
        MoxSmartPtr<Whole> whole = new Whole(destroyed);
        MoxSmartPtr<CountedPart> const part = whole;
        MoxSmartPtr<OtherPart> other = whole;
        EXPECT_EQ(3, whole->refCount());
        EXPECT_EQ(3, part->refCount());
        whole = nullptr;
        EXPECT_EQ(2, other->otherPart);
        other = nullptr;
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);
}

TEST_F(MoxSmartPtrTest, AVirtuallyCountedObjectIsHeldByItsBase) {
    struct Op : VZanRefCount {
        explicit Op(int & count) : destroyed(count) {}
        ~Op() override { ++destroyed; }
        int & destroyed;
    };
    int destroyed = 0;
    {
        MoxSmartPtr<VZanRefCount> base = new Op(destroyed);
        MoxConstSmartPtr<VZanRefCount> const constBase = base;
        base = nullptr;
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);
}

TEST_F(MoxSmartPtrTest, EightThreadsShareOneObject) {
    struct Shared : ZanRefCount {
        explicit Shared(std::atomic<int> & count) : destroyed(count) {}
        ~Shared() { ++destroyed; }
        std::atomic<int> & destroyed;
        int value = 7;
    };
    std::atomic<int> destroyed{0};
    std::atomic<int> sum{0};
    std::vector<std::thread> threads;
    {
        MoxSmartPtr<Shared> const shared = new Shared(destroyed);
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([own = shared, &sum]() mutable {
                for (int k = 0; k < 5000; ++k) {
                    MoxSmartPtr<Shared> const copy = own;
                    MoxConstSmartPtr<Shared> moved = copy;
                    sum += moved->value;
                }
                own.release();
            });
        }
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(8 * 5000 * 7, sum);
    EXPECT_EQ(1, destroyed);
}

}  // namespace

#include "QelReleaseQueue.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "VZanRefCount.h"
#include "ZanRefCount.h"

namespace {

// Writes its name when its destructor begins and ends, and releases up to two others in between.
template <class Base>
class Node : public Base {
  public:
    Node(std::string & log, char name) : log_(log), name_(name) {}
    ~Node() {
        log_ += name_;
        qelReleaseLater(std::move(first));
        qelReleaseLater(std::move(second));
        log_ += '.';
    }

    MoxSmartPtr<Node> first;
    MoxSmartPtr<Node> second;

  private:
    std::string & log_;
    char name_;
};

template <class Base>
class QelReleaseQueueTest : public testing::Test {
  protected:
    using Pointer = MoxSmartPtr<Node<Base>>;

    Pointer make(char name, Pointer first = nullptr, Pointer second = nullptr) {
        Pointer node(new Node<Base>(log_, name));
        node->first = std::move(first);
        node->second = std::move(second);
        return node;
    }

    std::string log_;
};
using Bases = testing::Types<ZanRefCount, VZanRefCount>;
TYPED_TEST_SUITE(QelReleaseQueueTest, Bases);

TYPED_TEST(QelReleaseQueueTest, NullIsNothing) {
    typename TestFixture::Pointer nothing;
    qelReleaseLater(std::move(nothing));
    EXPECT_EQ("", this->log_);
}

TYPED_TEST(QelReleaseQueueTest, TheLastReferenceDeletesBeforeTheOutermostReleaseReturns) {
    auto node = this->make('a');
    auto other = node;
    qelReleaseLater(std::move(node));
    EXPECT_EQ(nullptr, node.get());  // NOLINT: given up, not merely moved from
    EXPECT_EQ(1, other->refCount());
    EXPECT_EQ("", this->log_);
    qelReleaseLater(std::move(other));
    EXPECT_EQ("a.", this->log_);
}

TYPED_TEST(QelReleaseQueueTest, DestructorsDoNotNest) {
    auto chain = this->make('a', this->make('b', this->make('c')), this->make('d'));
    qelReleaseLater(std::move(chain));
    EXPECT_EQ("a.d.b.c.", this->log_);
}

TYPED_TEST(QelReleaseQueueTest, WhatOthersShareStays) {
    auto shared = this->make('s');
    qelReleaseLater(this->make('a', shared, shared));
    EXPECT_EQ("a.", this->log_);
    EXPECT_EQ(1, shared->refCount());
}

TYPED_TEST(QelReleaseQueueTest, AChainIsFollowedOncePerRelease) {
    qelReleaseLater(this->make('a', this->make('b')));
    qelReleaseLater(this->make('c', this->make('d')));
    EXPECT_EQ("a.b.c.d.", this->log_);
}

}  // namespace

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "GraphTesting.h"
#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"

// What is left of an edit of a graph when memory runs out on the way: the graph as it was, or the
// whole edit.

namespace {

// An attempt with one allocation that fails, if there are as many.
struct Attempt {
    bool happened = false;
    bool raised = false;
    std::int64_t live = 0;  // allocations less releases

    bool isDone() const { return !raised; }
};

Attempt attempt(int n, std::function<void()> const & action) {
    Attempt result;
    AllocationCounter const counter;
    AllocationFault const fault(n);
    try {
        action();
    } catch (std::bad_alloc const &) {
        result.raised = true;
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
        result.raised = true;
    }
    result.happened = fault.happened();
    result.live = counter.live();
    return result;
}

// Does it with the first allocation failing, with the second and so on, until none fails any more.
// `prepare` comes ahead of each attempt, `check` behind it. How many failed.
int failEach(std::function<void()> const & prepare, std::function<void()> const & action,
             std::function<void(Attempt const &)> const & check) {
    for (int n = 1; !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        prepare();
        Attempt const result = attempt(n, action);
        EXPECT_TRUE(result.happened || result.isDone());
        check(result);
        if (!result.happened) return n - 1;
    }
    return 0;
}

void nothing() {}

using Transforms = std::vector<MoxSmartPtr<QelTransform>>;

// ---- What holds for any graph at any time

void expectConsistent(QelInputConnectionPoint & input) {
    MoxSmartPtr<QelOutputConnectionPoint> const source = input.getConnectedOutput(false);
    EXPECT_EQ(source ? source->owner() : nullptr, input.upstreamTransform().get());
    EXPECT_EQ(source ? source->streamData() : nullptr, input.streamData());
    EXPECT_EQ(input.streamData(), dynamic_cast<QelImageInputCP &>(input).imageStreamData());
    if (!source) return;
    std::vector<QelInputConnectionPoint *> const consumers = source->connectedInputs();
    EXPECT_EQ(1, std::count(consumers.begin(), consumers.end(), &input));
    EXPECT_TRUE(source->owner()->setupDone() || !input.owner()->setupDone());
}

void expectConsistent(QelTransform const & owner, QelOutputConnectionPoint const & output) {
    int caching = output.caching() ? 1 : 0;
    for (QelInputConnectionPoint const * const input : output.connectedInputs()) {
        EXPECT_EQ(&output, input->getConnectedOutput(false).get());
        caching += input->caching() ? 1 : 0;
    }
    EXPECT_EQ(output.numConnectedInputs(), output.connectedInputs().size());
    EXPECT_EQ(caching, output.streamData()->cachingCount());
    EXPECT_EQ(caching > 0, output.streamData()->caching());
    EXPECT_EQ(!owner.setupDone(), output.streamData()->outOfDate());
    EXPECT_EQ(owner.statusOk(), output.streamData()->statusOk());
}

void expectConsistent(Transforms const & transforms) {
    for (MoxSmartPtr<QelTransform> const & transform : transforms) {
        for (int i = 0; i < transform->numInputs(); ++i)
            expectConsistent(*transform->getInputCP(i));
        for (int i = 0; i < transform->numOutputs(); ++i)
            expectConsistent(*transform, *transform->getOutputCP(i));
    }
}

// ---- A graph

double pixelAt(QelTransform & transform) {
    MoxSmartPtr<QelRectBuffer> const pixels = pixelsOf(transform);
    return pixels ? elementAt(*pixels, 3, 2, 1) : -1;
}

void connect(QelTransform & to, int input, QelTransform & from) {
    to.getInputCP(input)->connect(from.getOutputCP(0).get());
}

//     source -> add -> joint -> last
//           \---------/
class QelTransformAllocationTest : public testing::Test {
  protected:
    QelTransformAllocationTest() {
        connect(*add_, 0, *source_);
        connect(*joint_, 0, *add_);
        connect(*joint_, 1, *source_);
        connect(*last_, 0, *joint_);
    }

    // Up to date, with images and tiles.
    void read() {
        ASSERT_EQ(gradientAt(3, 2, 1) + 2, pixelAt(*last_));
        ASSERT_EQ(gradientAt(3, 2, 1), pixelAt(*source_));
    }
    // Whatever happened before.
    void expectUsable() {
        expectConsistent(all());
        source_->markOutOfDate(true);
        other_->markOutOfDate(true);
        EXPECT_EQ(gradientAt(3, 2, 1) + 2, pixelAt(*last_));
    }
    Transforms all() const {
        return {source_.get(), other_.get(), add_.get(), joint_.get(), last_.get()};
    }
    std::vector<QelTransform *> downstream() const {
        return {source_.get(), add_.get(), joint_.get(), last_.get()};
    }
    void setCachingOfInputs() {
        for (MoxSmartPtr<QelTransform> const & transform : all()) {
            for (int i = 0; i < transform->numInputs(); ++i)
                transform->getInputCP(i)->setCaching(true);
        }
    }
    // What somebody holds is replaced, not cleared.
    void holdContainers() {
        held_.clear();
        for (MoxSmartPtr<QelTransform> const & transform : all())
            held_.push_back(transform->getOutputCP(0)->streamData()->getRenderedItemContainer());
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform({.width = 20, .height = 10});
    MoxSmartPtr<SourceTransform> other_ = new SourceTransform({.width = 20, .height = 10});
    MoxSmartPtr<AddTransform> add_ = new AddTransform(1.0);
    MoxSmartPtr<JointTransform> joint_ = new JointTransform(2, 2);
    MoxSmartPtr<AddTransform> last_ = new AddTransform(1.0);
    std::vector<MoxSmartPtr<QelRenderedItemContainer>> held_;
};

// ---- Building

template <class Make>
void expectWholeOrNothing(Make const & make) {
    make();  // what is made once for the whole program
    int const failures = failEach(
        nothing, [&] { make(); },
        [](Attempt const & result) {
            EXPECT_EQ(result.happened, result.raised);
            EXPECT_EQ(0, result.live);
        });
    EXPECT_LE(10, failures);
}

TEST_F(QelTransformAllocationTest, TransformsAreMadeWholeOrNotAtAll) {
    expectWholeOrNothing([] { MoxSmartPtr<SourceTransform> const made = new SourceTransform(); });
    expectWholeOrNothing([] { MoxSmartPtr<AddTransform> const made = new AddTransform(); });
    expectWholeOrNothing([] { MoxSmartPtr<JointTransform> const made = new JointTransform(3, 2); });
}

TEST_F(QelTransformAllocationTest, CopiesAreMadeWholeOrNotAtAll) {
    setCachingOfInputs();
    last_->setCaching(true);
    read();
    expectWholeOrNothing([&] { MoxSmartPtr<QelTransform> const copy = joint_->clone(); });
    expectWholeOrNothing([&] { MoxSmartPtr<QelTransform> const copy = last_->clone(); });
    expectConsistent(all());
    EXPECT_TRUE(last_->statusOk());
}

// Through several sizes, at some of which the list of points has to grow.
template <class Point, class ImagePoint>
void expectAddedOrLeftAlone(QelTransform & transform, int (QelTransform::*count)() const) {
    int failures = 0;
    for (int i = 0; i < 20; ++i) {
        MoxSmartPtr<Point> const point = new ImagePoint("point " + std::to_string(i));
        failures += failEach(
            nothing, [&] { transform.addConnectionPoint(point); },
            [&](Attempt const & result) {
                EXPECT_EQ(result.isDone() ? &transform : nullptr, point->owner());
                EXPECT_EQ(result.isDone() ? i + 1 : i, (transform.*count)());
                EXPECT_EQ(result.isDone() ? 2 : 1, point->refCount());
            });
    }
    EXPECT_LE(5, failures);
}

TEST_F(QelTransformAllocationTest, PointsAreAddedOrLeftAlone) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(0, 0);
    expectAddedOrLeftAlone<QelInputConnectionPoint, QelImageInputCP>(*joint,
                                                                     &QelTransform::numInputs);
    expectAddedOrLeftAlone<QelOutputConnectionPoint, QelImageOutputCP>(*joint,
                                                                       &QelTransform::numOutputs);
}

// ---- Connections

TEST_F(QelTransformAllocationTest, ConnectionsAreMadeOrLeftAlone) {
    setCachingOfInputs();
    QelInputConnectionPoint & input = *add_->getInputCP(0);
    QelOutputConnectionPoint * const former = source_->getOutputCP(0).get();
    QelOutputConnectionPoint * const next = other_->getOutputCP(0).get();
    auto const prepare = [&] {
        input.connect(former);
        read();
        ASSERT_EQ(gradientAt(3, 2, 1), pixelAt(*other_));
        holdContainers();
    };
    int const failures = failEach(
        prepare, [&] { input.connect(next); },
        [&](Attempt const & result) {
            QelOutputConnectionPoint const * const now = input.getConnectedOutput(false).get();
            EXPECT_TRUE(now == next || (now == former && result.raised));
            expectUsable();
        });
    EXPECT_LE(3, failures);
}

TEST_F(QelTransformAllocationTest, FansGrowOrAreLeftAlone) {
    int failures = 0;
    Transforms fan;
    for (std::size_t i = 0; i < 20; ++i) {
        fan.push_back(new AddTransform());
        QelInputConnectionPoint & input = *fan.back()->getInputCP(0);
        failures += failEach(
            nothing, [&] { input.connect(other_->getOutputCP(0).get()); },
            [&](Attempt const & result) {
                EXPECT_EQ(result.isDone() ? i + 1 : i,
                          other_->getOutputCP(0)->numConnectedInputs());
                expectConsistent(fan);
                expectConsistent(all());
            });
    }
    EXPECT_LE(5, failures);
}

TEST_F(QelTransformAllocationTest, ConnectionsAreTakenApartOrLeftAlone) {
    setCachingOfInputs();
    QelInputConnectionPoint & input = *joint_->getInputCP(0);
    auto const prepare = [&] {
        connect(*joint_, 0, *add_);
        read();
        holdContainers();
    };
    int const failures = failEach(
        prepare, [&] { input.disconnect(); },
        [&](Attempt const & result) {
            bool const isConnected = input.getConnectedOutput(false).get() != nullptr;
            EXPECT_TRUE(!isConnected || result.raised);
            EXPECT_TRUE(isConnected || !last_->setupDone());
            expectConsistent(all());
            connect(*joint_, 0, *add_);
            expectUsable();
        });
    EXPECT_LE(2, failures);
}

TEST_F(QelTransformAllocationTest, OutputsAreRemovedWithTheirConnections) {
    auto const prepare = [&] {
        if (source_->numOutputs() == 1) {
            source_->addConnectionPoint(
                MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("more")));
        }
        joint_->getInputCP(1)->connect(source_->getOutputCP(1).get());
        read();
        holdContainers();
    };
    failEach(
        prepare, [&] { source_->removeOutputConnectionPoint(1); },
        [&](Attempt const &) {
            // Marking may fail, with the point gone and its transform out of date.
            EXPECT_EQ(1, source_->numOutputs());
            EXPECT_FALSE(source_->setupDone());
            EXPECT_FALSE(joint_->getInputCP(1)->getConnectedOutput(false));
            EXPECT_FALSE(last_->setupDone());
            expectConsistent(all());
        });
}

TEST_F(QelTransformAllocationTest, ChangesMarkAllThatIsDownstream) {
    auto const prepare = [&] {
        read();
        holdContainers();
    };
    int const failures = failEach(
        prepare, [&] { source_->setAttributeValue("level", 0.0); },
        [&](Attempt const &) {
            for (QelTransform const * const transform : downstream())
                EXPECT_FALSE(transform->setupDone());
            expectConsistent(all());
        });
    EXPECT_LE(4, failures);
    expectUsable();
}

// As connections change it, which cannot fail half way.
TEST_F(QelTransformAllocationTest, CachingChangesWithoutMemory) {
    for (bool const caching : {true, false}) {
        read();
        AllocationCounter const counter;
        add_->getInputCP(0)->setCaching(caching);
        last_->getOutputCP(0)->setCaching(caching);
        EXPECT_EQ(0, counter.allocations());
        expectUsable();
    }
}

// ---- Set-up

TEST_F(QelTransformAllocationTest, SetUpsEndAsGoodOrBad) {
    auto const prepare = [&] {
        source_->markOutOfDate(true);
        ASSERT_FALSE(last_->setupDone());
        holdContainers();
    };
    int bad = 0;
    failEach(
        prepare, [&] { last_->isStatusOk(); },
        [&](Attempt const & result) {
            EXPECT_FALSE(result.raised);
            for (QelTransform const * const transform : downstream())
                EXPECT_TRUE(transform->setupDone());
            if (!last_->statusOk()) {
                ++bad;
                EXPECT_NE(QelErrorCode::noStatusMessage, last_->getStatusMessage().getErrcode());
            }
            expectUsable();
        });
    EXPECT_LE(10, bad);
}

TEST_F(QelTransformAllocationTest, BadSetUpsEndAsBad) {
    MoxSmartPtr<JointTransform> const broken = new JointTransform(0, 1);
    auto const prepare = [&] { connect(*add_, 0, *broken); };
    int const failures = failEach(
        prepare, [&] { last_->isStatusOk(); },
        [&](Attempt const & result) {
            EXPECT_FALSE(result.raised);
            for (QelTransform * const transform : {static_cast<QelTransform *>(broken.get()),
                                                   static_cast<QelTransform *>(add_.get()),
                                                   static_cast<QelTransform *>(joint_.get()),
                                                   static_cast<QelTransform *>(last_.get())}) {
                EXPECT_TRUE(transform->setupDone());
                EXPECT_FALSE(transform->statusOk());
                EXPECT_NE(QelErrorCode::noStatusMessage,
                          transform->getStatusMessage().getErrcode());
            }
            expectConsistent(all());
            broken->markOutOfDate(true);
            EXPECT_FALSE(last_->setupDone());
        });
    EXPECT_LE(20, failures);
    connect(*add_, 0, *source_);
    expectUsable();
}

// Longer than set-ups nest.
TEST_F(QelTransformAllocationTest, SetUpsOfALongChainEndAsGoodOrBad) {
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source_, 130);
    Transforms const transforms(chain.begin(), chain.end());
    int bad = 0;
    failEach([&] { source_->markOutOfDate(true); }, [&] { chain.back()->isStatusOk(); },
             [&](Attempt const & result) {
                 EXPECT_FALSE(result.raised);
                 EXPECT_TRUE(source_->setupDone());
                 EXPECT_TRUE(chain.back()->setupDone());
                 expectConsistent(transforms);
                 if (!chain.back()->statusOk()) ++bad;
             });
    EXPECT_LE(130, bad);
    EXPECT_TRUE(chain.back()->isStatusOk());
}

// ---- Clones

TEST_F(QelTransformAllocationTest, AllAreClonedOrNone) {
    setCachingOfInputs();
    last_->setCaching(true);
    read();
    MoxSmartPtr<AddTransform> const end = new AddTransform();
    auto const render = [&] { last_->cloneForRender("out", end->getInputCP(0).get(), end.get()); };
    int const failures = failEach(nothing, render, [&](Attempt const & result) {
        EXPECT_TRUE(result.isDone() || result.live == 0);
        EXPECT_EQ(result.isDone(), end->getInputCP(0)->getConnectedOutput(false).get() != nullptr);
        for (QelTransform const * const transform : downstream())
            EXPECT_EQ(result.isDone(), transform->clonePtr() != nullptr);
        expectConsistent(all());
        EXPECT_TRUE(last_->statusOk()) << "the graph itself stays as it is";
    });
    EXPECT_LE(40, failures);
    last_->clearClonePtr(end.get());
    EXPECT_EQ(gradientAt(3, 2, 1) + 3, pixelAt(*end));
}

TEST_F(QelTransformAllocationTest, AFailedCloneLeavesTheInputWithItsFormerSource) {
    MoxSmartPtr<AddTransform> const end = new AddTransform();
    connect(*end, 0, *other_);
    auto const render = [&] { last_->cloneForRender("out", end->getInputCP(0).get(), end.get()); };
    failEach(nothing, render, [&](Attempt const & result) {
        EXPECT_EQ(result.raised, end->getInputCP(0)->getConnectedOutput(false).get() ==
                                     other_->getOutputCP(0).get());
    });
    last_->clearClonePtr(end.get());
}

TEST_F(QelTransformAllocationTest, AllClonesAreForgotten) {
    MoxSmartPtr<AddTransform> const end = new AddTransform();
    auto const render = [&] { last_->cloneForRender("out", end->getInputCP(0).get(), end.get()); };
    int const failures = failEach(
        render, [&] { last_->clearClonePtr(end.get()); },
        [&](Attempt const & result) {
            EXPECT_FALSE(result.raised);
            for (QelTransform const * const transform : downstream())
                EXPECT_EQ(nullptr, transform->clonePtr());
        });
    EXPECT_LE(1, failures);
}

// ---- The end

TEST_F(QelTransformAllocationTest, WhatNobodyHoldsGoesWithoutMemory) {
    MoxSmartPtr<AddTransform> end;
    auto const build = [&] {
        end = new AddTransform();
        MoxSmartPtr<JointTransform> const joint = new JointTransform(2, 1);
        connect(*joint, 0, *chainBehind(*source_, 5).back());
        connect(*joint, 1, *chainBehind(*source_, 5).back());
        connect(*end, 0, *joint);
        ASSERT_TRUE(end->isStatusOk());
    };
    // From then on the source's list of consumers keeps its size.
    build();
    end.release();
    AllocationCounter const before;
    build();
    std::int64_t const size = before.live();
    end.release();
    int const failures = failEach(
        build, [&] { end.release(); },
        [&](Attempt const & result) {
            EXPECT_FALSE(result.raised);
            EXPECT_EQ(-size, result.live);
            EXPECT_EQ(3, source_->refCount());
        });
    EXPECT_LE(1, failures);
}

}  // namespace

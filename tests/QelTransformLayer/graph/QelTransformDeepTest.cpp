#include <algorithm>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "GraphTesting.h"
#include "SmallStack.h"
#include "TestRandom.h"

// Graphs of any length and width, on a stack that holds a small part of them.

namespace {

constexpr int many = 100000;

using Chain = std::vector<MoxSmartPtr<QelOperation>>;

class QelTransformDeepTest : public testing::Test {
  protected:
    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    // What is wrong with it: it has no input.
    MoxSmartPtr<JointTransform> broken_ = new JointTransform(0, 1);
};

void feed(QelTransform & transform, QelTransform & source) {
    transform.getInputCP(0)->connect(source.getOutputCP(0).get());
}

void expectAllSetUp(Chain const & chain, int times) {
    for (MoxSmartPtr<QelOperation> const & link : chain) {
        ASSERT_TRUE(link->statusOk());
        ASSERT_EQ(times, dynamic_cast<AddTransform const &>(*link).setups());
    }
}

void expectAllOutOfDate(Chain const & chain) {
    for (MoxSmartPtr<QelOperation> const & link : chain) {
        ASSERT_FALSE(link->setupDone());
        ASSERT_TRUE(link->getOutputCP(0)->streamData()->outOfDate());
    }
}

void expectAllBad(Chain const & chain) {
    for (MoxSmartPtr<QelOperation> const & link : chain)
        ASSERT_FALSE(link->isStatusOk());
}

TEST_F(QelTransformDeepTest, ChainIsSetUpFromItsEnd) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*source_, many);
        EXPECT_TRUE(chain.back()->isStatusOk());
        EXPECT_EQ(1, source_->setups());
        expectAllSetUp(chain, 1);
    });
}

TEST_F(QelTransformDeepTest, ChangeAtTheSourceMarksAChain) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*source_, many);
        ASSERT_TRUE(chain.back()->isStatusOk());
        source_->setAttributeValue("level", 5.0);
        expectAllOutOfDate(chain);
        EXPECT_TRUE(chain.back()->isStatusOk());
        EXPECT_EQ(2, source_->setups());
        expectAllSetUp(chain, 2);
    });
}

TEST_F(QelTransformDeepTest, ChainIsIterated) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*source_, many);
        std::vector<QelTransform const *> expected{source_.get()};
        expected.insert(expected.end(), chain.begin(), chain.end());
        std::vector<QelTransform const *> met;
        for (QelGraphIterator i(chain.back().get(), false, false); !i.done(); i.next())
            met.push_back(i.current());
        EXPECT_TRUE(expected == met);
    });
}

TEST_F(QelTransformDeepTest, ChainIsCloned) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*source_, many);
        MoxSmartPtr<AddTransform> const end = new AddTransform();
        chain.back()->cloneForRender("out", end->getInputCP(0).get(), end.get());
        EXPECT_TRUE(end->isStatusOk());
        EXPECT_FALSE(chain.back()->setupDone()) << "the clones are connected to their originals";
        for (MoxSmartPtr<QelOperation> const & link : chain)
            ASSERT_NE(nullptr, link->clonePtr());
        chain.back()->clearClonePtr(end.get());
        for (MoxSmartPtr<QelOperation> const & link : chain)
            ASSERT_EQ(nullptr, link->clonePtr());
        EXPECT_EQ(nullptr, source_->clonePtr());
    });
}

TEST_F(QelTransformDeepTest, ChainGoesWithItsLastHolder) {
    runOnSmallStack([this] {
        Chain chain = chainBehind(*source_, many);
        MoxSmartPtr<QelOperation> end = chain.back();
        chain.clear();
        EXPECT_EQ(2, source_->refCount());
        end.release();
        EXPECT_EQ(1, source_->refCount());
        EXPECT_EQ(0U, source_->getOutputCP(0)->numConnectedInputs());
    });
}

// ---- Bad statuses

constexpr char const * noPrimaryInput =
    "QEL error 70\nThere is no primary input on which to base output attributes for operation ";

// An operation tells what is wrong upstream, and then what comes of it.
TEST_F(QelTransformDeepTest, ChainOfOperationsTellsWhatIsBrokenAtItsStart) {
    runOnSmallStack([this] {
        Chain chain;
        std::string text = noPrimaryInput + broken_->describe();
        QelTransform * last = broken_.get();
        for (int i = 0; i < many; ++i) {
            chain.push_back(new JointTransform(1, 1));
            feed(*chain.back(), *last);
            last = chain.back().get();
            text += "\nTransform " + last->describe() + " has invalid inputs";
        }
        EXPECT_FALSE(last->isStatusOk());
        ZanError const error = last->getStatusMessage();
        EXPECT_EQ(QelErrorCode::noPrimaryInput, error.getErrcode());
        EXPECT_TRUE(text == error.getMsg());

        feed(*chain.front(), *source_);
        EXPECT_TRUE(last->isStatusOk());
        EXPECT_EQ(QelErrorCode::noStatusMessage, last->getStatusMessage().getErrcode());
        EXPECT_TRUE(text == error.getMsg()) << "a copy goes with the status";
    });
}

std::string badInputOf(QelTransform const & transform) {
    return "QEL error 600\nInput in(index 0) of transform " + transform.describe() +
           " has bad status: \n";
}

// A point operation tells which input is bad, and then why.
TEST_F(QelTransformDeepTest, ChainOfPointOperationsTellsWhatIsBrokenAtItsStart) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*broken_, many);
        EXPECT_FALSE(chain.back()->isStatusOk());
        expectAllBad(chain);
        ZanError const error = chain.back()->getStatusMessage();
        EXPECT_EQ(QelErrorCode::noCommonResolution, error.getErrcode());
        std::string text;
        for (auto link = chain.rbegin(); link != chain.rend(); ++link)
            text += badInputOf(**link);
        EXPECT_TRUE(text + noPrimaryInput + broken_->describe() == error.getMsg());

        feed(*chain.front(), *source_);
        expectAllOutOfDate(chain);
        EXPECT_TRUE(chain.back()->isStatusOk());
        expectAllSetUp(chain, 2);
    });
}

TEST_F(QelTransformDeepTest, ChainBehindAnExceptionTellsIt) {
    class Failing : public JointTransform {
      public:
        Failing() : JointTransform(1, 1) {}
        void setupTransform() override {
            if (!getInputCP(0)->getStatus()) throw ZanError(getInputCP(0)->getStatusMessage());
            JointTransform::setupTransform();
        }
    };
    runOnSmallStack([this] {
        Chain chain;
        std::string text = noPrimaryInput + broken_->describe();
        QelTransform * last = broken_.get();
        std::string ahead;
        for (int i = 0; i < 10000; ++i) {
            chain.push_back(new Failing());
            feed(*chain.back(), *last);
            last = chain.back().get();
        }
        for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
            ahead += "QEL error 125\nSetupTransform in transform " + (*link)->describe() +
                     " failed with an exception and this message:\n";
        }
        ZanError const error = last->getStatusMessage();
        EXPECT_EQ(QelErrorCode::setupFailed, error.getErrcode());
        EXPECT_TRUE(ahead + text == error.getMsg());
    });
}

TEST_F(QelTransformDeepTest, CircleSettlesAsBad) {
    runOnSmallStack([this] {
        Chain const chain = chainBehind(*source_, many);
        feed(*chain.front(), *chain.back());
        QelTransform & asked = *chain[many / 2];
        EXPECT_FALSE(asked.isStatusOk());
        for (MoxSmartPtr<QelOperation> const & link : chain) {
            ASSERT_TRUE(link->setupDone()) << "one question settles all of it";
            ASSERT_FALSE(link->statusOk());
        }
        // Once round, from the one that was asked to the one that it is connected to.
        std::string text;
        for (int i = 0; i < many; ++i)
            text += badInputOf(*chain[static_cast<std::size_t>((many / 2 - i + many) % many)]);
        text += "QEL error 100\nThere is no status message in transform " + asked.describe();
        EXPECT_TRUE(text == asked.getStatusMessage().getMsg());

        feed(*chain.front(), *source_);
        EXPECT_TRUE(chain.back()->isStatusOk());
        expectAllSetUp(chain, 2);
    });
}

TEST_F(QelTransformDeepTest, CircleGoesWhenItIsOpened) {
    runOnSmallStack([this] {
        Chain chain = chainBehind(*source_, many);
        feed(*chain.front(), *chain.back());
        EXPECT_FALSE(chain.back()->isStatusOk());
        MoxSmartPtr<QelOperation> const first = chain.front();
        chain.clear();
        first->getInputCP(0)->disconnect();
        EXPECT_EQ(1, first->refCount());
        EXPECT_EQ(0U, first->getOutputCP(0)->numConnectedInputs());
    });
}

// ---- Many ways

// Counts what walks do to it; clones count for the step that they come from.
class CountedStep : public JointTransform {
  public:
    struct Counts {
        int told = 0;  // that an input has changed
        int marked = 0;
        int askedForClone = 0;
        int cloned = 0;
        int askedToForgetClone = 0;
    };

    CountedStep() : JointTransform(2, 1) {}

    MoxSmartPtr<QelTransform> clone() const override {
        ++counts_->cloned;
        return MoxSmartPtr<QelTransform>(new CountedStep(*this));
    }
    void inputChanged(QelInputConnectionPoint * input, bool flag) override {
        ++counts_->told;
        JointTransform::inputChanged(input, flag);
    }
    void propagateOutOfDate(bool flag) override {
        ++counts_->marked;
        JointTransform::propagateOutOfDate(flag);
    }
    void cloneForRender(std::string const & outputName, QelInputConnectionPoint * inputOfClone,
                        QelTransform * requester) override {
        ++counts_->askedForClone;
        JointTransform::cloneForRender(outputName, inputOfClone, requester);
    }
    void clearClonePtr(QelTransform * requester) override {
        ++counts_->askedToForgetClone;
        JointTransform::clearClonePtr(requester);
    }

    Counts & counts() { return *counts_; }

  private:
    std::shared_ptr<Counts> counts_ = std::make_shared<Counts>();
};

// A ladder of diamonds: each step has two ways to the step before, and each of these doubles the
// number of ways from the top to the bottom. A walk along the ways would never end.
class Ladder {
  public:
    explicit Ladder(QelTransform & bottom, int steps = height) {
        QelTransform * last = &bottom;
        for (int i = 0; i < steps; ++i) {
            steps_.push_back(new CountedStep());
            for (int side = 0; side < 2; ++side)
                steps_.back()->getInputCP(side)->connect(last->getOutputCP(0).get());
            last = steps_.back().get();
        }
    }

    static constexpr int height = 30;

    CountedStep & top() { return *steps_.back(); }
    std::vector<MoxSmartPtr<CountedStep>> const & steps() const { return steps_; }

    // What one walk did to each step, but for the one it began at: its two ways, or one visit.
    void expectEach(int CountedStep::Counts::*count, int times, bool fromTop) {
        for (MoxSmartPtr<CountedStep> const & step : steps_) {
            bool const isStart = fromTop && step.get() == &top();
            EXPECT_EQ(isStart ? 1 : times, step->counts().*count);
        }
    }

  private:
    std::vector<MoxSmartPtr<CountedStep>> steps_;
};

TEST_F(QelTransformDeepTest, LadderIsSetUpOnceForEachStep) {
    Ladder ladder(*source_);
    EXPECT_TRUE(ladder.top().isStatusOk());
    EXPECT_EQ(1, source_->setups());
    for (MoxSmartPtr<CountedStep> const & step : ladder.steps())
        EXPECT_EQ(1, step->setups());
}

// Its bottom is out of the reach of questions that nest.
TEST_F(QelTransformDeepTest, HighLadderIsSetUpOnceForEachStep) {
    runOnSmallStack([this] {
        Ladder ladder(*source_, 10000);
        for (int const times : {1, 2}) {
            EXPECT_TRUE(ladder.top().isStatusOk());
            EXPECT_EQ(times, source_->setups());
            for (MoxSmartPtr<CountedStep> const & step : ladder.steps())
                ASSERT_EQ(times, step->setups());
            source_->setAttributeValue("level", 1.0);
        }
    });
}

TEST_F(QelTransformDeepTest, LadderIsMarkedOnceForEachConnection) {
    Ladder ladder(*source_);
    ASSERT_TRUE(ladder.top().isStatusOk());
    for (MoxSmartPtr<CountedStep> const & step : ladder.steps())
        step->counts() = {};
    source_->setAttributeValue("level", 1.0);
    EXPECT_FALSE(ladder.top().setupDone());
    ladder.expectEach(&CountedStep::Counts::told, 2, false);
    ladder.expectEach(&CountedStep::Counts::marked, 1, false);
}

TEST_F(QelTransformDeepTest, LadderIsClonedOnceForEachStep) {
    Ladder ladder(*source_);
    MoxSmartPtr<AddTransform> const end = new AddTransform();
    ladder.top().cloneForRender("out0", end->getInputCP(0).get(), end.get());
    ladder.expectEach(&CountedStep::Counts::cloned, 1, true);
    ladder.expectEach(&CountedStep::Counts::askedForClone, 2, true);
    ladder.top().clearClonePtr(end.get());
    ladder.expectEach(&CountedStep::Counts::askedToForgetClone, 2, true);
    EXPECT_EQ(nullptr, source_->clonePtr());
    // The clones have the two ways of the steps.
    EXPECT_TRUE(end->isStatusOk());
    QelTransform const * at = end->getInputCP(0)->getConnectedOutput(false)->owner();
    for (int i = 0; i < Ladder::height; ++i) {
        QelTransform const * const below = at->getInputCP(0)->getConnectedOutput(false)->owner();
        ASSERT_EQ(below, at->getInputCP(1)->getConnectedOutput(false)->owner());
        ASSERT_EQ(2U, below->getOutputCP(0)->numConnectedInputs());
        at = below;
    }
    EXPECT_NE(nullptr, dynamic_cast<SourceTransform const *>(at));
    EXPECT_NE(source_.get(), at);
}

TEST_F(QelTransformDeepTest, LadderIsIteratedOnceForEachStep) {
    Ladder ladder(*source_);
    for (bool const downstream : {false, true}) {
        int met = 0;
        for (QelGraphIterator i(&ladder.top(), false, downstream); !i.done(); i.next())
            ++met;
        EXPECT_EQ(Ladder::height + 1, met) << downstream;
    }
    int behind = 0;
    for (QelDownstreamIterator i(source_.get()); !i.done(); i.next())
        ++behind;
    EXPECT_EQ(Ladder::height, behind);
}

// ---- Many consumers

class Fan {
  public:
    explicit Fan(int width) : source_(new SourceTransform()) {
        for (int i = 0; i < width; ++i) {
            consumers_.push_back(new AddTransform());
            feed(*consumers_.back(), *source_);
        }
    }

    QelOutputConnectionPoint & output() const { return *source_->getOutputCP(0); }
    QelInputConnectionPoint & input(int index) const {
        return *consumers_[static_cast<std::size_t>(index)]->getInputCP(0);
    }

    // Disconnects all in this order, with a look at what is left after every tenth.
    void takeApart(std::vector<int> const & order) {
        std::size_t const step = order.size() / 10;
        std::vector<bool> isOff(order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            input(order[i]).disconnect();
            isOff[static_cast<std::size_t>(order[i])] = true;
            ASSERT_EQ(order.size() - 1 - i, output().numConnectedInputs());
            if (i % step == 0) expectLeft(isOff);
        }
        EXPECT_TRUE(output().connectedInputs().empty());
    }

  private:
    // The others are still there, in the order in which they were connected.
    void expectLeft(std::vector<bool> const & isOff) const {
        std::vector<QelInputConnectionPoint *> expected;
        for (std::size_t i = 0; i < isOff.size(); ++i)
            if (!isOff[i]) expected.push_back(&input(static_cast<int>(i)));
        EXPECT_TRUE(expected == output().connectedInputs());
    }

    MoxSmartPtr<SourceTransform> source_;
    std::vector<MoxSmartPtr<AddTransform>> consumers_;
};

std::vector<int> frontToBack() {
    std::vector<int> order(many);
    std::iota(order.begin(), order.end(), 0);
    return order;
}

TEST_F(QelTransformDeepTest, FanComesApartFromFrontToBack) {
    runOnSmallStack([] { Fan(many).takeApart(frontToBack()); });
}

TEST_F(QelTransformDeepTest, FanComesApartFromBackToFront) {
    runOnSmallStack([] {
        std::vector<int> order = frontToBack();
        std::reverse(order.begin(), order.end());
        Fan(many).takeApart(order);
    });
}

TEST_F(QelTransformDeepTest, FanComesApartInAnyOrder) {
    TestRandom random(20261122);
    std::vector<int> order = frontToBack();
    random.shuffle(order);
    runOnSmallStack([&] { Fan(many).takeApart(order); });
}

TEST_F(QelTransformDeepTest, FanIsMarkedAndSetUp) {
    runOnSmallStack([this] {
        std::vector<MoxSmartPtr<AddTransform>> fan;
        for (int i = 0; i < many; ++i) {
            fan.push_back(new AddTransform());
            feed(*fan.back(), *source_);
            ASSERT_TRUE(fan.back()->isStatusOk());
        }
        source_->setAttributeValue("level", 1.0);
        for (MoxSmartPtr<AddTransform> const & consumer : fan) {
            ASSERT_FALSE(consumer->setupDone());
            ASSERT_TRUE(consumer->isStatusOk());
            ASSERT_EQ(2, consumer->setups());
        }
        EXPECT_EQ(2, source_->setups());
    });
}

TEST_F(QelTransformDeepTest, FanGoesWithItsOutput) {
    runOnSmallStack([this] {
        std::vector<MoxSmartPtr<AddTransform>> fan;
        for (int i = 0; i < many; ++i) {
            fan.push_back(new AddTransform());
            feed(*fan.back(), *source_);
            ASSERT_TRUE(fan.back()->isStatusOk());
        }
        source_->removeOutputConnectionPoint(0);
        for (MoxSmartPtr<AddTransform> const & consumer : fan) {
            ASSERT_FALSE(consumer->getInputCP(0)->getConnectedOutput(false));
            ASSERT_FALSE(consumer->setupDone());
        }
        EXPECT_EQ(1, source_->refCount());
    });
}

}  // namespace

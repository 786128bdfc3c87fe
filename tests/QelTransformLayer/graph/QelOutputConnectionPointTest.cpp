#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "PointTesting.h"
#include "TestRandom.h"

// The consumers of an output and the end of outputs.

namespace {

class QelOutputConnectionPointTest : public testing::Test {
  protected:
    QelOutputConnectionPointTest() {
        source_->setLabel("source");
        add_->setLabel("add");
    }

    // A transform with one input, "in", that keeps the log.
    NotedInput & newConsumer(std::string const & label) {
        MoxSmartPtr<PlainTransform> const transform = new PlainTransform(label);
        consumers_.push_back(transform);
        return transform->addInput<NotedInput>(new NotedInput(label, log_));
    }
    // Expects `action` to be refused and to leave no trace.
    template <class Action>
    void expectRefused(int code, std::string const & text, Action const & action) {
        std::string const before = stateOf(in_, &out_);
        expectRaises(code, text, action);
        EXPECT_EQ(before, stateOf(in_, &out_));
    }

    EventLog log_;
    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<AddTransform> add_ = new AddTransform();
    QelImageOutputCP & out_ = imageOutput(*source_);
    QelImageInputCP & in_ = imageInput(*add_);
    std::vector<MoxSmartPtr<PlainTransform>> consumers_;
};

// ---- A new point

TEST_F(QelOutputConnectionPointTest, StartsWithoutConsumers) {
    NumbersOutput const output("numbers");
    EXPECT_EQ("numbers", output.name());
    EXPECT_EQ(nullptr, output.owner());
    EXPECT_EQ(nullptr, output.streamData());
    EXPECT_FALSE(output.caching());
    EXPECT_FALSE(output.isInput());
    EXPECT_EQ(InputList(), output.connectedInputs());
    EXPECT_EQ(0u, output.numConnectedInputs());
}

TEST_F(QelOutputConnectionPointTest, KnowsItsTransformAndDirectionOnceAdded) {
    MoxSmartPtr<NumbersOutput> const output = new NumbersOutput("numbers");
    EXPECT_EQ("NULL", output->transformLabel());
    MoxSmartPtr<PlainTransform> const transform = new PlainTransform("plain");
    transform->addOutput(output);
    EXPECT_EQ(transform.get(), output->owner());
    EXPECT_FALSE(output->isInput());
    EXPECT_EQ("plain", output->transformLabel());
    EXPECT_EQ("numbers", output->connectionPointName());
    EXPECT_EQ("NumbersOutput", output->getClassName());
}

TEST_F(QelOutputConnectionPointTest, IsNotAssigned) {
    NumbersOutput const left("left");
    NumbersOutput right("right");
    expectRaises(QelErrorCode::misuse, "QelOutputConnectionPoint assignment operator not supported",
                 [&] { static_cast<QelOutputConnectionPoint &>(right) = left; });
    EXPECT_EQ("right", right.name());
    EXPECT_FALSE(std::is_copy_assignable_v<QelImageOutputCP>);
}

// ---- addConnection()

TEST_F(QelOutputConnectionPointTest, AddConnectionConnectsTheInput) {
    out_.addConnection(&in_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
    EXPECT_EQ((InputList{&in_}), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointTest, AddConnectionNeedsAnInput) {
    expectRefused(QelErrorCode::nullPointer,
                  "NULL pointer passed to addConnection( ), called for output CP out of transform "
                  "source(SourceTransform)",
                  [&] { out_.addConnection(nullptr); });
}

TEST_F(QelOutputConnectionPointTest, AddConnectionOfAnOutputWithoutOwnerNeedsAnInput) {
    QelImageOutputCP free("free");
    expectRaises(QelErrorCode::nullPointer,
                 "NULL pointer passed to addConnection( ), called for output CP free",
                 [&] { free.addConnection(nullptr); });
}

TEST_F(QelOutputConnectionPointTest, AddConnectionGoesByTheRules) {
    QelGraphTesting::setLocked(in_, true);
    expectRefused(QelErrorCode::cannotConnect,
                  "Cannot change connection information for cp named \"in\" of transform \"add\"",
                  [&] { out_.addConnection(&in_); });
}

TEST_F(QelOutputConnectionPointTest, AddConnectionByName) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(3, 1);
    out_.addConnection(joint.get(), "in2");
    EXPECT_EQ(&out_, joint->getInputCP(2)->getConnectedOutput(false).get());
    EXPECT_EQ((InputList{joint->getInputCP(2).get()}), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointTest, AddConnectionByNameNeedsATransform) {
    expectRefused(QelErrorCode::nullPointer,
                  "NULL transform pointer passed to addConnection( ), called for transform and CP "
                  "named in",
                  [&] { out_.addConnection(nullptr, "in"); });
}

TEST_F(QelOutputConnectionPointTest, AddConnectionByNameNeedsThatInput) {
    expectRefused(QelErrorCode::noSuchPoint,
                  "Input Connection Point named \"elsewhere\" not found in call to "
                  "QelOutputConnectionPoint::addConnection()",
                  [&] { out_.addConnection(add_.get(), "elsewhere"); });
    // An output of that name is none.
    expectRefused(QelErrorCode::noSuchPoint,
                  "Input Connection Point named \"out\" not found in call to "
                  "QelOutputConnectionPoint::addConnection()",
                  [&] { out_.addConnection(add_.get(), "out"); });
}

TEST_F(QelOutputConnectionPointTest, AddConnectionByNameGoesByTheRules) {
    QelGraphTesting::setRendering(*add_, true);
    expectRefused(QelErrorCode::cannotConnect,
                  "Cannot change connection information for cp named \"in\" of transform \"add\"",
                  [&] { out_.addConnection(add_.get(), "in"); });
    QelGraphTesting::setRendering(*add_, false);
}

// ---- removeConnection()

TEST_F(QelOutputConnectionPointTest, RemoveConnectionDisconnectsTheInput) {
    in_.connect(&out_);
    out_.removeConnection(&in_);
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, in_.streamData());
    EXPECT_EQ(InputList(), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionNeedsAnInput) {
    expectRefused(QelErrorCode::nullPointer,
                  "NULL pointer passed to removeConnection( ), called for output CP out of "
                  "transform source(SourceTransform)",
                  [&] { out_.removeConnection(nullptr); });
    QelImageOutputCP free("free");
    expectRaises(QelErrorCode::nullPointer,
                 "NULL pointer passed to removeConnection( ), called for output CP free",
                 [&] { free.removeConnection(nullptr); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionOfAnInputConnectedElsewhereChangesNothing) {
    MoxSmartPtr<SourceTransform> const other = new SourceTransform();
    in_.connect(&imageOutput(*other));
    EXPECT_TRUE(add_->isStatusOk());
    expectRefused(QelErrorCode::notConnectedHere,
                  "input CP in of transform add(AddTransform) was passed to removeConnection( ) "
                  "against output CP out of transform source(SourceTransform), but it is not "
                  "directly connected to this output CP",
                  [&] { out_.removeConnection(&in_); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionOfAnUnconnectedInput) {
    QelImageInputCP freeInput("left");
    QelImageOutputCP freeOutput("right");
    expectRaises(QelErrorCode::notConnectedHere,
                 "input CP left of transform NULL was passed to removeConnection( ) against output "
                 "CP right of transform NULL, but it is not directly connected to this output CP",
                 [&] { freeOutput.removeConnection(&freeInput); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionDoesNotLookBehindAliases) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    left.connect(&out_);
    MemberScope const members(*around, {add_.get()});
    in_.connect(&left);
    EXPECT_EQ(&out_, in_.getConnectedOutput(true).get());
    expectRefused(QelErrorCode::notConnectedHere,
                  "input CP in of transform add(AddTransform) was passed to removeConnection( ) "
                  "against output CP out of transform source(SourceTransform), but it is not "
                  "directly connected to this output CP",
                  [&] { out_.removeConnection(&in_); });
    left.removeConnection(&in_);
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
}

constexpr char const * cannotDisconnectText =
    "Input connection point named \"in\" or its owner transform was not in a state where "
    "disconnect() is allowed";

TEST_F(QelOutputConnectionPointTest, RemoveConnectionOfALockedInputIsRefused) {
    in_.connect(&out_);
    QelGraphTesting::setLocked(in_, true);
    expectRefused(QelErrorCode::cannotDisconnect, cannotDisconnectText,
                  [&] { out_.removeConnection(&in_); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionByName) {
    in_.connect(&out_);
    out_.removeConnection(add_.get(), "in");
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionByNameNeedsATransform) {
    in_.connect(&out_);
    expectRefused(QelErrorCode::nullPointer,
                  "NULL transform pointer passed to removeConnection( ), called for transform and "
                  "CP named in",
                  [&] { out_.removeConnection(nullptr, "in"); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionByNameNeedsThatInput) {
    in_.connect(&out_);
    expectRefused(QelErrorCode::noSuchPoint,
                  "Input Connection Point named \"elsewhere\" not found in call to "
                  "QelOutputConnectionPoint::removeConnection()",
                  [&] { out_.removeConnection(add_.get(), "elsewhere"); });
}

TEST_F(QelOutputConnectionPointTest, RemoveConnectionByNameOfAnInputThatIsConnectedElsewhere) {
    expectRefused(QelErrorCode::notConnectedHere,
                  "input CP in of transform add(AddTransform) was passed to removeConnection( ) "
                  "against output CP out of transform source(SourceTransform), but it is not "
                  "directly connected to this output CP",
                  [&] { out_.removeConnection(add_.get(), "in"); });
}

// ---- connectInternal(), disconnectInternal(), the order of consumers

TEST_F(QelOutputConnectionPointTest, ConnectInternalRefusesNull) {
    expectRefused(QelErrorCode::nullPointer,
                  "NULL pointer passed to QelOutputConnectionPoint::connectInternal",
                  [&] { out_.connectInternal(nullptr); });
}

TEST_F(QelOutputConnectionPointTest, DisconnectInternalRefusesNull) {
    in_.connect(&out_);
    expectRefused(QelErrorCode::nullPointer,
                  "NULL pointer passed to QelOutputConnectionPoint::disconnectInternal",
                  [&] { out_.disconnectInternal(nullptr); });
}

TEST_F(QelOutputConnectionPointTest, DisconnectInternalRefusesAnInputThatIsNotInTheList) {
    in_.connect(&out_);
    // Its place in another list must not be taken for one in this list.
    MoxSmartPtr<SourceTransform> const other = new SourceTransform();
    NotedInput & elsewhere = newConsumer("elsewhere");
    elsewhere.connect(&imageOutput(*other));
    QelImageInputCP free("free");
    expectRefused(QelErrorCode::notConnectedHere,
                  "Output connection point named \"out\" was disconnected from input point named "
                  "\"elsewhere\" to which it did not appear to have been connected",
                  [&] { out_.disconnectInternal(&elsewhere); });
    expectRefused(QelErrorCode::notConnectedHere,
                  "Output connection point named \"out\" was disconnected from input point named "
                  "\"free\" to which it did not appear to have been connected",
                  [&] { out_.disconnectInternal(&free); });
}

TEST_F(QelOutputConnectionPointTest, TheInternalEndsChangeTheListAlone) {
    QelImageInputCP free("free");
    in_.connect(&out_);
    out_.connectInternal(&free);
    EXPECT_EQ((InputList{&in_, &free}), out_.connectedInputs());
    EXPECT_EQ(nullptr, free.getConnectedOutput(false).get());
    out_.disconnectInternal(&free);
    EXPECT_EQ((InputList{&in_}), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointTest, ConsumersKeepTheirOrder) {
    NotedInput & a = newConsumer("a");
    NotedInput & b = newConsumer("b");
    NotedInput & c = newConsumer("c");
    NotedInput & d = newConsumer("d");
    for (NotedInput * const input : {&a, &b, &c, &d})
        input->connect(&out_);
    EXPECT_EQ((InputList{&a, &b, &c, &d}), out_.connectedInputs());
    b.disconnect();
    EXPECT_EQ((InputList{&a, &c, &d}), out_.connectedInputs());
    b.connect(&out_);
    EXPECT_EQ((InputList{&a, &c, &d, &b}), out_.connectedInputs());
    a.disconnect();
    d.disconnect();
    EXPECT_EQ((InputList{&c, &b}), out_.connectedInputs());
    c.disconnect();
    b.disconnect();
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ(0u, out_.numConnectedInputs());
}

TEST_F(QelOutputConnectionPointTest, TheOrderIsThatOfAPlainListAtRandom) {
    TestRandom random(20250611);
    for (int i = 0; i < 40; ++i)
        newConsumer(std::to_string(i));
    InputList expected;
    for (int step = 0; step < 4000; ++step) {
        QelInputConnectionPoint * const input =
            consumers_[static_cast<std::size_t>(random.between(0, 39))]->getInputCP(0).get();
        auto const at = std::find(expected.begin(), expected.end(), input);
        // Long runs of either kind, so that the list grows and shrinks.
        bool const connects = random.between(0, 9) < (step / 500 % 2 == 0 ? 7 : 3);
        if (at != expected.end()) expected.erase(at);
        if (connects) {
            input->connect(&out_);
            expected.push_back(input);
        } else {
            input->disconnect();
        }
        ASSERT_EQ(expected, out_.connectedInputs());
        ASSERT_EQ(expected.size(), out_.numConnectedInputs());
    }
}

// ---- The end of an output

TEST_F(QelOutputConnectionPointTest, TheEndDisconnectsFromTheLastToTheFirst) {
    MoxSmartPtr<PlainTransform> const transform = new PlainTransform("plain");
    QelImageOutputCP & output = transform->addImageOutput("out");
    newConsumer("a").connect(&output);
    newConsumer("b").connect(&output);
    newConsumer("c").connect(&output);
    for (auto const & consumer : consumers_)
        EXPECT_TRUE(consumer->isStatusOk());
    log_.clear();
    transform->removeOutputConnectionPoint(0);
    EXPECT_EQ((EventLog{"c no data, unconnected", "c out of date, unconnected",
                        "b no data, unconnected", "b out of date, unconnected",
                        "a no data, unconnected", "a out of date, unconnected"}),
              log_);
    for (auto const & consumer : consumers_) {
        EXPECT_EQ(nullptr, consumer->getInputCP(0)->getConnectedOutput(false).get());
        EXPECT_EQ(nullptr, consumer->getInputCP(0)->upstreamTransform().get());
        EXPECT_FALSE(consumer->setupDone());
    }
    EXPECT_EQ(1, transform->refCount());
}

TEST_F(QelOutputConnectionPointTest, TheEndDisconnectsLockedAndRenderingConsumers) {
    MoxSmartPtr<PlainTransform> const transform = new PlainTransform("plain");
    QelImageOutputCP & output = transform->addImageOutput("out");
    newConsumer("locked").connect(&output);
    newConsumer("rendering").connect(&output);
    newConsumer("free").connect(&output);
    QelGraphTesting::setLocked(*consumers_[0]->getInputCP(0), true);
    QelGraphTesting::setRendering(*consumers_[1], true);
    transform->removeOutputConnectionPoint("out");
    for (auto const & consumer : consumers_) {
        EXPECT_EQ(nullptr, consumer->getInputCP(0)->getConnectedOutput(false).get());
        EXPECT_EQ(nullptr, consumer->getInputCP(0)->streamData());
    }
    EXPECT_EQ(1, transform->refCount());
    QelGraphTesting::setRendering(*consumers_[1], false);
}

TEST_F(QelOutputConnectionPointTest, TheEndSwallowsWhatConsumersRaise) {
    MoxSmartPtr<PlainTransform> const transform = new PlainTransform("plain");
    QelImageOutputCP & output = transform->addImageOutput("out");
    newConsumer("a").connect(&output);
    newConsumer("b").connect(&output);
    consumers_[1]->atChange = [](QelInputConnectionPoint &) {
        qelRaise(QelErrorCode::misuse, "no changes, please");
    };
    EXPECT_NO_THROW(transform->removeOutputConnectionPoint("out"));
    EXPECT_EQ(nullptr, consumers_[0]->getInputCP(0)->getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, consumers_[1]->getInputCP(0)->getConnectedOutput(false).get());
}

TEST_F(QelOutputConnectionPointTest, TheEndOfAPointOfAnotherClassDisconnectsToo) {
    MoxSmartPtr<PlainTransform> const from = new PlainTransform("from");
    auto & numbers = from->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    numbers.giveData();
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    auto & input = to->addInput<NumbersInput>(new NumbersInput("numbers"));
    input.setCaching(true);
    input.connect(&numbers);
    from->removeOutputConnectionPoint(0);
    EXPECT_EQ(nullptr, input.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, input.streamData());
}

TEST_F(QelOutputConnectionPointTest, AnOutputThatEndsInTheMiddleOfAChainLeavesTheRest) {
    auto const chain = chainBehind(*source_, 3);
    EXPECT_TRUE(chain.back()->isStatusOk());
    QelTransform & middle = *chain[1];
    middle.removeOutputConnectionPoint(0);
    EXPECT_TRUE(chain[0]->setupDone());
    EXPECT_FALSE(chain[2]->isStatusOk());
    EXPECT_EQ(nullptr, chain[2]->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOutputConnectionPointTest, AnOutputThatOutlivesItsTransformBelongsToNone) {
    MoxSmartPtr<PlainTransform> around = new PlainTransform("around");
    MoxSmartPtr<QelImageOutputCP> const output = &around->addImageOutput("out");
    add_->setAllowAnyConnection(true);
    {
        // A connection that does not hold the transform.
        MemberScope const members(*around, {add_.get()});
        in_.connect(output.get());
    }
    around.release();
    EXPECT_EQ(nullptr, output->owner());
    EXPECT_EQ("NULL", output->transformLabel());
    EXPECT_EQ((InputList{&in_}), output->connectedInputs());
    // Nobody can bring it up to date.
    EXPECT_FALSE(output->getStatus());
    EXPECT_FALSE(in_.getStatus());
    EXPECT_FALSE(add_->isStatusOk());
    in_.disconnect();
    EXPECT_EQ(InputList(), output->connectedInputs());
}

TEST_F(QelOutputConnectionPointTest, AnOutputThatWasRemovedBelongsToNoneOnceItsTransformEnds) {
    MoxSmartPtr<PlainTransform> transform = new PlainTransform("plain");
    MoxSmartPtr<QelImageOutputCP> const output = &transform->addImageOutput("out");
    {
        OutputCapture const capture;
        transform->removeOutputConnectionPoint(0);
        EXPECT_EQ("Output connection point being removed will be dangling\n", capture.text());
    }
    EXPECT_EQ(transform.get(), output->owner());
    transform.release();
    EXPECT_EQ(nullptr, output->owner());
    expectRaises(QelErrorCode::nullPointer,
                 "Output connection point named \"out\" has no owner transform",
                 [&] { in_.connect(output.get()); });
}

TEST_F(QelOutputConnectionPointTest, ARemovedOutputThatEndsBeforeItsTransformIsForgotten) {
    MoxSmartPtr<PlainTransform> transform = new PlainTransform("plain");
    MoxSmartPtr<PlainTransform> const other = new PlainTransform("other");
    MoxSmartPtr<QelImageOutputCP> output = &transform->addImageOutput("out");
    {
        OutputCapture const capture;
        transform->removeOutputConnectionPoint(0);
    }
    output.release();
    // Most likely at the same address.
    output = &other->addImageOutput("out");
    transform.release();
    EXPECT_EQ(other.get(), output->owner());
}

TEST_F(QelOutputConnectionPointTest, TheEndPassesOverInputsThatWereOnlyPutOnTheList) {
    QelImageInputCP free("free");
    MoxSmartPtr<PlainTransform> const transform = new PlainTransform("plain");
    QelImageOutputCP & output = transform->addImageOutput("out");
    in_.connect(&output);
    output.connectInternal(&free);
    transform->removeOutputConnectionPoint(0);
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, free.getConnectedOutput(false).get());
}

// What is left of a transform in the middle of a chain, ended in this order.
enum class Left { input, output, transform };

TEST_F(QelOutputConnectionPointTest, TransformAndPointsEndInAnyOrder) {
    std::vector<Left> order = {Left::input, Left::output, Left::transform};
    do {
        MoxSmartPtr<AddTransform> middle = new AddTransform();
        middle->connect(&out_);
        add_->connect(middle->getPrimaryOutput());
        EXPECT_TRUE(add_->isStatusOk());
        MoxSmartPtr<QelInputConnectionPoint> input = middle->getInputCP(0);
        MoxSmartPtr<QelOutputConnectionPoint> output = middle->getOutputCP(0);
        for (Left const left : order) {
            if (left == Left::input) input.release();
            if (left == Left::output) output.release();
            if (left == Left::transform) {
                middle.release();
                // The consumer holds it.
                EXPECT_EQ(1, in_.upstreamTransform()->refCount() - 1);
                in_.disconnect();
                EXPECT_TRUE(!input || input->owner() == nullptr);
                EXPECT_TRUE(!output || output->owner() == nullptr);
                EXPECT_EQ(input ? 1u : 0u, out_.numConnectedInputs());
            }
        }
        EXPECT_EQ(0u, out_.numConnectedInputs());
        EXPECT_EQ(1, source_->refCount());
    } while (std::next_permutation(order.begin(), order.end()));
}

}  // namespace

#include <string>

#include "ExpectError.h"
#include "PointTesting.h"

// Connecting and disconnecting, and the end of points.

namespace {

class QelInputConnectionPointTest : public testing::Test {
  protected:
    QelInputConnectionPointTest() {
        source_->setLabel("source");
        other_->setLabel("other");
        add_->setLabel("add");
    }

    // Calls connect() with `output`, which must be refused and leave no trace.
    void expectRefused(int code, std::string const & text, QelInputConnectionPoint & input,
                       QelOutputConnectionPoint * output) {
        std::string const before = stateOf(input, output);
        expectRaises(code, text, [&] { input.connect(output); });
        EXPECT_EQ(before, stateOf(input, output));
    }
    // The same while `input` is connected and all is up to date.
    void expectRefusedBesideConnection(int code, std::string const & text,
                                       QelOutputConnectionPoint * output) {
        EXPECT_TRUE(add_->isStatusOk());
        EXPECT_TRUE(source_->isStatusOk());
        expectRefused(code, text, in_, output);
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<SourceTransform> other_ = new SourceTransform({.width = 40, .height = 30});
    MoxSmartPtr<AddTransform> add_ = new AddTransform();
    QelImageOutputCP & out_ = imageOutput(*source_);
    QelImageOutputCP & otherOut_ = imageOutput(*other_);
    QelImageInputCP & in_ = imageInput(*add_);
};

// ---- A new point

TEST_F(QelInputConnectionPointTest, StartsUnconnected) {
    NumbersInput const input("numbers");
    EXPECT_EQ("numbers", input.name());
    EXPECT_EQ(nullptr, input.owner());
    EXPECT_EQ(nullptr, input.streamData());
    EXPECT_FALSE(input.caching());
    EXPECT_FALSE(input.isInput());
    EXPECT_FALSE(input.locked());
    EXPECT_TRUE(input.passesMetadata());
    EXPECT_EQ(nullptr, input.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, input.getConnectedOutput(true).get());
    EXPECT_EQ(nullptr, input.upstreamTransform().get());
}

TEST_F(QelInputConnectionPointTest, KnowsItsTransformAndDirectionOnceAdded) {
    MoxSmartPtr<NumbersInput> const input = new NumbersInput("numbers");
    EXPECT_EQ("NULL", input->transformLabel());
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    node->addInput(input);
    EXPECT_EQ(node.get(), input->owner());
    EXPECT_TRUE(input->isInput());
    EXPECT_EQ("node", input->transformLabel());
    EXPECT_EQ("numbers", input->connectionPointName());
    EXPECT_EQ("NumbersInput", input->getClassName());
}

TEST_F(QelInputConnectionPointTest, IsNotAssigned) {
    NumbersInput const left("left");
    NumbersInput right("right");
    expectRaises(QelErrorCode::misuse, "QelInputConnectionPoint assignment operator not supported",
                 [&] { static_cast<QelInputConnectionPoint &>(right) = left; });
    EXPECT_EQ("right", right.name());
}

TEST_F(QelInputConnectionPointTest, AssignmentOfADerivedClassChangesNothing) {
    in_.connect(&out_);
    QelImageInputCP free("free");
    std::string const before = stateOf(in_, &out_);
    expectRaises(QelErrorCode::misuse, "QelInputConnectionPoint assignment operator not supported",
                 [&] { free = in_; });
    EXPECT_EQ("free", free.name());
    EXPECT_EQ(nullptr, free.owner());
    EXPECT_EQ(nullptr, free.streamData());
    EXPECT_EQ(before, stateOf(in_, &out_));
}

// ---- isCompatible()

TEST_F(QelInputConnectionPointTest, IsCompatibleWhereTheSameDataFlows) {
    NumbersOutput const numbers("numbers");
    NumbersInput const numbersInput("numbers");
    EXPECT_TRUE(in_.isCompatible(&out_));
    EXPECT_TRUE(numbersInput.isCompatible(&numbers));
    EXPECT_FALSE(in_.isCompatible(&numbers));
    EXPECT_FALSE(numbersInput.isCompatible(&out_));
}

TEST_F(QelInputConnectionPointTest, IsCompatibleRefusesNull) {
    expectRaises(QelErrorCode::nullPointer, "Null input argument",
                 [&] { (void)in_.isCompatible(nullptr); });
}

// ---- connect()

TEST_F(QelInputConnectionPointTest, ConnectsToAnOutput) {
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
    EXPECT_EQ(&out_, in_.getConnectedOutput(true).get());
    EXPECT_EQ(source_.get(), in_.upstreamTransform().get());
    EXPECT_EQ(out_.streamData(), in_.streamData());
    EXPECT_EQ((InputList{&in_}), out_.connectedInputs());
}

TEST_F(QelInputConnectionPointTest, ConnectWithANullOutputOnALockedPointRaises4Not59) {
    QelGraphTesting::setLocked(in_, true);
    expectRefused(QelErrorCode::nullPointer,
                  "NULL connection point passed to connect() against \"in\" of transform \"add\"",
                  in_, nullptr);
}

TEST_F(QelInputConnectionPointTest, ConnectOfAPointWithoutOwnerToNull) {
    QelImageInputCP free("free");
    expectRefused(
        QelErrorCode::nullPointer,
        "NULL connection point passed to connect() against \"free\" of transform \"NULL\"", free,
        nullptr);
}

TEST_F(QelInputConnectionPointTest, AnInputAliasedToItsAggregateIsLockedUntilItIsNoLonger) {
    QelGraphTesting::setLocked(in_, true);
    expectRefused(QelErrorCode::cannotConnect,
                  "Cannot change connection information for cp named \"in\" of transform \"add\"",
                  in_, &out_);
    QelGraphTesting::setLocked(in_, false);
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
}

TEST_F(QelInputConnectionPointTest, ConnectNeedsAnOwner) {
    QelImageInputCP free("free");
    expectRefused(
        QelErrorCode::cannotConnect,
        "Cannot change connection information for cp named \"free\" of transform \"NULL\"", free,
        &out_);
}

TEST_F(QelInputConnectionPointTest, ConnectIsRefusedWhileTheOwnerRenders) {
    QelGraphTesting::setRendering(*add_, true);
    expectRefused(QelErrorCode::cannotConnect,
                  "Cannot change connection information for cp named \"in\" of transform \"add\"",
                  in_, &out_);
    QelGraphTesting::setRendering(*add_, false);
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
}

TEST_F(QelInputConnectionPointTest, ConnectGoesAheadWhileTheOtherTransformRenders) {
    QelGraphTesting::setRendering(*source_, true);
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
    QelGraphTesting::setRendering(*source_, false);
}

constexpr char const * incompatibleText =
    "Input connection point named \"in\" whose data type is \"QelImageStreamData\" is not "
    "compatible with output connection point \"numbers\" whose data type is "
    "\"NumbersData\"";

TEST_F(QelInputConnectionPointTest, ConnectNeedsCompatiblePoints) {
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & numbers = node->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleText, in_, &numbers);
}

TEST_F(QelInputConnectionPointTest, ConnectTestsTheLockAheadOfCompatibility) {
    NumbersOutput numbers("numbers");
    QelGraphTesting::setLocked(in_, true);
    expectRefused(QelErrorCode::cannotConnect,
                  "Cannot change connection information for cp named \"in\" of transform \"add\"",
                  in_, &numbers);
}

TEST_F(QelInputConnectionPointTest, ConnectTestsCompatibilityAheadOfTheOtherOwner) {
    NumbersOutput numbers("numbers");
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleText, in_, &numbers);
}

TEST_F(QelInputConnectionPointTest, ConnectNeedsAnOutputWithAnOwner) {
    QelImageOutputCP free("free");
    expectRefused(QelErrorCode::nullPointer,
                  "Output connection point named \"free\" has no owner transform", in_, &free);
}

TEST_F(QelInputConnectionPointTest, AnyConnectionStillNeedsAnOutputWithAnOwner) {
    add_->setAllowAnyConnection(true);
    QelImageOutputCP free("free");
    expectRefused(QelErrorCode::nullPointer,
                  "Output connection point named \"free\" has no owner transform", in_, &free);
}

TEST_F(QelInputConnectionPointTest, ARefusedConnectionLeavesTheExistingOne) {
    in_.setCaching(true);
    in_.connect(&out_);
    QelImageOutputCP free("free");
    NumbersOutput numbers("numbers");
    expectRefusedBesideConnection(
        QelErrorCode::nullPointer,
        "NULL connection point passed to connect() against \"in\" of transform \"add\"", nullptr);
    expectRefusedBesideConnection(QelErrorCode::incompatiblePoints, incompatibleText, &numbers);
    expectRefusedBesideConnection(QelErrorCode::nullPointer,
                                  "Output connection point named \"free\" has no owner transform",
                                  &free);
    QelGraphTesting::setLocked(in_, true);
    expectRefusedBesideConnection(
        QelErrorCode::cannotConnect,
        "Cannot change connection information for cp named \"in\" of transform \"add\"",
        &otherOut_);
    QelGraphTesting::setLocked(in_, false);
    QelGraphTesting::setRendering(*add_, true);
    expectRefusedBesideConnection(
        QelErrorCode::cannotConnect,
        "Cannot change connection information for cp named \"in\" of transform \"add\"",
        &otherOut_);
    QelGraphTesting::setRendering(*add_, false);
}

TEST_F(QelInputConnectionPointTest, AnIllegalConnectionLeavesTheExistingOne) {
    in_.connect(&out_);
    QelGraphTesting::setAggregate(*other_, source_.get());
    expectRefusedBesideConnection(
        QelErrorCode::differentAggregates,
        "The connection between the connection point named \"in\" of the transform labeled \"add\" "
        "and the connection point named \"out\" of the transform labeled \"other\" is illegal, "
        "because the transforms do not belong to the same transform aggregate",
        &otherOut_);
    QelGraphTesting::setAggregate(*other_, nullptr);
}

TEST_F(QelInputConnectionPointTest, WithAllowAnyConnectionDifferentAggregatesPass) {
    MoxSmartPtr<PlainTransform> const left = new PlainTransform("left");
    MoxSmartPtr<PlainTransform> const right = new PlainTransform("right");
    QelGraphTesting::setAggregate(*source_, left.get());
    QelGraphTesting::setAggregate(*add_, right.get());
    add_->setAllowAnyConnection(true);
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
    EXPECT_EQ(source_.get(), in_.upstreamTransform().get());
    in_.disconnect();
    QelGraphTesting::setAggregate(*source_, nullptr);
    QelGraphTesting::setAggregate(*add_, nullptr);
}

TEST_F(QelInputConnectionPointTest, TheOtherOwnerIsNotAskedForAllowAnyConnection) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelGraphTesting::setAggregate(*source_, around.get());
    source_->setAllowAnyConnection(true);
    expectRefused(QelErrorCode::differentAggregates,
                  "The connection between the connection point named \"in\" of the transform "
                  "labeled \"add\" and the connection point named \"out\" of the transform labeled "
                  "\"source\" is illegal, because the transforms do not belong to the same "
                  "transform aggregate",
                  in_, &out_);
    QelGraphTesting::setAggregate(*source_, nullptr);
}

TEST_F(QelInputConnectionPointTest, WithAllowAnyConnectionPointsOfOneTransformAreStillRejected) {
    add_->setAllowAnyConnection(true);
    expectRefused(
        QelErrorCode::sameTransform,
        "An attempt is being made to connect two connection points which are owned by the same "
        "transform.  This is only legal when creating a \"NULL\" alias across the inside of an "
        "aggregate, in which case the connection point against which "
        "QelInputConnectionPoint::connect( ) must be called is an OUTPUT connection point of the "
        "aggregate AND the connection point passed to the connect call must be an INPUT connection "
        "point on the aggregate (this is all legal, because alias connection points are derived "
        "from compatible pairs of input and output connection points).  The connection between the "
        "connection points \"in\" and \"out\" of the transform labeled \"add\" has been rejected.",
        in_, &imageOutput(*add_));
}

TEST_F(QelInputConnectionPointTest, ConnectingElsewhereReplacesTheConnection) {
    in_.connect(&out_);
    in_.connect(&otherOut_);
    EXPECT_EQ(&otherOut_, in_.getConnectedOutput(false).get());
    EXPECT_EQ(other_.get(), in_.upstreamTransform().get());
    EXPECT_EQ(otherOut_.streamData(), in_.streamData());
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ((InputList{&in_}), otherOut_.connectedInputs());
    EXPECT_EQ(1, source_->refCount());
    EXPECT_EQ(2, other_->refCount());
}

TEST_F(QelInputConnectionPointTest, ConnectingElsewhereIsOneStep) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & input = node->addInput<NotedInput>(new NotedInput("noted", log));
    input.connect(&out_);
    EXPECT_EQ((EventLog{"noted out of date, unconnected", "noted data, connected to source"}), log);
    log.clear();
    input.connect(&otherOut_);
    EXPECT_EQ(
        (EventLog{"noted out of date, connected to source", "noted data, connected to other"}),
        log);
}

TEST_F(QelInputConnectionPointTest, ConnectingAgainToTheSameOutputLeavesOneEntry) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & input = node->addInput<NotedInput>(new NotedInput("noted", log));
    input.connect(&out_);
    in_.connect(&out_);
    EXPECT_EQ((InputList{&input, &in_}), out_.connectedInputs());
    log.clear();
    input.connect(&out_);
    // As the newest connection it is the last one now.
    EXPECT_EQ((InputList{&in_, &input}), out_.connectedInputs());
    EXPECT_EQ(2u, out_.numConnectedInputs());
    EXPECT_EQ(
        (EventLog{"noted out of date, connected to source", "noted data, connected to source"}),
        log);
    EXPECT_EQ(3, source_->refCount());
}

TEST_F(QelInputConnectionPointTest, ConnectingAgainKeepsATransformThatOnlyThisInputHolds) {
    in_.connect(&out_);
    bool ended = false;
    MoxSmartPtr<PlainTransform> node = new PlainTransform("node");
    node->atEnd = [&] { ended = true; };
    QelImageOutputCP & out = node->addImageOutput("out");
    in_.connect(&out);
    node.release();
    in_.connect(&out);
    EXPECT_FALSE(ended);
    EXPECT_EQ(&out, in_.getConnectedOutput(false).get());
    in_.disconnect();
    EXPECT_TRUE(ended);
}

TEST_F(QelInputConnectionPointTest, AConnectionKeepsTheTransformUpstreamAlive) {
    bool ended = false;
    MoxSmartPtr<PlainTransform> node = new PlainTransform("node");
    node->atEnd = [&] { ended = true; };
    QelImageOutputCP & out = node->addImageOutput("out");
    in_.connect(&out);
    node.release();
    EXPECT_FALSE(ended);
    EXPECT_EQ(&out, in_.getConnectedOutput(false).get());
    EXPECT_EQ("node", in_.upstreamTransform()->getLabel());
    add_.release();
    EXPECT_TRUE(ended);
}

TEST_F(QelInputConnectionPointTest, AnInputAliasHoldsNoReference) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    QelGraphTesting::setAggregate(*add_, around.get());
    int const before = around->refCount();
    in_.connect(&left);
    EXPECT_EQ(nullptr, in_.upstreamTransform().get());
    EXPECT_EQ(before, around->refCount());
    in_.disconnect();
    QelGraphTesting::setAggregate(*add_, nullptr);
}

TEST_F(QelInputConnectionPointTest, AnOutputAliasHoldsItsMember) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & right = around->addOutputAlias("right");
    QelGraphTesting::setAggregate(*source_, around.get());
    right.connect(&out_);
    EXPECT_EQ(source_.get(), right.upstreamTransform().get());
    right.disconnect();
    QelGraphTesting::setAggregate(*source_, nullptr);
}

TEST_F(QelInputConnectionPointTest, AnAliasAcrossTheInsideHoldsNoReference) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    QelImageAliasCP & right = around->addOutputAlias("right");
    right.connect(&left);
    EXPECT_EQ(nullptr, right.upstreamTransform().get());
    EXPECT_EQ(1, around->refCount());
}

TEST_F(QelInputConnectionPointTest, ConnectDropsTheLastHolderWhenAllIsDone) {
    EventLog log;
    MoxSmartPtr<PlainTransform> node = new PlainTransform("node");
    in_.connect(&node->addImageOutput("out"));
    node->atEnd = [&] {
        log.push_back(in_.getConnectedOutput(false)->transformLabel());
        log.push_back(in_.upstreamTransform()->getLabel());
        log.push_back(in_.streamData() == out_.streamData() ? "new data" : "old data");
        log.push_back(std::to_string(out_.numConnectedInputs()));
    };
    node.release();
    in_.connect(&out_);
    EXPECT_EQ((EventLog{"source", "source", "new data", "1"}), log);
}

TEST_F(QelInputConnectionPointTest, ConnectToATransformThatOnlyTheOldOneHolds) {
    // The new source lives by the connection that is replaced.
    MoxSmartPtr<AddTransform> middle = new AddTransform();
    imageInput(*middle).connect(&out_);
    in_.connect(&imageOutput(*middle));
    middle.release();
    source_.release();
    in_.connect(&out_);
    EXPECT_EQ(&out_, in_.getConnectedOutput(false).get());
    EXPECT_EQ((InputList{&in_}), out_.connectedInputs());
    EXPECT_TRUE(add_->isStatusOk());
}

TEST_F(QelInputConnectionPointTest, ConnectMarksWhatIsDownstreamAndNothingElse) {
    auto const chain = chainBehind(*add_, 2);
    auto const aside = chainBehind(*source_, 1);
    in_.connect(&out_);
    EXPECT_TRUE(chain.back()->isStatusOk());
    EXPECT_TRUE(aside.back()->isStatusOk());
    EXPECT_TRUE(other_->isStatusOk());
    in_.connect(&otherOut_);
    EXPECT_FALSE(add_->setupDone());
    EXPECT_FALSE(chain[0]->setupDone());
    EXPECT_FALSE(chain[1]->setupDone());
    EXPECT_TRUE(imageOutput(*chain[1]).streamData()->outOfDate());
    EXPECT_TRUE(source_->setupDone());
    EXPECT_TRUE(other_->setupDone());
    EXPECT_TRUE(aside.back()->setupDone());
    EXPECT_FALSE(out_.streamData()->outOfDate());
    EXPECT_TRUE(chain.back()->isStatusOk());
    EXPECT_EQ(1, source_->setups());
    EXPECT_EQ(40, imageOutput(*chain.back()).getMaxResRegion()->pixelBounds().width);
}

TEST_F(QelInputConnectionPointTest, ACircleIsConnectedAndHasABadStatus) {
    auto const chain = chainBehind(*add_, 2);
    in_.connect(&imageOutput(*chain.back()));
    EXPECT_EQ(&imageOutput(*chain.back()), in_.getConnectedOutput(true).get());
    EXPECT_FALSE(add_->isStatusOk());
    EXPECT_FALSE(chain.back()->isStatusOk());
    in_.disconnect();
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
}

// ---- connect() by names

TEST_F(QelInputConnectionPointTest, ConnectsToAnOutputByName) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(1, 2);
    in_.connect(joint.get(), "out1");
    EXPECT_EQ(joint->getOutputCP(1).get(), in_.getConnectedOutput(false).get());
}

TEST_F(QelInputConnectionPointTest, ConnectByNameNeedsATransform) {
    std::string const before = stateOf(in_);
    expectRaises(QelErrorCode::nullPointer,
                 "NULL transform pointer passed to connect() call along with output connection "
                 "point name \"out\"",
                 [&] { in_.connect(static_cast<QelTransform *>(nullptr), "out"); });
    EXPECT_EQ(before, stateOf(in_));
}

TEST_F(QelInputConnectionPointTest, ConnectByNameNeedsThatOutput) {
    in_.connect(&otherOut_);
    std::string const before = stateOf(in_, &out_);
    expectRaises(QelErrorCode::noSuchPoint,
                 "String elsewhere (the argument of findOutputIndex) is not the name of an output "
                 "connection point for transform source(SourceTransform)",
                 [&] { in_.connect(source_.get(), "elsewhere"); });
    EXPECT_EQ(before, stateOf(in_, &out_));
}

TEST_F(QelInputConnectionPointTest, ConnectByNamePassesTheRulesOn) {
    QelGraphTesting::setLocked(in_, true);
    std::string const before = stateOf(in_, &out_);
    expectRaises(QelErrorCode::cannotConnect,
                 "Cannot change connection information for cp named \"in\" of transform \"add\"",
                 [&] { in_.connect(source_.get(), "out"); });
    EXPECT_EQ(before, stateOf(in_, &out_));
}

TEST_F(QelInputConnectionPointTest, ConnectByNameTakesATransformThatNobodyHoldsYet) {
    in_.connect(MoxSmartPtr<SourceTransform>(new SourceTransform()).get(), "out");
    EXPECT_EQ(1, in_.upstreamTransform()->refCount() - 1);
    EXPECT_TRUE(add_->isStatusOk());
}

TEST_F(QelInputConnectionPointTest, ConnectsToThePrimaryOutputOfAnOperation) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(1, 2);
    in_.connect(joint.get());
    EXPECT_EQ(joint->getPrimaryOutput(), in_.getConnectedOutput(false).get());
}

TEST_F(QelInputConnectionPointTest, ConnectToANullOperation) {
    std::string const before = stateOf(in_);
    expectRaises(QelErrorCode::nullPointer,
                 "NULL operation pointer passed to connect() call against cp with name \"in\"",
                 [&] { in_.connect(static_cast<QelOperation *>(nullptr)); });
    EXPECT_EQ(before, stateOf(in_));
}

TEST_F(QelInputConnectionPointTest, ConnectToAnOperationWithoutPrimaryOutput) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(1, 0);
    std::string const before = stateOf(in_);
    expectRaises(QelErrorCode::nullPointer,
                 "operation pointer passed to connect() call against cp with name \"in\" has no "
                 "primary output",
                 [&] { in_.connect(joint.get()); });
    EXPECT_EQ(before, stateOf(in_));
}

// ---- disconnect()

TEST_F(QelInputConnectionPointTest, Disconnects) {
    in_.connect(&out_);
    in_.disconnect();
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, in_.upstreamTransform().get());
    EXPECT_EQ(nullptr, in_.streamData());
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ(1, source_->refCount());
}

TEST_F(QelInputConnectionPointTest, DisconnectMarksWhatIsDownstreamWhenItIsDone) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & input = node->addInput<NotedInput>(new NotedInput("noted", log));
    input.connect(&out_);
    EXPECT_TRUE(node->isStatusOk());
    EXPECT_TRUE(source_->isStatusOk());
    log.clear();
    input.disconnect();
    EXPECT_EQ((EventLog{"noted no data, unconnected", "noted out of date, unconnected"}), log);
    EXPECT_FALSE(node->setupDone());
    EXPECT_TRUE(source_->setupDone());
}

TEST_F(QelInputConnectionPointTest, DisconnectDropsTheLastHolder) {
    bool connectedAtEnd = true;
    bool ended = false;
    MoxSmartPtr<PlainTransform> node = new PlainTransform("node");
    in_.connect(&node->addImageOutput("out"));
    node->atEnd = [&] {
        ended = true;
        connectedAtEnd = in_.getConnectedOutput(false) || in_.streamData() != nullptr;
    };
    node.release();
    in_.disconnect();
    EXPECT_TRUE(ended);
    EXPECT_FALSE(connectedAtEnd);
}

TEST_F(QelInputConnectionPointTest, DisconnectOfAnUnconnectedInputDoesNothing) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & input = node->addInput<NotedInput>(new NotedInput("noted", log));
    EXPECT_TRUE(node->isStatusOk());
    input.disconnect();
    EXPECT_EQ(EventLog(), log);
    EXPECT_TRUE(node->setupDone());
}

TEST_F(QelInputConnectionPointTest, DisconnectOfAnUnconnectedLockedInputDoesNothing) {
    QelGraphTesting::setLocked(in_, true);
    EXPECT_NO_THROW(in_.disconnect());
}

TEST_F(QelInputConnectionPointTest, DisconnectOfAnUnconnectedInputWithARenderingOwnerDoesNothing) {
    QelGraphTesting::setRendering(*add_, true);
    EXPECT_NO_THROW(in_.disconnect());
    QelGraphTesting::setRendering(*add_, false);
}

TEST_F(QelInputConnectionPointTest, DisconnectOfAnUnconnectedInputWithoutOwnerDoesNothing) {
    QelImageInputCP free("free");
    EXPECT_NO_THROW(free.disconnect());
}

constexpr char const * cannotDisconnectText =
    "Input connection point named \"in\" or its owner transform was not in a state where "
    "disconnect() is allowed";

TEST_F(QelInputConnectionPointTest, DisconnectOfALockedInputIsRefused) {
    in_.connect(&out_);
    EXPECT_TRUE(add_->isStatusOk());
    QelGraphTesting::setLocked(in_, true);
    std::string const before = stateOf(in_, &out_);
    expectRaises(QelErrorCode::cannotDisconnect, cannotDisconnectText, [&] { in_.disconnect(); });
    EXPECT_EQ(before, stateOf(in_, &out_));
}

TEST_F(QelInputConnectionPointTest, DisconnectIsRefusedWhileTheOwnerRenders) {
    in_.connect(&out_);
    EXPECT_TRUE(add_->isStatusOk());
    QelGraphTesting::setRendering(*add_, true);
    std::string const before = stateOf(in_, &out_);
    expectRaises(QelErrorCode::cannotDisconnect, cannotDisconnectText, [&] { in_.disconnect(); });
    EXPECT_EQ(before, stateOf(in_, &out_));
    QelGraphTesting::setRendering(*add_, false);
    in_.disconnect();
    EXPECT_EQ(nullptr, in_.getConnectedOutput(false).get());
}

// ---- The end of a point, of its transform, of the source

TEST_F(QelInputConnectionPointTest, AnInputThatOutlivesItsTransformStaysConnectedAndCannotChange) {
    MoxSmartPtr<QelInputConnectionPoint> const in = &in_;
    in->connect(&out_);
    add_.release();
    EXPECT_EQ(nullptr, in->owner());
    EXPECT_EQ("NULL", in->transformLabel());
    EXPECT_FALSE(in->canConnect());
    EXPECT_FALSE(in->canDisconnect());
    EXPECT_EQ(&out_, in->getConnectedOutput(false).get());
    std::string const before = stateOf(*in, &out_);
    expectRaises(QelErrorCode::cannotDisconnect, cannotDisconnectText, [&] { in->disconnect(); });
    expectRaises(QelErrorCode::cannotConnect,
                 "Cannot change connection information for cp named \"in\" of transform \"NULL\"",
                 [&] { in->connect(&otherOut_); });
    EXPECT_EQ(before, stateOf(*in, &out_));
    // Nobody is there to be told.
    EXPECT_NO_THROW(in->outOfDate(true));
    EXPECT_TRUE(in->getStatus());
}

TEST_F(QelInputConnectionPointTest, TheEndOfAnInputDisconnectsIt) {
    MoxSmartPtr<QelInputConnectionPoint> in = &in_;
    in->connect(&out_);
    add_.release();
    in.release();
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ(1, source_->refCount());
}

TEST_F(QelInputConnectionPointTest, TheEndOfALockedInputDisconnectsIt) {
    in_.connect(&out_);
    QelGraphTesting::setLocked(in_, true);
    add_.release();
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ(1, source_->refCount());
}

TEST_F(QelInputConnectionPointTest, TheEndOfAnInputGivesItsCachingUp) {
    in_.setCaching(true);
    in_.connect(&out_);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    add_.release();
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    EXPECT_FALSE(out_.streamData()->caching());
}

TEST_F(QelInputConnectionPointTest, RemovingAnInputFromItsTransformDisconnectsIt) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(2, 1);
    joint->getInputCP(1)->connect(&out_);
    static_cast<QelTransform &>(*joint).removeInputConnectionPoint(1);
    EXPECT_EQ(InputList(), out_.connectedInputs());
    EXPECT_EQ(1, source_->refCount());
}

TEST_F(QelInputConnectionPointTest, ARenderingTransformEndsWithItsConnections) {
    in_.connect(&out_);
    QelGraphTesting::setRendering(*add_, true);
    add_.release();
    EXPECT_EQ(InputList(), out_.connectedInputs());
}

}  // namespace

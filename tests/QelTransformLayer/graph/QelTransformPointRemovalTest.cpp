#include <stdexcept>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "TransformPointsTesting.h"

// Taking points off a transform, one by one and all that are not connected.

namespace {

// ---- Removing

TEST(QelTransformPointRemovalTest, RemovesByPointerIndexAndName) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 4, 4));
    OutputCapture const output;
    QelInputConnectionPoint const * const in1 = t->getInputCP(1);
    QelOutputConnectionPoint const * const out1 = t->getOutputCP(1);
    t->removeInputConnectionPoint(in1);
    EXPECT_EQ("in0 in2 in3 | out0 out1 out2 out3", pointsOf(*t));
    t->removeInputConnectionPoint(1);
    EXPECT_EQ("in0 in3 | out0 out1 out2 out3", pointsOf(*t));
    t->removeInputConnectionPoint("in0");
    EXPECT_EQ("in3 | out0 out1 out2 out3", pointsOf(*t));
    t->removeOutputConnectionPoint(out1);
    EXPECT_EQ("in3 | out0 out2 out3", pointsOf(*t));
    t->removeOutputConnectionPoint(0);
    EXPECT_EQ("in3 | out2 out3", pointsOf(*t));
    t->removeOutputConnectionPoint("out3");
    EXPECT_EQ("in3 | out2", pointsOf(*t));
    EXPECT_EQ("", output.text());
}

TEST(QelTransformPointRemovalTest, RemovesWhileItRenders) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    QelGraphTesting::setRendering(*t, true);
    t->removeInputConnectionPoint(0);
    t->removeOutputConnectionPoint(0);
    QelGraphTesting::setRendering(*t, false);
    EXPECT_EQ("|", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, WarnsOnceOfAPointThatSomebodyStillHolds) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 3, 3));
    std::vector<MoxSmartPtr<QelInputConnectionPoint>> inputs;
    std::vector<MoxSmartPtr<QelOutputConnectionPoint>> outputs;
    for (int i = 0; i < 3; ++i) {
        inputs.push_back(t->getInputCP(i));
        outputs.push_back(t->getOutputCP(i));
    }
    OutputCapture output;
    t->removeInputConnectionPoint(inputs[2]);
    EXPECT_EQ("Input connection point being removed will be dangling\n", output.take());
    t->removeInputConnectionPoint(1);
    EXPECT_EQ("Input connection point being removed will be dangling\n", output.take());
    t->removeInputConnectionPoint("in0");
    EXPECT_EQ("Input connection point being removed will be dangling\n", output.take());
    t->removeOutputConnectionPoint(outputs[2]);
    EXPECT_EQ("Output connection point being removed will be dangling\n", output.take());
    t->removeOutputConnectionPoint(1);
    EXPECT_EQ("Output connection point being removed will be dangling\n", output.take());
    t->removeOutputConnectionPoint("out0");
    EXPECT_EQ("Output connection point being removed will be dangling\n", output.take());
    EXPECT_EQ("|", pointsOf(*t));
    EXPECT_EQ(t.get(), inputs[0]->owner());
    EXPECT_EQ(t.get(), outputs[0]->owner());
}

TEST(QelTransformPointRemovalTest, ARemovedPointIsStillConnectedAndOwned) {
    MoxSmartPtr<JointTransform> const source = jointNamed("s", 0, 1);
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    t->connect(0, source, 0);
    OutputCapture const warnings;
    MoxSmartPtr<QelInputConnectionPoint> const held = t->getInputCP(0);
    t->removeInputConnectionPoint(0);
    EXPECT_EQ(source->getOutputCP(0).get(), held->getConnectedOutput(false).get());
    EXPECT_EQ(1U, source->getOutputCP(0)->numConnectedInputs());
    expectRaises(QelErrorCode::pointHasOwner,
                 "Cannot add an input connection point (via QelTransform::addConnectionPoint) to "
                 "transform t(ScriptedTransform) because the connection point (named in0) already "
                 "belongs to transform t(ScriptedTransform)",
                 [&] { t->addInput(held); });
    EXPECT_EQ("in1 | out0", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, ARemovedPointThatNobodyHoldsDisconnects) {
    MoxSmartPtr<JointTransform> const source = jointNamed("s", 0, 1);
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    MoxSmartPtr<ScriptedTransform> const consumer(new ScriptedTransform("c", 1, 1));
    t->connect(0, source, 0);
    consumer->connect(0, t, 0);
    t->removeInputConnectionPoint(0);
    EXPECT_EQ(0U, source->getOutputCP(0)->numConnectedInputs());
    t->removeOutputConnectionPoint(0);
    EXPECT_EQ("-", sourcesOf(*consumer));
}

TEST(QelTransformPointRemovalTest, ARemovedNameIsFreeAgain) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 2));
    t->removeInputConnectionPoint("in0");
    t->removeOutputConnectionPoint("out0");
    t->addInput(newInput("in0"));
    t->addOutput(newOutput("out0"));
    EXPECT_EQ("in1 in0 | out1 out0", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, RefusesToRemoveNull) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    QelInputConnectionPoint const * const noInput = nullptr;
    QelOutputConnectionPoint const * const noOutput = nullptr;
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeInputConnectionPoint for transform "
                 "t(JointTransform) the input connection point is NULL",
                 [&] { base(*t).removeInputConnectionPoint(noInput); });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "t(JointTransform) the output connection point is NULL",
                 [&] { base(*t).removeOutputConnectionPoint(noOutput); });
    EXPECT_EQ("in0 | out0", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, RefusesToRemoveAPointOfAnotherTransform) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<JointTransform> const other = jointNamed("other", 1, 1);
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeInputConnectionPoint for transform "
                 "t(JointTransform) the input connection point (named in0) is not on the "
                 "transforms input CP list; the input CP claims to belong to transform "
                 "other(JointTransform)",
                 [&] { base(*t).removeInputConnectionPoint(other->getInputCP(0)); });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "t(JointTransform) the output connection point (named out0) is not on the "
                 "transforms output CP list; the output CP claims to belong to transform "
                 "other(JointTransform)",
                 [&] { base(*t).removeOutputConnectionPoint(other->getOutputCP(0)); });
    EXPECT_EQ("in0 | out0", pointsOf(*t));
    EXPECT_EQ("in0 | out0", pointsOf(*other));
}

TEST(QelTransformPointRemovalTest, RefusesToRemoveAPointOfNoTransform) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<QelInputConnectionPoint> const input = newInput("in0");
    MoxSmartPtr<QelOutputConnectionPoint> const output = newOutput("out0");
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeInputConnectionPoint for transform "
                 "t(JointTransform) the input connection point (named in0) is not on the "
                 "transforms input CP list; the input CP has no owning transform",
                 [&] { base(*t).removeInputConnectionPoint(input); });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "t(JointTransform) the output connection point (named out0) is not on the "
                 "transforms output CP list; the input CP has no owning transform",
                 [&] { base(*t).removeOutputConnectionPoint(output); });
    EXPECT_EQ("in0 | out0", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, RefusesToRemoveANameThatIsNotThere) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeInputConnectionPoint for transform "
                 "t(JointTransform) the input connection point named out0 is not on the "
                 "transform's input CP list.",
                 [&] { base(*t).removeInputConnectionPoint("out0"); });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "t(JointTransform) the output connection point named in0 is not on the "
                 "transforms output CP list.",
                 [&] { base(*t).removeOutputConnectionPoint("in0"); });
    EXPECT_EQ("in0 | out0", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, RefusesToRemoveAnIndexThatIsNotThere) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 2));
    for (int const index : {-1, 2, 1000000}) {
        EXPECT_THROW(t->removeInputConnectionPoint(index), std::out_of_range);
        EXPECT_THROW(t->removeOutputConnectionPoint(index), std::out_of_range);
    }
    EXPECT_EQ("in0 in1 | out0 out1", pointsOf(*t));
}

TEST(QelTransformPointRemovalTest, RemovesTheLastInputsAndStopsWhenNoneIsLeft) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    OutputCapture const output;
    t->removeLastInputs(5);
    EXPECT_EQ("| out0", pointsOf(*t));
    EXPECT_EQ("", output.text());
}

TEST(QelTransformPointRemovalTest, RemovesAsManyLastInputsAsAsked) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 5, 1));
    t->removeLastInputs(0);
    t->removeLastInputs(-3);
    EXPECT_EQ("in0 in1 in2 in3 in4 | out0", pointsOf(*t));
    t->removeLastInputs(2);
    EXPECT_EQ("in0 in1 in2 | out0", pointsOf(*t));
    MoxSmartPtr<QelInputConnectionPoint> const held = t->getInputCP(1);
    OutputCapture const output;
    t->removeLastInputs(2);
    EXPECT_EQ("in0 | out0", pointsOf(*t));
    EXPECT_EQ("Input connection point being removed will be dangling\n", output.text());
}

// ---- Packing

// A transform "t" with an input for each letter of `pattern`, connected to "s.out0", "s.out1", ...
// in turn where that is an x.
class Packing {
  public:
    explicit Packing(std::string const & pattern)
        : source_(new ScriptedTransform("s", 0, 6)),
          transform_(new ScriptedTransform("t", static_cast<int>(pattern.size()), 1)) {
        int output = 0;
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (pattern[i] == 'x') transform_->connect(static_cast<int>(i), source_, output++);
        }
    }
    ScriptedTransform & transform() { return *transform_; }
    std::string state() const { return pointsOf(*transform_) + ": " + sourcesOf(*transform_); }
    std::size_t consumers() const {
        std::size_t all = 0;
        for (int i = 0; i < source_->numOutputs(); ++i)
            all += source_->getOutputCP(i)->numConnectedInputs();
        return all;
    }

  private:
    MoxSmartPtr<ScriptedTransform> source_;
    MoxSmartPtr<ScriptedTransform> transform_;
};

TEST(QelTransformPointRemovalTest, PackingMovesConnectionsDown) {
    Packing packing("-x--x");
    OutputCapture const output;
    packing.transform().compactInputs(true, false);
    EXPECT_EQ("in0 in1 in2 in3 in4 | out0: s.out0 s.out1 - - -", packing.state());
    EXPECT_EQ(2U, packing.consumers());
    EXPECT_EQ("", output.text());
}

TEST(QelTransformPointRemovalTest, PackingLeavesConnectionsThatAreInPlace) {
    Packing packing("xx-");
    ASSERT_TRUE(packing.transform().isStatusOk());
    packing.transform().compactInputs(true, false);
    EXPECT_EQ("in0 in1 in2 | out0: s.out0 s.out1 -", packing.state());
    EXPECT_TRUE(packing.transform().setupDone());
}

TEST(QelTransformPointRemovalTest, PackingRemovesASingleInputThatIsLeftOver) {
    Packing packing("x-x");
    OutputCapture const output;
    packing.transform().compactInputs(true, true);
    EXPECT_EQ("in0 in1 | out0: s.out0 s.out1", packing.state());
    EXPECT_EQ("", output.text());
}

TEST(QelTransformPointRemovalTest, PackingRemovesNothingWhereAllAreConnected) {
    Packing packing("xxx");
    packing.transform().compactInputs(true, true);
    EXPECT_EQ("in0 in1 in2 | out0: s.out0 s.out1 s.out2", packing.state());
}

TEST(QelTransformPointRemovalTest, PackingSkipsEverySecondOfSeveralInputsThatAreLeftOver) {
    Packing two("x--");
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index 2; there are only 2 connection "
                 "points",
                 [&] { two.transform().compactInputs(true, true); });
    EXPECT_EQ("in0 in2 | out0: s.out0 -", two.state());

    Packing four("--x--");
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index 3; there are only 3 connection "
                 "points",
                 [&] { four.transform().compactInputs(true, true); });
    EXPECT_EQ("in0 in2 in4 | out0: s.out0 - -", four.state());

    Packing none("--");
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index 1; there are only 1 connection "
                 "points",
                 [&] { none.transform().compactInputs(true, true); });
    EXPECT_EQ("in1 | out0: -", none.state());
}

TEST(QelTransformPointRemovalTest, WithoutPackingRemovesAllThatIsNotConnected) {
    Packing packing("-x--x-");
    OutputCapture const output;
    packing.transform().compactInputs(false, true);
    EXPECT_EQ("in1 in4 | out0: s.out0 s.out1", packing.state());
    EXPECT_EQ("", output.text());
    packing.transform().compactInputs(false, true);
    EXPECT_EQ("in1 in4 | out0: s.out0 s.out1", packing.state());
}

TEST(QelTransformPointRemovalTest, WithoutPackingOrRemovingNothingHappens) {
    Packing packing("-x-");
    packing.transform().compactInputs(false, false);
    EXPECT_EQ("in0 in1 in2 | out0: - s.out0 -", packing.state());
}

TEST(QelTransformPointRemovalTest, CompactingATransformWithoutInputsDoesNothing) {
    Packing packing("");
    packing.transform().compactInputs(true, true);
    packing.transform().compactInputs(false, true);
    EXPECT_EQ("| out0: ", packing.state());
}

}  // namespace

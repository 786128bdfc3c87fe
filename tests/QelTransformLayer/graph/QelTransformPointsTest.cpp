#include <functional>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelAliasCP.h"
#include "TransformPointsTesting.h"

// Adding, finding, connecting and disconnecting the points of a transform.

namespace {

// ---- Adding

TEST(QelTransformPointsTest, AddsPointsBehindTheOthersAndOwnsThem) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("t", 0, 0));
    MoxSmartPtr<QelInputConnectionPoint> const a = newInput("a");
    MoxSmartPtr<QelInputConnectionPoint> const b = newInput("b");
    MoxSmartPtr<QelOutputConnectionPoint> const c = newOutput("c");
    EXPECT_EQ(a.get(), base(*transform).addConnectionPoint(a));
    EXPECT_EQ(b.get(), base(*transform).addConnectionPoint(b));
    EXPECT_EQ(c.get(), base(*transform).addConnectionPoint(c));
    EXPECT_EQ("a b | c", pointsOf(*transform));
    EXPECT_EQ(transform.get(), a->owner());
    EXPECT_EQ(transform.get(), c->owner());
    EXPECT_TRUE(a->isInput());
    EXPECT_FALSE(c->isInput());
}

TEST(QelTransformPointsTest, ADirectionIsThatOfTheCall) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("t", 0, 0));
    MoxSmartPtr<QelImageAliasCP> const in(new QelImageAliasCP("a"));
    MoxSmartPtr<QelImageAliasCP> const out(new QelImageAliasCP("a"));
    transform->addInput(in.get());
    transform->addOutput(out.get());
    EXPECT_TRUE(in->isInput());
    EXPECT_FALSE(out->isInput());
}

TEST(QelTransformPointsTest, InputsAndOutputsMayShareAName) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("t", 0, 0));
    transform->addInput(newInput("same"));
    transform->addOutput(newOutput("same"));
    transform->addInput(newInput("Same"));
    transform->addInput(newInput(""));
    EXPECT_EQ("same Same  | same", pointsOf(*transform));
}

TEST(QelTransformPointsTest, RefusesToAddNull) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    QelGraphTesting::setRendering(*t, true);
    std::string const text = "NULL connection point pointer passed to transform t";
    expectRaises(QelErrorCode::nullPointer, text,
                 [&] { t->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>()); });
    expectRaises(QelErrorCode::nullPointer, text,
                 [&] { t->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>()); });
    QelGraphTesting::setRendering(*t, false);
    EXPECT_EQ("in0 | out0", pointsOf(*t));
}

TEST(QelTransformPointsTest, RefusesToAddWhileItRenders) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<JointTransform> const other = jointNamed("other", 1, 1);
    QelGraphTesting::setRendering(*t, true);
    MoxSmartPtr<QelInputConnectionPoint> const input = newInput("new");
    MoxSmartPtr<QelOutputConnectionPoint> const output = newOutput("new");
    expectRaises(QelErrorCode::transformRenders,
                 "Cannot add an input connection point to transform t(JointTransform) because it "
                 "is rendering (call of addConnectionPoint with CP named new)",
                 [&] { t->addConnectionPoint(input); });
    expectRaises(QelErrorCode::transformRenders,
                 "Cannot add an output connection point to transform t(JointTransform) because it "
                 "is rendering (call of addConnectionPoint with CP named new)",
                 [&] { t->addConnectionPoint(output); });
    // Ahead of the owner and the name.
    expectRaises(QelErrorCode::transformRenders,
                 "Cannot add an input connection point to transform t(JointTransform) because it "
                 "is rendering (call of addConnectionPoint with CP named in0)",
                 [&] { t->addConnectionPoint(other->getInputCP(0)); });
    QelGraphTesting::setRendering(*t, false);
    EXPECT_EQ("in0 | out0", pointsOf(*t));
    EXPECT_EQ(nullptr, input->owner());
    EXPECT_FALSE(input->isInput());
    EXPECT_EQ(nullptr, output->owner());
}

TEST(QelTransformPointsTest, RefusesToAddAPointThatHasAnOwner) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<JointTransform> const other = jointNamed("other", 1, 1);
    expectRaises(QelErrorCode::pointHasOwner,
                 "Cannot add an input connection point (via QelTransform::addConnectionPoint) to "
                 "transform t(JointTransform) because the connection point (named in0) already "
                 "belongs to transform other(JointTransform)",
                 [&] { t->addConnectionPoint(other->getInputCP(0)); });
    expectRaises(QelErrorCode::pointHasOwner,
                 "Cannot add an output connection point (via QelTransform::addConnectionPoint) to "
                 "transform t(JointTransform) because the connection point (named out0) already "
                 "belongs to transform other(JointTransform)",
                 [&] { t->addConnectionPoint(other->getOutputCP(0)); });
    expectRaises(QelErrorCode::pointHasOwner,
                 "Cannot add an input connection point (via QelTransform::addConnectionPoint) to "
                 "transform t(JointTransform) because the connection point (named in0) already "
                 "belongs to transform t(JointTransform)",
                 [&] { t->addConnectionPoint(t->getInputCP(0)); });
    EXPECT_EQ("in0 | out0", pointsOf(*t));
    EXPECT_EQ(other.get(), other->getInputCP(0)->owner());
    EXPECT_EQ(other.get(), other->getOutputCP(0)->owner());
}

TEST(QelTransformPointsTest, RefusesToAddANameThatIsTaken) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 2, 1);
    MoxSmartPtr<QelInputConnectionPoint> const input = newInput("in1");
    MoxSmartPtr<QelOutputConnectionPoint> const output = newOutput("out0");
    expectRaises(QelErrorCode::pointNameTaken,
                 "Cannot add input connection point named in1 to transform t -- connection point "
                 "name is already in use by this transform",
                 [&] { t->addConnectionPoint(input); });
    expectRaises(QelErrorCode::pointNameTaken,
                 "Cannot add output connection point named out0 to transform t -- connection point "
                 "name is already in use by this transform",
                 [&] { t->addConnectionPoint(output); });
    EXPECT_EQ("in0 in1 | out0", pointsOf(*t));
    EXPECT_EQ(nullptr, input->owner());
    EXPECT_FALSE(input->isInput());
    EXPECT_EQ(nullptr, output->owner());
}

// ---- Finding

TEST(QelTransformPointsTest, FindsPointsByIndex) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 2, 2);
    EXPECT_EQ("in1", t->getInputCP(1)->name());
    EXPECT_EQ("out0", t->getOutputCP(0)->name());
}

TEST(QelTransformPointsTest, RefusesAnIndexThatIsNotThere) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 2, 1);
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index 2; there are only 2 connection "
                 "points",
                 [&] { t->getInputCP(2); });
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an input CP with index -1; there are only 2 connection "
                 "points",
                 [&] { t->getInputCP(-1); });
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an output CP with index 1; there are only 1 connection "
                 "points",
                 [&] { t->getOutputCP(1); });
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform t does not have an output CP with index -1; there are only 1 "
                 "connection points",
                 [&] { t->getOutputCP(-1); });
}

TEST(QelTransformPointsTest, KnowsWhichNamesItHas) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    EXPECT_TRUE(t->hasInput("in0"));
    EXPECT_FALSE(t->hasInput("out0"));
    EXPECT_FALSE(t->hasInput("IN0"));
    EXPECT_FALSE(t->hasInput("in"));
    EXPECT_FALSE(t->hasInput(""));
    EXPECT_TRUE(t->hasOutput("out0"));
    EXPECT_FALSE(t->hasOutput("in0"));
    EXPECT_FALSE(t->hasOutput("out00"));
}

TEST(QelTransformPointsTest, FindsIndicesByNameAndPointer) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 3, 2);
    EXPECT_EQ(0, t->findInputIndex("in0"));
    EXPECT_EQ(2, t->findInputIndex("in2"));
    EXPECT_EQ(1, t->findOutputIndex("out1"));
    EXPECT_EQ(1, t->findInputIndex(t->getInputCP(1).get()));
    EXPECT_EQ(0, t->findOutputIndex(t->getOutputCP(0).get()));
    t->removeInputConnectionPoint("in1");
    EXPECT_EQ(1, t->findInputIndex("in2"));
    EXPECT_EQ(1, t->findInputIndex(t->getInputCP(1).get()));
}

TEST(QelTransformPointsTest, RefusesAnInputThatItCannotFind) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<JointTransform> const other = jointNamed("other", 1, 1);
    QelInputConnectionPoint const * const none = nullptr;
    MoxSmartPtr<QelInputConnectionPoint> const free = newInput("free");
    expectRaises(QelErrorCode::noSuchPoint,
                 "The argument (string value: out0) of QelTransform::findInputIndex is not an "
                 "input connection point of transform t(JointTransform)",
                 [&] { t->findInputIndex("out0"); });
    expectRaises(QelErrorCode::notOwnInput,
                 "The argument of QelTransform::findInputIndex (called on transform "
                 "t(JointTransform)) is a NULL pointer",
                 [&] { t->findInputIndex(none); });
    expectRaises(QelErrorCode::notOwnInput,
                 "The argument of QelTransform::findInputIndex (called on transform "
                 "t(JointTransform)) does not belong to the transform; it is a pointer to input "
                 "CP in0 of transform other(JointTransform)",
                 [&] { t->findInputIndex(other->getInputCP(0).get()); });
    expectRaises(QelErrorCode::notOwnInput,
                 "The argument of QelTransform::findInputIndex (called on transform "
                 "t(JointTransform)) does not belong to the transform; it is a pointer to input "
                 "CP free of transform NULL",
                 [&] { t->findInputIndex(free.get()); });
}

TEST(QelTransformPointsTest, RefusesAnOutputThatItCannotFind) {
    MoxSmartPtr<JointTransform> const t = jointNamed("t", 1, 1);
    MoxSmartPtr<JointTransform> const other = jointNamed("other", 1, 1);
    QelOutputConnectionPoint const * const none = nullptr;
    MoxSmartPtr<QelOutputConnectionPoint> const free = newOutput("free");
    expectRaises(QelErrorCode::noSuchPoint,
                 "String in0 (the argument of findOutputIndex) is not the name of an output "
                 "connection point for transform t(JointTransform)",
                 [&] { t->findOutputIndex("in0"); });
    expectRaises(QelErrorCode::notOwnOutput,
                 "The argument of findOutputIndex, called against transform t(JointTransform), is "
                 "a NULL pointer",
                 [&] { t->findOutputIndex(none); });
    expectRaises(QelErrorCode::notOwnOutput,
                 "The argument of findOutputIndex, called against transform t(JointTransform), "
                 "actually is connection point out0 of transform other(JointTransform)",
                 [&] { t->findOutputIndex(other->getOutputCP(0).get()); });
    expectRaises(QelErrorCode::notOwnOutput,
                 "The argument of findOutputIndex, called against transform t(JointTransform), "
                 "actually is connection point free which does not belong to a transform",
                 [&] { t->findOutputIndex(free.get()); });
}

// A removed point claims to belong to the transform still, but is not found.
TEST(QelTransformPointsTest, DoesNotFindAPointThatWasRemoved) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    OutputCapture const warnings;
    MoxSmartPtr<QelInputConnectionPoint> const input = t->getInputCP(0);
    MoxSmartPtr<QelOutputConnectionPoint> const output = t->getOutputCP(0);
    t->removeInputConnectionPoint(0);
    t->removeOutputConnectionPoint(0);
    expectRaises(QelErrorCode::notOwnInput,
                 "The argument of QelTransform::findInputIndex (called on transform "
                 "t(ScriptedTransform)) does not belong to the transform; it is a pointer to input "
                 "CP in0 of transform t(ScriptedTransform)",
                 [&] { t->findInputIndex(input.get()); });
    expectRaises(QelErrorCode::notOwnOutput,
                 "The argument of findOutputIndex, called against transform t(ScriptedTransform), "
                 "actually is connection point out0 of transform t(ScriptedTransform)",
                 [&] { t->findOutputIndex(output.get()); });
}

// ---- Connecting

TEST(QelTransformPointsTest, ConnectsByIndicesAndByNames) {
    MoxSmartPtr<JointTransform> const source = jointNamed("s", 0, 3);
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 3, 1));
    t->connect(0, source, 2);
    t->connect("in1", source, 1);
    t->connect("in2", source, "out0");
    EXPECT_EQ("s.out2 s.out1 s.out0", sourcesOf(*t));
    t->connect("in1", source, "out2");
    EXPECT_EQ("s.out2 s.out2 s.out0", sourcesOf(*t));
    EXPECT_EQ(2U, source->getOutputCP(2)->numConnectedInputs());
    EXPECT_EQ(0U, source->getOutputCP(1)->numConnectedInputs());
}

// Expects `action` to be refused, and `t` to stay valid and connected to "s.out0".
void expectNotConnected(ScriptedTransform & t, int code, std::string const & text,
                        std::function<void()> const & action) {
    ASSERT_TRUE(t.isStatusOk());
    expectRaises(code, text, action);
    EXPECT_EQ("s.out0 -", sourcesOf(t));
    EXPECT_TRUE(t.setupDone());
    EXPECT_TRUE(t.statusOk());
}

TEST(QelTransformPointsTest, RefusesToConnectPointsThatAreNotThere) {
    MoxSmartPtr<ScriptedTransform> const s(new ScriptedTransform("s", 0, 2));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    t->connect(0, s, 0);
    expectNotConnected(*t, QelErrorCode::noSuchPointIndex,
                       "Transform t does not have an input CP with index 2; there are only 2 "
                       "connection points",
                       [&] { t->connect(2, s, 1); });
    expectNotConnected(*t, QelErrorCode::noSuchPointIndex,
                       "Transform s does not have an output CP with index 2; there are only 2 "
                       "connection points",
                       [&] { t->connect(0, s, 2); });
    expectNotConnected(*t, QelErrorCode::noSuchPointIndex,
                       "Transform s does not have an output CP with index -1; there are only 2 "
                       "connection points",
                       [&] { t->connect("in0", s, -1); });
    expectNotConnected(*t, QelErrorCode::noSuchPoint,
                       "The argument (string value: in2) of QelTransform::findInputIndex is not "
                       "an input connection point of transform t(ScriptedTransform)",
                       [&] { t->connect("in2", s, 1); });
    expectNotConnected(*t, QelErrorCode::noSuchPoint,
                       "The argument (string value: in2) of QelTransform::findInputIndex is not "
                       "an input connection point of transform t(ScriptedTransform)",
                       [&] { t->connect("in2", s, "out1"); });
    expectNotConnected(*t, QelErrorCode::noSuchPoint,
                       "String out2 (the argument of findOutputIndex) is not the name of an output "
                       "connection point for transform s(ScriptedTransform)",
                       [&] { t->connect("in0", s, "out2"); });
}

TEST(QelTransformPointsTest, RefusesToConnectToNoTransform) {
    MoxSmartPtr<ScriptedTransform> const s(new ScriptedTransform("s", 0, 2));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    t->connect(0, s, 0);
    std::string const text = "Argument is a NULL pointer";
    expectNotConnected(*t, QelErrorCode::nullPointer, text, [&] { t->connect(0, nullptr, 0); });
    expectNotConnected(*t, QelErrorCode::nullPointer, text, [&] { t->connect("in0", nullptr, 0); });
    expectNotConnected(*t, QelErrorCode::nullPointer, text,
                       [&] { t->connect("in0", nullptr, "out0"); });
}

TEST(QelTransformPointsTest, RefusesWhatTheInputRefuses) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    std::optional<ZanError> const error = errorOf([&] { t->connect(0, t, 0); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::sameTransform, error->getErrcode());
    EXPECT_EQ("-", sourcesOf(*t));
}

TEST(QelTransformPointsTest, DisconnectsByIndex) {
    MoxSmartPtr<ScriptedTransform> const s(new ScriptedTransform("s", 0, 2));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    t->connect(0, s, 0);
    t->connect(1, s, 1);
    t->disconnect(0);
    EXPECT_EQ("- s.out1", sourcesOf(*t));
    EXPECT_EQ(0U, s->getOutputCP(0)->numConnectedInputs());
}

TEST(QelTransformPointsTest, DisconnectingWhatIsNotConnectedDoesNothing) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    t->isStatusOk();
    ASSERT_TRUE(t->setupDone());
    t->disconnect(0);
    EXPECT_TRUE(t->setupDone());
}

TEST(QelTransformPointsTest, RefusesToDisconnectAnIndexThatIsNotThere) {
    MoxSmartPtr<ScriptedTransform> const s(new ScriptedTransform("s", 0, 1));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 2, 1));
    t->connect(0, s, 0);
    expectNotConnected(*t, QelErrorCode::noSuchInput,
                       "Attempted to disconnect input connection point with index 2 from transform "
                       "t, which has only 2 inputs",
                       [&] { t->disconnect(2); });
    expectNotConnected(*t, QelErrorCode::noSuchInput,
                       "Attempted to disconnect input connection point with index -1 from "
                       "transform t, which has only 2 inputs",
                       [&] { t->disconnect(-1); });
}

TEST(QelTransformPointsTest, EditsOfConnectionsMarkOutOfDate) {
    MoxSmartPtr<ScriptedTransform> const s(new ScriptedTransform("s", 0, 2));
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    ASSERT_TRUE(t->isStatusOk());
    t->connect(0, s, 0);
    EXPECT_FALSE(t->setupDone());
    ASSERT_TRUE(t->isStatusOk());
    t->connect(0, s, 1);
    EXPECT_FALSE(t->setupDone());
    ASSERT_TRUE(t->isStatusOk());
    t->disconnect(0);
    EXPECT_FALSE(t->setupDone());
    EXPECT_TRUE(s->setupDone());
}

// ---- Metadata flags

TEST(QelTransformPointsTest, InputsPassMetadataUnlessToldOtherwise) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 3, 1));
    EXPECT_TRUE(t->getInputMetadataFlag(0));
    t->setInputMetadataFlag(false, 1);
    EXPECT_TRUE(t->getInputMetadataFlag(0));
    EXPECT_FALSE(t->getInputMetadataFlag(1));
    EXPECT_TRUE(t->getInputMetadataFlag(2));
    EXPECT_FALSE(t->getInputCP(1)->passesMetadata());
    EXPECT_TRUE(t->getInputMetadataFlag(-1));
}

TEST(QelTransformPointsTest, TheIndexMinusOneMeansAllInputs) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 3, 1));
    t->setInputMetadataFlag(false, -1);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(t->getInputMetadataFlag(i));
    EXPECT_FALSE(t->getInputMetadataFlag(-1));
    t->setInputMetadataFlag(true, 2);
    EXPECT_TRUE(t->getInputMetadataFlag(-1));
    t->setInputMetadataFlag(true, -1);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(t->getInputMetadataFlag(i));
}

TEST(QelTransformPointsTest, NoInputPassesMetadataWhereThereIsNone) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 1));
    EXPECT_FALSE(t->getInputMetadataFlag(-1));
    t->setInputMetadataFlag(true, -1);
    EXPECT_FALSE(t->getInputMetadataFlag(-1));
}

TEST(QelTransformPointsTest, RefusesMetadataFlagsOfInputsThatAreNotThere) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1, 1));
    std::string const text =
        "Transform t does not have an input CP with index 1; there are only 1 connection points";
    expectRaises(QelErrorCode::noSuchPointIndex, text, [&] { t->getInputMetadataFlag(1); });
    expectRaises(QelErrorCode::noSuchPointIndex, text, [&] { t->setInputMetadataFlag(false, 1); });
    EXPECT_TRUE(t->getInputMetadataFlag(0));
}

}  // namespace

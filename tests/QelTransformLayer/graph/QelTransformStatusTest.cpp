#include <stdexcept>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "TransformTesting.h"

// The status of a transform: how it becomes valid, bad and out of date, and whom that reaches.

namespace {

QelError someError(std::string const & text = "too bad") {
    return QelError(QelErrorCode::invalidValue, text, __FILE__, __LINE__);
}

// The states of transforms: "-" out of date, "+" valid, "!" bad.
std::string statesOf(std::vector<MoxSmartPtr<ScriptedTransform>> const & transforms) {
    std::string states;
    for (MoxSmartPtr<ScriptedTransform> const & transform : transforms)
        states += !transform->setupDone() ? '-' : transform->statusOk() ? '+' : '!';
    return states;
}

void expectNoMessage(QelTransform & transform, std::string const & description) {
    expectQelError(transform.getStatusMessage(), QelErrorCode::noStatusMessage,
                   "There is no status message in transform " + description);
}

// ---- Coming up to date

TEST(QelTransformStatusTest, IsSetUpOnceAndOnlyWhenAsked) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    EXPECT_EQ(0, t->setups());
    EXPECT_TRUE(t->isStatusOk());
    EXPECT_TRUE(t->isStatusOk());
    t->getStatusMessage();
    t->update();
    EXPECT_EQ(1, t->setups());
    EXPECT_TRUE(t->setupDone());
    EXPECT_TRUE(t->statusOk());
}

TEST(QelTransformStatusTest, ASetUpThatReportsNothingIsDoneAndNotGood) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->onSetup = [](ScriptedTransform &) {};
    EXPECT_FALSE(t->isStatusOk());
    EXPECT_TRUE(t->setupDone());
    EXPECT_FALSE(t->statusOk());
    EXPECT_FALSE(t->isStatusOk());
    EXPECT_EQ(1, t->setups());
    expectNoMessage(*t, "t(ScriptedTransform)");
}

TEST(QelTransformStatusTest, AQuestionForTheMessageSetsUp) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->onSetup = [](ScriptedTransform & self) { self.setStatusBad(someError()); };
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, "too bad");
    EXPECT_TRUE(t->setupDone());
    EXPECT_EQ(1, t->setups());
}

TEST(QelTransformStatusTest, QuestionsForTheCoordSpaceAndForDependenciesSetUp) {
    MoxSmartPtr<ScriptedTransform> const a(new ScriptedTransform("a"));
    a->getCoordSpace(0);
    EXPECT_EQ(1, a->setups());

    MoxSmartPtr<ScriptedTransform> const b(new ScriptedTransform("b", 0, 0));
    MoxSmartPtr<NumberOutputCP> const output(new NumberOutputCP("numbers"));
    b->addOutput(output.get());
    NumberItem item;
    item.setContainer(output->streamData()->getRenderedItemContainer());
    QelSmartRenderedItemVector dependencies;
    b->generateDependencies(&item, &dependencies);
    item.setContainer(nullptr);
    EXPECT_EQ(1, b->setups());
}

TEST(QelTransformStatusTest, WhatIsUpstreamIsSetUpByTheOneThatIsAsked) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    graph.takeLog();
    EXPECT_TRUE(chain[2]->isStatusOk());
    EXPECT_EQ("c.setup b.setup a.setup", graph.takeLog());
    EXPECT_EQ("+++-", statesOf(chain));
    EXPECT_TRUE(chain[3]->isStatusOk());
    EXPECT_EQ("d.setup", graph.takeLog());
}

TEST(QelTransformStatusTest, WhatTwoConsumersAskIsSetUpOnce) {
    ScriptedGraph graph;
    auto const source = graph.add("s");
    auto const left = graph.add("l", 1);
    auto const right = graph.add("r", 1);
    auto const end = graph.add("e", 2);
    left->connect(0, source, 0);
    right->connect(0, source, 0);
    end->connect(0, left, 0);
    end->connect(1, right, 0);
    graph.takeLog();
    EXPECT_TRUE(end->isStatusOk());
    EXPECT_EQ("e.setup l.setup s.setup r.setup", graph.takeLog());
}

// ---- Good and bad

TEST(QelTransformStatusTest, SettlingGoodSettlesAllOutputs) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 2));
    t->setStatusBad(someError());
    t->setStatusOK();
    EXPECT_TRUE(t->setupDone());
    EXPECT_TRUE(t->statusOk());
    expectNoMessage(*t, "t(ScriptedTransform)");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(t->getOutputCP(i)->streamData()->statusOk());
        EXPECT_FALSE(t->getOutputCP(i)->streamData()->outOfDate());
        EXPECT_EQ(nullptr, t->getOutputCP(i)->streamData()->statusError());
    }
    EXPECT_EQ(0, t->setups());
}

TEST(QelTransformStatusTest, SettlingBadSettlesAllOutputs) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 2));
    t->setStatusOK();
    t->setStatusBad(someError());
    EXPECT_TRUE(t->setupDone());
    EXPECT_FALSE(t->statusOk());
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, "too bad");
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(t->getOutputCP(i)->streamData()->statusOk());
        EXPECT_FALSE(t->getOutputCP(i)->streamData()->outOfDate());
        expectQelError(t->getOutputCP(i)->getStatusMessage(), QelErrorCode::invalidValue,
                       "too bad");
    }
    EXPECT_EQ(0, t->setups());
}

TEST(QelTransformStatusTest, TheLatestErrorStands) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->setStatusBad(someError("first"));
    t->setStatusBad(someError("second"));
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, "second");
}

TEST(QelTransformStatusTest, TheErrorIsACopy) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    ZanError error = someError();
    t->setStatusBad(error);
    error.setMsg("changed");
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, "too bad");
    ZanError answer = t->getStatusMessage();
    answer.setMsg("changed");
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, "too bad");
}

// The output's own copy is replaced on the way, and must not be read after that.
TEST(QelTransformStatusTest, TheErrorMayBeThatOfAnOutput) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 2));
    t->setStatusBad(someError(std::string(200, 'x')));
    t->setStatusBad(*t->getOutputCP(0)->streamData()->statusError());
    expectQelError(t->getStatusMessage(), QelErrorCode::invalidValue, std::string(200, 'x'));
    expectQelError(t->getOutputCP(0)->getStatusMessage(), QelErrorCode::invalidValue,
                   std::string(200, 'x'));
    expectQelError(t->getOutputCP(1)->getStatusMessage(), QelErrorCode::invalidValue,
                   std::string(200, 'x'));
}

TEST(QelTransformStatusTest, AValidTransformHasNoMessage) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("fine"));
    EXPECT_NO_THROW(expectNoMessage(*t, "fine(ScriptedTransform)"));
    EXPECT_TRUE(t->statusOk());
}

TEST(QelTransformStatusTest, ABadStatusIsSettled) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->onSetup = [](ScriptedTransform &) { throw someError(); };
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(t->isStatusOk());
    EXPECT_EQ(1, t->setups());
    t->markOutOfDate(true);
    EXPECT_FALSE(t->isStatusOk());
    EXPECT_EQ(2, t->setups());
}

TEST(QelTransformStatusTest, AnErrorOfTheSetUpBecomesTheStatus) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->onSetup = [](ScriptedTransform &) { throw someError(); };
    EXPECT_NO_THROW(t->update());
    EXPECT_TRUE(t->setupDone());
    EXPECT_FALSE(t->statusOk());
    std::string const text =
        "SetupTransform in transform t(ScriptedTransform) failed with an exception and this "
        "message:\nQEL error 13\ntoo bad";
    expectQelError(t->getStatusMessage(), QelErrorCode::setupFailed, text);
    expectQelError(t->getOutputCP(0)->getStatusMessage(), QelErrorCode::setupFailed, text);
    EXPECT_FALSE(t->getOutputCP(0)->streamData()->outOfDate());
}

TEST(QelTransformStatusTest, AForeignExceptionOfTheSetUpBecomesTheStatus) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    std::function<void(ScriptedTransform &)> const ways[] = {
        [](ScriptedTransform &) { throw std::runtime_error("foreign"); },
        [](ScriptedTransform &) { throw 5; },
        [](ScriptedTransform &) { throw "text"; },
    };
    for (auto const & way : ways) {
        t->onSetup = way;
        t->markOutOfDate(true);
        EXPECT_NO_THROW(t->update());
        EXPECT_TRUE(t->setupDone());
        EXPECT_FALSE(t->statusOk());
        expectQelError(t->getStatusMessage(), QelErrorCode::setupFailed,
                       "SetupTransform failed with a non-Zan exception");
    }
    EXPECT_EQ(3, t->setups());
}

TEST(QelTransformStatusTest, AnErrorAfterAGoodStatusMakesItBad) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    t->onSetup = [](ScriptedTransform & self) {
        self.setStatusOK();
        throw 5;
    };
    EXPECT_FALSE(t->isStatusOk());
    EXPECT_FALSE(t->getOutputCP(0)->streamData()->statusOk());
    expectQelError(t->getStatusMessage(), QelErrorCode::setupFailed,
                   "SetupTransform failed with a non-Zan exception");
}

TEST(QelTransformStatusTest, ABadTransformMendsWhenItsReasonGoes) {
    MoxSmartPtr<SourceTransform> const source(new SourceTransform());
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1));
    t->onSetup = [](ScriptedTransform & self) {
        if (!self.getInputCP(0)->getStatus()) throw self.getInputCP(0)->getStatusMessage();
        self.setStatusOK();
    };
    EXPECT_FALSE(t->isStatusOk());
    EXPECT_EQ(QelErrorCode::setupFailed, t->getStatusMessage().getErrcode());
    t->connect(0, source, 0);
    EXPECT_TRUE(t->isStatusOk());
    expectNoMessage(*t, "t(ScriptedTransform)");
    EXPECT_TRUE(t->getOutputCP(0)->getStatus());
}

// An output that refuses to take a bad status.
class StubbornOutputCP : public QelImageOutputCP {
  public:
    explicit StubbornOutputCP(std::string const & name)
        : QelConnectionPoint(name), QelImageOutputCP(name) {}
    void setStatusBad(ZanError const &) override { qelRaise(QelErrorCode::misuse, "stubborn"); }
};

TEST(QelTransformStatusTest, AnOutputThatFailsDoesNotStopTheBadStatus) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 0));
    t->addOutput(new StubbornOutputCP("stubborn"));
    t->addOutput(new QelImageOutputCP("plain"));
    t->onSetup = [](ScriptedTransform &) { throw someError(); };
    EXPECT_NO_THROW(t->update());
    EXPECT_TRUE(t->setupDone());
    EXPECT_FALSE(t->statusOk());
    expectQelError(t->getStatusMessage(), QelErrorCode::setupFailed,
                   "SetupTransform in transform t(ScriptedTransform) failed with an exception and "
                   "this message:\nQEL error 13\ntoo bad");
}

TEST(QelTransformStatusTest, AnOutputThatFailsLetsItsErrorOutOfSetStatusBad) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 0, 0));
    t->addOutput(new StubbornOutputCP("stubborn"));
    expectRaises(QelErrorCode::misuse, "stubborn", [&] { t->setStatusBad(someError()); });
}

// ---- Going out of date

TEST(QelTransformStatusTest, MarkingReachesAllThatIsDownstream) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    ASSERT_TRUE(chain[2]->isStatusOk());
    ASSERT_EQ("+++", statesOf(chain));
    graph.takeLog();
    chain[0]->markOutOfDate(true);
    EXPECT_EQ("---", statesOf(chain));
    EXPECT_EQ(
        "a.propagate(true) b.changed(in0,true) b.propagate(true) c.changed(in0,true) "
        "c.propagate(true)",
        graph.takeLog());
    // A set-up that reports nothing shows that no error is left.
    for (auto const & transform : chain) {
        transform->onSetup = [](ScriptedTransform &) {};
        expectNoMessage(*transform, transform->describe());
        EXPECT_FALSE(transform->statusOk());
    }
}

TEST(QelTransformStatusTest, MarkingForgetsTheErrors) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    for (auto const & transform : chain)
        transform->setStatusBad(someError());
    ASSERT_EQ("!!!", statesOf(chain));
    chain[0]->markOutOfDate(true);
    EXPECT_EQ("---", statesOf(chain));
    for (auto const & transform : chain) {
        transform->onSetup = [](ScriptedTransform &) {};
        expectNoMessage(*transform, transform->describe());
    }
}

TEST(QelTransformStatusTest, MarkingLeavesWhatIsUpstreamAndBeside) {
    ScriptedGraph graph;
    auto const source = graph.add("s", 0, 2);
    auto const middle = graph.add("m", 1);
    auto const end = graph.add("e", 1);
    auto const beside = graph.add("b", 1);
    middle->connect(0, source, 0);
    end->connect(0, middle, 0);
    beside->connect(0, source, 1);
    ASSERT_TRUE(end->isStatusOk());
    ASSERT_TRUE(beside->isStatusOk());
    middle->markOutOfDate(true);
    EXPECT_EQ("+--+", statesOf({source, middle, end, beside}));
}

TEST(QelTransformStatusTest, MarkingStopsAtWhatIsOutOfDate) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    ASSERT_TRUE(chain[3]->isStatusOk());
    chain[1]->clearStatus();
    ASSERT_EQ("+-++", statesOf(chain));
    graph.takeLog();
    chain[0]->markOutOfDate(true);
    EXPECT_EQ("a.propagate(true) b.changed(in0,true)", graph.takeLog());
    EXPECT_EQ("--++", statesOf(chain));
}

TEST(QelTransformStatusTest, AnAttributeOfATransformOutOfDateTellsNobody) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    MoxSmartPtr<QelSimpleAttribute<int>> const size(new QelSimpleAttribute<int>("size", 1));
    chain[0]->addAttribute(size.get(), true);
    ASSERT_TRUE(chain[1]->isStatusOk());
    graph.takeLog();
    size->setValue(2);
    EXPECT_EQ("a.propagate(true) b.changed(in0,true) b.propagate(true)", graph.takeLog());
    size->setValue(3);
    EXPECT_EQ("", graph.takeLog());
    chain[0]->markOutOfDate(true);
    chain[0]->markOutOfDate(false);
    EXPECT_EQ("", graph.takeLog());
}

TEST(QelTransformStatusTest, MarkingMakesNothingOfItsFlag) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    graph.takeLog();
    chain[0]->markOutOfDate(false);
    EXPECT_EQ("a.propagate(true) b.changed(in0,true) b.propagate(true)", graph.takeLog());
    EXPECT_EQ("--", statesOf(chain));
}

TEST(QelTransformStatusTest, MarkingGoesDownToTheEndBeforeItGoesToTheNextConsumer) {
    ScriptedGraph graph;
    auto const source = graph.add("s", 0, 2);
    auto const a = graph.add("a", 1);
    auto const aa = graph.add("aa", 1);
    auto const b = graph.add("b", 1);
    auto const c = graph.add("c", 1);
    c->connect(0, source, 1);
    a->connect(0, source, 0);
    aa->connect(0, a, 0);
    b->connect(0, source, 0);
    for (auto const & transform : {aa, b, c})
        ASSERT_TRUE(transform->isStatusOk());
    graph.takeLog();
    source->markOutOfDate(true);
    EXPECT_EQ(
        "s.propagate(true) a.propagate(true) aa.propagate(true) b.propagate(true) "
        "c.propagate(true)",
        graph.takeLog("propagate"));
}

TEST(QelTransformStatusTest, MarkingTellsATransformOnceForEachOfItsInputsAndMarksItOnce) {
    ScriptedGraph graph;
    auto const source = graph.add("s");
    auto const end = graph.add("e", 2);
    auto const last = graph.add("l", 1);
    end->connect(0, source, 0);
    end->connect(1, source, 0);
    last->connect(0, end, 0);
    ASSERT_TRUE(last->isStatusOk());
    std::string const log = (graph.takeLog(), source->markOutOfDate(true), graph.takeLog());
    for (char const * event : {"e.changed(in0,true)", "e.changed(in1,true)", "e.propagate(true)",
                               "l.changed(in0,true)", "l.propagate(true)"}) {
        std::size_t const at = log.find(event);
        ASSERT_NE(std::string::npos, at) << event << " is not in " << log;
        EXPECT_EQ(std::string::npos, log.find(event, at + 1)) << event << " is twice in " << log;
    }
}

TEST(QelTransformStatusTest, MarkingMakesTheOutputsStale) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    QelStreamData const & upstream = *chain[0]->getOutputCP(0)->streamData();
    QelStreamData const & downstream = *chain[1]->getOutputCP(0)->streamData();
    EXPECT_FALSE(upstream.outOfDate());
    EXPECT_FALSE(downstream.outOfDate());
    chain[0]->markOutOfDate(true);
    EXPECT_TRUE(upstream.outOfDate());
    EXPECT_FALSE(upstream.statusOk());
    EXPECT_TRUE(downstream.outOfDate());
    EXPECT_FALSE(downstream.statusOk());
}

TEST(QelTransformStatusTest, PropagatingWithTheFlagClearsTheStatus) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    chain[0]->propagateOutOfDate(true);
    EXPECT_EQ("--", statesOf(chain));
    EXPECT_TRUE(chain[0]->getOutputCP(0)->streamData()->outOfDate());
}

TEST(QelTransformStatusTest, PropagatingWithoutTheFlagKeepsTheStatusAndTellsTheOutputs) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    MoxSmartPtr<QelRenderedItemContainer> const before =
        chain[0]->getOutputCP(0)->streamData()->getRenderedItemContainer();
    graph.takeLog();
    chain[0]->propagateOutOfDate(false);
    EXPECT_EQ("a.propagate(false) b.changed(in0,false) b.propagate(true)", graph.takeLog());
    EXPECT_EQ("+-", statesOf(chain));
    EXPECT_FALSE(chain[0]->getOutputCP(0)->streamData()->outOfDate());
    EXPECT_TRUE(chain[0]->getOutputCP(0)->streamData()->statusOk());
    EXPECT_NE(before.get(),
              chain[0]->getOutputCP(0)->streamData()->getRenderedItemContainer().get());
}

TEST(QelTransformStatusTest, PropagatingReachesDownstreamFromATransformThatIsOutOfDate) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    chain[0]->clearStatus();
    chain[0]->propagateOutOfDate(true);
    EXPECT_EQ("--", statesOf(chain));
}

TEST(QelTransformStatusTest, ClearingTellsNobody) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    ASSERT_TRUE(chain[1]->isStatusOk());
    graph.takeLog();
    chain[0]->clearStatus();
    EXPECT_EQ("", graph.takeLog());
    EXPECT_EQ("-+", statesOf(chain));
    EXPECT_FALSE(chain[0]->getOutputCP(0)->streamData()->outOfDate());
}

TEST(QelTransformStatusTest, AChangedInputMarks) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t", 1));
    for (bool const flag : {true, false}) {
        ASSERT_TRUE(t->isStatusOk());
        static_cast<QelTransform &>(*t).inputChanged(t->getInputCP(0), flag);
        EXPECT_FALSE(t->setupDone());
    }
}

// A transform that ignores its second input.
class DeafTransform : public ScriptedTransform {
  public:
    using ScriptedTransform::ScriptedTransform;
    void inputChanged(QelInputConnectionPoint * input, bool flag) override {
        if (input != getInputCP(1).get()) ScriptedTransform::inputChanged(input, flag);
    }
};

TEST(QelTransformStatusTest, AClassMayIgnoreThatAnInputChanged) {
    MoxSmartPtr<ScriptedTransform> const a(new ScriptedTransform("a"));
    MoxSmartPtr<ScriptedTransform> const b(new ScriptedTransform("b"));
    MoxSmartPtr<DeafTransform> const deaf(new DeafTransform("deaf", 2));
    deaf->connect(0, a, 0);
    deaf->connect(1, b, 0);
    ASSERT_TRUE(deaf->isStatusOk());
    b->markOutOfDate(true);
    EXPECT_TRUE(deaf->setupDone());
    a->markOutOfDate(true);
    EXPECT_FALSE(deaf->setupDone());
}

TEST(QelTransformStatusTest, AChangeSetsUpWhatIsDownstreamAndNoOther) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    ASSERT_TRUE(chain[3]->isStatusOk());
    chain[1]->markOutOfDate(true);
    graph.takeLog();
    ASSERT_TRUE(chain[3]->isStatusOk());
    EXPECT_EQ("d.setup c.setup b.setup", graph.takeLog());
}

// Raises when it is marked, once it is told to.
class RaisingTransform : public ScriptedTransform {
  public:
    using ScriptedTransform::ScriptedTransform;
    bool raises = false;
    void propagateOutOfDate(bool flag) override {
        if (raises) qelRaise(QelErrorCode::misuse, "not now");
        ScriptedTransform::propagateOutOfDate(flag);
    }
};

TEST(QelTransformStatusTest, AClassThatRaisesDoesNotKeepOthersFromBeingMarked) {
    MoxSmartPtr<ScriptedTransform> const source(new ScriptedTransform("s"));
    MoxSmartPtr<RaisingTransform> const raising(new RaisingTransform("r", 1));
    MoxSmartPtr<ScriptedTransform> const beside(new ScriptedTransform("b", 1));
    raising->connect(0, source, 0);
    beside->connect(0, source, 0);
    ASSERT_TRUE(raising->isStatusOk());
    ASSERT_TRUE(beside->isStatusOk());
    raising->raises = true;
    expectRaises(QelErrorCode::misuse, "not now", [&] { source->markOutOfDate(true); });
    EXPECT_FALSE(source->setupDone());
    EXPECT_FALSE(beside->setupDone());
    raising->raises = false;
    ASSERT_TRUE(beside->isStatusOk());
    source->markOutOfDate(true);
    EXPECT_FALSE(beside->setupDone());
    EXPECT_FALSE(raising->setupDone());
}

// ---- Changes while a transform is set up

TEST(QelTransformStatusTest, AnAttributeThatTheSetUpItselfChangesStartsNothingAnew) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    MoxSmartPtr<QelSimpleAttribute<int>> const size(new QelSimpleAttribute<int>("size", 1));
    t->addAttribute(size.get(), true);
    t->onSetup = [&](ScriptedTransform & self) {
        size->setValue(7);
        self.setStatusOK();
    };
    EXPECT_TRUE(t->isStatusOk());
    EXPECT_TRUE(t->setupDone());
    EXPECT_EQ(1, t->setups());
}

TEST(QelTransformStatusTest, AQuestionOfItsOwnSetUpAnswersBadAndIsNotSetUpAgain) {
    MoxSmartPtr<ScriptedTransform> const t(new ScriptedTransform("t"));
    bool answer = true;
    t->onSetup = [&](ScriptedTransform & self) {
        answer = self.isStatusOk();
        self.update();
        self.setStatusOK();
    };
    t->update();
    EXPECT_FALSE(answer);
    EXPECT_EQ(1, t->setups());
    EXPECT_TRUE(t->setupDone());
    EXPECT_TRUE(t->statusOk());
}

TEST(QelTransformStatusTest, ACircleSettlesAsBad) {
    MoxSmartPtr<AddTransform> const a(new AddTransform());
    MoxSmartPtr<AddTransform> const b(new AddTransform());
    MoxSmartPtr<AddTransform> const behind(new AddTransform());
    a->QelTransform::connect(0, b, 0);
    b->QelTransform::connect(0, a, 0);
    behind->QelTransform::connect(0, b, 0);
    EXPECT_FALSE(behind->isStatusOk());
    EXPECT_FALSE(a->isStatusOk());
    EXPECT_FALSE(b->isStatusOk());
    EXPECT_TRUE(a->setupDone());
    EXPECT_TRUE(b->setupDone());
    EXPECT_NE(QelErrorCode::noStatusMessage, a->getStatusMessage().getErrcode());
    EXPECT_NE(QelErrorCode::noStatusMessage, b->getStatusMessage().getErrcode());
    EXPECT_EQ(1, a->setups());
    EXPECT_EQ(1, b->setups());
    MoxSmartPtr<SourceTransform> const source(new SourceTransform());
    a->QelTransform::connect(0, source, 0);
    EXPECT_TRUE(behind->isStatusOk());
    EXPECT_TRUE(a->isStatusOk());
    EXPECT_TRUE(b->isStatusOk());
}

TEST(QelTransformStatusTest, ACircleIsBadThoughItsTransformsDoNotMindTheirInputs) {
    ScriptedGraph graph;
    auto const a = graph.add("a", 1);
    auto const b = graph.add("b", 1);
    a->connect(0, b, 0);
    b->connect(0, a, 0);
    EXPECT_FALSE(a->isStatusOk());
    expectQelError(a->getStatusMessage(), QelErrorCode::setupFailed,
                   "Transform a(ScriptedTransform) is connected to itself in a circle");
    EXPECT_EQ(1, a->setups());
    EXPECT_EQ(1, b->setups());
    b->disconnect(0);
    EXPECT_TRUE(a->isStatusOk());
    expectNoMessage(*a, "a(ScriptedTransform)");
}

TEST(QelTransformStatusTest, MarkingGoesRoundACircleOnce) {
    ScriptedGraph graph;
    auto const a = graph.add("a", 1);
    auto const b = graph.add("b", 1);
    a->connect(0, b, 0);
    b->connect(0, a, 0);
    a->isStatusOk();
    b->isStatusOk();
    ASSERT_TRUE(a->setupDone());
    ASSERT_TRUE(b->setupDone());
    graph.takeLog();
    a->markOutOfDate(true);
    EXPECT_EQ("a.propagate(true) b.changed(in0,true) b.propagate(true) a.changed(in0,true)",
              graph.takeLog());
    a->disconnect(0);
}

// ---- What editing does to statuses

TEST(QelTransformStatusTest, ConnectingMarksDownstream) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    auto const other = graph.add("o");
    ASSERT_TRUE(chain[2]->isStatusOk());
    ASSERT_TRUE(other->isStatusOk());
    chain[1]->connect(0, other, 0);
    EXPECT_EQ("+--", statesOf(chain));
    EXPECT_TRUE(other->setupDone());
    ASSERT_TRUE(chain[2]->isStatusOk());
    chain[0]->markOutOfDate(true);
    EXPECT_EQ("-++", statesOf(chain));
}

TEST(QelTransformStatusTest, DisconnectingMarksDownstream) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    ASSERT_TRUE(chain[2]->isStatusOk());
    chain[1]->disconnect(0);
    EXPECT_EQ("+--", statesOf(chain));
}

TEST(QelTransformStatusTest, ErrorsReadUpstreamFirst) {
    MoxSmartPtr<ScriptedTransform> const source(new ScriptedTransform("source"));
    source->onSetup = [](ScriptedTransform & self) { self.setStatusBad(someError("no light")); };
    MoxSmartPtr<JointTransform> const a(new JointTransform(1, 1));
    a->setLabel("a");
    a->connect(0, source, 0);
    EXPECT_FALSE(a->isStatusOk());
    expectQelError(a->getStatusMessage(), QelErrorCode::invalidValue,
                   "no light\nTransform a(JointTransform) has invalid inputs");
}

}  // namespace

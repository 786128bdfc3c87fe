#include <stdexcept>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"
#include "TransformTesting.h"

// The private copy of the graph upstream that an asynchronous render works on.

namespace {

// The input of whoever wants the clones, a transform "sink" and its clone.
class Request {
  public:
    QelInputConnectionPoint & input() { return *sink_->getInputCP(0); }
    ScriptedTransform & sink() { return *sink_; }
    // The clone that the input is connected to; null if there is none.
    QelTransform * clone() const {
        MoxSmartPtr<QelOutputConnectionPoint> const output =
            sink_->getInputCP(0)->getConnectedOutput(false);
        return output ? output->owner() : nullptr;
    }

  private:
    MoxSmartPtr<ScriptedTransform> sink_{new ScriptedTransform("sink", 1, 0)};
};

QelTransform * sourceOf(QelTransform const & transform, int input) {
    MoxSmartPtr<QelOutputConnectionPoint> const output =
        transform.getInputCP(input)->getConnectedOutput(false);
    return output ? output->owner() : nullptr;
}

bool anyCloneIsKnown(std::vector<MoxSmartPtr<ScriptedTransform>> const & transforms) {
    for (auto const & transform : transforms) {
        if (transform->clonePtr() != nullptr) return true;
    }
    return false;
}

// ---- The copy

TEST(QelTransformCloneTest, ClonesAllThatIsUpstreamAndConnectsIt) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    Request request;
    chain[1]->cloneForRender("out0", &request.input(), &request.sink());
    QelTransform * const cloneOfB = request.clone();
    ASSERT_NE(nullptr, cloneOfB);
    EXPECT_NE(chain[1].get(), cloneOfB);
    EXPECT_EQ("b", cloneOfB->getLabel());
    EXPECT_EQ(cloneOfB, chain[1]->clonePtr());
    QelTransform * const cloneOfA = sourceOf(*cloneOfB, 0);
    ASSERT_NE(nullptr, cloneOfA);
    EXPECT_NE(chain[0].get(), cloneOfA);
    EXPECT_EQ("a", cloneOfA->getLabel());
    EXPECT_EQ(cloneOfA, chain[0]->clonePtr());
    EXPECT_EQ(nullptr, chain[2]->clonePtr());
    // The graph itself is as before.
    EXPECT_EQ(chain[0].get(), sourceOf(*chain[1], 0));
    EXPECT_EQ(1U, chain[0]->getOutputCP(0)->numConnectedInputs());
    EXPECT_EQ(1U, chain[1]->getOutputCP(0)->numConnectedInputs());
    chain[1]->clearClonePtr(&request.sink());
}

TEST(QelTransformCloneTest, ConnectsTheOutputsAndInputsOfTheSameNames) {
    ScriptedGraph graph;
    auto const source = graph.add("s", 0, 3);
    auto const joint = graph.add("j", 3, 2);
    joint->connect(0, source, 2);
    joint->connect(2, source, 1);
    Request request;
    joint->cloneForRender("out1", &request.input(), &request.sink());
    EXPECT_EQ("out1", request.input().getConnectedOutput(false)->name());
    QelTransform const & clone = *request.clone();
    EXPECT_EQ("out2", clone.getInputCP(0)->getConnectedOutput(false)->name());
    EXPECT_EQ(nullptr, clone.getInputCP(1)->getConnectedOutput(false).get());
    EXPECT_EQ("out1", clone.getInputCP(2)->getConnectedOutput(false)->name());
    EXPECT_EQ(sourceOf(clone, 0), sourceOf(clone, 2));
    EXPECT_EQ("j.copied s.copied", graph.takeLog("copied"));
    joint->clearClonePtr(&request.sink());
}

TEST(QelTransformCloneTest, ClonesATransformThatSeveralNeedOnce) {
    ScriptedGraph graph;
    auto const source = graph.add("s");
    auto const left = graph.add("l", 1);
    auto const right = graph.add("r", 1);
    auto const end = graph.add("e", 2);
    left->connect(0, source, 0);
    right->connect(0, source, 0);
    end->connect(0, left, 0);
    end->connect(1, right, 0);
    Request request;
    graph.takeLog();
    end->cloneForRender("out0", &request.input(), &request.sink());
    EXPECT_EQ("e.copied l.copied s.copied r.copied", graph.takeLog("copied"));
    QelTransform const & clone = *request.clone();
    EXPECT_EQ(sourceOf(*sourceOf(clone, 0), 0), sourceOf(*sourceOf(clone, 1), 0));
    EXPECT_EQ(2U, source->clonePtr()->getOutputCP(0)->numConnectedInputs());
    end->clearClonePtr(&request.sink());
}

TEST(QelTransformCloneTest, ASecondRequestGetsTheSameClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    Request first;
    Request second;
    chain[1]->cloneForRender("out0", &first.input(), &first.sink());
    graph.takeLog();
    chain[1]->cloneForRender("out0", &second.input(), &second.sink());
    EXPECT_EQ("b.cloneFor(sink)", graph.takeLog());
    EXPECT_EQ(first.clone(), second.clone());
    chain[1]->clearClonePtr(&first.sink());
}

TEST(QelTransformCloneTest, ARequestAfterClearingGetsNewClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    Request first;
    Request second;
    chain[1]->cloneForRender("out0", &first.input(), &first.sink());
    chain[1]->clearClonePtr(&first.sink());
    chain[1]->cloneForRender("out0", &second.input(), &second.sink());
    chain[1]->clearClonePtr(&second.sink());
    EXPECT_NE(first.clone(), second.clone());
    EXPECT_NE(sourceOf(*first.clone(), 0), sourceOf(*second.clone(), 0));
}

TEST(QelTransformCloneTest, ClonesDoNotCache) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    chain[0]->setCaching(true);
    chain[1]->setCaching(true);
    Request request;
    chain[1]->cloneForRender("out0", &request.input(), &request.sink());
    for (QelTransform * clone : {request.clone(), sourceOf(*request.clone(), 0)}) {
        EXPECT_FALSE(clone->getOutputCP(0)->caching());
        EXPECT_FALSE(clone->getOutputCP(0)->streamData()->caching());
        EXPECT_EQ(0, clone->getOutputCP(0)->streamData()->cachingCount());
    }
    EXPECT_TRUE(chain[0]->getOutputCP(0)->caching());
    EXPECT_EQ(1, chain[1]->getOutputCP(0)->streamData()->cachingCount());
    chain[1]->clearClonePtr(&request.sink());
}

TEST(QelTransformCloneTest, ClonesComputeTheSamePixelsAndAreIndependent) {
    MoxSmartPtr<SourceTransform> const source(new SourceTransform({.width = 40, .height = 30}));
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
    Request request;
    chain[1]->cloneForRender("out", &request.input(), &request.sink());
    chain[1]->clearClonePtr(&request.sink());
    source->setAttributeValue<double>("level", 50.0);
    chain[1]->disconnect(0);
    MoxSmartPtr<QelRectBuffer> const pixels = pixelsOf(*request.clone());
    ASSERT_TRUE(pixels);
    EXPECT_TRUE(showsPixels(
        *pixels, QelRect(0, 0, 40, 30),
        [](std::int32_t x, std::int32_t y, int band) { return gradientAt(x, y, band) + 2; }));
}

TEST(QelTransformCloneTest, ClonesGoWithTheInputThatHoldsThem) {
    MoxSmartPtr<SourceTransform> const source(new SourceTransform());
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
    Request request;
    chain[1]->cloneForRender("out", &request.input(), &request.sink());
    chain[1]->clearClonePtr(&request.sink());
    OutputCapture const output;
    {
        ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
        request.input().disconnect();
    }
    std::string const text = output.text();
    for (QelTransform const * transform : {static_cast<QelTransform const *>(source.get()),
                                           static_cast<QelTransform const *>(chain[0].get()),
                                           static_cast<QelTransform const *>(chain[1].get())}) {
        EXPECT_NE(std::string::npos,
                  text.find("destroying transform " + transform->getLabel() + "\n"))
            << text;
    }
}

// ---- Who asks

TEST(QelTransformCloneTest, EachTransformAsksUpstreamInItsOwnName) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    Request request;
    graph.takeLog();
    chain[2]->cloneForRender("out0", &request.input(), &request.sink());
    EXPECT_EQ("c.cloneFor(sink) b.cloneFor(c) a.cloneFor(b)", graph.takeLog("cloneFor"));
    chain[2]->clearClonePtr(&request.sink());
    EXPECT_EQ("c.clear(sink) b.clear(c) a.clear(b)", graph.takeLog());
}

TEST(QelTransformCloneTest, ARequesterMayBeNull) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    Request request;
    chain[1]->cloneForRender("out0", &request.input(), nullptr);
    EXPECT_EQ(request.clone(), chain[1]->clonePtr());
    chain[1]->clearClonePtr(nullptr);
    EXPECT_FALSE(anyCloneIsKnown(chain));
}

TEST(QelTransformCloneTest, InputsAreFollowedInOrder) {
    ScriptedGraph graph;
    auto const a = graph.add("a");
    auto const b = graph.add("b");
    auto const bb = graph.add("B", 1);
    auto const c = graph.add("c");
    auto const joint = graph.add("j", 4);
    bb->connect(0, b, 0);
    joint->connect(0, a, 0);
    joint->connect(1, bb, 0);
    joint->connect(3, c, 0);
    Request request;
    graph.takeLog();
    joint->cloneForRender("out0", &request.input(), &request.sink());
    EXPECT_EQ("j.copied a.copied B.copied b.copied c.copied", graph.takeLog("copied"));
    joint->clearClonePtr(&request.sink());
}

// ---- Forgetting

TEST(QelTransformCloneTest, ClearingReachesAllThatIsUpstream) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    Request request;
    chain[3]->cloneForRender("out0", &request.input(), &request.sink());
    ASSERT_TRUE(anyCloneIsKnown(chain));
    chain[3]->clearClonePtr(&request.sink());
    EXPECT_FALSE(anyCloneIsKnown(chain));
}

TEST(QelTransformCloneTest, ClearingStopsWhereNoCloneIsKnown) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    graph.takeLog();
    chain[2]->clearClonePtr(nullptr);
    EXPECT_EQ("c.clear(NULL)", graph.takeLog());
    Request request;
    chain[1]->cloneForRender("out0", &request.input(), &request.sink());
    graph.takeLog();
    chain[2]->clearClonePtr(nullptr);
    EXPECT_EQ("c.clear(NULL)", graph.takeLog());
    EXPECT_NE(nullptr, chain[1]->clonePtr());
    chain[1]->clearClonePtr(&request.sink());
}

TEST(QelTransformCloneTest, ClearingVisitsATransformThatSeveralNeedOnceInDepth) {
    ScriptedGraph graph;
    auto const first = graph.add("f");
    auto const source = graph.add("s", 1);
    auto const end = graph.add("e", 2);
    source->connect(0, first, 0);
    end->connect(0, source, 0);
    end->connect(1, source, 0);
    Request request;
    end->cloneForRender("out0", &request.input(), &request.sink());
    graph.takeLog();
    end->clearClonePtr(&request.sink());
    std::string const log = graph.takeLog();
    EXPECT_EQ(log.find("f.clear"), log.rfind("f.clear")) << log;
    EXPECT_NE(std::string::npos, log.find("f.clear")) << log;
    EXPECT_EQ(nullptr, first->clonePtr());
}

TEST(QelTransformCloneTest, ACircleIsClonedAsACircle) {
    ScriptedGraph graph;
    auto const a = graph.add("a", 1);
    auto const b = graph.add("b", 1);
    a->connect(0, b, 0);
    b->connect(0, a, 0);
    Request request;
    a->cloneForRender("out0", &request.input(), &request.sink());
    QelTransform & clone = *request.clone();
    EXPECT_NE(a.get(), &clone);
    EXPECT_EQ(b->clonePtr(), sourceOf(clone, 0));
    EXPECT_EQ(&clone, sourceOf(*sourceOf(clone, 0), 0));
    a->clearClonePtr(&request.sink());
    EXPECT_FALSE(anyCloneIsKnown({a, b}));
    clone.disconnect(0);
    a->disconnect(0);
}

// ---- Failures

// Clones the last of a chain, which fails, and expects that no clone is known nor connected.
void expectFails(std::vector<MoxSmartPtr<ScriptedTransform>> const & chain, int code,
                 std::string const & text, std::string const & outputName = "out0") {
    Request request;
    expectRaises(code, text, [&] {
        chain.back()->cloneForRender(outputName, &request.input(), &request.sink());
    });
    EXPECT_FALSE(anyCloneIsKnown(chain));
    for (auto const & transform : chain) {
        for (int i = 0; i < transform->numInputs(); ++i)
            EXPECT_NE(nullptr, transform->getInputCP(i)->getConnectedOutput(false).get());
    }
}

TEST(QelTransformCloneTest, AnOutputThatIsNotThereFailsAndForgetsAllClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    expectFails(chain, QelErrorCode::noSuchPoint,
                "String nothing (the argument of findOutputIndex) is not the name of an output "
                "connection point for transform c(ScriptedTransform)",
                "nothing");
}

TEST(QelTransformCloneTest, AnOutputThatAKnownCloneDoesNotHaveFailsAndForgetsAllClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    Request first;
    chain[2]->cloneForRender("out0", &first.input(), &first.sink());
    expectFails(chain, QelErrorCode::noSuchPoint,
                "String nothing (the argument of findOutputIndex) is not the name of an output "
                "connection point for transform c(ScriptedTransform)",
                "nothing");
    EXPECT_NE(nullptr, first.clone());
}

TEST(QelTransformCloneTest, ACloneThatFailsForgetsAllClones) {
    for (int failing = 0; failing < 3; ++failing) {
        ScriptedGraph graph;
        auto const chain = graph.chain("abc");
        chain[static_cast<std::size_t>(failing)]->onClone = [](ScriptedTransform const &) {
            qelRaise(QelErrorCode::unsupported, "not to be copied");
        };
        expectFails(chain, QelErrorCode::unsupported, "not to be copied");
    }
}

TEST(QelTransformCloneTest, AFailureForgetsClonesOfEarlierRequestsBehindATransformThatHasNone) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    Request earlier;
    chain[0]->cloneForRender("out0", &earlier.input(), &earlier.sink());
    ASSERT_NE(nullptr, chain[0]->clonePtr());
    chain[1]->onClone = [](ScriptedTransform const &) {
        qelRaise(QelErrorCode::unsupported, "not to be copied");
    };
    expectFails(chain, QelErrorCode::unsupported, "not to be copied");
}

TEST(QelTransformCloneTest, AForeignExceptionForgetsAllClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    chain[0]->onClone = [](ScriptedTransform const &) { throw std::runtime_error("foreign"); };
    Request request;
    EXPECT_THROW(chain[2]->cloneForRender("out0", &request.input(), &request.sink()),
                 std::runtime_error);
    EXPECT_FALSE(anyCloneIsKnown(chain));
}

TEST(QelTransformCloneTest, AFailureBesideForgetsWhatWasClonedBefore) {
    ScriptedGraph graph;
    auto const a = graph.add("a");
    auto const b = graph.add("b");
    auto const joint = graph.add("j", 2);
    joint->connect(0, a, 0);
    joint->connect(1, b, 0);
    b->onClone = [](ScriptedTransform const &) {
        qelRaise(QelErrorCode::unsupported, "not to be copied");
    };
    expectFails({a, b, joint}, QelErrorCode::unsupported, "not to be copied");
}

// Its clone has no points.
class ShrinkingTransform : public ScriptedTransform {
  public:
    using ScriptedTransform::ScriptedTransform;
    bool nullClone = false;
    MoxSmartPtr<QelTransform> clone() const override {
        if (nullClone) return nullptr;
        return MoxSmartPtr<QelTransform>(new ScriptedTransform("small", 0, 1));
    }
};

TEST(QelTransformCloneTest, ACloneWithoutTheInputsOfItsOriginalFails) {
    ScriptedGraph graph;
    auto const source = graph.add("s");
    MoxSmartPtr<ScriptedTransform> const shrinking(new ShrinkingTransform("t", 1));
    shrinking->connect(0, source, 0);
    expectFails({source, shrinking}, QelErrorCode::noSuchPointIndex,
                "Transform small does not have an input CP with index 0; there are only 0 "
                "connection points");
}

TEST(QelTransformCloneTest, ANullCloneFails) {
    ScriptedGraph graph;
    auto const source = graph.add("s");
    MoxSmartPtr<ShrinkingTransform> const shrinking(new ShrinkingTransform("t", 1));
    shrinking->nullClone = true;
    shrinking->connect(0, source, 0);
    expectFails({source, shrinking.get()}, QelErrorCode::nullPointer,
                "Transform " + shrinking->describe() + " has no clone");
}

TEST(QelTransformCloneTest, ANullInputFails) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { chain[1]->cloneForRender("out0", nullptr, nullptr); });
    EXPECT_FALSE(anyCloneIsKnown(chain));
}

TEST(QelTransformCloneTest, AnInputThatCannotBeConnectedFailsAndForgetsAllClones) {
    ScriptedGraph graph;
    auto const chain = graph.chain("ab");
    Request request;
    QelGraphTesting::setRendering(request.sink(), true);
    std::optional<ZanError> const error =
        errorOf([&] { chain[1]->cloneForRender("out0", &request.input(), &request.sink()); });
    QelGraphTesting::setRendering(request.sink(), false);
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::cannotConnect, error->getErrcode());
    EXPECT_FALSE(anyCloneIsKnown(chain));
    EXPECT_EQ(nullptr, request.clone());
}

}  // namespace

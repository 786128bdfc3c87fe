// Transforms of a client's that change the graph, or raise, while the library is at work in it.

#include <functional>
#include <utility>

#include "ExpectError.h"
#include "GraphTesting.h"
#include "TransformTesting.h"

namespace {

// A transform that says when it has gone.
class Mortal : public ScriptedTransform {
  public:
    explicit Mortal(bool & isGone) : ScriptedTransform("mortal"), isGone_(isGone) {}
    ~Mortal() override { isGone_ = true; }

  private:
    bool & isGone_;
};

TEST(QelTransformReentryTest, ASetUpThatDropsTheLastHolderAnswersAndIsGone) {
    bool isGone = false;
    MoxSmartPtr<Mortal> holder = new Mortal(isGone);
    Mortal & transform = *holder;
    transform.onSetup = [&](ScriptedTransform & self) {
        holder = nullptr;
        self.setStatusOK();
    };
    EXPECT_TRUE(static_cast<QelTransform &>(transform).isStatusOk());
    EXPECT_TRUE(isGone);
}

TEST(QelTransformReentryTest, AQuestionForTheMessageMayBeTheLastOne) {
    bool isGone = false;
    MoxSmartPtr<Mortal> holder = new Mortal(isGone);
    Mortal & transform = *holder;
    transform.onSetup = [&](ScriptedTransform & self) {
        holder = nullptr;
        self.setStatusBad(QelError(QelErrorCode::invalidValue, "too late", "", 0));
    };
    EXPECT_STREQ("QEL error 13\ntoo late", transform.getStatusMessage().getMsg());
    EXPECT_TRUE(isGone);
}

// Calls `onChange`, once, when it hears of a change.
class Listener : public ScriptedTransform {
  public:
    explicit Listener(std::string const & label) : ScriptedTransform(label, 1) {}
    std::function<void()> onChange;
    void inputChanged(QelInputConnectionPoint * input, bool flag) override {
        if (onChange) std::exchange(onChange, nullptr)();
        ScriptedTransform::inputChanged(input, flag);
    }
};

TEST(QelTransformReentryTest, ConnectingAnInputThatItsTransformThenTakesOff) {
    MoxSmartPtr<ScriptedTransform> const source = new ScriptedTransform("source");
    MoxSmartPtr<Listener> const listener = new Listener("listener");
    listener->onChange = [&] { listener->removeInputConnectionPoint(0); };
    listener->getInputCP(0).get()->connect(source->getOutputCP(0).get());
    EXPECT_EQ(0, listener->numInputs());
    EXPECT_EQ(0u, source->getOutputCP(0)->numConnectedInputs());
}

TEST(QelTransformReentryTest, ConnectingToASourceThatTheChangeLetsGo) {
    bool isGone = false;
    MoxSmartPtr<Mortal> source = new Mortal(isGone);
    QelOutputConnectionPoint * const output = source->getOutputCP(0).get();
    MoxSmartPtr<Listener> const listener = new Listener("listener");
    listener->onChange = [&] { source = nullptr; };
    listener->getInputCP(0)->connect(output);
    // The connection holds it now.
    EXPECT_FALSE(isGone);
    EXPECT_EQ(output, listener->getInputCP(0)->getConnectedOutput(false).get());
    listener->disconnect(0);
    EXPECT_TRUE(isGone);
}

TEST(QelTransformReentryTest, AConsumerThatRaisesKeepsTheChangeFromNobodyElse) {
    MoxSmartPtr<ScriptedTransform> const source = new ScriptedTransform("source");
    MoxSmartPtr<Listener> const first = new Listener("first");
    MoxSmartPtr<Listener> const second = new Listener("second");
    first->connect(0, source, 0);
    second->connect(0, source, 0);
    ASSERT_TRUE(first->isStatusOk() && second->isStatusOk());
    first->onChange = [] { qelRaise(QelErrorCode::unsupported, "no changes please"); };
    expectRaises(QelErrorCode::unsupported, "no changes please",
                 [&] { source->markOutOfDate(true); });
    EXPECT_FALSE(source->setupDone());
    EXPECT_FALSE(second->setupDone());
    EXPECT_TRUE(source->getOutputCP(0)->streamData()->outOfDate());
}

TEST(QelTransformReentryTest, AddingAndRemovingPointsMarks) {
    MoxSmartPtr<SourceTransform> const source = new SourceTransform;
    MoxSmartPtr<AddTransform> const add = new AddTransform;
    add->connect(0, source, 0);
    ASSERT_TRUE(add->isStatusOk());
    add->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP("mask")));
    EXPECT_FALSE(add->setupDone());
    EXPECT_FALSE(add->isStatusOk());
    add->QelTransform::removeInputConnectionPoint("mask");
    EXPECT_FALSE(add->setupDone());
    EXPECT_TRUE(add->isStatusOk());
    add->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("more")));
    EXPECT_FALSE(add->setupDone());
    ASSERT_TRUE(add->isStatusOk());
    EXPECT_FALSE(add->getOutputCP(1)->streamData()->outOfDate());
    add->removeOutputConnectionPoint(1);
    EXPECT_FALSE(add->setupDone());
}

}  // namespace

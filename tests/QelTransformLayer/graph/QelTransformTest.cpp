#include "QelTransform.h"

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <type_traits>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"
#include "TransformTesting.h"

// What a transform is and has: label, class, attributes, copies, and its end. Its points, status,
// pixels, clones and listings have tests of their own.

namespace {

static_assert(!std::is_copy_assignable_v<QelTransform>);
static_assert(std::is_abstract_v<QelTransform>);

MoxSmartPtr<SourceTransform> sourceNamed(std::string const & label) {
    MoxSmartPtr<SourceTransform> source(new SourceTransform());
    source->setLabel(label);
    return source;
}

QelSimpleAttribute<double> & levelOf(QelTransform & transform) {
    return dynamic_cast<QelSimpleAttribute<double> &>(*transform.getAttribute("level"));
}

MoxSmartPtr<QelAttribute> number(std::string const & name, int value = 0) {
    return MoxSmartPtr<QelAttribute>(new QelSimpleAttribute<int>(name, value));
}

// ---- State at the start

TEST(QelTransformTest, StartsEmptyAndOutOfDate) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("new", 0, 0));
    EXPECT_EQ(0, transform->numInputs());
    EXPECT_EQ(0, transform->numOutputs());
    EXPECT_EQ(0, transform->getNumAttributes());
    EXPECT_FALSE(transform->setupDone());
    EXPECT_FALSE(transform->statusOk());
    EXPECT_FALSE(transform->isRendering());
    EXPECT_FALSE(transform->getAllowAnyConnection());
    EXPECT_EQ(nullptr, transform->aggregate());
    EXPECT_EQ(nullptr, transform->clonePtr());
    EXPECT_EQ(0, transform->setups());
}

TEST(QelTransformTest, HasDefaultAnswers) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("plain", 2, 3));
    EXPECT_EQ(2, transform->getMaxInputs());
    EXPECT_EQ(3, transform->getMaxOutputs());
    EXPECT_TRUE(transform->isInputNeeded(0, 0));
    EXPECT_TRUE(transform->isInputNeeded(1, 2));
    EXPECT_EQ(nullptr, transform->determineOp(QelTileId(0, 0, 10, 10), 0).get());
    std::ostringstream printed;
    transform->printCalculatedParameters(printed, "> ");
    EXPECT_EQ("", printed.str());
    transform->setAllowAnyConnection(true);
    EXPECT_TRUE(transform->getAllowAnyConnection());
    transform->setAllowAnyConnection(false);
    EXPECT_FALSE(transform->getAllowAnyConnection());
}

TEST(QelTransformTest, MaximaFollowThePoints) {
    MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("plain", 2, 1));
    transform->removeLastInputs(1);
    transform->addOutput(new QelImageOutputCP("more"));
    EXPECT_EQ(1, transform->getMaxInputs());
    EXPECT_EQ(2, transform->getMaxOutputs());
}

TEST(QelTransformTest, ComputesNoDataThatIsNoImage) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    expectRaises(QelErrorCode::misuse, "Should not be calling QelTransform::computeData",
                 [&] { source->computeData(); });
}

TEST(QelTransformTest, RendersWhileTheFlagIsSet) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    QelGraphTesting::setRendering(*source, true);
    EXPECT_TRUE(source->isRendering());
    QelGraphTesting::setRendering(*source, false);
    EXPECT_FALSE(source->isRendering());
}

// ---- Label and class

TEST(QelTransformTest, DefaultLabelIsTheAddressInEightHexadecimalDigits) {
    MoxSmartPtr<ScriptedTransform> const named(new ScriptedTransform(""));
    MoxSmartPtr<SourceTransform> const source(new SourceTransform());
    auto const address = static_cast<std::uint32_t>(
        reinterpret_cast<std::uintptr_t>(static_cast<QelTransform *>(source.get())));
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(address));
    EXPECT_EQ(digits, source->getLabel());
    EXPECT_EQ("", named->getLabel());
}

TEST(QelTransformTest, TakesAnEmptyLabelAndOneOf255Characters) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("before");
    source->setLabel("");
    EXPECT_EQ("", source->getLabel());
    std::string const longest(255, 'x');
    source->setLabel(longest);
    EXPECT_EQ(longest, source->getLabel());
}

TEST(QelTransformTest, RefusesALabelOf256Characters) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("before");
    expectRaises(QelErrorCode::invalidValue,
                 "An illegal label was provided to a SourceTransform transform.  A transform label "
                 "cannot contain more than 255 characters.",
                 [&] { source->setLabel(std::string(256, 'x')); });
    EXPECT_EQ("before", source->getLabel());
}

TEST(QelTransformTest, RefusesALabelWithADoubleQuote) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("before");
    for (char const * label : {"\"", "a\"", "\"a", "a\"b"}) {
        expectRaises(QelErrorCode::invalidValue,
                     "An illegal label was provided to a SourceTransform transform.  A transform "
                     "label cannot contain double-quotes.",
                     [&] { source->setLabel(label); });
        EXPECT_EQ("before", source->getLabel());
    }
}

TEST(QelTransformTest, TestsTheLengthOfALabelFirst) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("before");
    expectRaises(QelErrorCode::invalidValue,
                 "An illegal label was provided to a SourceTransform transform.  A transform label "
                 "cannot contain more than 255 characters.",
                 [&] { source->setLabel(std::string(256, '"')); });
}

TEST(QelTransformTest, LabelsNeedNotBeUniqueAndChangeWhileRendering) {
    MoxSmartPtr<SourceTransform> const a = sourceNamed("same");
    MoxSmartPtr<SourceTransform> const b = sourceNamed("other");
    QelGraphTesting::setRendering(*b, true);
    b->setLabel("same");
    QelGraphTesting::setRendering(*b, false);
    EXPECT_EQ(a->getLabel(), b->getLabel());
}

TEST(QelTransformTest, KnowsItsClassAndDescribesItself) {
    MoxSmartPtr<QelTransform> const add(new AddTransform());
    add->setLabel("plus");
    EXPECT_EQ("AddTransform", add->getClassName());
    EXPECT_EQ("plus(AddTransform)", add->describe());
}

// ---- Attributes

TEST(QelTransformTest, RegistersAnAttributeUnderItsOwnName) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const attribute = number("size");
    EXPECT_TRUE(source->addAttribute(attribute, true));
    EXPECT_EQ(attribute.get(), source->getAttribute("size").get());
    EXPECT_EQ(1, attribute->numCallbacks());
    EXPECT_EQ(2, source->getNumAttributes());
}

TEST(QelTransformTest, RegistersAnAttributeUnderAGivenName) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const attribute = number("size");
    EXPECT_TRUE(source->addAttribute(attribute, false, "given"));
    EXPECT_EQ(nullptr, source->getAttribute("size").get());
    EXPECT_EQ(attribute.get(), source->getAttribute("given").get());
    EXPECT_EQ("size", attribute->name());
    EXPECT_EQ(1, attribute->numCallbacks());
}

TEST(QelTransformTest, RefusesANullAttribute) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    EXPECT_FALSE(source->addAttribute(nullptr, true));
    EXPECT_FALSE(source->addAttribute(nullptr, false, "name"));
    EXPECT_EQ(1, source->getNumAttributes());
}

TEST(QelTransformTest, RefusesAnAttributeNameThatIsTaken) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const same = number("level");
    MoxSmartPtr<QelAttribute> const other = number("other");
    EXPECT_FALSE(source->addAttribute(same, true));
    EXPECT_FALSE(source->addAttribute(other, true, "level"));
    EXPECT_EQ(1, source->getNumAttributes());
    EXPECT_EQ(0, same->numCallbacks());
    EXPECT_EQ(0, other->numCallbacks());
    ASSERT_TRUE(source->isStatusOk());
    dynamic_cast<QelSimpleAttribute<int> &>(*same).setValue(5);
    EXPECT_TRUE(source->setupDone());
}

TEST(QelTransformTest, RefusesAnAttributeThatItHas) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const level = source->getAttribute("level");
    EXPECT_FALSE(source->addAttribute(level, true));
    EXPECT_EQ(1, level->numCallbacks());
    EXPECT_EQ(1, source->getNumAttributes());
    ASSERT_TRUE(source->isStatusOk());
    source->setAttributeValue<double>("level", 1.0);
    EXPECT_FALSE(source->setupDone());
}

TEST(QelTransformTest, RaisesForAnIllegalAttributeName) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const attribute = number("a=b");
    expectRaises(QelErrorCode::illegalAttributeName, "Illegal attribute name a=b",
                 [&] { source->addAttribute(attribute, true); });
    EXPECT_EQ(1, source->getNumAttributes());
    EXPECT_EQ(0, attribute->numCallbacks());
}

TEST(QelTransformTest, AttributesMarkOutOfDateWhetherTheyPropagateOrNot) {
    for (bool const propagate : {true, false}) {
        MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
        MoxSmartPtr<QelSimpleAttribute<int>> const attribute(
            new QelSimpleAttribute<int>("size", 1));
        ASSERT_TRUE(source->addAttribute(attribute.get(), propagate));
        std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
        ASSERT_TRUE(chain.back()->isStatusOk());
        attribute->setValue(2);
        EXPECT_FALSE(source->setupDone());
        EXPECT_FALSE(chain[0]->setupDone());
        EXPECT_FALSE(chain[1]->setupDone());
    }
}

TEST(QelTransformTest, AnAttributeOfTwoTransformsMarksBoth) {
    MoxSmartPtr<SourceTransform> const a = sourceNamed("a");
    MoxSmartPtr<SourceTransform> const b = sourceNamed("b");
    MoxSmartPtr<QelSimpleAttribute<int>> const shared(new QelSimpleAttribute<int>("size", 1));
    ASSERT_TRUE(a->addAttribute(shared.get(), true));
    ASSERT_TRUE(b->addAttribute(shared.get(), true, "width"));
    EXPECT_EQ(2, shared->numCallbacks());
    ASSERT_TRUE(a->isStatusOk());
    ASSERT_TRUE(b->isStatusOk());
    shared->setValue(2);
    EXPECT_FALSE(a->setupDone());
    EXPECT_FALSE(b->setupDone());
}

TEST(QelTransformTest, ARemovedAttributeMarksNothing) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<QelAttribute> const kept = source->getAttribute("level");
    source->removeAttribute("level");
    EXPECT_EQ(0, kept->numCallbacks());
}

TEST(QelTransformTest, AnAttributeOutlivesItsTransform) {
    MoxSmartPtr<SourceTransform> source = sourceNamed("s");
    MoxSmartPtr<QelSimpleAttribute<double>> const level(&levelOf(*source));
    source.release();
    EXPECT_EQ(0, level->numCallbacks());
    level->setValue(3.0);
    EXPECT_EQ(3.0, level->getValue());
}

TEST(QelTransformTest, ReadsAndSetsValuesOfAttributes) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    ASSERT_TRUE(source->isStatusOk());
    source->setAttributeValue<double>("level", 7.5);
    EXPECT_EQ(7.5, source->attributeValue<double>("level"));
    EXPECT_FALSE(source->setupDone());
}

TEST(QelTransformTest, RefusesToSetALockedAttribute) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    ASSERT_TRUE(source->isStatusOk());
    levelOf(*source).lock();
    expectRaises(QelErrorCode::attributeLocked, "level",
                 [&] { source->setAttributeValue<double>("level", 7.5); });
    EXPECT_EQ(0.0, source->attributeValue<double>("level"));
    EXPECT_TRUE(source->setupDone());
}

TEST(QelTransformTest, RaisesForAnAttributeThatIsNotThere) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    std::string const text =
        "Transform class SourceTransform does not have an attribute named nothing";
    expectRaises(QelErrorCode::misuse, text, [&] { source->badAttribute("nothing"); });
    expectRaises(QelErrorCode::misuse, text,
                 [&] { source->badAttribute("nothing", &typeid(int)); });
    expectRaises(QelErrorCode::misuse, text, [&] { source->attributeValue<double>("nothing"); });
    expectRaises(QelErrorCode::misuse, text,
                 [&] { source->setAttributeValue<double>("nothing", 1.0); });
}

TEST(QelTransformTest, RaisesForAnAttributeOfAnotherType) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    std::string const text =
        "Transform class SourceTransform does not have an attribute named level of type int\n"
        "     The attribute has type double";
    expectRaises(QelErrorCode::misuse, text, [&] { source->badAttribute("level", &typeid(int)); });
    expectRaises(QelErrorCode::misuse, text, [&] { source->attributeValue<int>("level"); });
    expectRaises(QelErrorCode::misuse, text, [&] { source->setAttributeValue<int>("level", 1); });
    EXPECT_EQ(0.0, source->attributeValue<double>("level"));
}

// ---- Copies

TEST(QelTransformTest, ACopyHasTheLabelAndThePointsButNoConnections) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<JointTransform> const joint(new JointTransform(2, 2));
    joint->setLabel("joint");
    joint->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new NumberInputCP("number")));
    joint->connect(1, source, 0);
    MoxSmartPtr<AddTransform> const consumer(new AddTransform());
    consumer->QelTransform::connect(0, joint, 1);

    MoxSmartPtr<QelTransform> const copy = joint->clone();
    EXPECT_EQ("joint", copy->getLabel());
    EXPECT_EQ("JointTransform", copy->getClassName());
    ASSERT_EQ(3, copy->numInputs());
    ASSERT_EQ(2, copy->numOutputs());
    EXPECT_EQ("in0", copy->getInputCP(0)->name());
    EXPECT_EQ("in1", copy->getInputCP(1)->name());
    EXPECT_EQ("number", copy->getInputCP(2)->name());
    EXPECT_EQ("out0", copy->getOutputCP(0)->name());
    EXPECT_EQ("out1", copy->getOutputCP(1)->name());
    EXPECT_EQ("NumberInputCP", copy->getInputCP(2)->getClassName());
    EXPECT_EQ("QelImageOutputCP", copy->getOutputCP(1)->getClassName());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(nullptr, copy->getInputCP(i)->getConnectedOutput(false).get());
        EXPECT_EQ(copy.get(), copy->getInputCP(i)->owner());
        EXPECT_TRUE(copy->getInputCP(i)->isInput());
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(0U, copy->getOutputCP(i)->numConnectedInputs());
        EXPECT_EQ(copy.get(), copy->getOutputCP(i)->owner());
        EXPECT_FALSE(copy->getOutputCP(i)->isInput());
    }
    EXPECT_EQ(source->getOutputCP(0).get(), joint->getInputCP(1)->getConnectedOutput(false).get());
    EXPECT_EQ(1U, joint->getOutputCP(1)->numConnectedInputs());
}

TEST(QelTransformTest, ACopyIsOutOfDateAndFree) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<SourceTransform> const around = sourceNamed("around");
    ASSERT_TRUE(source->isStatusOk());
    source->setAllowAnyConnection(true);
    QelGraphTesting::setRendering(*source, true);
    QelGraphTesting::setAggregate(*source, around);
    MoxSmartPtr<QelTransform> const copy = source->clone();
    QelGraphTesting::setRendering(*source, false);
    QelGraphTesting::setAggregate(*source, nullptr);
    EXPECT_FALSE(copy->setupDone());
    EXPECT_FALSE(copy->statusOk());
    EXPECT_FALSE(copy->isRendering());
    EXPECT_EQ(nullptr, copy->aggregate());
    EXPECT_EQ(nullptr, copy->clonePtr());
    EXPECT_TRUE(copy->getAllowAnyConnection());
    EXPECT_TRUE(source->setupDone());
}

TEST(QelTransformTest, ACopyHasAttributesOfItsOwnWithTheSameValues) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    source->setAttributeValue<double>("level", 4.0);
    source->addAttribute(number("size", 9), false, "width");
    MoxSmartPtr<QelTransform> const copy = source->clone();
    EXPECT_EQ(4.0, copy->attributeValue<double>("level"));
    EXPECT_EQ(9, copy->attributeValue<int>("width"));
    ASSERT_TRUE(source->isStatusOk());
    ASSERT_TRUE(copy->isStatusOk());
    copy->setAttributeValue<int>("width", 10);
    EXPECT_EQ(9, source->attributeValue<int>("width"));
    EXPECT_TRUE(source->setupDone());
    EXPECT_FALSE(copy->setupDone());
    ASSERT_TRUE(copy->isStatusOk());
    source->setAttributeValue<double>("level", 5.0);
    EXPECT_EQ(4.0, copy->attributeValue<double>("level"));
    EXPECT_TRUE(copy->setupDone());
}

TEST(QelTransformTest, ACopyCachesWhatItsOriginalCaches) {
    MoxSmartPtr<JointTransform> const joint(new JointTransform(1, 2));
    joint->getOutputCP(1)->setCaching(true);
    MoxSmartPtr<QelTransform> const copy = joint->clone();
    EXPECT_FALSE(copy->getOutputCP(0)->caching());
    EXPECT_EQ(0, copy->getOutputCP(0)->streamData()->cachingCount());
    EXPECT_TRUE(copy->getOutputCP(1)->caching());
    EXPECT_TRUE(copy->getOutputCP(1)->streamData()->caching());
    EXPECT_EQ(1, copy->getOutputCP(1)->streamData()->cachingCount());
}

TEST(QelTransformTest, ACopyDoesNotCacheWhatItsOriginalDoesNotThoughThatIsTheDefault) {
    ScopedSetting<bool> const cachingByDefault(QelSystemConfig::tileCachingDefault, true);
    MoxSmartPtr<JointTransform> const joint(new JointTransform(1, 2));
    joint->getOutputCP(0)->setCaching(false);
    MoxSmartPtr<QelTransform> const copy = joint->clone();
    EXPECT_FALSE(copy->getOutputCP(0)->caching());
    EXPECT_FALSE(copy->getOutputCP(0)->streamData()->caching());
    EXPECT_EQ(0, copy->getOutputCP(0)->streamData()->cachingCount());
    EXPECT_TRUE(copy->getOutputCP(1)->caching());
    EXPECT_EQ(1, copy->getOutputCP(1)->streamData()->cachingCount());
}

TEST(QelTransformTest, SetsTheCachingOfAllOutputs) {
    MoxSmartPtr<JointTransform> const joint(new JointTransform(1, 2));
    joint->setCaching(true);
    EXPECT_TRUE(joint->getOutputCP(0)->caching());
    EXPECT_TRUE(joint->getOutputCP(1)->caching());
    EXPECT_FALSE(joint->getInputCP(0)->caching());
    EXPECT_EQ(1, joint->getOutputCP(1)->streamData()->cachingCount());
    joint->setCaching(true);
    EXPECT_EQ(1, joint->getOutputCP(1)->streamData()->cachingCount());
    joint->setCaching(false);
    EXPECT_FALSE(joint->getOutputCP(0)->caching());
    EXPECT_EQ(0, joint->getOutputCP(1)->streamData()->cachingCount());
}

// Copies its QelOperation alone.
class ForgetfulTransform : public QelOperation {
  public:
    ForgetfulTransform() : QelOperation("in", "out") {}
    ForgetfulTransform(ForgetfulTransform const & other)
        : ZanRefCount(), QelTransform(), QelOperation(other) {}
    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new ForgetfulTransform(*this));
    }
};

TEST(QelTransformTest, RefusesACopyConstructorThatForgetsTheTransform) {
    MoxSmartPtr<ForgetfulTransform> const forgetful(new ForgetfulTransform());
    expectRaises(QelErrorCode::notCopyConstructed,
                 "The QelTransform derivative's copy constructor did not initialize it's "
                 "QelTransform part via the QelTransform copy constructor.",
                 [&] { forgetful->clone(); });
    EXPECT_EQ(1, forgetful->numInputs());
    EXPECT_EQ(1, forgetful->numOutputs());
}

// ---- The end

TEST(QelTransformTest, ItsEndIsTracedWithBit0) {
    MoxSmartPtr<ScriptedTransform> transform(new ScriptedTransform("short-lived", 0, 0));
    OutputCapture const output;
    ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
    transform.release();
    EXPECT_EQ("destroying transform short-lived\n", output.text());
}

TEST(QelTransformTest, ItsEndIsNotTracedWithOtherBits) {
    MoxSmartPtr<ScriptedTransform> transform(new ScriptedTransform("short-lived", 1, 1));
    OutputCapture const output;
    ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 0xFFFFFFFEU);
    transform.release();
    EXPECT_EQ("", output.text());
}

TEST(QelTransformTest, ItsEndFreesThePointsThatLiveOn) {
    MoxSmartPtr<QelInputConnectionPoint> input;
    MoxSmartPtr<QelOutputConnectionPoint> output;
    MoxSmartPtr<QelInputConnectionPoint> removed;
    {
        OutputCapture const warnings;
        MoxSmartPtr<ScriptedTransform> const transform(new ScriptedTransform("t", 2, 1));
        input = transform->getInputCP(0);
        removed = transform->getInputCP(1);
        output = transform->getOutputCP(0);
        transform->removeInputConnectionPoint(1);
        EXPECT_EQ(transform.get(), removed->owner());
    }
    EXPECT_EQ(nullptr, input->owner());
    EXPECT_EQ(nullptr, output->owner());
    EXPECT_EQ(nullptr, removed->owner());
}

TEST(QelTransformTest, ItsEndDisconnectsItsPoints) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("s");
    MoxSmartPtr<AddTransform> middle(new AddTransform());
    MoxSmartPtr<AddTransform> const end(new AddTransform());
    middle->QelTransform::connect(0, source, 0);
    EXPECT_EQ(1U, source->getOutputCP(0)->numConnectedInputs());
    middle.release();
    EXPECT_EQ(0U, source->getOutputCP(0)->numConnectedInputs());
    EXPECT_EQ(nullptr, end->getInputCP(0)->getConnectedOutput(false).get());
}

TEST(QelTransformTest, ConsumersKeepWhatIsUpstream) {
    MoxSmartPtr<SourceTransform> source = sourceNamed("s");
    std::vector<MoxSmartPtr<QelOperation>> chain = chainBehind(*source, 2);
    QelTransform const * const kept = source;
    source.release();
    chain[0].release();
    EXPECT_TRUE(chain[1]->isStatusOk());
    EXPECT_EQ(kept, chain[1]
                        ->getInputCP(0)
                        ->getConnectedOutput(false)
                        ->owner()
                        ->getInputCP(0)
                        ->getConnectedOutput(false)
                        ->owner());
}

}  // namespace

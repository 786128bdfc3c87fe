#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "OperationTesting.h"
#include "OutputCapture.h"

namespace {

// Derives virtually, like QelOperation itself, and forgets the transform in its copy constructor.
class ForgetfulOperation : public OpenOperation {
  public:
    ForgetfulOperation() : OpenOperation("in", "out") {}
    ForgetfulOperation(ForgetfulOperation const & other)
        : ZanRefCount(), QelTransform(), OpenOperation(other) {}
    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new ForgetfulOperation(*this));
    }
};

using Primaries = std::vector<void const *>;

class QelOperationTest : public testing::Test {
  protected:
    QelOperationTest() {
        source_->setLabel("source");
        op_->setLabel("op");
    }

    Primaries primaries() const {
        return {op_->getPrimaryInput(), op_->getPrimaryOutput(), op_->getPrimaryImageInput(),
                op_->getPrimaryImageOutput()};
    }
    // Expects setPrimaryIO() to be refused and to leave the primary points.
    void expectRefused(int code, std::string const & text, QelInputConnectionPoint * input,
                       QelOutputConnectionPoint * output) {
        Primaries const before = primaries();
        expectRaises(code, text, [&] { op_->setPrimaryIO(input, output); });
        EXPECT_EQ(before, primaries());
    }
    void expectStatus(int code, std::string const & text) {
        EXPECT_FALSE(op_->isStatusOk());
        expectQelError(op_->getStatusMessage(), code, text);
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<OpenOperation> op_ = new OpenOperation("in", "out");
    QelImageOutputCP & out_ = imageOutput(*source_);
};

// ---- Construction

TEST_F(QelOperationTest, HasPrimaryImagePointsOfTheGivenNames) {
    MoxSmartPtr<OpenOperation> const op = new OpenOperation("left", "right");
    ASSERT_EQ(1, op->numInputs());
    ASSERT_EQ(1, op->numOutputs());
    EXPECT_EQ("left", op->getInputCP(0)->name());
    EXPECT_EQ("right", op->getOutputCP(0)->name());
    EXPECT_EQ("QelImageInputCP", op->getInputCP(0)->getClassName());
    EXPECT_EQ("QelImageOutputCP", op->getOutputCP(0)->getClassName());
    EXPECT_EQ(op->getInputCP(0).get(), op->getPrimaryInput());
    EXPECT_EQ(op->getOutputCP(0).get(), op->getPrimaryOutput());
    EXPECT_EQ(&imageInput(*op), op->getPrimaryImageInput());
    EXPECT_EQ(&imageOutput(*op), op->getPrimaryImageOutput());
}

TEST_F(QelOperationTest, HasNoPrimaryPointWithoutAName) {
    MoxSmartPtr<OpenOperation> const left = new OpenOperation("left", std::nullopt);
    EXPECT_EQ(1, left->numInputs());
    EXPECT_EQ(0, left->numOutputs());
    EXPECT_NE(nullptr, left->getPrimaryInput());
    EXPECT_NE(nullptr, left->getPrimaryImageInput());
    EXPECT_EQ(nullptr, left->getPrimaryOutput());
    EXPECT_EQ(nullptr, left->getPrimaryImageOutput());
    MoxSmartPtr<OpenOperation> const right = new OpenOperation(std::nullopt, "right");
    EXPECT_EQ(0, right->numInputs());
    EXPECT_EQ(1, right->numOutputs());
    EXPECT_EQ(nullptr, right->getPrimaryInput());
    EXPECT_EQ(nullptr, right->getPrimaryImageInput());
    EXPECT_NE(nullptr, right->getPrimaryOutput());
    EXPECT_NE(nullptr, right->getPrimaryImageOutput());
}

TEST_F(QelOperationTest, AnEmptyNameIsAName) {
    MoxSmartPtr<OpenOperation> const op = new OpenOperation("", "");
    ASSERT_EQ(1, op->numInputs());
    EXPECT_EQ("", op->getPrimaryInput()->name());
    EXPECT_EQ("", op->getPrimaryOutput()->name());
}

TEST_F(QelOperationTest, ACopyFindsItsOwnPrimaryPointsByName) {
    QelImageInputCP & second = op_->addImageInput("second");
    QelImageOutputCP & other = op_->addImageOutput("other");
    op_->setPrimaryIO(&second, &other);
    op_->connect(&out_);
    MoxSmartPtr<QelTransform> const clone = op_->clone();
    auto & copy = dynamic_cast<OpenOperation &>(*clone);
    EXPECT_EQ(copy.getInputCP(1).get(), copy.getPrimaryInput());
    EXPECT_EQ(copy.getOutputCP(1).get(), copy.getPrimaryOutput());
    EXPECT_EQ(&imageInput(copy, 1), copy.getPrimaryImageInput());
    EXPECT_EQ(&imageOutput(copy, 1), copy.getPrimaryImageOutput());
    EXPECT_EQ(nullptr, copy.getPrimaryInput()->getConnectedOutput(false).get());
    EXPECT_EQ("op", copy.getLabel());
}

TEST_F(QelOperationTest, ACopyHasNoPrimaryPointsWhereTheOriginalHasNone) {
    op_->setPrimaryIO(nullptr, nullptr);
    MoxSmartPtr<QelTransform> const clone = op_->clone();
    auto & copy = dynamic_cast<OpenOperation &>(*clone);
    EXPECT_EQ(1, copy.numInputs());
    EXPECT_EQ(nullptr, copy.getPrimaryInput());
    EXPECT_EQ(nullptr, copy.getPrimaryOutput());
    EXPECT_EQ(nullptr, copy.getPrimaryImageInput());
    EXPECT_EQ(nullptr, copy.getPrimaryImageOutput());
}

TEST_F(QelOperationTest, ACopyKeepsPrimaryPointsThatAreNoImagePoints) {
    MoxSmartPtr<PictureInput> const input = new PictureInput("pictures");
    MoxSmartPtr<PictureOutput> const output = new PictureOutput("pictures");
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
    op_->setPrimaryIO(input.get(), output.get());
    MoxSmartPtr<QelTransform> const clone = op_->clone();
    auto & copy = dynamic_cast<OpenOperation &>(*clone);
    EXPECT_EQ(copy.getInputCP(1).get(), copy.getPrimaryInput());
    EXPECT_EQ(copy.getOutputCP(1).get(), copy.getPrimaryOutput());
    EXPECT_EQ(nullptr, copy.getPrimaryImageInput());
    EXPECT_EQ(nullptr, copy.getPrimaryImageOutput());
}

TEST_F(QelOperationTest, ACopyThatForgotItsTransformIsRefused) {
    MoxSmartPtr<ForgetfulOperation> const forgetful = new ForgetfulOperation();
    expectRaises(QelErrorCode::notCopyConstructed,
                 "The QelTransform derivative's copy constructor did not initialize it's "
                 "QelTransform part via the QelTransform copy constructor.",
                 [&] { (void)forgetful->clone(); });
}

// ---- setPrimaryIO()

TEST_F(QelOperationTest, SetPrimaryIOOfNullsClearsAllFourAndRaisesNothing) {
    op_->setPrimaryIO(nullptr, nullptr);
    EXPECT_EQ((Primaries{nullptr, nullptr, nullptr, nullptr}), primaries());
    EXPECT_EQ(1, op_->numInputs());
    EXPECT_EQ(1, op_->numOutputs());
}

TEST_F(QelOperationTest, SetPrimaryIOOfOneNullClearsThatSide) {
    QelInputConnectionPoint * const input = op_->getPrimaryInput();
    QelOutputConnectionPoint * const output = op_->getPrimaryOutput();
    op_->setPrimaryIO(input, nullptr);
    EXPECT_EQ((Primaries{input, nullptr, &imageInput(*op_), nullptr}), primaries());
    op_->setPrimaryIO(nullptr, output);
    EXPECT_EQ((Primaries{nullptr, output, nullptr, &imageOutput(*op_)}), primaries());
}

TEST_F(QelOperationTest, SetPrimaryIOChoosesOtherPoints) {
    QelImageInputCP & input = op_->addImageInput("second");
    QelImageOutputCP & output = op_->addImageOutput("other");
    EXPECT_FALSE(op_->isStatusOk());
    op_->setPrimaryIO(&input, &output);
    EXPECT_EQ((Primaries{static_cast<QelInputConnectionPoint *>(&input),
                         static_cast<QelOutputConnectionPoint *>(&output), &input, &output}),
              primaries());
    // A thing of construction, which marks nothing.
    EXPECT_TRUE(op_->setupDone());
}

TEST_F(QelOperationTest, SetPrimaryIOTakesOtherPointsThatImagesFlowThrough) {
    MoxSmartPtr<PictureInput> const input = new PictureInput("pictures");
    MoxSmartPtr<PictureOutput> const output = new PictureOutput("pictures");
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
    op_->setPrimaryIO(input.get(), output.get());
    EXPECT_EQ(input.get(), op_->getPrimaryInput());
    EXPECT_EQ(output.get(), op_->getPrimaryOutput());
    EXPECT_EQ(nullptr, op_->getPrimaryImageInput());
    EXPECT_EQ(nullptr, op_->getPrimaryImageOutput());
}

constexpr char const * incompatibleInput =
    "QelOperation::setPrimaryIO( ) was passed an input connection point which is not compatible "
    "with image connection points";
constexpr char const * foreignInput =
    "QelOperation::setPrimaryIO( ) was passed an input connection point which is not owned by the "
    "operation";
constexpr char const * incompatibleOutput =
    "QelOperation::setPrimaryIO( ) was passed an output connection point which is not compatible "
    "with image connection points";
constexpr char const * foreignOutput =
    "QelOperation::setPrimaryIO( ) was passed an output connection point which is not owned by the "
    "operation";

TEST_F(QelOperationTest, SetPrimaryIORefusesPointsThatNoImagesFlowThrough) {
    MoxSmartPtr<NumbersInput> const input = new NumbersInput("numbers");
    MoxSmartPtr<NumbersOutput> const output = new NumbersOutput("numbers");
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleInput, input.get(), nullptr);
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleOutput, nullptr, output.get());
    // The input is tested first.
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleInput, input.get(), output.get());
}

TEST_F(QelOperationTest, SetPrimaryIOWithAnInputOfAnotherTransformRaises68AndChangesNothing) {
    MoxSmartPtr<AddTransform> const other = new AddTransform();
    expectRefused(QelErrorCode::sameTransform, foreignInput, other->getPrimaryInput(), nullptr);
    expectRefused(QelErrorCode::sameTransform, foreignInput, other->getPrimaryInput(),
                  op_->getPrimaryOutput());
}

TEST_F(QelOperationTest, SetPrimaryIORefusesAnOutputOfAnotherTransform) {
    expectRefused(QelErrorCode::sameTransform, foreignOutput, nullptr, &out_);
    expectRefused(QelErrorCode::sameTransform, foreignOutput, op_->getPrimaryInput(), &out_);
}

TEST_F(QelOperationTest, SetPrimaryIORefusesPointsWithoutOwner) {
    QelImageInputCP input("free");
    QelImageOutputCP output("free");
    expectRefused(QelErrorCode::sameTransform, foreignInput, &input, nullptr);
    expectRefused(QelErrorCode::sameTransform, foreignOutput, nullptr, &output);
}

TEST_F(QelOperationTest, SetPrimaryIOTestsTheKindAheadOfTheOwner) {
    NumbersInput input("free");
    NumbersOutput output("free");
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleInput, &input, nullptr);
    expectRefused(QelErrorCode::incompatiblePoints, incompatibleOutput, nullptr, &output);
}

// ---- connect(), connectTo()

TEST_F(QelOperationTest, ConnectsItsPrimaryInput) {
    op_->connect(&out_);
    EXPECT_EQ(&out_, op_->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOperationTest, ConnectsAnInputToItsPrimaryOutput) {
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    op_->connectTo(add->getPrimaryInput());
    EXPECT_EQ(op_->getPrimaryOutput(), add->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOperationTest, ConnectsItsPrimaryInputToThePrimaryOutputOfAnother) {
    MoxSmartPtr<QelOperation> const other = new JointTransform(1, 2);
    op_->connect(other);
    EXPECT_EQ(other->getPrimaryOutput(), op_->getPrimaryInput()->getConnectedOutput(false).get());
    // The forms of the transform are still there.
    op_->connect(0, source_.get(), 0);
    EXPECT_EQ(&out_, op_->getPrimaryInput()->getConnectedOutput(false).get());
    op_->connect("in", other.get(), "out1");
    EXPECT_EQ(other->getOutputCP(1).get(), op_->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOperationTest, ConnectKeepsAnOperationThatNobodyElseHolds) {
    op_->connect(MoxSmartPtr<QelOperation>(new AddTransform()));
    EXPECT_EQ("AddTransform", op_->getPrimaryInput()->upstreamTransform()->getClassName());
}

TEST_F(QelOperationTest, ConnectPassesTheRulesOn) {
    expectRaises(QelErrorCode::nullPointer,
                 "NULL connection point passed to connect() against \"in\" of transform \"op\"",
                 [&] { op_->connect(static_cast<QelOutputConnectionPoint *>(nullptr)); });
    QelGraphTesting::setLocked(*op_->getPrimaryInput(), true);
    expectRaises(QelErrorCode::cannotConnect,
                 "Cannot change connection information for cp named \"in\" of transform \"op\"",
                 [&] { op_->connect(&out_); });
}

TEST_F(QelOperationTest, ConnectToAnOperationWithoutPrimaryOutput) {
    MoxSmartPtr<QelOperation> const other = new JointTransform(1, 0);
    expectRaises(QelErrorCode::nullPointer,
                 "NULL connection point passed to connect() against \"in\" of transform \"op\"",
                 [&] { op_->connect(other); });
    EXPECT_EQ(nullptr, op_->getPrimaryInput()->getConnectedOutput(false).get());
}

constexpr char const * nullText = "Argument is a NULL pointer";

TEST_F(QelOperationTest, ConnectToNoOperation) {
    op_->connect(&out_);
    expectRaises(QelErrorCode::nullPointer, nullText,
                 [&] { op_->connect(MoxSmartPtr<QelOperation>()); });
    EXPECT_EQ(&out_, op_->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOperationTest, ConnectToNoInput) {
    expectRaises(QelErrorCode::nullPointer, nullText, [&] { op_->connectTo(nullptr); });
}

TEST_F(QelOperationTest, ConnectWithoutPrimaryPoints) {
    op_->setPrimaryIO(nullptr, nullptr);
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    add->setLabel("add");
    expectRaises(QelErrorCode::nullPointer, nullText, [&] { op_->connect(&out_); });
    expectRaises(QelErrorCode::nullPointer, nullText,
                 [&] { op_->connect(MoxSmartPtr<QelOperation>(add)); });
    expectRaises(QelErrorCode::nullPointer,
                 "NULL connection point passed to connect() against \"in\" of transform \"add\"",
                 [&] { op_->connectTo(add->getPrimaryInput()); });
}

// ---- Removing points

constexpr char const * primaryInputText =
    "It is illegal to remove the primary input connection point:  input CP in of operation op "
    "(OpenOperation)";
constexpr char const * primaryOutputText =
    "It is illegal to remove the primary output connection point:  output CP out of operation op "
    "(OpenOperation)";

TEST_F(QelOperationTest, ThePrimaryInputIsNotRemoved) {
    op_->connect(&out_);
    expectRaises(QelErrorCode::primaryPoint, primaryInputText,
                 [&] { op_->removeInputConnectionPoint(op_->getPrimaryInput()); });
    expectRaises(QelErrorCode::primaryPoint, primaryInputText,
                 [&] { op_->removeInputConnectionPoint(0); });
    expectRaises(QelErrorCode::primaryPoint, primaryInputText,
                 [&] { op_->removeInputConnectionPoint("in"); });
    EXPECT_EQ(1, op_->numInputs());
    EXPECT_EQ(&out_, op_->getPrimaryInput()->getConnectedOutput(false).get());
}

TEST_F(QelOperationTest, ThePrimaryOutputIsNotRemoved) {
    expectRaises(QelErrorCode::primaryPoint, primaryOutputText,
                 [&] { op_->removeOutputConnectionPoint(op_->getPrimaryOutput()); });
    expectRaises(QelErrorCode::primaryPoint, primaryOutputText,
                 [&] { op_->removeOutputConnectionPoint(0); });
    expectRaises(QelErrorCode::primaryPoint, primaryOutputText,
                 [&] { op_->removeOutputConnectionPoint("out"); });
    EXPECT_EQ(1, op_->numOutputs());
}

TEST_F(QelOperationTest, OtherPointsAreRemoved) {
    op_->addImageInput("a");
    op_->addImageInput("b");
    QelImageInputCP const & c = op_->addImageInput("c");
    op_->removeInputConnectionPoint("a");
    op_->removeInputConnectionPoint(&c);
    op_->removeInputConnectionPoint(1);
    EXPECT_EQ(1, op_->numInputs());
    op_->addImageOutput("a");
    op_->addImageOutput("b");
    QelImageOutputCP const & d = op_->addImageOutput("d");
    op_->removeOutputConnectionPoint("a");
    op_->removeOutputConnectionPoint(&d);
    op_->removeOutputConnectionPoint(1);
    EXPECT_EQ(1, op_->numOutputs());
}

TEST_F(QelOperationTest, PointsThatAreNotThereAreRefusedAsByATransform) {
    expectRaises(
        QelErrorCode::outOfRange,
        "In a call of QelTransform::removeInputConnectionPoint for transform "
        "op(OpenOperation) the input connection point is NULL",
        [&] {
            op_->removeInputConnectionPoint(static_cast<QelInputConnectionPoint const *>(nullptr));
        });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "op(OpenOperation) the output connection point named x is "
                 "not on the transforms output CP list.",
                 [&] { op_->removeOutputConnectionPoint("x"); });
    EXPECT_THROW(op_->removeInputConnectionPoint(1), std::out_of_range);
    EXPECT_THROW(op_->removeInputConnectionPoint(-1), std::out_of_range);
    EXPECT_THROW(op_->removeOutputConnectionPoint(1), std::out_of_range);
}

TEST_F(QelOperationTest, NullIsRefusedAsByATransformWithoutPrimaryPointsToo) {
    // A null pointer is not taken for the primary point that there is not.
    op_->setPrimaryIO(nullptr, nullptr);
    expectRaises(
        QelErrorCode::outOfRange,
        "In a call of QelTransform::removeInputConnectionPoint for transform "
        "op(OpenOperation) the input connection point is NULL",
        [&] {
            op_->removeInputConnectionPoint(static_cast<QelInputConnectionPoint const *>(nullptr));
        });
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeOutputConnectionPoint for transform "
                 "op(OpenOperation) the output connection point is NULL",
                 [&] {
                     op_->removeOutputConnectionPoint(
                         static_cast<QelOutputConnectionPoint const *>(nullptr));
                 });
}

TEST_F(QelOperationTest, APrimaryPointIsRemovedThroughTheTransformItself) {
    static_cast<QelTransform &>(*op_).removeInputConnectionPoint("in");
    EXPECT_EQ(0, op_->numInputs());
    static_cast<QelTransform &>(*op_).removeOutputConnectionPoint(0);
    EXPECT_EQ(0, op_->numOutputs());
}

TEST_F(QelOperationTest, APrimaryPointThatWasRemovedIsNoneAnyMore) {
    op_->connect(&out_);
    static_cast<QelTransform &>(*op_).removeInputConnectionPoint("in");
    static_cast<QelTransform &>(*op_).removeOutputConnectionPoint("out");
    op_->markOutOfDate(true);
    EXPECT_EQ((Primaries{nullptr, nullptr, nullptr, nullptr}), primaries());
    EXPECT_FALSE(op_->isStatusOk());
    expectQelError(op_->getStatusMessage(), QelErrorCode::noPrimaryInput,
                   "There is no primary input on which to base output attributes for operation "
                   "op(OpenOperation)");
    expectRaises(QelErrorCode::nullPointer, nullText, [&] { op_->connect(&out_); });
    MoxSmartPtr<QelTransform> const clone = op_->clone();
    EXPECT_EQ(nullptr, dynamic_cast<OpenOperation &>(*clone).getPrimaryInput());
}

TEST_F(QelOperationTest, NoOtherPointTakesThePlaceOfAPrimaryPointThatWasRemoved) {
    op_->addImageInput("second");
    op_->addImageOutput("other");
    static_cast<QelTransform &>(*op_).removeInputConnectionPoint("in");
    static_cast<QelTransform &>(*op_).removeOutputConnectionPoint("out");
    EXPECT_EQ((Primaries{nullptr, nullptr, nullptr, nullptr}), primaries());
    EXPECT_FALSE(op_->isStatusOk());
    EXPECT_NO_THROW(op_->removeInputConnectionPoint("second"));
}

TEST_F(QelOperationTest, APrimaryPointThatWasRemovedAndLivesOnIsNoneEither) {
    MoxSmartPtr<QelInputConnectionPoint> const input = op_->getPrimaryInput();
    OutputCapture const capture;
    static_cast<QelTransform &>(*op_).removeInputConnectionPoint(input.get());
    EXPECT_EQ("Input connection point being removed will be dangling\n", capture.text());
    EXPECT_EQ(nullptr, op_->getPrimaryInput());
    expectRaises(QelErrorCode::outOfRange,
                 "In a call of QelTransform::removeInputConnectionPoint for transform "
                 "op(OpenOperation) the input connection point (named in) is not on the transforms "
                 "input CP list; the input CP claims to belong to transform op(OpenOperation)",
                 [&] { op_->removeInputConnectionPoint(input.get()); });
}

}  // namespace

#include <optional>
#include <string>

#include "OperationTesting.h"
#include "QelColorSpaces.h"

namespace {

class QelOperationSetupTest : public testing::Test {
  protected:
    QelOperationSetupTest() {
        source_->setLabel("source");
        op_->setLabel("op");
    }

    void expectStatus(int code, std::string const & text) {
        EXPECT_FALSE(op_->isStatusOk());
        expectQelError(op_->getStatusMessage(), code, text);
    }

    EventLog log_;
    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<OpenOperation> op_ = new OpenOperation("in", "out");
    QelImageOutputCP & out_ = imageOutput(*source_);
};

// ---- setupTransform()

TEST_F(QelOperationSetupTest, DescribesItsOutputAsThePrimaryInputIs) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    QelImageOutputCP & described = plain->addImageOutput("out");
    plain->settlesOutputs = true;
    MoxSmartPtr<QelColorSpace> const lum = new QelLumColorSpace();
    MoxSmartPtr<QelDataOrg> const org = TestImage{.bands = 1, .type = QelDataType::Short}.dataOrg();
    described.setAttributes(org, new QelXyCoordSpace(70, 50), lum, nullptr, true);
    op_->connect(&described);
    EXPECT_TRUE(op_->isStatusOk());
    QelImageOutputCP & output = *op_->getPrimaryImageOutput();
    EXPECT_TRUE(output.streamData()->statusOk());
    EXPECT_FALSE(output.streamData()->outOfDate());
    EXPECT_EQ(org.get(), output.getDataOrg().get());
    EXPECT_EQ(lum.get(), output.getColorSpace().get());
    EXPECT_EQ(70u, output.getCoordSpace()->numPixelsWide());
    EXPECT_EQ(50u, output.getCoordSpace()->numPixelsHigh());
}

TEST_F(QelOperationSetupTest, DescribesAllItsImageOutputs) {
    op_->addImageOutput("second");
    op_->setPrimaryIO(op_->getPrimaryInput(), nullptr);
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(imageOutput(*op_, i).streamData()->statusOk());
        EXPECT_EQ(out_.getDataOrg().get(), imageOutput(*op_, i).getDataOrg().get());
        EXPECT_EQ(300u, imageOutput(*op_, i).getCoordSpace()->numPixelsWide());
    }
}

TEST_F(QelOperationSetupTest, OutputsThatAreNoImagesAreGood) {
    MoxSmartPtr<NumbersOutput> const numbers = new NumbersOutput("numbers");
    numbers->giveData();
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(numbers));
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_TRUE(numbers->streamData()->statusOk());
    EXPECT_FALSE(numbers->streamData()->outOfDate());
}

// Notes when its status is settled.
class SettledOutput : public NumbersOutput {
  public:
    SettledOutput(std::string const & name, EventLog & log)
        : QelConnectionPoint(name), NumbersOutput(name), log_(log) {
        giveData();
    }
    void setStatusOK() override {
        log_.push_back(name() + " good");
        NumbersOutput::setStatusOK();
    }

  private:
    EventLog & log_;
};

TEST_F(QelOperationSetupTest, SettlesItsOutputsFromTheLastToTheFirst) {
    for (char const * const name : {"a", "b", "c"}) {
        op_->addConnectionPoint(
            MoxSmartPtr<QelOutputConnectionPoint>(new SettledOutput(name, log_)));
    }
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((EventLog{"c good", "b good", "a good"}), log_);
}

TEST_F(QelOperationSetupTest, LeavesTheStatusOfAPrimaryOutputThatIsNoImageOutput) {
    MoxSmartPtr<PictureOutput> const pictures = new PictureOutput("pictures");
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(pictures));
    op_->setPrimaryIO(op_->getPrimaryInput(), pictures.get());
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_TRUE(pictures->streamData()->outOfDate());
    EXPECT_TRUE(imageOutput(*op_).streamData()->statusOk());
}

TEST_F(QelOperationSetupTest, AsksItsInputsFromTheLastToTheFirst) {
    for (char const * const name : {"a", "b", "c"}) {
        op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new NotedInput(name, log_)));
    }
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((EventLog{"c status", "b status", "a status"}), log_);
}

TEST_F(QelOperationSetupTest, SetsUpAllThatIsUpstreamBeforeItComplains) {
    MoxSmartPtr<AddTransform> const add = new AddTransform();
    add->connect(&out_);
    MoxSmartPtr<JointTransform> const joint = new JointTransform(3, 1);
    joint->getInputCP(2)->connect(add->getPrimaryOutput());
    EXPECT_FALSE(joint->isStatusOk());
    EXPECT_EQ(1, add->setups());
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelOperationSetupTest, WithoutInputNameAndSetPrimaryIOTheStatusHasCode70) {
    op_ = new OpenOperation(std::nullopt, "out");
    op_->setLabel("op");
    expectStatus(QelErrorCode::noPrimaryInput,
                 "There is no primary input on which to base output attributes for operation "
                 "op(OpenOperation)");
    expectQelError(op_->getOutputCP(0)->getStatusMessage(), QelErrorCode::noPrimaryInput,
                   "There is no primary input on which to base output attributes for operation "
                   "op(OpenOperation)");
    EXPECT_FALSE(op_->getOutputCP(0)->getStatus());
}

TEST_F(QelOperationSetupTest, AsksTheInputsEvenWithoutPrimaryInput) {
    op_->setPrimaryIO(nullptr, op_->getPrimaryOutput());
    op_->getInputCP(0)->connect(&out_);
    EXPECT_FALSE(op_->isStatusOk());
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelOperationSetupTest, AnUnconnectedPrimaryInputIsInvalid) {
    expectStatus(QelErrorCode::notConnected,
                 "Input in of transform op(OpenOperation) is not connected\n"
                 "Transform op(OpenOperation) has invalid inputs");
}

TEST_F(QelOperationSetupTest, WithABadPrimaryInputTheUpstreamTextComesFirst) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->problem = "out of ink";
    op_->connect(&plain->addImageOutput("out"));
    expectStatus(QelErrorCode::invalidValue,
                 "out of ink\n"
                 "Transform op(OpenOperation) has invalid inputs");
    expectQelError(op_->getPrimaryOutput()->getStatusMessage(), QelErrorCode::invalidValue,
                   "out of ink\n"
                   "Transform op(OpenOperation) has invalid inputs");
    // The error of the source itself is as it was.
    expectQelError(plain->getStatusMessage(), QelErrorCode::invalidValue, "out of ink");
}

TEST_F(QelOperationSetupTest, EachTransformOfAChainAddsItsLine) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(1, 1);
    joint->setLabel("joint");
    op_->connect(MoxSmartPtr<QelOperation>(joint));
    expectStatus(QelErrorCode::notConnected,
                 "Input in0 of transform joint(JointTransform) is not connected\n"
                 "Transform joint(JointTransform) has invalid inputs\n"
                 "Transform op(OpenOperation) has invalid inputs");
}

TEST_F(QelOperationSetupTest, DoesNotCareForTheOtherInputs) {
    op_->addImageInput("unconnected");
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->problem = "out of ink";
    op_->addImageInput("bad").connect(&plain->addImageOutput("out"));
    op_->connect(&out_);
    EXPECT_TRUE(op_->isStatusOk());
}

TEST_F(QelOperationSetupTest, SetsUpThroughAliases) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & right = around->addOutputAlias("right");
    MemberScope const members(*around, {source_.get()});
    right.connect(&out_);
    op_->connect(&right);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ(300u, op_->getPrimaryImageOutput()->getCoordSpace()->numPixelsWide());
    EXPECT_EQ(out_.getDataOrg().get(), op_->getPrimaryImageOutput()->getDataOrg().get());
}

TEST_F(QelOperationSetupTest, NeedsAnImageOutputAtTheOtherEnd) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    MoxSmartPtr<PictureOutput> const pictures = new PictureOutput("pictures");
    plain->addOutput(pictures);
    plain->settlesOutputs = true;
    op_->connect(pictures.get());
    expectStatus(QelErrorCode::setupFailed,
                 "SetupTransform in transform op(OpenOperation) failed with "
                 "an exception and this message:\nQEL error 3\ndefault implementation of "
                 "QelOperation::setupTransform requires that primary input be directly or "
                 "indirectly connected to an QelImageOutputCP");
}

TEST_F(QelOperationSetupTest, NeedsNoImageOutputAtTheOtherEndWithoutImageOutputs) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    MoxSmartPtr<PictureOutput> const pictures = new PictureOutput("pictures");
    plain->addOutput(pictures);
    plain->settlesOutputs = true;
    op_ = new OpenOperation("in", std::nullopt);
    op_->connect(pictures.get());
    EXPECT_TRUE(op_->isStatusOk());
}

TEST_F(QelOperationSetupTest, WhatADerivedSetUpRaisesBecomesTheStatus) {
    op_->connect(&out_);
    op_->further = [] { qelRaise(QelErrorCode::invalidValue, "no thanks"); };
    expectStatus(QelErrorCode::setupFailed,
                 "SetupTransform in transform op(OpenOperation) failed with "
                 "an exception and this message:\nQEL error 13\nno thanks");
    EXPECT_FALSE(op_->getOutputCP(0)->getStatus());
}

TEST_F(QelOperationSetupTest, IsSetUpOnceUntilSomethingChanges) {
    op_->connect(&out_);
    EXPECT_EQ(0, op_->setups);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_TRUE(op_->getPrimaryOutput()->getStatus());
    (void)op_->getStatusMessage();
    EXPECT_EQ(1, op_->setups);
    source_->setAttributeValue("level", 2.0);
    EXPECT_FALSE(op_->setupDone());
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ(2, op_->setups);
}

// ---- Types

TEST_F(QelOperationSetupTest, CheckInputTypeComparesTheElementType) {
    op_->connect(&out_);
    op_->further = [&] { op_->checkInputType(QelDataType::UChar, 0); };
    EXPECT_TRUE(op_->isStatusOk());
    op_->further = [&] { op_->checkInputType(QelDataType::Short, 0); };
    op_->markOutOfDate(true);
    expectStatus(QelErrorCode::unsuitableType,
                 "Input data type (unsigned char) does not match the template data type (short) in "
                 "op(OpenOperation)");
}

TEST_F(QelOperationSetupTest, CheckOutputTypeComparesTheElementType) {
    op_->connect(&out_);
    op_->further = [&] { op_->checkOutputType(QelDataType::UChar, 0); };
    EXPECT_TRUE(op_->isStatusOk());
    op_->further = [&] { op_->checkOutputType(QelDataType::Float, 0); };
    op_->markOutOfDate(true);
    expectStatus(QelErrorCode::unsuitableType,
                 "Output data type (unsigned char) does not match the template data type (float) "
                 "in op(OpenOperation)");
}

TEST_F(QelOperationSetupTest, CheckTypesOfThePrimaryPointsByDefault) {
    op_->addImageInput("second");
    op_->addImageOutput("other");
    op_->connect(&out_);
    op_->further = [&] {
        op_->checkInputType(QelDataType::UChar);
        op_->checkOutputType(QelDataType::UChar);
        op_->checkInputTypeSwitch();
        op_->checkOutputTypeSwitch();
    };
    EXPECT_TRUE(op_->isStatusOk());
}

TEST_F(QelOperationSetupTest, TypesOfOneSizeAreNotTheSame) {
    op_->connect(&out_);
    op_->further = [&] { op_->checkInputType(QelDataType::Char); };
    expectStatus(QelErrorCode::unsuitableType,
                 "Input data type (unsigned char) does not match the template data type (char) in "
                 "op(OpenOperation)");
}

TEST_F(QelOperationSetupTest, CheckTypesOfThePrimaryPointsWhereverTheyStand) {
    MoxSmartPtr<SourceTransform> const floats =
        new SourceTransform({.width = 30, .height = 20, .type = QelDataType::Float});
    QelImageInputCP & second = op_->addImageInput("second");
    op_->setPrimaryIO(&second, op_->getPrimaryOutput());
    second.connect(&imageOutput(*floats));
    op_->getInputCP(0)->connect(&out_);
    op_->further = [&] { op_->checkInputType(QelDataType::Float); };
    EXPECT_TRUE(op_->isStatusOk());
}

TEST_F(QelOperationSetupTest, OnlyThreeTypesAreDispatchedByAtRunTime) {
    struct Case {
        QelDataType::Code type;
        char const * name;
        bool isSupported;
    };
    for (Case const & c :
         {Case{QelDataType::UChar, "unsigned char", true}, Case{QelDataType::Short, "short", true},
          Case{QelDataType::Float, "float", true}, Case{QelDataType::Long, "long", false},
          Case{QelDataType::Double, "double", false},
          Case{QelDataType::UShort, "unsigned short", false},
          Case{QelDataType::Char, "char", false},
          Case{QelDataType::ULong, "unsigned long", false}}) {
        SCOPED_TRACE(c.name);
        MoxSmartPtr<SourceTransform> const typed =
            new SourceTransform({.width = 30, .height = 20, .type = c.type});
        op_->connect(&imageOutput(*typed));
        op_->further = [&] { op_->checkInputTypeSwitch(0); };
        EXPECT_EQ(c.isSupported, op_->isStatusOk());
        std::string const rest = std::string(" data type (") + c.name +
                                 ") is not a run-time supported (typeswitch) type: transform "
                                 "op(OpenOperation)";
        if (!c.isSupported) expectStatus(QelErrorCode::unsuitableType, "Input" + rest);
        op_->further = [&] { op_->checkOutputTypeSwitch(0); };
        op_->markOutOfDate(true);
        EXPECT_EQ(c.isSupported, op_->isStatusOk());
        if (!c.isSupported) expectStatus(QelErrorCode::unsuitableType, "Output" + rest);
    }
}

TEST_F(QelOperationSetupTest, CheckTypesOfOtherPoints) {
    MoxSmartPtr<SourceTransform> const doubles =
        new SourceTransform({.width = 30, .height = 20, .type = QelDataType::Double});
    op_->addImageInput("second").connect(&imageOutput(*doubles));
    op_->connect(&out_);
    op_->further = [&] { op_->checkInputTypeSwitch(1); };
    expectStatus(QelErrorCode::unsuitableType,
                 "Input data type (double) is not a run-time supported (typeswitch) type: "
                 "transform op(OpenOperation)");
}

TEST_F(QelOperationSetupTest, CheckTypesOfPointsThatAreNoImagePointsRaise) {
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new NumbersInput("numbers")));
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new NumbersOutput("numbers")));
    char const * const input = "Input 1 of transform op(OpenOperation) is not an image input";
    char const * const output = "Output 1 of transform op(OpenOperation) is not an image output";
    expectRaises(QelErrorCode::misuse, input, [&] { op_->checkInputType(QelDataType::Short, 1); });
    expectRaises(QelErrorCode::misuse, input, [&] { op_->checkInputTypeSwitch(1); });
    expectRaises(QelErrorCode::misuse, output,
                 [&] { op_->checkOutputType(QelDataType::Short, 1); });
    expectRaises(QelErrorCode::misuse, output, [&] { op_->checkOutputTypeSwitch(1); });
    EXPECT_FALSE(op_->setupDone());
}

TEST_F(QelOperationSetupTest, CheckTypesOfPointsThatAreNotThereRaise) {
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform op does not have an input CP with index 3; there are only 1 connection "
                 "points",
                 [&] { op_->checkInputTypeSwitch(3); });
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform op does not have an output CP with index 3; there are only 1 "
                 "connection points",
                 [&] { op_->checkOutputTypeSwitch(3); });
}

TEST_F(QelOperationSetupTest, CheckTypesWithoutPrimaryPointsRaise) {
    op_->setPrimaryIO(nullptr, nullptr);
    EXPECT_EQ(QelErrorCode::misuse, errorOf([&] { op_->checkInputTypeSwitch(); })->getErrcode());
    EXPECT_EQ(QelErrorCode::misuse,
              errorOf([&] { op_->checkInputType(QelDataType::UChar); })->getErrcode());
    EXPECT_EQ(QelErrorCode::misuse, errorOf([&] { op_->checkOutputTypeSwitch(); })->getErrcode());
    EXPECT_EQ(QelErrorCode::misuse,
              errorOf([&] { op_->checkOutputType(QelDataType::UChar); })->getErrcode());
}

// ---- outputInfo()

TEST_F(QelOperationSetupTest, OutputInfoMovesARegionIntoTheSpaceOfTheInput) {
    op_->connect(&out_);
    MoxSmartPtr<QelXyCoordSpace> const half = new QelXyCoordSpace(150, 100);
    QelXySimpleRegion const region(half.get(), 15, 10, 30, 20);
    MoxSmartPtr<QelXyRegion> const info = op_->outputInfo(region, QelTileId(0, 0, 300, 200));
    ASSERT_TRUE(info);
    EXPECT_EQ(300u, info->xyCoordSpace()->numPixelsWide());
    EXPECT_EQ(200u, info->xyCoordSpace()->numPixelsHigh());
    EXPECT_EQ(QelRect(30, 20, 60, 40), info->pixelBounds());
    // Both the region and the input are as they were.
    EXPECT_EQ(QelRect(15, 10, 30, 20), region.pixelBounds());
    EXPECT_NE(out_.getCoordSpace().get(), info->xyCoordSpace().get());
}

TEST_F(QelOperationSetupTest, OutputInfoSelectsTheResolution) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->settlesOutputs = true;
    MoxSmartPtr<QelXyCoordSpace> const space =
        new QelXyCoordSpace(QelValue(10.0, QEL_UNIT_INCH), QelValue(5.0, QEL_UNIT_INCH));
    space->addResolution(100, 50);
    space->addResolution(400, 200);
    space->clearSelection();
    QelImageOutputCP & output = plain->addImageOutput("out");
    output.setCoordSpace(space);
    op_->connect(&output);
    QelXySimpleRegion const region(space.get());
    MoxSmartPtr<QelXyRegion> const info = op_->outputInfo(region, QelTileId(0, 0, 400, 200));
    ASSERT_TRUE(info);
    EXPECT_EQ(400u, info->xyCoordSpace()->numPixelsWide());
    EXPECT_EQ(200u, info->xyCoordSpace()->numPixelsHigh());
    EXPECT_FALSE(space->hasSelectedResolution());
}

TEST_F(QelOperationSetupTest, OutputInfoRefusesAResolutionThatTheInputLacks) {
    op_->connect(&out_);
    QelXySimpleRegion const region(out_.getCoordSpace().get());
    expectRaises(QelErrorCode::noSuchResolution,
                 "requested resolution, 150x100 pixels, is not supported by coordinate space\n"
                 "    [(300,200)]",
                 [&] { (void)op_->outputInfo(region, QelTileId(0, 0, 150, 100)); });
    // One that is not known is none.
    expectRaises(QelErrorCode::zeroPixelsWide,
                 "request to select zero pixel-wide resolution of coordinate space",
                 [&] { (void)op_->outputInfo(region, QelTileId(0, 0)); });
    expectRaises(QelErrorCode::zeroPixelsWide,
                 "request to select zero pixel-high resolution of coordinate space",
                 [&] { (void)op_->outputInfo(region, QelTileId(0, 0, 300)); });
}

TEST_F(QelOperationSetupTest, OutputInfoWithoutAnInputThatKnowsItsSpaceIsNull) {
    MoxSmartPtr<QelXyCoordSpace> const space = new QelXyCoordSpace(150, 100);
    QelXySimpleRegion const region(space.get(), 15, 10, 30, 20);
    EXPECT_FALSE(op_->outputInfo(region, QelTileId(0, 0, 150, 100)));
    op_->setPrimaryIO(nullptr, nullptr);
    EXPECT_FALSE(op_->outputInfo(region, QelTileId(0, 0, 150, 100)));
}

}  // namespace

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "OperationTesting.h"

namespace {

class OpenPointOperation : public QelPointOperation {
  public:
    OpenPointOperation() : QelPointOperation("in", "out") {}
    OpenPointOperation(OpenPointOperation const &) = default;
    ~OpenPointOperation() override = default;

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new OpenPointOperation(*this));
    }
    using QelOperation::setPrimaryIO;

    QelImageInputCP & addImageInput(std::string const & name) {
        MoxSmartPtr<QelImageInputCP> const input = new QelImageInputCP(name);
        addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
        return *input;
    }
};

// A source that has the given resolutions of an image of 10 by 5 inches; (0, 0) is any resolution.
using Pairs = std::vector<std::pair<unsigned, unsigned>>;

MoxSmartPtr<QelXyCoordSpace> inches(Pairs const & resolutions) {
    MoxSmartPtr<QelXyCoordSpace> const space =
        new QelXyCoordSpace(QelValue(10.0, QEL_UNIT_INCH), QelValue(5.0, QEL_UNIT_INCH));
    for (auto const & [width, height] : resolutions) {
        QelXyCoordSpace::Resolution resolution;
        resolution.horz.pixels = width;
        resolution.vert.pixels = height;
        space->addResolution(resolution);
    }
    return space;
}

Pairs resolutionsOf(QelXyCoordSpace const & space) {
    Pairs pairs;
    for (unsigned i = 0; i < space.numResolutions(); ++i) {
        QelXyCoordSpace::Resolution const resolution = space.getResolution(i);
        pairs.emplace_back(resolution.horz.pixels, resolution.vert.pixels);
    }
    return pairs;
}

class QelPointOperationTest : public testing::Test {
  protected:
    QelPointOperationTest() { op_->setLabel("op"); }

    // An output that has this coordinate space, of a transform that is good.
    QelImageOutputCP & describedBy(MoxSmartPtr<QelXyCoordSpace> const & space) {
        MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
        sources_.push_back(plain);
        plain->settlesOutputs = true;
        QelImageOutputCP & output = plain->addImageOutput("out");
        output.setAttributes(TestImage().dataOrg(), space, nullptr, nullptr, true);
        return output;
    }
    QelImageOutputCP & withResolutions(Pairs const & resolutions) {
        return describedBy(inches(resolutions));
    }
    void expectStatus(int code, std::string const & text) {
        EXPECT_FALSE(op_->isStatusOk());
        expectQelError(op_->getStatusMessage(), code, text);
    }
    Pairs outputResolutions() {
        return resolutionsOf(*op_->getPrimaryImageOutput()->getCoordSpace());
    }

    std::vector<MoxSmartPtr<PlainTransform>> sources_;
    MoxSmartPtr<OpenPointOperation> op_ = new OpenPointOperation();
    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
};

constexpr char const * noCommonText =
    "There are no common resolutions in transform op((anonymous namespace)::OpenPointOperation)";

// ---- Inputs

TEST_F(QelPointOperationTest, IsDescribedAsItsInputIs) {
    op_->connect(&imageOutput(*source_));
    EXPECT_TRUE(op_->isStatusOk());
    QelImageOutputCP & output = *op_->getPrimaryImageOutput();
    EXPECT_EQ(300u, output.getCoordSpace()->numPixelsWide());
    EXPECT_EQ(200u, output.getCoordSpace()->numPixelsHigh());
    EXPECT_EQ(imageOutput(*source_).getDataOrg().get(), output.getDataOrg().get());
}

TEST_F(QelPointOperationTest, AnUnconnectedInputIsReportedByNameAndIndex) {
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) is "
                 "unconnected");
    EXPECT_FALSE(op_->getPrimaryOutput()->getStatus());
}

TEST_F(QelPointOperationTest, AnUnconnectedSecondInputIsReportedByNameAndIndex) {
    op_->addImageInput("second");
    op_->connect(&imageOutput(*source_));
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input second(index 1) of transform op((anonymous namespace)::OpenPointOperation) "
                 "is unconnected");
    // A plain operation does not care.
    MoxSmartPtr<OpenOperation> const plain = new OpenOperation("in", "out");
    plain->addImageInput("second");
    plain->connect(&imageOutput(*source_));
    EXPECT_TRUE(plain->isStatusOk());
}

TEST_F(QelPointOperationTest, ABadInputIsReportedWithItsMessage) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->problem = "out of ink";
    op_->connect(&plain->addImageOutput("out"));
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) has "
                 "bad status: \nQEL error 13\nout of ink");
    expectQelError(op_->getPrimaryOutput()->getStatusMessage(), QelErrorCode::noCommonResolution,
                   "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) "
                   "has bad status: \nQEL error 13\nout of ink");
}

TEST_F(QelPointOperationTest, ABadSecondInputIsReportedWithItsIndex) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->problem = "out of ink";
    op_->addImageInput("second").connect(&plain->addImageOutput("out"));
    op_->connect(&imageOutput(*source_));
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input second(index 1) of transform op((anonymous namespace)::OpenPointOperation) "
                 "has bad status: \nQEL error 13\nout of ink");
}

TEST_F(QelPointOperationTest, TheFirstInputThatIsWrongIsReported) {
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    plain->problem = "out of ink";
    op_->connect(&plain->addImageOutput("out"));
    op_->addImageInput("second");
    EXPECT_EQ(QelErrorCode::noCommonResolution, op_->getStatusMessage().getErrcode());
    EXPECT_THAT(op_->getStatusMessage().getMsg(), testing::HasSubstr("Input in(index 0)"));
    op_->getPrimaryInput()->disconnect();
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) is "
                 "unconnected");
}

TEST_F(QelPointOperationTest, InputsAreTestedInTheOrderOfTheirIndices) {
    EventLog log;
    for (char const * const name : {"a", "b"}) {
        MoxSmartPtr<NotedInput> const input = new NotedInput(name, log);
        op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
        input->connect(&imageOutput(*source_));
    }
    op_->connect(&imageOutput(*source_));
    log.clear();
    EXPECT_TRUE(op_->isStatusOk());
    // The point operation's own questions, then those of an operation.
    EXPECT_EQ((EventLog{"a status", "b status", "b status", "a status"}), log);
}

TEST_F(QelPointOperationTest, InputsBehindTheFirstThatIsUnconnectedAreNotAsked) {
    EventLog log;
    MoxSmartPtr<NotedInput> const input = new NotedInput("a", log);
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    input->connect(&imageOutput(*source_));
    log.clear();
    EXPECT_FALSE(op_->isStatusOk());
    EXPECT_EQ(EventLog(), log);
}

TEST_F(QelPointOperationTest, InputsThatAreNoImagesMustBeGoodToo) {
    MoxSmartPtr<NumbersInput> const input = new NumbersInput("numbers");
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
    op_->connect(&imageOutput(*source_));
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input numbers(index 1) of transform "
                 "op((anonymous namespace)::OpenPointOperation) is unconnected");
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    auto & numbers = plain->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    numbers.giveData();
    plain->settlesOutputs = true;
    input->connect(&numbers);
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ(300u, op_->getPrimaryImageOutput()->getCoordSpace()->numPixelsWide());
}

TEST_F(QelPointOperationTest, AnAliasThatLeadsNowhereHasABadStatus) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    {
        MemberScope const members(*around, {op_.get()});
        op_->connect(&left);
    }
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) has "
                 "bad status: \nQEL error 67\nInput in of transform "
                 "op((anonymous namespace)::OpenPointOperation) is not connected");
}

TEST_F(QelPointOperationTest, EachTransformOfAChainReportsItsInput) {
    MoxSmartPtr<OpenPointOperation> const first = new OpenPointOperation();
    first->setLabel("first");
    op_->connect(MoxSmartPtr<QelOperation>(first));
    expectStatus(QelErrorCode::noCommonResolution,
                 "Input in(index 0) of transform op((anonymous namespace)::OpenPointOperation) has "
                 "bad status: \nQEL error 600\nInput in(index 0) of transform "
                 "first((anonymous namespace)::OpenPointOperation) is unconnected");
}

TEST_F(QelPointOperationTest, WithoutPrimaryInputItIsBadAsAnOperation) {
    op_->setPrimaryIO(nullptr, op_->getPrimaryOutput());
    op_->getInputCP(0)->connect(&imageOutput(*source_));
    expectStatus(QelErrorCode::noPrimaryInput,
                 "There is no primary input on which to base output attributes for operation "
                 "op((anonymous namespace)::OpenPointOperation)");
}

// ---- Resolutions

TEST_F(QelPointOperationTest, KeepsTheResolutionsThatAllInputsHave) {
    op_->connect(&withResolutions({{100, 50}, {200, 100}, {400, 200}}));
    op_->addImageInput("second").connect(&withResolutions({{400, 200}, {100, 50}, {800, 400}}));
    op_->addImageInput("third").connect(&withResolutions({{200, 100}, {400, 200}, {100, 50}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{100, 50}, {400, 200}}), outputResolutions());
    // The inputs keep theirs.
    EXPECT_EQ((Pairs{{100, 50}, {200, 100}, {400, 200}}),
              resolutionsOf(*op_->getPrimaryImageInput()->getCoordSpace()));
    EXPECT_EQ((Pairs{{400, 200}, {100, 50}, {800, 400}}),
              resolutionsOf(*imageInput(*op_, 1).getCoordSpace()));
}

TEST_F(QelPointOperationTest, TwoImageInputsWithNoSharedResolutionAreRefused) {
    op_->connect(&withResolutions({{100, 50}}));
    op_->addImageInput("second").connect(&withResolutions({{200, 100}}));
    expectStatus(QelErrorCode::noCommonResolution, noCommonText);
    EXPECT_FALSE(op_->getPrimaryOutput()->getStatus());
    expectQelError(op_->getPrimaryOutput()->getStatusMessage(), QelErrorCode::noCommonResolution,
                   noCommonText);
}

TEST_F(QelPointOperationTest, TwoPixelBasedInputsOfDifferentSizesAreRefused) {
    op_->connect(&describedBy(new QelXyCoordSpace(100, 50)));
    op_->addImageInput("second").connect(&describedBy(new QelXyCoordSpace(100, 51)));
    expectStatus(QelErrorCode::noCommonResolution, noCommonText);
}

TEST_F(QelPointOperationTest, TwoPixelBasedInputsOfOneSizeAreGood) {
    op_->connect(&describedBy(new QelXyCoordSpace(100, 50)));
    op_->addImageInput("second").connect(&describedBy(new QelXyCoordSpace(100, 50)));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{100, 50}}), outputResolutions());
    EXPECT_TRUE(op_->getPrimaryImageOutput()->getCoordSpace()->hasSelectedResolution());
}

TEST_F(QelPointOperationTest, AnInputOfAnyResolutionRestrictsNothing) {
    op_->connect(&withResolutions({{100, 50}, {200, 100}}));
    op_->addImageInput("second").connect(&withResolutions({{0, 0}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{100, 50}, {200, 100}}), outputResolutions());
}

TEST_F(QelPointOperationTest, APrimaryInputOfAnyResolutionTakesThoseOfTheOthers) {
    op_->connect(&withResolutions({{0, 0}}));
    op_->addImageInput("second").connect(&withResolutions({{100, 50}, {200, 100}}));
    op_->addImageInput("third").connect(&withResolutions({{200, 100}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{200, 100}}), outputResolutions());
}

TEST_F(QelPointOperationTest, TheInputsKeepTheirSelectedResolution) {
    MoxSmartPtr<QelXyCoordSpace> const space = inches({{100, 50}, {200, 100}});
    space->selectResolution(200, 100);
    op_->connect(&describedBy(space));
    op_->addImageInput("second").connect(&withResolutions({{100, 50}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ(200u, space->numPixelsWide());
    EXPECT_EQ(space.get(), op_->getPrimaryImageInput()->getCoordSpace().get());
    EXPECT_FALSE(op_->getPrimaryImageOutput()->getCoordSpace()->hasSelectedResolution());
}

TEST_F(QelPointOperationTest, ThePrimaryInputNeedNotBeTheFirst) {
    op_->connect(&withResolutions({{100, 50}}));
    QelImageInputCP & second = op_->addImageInput("second");
    second.connect(&withResolutions({{200, 100}, {100, 50}}));
    op_->setPrimaryIO(&second, op_->getPrimaryOutput());
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{100, 50}}), outputResolutions());
}

TEST_F(QelPointOperationTest, APrimaryInputWithoutSpaceIsPassedOn) {
    op_->connect(&describedBy(nullptr));
    op_->addImageInput("second").connect(&withResolutions({{100, 50}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_FALSE(op_->getPrimaryImageOutput()->getCoordSpace());
}

TEST_F(QelPointOperationTest, AnInputWithoutSpaceHasNoResolution) {
    op_->connect(&withResolutions({{100, 50}}));
    op_->addImageInput("second").connect(&describedBy(nullptr));
    expectStatus(QelErrorCode::noCommonResolution, noCommonText);
}

TEST_F(QelPointOperationTest, APrimaryInputWithoutResolutionsIsRefused) {
    op_->connect(&withResolutions({}));
    expectStatus(QelErrorCode::noCommonResolution, noCommonText);
}

TEST_F(QelPointOperationTest, WithoutPrimaryImageOutputResolutionsAreNotCompared) {
    op_->setPrimaryIO(op_->getPrimaryInput(), nullptr);
    op_->connect(&withResolutions({{100, 50}}));
    op_->addImageInput("second").connect(&withResolutions({{200, 100}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{100, 50}}), resolutionsOf(*imageOutput(*op_).getCoordSpace()));
}

TEST_F(QelPointOperationTest, OtherOutputsKeepTheResolutionsOfThePrimaryInput) {
    op_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("other")));
    op_->connect(&withResolutions({{100, 50}, {200, 100}}));
    op_->addImageInput("second").connect(&withResolutions({{200, 100}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_EQ((Pairs{{200, 100}}), outputResolutions());
    EXPECT_EQ((Pairs{{100, 50}, {200, 100}}), resolutionsOf(*imageOutput(*op_, 1).getCoordSpace()));
    EXPECT_TRUE(imageOutput(*op_, 1).streamData()->statusOk());
}

TEST_F(QelPointOperationTest, TheStatusRecoversWhenTheInputsAgreeAgain) {
    op_->connect(&withResolutions({{100, 50}}));
    QelImageInputCP & second = op_->addImageInput("second");
    second.connect(&withResolutions({{200, 100}}));
    EXPECT_FALSE(op_->isStatusOk());
    second.connect(&withResolutions({{100, 50}}));
    EXPECT_TRUE(op_->isStatusOk());
    EXPECT_TRUE(op_->getPrimaryOutput()->getStatus());
    expectQelError(op_->getStatusMessage(), QelErrorCode::noStatusMessage,
                   "There is no status message in transform "
                   "op((anonymous namespace)::OpenPointOperation)");
}

// ---- getInputRegion()

TEST_F(QelPointOperationTest, NeedsTheSameRegionInTheSpaceOfTheInput) {
    op_->connect(&imageOutput(*source_));
    MoxSmartPtr<QelXySimpleRegion> const region = op_->getPrimaryImageOutput()->getMaxResRegion();
    region->setPixelBounds(QelRect(20, 10, 50, 40));
    MoxSmartPtr<QelXyRegion> const needed = op_->getInputRegion(*region, 0, 0);
    ASSERT_TRUE(needed);
    EXPECT_EQ(QelRect(20, 10, 50, 40), needed->pixelBounds());
    EXPECT_EQ(300u, needed->xyCoordSpace()->numPixelsWide());
    EXPECT_NE(region.get(), needed.get());
    EXPECT_EQ(QelRect(20, 10, 50, 40), region->pixelBounds());
}

TEST_F(QelPointOperationTest, NeedsTheRegionAtTheSameResolution) {
    op_->connect(&withResolutions({{100, 50}, {200, 100}, {400, 200}}));
    op_->addImageInput("second").connect(&withResolutions({{400, 200}, {200, 100}}));
    MoxSmartPtr<QelXyCoordSpace> const space =
        op_->getPrimaryImageOutput()->getCoordSpace()->cloneXy();
    space->selectResolution(200, 100);
    QelXySimpleRegion const region(space.get(), 20, 10, 50, 40);
    for (int input = 0; input < 2; ++input) {
        MoxSmartPtr<QelXyRegion> const needed = op_->getInputRegion(region, input, 0);
        ASSERT_TRUE(needed);
        EXPECT_EQ(200u, needed->xyCoordSpace()->numPixelsWide());
        EXPECT_EQ(QelRect(20, 10, 50, 40), needed->pixelBounds());
    }
}

TEST_F(QelPointOperationTest, NeedsTheRegionInTheExtentsOfTheInput) {
    // Twice as large in inches, with the same pixels.
    MoxSmartPtr<QelXyCoordSpace> const large =
        new QelXyCoordSpace(QelValue(20.0, QEL_UNIT_INCH), QelValue(10.0, QEL_UNIT_INCH));
    large->addResolution(200, 100);
    op_->connect(&withResolutions({{200, 100}}));
    op_->addImageInput("second").connect(&describedBy(large));
    MoxSmartPtr<QelXyCoordSpace> const space =
        op_->getPrimaryImageOutput()->getCoordSpace()->cloneXy();
    space->selectResolution(200, 100);
    QelXySimpleRegion const region(space.get(), 20, 10, 50, 40);
    MoxSmartPtr<QelXyRegion> const needed = op_->getInputRegion(region, 1, 0);
    ASSERT_TRUE(needed);
    EXPECT_EQ(20.0, needed->xyCoordSpace()->width().value());
    EXPECT_EQ(QelRect(20, 10, 50, 40), needed->pixelBounds());
    EXPECT_FALSE(large->hasSelectedResolution());
}

TEST_F(QelPointOperationTest, NeedsNothingOfAnInputWithoutSpace) {
    QelXyCoordSpace const space(300, 200);
    EXPECT_FALSE(op_->getInputRegion(QelXySimpleRegion(&space, 20, 10, 50, 40), 0, 0));
    op_->connect(&describedBy(nullptr));
    EXPECT_FALSE(op_->getInputRegion(QelXySimpleRegion(&space, 20, 10, 50, 40), 0, 0));
}

TEST_F(QelPointOperationTest, ARegionWithoutSpaceHasNoResolution) {
    op_->connect(&imageOutput(*source_));
    expectRaises(QelErrorCode::zeroPixelsWide,
                 "request to select zero pixel-wide resolution of coordinate space",
                 [&] { (void)op_->getInputRegion(QelXySimpleRegion(), 0, 0); });
}

TEST_F(QelPointOperationTest, ARegionAtAResolutionThatTheInputLacks) {
    op_->connect(&imageOutput(*source_));
    QelXyCoordSpace const space(150, 100);
    expectRaises(QelErrorCode::noSuchResolution,
                 "requested resolution, 150x100 pixels, is not supported by coordinate space\n"
                 "    [(300,200)]",
                 [&] { (void)op_->getInputRegion(QelXySimpleRegion(&space), 0, 0); });
}

TEST_F(QelPointOperationTest, NeedsNothingOfAnInputThatIsNoImage) {
    op_->addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new NumbersInput("numbers")));
    QelXyCoordSpace const space(300, 200);
    EXPECT_FALSE(op_->getInputRegion(QelXySimpleRegion(&space), 1, 0));
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform op does not have an input CP with index 2; there are only 2 connection "
                 "points",
                 [&] { (void)op_->getInputRegion(QelXySimpleRegion(&space), 2, 0); });
}

// ---- Copies

TEST_F(QelPointOperationTest, ACopyIsAPointOperation) {
    op_->addImageInput("second");
    MoxSmartPtr<QelTransform> const clone = op_->clone();
    auto & copy = dynamic_cast<OpenPointOperation &>(*clone);
    EXPECT_EQ(2, copy.numInputs());
    EXPECT_EQ(copy.getInputCP(0).get(), copy.getPrimaryInput());
    copy.setLabel("copy");
    expectQelError(copy.getStatusMessage(), QelErrorCode::noCommonResolution,
                   "Input in(index 0) of transform "
                   "copy((anonymous namespace)::OpenPointOperation) is unconnected");
}

}  // namespace

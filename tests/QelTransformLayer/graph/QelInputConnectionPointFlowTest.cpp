#include <string>

#include "ExpectError.h"
#include "PointTesting.h"

// What arrives at an input, and from where.

namespace {

class QelInputConnectionPointFlowTest : public testing::Test {
  protected:
    QelInputConnectionPointFlowTest() {
        source_->setLabel("source");
        other_->setLabel("other");
        add_->setLabel("add");
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<SourceTransform> other_ = new SourceTransform();
    MoxSmartPtr<AddTransform> add_ = new AddTransform();
    QelImageOutputCP & out_ = imageOutput(*source_);
    QelImageOutputCP & otherOut_ = imageOutput(*other_);
    QelImageInputCP & in_ = imageInput(*add_);
};

// ---- getConnectedOutput()

TEST_F(QelInputConnectionPointFlowTest, ResolvesAliases) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    QelGraphTesting::setAggregate(*add_, around.get());
    in_.connect(&left);
    EXPECT_EQ(&left, in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, in_.getConnectedOutput(true).get());
    left.connect(&out_);
    EXPECT_EQ(&left, in_.getConnectedOutput(false).get());
    EXPECT_EQ(&out_, in_.getConnectedOutput(true).get());
    // The source of an input alias is asked without the transform around.
    EXPECT_EQ(0, around->setups);
    in_.disconnect();
    QelGraphTesting::setAggregate(*add_, nullptr);
}

TEST_F(QelInputConnectionPointFlowTest, ResolvingAnOutputAliasBringsItsTransformUpToDate) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & right = around->addOutputAlias("right");
    QelGraphTesting::setAggregate(*source_, around.get());
    right.connect(&out_);
    in_.connect(&right);
    EXPECT_EQ(&right, in_.getConnectedOutput(false).get());
    EXPECT_EQ(0, around->setups);
    EXPECT_EQ(&out_, in_.getConnectedOutput(true).get());
    EXPECT_EQ(1, around->setups);
    right.disconnect();
    QelGraphTesting::setAggregate(*source_, nullptr);
}

TEST_F(QelInputConnectionPointFlowTest, ResolvesThroughAnAliasThatOutlivedItsTransform) {
    MoxSmartPtr<PlainTransform> around = new PlainTransform("around");
    MoxSmartPtr<QelImageAliasCP> const right = new QelImageAliasCP("right");
    around->addOutput(right);
    QelGraphTesting::setAggregate(*add_, around.get());
    add_->setAllowAnyConnection(true);
    // A connection to the own aggregate, which it does not hold.
    in_.connect(right.get());
    QelGraphTesting::setAggregate(*add_, nullptr);
    around.release();
    EXPECT_EQ(nullptr, right->owner());
    EXPECT_EQ(right.get(), in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, in_.getConnectedOutput(true).get());
    EXPECT_FALSE(in_.getStatus());
}

TEST_F(QelInputConnectionPointFlowTest, AliasesInACircleResolveToNull) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    around->setAllowAnyConnection(true);
    MoxSmartPtr<PlainTransform> const beside = new PlainTransform("beside");
    beside->setAllowAnyConnection(true);
    QelImageAliasCP & left = around->addInputAlias("left");
    QelImageAliasCP & right = beside->addInputAlias("right");
    left.connect(&right);
    right.connect(&left);
    add_->setAllowAnyConnection(true);
    in_.connect(&left);
    EXPECT_EQ(&left, in_.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, in_.getConnectedOutput(true).get());
    EXPECT_EQ(nullptr, left.getConnectedOutput(true).get());
    EXPECT_FALSE(in_.isPassingMetadata());
    in_.disconnect();
    left.disconnect();
    right.disconnect();
}

TEST_F(QelInputConnectionPointFlowTest, AnAliasThatIsNoInputCannotBeResolved) {
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & half = node->addOutput<HalfAlias>(new HalfAlias("half"));
    in_.connect(&half);
    EXPECT_EQ(&half, in_.getConnectedOutput(false).get());
    expectRaises(QelErrorCode::misuse,
                 "Alias connection point class \"HalfAlias\" is not valid, "
                 "because it is not derived from an input cp class",
                 [&] { (void)in_.getConnectedOutput(true); });
}

// ---- canConnect(), canDisconnect()

TEST_F(QelInputConnectionPointFlowTest, CanConnectWhileUnlockedOwnedAndNotRendering) {
    EXPECT_TRUE(in_.canConnect());
    QelGraphTesting::setLocked(in_, true);
    EXPECT_FALSE(in_.canConnect());
    QelGraphTesting::setLocked(in_, false);
    QelGraphTesting::setRendering(*add_, true);
    EXPECT_FALSE(in_.canConnect());
    QelGraphTesting::setRendering(*add_, false);
    EXPECT_TRUE(in_.canConnect());
    EXPECT_FALSE(QelImageInputCP("free").canConnect());
}

TEST_F(QelInputConnectionPointFlowTest, CanDisconnectWhenNothingIsConnectedAndElseAsCanConnect) {
    for (bool const locked : {false, true}) {
        for (bool const rendering : {false, true}) {
            in_.connect(&out_);
            QelGraphTesting::setLocked(in_, locked);
            QelGraphTesting::setRendering(*add_, rendering);
            EXPECT_EQ(!locked && !rendering, in_.canDisconnect());
            QelGraphTesting::setLocked(in_, false);
            QelGraphTesting::setRendering(*add_, false);
            in_.disconnect();
            QelGraphTesting::setLocked(in_, locked);
            QelGraphTesting::setRendering(*add_, rendering);
            EXPECT_TRUE(in_.canDisconnect());
            QelGraphTesting::setLocked(in_, false);
            QelGraphTesting::setRendering(*add_, false);
        }
    }
    EXPECT_TRUE(QelImageInputCP("free").canDisconnect());
}

// ---- isPassingMetadata()

TEST_F(QelInputConnectionPointFlowTest, MetadataPassesThroughAConnection) {
    EXPECT_FALSE(in_.isPassingMetadata());
    in_.connect(&out_);
    EXPECT_TRUE(in_.isPassingMetadata());
    in_.setPassesMetadata(false);
    EXPECT_FALSE(in_.passesMetadata());
    EXPECT_FALSE(in_.isPassingMetadata());
    in_.setPassesMetadata(true);
    EXPECT_TRUE(in_.isPassingMetadata());
    in_.disconnect();
    EXPECT_FALSE(in_.isPassingMetadata());
}

TEST_F(QelInputConnectionPointFlowTest, MetadataPassesThroughInputAliasesThatAllPassIt) {
    MoxSmartPtr<PlainTransform> const outer = new PlainTransform("outer");
    MoxSmartPtr<PlainTransform> const inner = new PlainTransform("inner");
    QelImageAliasCP & outerLeft = outer->addInputAlias("left");
    QelImageAliasCP & innerLeft = inner->addInputAlias("left");
    QelGraphTesting::setAggregate(*inner, outer.get());
    QelGraphTesting::setAggregate(*add_, inner.get());
    in_.connect(&innerLeft);
    EXPECT_FALSE(in_.isPassingMetadata());
    innerLeft.connect(&outerLeft);
    EXPECT_FALSE(in_.isPassingMetadata());
    outerLeft.connect(&out_);
    EXPECT_TRUE(in_.isPassingMetadata());
    outerLeft.setPassesMetadata(false);
    EXPECT_FALSE(in_.isPassingMetadata());
    outerLeft.setPassesMetadata(true);
    innerLeft.setPassesMetadata(false);
    EXPECT_FALSE(in_.isPassingMetadata());
    EXPECT_TRUE(outerLeft.isPassingMetadata());
    in_.disconnect();
    innerLeft.disconnect();
    QelGraphTesting::setAggregate(*inner, nullptr);
    QelGraphTesting::setAggregate(*add_, nullptr);
}

TEST_F(QelInputConnectionPointFlowTest, MetadataOfAnOutputAliasIsThatOfAnOutput) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & right = around->addOutputAlias("right");
    in_.connect(&right);
    EXPECT_TRUE(in_.isPassingMetadata());
    right.setPassesMetadata(false);
    EXPECT_TRUE(in_.isPassingMetadata());
    in_.setPassesMetadata(false);
    EXPECT_FALSE(in_.isPassingMetadata());
}

// ---- Caching

TEST_F(QelInputConnectionPointFlowTest, CachingFollowsTheConnection) {
    QelStreamData & data = *out_.streamData();
    in_.setCaching(true);
    EXPECT_TRUE(in_.caching());
    EXPECT_EQ(0, data.cachingCount());
    in_.connect(&out_);
    EXPECT_EQ(1, data.cachingCount());
    EXPECT_TRUE(data.caching());
    in_.connect(&out_);
    EXPECT_EQ(1, data.cachingCount());
    in_.connect(&otherOut_);
    EXPECT_EQ(0, data.cachingCount());
    EXPECT_FALSE(data.caching());
    EXPECT_EQ(1, otherOut_.streamData()->cachingCount());
    in_.disconnect();
    EXPECT_EQ(0, otherOut_.streamData()->cachingCount());
    EXPECT_TRUE(in_.caching());
}

TEST_F(QelInputConnectionPointFlowTest, CachingIsSetWhileConnected) {
    QelStreamData & data = *out_.streamData();
    in_.connect(&out_);
    EXPECT_EQ(0, data.cachingCount());
    in_.setCaching(true);
    in_.setCaching(true);
    EXPECT_EQ(1, data.cachingCount());
    in_.setCaching(false);
    in_.setCaching(false);
    EXPECT_EQ(0, data.cachingCount());
    in_.disconnect();
    EXPECT_EQ(0, data.cachingCount());
}

TEST_F(QelInputConnectionPointFlowTest, AnInputThatDoesNotCacheTakesNothingFromOthers) {
    out_.setCaching(true);
    in_.connect(&out_);
    in_.disconnect();
    EXPECT_EQ(1, out_.streamData()->cachingCount());
}

TEST_F(QelInputConnectionPointFlowTest, CachingIsCountedForEachHolder) {
    auto const aside = chainBehind(*source_, 1);
    QelStreamData & data = *out_.streamData();
    in_.connect(&out_);
    in_.setCaching(true);
    imageInput(*aside[0]).setCaching(true);
    EXPECT_EQ(2, data.cachingCount());
    in_.disconnect();
    EXPECT_EQ(1, data.cachingCount());
    EXPECT_TRUE(data.caching());
}

TEST_F(QelInputConnectionPointFlowTest, SettingTheCachingOfAnUnconnectedInputSetsNothingUp) {
    in_.setCaching(true);
    EXPECT_TRUE(in_.caching());
    EXPECT_EQ(0, add_->setups());
}

TEST_F(QelInputConnectionPointFlowTest, SettingTheCachingWithStreamDataSetsNothingUp) {
    in_.connect(&out_);
    in_.setCaching(true);
    EXPECT_EQ(0, source_->setups());
}

TEST_F(QelInputConnectionPointFlowTest, CachingBehindAnOutputWithoutStreamDataRaises) {
    MoxSmartPtr<PlainTransform> const from = new PlainTransform("from");
    auto & numbers = from->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    auto & input = to->addInput<NumbersInput>(new NumbersInput("numbers"));
    input.connect(&numbers);
    expectRaises(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL",
                 [&] { input.setCaching(true); });
    EXPECT_FALSE(input.caching());
}

TEST_F(QelInputConnectionPointFlowTest, PointsThatAreNoImagePointsCacheToo) {
    MoxSmartPtr<PlainTransform> const from = new PlainTransform("from");
    auto & numbers = from->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    numbers.giveData();
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    auto & input = to->addInput<NumbersInput>(new NumbersInput("numbers"));
    input.setCaching(true);
    input.connect(&numbers);
    EXPECT_EQ(numbers.streamData(), input.streamData());
    EXPECT_EQ(1, numbers.streamData()->cachingCount());
    input.disconnect();
    EXPECT_EQ(0, numbers.streamData()->cachingCount());
}

// ---- Out of date

TEST_F(QelInputConnectionPointFlowTest, OutOfDateTellsTheOwner) {
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    auto & input = node->addImageInput("first");
    EXPECT_TRUE(node->isStatusOk());
    input.outOfDate(true);
    EXPECT_FALSE(node->setupDone());
    input.outOfDate(false);
    EXPECT_EQ((EventLog{"first true", "first false"}), node->changes);
}

TEST_F(QelInputConnectionPointFlowTest, OutOfDateWithoutOwnerTellsNobody) {
    QelImageInputCP free("free");
    EXPECT_NO_THROW(free.outOfDate(true));
}

// ---- Status

TEST_F(QelInputConnectionPointFlowTest, TheStatusOfAnUnconnectedInputIsBad) {
    EXPECT_FALSE(in_.getStatus());
}

TEST_F(QelInputConnectionPointFlowTest, TheStatusIsThatOfTheSourceWhichIsSetUp) {
    in_.connect(&out_);
    EXPECT_EQ(0, source_->setups());
    EXPECT_TRUE(in_.getStatus());
    EXPECT_EQ(1, source_->setups());
    EXPECT_FALSE(add_->setupDone());
}

TEST_F(QelInputConnectionPointFlowTest, TheStatusOfABadSourceIsBadAndTellsWhy) {
    MoxSmartPtr<PlainTransform> const node = new PlainTransform("node");
    node->problem = "no pixels today";
    in_.connect(&node->addImageOutput("out"));
    EXPECT_FALSE(in_.getStatus());
    expectQelError(in_.getStatusMessage(), QelErrorCode::invalidValue, "no pixels today");
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageSetsTheSourceUp) {
    in_.connect(&out_);
    expectQelError(in_.getStatusMessage(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageOfAnUnconnectedInput) {
    expectQelError(in_.getStatusMessage(), QelErrorCode::notConnected,
                   "Input in of transform add(AddTransform) is not connected");
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageIsThatOfTheStreamDataWhereverItComesFrom) {
    in_.setStreamData(out_.streamData());
    expectQelError(in_.getStatusMessage(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    in_.setStreamData(nullptr);
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageOfAnUnconnectedInputWithoutOwner) {
    expectQelError(QelImageInputCP("free").getStatusMessage(), QelErrorCode::notConnected,
                   "Input free of transform NULL is not connected");
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageBehindAnOutputWithoutStreamData) {
    MoxSmartPtr<PlainTransform> const from = new PlainTransform("from");
    auto & numbers = from->addOutput<NumbersOutput>(new NumbersOutput("numbers"));
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    auto & input = to->addInput<NumbersInput>(new NumbersInput("in"));
    input.connect(&numbers);
    EXPECT_EQ(nullptr, input.streamData());
    expectQelError(input.getStatusMessage(), QelErrorCode::nullPointer,
                   "Connection point numbers does not currently point to an QelStreamData object");
    expectRaises(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL",
                 [&] { (void)input.getStatus(); });
}

TEST_F(QelInputConnectionPointFlowTest, TheMessageBehindAnAliasThatLeadsNowhere) {
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    QelGraphTesting::setAggregate(*add_, around.get());
    in_.connect(&left);
    EXPECT_FALSE(in_.getStatus());
    expectQelError(in_.getStatusMessage(), QelErrorCode::notConnected,
                   "Input in of transform add(AddTransform) is not connected");
    in_.disconnect();
    QelGraphTesting::setAggregate(*add_, nullptr);
}

}  // namespace

#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "PointTesting.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"

namespace {

// An output for images that has none.
class EmptyImageOutput : public NumbersOutput {
  public:
    explicit EmptyImageOutput(std::string const & name)
        : QelConnectionPoint(name), NumbersOutput(name) {}
    std::type_info const & getDataType() const override { return typeid(QelImageStreamData); }
};

// A transform that stands for an aggregate, with an alias on either side, around one member.
class QelAliasCPTest : public testing::Test {
  protected:
    QelAliasCPTest() {
        source_->setLabel("source");
        member_->setLabel("member");
        consumer_->setLabel("consumer");
        // As an aggregate does it.
        around_->atChange = [](QelInputConnectionPoint & input) {
            dynamic_cast<QelImageAliasCP &>(input).notifyOutOfDate(true, false);
        };
    }
    ~QelAliasCPTest() override {
        // What is inside holds no reference on what is around it.
        memberIn_.disconnect();
    }

    // source -> left -> member -> right -> consumer
    void connectAll() {
        left_.connect(&out_);
        memberIn_.connect(&left_);
        right_.connect(&imageOutput(*member_));
        consumerIn_.connect(&right_);
    }

    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<PlainTransform> around_ = new PlainTransform("around");
    MoxSmartPtr<AddTransform> member_ = new AddTransform();
    MoxSmartPtr<AddTransform> consumer_ = new AddTransform();
    MemberScope members_{*around_, {member_.get()}};
    QelImageAliasCP & left_ = around_->addInputAlias("left");
    QelImageAliasCP & right_ = around_->addOutputAlias("right");
    QelImageOutputCP & out_ = imageOutput(*source_);
    QelImageInputCP & memberIn_ = imageInput(*member_);
    QelImageInputCP & consumerIn_ = imageInput(*consumer_);
};

// ---- A new alias, and points made from it

TEST_F(QelAliasCPTest, IsAnInputAndAnOutputInOne) {
    QelImageAliasCP alias("alias");
    EXPECT_EQ("alias", alias.name());
    EXPECT_EQ("QelAliasCP<QelImageInputCP, QelImageOutputCP>", alias.getClassName());
    EXPECT_EQ(typeid(QelImageStreamData), alias.getDataType());
    EXPECT_NE(nullptr, dynamic_cast<QelAliasConnectionPoint *>(&alias));
    QelInputConnectionPoint & input = alias;
    QelOutputConnectionPoint & output = alias;
    EXPECT_EQ(static_cast<QelConnectionPoint *>(&input),
              static_cast<QelConnectionPoint *>(&output));
    EXPECT_EQ(nullptr, alias.owner());
    EXPECT_EQ(nullptr, alias.streamData());
    EXPECT_EQ(nullptr, static_cast<QelImageInputCP &>(alias).imageStreamData());
    EXPECT_EQ(nullptr, static_cast<QelImageOutputCP &>(alias).imageStreamData());
    EXPECT_EQ(nullptr, alias.getConnectedOutput(false).get());
    EXPECT_EQ(InputList(), alias.connectedInputs());
    EXPECT_FALSE(alias.caching());
    EXPECT_FALSE(alias.isInput());
}

TEST_F(QelAliasCPTest, StandsOnTheSideOnWhichItWasAdded) {
    EXPECT_TRUE(left_.isInput());
    EXPECT_FALSE(right_.isInput());
    EXPECT_EQ(around_.get(), left_.owner());
    EXPECT_EQ(around_.get(), right_.owner());
}

TEST_F(QelAliasCPTest, ACloneIsAnAliasOfTheSameName) {
    connectAll();
    for (MoxSmartPtr<QelConnectionPoint> const & clone :
         {left_.clone(), static_cast<QelInputConnectionPoint &>(left_).clone(),
          static_cast<QelOutputConnectionPoint &>(left_).clone()}) {
        auto const * const alias = dynamic_cast<QelImageAliasCP *>(clone.get());
        ASSERT_NE(nullptr, alias);
        EXPECT_EQ("left", alias->name());
        EXPECT_EQ(nullptr, alias->owner());
        EXPECT_EQ(nullptr, alias->streamData());
        EXPECT_EQ(nullptr, alias->getConnectedOutput(false).get());
        EXPECT_EQ(0u, alias->numConnectedInputs());
    }
}

TEST_F(QelAliasCPTest, CreateAndCreateAliasMakeAliasesOfAnotherName) {
    for (MoxSmartPtr<QelConnectionPoint> const & made :
         {left_.create("other"), left_.createAlias("other"),
          static_cast<QelInputConnectionPoint &>(left_).createAlias("other"),
          static_cast<QelOutputConnectionPoint &>(left_).create("other")}) {
        auto const * const alias = dynamic_cast<QelImageAliasCP *>(made.get());
        ASSERT_NE(nullptr, alias);
        EXPECT_EQ("other", alias->name());
        EXPECT_EQ(nullptr, alias->owner());
        EXPECT_EQ(1, made->refCount());
    }
}

TEST_F(QelAliasCPTest, IsCompatibleWithImagePointsOnBothSides) {
    NumbersOutput const numbers("numbers");
    EXPECT_TRUE(left_.isCompatible(&out_));
    EXPECT_TRUE(left_.isCompatible(&right_));
    EXPECT_TRUE(memberIn_.isCompatible(&left_));
    EXPECT_FALSE(left_.isCompatible(&numbers));
}

TEST_F(QelAliasCPTest, ACopiedTransformHasAliasesOnTheSameSides) {
    connectAll();
    MoxSmartPtr<QelTransform> const copy = around_->clone();
    auto const * const left = dynamic_cast<QelImageAliasCP *>(copy->getInputCP(0).get());
    auto const * const right = dynamic_cast<QelImageAliasCP *>(copy->getOutputCP(0).get());
    ASSERT_NE(nullptr, left);
    ASSERT_NE(nullptr, right);
    EXPECT_TRUE(left->isInput());
    EXPECT_FALSE(right->isInput());
    EXPECT_EQ(nullptr, left->getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, right->getConnectedOutput(false).get());
}

// The copy is not whole yet when its points are, so nobody may ask it anything.
TEST_F(QelAliasCPTest, ACopyKeepsTheCachingOfAnAliasThatHasNothingBehindIt) {
    right_.setCaching(true);
    MoxSmartPtr<QelTransform> const copy = around_->clone();
    EXPECT_TRUE(copy->getOutputCP(0)->caching());
    EXPECT_FALSE(copy->setupDone());
}

// ---- Connections

TEST_F(QelAliasCPTest, AChainSourceInputAliasMemberResolvesToTheSource) {
    left_.connect(&out_);
    memberIn_.connect(&left_);
    EXPECT_EQ(&left_, memberIn_.getConnectedOutput(false).get());
    EXPECT_EQ(&out_, memberIn_.getConnectedOutput(true).get());
    EXPECT_TRUE(member_->isStatusOk());
    EXPECT_EQ(300u, imageOutput(*member_).getCoordSpace()->numPixelsWide());
}

TEST_F(QelAliasCPTest, AChainThroughBothSidesResolvesToTheMember) {
    connectAll();
    EXPECT_EQ(&imageOutput(*member_), consumerIn_.getConnectedOutput(true).get());
    EXPECT_TRUE(consumer_->isStatusOk());
    EXPECT_TRUE(showsPixels(*pixelsOf(*consumer_), QelRect(0, 0, 300, 200),
                            [](auto x, auto y, int band) { return gradientAt(x, y, band) + 2; }));
}

TEST_F(QelAliasCPTest, APassThroughAliasWithoutMemberGivesTheStreamDataOfTheSource) {
    left_.connect(&out_);
    right_.connect(&left_);
    consumerIn_.connect(&right_);
    EXPECT_EQ(out_.streamData(), right_.streamData());
    EXPECT_EQ(out_.streamData(), consumerIn_.streamData());
    EXPECT_EQ(&out_, consumerIn_.getConnectedOutput(true).get());
    EXPECT_TRUE(right_.getStatus());
    EXPECT_TRUE(consumer_->isStatusOk());
    // The transform around holds no reference on itself.
    EXPECT_EQ(nullptr, right_.upstreamTransform().get());
}

TEST_F(QelAliasCPTest, APassThroughAliasMadeFirstPassesOnWhatComesLater) {
    right_.connect(&left_);
    consumerIn_.connect(&right_);
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    left_.connect(&out_);
    EXPECT_EQ(out_.streamData(), consumerIn_.streamData());
    EXPECT_TRUE(consumer_->isStatusOk());
    left_.disconnect();
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    EXPECT_EQ(nullptr, right_.streamData());
    EXPECT_FALSE(consumer_->isStatusOk());
}

// ---- Stream data

TEST_F(QelAliasCPTest, SetStreamDataReachesTheInputsConnectedToItsOutputSide) {
    NumbersOutput numbers("numbers");
    numbers.giveData();
    memberIn_.connect(&left_);
    EXPECT_EQ(nullptr, memberIn_.streamData());
    left_.setStreamData(out_.streamData());
    EXPECT_EQ(out_.streamData(), left_.streamData());
    EXPECT_EQ(out_.imageStreamData(), static_cast<QelImageInputCP &>(left_).imageStreamData());
    EXPECT_EQ(out_.imageStreamData(), static_cast<QelImageOutputCP &>(left_).imageStreamData());
    EXPECT_EQ(out_.streamData(), memberIn_.streamData());
    left_.setStreamData(numbers.streamData());
    EXPECT_EQ(nullptr, static_cast<QelImageOutputCP &>(left_).imageStreamData());
    EXPECT_EQ(nullptr, static_cast<QelImageInputCP &>(left_).imageStreamData());
    EXPECT_EQ(numbers.streamData(), memberIn_.streamData());
    left_.setStreamData(nullptr);
    EXPECT_EQ(nullptr, memberIn_.streamData());
}

TEST_F(QelAliasCPTest, SetStreamDataReachesEachConsumerInOrderPastAChainOfAliases) {
    EventLog log;
    PlainTransform & inner = *around_;
    inner.addInput<NotedInput>(new NotedInput("second", log));
    MoxSmartPtr<PlainTransform> const outside = new PlainTransform("outside");
    auto & first = outside->addInput<NotedInput>(new NotedInput("first", log));
    MoxSmartPtr<PlainTransform> const other = new PlainTransform("other");
    auto & second = other->addInput<NotedInput>(new NotedInput("second", log));
    right_.connect(&left_);
    first.connect(&right_);
    second.connect(&right_);
    log.clear();
    left_.connect(&out_);
    EXPECT_EQ((EventLog{"first data, connected to around", "second data, connected to around"}),
              EventLog(log.end() - 2, log.end()));
}

TEST_F(QelAliasCPTest, ConsumersOfAnAliasThatIsConnectedLaterGetItsStreamData) {
    memberIn_.connect(&left_);
    EXPECT_FALSE(member_->isStatusOk());
    left_.connect(&out_);
    EXPECT_EQ(out_.streamData(), memberIn_.streamData());
    EXPECT_FALSE(member_->setupDone());
    EXPECT_TRUE(member_->isStatusOk());
    left_.disconnect();
    EXPECT_EQ(nullptr, memberIn_.streamData());
}

TEST_F(QelAliasCPTest, AnswersAsTheSourceOnBothSides) {
    left_.connect(&out_);
    EXPECT_EQ(3, static_cast<QelImageInputCP &>(left_).numBands());
    EXPECT_EQ(3, static_cast<QelImageOutputCP &>(left_).numBands());
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelAliasCPTest, SetStatusGoesToTheStreamDataOfTheSource) {
    left_.connect(&out_);
    left_.setStatusBad(QelError(QelErrorCode::invalidValue, "too red", "", 0));
    EXPECT_FALSE(out_.streamData()->statusOk());
    left_.setStatusOK();
    EXPECT_TRUE(out_.streamData()->statusOk());
}

// ---- Aliases in a circle, and in a long row

// Transforms through which data passes without a member between.
struct Tunnel {
    explicit Tunnel(std::string const & label)
        : transform(new PlainTransform(label)),
          left(transform->addInputAlias("left")),
          right(transform->addOutputAlias("right")) {
        right.connect(&left);
    }

    MoxSmartPtr<PlainTransform> transform;
    QelImageAliasCP & left;
    QelImageAliasCP & right;
};

TEST_F(QelAliasCPTest, ACircleOfAliasesHasNoSource) {
    Tunnel const a("a");
    Tunnel const b("b");
    consumerIn_.connect(&b.right);
    b.left.connect(&a.right);
    a.left.connect(&out_);
    EXPECT_EQ(out_.streamData(), consumerIn_.streamData());
    EXPECT_TRUE(consumer_->isStatusOk());
    // In place of the source, which leaves nothing behind.
    a.left.connect(&b.right);
    for (QelImageAliasCP * const alias : {&a.left, &a.right, &b.left, &b.right}) {
        EXPECT_EQ(nullptr, alias->streamData());
        EXPECT_EQ(nullptr, alias->getConnectedOutput(true).get());
        EXPECT_FALSE(alias->getStatus());
    }
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    EXPECT_EQ(nullptr, consumerIn_.imageStreamData());
    EXPECT_FALSE(consumerIn_.getStatus());
    expectQelError(consumerIn_.getStatusMessage(), QelErrorCode::notConnected,
                   "Input in of transform consumer(AddTransform) is not connected");
    EXPECT_NO_THROW(a.right.outOfDate(true));
    EXPECT_NO_THROW(a.left.outOfDate(true));
    EXPECT_EQ(1, source_->refCount());
    // Opened again, it delivers what comes in.
    a.left.connect(&out_);
    EXPECT_EQ(out_.streamData(), consumerIn_.streamData());
    consumer_->markOutOfDate(true);
    EXPECT_TRUE(consumer_->isStatusOk());
}

TEST_F(QelAliasCPTest, ACircleOfOutputAliasesIsToldOnce) {
    MoxSmartPtr<PlainTransform> const a = new PlainTransform("a");
    MoxSmartPtr<PlainTransform> const b = new PlainTransform("b");
    a->setAllowAnyConnection(true);
    b->setAllowAnyConnection(true);
    QelImageAliasCP & right = a->addOutputAlias("right");
    QelImageAliasCP & left = b->addOutputAlias("left");
    right.connect(&left);
    left.connect(&right);
    consumerIn_.connect(&right);
    MoxSmartPtr<PlainTransform> const behindRight = new PlainTransform("behind right");
    MoxSmartPtr<PlainTransform> const behindLeft = new PlainTransform("behind left");
    behindRight->addImageInput("in").connect(&right);
    behindLeft->addImageInput("in").connect(&left);
    for (QelImageAliasCP * const changed : {&right, &left}) {
        EXPECT_FALSE(consumer_->isStatusOk());
        EXPECT_TRUE(consumer_->setupDone());
        behindRight->changes.clear();
        behindLeft->changes.clear();
        changed->outOfDate(true);
        EXPECT_EQ(EventLog{"in true"}, behindRight->changes);
        EXPECT_EQ(EventLog{"in true"}, behindLeft->changes);
        EXPECT_FALSE(consumer_->setupDone());
    }
    right.disconnect();
    left.disconnect();
}

TEST_F(QelAliasCPTest, ALongRowOfAliasesNeedsNoDeepStack) {
    constexpr int count = 100000;
    std::vector<Tunnel> tunnels;
    tunnels.reserve(count);
    for (int i = 0; i < count; ++i) {
        tunnels.emplace_back("tunnel");
        if (i > 0) tunnels.back().left.connect(&tunnels[static_cast<std::size_t>(i) - 1].right);
    }
    consumerIn_.setCaching(true);
    consumerIn_.connect(&tunnels.back().right);
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    tunnels.front().left.connect(&out_);
    EXPECT_EQ(out_.streamData(), consumerIn_.streamData());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    EXPECT_EQ(&out_, consumerIn_.getConnectedOutput(true).get());
    EXPECT_TRUE(consumerIn_.getStatus());
    EXPECT_TRUE(tunnels.back().right.getStatus());
    EXPECT_TRUE(consumerIn_.isPassingMetadata());
    tunnels.front().left.disconnect();
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    EXPECT_FALSE(consumerIn_.getStatus());
}

TEST_F(QelAliasCPTest, StreamDataGoesThroughATreeOfAliasesDepthFirst) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const outside = new PlainTransform("outside");
    Tunnel const root("root");
    Tunnel const branch("branch");
    auto const consumer = [&](char const * name) -> NotedInput & {
        return outside->addInput<NotedInput>(new NotedInput(name, log));
    };
    consumer("a").connect(&root.right);
    branch.left.connect(&root.right);
    consumer("b").connect(&root.right);
    consumer("c").connect(&branch.right);
    consumer("d").connect(&branch.right);
    log.clear();
    root.left.connect(&out_);
    EXPECT_EQ((EventLog{"a data, connected to root", "c data, connected to branch",
                        "d data, connected to branch", "b data, connected to root"}),
              log);
}

// ---- Status

TEST_F(QelAliasCPTest, TheStatusOfAnInputAliasIsThatOfWhatFeedsIt) {
    EXPECT_FALSE(left_.getStatus());
    left_.connect(&out_);
    EXPECT_TRUE(left_.getStatus());
    EXPECT_EQ(1, source_->setups());
    EXPECT_EQ(0, around_->setups);
}

TEST_F(QelAliasCPTest, TheStatusOfAnOutputAliasBringsItsTransformUpToDate) {
    EXPECT_FALSE(right_.getStatus());
    EXPECT_EQ(1, around_->setups);
    connectAll();
    EXPECT_TRUE(right_.getStatus());
    EXPECT_EQ(2, around_->setups);
    EXPECT_TRUE(right_.getStatus());
    EXPECT_EQ(2, around_->setups);
}

TEST_F(QelAliasCPTest, TheStatusOfAnOutputAliasIsThatOfItsSourceEvenAroundABadTransform) {
    right_.connect(&imageOutput(*member_));
    memberIn_.connect(&left_);
    left_.connect(&out_);
    around_->problem = "around is bad";
    // The bad transform has settled its outputs as well: the alias hands that on to the member's.
    EXPECT_FALSE(right_.getStatus());
    expectQelError(right_.getStatusMessage(), QelErrorCode::invalidValue, "around is bad");
}

TEST_F(QelAliasCPTest, TheStatusOfAnAliasWithoutTransform) {
    QelImageAliasCP free("free");
    EXPECT_FALSE(free.getStatus());
    expectQelError(free.getStatusMessage(), QelErrorCode::notConnected,
                   "Input free of transform NULL is not connected");
}

TEST_F(QelAliasCPTest, TheMessageOfAnInputAlias) {
    expectQelError(left_.getStatusMessage(), QelErrorCode::notConnected,
                   "Input left of transform around(PlainTransform) is not connected");
    EXPECT_EQ(0, around_->setups);
    left_.connect(&out_);
    expectQelError(left_.getStatusMessage(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    EXPECT_EQ(0, around_->setups);
}

TEST_F(QelAliasCPTest, TheMessageOfAnUnconnectedOutputAliasIsThatOfItsTransform) {
    expectQelError(right_.getStatusMessage(), QelErrorCode::noStatusMessage,
                   "There is no status message in transform around(PlainTransform)");
    EXPECT_EQ(1, around_->setups);
}

TEST_F(QelAliasCPTest, TheMessageOfAConnectedOutputAliasIsThatOfItsSource) {
    memberIn_.connect(&left_);
    right_.connect(&imageOutput(*member_));
    EXPECT_EQ(QelErrorCode::noCommonResolution, right_.getStatusMessage().getErrcode());
    EXPECT_EQ(1, around_->setups);
    left_.connect(&out_);
    expectQelError(right_.getStatusMessage(), QelErrorCode::streamDataGood,
                   "Stream Data Status OK");
}

TEST_F(QelAliasCPTest, CheckStatusOfAnOutputAliasBringsItsTransformUpToDate) {
    connectAll();
    EXPECT_TRUE(member_->isStatusOk());
    EXPECT_EQ(0, around_->setups);
    EXPECT_NO_THROW(right_.checkStatus());
    EXPECT_EQ(1, around_->setups);
}

TEST_F(QelAliasCPTest, CheckStatusOfAnInputAliasLeavesItsTransform) {
    left_.connect(&out_);
    EXPECT_NO_THROW(left_.checkStatus());
    EXPECT_EQ(0, around_->setups);
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelAliasCPTest, CheckStatusRaisesTheMessage) {
    expectRaises(QelErrorCode::notConnected,
                 "Input left of transform around(PlainTransform) is not connected",
                 [&] { left_.checkStatus(); });
    QelImageAliasCP free("free");
    expectRaises(QelErrorCode::notConnected, "Input free of transform NULL is not connected",
                 [&] { free.checkStatus(); });
    MoxSmartPtr<PlainTransform> const bad = new PlainTransform("bad");
    bad->problem = "out of ink";
    left_.connect(&bad->addImageOutput("out"));
    expectRaises(QelErrorCode::invalidValue, "out of ink", [&] { left_.checkStatus(); });
}

// ---- Out of date

TEST_F(QelAliasCPTest, AnInputAliasTellsItsTransform) {
    EXPECT_TRUE(around_->isStatusOk());
    left_.outOfDate(true);
    EXPECT_EQ((EventLog{"left true"}), around_->changes);
    EXPECT_FALSE(around_->setupDone());
}

TEST_F(QelAliasCPTest, AnOutputAliasTellsItsConsumersAndLeavesTheStreamData) {
    connectAll();
    EXPECT_TRUE(consumer_->isStatusOk());
    EXPECT_TRUE(member_->isStatusOk());
    around_->changes.clear();
    right_.outOfDate(true);
    EXPECT_FALSE(consumer_->setupDone());
    EXPECT_TRUE(member_->setupDone());
    EXPECT_FALSE(right_.streamData()->outOfDate());
    EXPECT_EQ(EventLog(), around_->changes);
}

TEST_F(QelAliasCPTest, AnOutputAliasPassesTheFlagOn) {
    MoxSmartPtr<PlainTransform> const outside = new PlainTransform("outside");
    outside->addImageInput("in").connect(&right_);
    outside->changes.clear();
    right_.outOfDate(false);
    right_.outOfDate(true);
    EXPECT_EQ((EventLog{"in false", "in true"}), outside->changes);
}

TEST_F(QelAliasCPTest, AChangeOfAMemberGoesOnThroughAnOutputAlias) {
    connectAll();
    EXPECT_TRUE(consumer_->isStatusOk());
    member_->setAttributeValue("amount", 5.0);
    EXPECT_FALSE(consumer_->setupDone());
    EXPECT_TRUE(source_->setupDone());
    EXPECT_TRUE(consumer_->isStatusOk());
}

TEST_F(QelAliasCPTest, AChangeOfTheSourceReachesTheTransformAround) {
    connectAll();
    EXPECT_TRUE(around_->isStatusOk());
    EXPECT_TRUE(member_->isStatusOk());
    source_->setAttributeValue("level", 5.0);
    EXPECT_FALSE(member_->setupDone());
    EXPECT_FALSE(around_->setupDone());
}

TEST_F(QelAliasCPTest, ConnectingAnAliasMarksWhatIsDownstreamOfIt) {
    consumerIn_.connect(&right_);
    EXPECT_FALSE(consumer_->isStatusOk());
    EXPECT_TRUE(consumer_->setupDone());
    right_.connect(&imageOutput(*member_));
    EXPECT_FALSE(consumer_->setupDone());
}

// ---- Caching

TEST_F(QelAliasCPTest, CachingOfAnAliasIsOneHolder) {
    left_.setCaching(true);
    EXPECT_TRUE(left_.caching());
    left_.connect(&out_);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    left_.setCaching(false);
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    left_.setCaching(true);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    left_.disconnect();
    EXPECT_EQ(0, out_.streamData()->cachingCount());
}

TEST_F(QelAliasCPTest, CachingFromTheStartIsOneHolder) {
    ScopedSetting const setting(QelSystemConfig::tileCachingDefault, true);
    MoxSmartPtr<PlainTransform> const around = new PlainTransform("around");
    QelImageAliasCP & left = around->addInputAlias("left");
    EXPECT_TRUE(left.caching());
    left.connect(&out_);
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    around->removeInputConnectionPoint(0);
    EXPECT_EQ(0, out_.streamData()->cachingCount());
}

TEST_F(QelAliasCPTest, CachingIsCountedOnceWhereTheSetUpConnectsTheAlias) {
    MoxSmartPtr<PlainTransform> const connecting = new PlainTransform("connecting");
    QelImageAliasCP & alias = connecting->addOutputAlias("alias");
    MemberScope const members(*connecting, {source_.get()});
    connecting->atSetup = [&] { alias.connect(&out_); };
    alias.setCaching(true);
    EXPECT_TRUE(alias.caching());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    alias.disconnect();
    EXPECT_EQ(0, out_.streamData()->cachingCount());
}

TEST_F(QelAliasCPTest, CachingFollowsThroughAChainOfAliases) {
    right_.connect(&left_);
    consumerIn_.connect(&right_);
    consumerIn_.setCaching(true);
    right_.setCaching(true);
    left_.connect(&out_);
    EXPECT_EQ(2, out_.streamData()->cachingCount());
    left_.disconnect();
    EXPECT_EQ(0, out_.streamData()->cachingCount());
}

TEST_F(QelAliasCPTest, CachingOfAnUnconnectedAliasSwallowsWhatTheStatusRaises) {
    // An output without stream data raises when it is asked.
    MoxSmartPtr<PlainTransform> const plain = new PlainTransform("plain");
    auto & output = plain->addOutput<EmptyImageOutput>(new EmptyImageOutput("empty"));
    MemberScope const members(*around_, {plain.get()});
    right_.connect(&output);
    expectRaises(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL",
                 [&] { (void)right_.getStatus(); });
    EXPECT_NO_THROW(right_.setCaching(true));
    EXPECT_TRUE(right_.caching());
    EXPECT_EQ(1, around_->setups);
    right_.disconnect();
}

// ---- The end

TEST_F(QelAliasCPTest, TheEndDisconnectsBothSides) {
    EventLog log;
    MoxSmartPtr<PlainTransform> const outside = new PlainTransform("outside");
    auto & first = outside->addInput<NotedInput>(new NotedInput("first", log));
    auto & last = outside->addInput<NotedInput>(new NotedInput("last", log));
    right_.connect(&imageOutput(*member_));
    first.connect(&right_);
    last.connect(&right_);
    log.clear();
    around_->removeOutputConnectionPoint(0);
    EXPECT_EQ(0u, imageOutput(*member_).numConnectedInputs());
    EXPECT_EQ(nullptr, first.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, last.getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, first.streamData());
    EXPECT_EQ(nullptr, last.streamData());
    EXPECT_EQ((EventLog{"last no data, unconnected", "last out of date, unconnected",
                        "first no data, unconnected", "first out of date, unconnected"}),
              log);
}

TEST_F(QelAliasCPTest, WhatIsUpstreamEndsAfterTheConsumersHaveGone) {
    // The alias alone holds the source, whose stream data a consumer turns to once more.
    MoxSmartPtr<SourceTransform> source = new SourceTransform();
    left_.connect(&imageOutput(*source));
    source.release();
    memberIn_.setCaching(true);
    memberIn_.connect(&left_);
    EXPECT_EQ(1, memberIn_.streamData()->cachingCount());
    around_->removeInputConnectionPoint("left");
    EXPECT_EQ(nullptr, memberIn_.streamData());
}

TEST_F(QelAliasCPTest, TheEndOfTheTransformAroundLeavesItsMemberUnconnected) {
    MoxSmartPtr<PlainTransform> around = new PlainTransform("other");
    MoxSmartPtr<AddTransform> const member = new AddTransform();
    {
        MemberScope const members(*around, {member.get()});
        QelImageAliasCP & left = around->addInputAlias("left");
        left.connect(&out_);
        imageInput(*member).connect(&left);
    }
    around.release();
    EXPECT_EQ(nullptr, imageInput(*member).getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, imageInput(*member).streamData());
    EXPECT_EQ(0u, out_.numConnectedInputs());
    EXPECT_EQ(1, source_->refCount());
    EXPECT_FALSE(member->isStatusOk());
}

TEST_F(QelAliasCPTest, TheEndOfAnAliasThatLedThroughGivesAllCachingUp) {
    right_.connect(&left_);
    consumerIn_.connect(&right_);
    consumerIn_.setCaching(true);
    left_.setCaching(true);
    left_.connect(&out_);
    EXPECT_EQ(2, out_.streamData()->cachingCount());
    around_->removeInputConnectionPoint("left");
    EXPECT_EQ(0, out_.streamData()->cachingCount());
    EXPECT_EQ(nullptr, consumerIn_.streamData());
    EXPECT_EQ(nullptr, right_.getConnectedOutput(false).get());
    EXPECT_EQ(&right_, consumerIn_.getConnectedOutput(false).get());
}

TEST_F(QelAliasCPTest, IsNotAssigned) {
    EXPECT_FALSE(std::is_copy_assignable_v<QelImageAliasCP>);
}

// ---- Printing

TEST_F(QelAliasCPTest, PrintsBothSides) {
    connectAll();
    EXPECT_EQ(printedHead(left_, "input-cp", "around") +
                  "    upstream connection: out\n"
                  "    connected input: in of member(AddTransform)\n",
              printed(left_, ""));
    EXPECT_EQ("> " + printedHead(right_, "output-cp", "around") +
                  ">     upstream connection: out\n"
                  ">     connected input: in of consumer(AddTransform)\n",
              printed(right_, "> "));
}

TEST_F(QelAliasCPTest, PrintsAFreeAlias) {
    QelImageAliasCP const free("free");
    EXPECT_EQ(printedHead(free, "unknown", "NULL") + "    upstream connection: NULL\n",
              printed(free, ""));
}

}  // namespace

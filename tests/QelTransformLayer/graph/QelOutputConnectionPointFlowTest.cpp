#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "PointTesting.h"

// What an output tells its consumers, its stream data and whoever asks.

namespace {

// Notes what becomes of it.
class NotedData : public NumbersData {
  public:
    NotedData(QelOutputConnectionPoint * owner, EventLog & log) : NumbersData(owner), log_(log) {}
    void setStatus(bool ok) override {
        log_.push_back(ok ? "good" : "bad");
        NumbersData::setStatus(ok);
    }
    void setStatusError(ZanError const & error) override {
        log_.push_back(std::string("bad: ") + error.getMsg());
        NumbersData::setStatusError(error);
    }
    void setOutOfDate(bool flag) override {
        log_.push_back(flag ? "stale" : "reset");
        NumbersData::setOutOfDate(flag);
    }
    void update() override {
        log_.push_back("update");
        NumbersData::update();
    }

  private:
    EventLog & log_;
};

class NotedOutput : public NumbersOutput {
  public:
    NotedOutput(std::string const & name, EventLog & log)
        : QelConnectionPoint(name), NumbersOutput(name), data_(this, log) {
        setStreamDataPointer(&data_);
    }
    ~NotedOutput() override { disconnectAll(); }

  private:
    NotedData data_;
};

class QelOutputConnectionPointFlowTest : public testing::Test {
  protected:
    QelOutputConnectionPointFlowTest() {
        source_->setLabel("source");
        plain_->setLabel("plain");
    }

    NotedInput & connectConsumer(std::string const & label) {
        MoxSmartPtr<PlainTransform> const transform = new PlainTransform(label);
        consumers_.push_back(transform);
        auto & input = transform->addInput<NotedInput>(new NotedInput(label, log_));
        input.connect(&out_);
        return input;
    }

    EventLog log_;
    MoxSmartPtr<SourceTransform> source_ = new SourceTransform();
    MoxSmartPtr<PlainTransform> plain_ = new PlainTransform("plain");
    QelImageOutputCP & out_ = imageOutput(*source_);
    NotedOutput & noted_ = plain_->addOutput<NotedOutput>(new NotedOutput("noted", log_));
    NumbersOutput & empty_ = plain_->addOutput<NumbersOutput>(new NumbersOutput("empty"));
    std::vector<MoxSmartPtr<PlainTransform>> consumers_;
};

// ---- Out of date

TEST_F(QelOutputConnectionPointFlowTest, NotifyTellsAllConsumersInOrder) {
    connectConsumer("a");
    connectConsumer("b");
    connectConsumer("c");
    for (auto const & consumer : consumers_)
        EXPECT_TRUE(consumer->isStatusOk());
    log_.clear();
    out_.notifyOutOfDate(true, true);
    EXPECT_EQ((EventLog{"a out of date, connected to source", "b out of date, connected to source",
                        "c out of date, connected to source"}),
              log_);
    for (auto const & consumer : consumers_)
        EXPECT_FALSE(consumer->setupDone());
}

TEST_F(QelOutputConnectionPointFlowTest, NotifyTellsTheStreamDataAfterTheConsumers) {
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    auto & input = to->addInput<NumbersInput>(new NumbersInput("numbers"));
    input.connect(&noted_);
    to->atChange = [&](QelInputConnectionPoint &) { log_.push_back("consumer"); };
    log_.clear();
    noted_.notifyOutOfDate(true, true);
    EXPECT_EQ((EventLog{"consumer", "stale"}), log_);
}

TEST_F(QelOutputConnectionPointFlowTest, NotifyPassesTheFlagOn) {
    connectConsumer("a");
    EXPECT_TRUE(source_->isStatusOk());
    log_.clear();
    out_.notifyOutOfDate(false, true);
    EXPECT_EQ((EventLog{"a reset, connected to source"}), log_);
    EXPECT_EQ("a false", consumers_[0]->changes.back());
    EXPECT_FALSE(out_.streamData()->outOfDate());
    log_.clear();
    noted_.notifyOutOfDate(false, true);
    EXPECT_EQ((EventLog{"reset"}), log_);
}

TEST_F(QelOutputConnectionPointFlowTest, NotifyWithoutPropagateLeavesTheStreamData) {
    connectConsumer("a");
    EXPECT_TRUE(source_->isStatusOk());
    log_.clear();
    out_.notifyOutOfDate(true, false);
    EXPECT_EQ((EventLog{"a out of date, connected to source"}), log_);
    EXPECT_FALSE(out_.streamData()->outOfDate());
    EXPECT_TRUE(out_.streamData()->statusOk());
}

TEST_F(QelOutputConnectionPointFlowTest, OutOfDateTellsConsumersAndStreamData) {
    connectConsumer("a");
    EXPECT_TRUE(source_->isStatusOk());
    log_.clear();
    out_.outOfDate(true);
    EXPECT_EQ((EventLog{"a out of date, connected to source"}), log_);
    EXPECT_TRUE(out_.streamData()->outOfDate());
    EXPECT_FALSE(out_.streamData()->statusOk());
    // The transform itself has not changed.
    EXPECT_TRUE(source_->setupDone());
}

TEST_F(QelOutputConnectionPointFlowTest, NotifyWithoutStreamDataTellsTheConsumers) {
    MoxSmartPtr<PlainTransform> const to = new PlainTransform("to");
    to->addInput<NumbersInput>(new NumbersInput("numbers")).connect(&empty_);
    to->changes.clear();
    empty_.outOfDate(true);
    EXPECT_EQ((EventLog{"numbers true"}), to->changes);
}

TEST_F(QelOutputConnectionPointFlowTest, AConsumerThatLeavesMeanwhileIsNotTold) {
    connectConsumer("a");
    NotedInput & b = connectConsumer("b");
    connectConsumer("c");
    consumers_[0]->atChange = [&](QelInputConnectionPoint &) { b.disconnect(); };
    log_.clear();
    out_.outOfDate(true);
    EXPECT_EQ((EventLog{"a out of date, connected to source", "b no data, unconnected",
                        "b out of date, unconnected", "c out of date, connected to source"}),
              log_);
    EXPECT_EQ(2u, out_.numConnectedInputs());
}

TEST_F(QelOutputConnectionPointFlowTest, ManyConsumersThatLeaveMeanwhileHideNone) {
    for (char const * const label : {"a", "b", "c", "d", "e"})
        connectConsumer(label);
    consumers_[1]->atChange = [&](QelInputConnectionPoint &) {
        for (int const left : {0, 1, 2, 3})
            consumers_[static_cast<std::size_t>(left)]->getInputCP(0)->disconnect();
    };
    consumers_[4]->changes.clear();
    out_.outOfDate(true);
    EXPECT_EQ((EventLog{"e true"}), consumers_[4]->changes);
    EXPECT_EQ((InputList{consumers_[4]->getInputCP(0).get()}), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointFlowTest, AConsumerMayTakeItselfOff) {
    NotedInput & a = connectConsumer("a");
    NotedInput & b = connectConsumer("b");
    bool leaving = false;
    consumers_[0]->atChange = [&](QelInputConnectionPoint & input) {
        if (leaving) return;
        leaving = true;
        input.disconnect();
    };
    out_.outOfDate(true);
    EXPECT_EQ(nullptr, a.getConnectedOutput(false).get());
    EXPECT_EQ((InputList{&b}), out_.connectedInputs());
}

TEST_F(QelOutputConnectionPointFlowTest, AConsumerThatEndsMeanwhileIsNotTold) {
    connectConsumer("a");
    connectConsumer("b");
    connectConsumer("c");
    consumers_[0]->atChange = [&](QelInputConnectionPoint &) { consumers_[1].release(); };
    log_.clear();
    out_.outOfDate(true);
    EXPECT_EQ(2u, out_.numConnectedInputs());
    EXPECT_EQ("a out of date, connected to source", log_.front());
    EXPECT_EQ("c out of date, connected to source", log_.back());
    EXPECT_EQ(0, std::count(log_.begin(), log_.end(), "b out of date, connected to source"));
}

TEST_F(QelOutputConnectionPointFlowTest, AConsumerThatComesMeanwhileIsToldToo) {
    connectConsumer("a");
    MoxSmartPtr<AddTransform> const late = new AddTransform();
    consumers_[0]->atChange = [&](QelInputConnectionPoint &) {
        late->connect(&out_);
        EXPECT_TRUE(late->isStatusOk());
    };
    out_.outOfDate(true);
    EXPECT_EQ(2u, out_.numConnectedInputs());
    EXPECT_FALSE(late->setupDone());
}

TEST_F(QelOutputConnectionPointFlowTest, AnOutputThatAConsumerEndsMeanwhileTellsNobodyElse) {
    MoxSmartPtr<PlainTransform> const from = new PlainTransform("from");
    QelImageOutputCP & output = from->addImageOutput("out");
    MoxSmartPtr<PlainTransform> const first = new PlainTransform("first");
    MoxSmartPtr<PlainTransform> const second = new PlainTransform("second");
    first->addImageInput("in").connect(&output);
    second->addImageInput("in").connect(&output);
    first->changes.clear();
    second->changes.clear();
    bool removed = false;
    first->atChange = [&](QelInputConnectionPoint &) {
        OutputCapture const capture;  // A line says that the point is still held.
        if (!std::exchange(removed, true)) from->removeOutputConnectionPoint(0);
    };
    output.outOfDate(true);
    EXPECT_EQ(nullptr, second->getInputCP(0)->getConnectedOutput(false).get());
    EXPECT_EQ(nullptr, first->getInputCP(0)->getConnectedOutput(false).get());
}

TEST_F(QelOutputConnectionPointFlowTest, InvalidateStreamDataForwards) {
    log_.clear();
    noted_.invalidateStreamData(true);
    noted_.invalidateStreamData(false);
    EXPECT_EQ((EventLog{"stale", "reset"}), log_);
}

TEST_F(QelOutputConnectionPointFlowTest, InvalidateStreamDataWithoutAnyDoesNothing) {
    EXPECT_NO_THROW(empty_.invalidateStreamData(true));
}

// ---- Status

TEST_F(QelOutputConnectionPointFlowTest, SetStatusForwards) {
    noted_.setStatusOK();
    EXPECT_TRUE(noted_.streamData()->statusOk());
    noted_.setStatusBad(QelError(QelErrorCode::invalidValue, "too red", "", 0));
    EXPECT_FALSE(noted_.streamData()->statusOk());
    EXPECT_EQ((EventLog{"good", "bad: QEL error 13\ntoo red"}), log_);
}

TEST_F(QelOutputConnectionPointFlowTest, SetStatusNeedsStreamData) {
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point empty of type NumbersOutput output-cp cannot complete function "
                 "setStatusOK( ), because the cp's stream data object pointer is NULL",
                 [&] { empty_.setStatusOK(); });
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point empty of type NumbersOutput output-cp cannot complete function "
                 "setStatusBad( ), because the cp's stream data object pointer is NULL",
                 [&] { empty_.setStatusBad(ZanError()); });
}

TEST_F(QelOutputConnectionPointFlowTest, APointWithoutOwnerIsOfUnknownKind) {
    NumbersOutput free("free");
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point free of type NumbersOutput unknown cannot complete function "
                 "setStatusOK( ), because the cp's stream data object pointer is NULL",
                 [&] { free.setStatusOK(); });
}

TEST_F(QelOutputConnectionPointFlowTest, GetStatusNeedsStreamData) {
    expectRaises(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL",
                 [&] { (void)empty_.getStatus(); });
}

TEST_F(QelOutputConnectionPointFlowTest, GetStatusUpdatesStaleStreamDataOnce) {
    plain_->removeOutputConnectionPoint("empty");
    plain_->settlesOutputs = true;
    log_.clear();
    EXPECT_TRUE(noted_.getStatus());
    EXPECT_EQ((EventLog{"update", "good"}), log_);
    EXPECT_TRUE(noted_.getStatus());
    EXPECT_EQ((EventLog{"update", "good"}), log_);
    EXPECT_EQ(1, plain_->setups);
}

TEST_F(QelOutputConnectionPointFlowTest, GetStatusOfABadTransform) {
    plain_->removeOutputConnectionPoint("empty");
    plain_->problem = "out of ink";
    EXPECT_FALSE(noted_.getStatus());
    expectQelError(noted_.getStatusMessage(), QelErrorCode::invalidValue, "out of ink");
    EXPECT_EQ(1, plain_->setups);
}

TEST_F(QelOutputConnectionPointFlowTest, GetStatusOfAnOutputWithoutOwnerStaysBad) {
    QelImageOutputCP free("free");
    EXPECT_FALSE(free.getStatus());
    free.setStatusOK();
    EXPECT_TRUE(free.getStatus());
}

TEST_F(QelOutputConnectionPointFlowTest, TheMessageIsThatOfTheStreamData) {
    expectQelError(out_.getStatusMessage(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelOutputConnectionPointFlowTest, TheMessageWithoutStreamDataIsReturned) {
    expectQelError(empty_.getStatusMessage(), QelErrorCode::nullPointer,
                   "Connection point empty does not currently point to an QelStreamData object");
}

TEST_F(QelOutputConnectionPointFlowTest, CheckStatusPassesAGoodOutput) {
    EXPECT_NO_THROW(out_.checkStatus());
    EXPECT_EQ(1, source_->setups());
    EXPECT_NO_THROW(out_.checkStatus());
    EXPECT_EQ(1, source_->setups());
}

TEST_F(QelOutputConnectionPointFlowTest, CheckStatusRaisesTheMessage) {
    plain_->removeOutputConnectionPoint("empty");
    plain_->problem = "out of ink";
    expectRaises(QelErrorCode::invalidValue, "out of ink", [&] { noted_.checkStatus(); });
}

TEST_F(QelOutputConnectionPointFlowTest, CheckStatusWithoutStreamDataRaisesTheMessage) {
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point empty does not currently point to an QelStreamData object",
                 [&] { empty_.checkStatus(); });
}

// ---- Caching

TEST_F(QelOutputConnectionPointFlowTest, CachingIsOneHolder) {
    QelStreamData const & data = *out_.streamData();
    EXPECT_EQ(0, data.cachingCount());
    out_.setCaching(true);
    EXPECT_TRUE(out_.caching());
    EXPECT_EQ(1, data.cachingCount());
    EXPECT_TRUE(data.caching());
    EXPECT_TRUE(out_.getTileContainer()->cacheTiles());
    out_.setCaching(true);
    EXPECT_EQ(1, data.cachingCount());
    out_.setCaching(false);
    EXPECT_EQ(0, data.cachingCount());
    EXPECT_FALSE(out_.getTileContainer()->cacheTiles());
    out_.setCaching(false);
    EXPECT_EQ(0, data.cachingCount());
    EXPECT_EQ(0, source_->setups());
}

TEST_F(QelOutputConnectionPointFlowTest, CachingStaysOnWhileAnyHolderWantsIt) {
    NotedInput & consumer = connectConsumer("a");
    out_.setCaching(true);
    consumer.setCaching(true);
    EXPECT_EQ(2, out_.streamData()->cachingCount());
    out_.setCaching(false);
    EXPECT_TRUE(out_.streamData()->caching());
    consumer.setCaching(false);
    EXPECT_FALSE(out_.streamData()->caching());
}

TEST_F(QelOutputConnectionPointFlowTest, CachingSurvivesAChange) {
    out_.setCaching(true);
    EXPECT_TRUE(source_->isStatusOk());
    source_->setAttributeValue("level", 3.0);
    EXPECT_TRUE(source_->isStatusOk());
    EXPECT_EQ(1, out_.streamData()->cachingCount());
    EXPECT_TRUE(out_.getTileContainer()->cacheTiles());
}

TEST_F(QelOutputConnectionPointFlowTest, CachingWithoutStreamDataRaisesAndStaysOff) {
    expectRaises(QelErrorCode::misuse,
                 "QelOutputConnectionPoint status cannot be deterimed when streamData is NULL",
                 [&] { empty_.setCaching(true); });
    EXPECT_FALSE(empty_.caching());
}

TEST_F(QelOutputConnectionPointFlowTest, ATransformSetsTheCachingOfAllItsOutputs) {
    MoxSmartPtr<JointTransform> const joint = new JointTransform(1, 3);
    joint->setCaching(true);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(imageOutput(*joint, i).caching());
        EXPECT_EQ(1, imageOutput(*joint, i).streamData()->cachingCount());
    }
    EXPECT_FALSE(imageInput(*joint).caching());
    joint->setCaching(false);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0, imageOutput(*joint, i).streamData()->cachingCount());
}

}  // namespace

#include "QelStreamData.h"

#include <algorithm>
#include <iomanip>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "PlainStreamTesting.h"

namespace {

class QelStreamDataTest : public PlainStreamFixture {};

ZanError someError(int code = QelErrorCode::invalidValue, char const * text = "No such thing") {
    ZanError error("ABC", code, "somewhere.cpp", 3);
    return error.setMsg(text);
}

void expectSame(ZanError const & expected, ZanError const & found) {
    EXPECT_EQ(expected.getErrcode(), found.getErrcode());
    EXPECT_STREQ(expected.getMsg(), found.getMsg());
    EXPECT_STREQ(expected.getComponent(), found.getComponent());
    EXPECT_STREQ(expected.getFile(), found.getFile());
    EXPECT_EQ(expected.getLine(), found.getLine());
}

// ---- Construction

TEST_F(QelStreamDataTest, RequiresAnOwner) {
    expectRaises(QelErrorCode::nullPointer, "NULL ptr passed to QelStreamData constructor",
                 [] { PlainStreamData const data(nullptr); });
}

TEST_F(QelStreamDataTest, StartsStaleAndWithoutCaching) {
    MoxSmartPtr<PlainOutput> const owner(new PlainOutput("data"));
    QelStreamData const & data = owner->data;
    EXPECT_EQ(owner.get(), data.owner());
    EXPECT_FALSE(data.statusOk());
    EXPECT_EQ(nullptr, data.statusError());
    EXPECT_TRUE(data.outOfDate());
    EXPECT_FALSE(data.caching());
    EXPECT_EQ(0, data.cachingCount());
}

TEST_F(QelStreamDataTest, DoesNotCountItsOwner) {
    MoxSmartPtr<PlainOutput> const owner(new PlainOutput("data"));
    EXPECT_EQ(1, owner->refCount());
}

// ---- The status

TEST_F(QelStreamDataTest, TheStatusOfGoodStreamDataIsCode1) {
    data().setStatus(true);
    expectQelError(data().getStatus(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelStreamDataTest, GetStatusBringsAStaleOneUpToDateOnce) {
    expectQelError(data().getStatus(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    EXPECT_EQ(1, transform_->count("setup"));
    expectState(false, true);
    data().getStatus();
    EXPECT_EQ(1, transform_->count("setup"));
}

TEST_F(QelStreamDataTest, GetStatusGivesTheErrorOfAFailedSetup) {
    failWith(someError());
    expectSame(someError(), data().getStatus());
    expectState(false, false);
    ASSERT_NE(nullptr, data().statusError());
    expectSame(someError(), *data().statusError());
}

TEST_F(QelStreamDataTest, GetStatusGivesACopy) {
    data().setStatusError(someError());
    data().getStatus().setMsg("changed");
    expectSame(someError(), data().getStatus());
}

TEST_F(QelStreamDataTest, ABadOneWithoutAnErrorGivesTheTransformsMessage) {
    failWith(someError(77, "the transform's own"));
    transform_->update();
    data().setStatus(false);
    ASSERT_EQ(nullptr, data().statusError());
    expectSame(someError(77, "the transform's own"), data().getStatus());
}

TEST_F(QelStreamDataTest, ABadOneWithoutAnErrorOfAGoodTransformSaysThatThereIsNoMessage) {
    transform_->update();
    data().setStatus(false);
    expectQelError(data().getStatus(), QelErrorCode::noStatusMessage,
                   "There is no status message in transform hooked(HookTransform)");
}

TEST_F(QelStreamDataTest, SetStatusSettlesAndForgetsTheError) {
    for (bool const ok : {true, false}) {
        data().setStatusError(someError());
        data().setOutOfDate(true);
        data().setStatus(ok);
        expectState(false, ok);
        EXPECT_EQ(nullptr, data().statusError());
    }
}

TEST_F(QelStreamDataTest, SetStatusErrorKeepsACopyOfTheLastError) {
    data().setStatus(true);
    {
        ZanError error = someError(1, "first");
        data().setStatusError(error);
        error.setMsg("changed");
    }
    expectState(false, false);
    expectSame(someError(1, "first"), *data().statusError());
    data().setStatusError(someError(2, "second"));
    expectSame(someError(2, "second"), *data().statusError());
    // Its own one, too.
    data().setStatusError(*data().statusError());
    expectSame(someError(2, "second"), *data().statusError());
}

TEST_F(QelStreamDataTest, SetStatusErrorSettlesAStaleOne) {
    data().setStatusError(someError());
    expectState(false, false);
    expectSame(someError(), data().getStatus());
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelStreamDataTest, SettlingTheStatusKeepsTheContainer) {
    data().setStatus(true);
    data().setStatus(false);
    data().setStatusError(someError());
    EXPECT_EQ(0, data().resets);
}

TEST_F(QelStreamDataTest, SetOutOfDateMakesItStaleAndResetsTheContainer) {
    data().setStatus(true);
    data().setOutOfDate(true);
    expectState(true, false);
    EXPECT_EQ(1, data().resets);
    data().setOutOfDate(true);
    expectState(true, false);
    EXPECT_EQ(2, data().resets);
}

// What was wrong before says nothing of what is now.
TEST_F(QelStreamDataTest, AStaleOneHasNoError) {
    data().setStatusError(someError());
    data().setOutOfDate(true);
    EXPECT_EQ(nullptr, data().statusError());
    // Asked while its transform is being set up, as in a circle.
    std::optional<ZanError> meanwhile;
    transform_->onSetup = [&] {
        meanwhile = data().getStatus();
        transform_->setStatusOK();
    };
    expectQelError(data().getStatus(), QelErrorCode::streamDataGood, "Stream Data Status OK");
    ASSERT_TRUE(meanwhile);
    expectQelError(*meanwhile, QelErrorCode::noStatusMessage,
                   "There is no status message in transform hooked(HookTransform)");
}

TEST_F(QelStreamDataTest, SetOutOfDateWithFalseOnlyResetsTheContainer) {
    data().setOutOfDate(false);
    expectState(true, false);
    EXPECT_EQ(1, data().resets);
    data().setStatus(true);
    data().setOutOfDate(false);
    expectState(false, true);
    EXPECT_EQ(2, data().resets);
    data().setStatusError(someError());
    data().setOutOfDate(false);
    expectState(false, false);
    EXPECT_EQ(3, data().resets);
    expectSame(someError(), *data().statusError());
}

TEST_F(QelStreamDataTest, AChangeOfTheTransformMakesItStale) {
    data().getStatus();
    int const before = data().resets;
    transform_->markOutOfDate(true);
    expectState(true, false);
    EXPECT_EQ(before + 1, data().resets);
}

TEST_F(QelStreamDataTest, UpdateAsksTheTransform) {
    data().update();
    EXPECT_EQ(1, transform_->count("setup"));
    expectState(false, true);
    // The transform is up to date, so there is nothing to set up.
    data().update();
    EXPECT_EQ(1, transform_->count("setup"));
    transform_->markOutOfDate(true);
    data().update();
    EXPECT_EQ(2, transform_->count("setup"));
    expectState(false, true);
}

TEST_F(QelStreamDataTest, UpdateRaisesNothingForASetupThatDoes) {
    transform_->onSetup = [] { throw std::runtime_error("from the setup"); };
    data().update();
    expectState(false, false);
    EXPECT_EQ(QelErrorCode::setupFailed, data().getStatus().getErrcode());
}

TEST_F(QelStreamDataTest, OneWithoutTransformIsBad) {
    MoxSmartPtr<PlainOutput> const alone(new PlainOutput("data"));
    alone->data.update();
    EXPECT_FALSE(alone->data.statusOk());
    expectQelError(alone->data.getStatus(), QelErrorCode::noStatusMessage,
                   "There is no status message in transform NULL");
    EXPECT_TRUE(alone->data.outOfDate());
}

// ---- The output's answers come from here

TEST_F(QelStreamDataTest, TheOutputAnswersWithItsStatus) {
    EXPECT_TRUE(output_->getStatus());
    EXPECT_EQ(1, transform_->count("setup"));
    data().setStatusError(someError());
    EXPECT_FALSE(output_->getStatus());
    expectSame(someError(), output_->getStatusMessage());
}

// ---- Caching

TEST_F(QelStreamDataTest, TheFirstWhoWantsCachingTurnsItOnAndTheLastTurnsItOff) {
    using Told = std::vector<bool>;
    data().setCachingClient(true);
    EXPECT_TRUE(data().caching());
    EXPECT_EQ(1, data().cachingCount());
    EXPECT_EQ(Told({true}), container().cachings);
    data().setCachingClient(true);
    EXPECT_EQ(2, data().cachingCount());
    EXPECT_EQ(Told({true}), container().cachings);
    data().setCachingClient(false);
    EXPECT_EQ(1, data().cachingCount());
    EXPECT_EQ(Told({true}), container().cachings);
    data().setCachingClient(false);
    EXPECT_FALSE(data().caching());
    EXPECT_EQ(0, data().cachingCount());
    EXPECT_EQ(Told({true, false}), container().cachings);
}

TEST_F(QelStreamDataTest, TwoOnAndOneOffLeavesCachingOn) {
    data().setCachingClient(true);
    data().setCachingClient(true);
    data().setCachingClient(false);
    EXPECT_TRUE(data().caching());
}

TEST_F(QelStreamDataTest, TheCountNeverFallsBelow0) {
    data().setCachingClient(false);
    EXPECT_EQ(0, data().cachingCount());
    EXPECT_FALSE(data().caching());
    data().setCachingClient(true);
    EXPECT_EQ(1, data().cachingCount());
    EXPECT_TRUE(data().caching());
    data().setCachingClient(false);
    data().setCachingClient(false);
    EXPECT_EQ(0, data().cachingCount());
}

TEST_F(QelStreamDataTest, TheContainerIsAskedForAtEachChange) {
    MoxSmartPtr<PlainContainer> const first = data().container;
    data().setCachingClient(true);
    data().container = new PlainContainer(output_.get());
    data().setCachingClient(false);
    EXPECT_EQ(std::vector<bool>({true}), first->cachings);
    EXPECT_EQ(std::vector<bool>({false}), container().cachings);
}

TEST_F(QelStreamDataTest, CachingNeedsNoContainer) {
    data().container.release();
    data().setCachingClient(true);
    EXPECT_TRUE(data().caching());
    data().setCachingClient(false);
    EXPECT_FALSE(data().caching());
    EXPECT_EQ(2, data().containerQuestions);
}

TEST_F(QelStreamDataTest, CachingDoesNotBringItUpToDate) {
    data().setCachingClient(true);
    expectState(true, false);
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelStreamDataTest, ThePointCountsOnceHoweverOftenItIsTold) {
    output_->setCaching(true);
    output_->setCaching(true);
    EXPECT_EQ(1, data().cachingCount());
    output_->setCaching(false);
    output_->setCaching(false);
    EXPECT_EQ(0, data().cachingCount());
}

// ---- Printing

// The lower half of an address.
std::string hexOf(void const * address) {
    std::ostringstream text;
    text << std::hex << std::setw(8) << std::setfill('0')
         << static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
    return text.str();
}

TEST_F(QelStreamDataTest, PrintsALineForEachField) {
    std::string const addresses = "  addr:        0x" + hexOf(&data()) + "\n  owner:       0x" +
                                  hexOf(data().owner()) + "\n  type:        ";
    std::ostringstream before;
    data().print(before, "  ");
    EXPECT_EQ(0U, before.str().find(addresses)) << before.str();
    EXPECT_NE(std::string::npos,
              before.str().find("PlainStreamData\n  status:      0\n  out-of-date: 1\n"
                                "  caching:     0\n"))
        << before.str();
    data().setStatus(true);
    data().setCachingClient(true);
    std::ostringstream after;
    data().print(after, "");
    EXPECT_NE(std::string::npos,
              after.str().find("\nstatus:      1\nout-of-date: 0\ncaching:     1\n"))
        << after.str();
    std::string const text = after.str();
    EXPECT_EQ(6, std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

#include <new>
#include <string>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "ZanError.h"

// What errors cost the heap, and what they say when it has no more.

namespace {

constexpr char const * longText = "a text that is too long for the buffer inside a string";

TEST(ZanErrorAllocationTest, APlainErrorTakesMemoryForLongStringsAlone) {
    AllocationCounter const counter;
    ZanError const brief("QEL", 7, "QelTile.cpp", 1);
    ZanError const copy(brief);
    EXPECT_STREQ("QEL error 7", copy.getMsg());
    EXPECT_EQ(0, counter.allocations());
    ZanError const lengthy("QEL", 7, longText, 1);
    ZanError const lengthyCopy(lengthy);
    EXPECT_STREQ("QEL error 7", lengthyCopy.what());
    EXPECT_EQ(2, counter.allocations());
}

TEST(ZanErrorAllocationTest, CopiesOfPiecesTakeNoMemory) {
    ZanError error("QEL", 7, "f", 1);
    error.appendMsg(longText);
    AllocationCounter const counter;
    ZanError const copy(error);
    ZanError assigned;
    assigned = copy;
    EXPECT_EQ(0, counter.allocations());
}

TEST(ZanErrorAllocationTest, PiecesAreJoinedOnce) {
    ZanError error("QEL", 7, "f", 1);
    error.appendMsg(longText);
    AllocationCounter const counter;
    char const * const text = error.getMsg();
    EXPECT_LT(0, counter.allocations());
    AllocationCounter const afterwards;
    EXPECT_EQ(text, error.getMsg());
    EXPECT_EQ(text, error.what());
    EXPECT_EQ(0, afterwards.allocations());
}

TEST(ZanErrorAllocationTest, AllPiecesAreReleased) {
    AllocationCounter const counter;
    {
        ZanError error("QEL", 7, "f", 1);
        error.appendMsg(longText);
        ZanError copy(error);
        copy.prependMsg(longText).appendMsg(error);
        EXPECT_LT(100U, std::string(copy.getMsg()).size());
        error = copy;
        copy.setMsg(error.getMsg());
        copy = error.appendMsg(copy);
    }
    EXPECT_EQ(0, counter.live());
}

// `add` with the first allocation failing, with the second and so on, until none fails. How many
// did.
template <class Add>
int failEach(ZanError & error, Add const & add) {
    std::string const before = error.getMsg();
    for (int n = 1; n < 100; ++n) {
        bool done = false;
        AllocationCounter const counter;
        try {
            AllocationFault const fault(n);
            add(error);
            done = true;
        } catch (std::bad_alloc const &) {
        }
        if (done) return n - 1;
        EXPECT_EQ(0, counter.live()) << n;
        EXPECT_EQ(before, error.getMsg()) << n;
    }
    ADD_FAILURE() << "it never succeeded";
    return 0;
}

TEST(ZanErrorAllocationTest, AnAdditionThatFailsChangesNothing) {
    ZanError const other = ZanError("Zan", 3, "f", 1).appendMsg(longText);
    ZanError error("QEL", 7, "f", 1);
    // The text that is passed, and two pieces.
    EXPECT_EQ(3, failEach(error, [](ZanError & any) { any.appendMsg(longText); }));
    EXPECT_EQ(2, failEach(error, [](ZanError & any) { any.prependMsg(longText); }));
    EXPECT_LE(2, failEach(error, [&](ZanError & any) { any.appendMsg(other); }));
    EXPECT_EQ(longText + std::string("QEL error 7") + longText + "Zan error 3" + longText,
              error.getMsg());
}

TEST(ZanErrorAllocationTest, WithoutMemoryWhatTellsWhatWasAddedLast) {
    ZanError const error = ZanError("QEL", 7, "f", 1).appendMsg("\nsomewhere").prependMsg(longText);
    for (int const n : {1, 2}) {
        SCOPED_TRACE(n);
        {
            AllocationFault const fault(n);
            EXPECT_STREQ(longText, error.what());
            EXPECT_TRUE(fault.happened());
        }
        AllocationFault const fault(n);
        EXPECT_THROW(error.getMsg(), std::bad_alloc);
    }
    EXPECT_EQ(longText + std::string("QEL error 7\nsomewhere"), error.what());
}

}  // namespace

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelThreadScope.h"

namespace {

class Scope : public QelThreadScope<Scope> {
  public:
    explicit Scope(void const * object) : QelThreadScope(object) {}
};

char const objects[2000] = {};

// Is the thread inside for the first `depth` objects and for no others?
bool isInsideOfFirst(std::size_t depth) {
    for (std::size_t i = 0; i < std::size(objects); ++i)
        if ((Scope::innermost(&objects[i]) != nullptr) != (i < depth)) return false;
    return true;
}

// Begins a scope for each object that is left, and returns how many blocks that took.
std::int64_t blocksOfScopes(std::size_t from, std::size_t to) {
    if (from == to) return 0;
    AllocationCounter const counter;
    Scope const scope(&objects[from]);
    std::int64_t const own = counter.allocations();
    return own + blocksOfScopes(from + 1, to);
}

TEST(QelThreadScopeAllocationTest, AShallowStackTakesNoMemory) {
    EXPECT_EQ(0, blocksOfScopes(0, 64));
    EXPECT_EQ(1, blocksOfScopes(0, 65));
    EXPECT_EQ(1, blocksOfScopes(0, 256));
    EXPECT_EQ(3, blocksOfScopes(0, 2000));
}

TEST(QelThreadScopeAllocationTest, TheOutermostScopeGivesTheMemoryBack) {
    AllocationCounter const counter;
    blocksOfScopes(0, 2000);
    EXPECT_LT(0, counter.allocations());
    EXPECT_EQ(0, counter.live());
}

TEST(QelThreadScopeAllocationTest, WithoutMemoryAStackGrowsAllTheSame) {
    std::vector<std::unique_ptr<Scope>> scopes;
    scopes.reserve(300);
    auto const begin = [&scopes] {
        scopes.push_back(std::make_unique<Scope>(&objects[scopes.size()]));
    };
    while (scopes.size() < 64)
        begin();
    {
        AllocationFault const fault(2);  // the first is that of the scope
        begin();
        EXPECT_TRUE(fault.happened());
    }
    EXPECT_TRUE(isInsideOfFirst(65));
    while (scopes.size() < 300)
        begin();
    EXPECT_TRUE(isInsideOfFirst(300));
    while (scopes.size() > 1)
        scopes.pop_back();
    EXPECT_TRUE(isInsideOfFirst(1));
}

}  // namespace

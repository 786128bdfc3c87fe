#pragma once

#include <cstdint>

// Counts what the calling thread asks of operator new from its construction on.
//
// AllocationCounter.cpp replaces the operators of the whole program, so it belongs only into
// programs that count, and into none that a sanitizer watches.
//
//     AllocationCounter counter;
//     MoxSmartPtr<QelTile> tile(new QelTile(org, id));
//     EXPECT_EQ(2, counter.allocations());
class AllocationCounter {
  public:
    AllocationCounter() noexcept;

    std::int64_t allocations() const noexcept;
    std::int64_t bytes() const noexcept;
    // Allocations less releases: what a thread that works alone did not give back.
    std::int64_t live() const noexcept;

  private:
    std::int64_t allocationsBefore_;
    std::int64_t bytesBefore_;
    std::int64_t releasesBefore_;
};

// Makes one allocation of the calling thread fail: the n-th from its construction on, if it comes
// in the fault's life. 1 is the next. Faults do not nest.
class AllocationFault {
  public:
    explicit AllocationFault(std::int64_t n) noexcept;
    AllocationFault(AllocationFault const &) = delete;
    AllocationFault & operator=(AllocationFault const &) = delete;
    ~AllocationFault();

    bool happened() const noexcept;
};

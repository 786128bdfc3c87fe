#pragma once

#include <atomic>
#include <cstdint>

#include "QelThreadScope.h"

class Qel2DImage;
class QelTile;

// What one thread is doing for images: the tiles it makes and computes, what it waits for, and the
// images whose computes it is inside of.
//
// Invariants:
// 1. A job's worker is the thread that does it; only that thread ends its own claim.
// 2. A thread waits for at most one job, which stays while it waits, and says so under one lock
//    that no thread takes unless it has to wait.
// 3. Threads never wait in a cycle: the thread about to close it gets an error instead.
class QelThreadWork {
  public:
    // Something that one thread at a time does, and others wait for: its worker, null while there
    // is none.
    using Job = std::atomic<QelThreadWork *>;

    QelThreadWork() = default;
    QelThreadWork(QelThreadWork const &) = delete;
    QelThreadWork & operator=(QelThreadWork const &) = delete;
    ~QelThreadWork();

    // The right to compute one tile, held for a scope.
    class Claim {
      public:
        // Waits while another thread computes `tile`. Raises QelError misuse (3) when that could
        // never end, because the tile's own computation needs it.
        explicit Claim(QelTile & tile);
        ~Claim();
        Claim(Claim const &) = delete;
        Claim & operator=(Claim const &) = delete;

        // False when the tile is complete: there is nothing to do.
        bool won() const { return won_; }

      private:
        QelTile & tile_;
        bool won_;
    };

    // The right to have the tile (x, y) of a grid made, held for a scope.
    class Making {
      public:
        // Waits while another thread has it. Raises QelError misuse (3) when that can never end,
        // because making the tile needs it.
        Making(Job & job, std::int32_t x, std::int32_t y);
        ~Making();
        Making(Making const &) = delete;
        Making & operator=(Making const &) = delete;

      private:
        Job & job_;
    };

    // Marks, for a scope, that the calling thread is inside a compute that `image` started.
    class Inside : public QelThreadScope<Inside> {
      public:
        explicit Inside(Qel2DImage const & image) : QelThreadScope(&image) {}
    };

    static bool isInside(Qel2DImage const & image) { return Inside::innermost(&image) != nullptr; }

  private:
    static QelThreadWork & mine();
    static bool waitsForever(QelThreadWork const * self, Job const & job);
    template <class Circle>
    static void wait(QelThreadWork & self, Job & job, Circle const & textOfCircle);
    static bool take(Job & job, QelThreadWork & self);
    static void leave(Job & job);
    static bool isComplete(QelTile const & tile);

    Job const * waitingFor_ = nullptr;  // guarded by the lock of the waiting threads
};

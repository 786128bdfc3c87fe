#pragma once

#include <atomic>

#include "QelThreadScope.h"

class Qel2DImage;
class QelTile;

// What one thread is doing for images: the tiles it computes, the tile it waits for, and the
// images whose computes it is inside of.
//
// Invariants:
// 1. A tile's worker is the thread that computes it; only that thread ends its own claim.
// 2. A thread waits for at most one tile, holds a reference on it, and says so under one lock
//    that nobody takes unless he has to wait.
// 3. No thread waits in a circle: the thread that would close it gets an error instead.
class QelThreadWork {
  public:
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

    // Marks, for a scope, that the calling thread is inside a compute that `image` started.
    class Inside : public QelThreadScope<Inside> {
      public:
        explicit Inside(Qel2DImage const & image) : QelThreadScope(&image) {}
    };

    static bool isInside(Qel2DImage const & image) { return Inside::innermost(&image) != nullptr; }

  private:
    static QelThreadWork & mine();
    static bool waitsForever(QelThreadWork const * self, QelTile const & tile);
    static void wait(QelThreadWork & self, QelTile & tile);
    static bool isComplete(QelTile const & tile);

    QelTile const * waitingFor_ = nullptr;  // guarded by the lock of the waiting threads
};

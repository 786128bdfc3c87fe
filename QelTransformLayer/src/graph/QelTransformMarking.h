#pragma once

#include "QelTransform.h"

// Marks a transform and all that is downstream out of date, without recursion and without memory: a
// transform that is asked for from within the marking of another one waits in a list that runs
// through the transforms themselves. The order is depth first: what a transform asks for comes, in
// that order, ahead of what has been waiting.
class QelTransform::Marking {
  public:
    static void run(QelTransform & transform);
    // Ahead of a transform's end.
    static void forget(QelTransform & transform) noexcept {
        if (transform.mark_.isLinked()) transform.mark_.unlink();
    }

  private:
    static Marking & ofThisThread();

    void drain();
    static void mark(QelTransform & transform);

    bool active_ = false;
    MarkLink waiting_{nullptr};
    MarkLink asked_{nullptr};
};

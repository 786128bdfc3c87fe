#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "QelExport.h"

// Adds up intervals of real time, in milliseconds of a clock that never goes back. A value that
// can be copied; not for use by several threads at once.
class QEL_API QelStopwatch {
  public:
    // The total is 0. If `startNow` is set, an interval begins.
    explicit QelStopwatch(bool startNow);

    // Begins an interval. One in progress is dropped and not counted. If `reset` is set, the total
    // becomes 0 first.
    void start(bool reset);

    // Ends the interval: adds its milliseconds to the total and returns them. Adds nothing and
    // returns 0 if none is in progress.
    std::int64_t stop();

    // The total of the intervals that have ended, in seconds.
    double seconds() const;

  private:
    std::int64_t totalMilliseconds_ = 0;
    std::optional<std::int64_t> startTick_;
};

// Writes seconds() the way the stream writes a double: with its own precision, width and locale.
QEL_API std::ostream & operator<<(std::ostream & stream, QelStopwatch const & watch);

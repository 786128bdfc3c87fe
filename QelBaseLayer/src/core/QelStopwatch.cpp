#include "QelStopwatch.h"

#include <chrono>
#include <ostream>

namespace {

std::int64_t currentTick() {
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

}  // namespace

QelStopwatch::QelStopwatch(bool startNow) {
    if (startNow) start(false);
}

void QelStopwatch::start(bool reset) {
    if (reset) totalMilliseconds_ = 0;
    startTick_ = currentTick();
}

std::int64_t QelStopwatch::stop() {
    if (!startTick_) return 0;
    std::int64_t const ticks = currentTick() - *startTick_;
    startTick_.reset();
    totalMilliseconds_ += ticks;
    return ticks;
}

double QelStopwatch::seconds() const {
    return static_cast<double>(totalMilliseconds_) / 1000.0;
}

std::ostream & operator<<(std::ostream & stream, QelStopwatch const & watch) {
    return stream << watch.seconds();
}

#pragma once

#include <functional>
#include <string_view>

#include "QelExport.h"

// Where the library's trace lines and remarks go: standard output, unless a client redirects
// them. Safe from any thread; each call of write() reaches the receiver as a whole.
class QEL_API QelOutput {
  public:
    using Receiver = std::function<void(std::string_view)>;

    QelOutput() = delete;

    static void write(std::string_view text);

    // Sends all that follows to `receiver`; an empty one restores standard output. Returns the
    // previous receiver. The receiver must not call redirect() itself, and is called with a lock
    // held that only write() and redirect() take.
    static Receiver redirect(Receiver receiver);
};

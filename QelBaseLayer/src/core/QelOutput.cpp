#include "QelOutput.h"

#include <cstdio>
#include <utility>

#include "ZanImmortal.h"
#include "ZanMutex.h"

namespace {

struct Output {
    // Recursive, so that a receiver which makes the library write once more does not lock itself
    // out.
    ZanMutex lock;
    QelOutput::Receiver receiver ZAN_GUARDED_BY(lock);
};

// Lives on through the exit of the process, when static objects may still have something to say.
Output & output() {
    static ZanImmortal<Output> instance;
    return instance.get();
}

}  // namespace

void QelOutput::write(std::string_view text) {
    Output & to = output();
    ZanLock const guard(to.lock);
    if (to.receiver) {
        to.receiver(text);
    } else {
        // Not std::cout, which static objects may find not yet constructed.
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
}

QelOutput::Receiver QelOutput::redirect(Receiver receiver) {
    Output & to = output();
    ZanLock const guard(to.lock);
    return std::exchange(to.receiver, std::move(receiver));
}

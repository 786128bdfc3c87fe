#include "QelFileSource.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "QelError.h"
#include "ZanSystem.h"

namespace {

constexpr std::size_t chunkBytes = 64 * 1024;

// The first chunk has at least this size, if the file does: enough to recognise the format.
constexpr std::size_t leastOfFirstChunk = 64;

// Opens and reads at once, so that a file that fails is closed again.
int openToRead(std::string const & name) {
    return ZanSystem::current().openFile(name, O_RDONLY, 0);
}

}  // namespace

QelFileSource::QelFileSource(std::string name)
    : name_(std::move(name)), chunk_(std::make_unique<std::uint8_t[]>(chunkBytes)) {
    file_ = openToRead(name_);
    if (file_ < 0) fail(std::generic_category().message(errno));
    readFirstChunk();
    if (error_ == 0) return;
    ZanSystem::current().closeFile(file_);
    fail(std::generic_category().message(error_));
}

QelFileSource::~QelFileSource() {
    ZanSystem::current().closeFile(file_);
}

void QelFileSource::readFirstChunk() {
    std::size_t count = 1;
    while (count > 0 && size_ < leastOfFirstChunk) {
        count = readInto(size_);
        size_ += count;
    }
}

bool QelFileSource::next() noexcept {
    size_ = readInto(0);
    return size_ > 0;
}

std::size_t QelFileSource::readInto(std::size_t at) noexcept {
    std::ptrdiff_t const count =
        ZanSystem::current().readFile(file_, chunk_.get() + at, chunkBytes - at);
    if (count >= 0) return static_cast<std::size_t>(count);
    error_ = errno;
    return 0;
}

void QelFileSource::fail(std::string const & reason) const {
    qelRaise(QelErrorCode::invalidValue, "Cannot read " + name_ + ": " + reason);
}

#include "QelFileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "QelError.h"
#include "ZanSystem.h"

namespace {

constexpr unsigned permissions = 0777;

// Where a chain of symbolic links ends; the name itself when it is none, or leads nowhere yet.
std::string followed(std::string const & name) {
    std::error_code ignored;
    if (!std::filesystem::is_symlink(std::filesystem::symlink_status(name, ignored))) return name;
    std::filesystem::path const end = std::filesystem::canonical(name, ignored);
    return ignored ? name : end.string();
}

std::string folderOf(std::string const & name) {
    std::size_t const slash = name.rfind('/');
    return slash == std::string::npos ? std::string() : name.substr(0, slash + 1);
}

// A short name, since the folder may not allow one longer than the target's.
std::string temporaryName(std::string const & folder) {
    static std::atomic<unsigned> count{0};
    return folder + ".qel-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".tmp";
}

}  // namespace

QelFileReplacement::QelFileReplacement(std::string name)
    : name_(std::move(name)), target_(followed(name_)) {
    struct stat there {};
    if (::stat(target_.c_str(), &there) == 0) {
        if (S_ISDIR(there.st_mode)) fail(std::generic_category().message(EISDIR));
        if (!S_ISREG(there.st_mode)) fail("it is not a regular file");
        mode_ = static_cast<int>(there.st_mode & permissions);
    }
    open(folderOf(target_));
}

QelFileReplacement::~QelFileReplacement() {
    if (file_ >= 0) ZanSystem::current().closeFile(file_);
    if (!temporary_.empty()) ZanSystem::current().removeFile(temporary_);
}

void QelFileReplacement::open(std::string const & folder) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL;
    // Never more permissive than the file that it replaces, not even for a moment.
    unsigned const mode = mode_ < 0 ? 0666U : static_cast<unsigned>(mode_) & 0666U;
    std::string candidate;
    do {
        candidate = temporaryName(folder);
        file_ = ZanSystem::current().openFile(candidate, flags, mode);
    } while (file_ < 0 && errno == EEXIST);
    check(file_);
    temporary_ = std::move(candidate);
}

bool QelFileReplacement::write(std::uint8_t const * bytes, std::size_t count) noexcept {
    while (count > 0) {
        std::ptrdiff_t const written = ZanSystem::current().writeFile(file_, bytes, count);
        if (written <= 0) {
            error_ = written < 0 ? errno : ENOSPC;
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

void QelFileReplacement::commit() {
    ZanSystem & system = ZanSystem::current();
    if (mode_ >= 0) check(::fchmod(file_, static_cast<mode_t>(mode_)));
    check(system.syncFile(file_));
    check(system.closeFile(std::exchange(file_, -1)));
    check(system.renameFile(temporary_, target_));
    temporary_.clear();
}

void QelFileReplacement::check(int result) const {
    if (result < 0) fail(std::generic_category().message(errno));
}

void QelFileReplacement::fail(std::string const & reason) const {
    qelRaise(QelErrorCode::invalidValue, "Cannot write " + name_ + ": " + reason);
}

#include "ZanError.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>

namespace {

char const * orEmpty(char const * text) {
    return text != nullptr ? text : "";
}

// strerror_r comes in two kinds: one returns the text, which need not be in the buffer, the other
// a status. Overloading picks the right one without asking the compiler which system it is on.
[[maybe_unused]] char const * textOf(char const * text, char const * /*buffer*/) {
    return text;
}
[[maybe_unused]] char const * textOf(int status, char const * buffer) {
    return status == 0 ? buffer : "Unknown error";
}

}  // namespace

bool ZanError::useLines = true;

ZanError::ZanError() : msg_("no error") {}

ZanError::ZanError(char const * component, int code, char const * file, int line)
    : component_(orEmpty(component)),
      code_(code),
      file_(orEmpty(file)),
      line_(line),
      msg_(component_ + " error " + std::to_string(code)) {}

ZanError::~ZanError() = default;

// ---- Text in pieces

// A text, and what it was added to. Does not change, so that any number of texts and threads may
// share it.
struct ZanError::Pieces::Piece {
    Piece(std::string added, bool aheadOfRest, Piece const * former)
        : text(std::move(added)),
          isAhead(aheadOfRest),
          rest(former),
          size(text.size() + (former != nullptr ? former->size : 0)) {}

    std::string text;
    bool isAhead;        // of the rest; else it is behind it
    Piece const * rest;  // counted; null for the first piece
    std::size_t size;    // of all of it
    mutable std::atomic<std::int64_t> holders{1};
};

void ZanError::Pieces::hold(Piece const * piece) noexcept {
    if (piece != nullptr) piece->holders.fetch_add(1, std::memory_order_relaxed);
}

// A loop: a piece that ended its rest in its destructor would need a stack as deep as a text has
// pieces.
void ZanError::Pieces::release(Piece const * piece) noexcept {
    while (piece != nullptr && piece->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        std::unique_ptr<Piece const> const ended(piece);
        piece = ended->rest;
    }
}

ZanError::Pieces::Pieces(std::string text) {
    add(std::move(text), false);
}

ZanError::Pieces::Pieces(Pieces const & other) noexcept : last_(other.last_) {
    hold(last_);
}

ZanError::Pieces & ZanError::Pieces::operator=(Pieces const & other) noexcept {
    hold(other.last_);
    release(std::exchange(last_, other.last_));
    forgetJoined();
    return *this;
}

ZanError::Pieces::~Pieces() {
    forgetJoined();
    release(last_);
}

void ZanError::Pieces::forgetJoined() noexcept {
    std::unique_ptr<std::string const> const former(joined_.exchange(nullptr));
}

// The reference on the former last piece passes to the new one.
void ZanError::Pieces::add(std::string text, bool isAhead) {
    last_ = std::make_unique<Piece const>(std::move(text), isAhead, last_).release();
    forgetJoined();
}

// From the last piece on, from both ends inwards.
std::string ZanError::Pieces::join() const {
    std::string whole(last_->size, ' ');
    auto start = whole.begin();
    auto end = whole.end();
    for (Piece const * piece = last_; piece != nullptr; piece = piece->rest) {
        if (piece->isAhead) {
            start = std::copy(piece->text.begin(), piece->text.end(), start);
        } else {
            end = std::copy_backward(piece->text.begin(), piece->text.end(), end);
        }
    }
    return whole;
}

std::string const & ZanError::Pieces::joined() const {
    std::string const * known = joined_.load(std::memory_order_acquire);
    if (known != nullptr) return *known;
    auto mine = std::make_unique<std::string const>(join());
    // Another thread may have been faster.
    if (!joined_.compare_exchange_strong(known, mine.get())) return *known;
    return *mine.release();
}

char const * ZanError::Pieces::lastAdded() const noexcept {
    return last_->text.c_str();
}

// ---- Text

char const * ZanError::what() const noexcept {
    try {
        return text().c_str();
    } catch (...) {
        return pieces_.lastAdded();
    }
}

char const * ZanError::getMsg() const {
    return text().c_str();
}

ZanError & ZanError::setMsg(char const * text) {
    // Through a separate string, since the text may be a part of this error's own.
    return setMsg(std::string(orEmpty(text)));
}

ZanError & ZanError::setMsg(std::string const & text) {
    msg_ = text;
    pieces_ = Pieces();
    return *this;
}

ZanError & ZanError::appendMsg(std::string text) {
    Pieces longer = inPieces();
    longer.append(std::move(text));
    setPieces(longer);
    return *this;
}

ZanError & ZanError::prependMsg(std::string text) {
    Pieces longer = inPieces();
    longer.prepend(std::move(text));
    setPieces(longer);
    return *this;
}

ZanError & ZanError::appendMsg(ZanError const & other) {
    // A class derived from this one may have a text of its own.
    Pieces longer = other.pieces_.isEmpty() ? Pieces(other.getMsg()) : other.pieces_;
    longer.prepend(text());
    setPieces(longer);
    return *this;
}

void ZanError::setPieces(Pieces const & pieces) noexcept {
    pieces_ = pieces;
    msg_.clear();
}

void ZanError::print(std::ostream & out) const {
    std::string all = component_.empty() ? "" : component_ + ' ';
    all += "error " + std::to_string(code_);
    if (useLines && !file_.empty()) all += " at " + file_ + ':' + std::to_string(line_);
    all += ": " + text();
    out.write(all.data(), static_cast<std::streamsize>(all.size()));
}

int ZanError::getSystemErrorCode() {
    return errno;
}

std::string ZanError::getSystemErrorMsg() {
    int const code = errno;
    char buffer[256] = "";
    std::string text = textOf(::strerror_r(code, buffer, sizeof buffer), buffer);
    errno = code;
    return text;
}

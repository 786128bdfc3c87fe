#pragma once

#include <memory>
#include <utility>

#include "ZanError.h"

// Owns the error that a thread's body left behind, or nothing. Converts to a plain pointer for the
// test "did it fail?"; the error is destroyed with this object.
class QEL_API ZanErrp {
  public:
    ZanErrp() = default;

    // Takes over `error`, which may be null.
    explicit ZanErrp(std::unique_ptr<ZanError> error) : error_(std::move(error)) {}

    operator ZanError *() const { return error_.get(); }
    ZanError * operator->() const { return error_.get(); }

  private:
    std::unique_ptr<ZanError> error_;
};

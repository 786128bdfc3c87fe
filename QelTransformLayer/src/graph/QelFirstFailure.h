#pragma once

#include <exception>

// For walks that must reach everybody: what one of them raises is kept until all have been reached.
class QelFirstFailure {
  public:
    // Calls step(); keeps what it raises, unless something is kept already.
    template <class Step>
    void attempt(Step const & step) {
        try {
            step();
        } catch (...) {
            if (!failure_) failure_ = std::current_exception();
        }
    }

    // Raises what is kept.
    void raise() const {
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    std::exception_ptr failure_;
};

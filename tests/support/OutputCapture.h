#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "QelOutput.h"

// Collects what the library writes to its output while it lives, and restores the former receiver
// at its end. Captures nest. Any thread may write; text() and take() may be called meanwhile.
class OutputCapture {
  public:
    OutputCapture()
        : former_(QelOutput::redirect([this](std::string_view text) { append(text); })) {}
    OutputCapture(OutputCapture const &) = delete;
    OutputCapture & operator=(OutputCapture const &) = delete;
    ~OutputCapture() { QelOutput::redirect(std::move(former_)); }

    // All that was written so far.
    std::string text() const {
        std::lock_guard<std::mutex> const guard(lock_);
        return text_;
    }

    // The same, and starts anew.
    std::string take() {
        std::lock_guard<std::mutex> const guard(lock_);
        return std::exchange(text_, std::string());
    }

  private:
    void append(std::string_view text) {
        std::lock_guard<std::mutex> const guard(lock_);
        text_ += text;
    }

    mutable std::mutex lock_;
    std::string text_;
    QelOutput::Receiver former_;
};

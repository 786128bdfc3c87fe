#pragma once

#include <utility>

// Changes a global setting and restores it at the end of the scope.
template <class T>
class ScopedSetting {
  public:
    ScopedSetting(T & setting, T value)
        : setting_(setting), before_(std::exchange(setting, std::move(value))) {}
    ScopedSetting(ScopedSetting const &) = delete;
    ScopedSetting & operator=(ScopedSetting const &) = delete;
    ~ScopedSetting() { setting_ = std::move(before_); }

  private:
    T & setting_;
    T before_;
};

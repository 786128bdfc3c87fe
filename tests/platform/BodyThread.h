#pragma once

#include <functional>
#include <utility>

#include "ZanThread.h"

// A thread whose body is a function that the test gives.
class BodyThread : public ZanThread<ZanMutex> {
  public:
    explicit BodyThread(std::function<void()> body = [] {}) : body_(std::move(body)) {}

    // Lets a test have the object on its stack and leave in any way.
    ~BodyThread() override { join(); }

    void runAndWait() {
        launch();
        join();
    }

  protected:
    void run() override { body_(); }

  private:
    std::function<void()> body_;
};

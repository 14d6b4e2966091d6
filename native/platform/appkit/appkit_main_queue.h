#pragma once

#include "main_queue.h"

namespace quill::appkit {

/// The main dispatch queue and the main run loop. What was posted runs also after the object is gone.
class MainQueue : public quill::MainQueue {
 public:
  bool isCurrent() const override;
  void post(std::function<void()> work) override;
  std::unique_ptr<Timer> repeat(std::chrono::nanoseconds period, std::function<void()> tick) override;
};

}  // namespace quill::appkit

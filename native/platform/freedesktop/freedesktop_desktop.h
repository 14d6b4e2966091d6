#pragma once

#include "desktop.h"
#include "glib_main_queue.h"

namespace quill::freedesktop {

/// The panels of Linux desktops, reached through the session bus from GLib's default main context.
class Desktop : public quill::Desktop {
 public:
  Desktop() { application.emplace(); }

  MainQueue& mainQueue() override { return mainQueue_; }
  /// Null where the environment names no session bus; a bus that is not there yet is waited for.
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  void prepare(Image& image) override;
  void terminate() override;

 private:
  GlibMainQueue mainQueue_;
};

}  // namespace quill::freedesktop

#pragma once

#include <functional>

#include "application.h"
#include "name_owner.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// Whether the user prefers dark windows, as the desktop portal tells, now and after each change. A
/// portal that does not run is waited for, and not started. Main thread.
class ColorScheme {
 public:
  /// `changed` is called with what the portal tells; it may be what it told before.
  explicit ColorScheme(std::function<void(Appearance)> changed);
  ColorScheme(const ColorScheme&) = delete;
  ColorScheme& operator=(const ColorScheme&) = delete;

  void follow(sd_bus* bus);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  static int onSettingChanged(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onRead(sd_bus_message* message, void* self, sd_bus_error* error);

  void read();
  void take(sd_bus_message* value);

  std::function<void(Appearance)> changed_;
  sd_bus* bus_ = nullptr;  // not owned
  NameOwner portal_;
  SlotHandle settingChanged_;
  SlotHandle reading_;
};

}  // namespace quill::freedesktop

#pragma once

#include <glib.h>

#include <chrono>
#include <memory>

namespace quill::freedesktop {

/// The time zone that is the process's when this is made; what the host does to TZ later does not reach it.
class TimeZone {
 public:
  TimeZone();

  /// Seconds east of UTC at an instant. Any thread.
  std::chrono::seconds utcOffset(std::chrono::sys_seconds at) const;

 private:
  struct Unref {
    void operator()(GTimeZone* zone) const { g_time_zone_unref(zone); }
  };
  std::unique_ptr<GTimeZone, Unref> zone_;
};

}  // namespace quill::freedesktop

#include "time_zone.h"

#include <cstdlib>
#include <string>

namespace quill::freedesktop {

TimeZone::TimeZone() {
  const auto named = [this](const std::string& name) {
    zone_.reset(g_time_zone_new_identifier(name.c_str()));
    return zone_ != nullptr;
  };
  const char* const name = std::getenv("TZ");
  // As in C's library, summer time without a rule has that of the USA; GLib refuses it.
  if (name != nullptr && (named(name) || named(std::string(name) + ",M3.2.0,M11.1.0"))) return;
  zone_.reset(g_time_zone_new_local());
}

std::chrono::seconds TimeZone::utcOffset(std::chrono::sys_seconds at) const {
  const int interval = g_time_zone_find_interval(zone_.get(), G_TIME_TYPE_UNIVERSAL, at.time_since_epoch().count());
  return std::chrono::seconds(g_time_zone_get_offset(zone_.get(), interval));
}

}  // namespace quill::freedesktop

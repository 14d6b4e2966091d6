#include "time_zone.h"

namespace quill::freedesktop {

std::chrono::seconds TimeZone::utcOffset(std::chrono::sys_seconds at) const {
  const int interval = g_time_zone_find_interval(zone_.get(), G_TIME_TYPE_UNIVERSAL, at.time_since_epoch().count());
  return std::chrono::seconds(g_time_zone_get_offset(zone_.get(), interval));
}

}  // namespace quill::freedesktop

#include <glib.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include "no_destructor.h"
#include "posix_environment.h"

namespace quill {
namespace {

/// The process's time zone now; what the host does to TZ later does not change it.
std::shared_ptr<GTimeZone> currentTimeZone() {
  const char* const name = std::getenv("TZ");
  GTimeZone* zone = name != nullptr ? g_time_zone_new_identifier(name) : nullptr;
  if (name != nullptr && zone == nullptr) {
    // C's library gives summer time without a rule that of the USA; GLib refuses it.
    zone = g_time_zone_new_identifier((std::string(name) + ",M3.2.0,M11.1.0").c_str());
  }
  return {zone != nullptr ? zone : g_time_zone_new_local(), g_time_zone_unref};
}

}  // namespace

Environment& Environment::current() {
  static NoDestructor<posix::Environment> environment([zone = currentTimeZone()](std::chrono::sys_seconds at) {
    const int interval = g_time_zone_find_interval(zone.get(), G_TIME_TYPE_UNIVERSAL, at.time_since_epoch().count());
    return std::chrono::seconds(g_time_zone_get_offset(zone.get(), interval));
  });
  return environment.get();
}

}  // namespace quill

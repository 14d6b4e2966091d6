#include "immortal.h"
#include "posix_surroundings.h"
#include "time_zone.h"

namespace quill {

Surroundings& Surroundings::current() {
  static const Immortal<freedesktop::TimeZone> zone([] { return freedesktop::TimeZone(); });
  static const Immortal<posix::Surroundings> surroundings(
      [] { return posix::Surroundings([](std::chrono::sys_seconds at) { return zone.get().utcOffset(at); }); });
  return surroundings.get();
}

}  // namespace quill

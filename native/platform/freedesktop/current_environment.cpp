#include "no_destructor.h"
#include "posix_environment.h"
#include "time_zone.h"

namespace quill {

Environment& Environment::current() {
  static constinit NoDestructor<posix::Environment> environment;
  return environment.get([] {
    return posix::Environment([zone = std::make_shared<freedesktop::TimeZone>()](std::chrono::sys_seconds at) {
      return zone->utcOffset(at);
    });
  });
}

}  // namespace quill

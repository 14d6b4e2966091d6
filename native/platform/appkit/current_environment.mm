#include "handle.h"
#include "no_destructor.h"
#include "nsstring.h"
#include "posix_environment.h"

namespace quill {
namespace appkit {
namespace {

// Without the guard, whose error line would come back here.

/// That of the process at the time of making; its rules are asked for each instant.
class TimeZone {
 public:
  TimeZone() {
    @autoreleasepool {
      zone_ = Handle<NSTimeZone>([NSTimeZone defaultTimeZone]);
    }
  }

  std::chrono::seconds utcOffset(std::chrono::sys_seconds at) const {
    @autoreleasepool {
      NSDate* const date = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(at.time_since_epoch().count())];
      return std::chrono::seconds([zone_.get() secondsFromGMTForDate:date]);
    }
  }

 private:
  Handle<NSTimeZone> zone_;
};

class Environment : public posix::Environment {
 public:
  using posix::Environment::Environment;

  std::optional<std::filesystem::path> userDirectory(const std::string& /*home*/) override {
    @autoreleasepool {
      NSArray* const known = [[NSFileManager defaultManager] URLsForDirectory:NSUserDirectory
                                                                    inDomains:NSUserDomainMask];
      if ([known count] == 0) return std::nullopt;
      return toString([static_cast<NSURL*>([known objectAtIndex:0]) path]);
    }
  }
};

}  // namespace
}  // namespace appkit

Environment& Environment::current() {
  static constinit NoDestructor<appkit::Environment> environment;
  return environment.get([] {
    return appkit::Environment([zone = appkit::TimeZone()](std::chrono::sys_seconds at) { return zone.utcOffset(at); });
  });
}

}  // namespace quill

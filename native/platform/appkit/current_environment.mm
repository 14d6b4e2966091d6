#include "foundation.h"
#include "no_destructor.h"
#include "posix_environment.h"

namespace quill {
namespace {

/// Asks NSFileManager for the user's directory. userDirectory() does not use guarded(), because an error line
/// would need that directory.
class MacEnvironment : public posix::Environment {
 public:
  using posix::Environment::Environment;

  std::optional<std::filesystem::path> userDirectory(const std::string& /*home*/) override {
    @autoreleasepool {
      NSArray* const known = [[NSFileManager defaultManager] URLsForDirectory:NSUserDirectory
                                                                    inDomains:NSUserDomainMask];
      if ([known count] == 0) return std::nullopt;
      return appkit::toString([static_cast<NSURL*>([known objectAtIndex:0]) path]);
    }
  }
};

/// Returns a function that uses the rules of the process's time zone at the time of this call.
posix::Environment::UtcOffset utcOffset() {
  @autoreleasepool {
    return [zone = appkit::Handle<NSTimeZone>([NSTimeZone defaultTimeZone])](std::chrono::sys_seconds at) {
      @autoreleasepool {
        NSDate* const date = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(at.time_since_epoch().count())];
        return std::chrono::seconds([zone.get() secondsFromGMTForDate:date]);
      }
    };
  }
}

}  // namespace

Environment& Environment::current() {
  static NoDestructor<MacEnvironment> environment(utcOffset());
  return environment.get();
}

}  // namespace quill

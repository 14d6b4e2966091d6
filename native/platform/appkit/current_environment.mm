#import <Foundation/Foundation.h>

#include "guard.h"
#include "handle.h"
#include "immortal.h"
#include "posix_surroundings.h"

namespace quill {
namespace appkit {
namespace {

/// That of the process, as it was when this was made; only its rules for the clock are asked later.
class TimeZone {
 public:
  TimeZone() {
    guarded([this] { zone_ = Handle<NSTimeZone>([NSTimeZone defaultTimeZone]); });
  }

  std::chrono::seconds utcOffset(std::chrono::sys_seconds at) const {
    std::chrono::seconds offset{0};
    guarded([&] {
      NSDate* const date = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(at.time_since_epoch().count())];
      offset = std::chrono::seconds([zone_.get() secondsFromGMTForDate:date]);
    });
    return offset;
  }

 private:
  Handle<NSTimeZone> zone_;
};

class Environment : public posix::Surroundings {
 public:
  using posix::Surroundings::Surroundings;

  std::optional<std::filesystem::path> userDirectory(const std::string& /*home*/) override {
    std::optional<std::filesystem::path> directory;
    guarded([&] {
      NSArray* const known = [[NSFileManager defaultManager] URLsForDirectory:NSUserDirectory
                                                                    inDomains:NSUserDomainMask];
      if ([known count] > 0) directory = toString([static_cast<NSURL*>([known objectAtIndex:0]) path]);
    });
    return directory;
  }
};

}  // namespace
}  // namespace appkit

Surroundings& Surroundings::current() {
  static const Immortal<appkit::TimeZone> zone([] { return appkit::TimeZone(); });
  static const Immortal<appkit::Environment> environment(
      [] { return appkit::Environment([](std::chrono::sys_seconds at) { return zone.get().utcOffset(at); }); });
  return environment.get();
}

}  // namespace quill

#include "xembed_tray.h"

#include <utility>

#include "member_callbacks.h"
#include "sandbox.h"

namespace quill::freedesktop {
namespace {

constexpr auto kTrayProgram = "org.quill.TrayXEmbed";  // of its interface as well
constexpr auto kTrayProgramPath = "/org/quill/TrayXEmbed";
constexpr auto kProgramEnd =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.quill.TrayXEmbed',arg2=''";

/// A panel that starts along with the host, or restarts after a crash, needs less.
constexpr std::chrono::milliseconds kFirstCallDelay{1'000};
constexpr std::chrono::milliseconds kMaxCallDelay{3'600'000};
/// If the program ran for longer, its end has a new cause, and the delays start at the first one.
constexpr std::chrono::minutes kSettled{1};

bool isPossible() {
  return !environmentVariable("DISPLAY").empty() && environmentVariable("WAYLAND_DISPLAY").empty() &&
         environmentVariable("QUILL_TRAY_XEMBED") != "0";
}

}  // namespace

XEmbedTray::XEmbedTray(GlibMainQueue& queue, const char* path, std::function<void()> beforeShow)
    : path_(path),
      beforeShow_(std::move(beforeShow)),
      backoff_(kFirstCallDelay, kMaxCallDelay),
      call_(queue, [this] { show(); }) {}

void XEmbedTray::leave() {
  call_.cancel();
  request_.reset();
  programEnd_.reset();
  isNeeded_ = false;
  use_ = Use::none;
  bus_ = nullptr;
}

void XEmbedTray::setNeeded(bool isNeeded) {
  isNeeded = isNeeded && bus_ != nullptr && isPossible();
  if (isNeeded == std::exchange(isNeeded_, isNeeded)) return;
  backoff_.reset();
  call_.cancel();
  if (isNeeded) {
    call_.setDueIn(backoff_.next());
  } else if (use_ == Use::shown) {
    hide();
  }
}

int XEmbedTray::onShown(sd_bus_message* reply, sd_bus_error*) {
  const auto is = [reply](const char* error) { return sd_bus_message_is_method_error(reply, error) > 0; };
  const bool isRefused = is(nullptr);
  const bool isMissing = is(SD_BUS_ERROR_SERVICE_UNKNOWN) || is(SD_BUS_ERROR_ACCESS_DENIED);
  use_ = isRefused ? Use::none : Use::shown;
  shownAt_ = monotonicNow();
  if (!isRefused && !isNeeded_) hide();
  if (isRefused && !isMissing) retry();
  return 0;
}

int XEmbedTray::onProgramEnd(sd_bus_message*, sd_bus_error*) {
  if (use_ != Use::shown) return 0;
  use_ = Use::none;
  if (monotonicNow() - shownAt_ > kSettled) backoff_.reset();
  retry();
  return 0;
}

void XEmbedTray::retry() {
  if (isNeeded_) call_.setDueIn(backoff_.next());
}

void XEmbedTray::show() {
  beforeShow_();
  sd_bus_slot* slot = nullptr;
  if (!programEnd_) {
    sd_bus_add_match_async(bus_, &slot, kProgramEnd, call<&XEmbedTray::onProgramEnd>, nullptr, this);
    programEnd_.reset(std::exchange(slot, nullptr));
  }
  sd_bus_call_method_async(bus_, &slot, kTrayProgram, kTrayProgramPath, kTrayProgram, "Show",
                           call<&XEmbedTray::onShown>, this, "oss", path_, environmentVariable("DISPLAY").c_str(),
                           environmentVariable("XAUTHORITY").c_str());
  request_.reset(slot);
  use_ = Use::asked;
}

void XEmbedTray::hide() {
  use_ = Use::none;
  sd_bus_call_method_async(bus_, nullptr, kTrayProgram, kTrayProgramPath, kTrayProgram, "Hide", nullptr, nullptr, "o",
                           path_);
}

}  // namespace quill::freedesktop

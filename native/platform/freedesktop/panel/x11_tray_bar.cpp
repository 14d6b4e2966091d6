#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "bar_colours.h"
#include "deleter.h"
#include "sandbox.h"
#include "shared_library.h"

namespace quill::freedesktop {
namespace {

/// The first three of _NET_SYSTEM_TRAY_COLORS are the text's red, green and blue.
constexpr int kParts = 3;
constexpr double kFull = 65535.0;

struct XcbLibrary : posix::SharedLibrary {
  XcbLibrary() : SharedLibrary("libxcb.so.1") {}
  QUILL_FUNCTION(xcb_connect);
  QUILL_FUNCTION(xcb_disconnect);
  QUILL_FUNCTION(xcb_connection_has_error);
  QUILL_FUNCTION(xcb_get_file_descriptor);
  QUILL_FUNCTION(xcb_get_setup);
  QUILL_FUNCTION(xcb_setup_roots_iterator);
  QUILL_FUNCTION(xcb_screen_next);
  QUILL_FUNCTION(xcb_poll_for_event);
  QUILL_FUNCTION(xcb_intern_atom);
  QUILL_FUNCTION(xcb_intern_atom_reply);
  QUILL_FUNCTION(xcb_get_selection_owner);
  QUILL_FUNCTION(xcb_get_selection_owner_reply);
  QUILL_FUNCTION(xcb_change_window_attributes);
  QUILL_FUNCTION(xcb_get_property);
  QUILL_FUNCTION(xcb_get_property_reply);
  QUILL_FUNCTION(xcb_get_property_value);
  QUILL_FUNCTION(xcb_get_property_value_length);
};

template <typename Reply>
std::unique_ptr<Reply, Deleter<std::free>> own(Reply* reply) {
  return std::unique_ptr<Reply, Deleter<std::free>>(reply);
}

/// A connection to a display, to read the colour of its tray's text. One thread at a time.
class TrayColours : XcbLibrary {
 public:
  explicit TrayColours(const std::string& display) {
    if (!isComplete()) return;
    int number = 0;
    connection_ = xcb_connect(display.c_str(), &number);
    if (xcb_connection_has_error(connection_) != 0) return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < number; ++i) xcb_screen_next(&screens);
    watch(screens.data->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);  // a new tray sends the message MANAGER there
    tray_ = atom("_NET_SYSTEM_TRAY_S" + std::to_string(number));
    colours_ = atom("_NET_SYSTEM_TRAY_COLORS");
  }
  TrayColours(const TrayColours&) = delete;
  TrayColours& operator=(const TrayColours&) = delete;
  ~TrayColours() {
    if (connection_ != nullptr) xcb_disconnect(connection_);
  }

  BarReading read() {
    BarReading reading;
    // An event that came with a reply makes the descriptor readable no more.
    for (bool isNew = true; isNew && isConnected();) {
      reading.tone = tone();
      isNew = false;
      while (own(xcb_poll_for_event(connection_))) isNew = true;
    }
    if (isConnected()) reading.descriptor = xcb_get_file_descriptor(connection_);
    return reading;
  }

 private:
  bool isConnected() const { return connection_ != nullptr && xcb_connection_has_error(connection_) == 0; }

  void watch(xcb_window_t window, std::uint32_t events) const {
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &events);
  }

  xcb_atom_t atom(const std::string& name) const {
    const auto request = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = own(xcb_intern_atom_reply(connection_, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  /// The bar's text is legible, so its tone is the right tone for the icon.
  std::optional<Tone> tone() const {
    const auto tray =
        own(xcb_get_selection_owner_reply(connection_, xcb_get_selection_owner(connection_, tray_), nullptr));
    if (!tray || tray->owner == XCB_WINDOW_NONE) return {};
    watch(tray->owner, XCB_EVENT_MASK_PROPERTY_CHANGE);
    const auto request = xcb_get_property(connection_, 0, tray->owner, colours_, XCB_ATOM_CARDINAL, 0, kParts);
    const auto property = own(xcb_get_property_reply(connection_, request, nullptr));
    if (!property || property->format != 32 || xcb_get_property_value_length(property.get()) != kParts * 4) return {};
    const auto* part = static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()));
    return isLight(part[0] / kFull, part[1] / kFull, part[2] / kFull) ? Tone::white : Tone::black;
  }

  xcb_connection_t* connection_ = nullptr;
  xcb_atom_t tray_ = XCB_ATOM_NONE;
  xcb_atom_t colours_ = XCB_ATOM_NONE;
};

}  // namespace

ReadBar x11TrayBar() {
  auto display = environmentVariable("DISPLAY");
  if (display.empty() || !environmentVariable("WAYLAND_DISPLAY").empty()) return {};
  // The connection is made in the first reading, because it waits for the disk and the display.
  return [display = std::move(display), colours = std::make_shared<std::unique_ptr<TrayColours>>()] {
    if (!*colours) *colours = std::make_unique<TrayColours>(display);
    return (*colours)->read();
  };
}

}  // namespace quill::freedesktop

#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>

#include "bus.h"
#include "glib_main_queue.h"
#include "panel.h"
#include "sd_bus_handles.h"

namespace quill::freedesktop {

/// The source of a bar's colours. Main thread.
class BarSource {
 public:
  using Told = std::function<void(const Bar&)>;

  BarSource() = default;
  BarSource(const BarSource&) = delete;
  BarSource& operator=(const BarSource&) = delete;
  virtual ~BarSource() = default;

  /// Asks the panel again, because its colours changed. The answer calls the handler later, or never.
  virtual void ask() = 0;
};

/// xfce4-panel's settings, of Xfconf.
std::unique_ptr<BarSource> makeXfceBar(Bus& bus, BarSource::Told told);

/// What one reading of a bar gives.
struct BarReading {
  std::optional<Tone> tone;  ///< none: the panel does not tell
  int descriptor = -1;       ///< is readable when the bar may have changed; negative: nothing says so
};
/// Waits for a disk or a display, so each call is made on a thread of its own; one call at a time.
using ReadBar = std::function<BarReading()>;

/// The name of lxqt-panel's theme, in a file.
ReadBar lxqtBar();

/// The names of Plasma's style and the colours of its windows, in files.
ReadBar plasmaBar();

/// The colour of the text in the tray, a property that trays on X11 set. Empty where there is no X11 display.
ReadBar x11TrayBar();

/// Follows the colours of a panel's bar. Main thread.
class BarColours {
 public:
  /// `changed` is called when the panel has other colours than before, and has painted no icon in them by itself.
  BarColours(Bus& bus, GlibMainQueue& queue, const std::function<void()>& changed, BarSource::Told told);
  BarColours(const BarColours&) = delete;
  BarColours& operator=(const BarColours&) = delete;

  /// Follows this panel alone from now on.
  void follow(const Panel& panel);
  /// Forgets the connection, which is closed.
  void leave();

 private:
  int onThemeSignal(sd_bus_message* signal, sd_bus_error*);

  Bus& bus_;
  GlibMainQueue& queue_;
  BarSource::Told told_;
  const Panel* panel_ = &kUnknownPanel;
  std::array<SlotHandle, 2> matches_;
  std::array<OneShotTimer, 2> repaints_;
  std::unique_ptr<BarSource> source_;  // null: the panel does not tell
};

}  // namespace quill::freedesktop

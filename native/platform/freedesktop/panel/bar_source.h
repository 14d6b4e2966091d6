#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "bus.h"
#include "glib_main_queue.h"
#include "panel.h"

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

/// Reads the bar, and reads it again whenever the last reading's descriptor becomes readable. An empty `read` reports
/// nothing.
std::unique_ptr<BarSource> makeReadBar(GlibMainQueue& queue, BarSource::Told told, ReadBar read);

/// The name of lxqt-panel's theme, in a file.
ReadBar lxqtBar();

/// The names of Plasma's style and the colours of its windows, in files.
ReadBar plasmaBar();

/// The colour of the text in the tray, a property that trays on X11 set. Empty where there is no X11 display.
ReadBar x11TrayBar();

}  // namespace quill::freedesktop

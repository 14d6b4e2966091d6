#pragma once

#include <functional>
#include <memory>

#include "bus.h"
#include "panel.h"

namespace quill::freedesktop {

/// Where a panel tells what its bar is like. Main thread.
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

/// The name of lxqt-panel's theme, in a file.
std::unique_ptr<BarSource> makeLxqtBar(BarSource::Told told);

}  // namespace quill::freedesktop

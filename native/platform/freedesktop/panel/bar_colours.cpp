#include "bar_colours.h"

#include <utility>

#include "member_callbacks.h"

namespace quill::freedesktop {

BarColours::BarColours(Bus& bus, GlibMainQueue& queue, Handlers handlers)
    : bus_(bus),
      queue_(queue),
      handlers_(std::move(handlers)),
      repaints_{OneShotTimer(queue, handlers_.changed), OneShotTimer(queue, handlers_.changed)} {}

void BarColours::follow(const Panel& panel) {
  leave();
  panel_ = &panel;
  sd_bus* const bus = bus_.connection();
  for (std::size_t i = 0; i < matches_.size(); ++i) {
    if (panel.themeSignals[i] == nullptr || bus == nullptr) continue;
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match_async(bus, &slot, panel.themeSignals[i], call<&BarColours::onThemeSignal>, nullptr, this);
    matches_[i].reset(slot);
  }
  if (panel.toneSource == ToneSource::xfconf) source_ = makeXfceBar(bus_, handlers_.told);
  if (panel.toneSource == ToneSource::lxqtTheme) source_ = makeReadBar(queue_, handlers_.told, lxqtBar());
  if (panel.toneSource == ToneSource::plasmaStyle) source_ = makeReadBar(queue_, handlers_.told, plasmaBar());
  if (panel.toneSource == ToneSource::trayColours) source_ = makeReadBar(queue_, handlers_.told, x11TrayBar());
  if (source_) source_->ask();
}

void BarColours::leave() {
  for (auto& match : matches_) match.reset();
  for (auto& repaint : repaints_) repaint.cancel();
  source_.reset();
}

int BarColours::onThemeSignal(sd_bus_message*, sd_bus_error*) {
  // Many signals in a row are one change, of which the last one counts.
  for (std::size_t i = 0; i < repaints_.size(); ++i) {
    if (panel_->repaints[i].count() > 0) repaints_[i].setDueIn(panel_->repaints[i]);
  }
  if (source_) source_->ask();
  return 0;
}

}  // namespace quill::freedesktop

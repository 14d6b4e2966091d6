#include "bar_colours.h"

#include <utility>

#include "member_callbacks.h"
#include "process_queue.h"
#include "report.h"

namespace quill::freedesktop {
namespace {

/// Reads the bar, and reads it again whenever the last reading's descriptor becomes readable.
class ReadSource final : public BarSource {
 public:
  ReadSource(GlibMainQueue& queue, Told told, ReadBar read)
      : queue_(queue), told_(std::move(told)), read_(std::move(read)) {}

  /// The thread ends with the answer.
  void ask() override {
    if (!read_) return;
    posix::ProcessQueue queue("quill.tray.panel", posix::Priority::utility);
    queue.submit([answered = std::weak_ptr(answered_), read = read_] {
      completes([&] {
        GlibMainQueue().post([answered, reading = read()] {
          if (const auto handler = answered.lock()) (*handler)(reading);
        });
      });
    });
  }

 private:
  void answered(const BarReading& reading) {
    if (reading.descriptor >= 0) change_ = callWhenReadable(queue_, reading.descriptor, [this] { ask(); });
    if (reading.tone) told_({*reading.tone, false});
  }

  GlibMainQueue& queue_;
  Told told_;
  ReadBar read_;  // empty: nothing tells
  SourceHandle change_;
  std::shared_ptr<std::function<void(const BarReading&)>> answered_ =
      std::make_shared<std::function<void(const BarReading&)>>([this](const auto& reading) { answered(reading); });
};

}  // namespace

BarColours::BarColours(Bus& bus, GlibMainQueue& queue, const std::function<void()>& changed, BarSource::Told told)
    : bus_(bus),
      queue_(queue),
      told_(std::move(told)),
      repaints_{OneShotTimer(queue, changed), OneShotTimer(queue, changed)} {}

void BarColours::follow(const Panel& panel) {
  leave();
  panel_ = &panel;
  for (std::size_t i = 0; i < matches_.size(); ++i) {
    sd_bus_slot* slot = nullptr;
    if (panel.themeSignals[i] != nullptr) {
      sd_bus_add_match_async(bus_.connection(), &slot, panel.themeSignals[i], call<&BarColours::onThemeSignal>, nullptr,
                             this);
    }
    matches_[i].reset(slot);
  }
  const auto follow = [this](ReadBar read) { source_ = std::make_unique<ReadSource>(queue_, told_, std::move(read)); };
  if (panel.toneSource == ToneSource::xfconf) source_ = makeXfceBar(bus_, told_);
  if (panel.toneSource == ToneSource::lxqtTheme) follow(lxqtBar());
  if (panel.toneSource == ToneSource::plasmaStyle) follow(plasmaBar());
  if (panel.toneSource == ToneSource::trayColours) follow(x11TrayBar());
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

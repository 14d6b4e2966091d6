#include <memory>
#include <utility>

#include "bar_source.h"
#include "process_queue.h"
#include "report.h"

namespace quill::freedesktop {
namespace {

class ReadSource final : public BarSource {
 public:
  ReadSource(GlibMainQueue& queue, Told told, ReadBar read)
      : queue_(queue), read_(std::move(read)), told_(std::move(told)) {}

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
  ReadBar read_;
  Told told_;
  SourceHandle change_;
  std::shared_ptr<std::function<void(const BarReading&)>> answered_ =
      std::make_shared<std::function<void(const BarReading&)>>([this](const auto& reading) { answered(reading); });
};

}  // namespace

std::unique_ptr<BarSource> makeReadBar(GlibMainQueue& queue, BarSource::Told told, ReadBar read) {
  return std::make_unique<ReadSource>(queue, std::move(told), std::move(read));
}

}  // namespace quill::freedesktop

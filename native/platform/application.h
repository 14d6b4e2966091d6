#pragma once

#include <cstdint>
#include <optional>

namespace quill {

enum class Appearance { light, dark };

enum class EventType : int {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
};

struct Event {
  EventType type;
};

/// A set of event types; bit n stands for the event type with the number n.
using EventMask = std::uint64_t;

constexpr EventMask maskOf(EventType type) { return EventMask{1} << static_cast<int>(type); }

/// The state of the host's application object. The desktop writes it. Main thread.
struct Application {
  std::optional<Event> currentEvent;
  Appearance effectiveAppearance = Appearance::light;
};

}  // namespace quill

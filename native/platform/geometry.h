#pragma once

namespace quill {

/// A position in points. In a status item's button, y grows downwards.
struct Point {
  double x = 0.0;
  double y = 0.0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0.0;
  double height = 0.0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  Point origin;
  Size size;
  bool operator==(const Rect&) const = default;
};

}  // namespace quill

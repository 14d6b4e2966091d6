#pragma once

namespace quill {

/// Positions and sizes in points. Whether y grows upwards or downwards is the view's own choice.
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

#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "geometry.h"
#include "image.h"

namespace quill {

/// Red, green, blue and alpha, each from 0 to 1.
struct Color {
  double red = 0.0;
  double green = 0.0;
  double blue = 0.0;
  double alpha = 0.0;
  bool operator==(const Color&) const = default;
};
constexpr Color kClearColor{};

struct Layer {
  std::optional<Color> backgroundColor;
};

using AutoresizingMask = std::uint32_t;
constexpr AutoresizingMask kWidthSizable = 2;
constexpr AutoresizingMask kHeightSizable = 16;

/// What a desktop made of a view in order to show it, kept with the view.
class ViewRendering {
 public:
  virtual ~ViewRendering() = default;
};

/// A rectangle that can be shown on screen. Owns its subviews. Main thread.
class View {
 public:
  explicit View(Rect frame) : frame_(frame) {}
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  virtual ~View() = default;

  virtual Rect frame() const { return frame_; }
  virtual void setFrame(Rect frame) { assign(frame_, frame); }
  Rect bounds() const { return {{}, frame().size}; }
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden) { assign(hidden_, hidden); }
  double alphaValue() const { return alphaValue_; }
  void setAlphaValue(double alpha) { assign(alphaValue_, alpha); }
  AutoresizingMask autoresizingMask() const { return autoresizingMask_; }
  void setAutoresizingMask(AutoresizingMask mask) { autoresizingMask_ = mask; }

  void setWantsLayer(bool wantsLayer) { layer_ = wantsLayer ? layer_.value_or(Layer{}) : std::optional<Layer>(); }
  /// Null for a view without a layer.
  Layer* layer() { return layer_ ? &*layer_ : nullptr; }

  /// From bottom to top.
  const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
  void addSubview(std::shared_ptr<View> view) { subviews_.push_back(std::move(view)); }
  /// Puts `view` right above `sibling`, or on top if that is no subview.
  void addSubviewAbove(std::shared_ptr<View> view, const std::shared_ptr<View>& sibling) {
    const auto below = std::find(subviews_.begin(), subviews_.end(), sibling);
    subviews_.insert(below == subviews_.end() ? below : below + 1, std::move(view));
  }

  /// Null where no desktop made any.
  const std::shared_ptr<ViewRendering>& rendering() const { return rendering_; }
  void setRendering(std::shared_ptr<ViewRendering> rendering) { rendering_ = std::move(rendering); }

 protected:
  /// Called after every change of what can be seen.
  virtual void changed() {}

  /// Sets `member`; calls changed() if that made a difference.
  template <typename Value>
  void assign(Value& member, const Value& value) {
    if (member == value) return;
    member = value;
    changed();
  }

 private:
  Rect frame_;
  bool hidden_ = false;
  double alphaValue_ = 1.0;
  AutoresizingMask autoresizingMask_ = 0;
  std::optional<Layer> layer_;
  std::vector<std::shared_ptr<View>> subviews_;
  std::shared_ptr<ViewRendering> rendering_;
};

enum class ImageAlignment : int { center = 0 };
enum class ImageScaling : int { proportionallyDown = 0, proportionallyUpOrDown = 3 };

class ImageView : public View {
 public:
  using View::View;
  const std::optional<Image>& image() const { return image_; }
  void setImage(std::optional<Image> image) { image_ = std::move(image); }
  ImageAlignment imageAlignment() const { return alignment_; }
  void setImageAlignment(ImageAlignment alignment) { alignment_ = alignment; }
  ImageScaling imageScaling() const { return scaling_; }
  void setImageScaling(ImageScaling scaling) { scaling_ = scaling; }

 private:
  std::optional<Image> image_;
  ImageAlignment alignment_ = ImageAlignment::center;
  ImageScaling scaling_ = ImageScaling::proportionallyDown;
};

}  // namespace quill

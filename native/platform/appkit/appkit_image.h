#pragma once

#import <AppKit/AppKit.h>

#include <optional>

#include "foundation.h"
#include "image.h"

namespace quill::appkit {

/// An image as the platform decoded it.
struct NativePicture : Picture {
  explicit NativePicture(NSImage* image);
  NSImage* image() const { return image_.get(); }

 private:
  Handle<NSImage> image_;
};

/// `image` with its size and its flag, not copied.
Image imageOf(NSImage* image);

/// What views and buttons are given; nil for none.
NSImage* nativeImage(const std::optional<Image>& image);

}  // namespace quill::appkit

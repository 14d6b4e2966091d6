#pragma once

#import <AppKit/AppKit.h>

#include <optional>

#include "foundation.h"
#include "image.h"

namespace quill::appkit {

/// A picture that wraps an NSImage and retains it.
struct NativePicture : Picture {
  explicit NativePicture(NSImage* image);
  NSImage* image() const { return image_.get(); }

 private:
  Handle<NSImage> image_;
};

/// Wraps `image` without a copy, with the size and the template flag of `image`.
Image imageOf(NSImage* image);

/// Returns the NSImage of `image`, or nil for no image. The image keeps its ownership.
NSImage* nativeImage(const std::optional<Image>& image);

}  // namespace quill::appkit

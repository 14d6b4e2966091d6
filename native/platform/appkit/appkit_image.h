#pragma once

#import <AppKit/AppKit.h>

#include <optional>

#include "handle.h"
#include "image.h"

namespace quill::appkit {

/// An image as the platform decoded it.
class NativePicture : public Picture {
 public:
  explicit NativePicture(NSImage* image) : image_(image) {}
  NSImage* image() const { return image_.get(); }
  std::string description() const override;

 private:
  Handle<NSImage> image_;
};

/// `image` with its size and its flag, not copied.
Image imageOf(NSImage* image);

/// A copy of the platform's image with the size and the flag of ours.
class ImageCopy : public ImageRendering {
 public:
  explicit ImageCopy(const Image& image);
  NSImage* image() const { return image_.get(); }

 private:
  Handle<NSImage> image_;
};

/// What views and buttons are given for `image`: its copy, else the decoded image itself. Nil for none.
NSImage* nativeImage(const std::optional<Image>& image);

}  // namespace quill::appkit

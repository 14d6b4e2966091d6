#include "view_group.h"

#import <AppKit/AppKit.h>

#include "appkit_image.h"
#include "geometry_conversion.h"
#include "guard.h"
#include "told.h"

namespace quill::appkit {
namespace {

/// A view of the platform, kept with the view that it stands for.
struct NativeView : ViewRendering {
  Handle<NSView> view;
  bool isInside = false;
  Told<bool> hidden, wantsLayer;
  Told<Rect> frame;
  Told<AutoresizingMask> autoresizingMask;
  Told<ImageAlignment> alignment;
  Told<ImageScaling> scaling;
  Told<double> alpha;
  Told<NSImage*> image;
};

NativeView& nativeOf(View& view) {
  if (!view.rendering()) {
    auto made = std::make_shared<NativeView>();
    const NSRect frame = toNSRect(view.frame());
    made->view = dynamic_cast<ImageView*>(&view) != nullptr
                     ? Handle<NSView>::adopt([[NSImageView alloc] initWithFrame:frame])
                     : Handle<NSView>::adopt([[NSView alloc] initWithFrame:frame]);
    view.setRendering(std::move(made));
  }
  return static_cast<NativeView&>(*view.rendering());
}

void showImage(NativeView& native, const ImageView& view) {
  NSImageView* const to = static_cast<NSImageView*>(native.view.get());
  if (native.alignment.isNews(view.imageAlignment())) {
    [to setImageAlignment:static_cast<NSImageAlignment>(view.imageAlignment())];
  }
  if (native.scaling.isNews(view.imageScaling())) {
    [to setImageScaling:static_cast<NSImageScaling>(view.imageScaling())];
  }
  if (NSImage* const image = nativeImage(view.image()); native.image.isNews(image)) [to setImage:image];
}

void show(View& view) {
  auto& native = nativeOf(view);
  NSView* const to = native.view.get();
  if (native.frame.isNews(view.frame())) [to setFrame:toNSRect(view.frame())];
  if (native.autoresizingMask.isNews(view.autoresizingMask())) [to setAutoresizingMask:view.autoresizingMask()];
  if (const auto* const imageView = dynamic_cast<const ImageView*>(&view)) showImage(native, *imageView);
  if (native.alpha.isNews(view.alphaValue())) [to setAlphaValue:view.alphaValue()];
  if (native.hidden.isNews(view.isHidden())) [to setHidden:view.isHidden()];
  if (native.wantsLayer.isNews(view.layer() != nullptr)) {
    [to setWantsLayer:view.layer() != nullptr];
    if (view.layer() != nullptr && view.layer()->backgroundColor == kClearColor) {
      [[to layer] setBackgroundColor:[[NSColor clearColor] CGColor]];
    }
  }
  NSView* below = nil;
  for (const auto& inside : view.subviews()) {
    show(*inside);
    auto& nativeInside = nativeOf(*inside);
    if (!std::exchange(nativeInside.isInside, true)) {
      [to addSubview:nativeInside.view.get() positioned:NSWindowAbove relativeTo:below];
    }
    below = nativeInside.view.get();
  }
}

}  // namespace

void showGroup(View& view) {
  guarded([&] { show(view); });
}

}  // namespace quill::appkit

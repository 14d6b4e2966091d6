#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include "appkit_desktop.h"
#include "appkit_image.h"

namespace quill::appkit {
namespace {

/// The NSView of a View, which owns it.
struct NativeView : ViewRendering {
  explicit NativeView(Handle<NSView> its) : view(std::move(its)) {}
  const Handle<NSView> view;
};

NSView* nativeOf(View& view) {
  if (!view.rendering()) {
    const NSRect frame = toNSRect(view.frame());
    NSView* const made = dynamic_cast<ImageView*>(&view) != nullptr ? [[NSImageView alloc] initWithFrame:frame]
                                                                    : [[NSView alloc] initWithFrame:frame];
    view.setRendering(std::make_shared<NativeView>(Handle<NSView>::adopt(made)));
  }
  return static_cast<NativeView&>(*view.rendering()).view.get();
}

void show(View& view) {
  NSView* const native = nativeOf(view);
  [native setFrame:toNSRect(view.frame())];
  [native setAutoresizingMask:view.autoresizingMask()];
  if (const auto* const imageView = dynamic_cast<const ImageView*>(&view)) {
    NSImageView* const showing = static_cast<NSImageView*>(native);
    [showing setImageAlignment:static_cast<NSImageAlignment>(imageView->imageAlignment())];
    [showing setImageScaling:static_cast<NSImageScaling>(imageView->imageScaling())];
    [showing setImage:nativeImage(imageView->image())];
  }
  [native setAlphaValue:view.alphaValue()];
  [native setHidden:view.isHidden()];
  [native setWantsLayer:view.layer() != nullptr];
  if (view.layer() != nullptr && view.layer()->backgroundColor == kClearColor) {
    [[native layer] setBackgroundColor:[[NSColor clearColor] CGColor]];
  }
  NSView* below = nil;
  for (const auto& inside : view.subviews()) {
    show(*inside);
    NSView* const nativeInside = nativeOf(*inside);
    if ([nativeInside superview] == nil) [native addSubview:nativeInside positioned:NSWindowAbove relativeTo:below];
    below = nativeInside;
  }
}

}  // namespace

// Sets every property at each call. That costs no redrawing, because these views are never on screen.
void Desktop::present(std::shared_ptr<View> group) {
  mainQueue_.post([group = std::move(group)] { show(*group); });
}

}  // namespace quill::appkit

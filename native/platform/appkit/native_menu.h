#pragma once

#import <AppKit/AppKit.h>

#include "appkit_desktop.h"
#include "menu.h"

namespace quill::appkit {

/// Makes an NSMenu from `menu`. For a host's menu, sets its appearance and returns the host's NSMenu. Main thread.
Handle<NSMenu> nativeMenu(const Menu& menu, Desktop& desktop);

/// Sets the font, the minimum width and the appearance of `native` to those of `menu`.
void applyLook(NSMenu* native, const Menu& menu);
/// Sets the attributed title of `native` if `item` has one.
void applyTitle(NSMenuItem* native, const MenuItem& item);

}  // namespace quill::appkit

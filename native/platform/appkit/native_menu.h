#pragma once

#import <AppKit/AppKit.h>

#include "appkit_desktop.h"
#include "menu.h"

namespace quill::appkit {

/// The host's own menu, of which only the appearance is set; for any other menu one that is made now. Main thread.
Handle<NSMenu> nativeMenu(const Menu& menu, Desktop& desktop);

/// Sets font, minimum width and appearance.
void applyLook(NSMenu* native, const Menu& menu);
/// Sets the attributed title where `item` has one.
void applyTitle(NSMenuItem* native, const MenuItem& item);

}  // namespace quill::appkit

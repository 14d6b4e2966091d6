#pragma once

#import <AppKit/AppKit.h>

#include "appkit_desktop.h"
#include "menu.h"

namespace quill::appkit {

/// A host's own menu itself; for any other one made now. Main thread.
Handle<NSMenu> nativeMenu(const Menu& menu, Desktop& desktop);

/// Sets font, minimum width and look.
void applyLook(NSMenu* native, const Menu& menu);
/// Sets the attributed title where `item` has one.
void applyTitle(NSMenuItem* native, const MenuItem& item);

}  // namespace quill::appkit

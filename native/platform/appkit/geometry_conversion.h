#pragma once

#import <Foundation/Foundation.h>

#include "geometry.h"

namespace quill::appkit {

inline NSRect toNSRect(Rect rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

inline Rect toRect(NSRect rect) { return {{rect.origin.x, rect.origin.y}, {rect.size.width, rect.size.height}}; }

}  // namespace quill::appkit

#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

#include "action.h"

namespace quill::appkit {

/// From well-formed UTF-8, U+0000 included; lives as long as the pool around the call.
NSString* toNSString(std::string_view text);
/// Empty for nil.
std::string toString(NSString* text);
/// Null for the empty selector.
SEL toSEL(Selector selector);

}  // namespace quill::appkit

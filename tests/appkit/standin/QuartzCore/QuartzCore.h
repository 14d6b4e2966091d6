#pragma once

#import <AppKit/AppKit.h>

@interface CALayer : NSObject
- (void)setBackgroundColor:(CGColorRef)color;
@end

#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <stdbool.h>
#ifdef __cplusplus
extern "C" {
#endif
#ifndef BRINDLE_STAND_IN
typedef double CGFloat; // corefoundation/cgfloat
typedef struct CGPoint { CGFloat x, y; } CGPoint; // corefoundation/cgpoint
typedef struct CGSize { CGFloat width, height; } CGSize; // corefoundation/cgsize
typedef struct CGRect { CGPoint origin; CGSize size; } CGRect; // corefoundation/cgrect
#endif
bool CGPreflightScreenCaptureAccess(void); // coregraphics/cgpreflightscreencaptureaccess()
typedef uint32_t CGWindowID; // coregraphics/cgwindowid
typedef uint32_t CGWindowListOption; // coregraphics/cgwindowlistoption
enum : CGWindowListOption { kCGWindowListExcludeDesktopElements = 1u << 4 }; // coregraphics/cgwindowlistoption/excludedesktopelements
enum : CGWindowID { kCGNullWindowID = 0 }; // coregraphics/kcgnullwindowid
extern const CFStringRef kCGWindowOwnerPID; // coregraphics/kcgwindowownerpid
extern const CFStringRef kCGWindowName; // coregraphics/kcgwindowname
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo); // coregraphics/cgwindowlistcopywindowinfo(_:_:)
#ifdef __cplusplus
}
#endif

// Read before every source: what the adapters call of Foundation and AppKit, and GNUstep has not,
// or has under an older name.
#pragma once

#ifdef __OBJC__
#import <AppKit/AppKit.h>
#import <AppKit/NSStatusBarButton.h>

#include <CoreFoundation/CoreFoundation.h>

static const NSCompositingOperation NSCompositingOperationClear = NSCompositeClear;
static const NSCompositingOperation NSCompositingOperationSourceOver = NSCompositeSourceOver;
static const NSLineCapStyle NSLineCapStyleButt = NSButtLineCapStyle;
static const NSBezelStyle NSBezelStyleRounded = NSRoundedBezelStyle;

typedef struct {
    NSInteger majorVersion, minorVersion, patchVersion;
} NSOperatingSystemVersion;

#ifdef __cplusplus
extern "C" {
#endif
extern NSString* const NSURLVolumeAvailableCapacityForImportantUsageKey;
extern NSString* const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;
#ifdef __cplusplus
}
#endif

@interface NSProcessInfo (StandIn)
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;
@end
@interface NSApplication (StandIn)
- (BOOL)setActivationPolicy:(NSInteger)policy;
@end
@interface NSStatusItem (StandIn)
- (NSStatusBarButton*)button;
- (BOOL)isVisible;
@end
@interface NSView (StandIn)
- (NSAppearance*)effectiveAppearance;
@end
@interface NSImage (StandIn)
- (void)setTemplate:(BOOL)isTemplate;
- (void)setAccessibilityDescription:(NSString*)text;
- (NSString*)accessibilityDescription;
@end
@interface NSWorkspaceOpenConfiguration : NSObject
+ (instancetype)configuration;
@end
@interface NSWorkspace (StandIn)
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)identifier;
- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^)(NSRunningApplication*, NSError*))handler;
- (BOOL)accessibilityDisplayShouldReduceMotion;
@end
#endif

#pragma once
#import <Foundation/Foundation.h>
#ifdef __cplusplus
extern "C" {
#endif
@class NSImage, NSMenu, NSMenuItem, NSView, NSWindow;
typedef NSUInteger NSCompositingOperation; // appkit/nscompositingoperation
enum : NSCompositingOperation {
    NSCompositingOperationClear = 0, // appkit/nscompositingoperation/clear
    NSCompositingOperationSourceOver = 2 // appkit/nscompositingoperation/sourceover
};
void NSRectFillUsingOperation(NSRect rect, NSCompositingOperation operation); // appkit/nsrectfillusingoperation
@interface NSGraphicsContext : NSObject // appkit/nsgraphicscontext
+ (void)saveGraphicsState; // appkit/nsgraphicscontext/savegraphicsstate()
+ (void)restoreGraphicsState; // appkit/nsgraphicscontext/restoregraphicsstate()
@end
@interface NSColor : NSObject // appkit/nscolor
+ (NSColor*)colorWithSRGBRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha; // appkit/nscolor/init(srgbred:green:blue:alpha:)
+ (NSColor*)labelColor; // appkit/nscolor/labelcolor
+ (NSColor*)secondaryLabelColor; // appkit/nscolor/secondarylabelcolor
- (void)set; // appkit/nscolor/set()
@end
@interface NSFont : NSObject // appkit/nsfont
+ (NSFont*)systemFontOfSize:(CGFloat)size; // appkit/nsfont/systemfont(ofsize:)
+ (NSFont*)boldSystemFontOfSize:(CGFloat)size; // appkit/nsfont/boldsystemfont(ofsize:)
@end
typedef NSUInteger NSLineCapStyle; // appkit/nsbezierpath/linecapstyle-swift.enum
enum : NSLineCapStyle { NSLineCapStyleButt = 0 }; // appkit/nsbezierpath/linecapstyle-swift.enum/butt
@interface NSBezierPath : NSObject // appkit/nsbezierpath
+ (NSBezierPath*)bezierPath; // appkit/nsbezierpath/bezierpath
+ (NSBezierPath*)bezierPathWithOvalInRect:(NSRect)rect; // appkit/nsbezierpath/init(ovalin:)
- (void)moveToPoint:(NSPoint)point; // appkit/nsbezierpath/move(to:)
- (void)lineToPoint:(NSPoint)point; // appkit/nsbezierpath/line(to:)
- (void)setLineWidth:(CGFloat)width; // appkit/nsbezierpath/linewidth
- (void)setLineCapStyle:(NSLineCapStyle)style; // appkit/nsbezierpath/linecapstyle-swift.property
- (void)stroke; // appkit/nsbezierpath/stroke()
- (void)fill; // appkit/nsbezierpath/fill()
- (void)addClip; // appkit/nsbezierpath/addclip()
@end
@interface NSImage : NSObject // appkit/nsimage
- (instancetype)initWithSize:(NSSize)size; // appkit/nsimage/init(size:)
- (void)lockFocus; // appkit/nsimage/lockfocus()
- (void)unlockFocus; // appkit/nsimage/unlockfocus()
- (void)setSize:(NSSize)size; // appkit/nsimage/size
- (void)setTemplate:(BOOL)isTemplate; // appkit/nsimage/istemplate
- (void)drawInRect:(NSRect)to fromRect:(NSRect)from operation:(NSCompositingOperation)operation fraction:(CGFloat)fraction; // appkit/nsimage/draw(in:from:operation:fraction:)
- (void)setAccessibilityDescription:(NSString*)text; // appkit/nsimage/accessibilitydescription
@end
@protocol NSMenuDelegate <NSObject> // appkit/nsmenudelegate
@optional
- (void)menuWillOpen:(NSMenu*)menu; // appkit/nsmenudelegate/menuwillopen(_:)
@end
typedef NSInteger NSControlStateValue; // appkit/nscontrol/statevalue
static const NSControlStateValue NSControlStateValueOff = 0; // appkit/nscontrol/statevalue/off
static const NSControlStateValue NSControlStateValueOn = 1; // appkit/nscontrol/statevalue/on
@interface NSMenuItem : NSObject // appkit/nsmenuitem
+ (NSMenuItem*)separatorItem; // appkit/nsmenuitem/separator()
- (instancetype)initWithTitle:(NSString*)title action:(SEL)action keyEquivalent:(NSString*)key; // appkit/nsmenuitem/init(title:action:keyequivalent:)
- (void)setTitle:(NSString*)title; // appkit/nsmenuitem/title
- (void)setKeyEquivalent:(NSString*)key; // appkit/nsmenuitem/keyequivalent
- (void)setTarget:(id)target; // appkit/nsmenuitem/target
- (SEL)action; // appkit/nsmenuitem/action
- (void)setEnabled:(BOOL)enabled; // appkit/nsmenuitem/isenabled
- (void)setState:(NSControlStateValue)state; // appkit/nsmenuitem/state
- (NSMenu*)menu; // appkit/nsmenuitem/menu
- (void)setSubmenu:(NSMenu*)menu; // appkit/nsmenuitem/submenu
- (NSMenu*)submenu; // appkit/nsmenuitem/submenu
- (void)setRepresentedObject:(id)object; // appkit/nsmenuitem/representedobject
- (id)representedObject; // appkit/nsmenuitem/representedobject
- (BOOL)isSeparatorItem; // appkit/nsmenuitem/isseparatoritem
@end
@interface NSMenu : NSObject // appkit/nsmenu
- (instancetype)initWithTitle:(NSString*)title; // appkit/nsmenu/init(title:)
- (void)setAutoenablesItems:(BOOL)enables; // appkit/nsmenu/autoenablesitems
- (void)setDelegate:(id<NSMenuDelegate>)delegate; // appkit/nsmenu/delegate
- (void)insertItem:(NSMenuItem*)item atIndex:(NSInteger)index; // appkit/nsmenu/insertitem(_:at:)
- (void)removeItemAtIndex:(NSInteger)index; // appkit/nsmenu/removeitem(at:)
- (NSInteger)numberOfItems; // appkit/nsmenu/numberofitems
- (NSMenuItem*)itemAtIndex:(NSInteger)index; // appkit/nsmenu/item(at:)
@end
extern NSString* const NSAppearanceNameAqua; // appkit/nsappearance/name-swift.struct/aqua
extern NSString* const NSAppearanceNameDarkAqua; // appkit/nsappearance/name-swift.struct/darkaqua
@interface NSAppearance : NSObject // appkit/nsappearance
- (NSString*)bestMatchFromAppearancesWithNames:(NSArray*)names; // appkit/nsappearance/bestmatch(from:)
@end
@interface NSResponder : NSObject // appkit/nsresponder
@end
@interface NSView : NSResponder // appkit/nsview
- (instancetype)initWithFrame:(NSRect)frame; // appkit/nsview/init(frame:)
- (void)addSubview:(NSView*)view; // appkit/nsview/addsubview(_:)
- (void)setFrame:(NSRect)frame; // appkit/nsview/frame
- (NSRect)frame; // appkit/nsview/frame
- (NSAppearance*)effectiveAppearance; // appkit/nsappearancecustomization/effectiveappearance
@end
@interface NSCell : NSObject // appkit/nscell
- (void)setWraps:(BOOL)wraps; // appkit/nscell/wraps
- (NSSize)cellSizeForBounds:(NSRect)bounds; // appkit/nscell/cellsize(forbounds:)
@end
@interface NSControl : NSView // appkit/nscontrol
- (void)setTarget:(id)target; // appkit/nscontrol/target
- (void)setAction:(SEL)action; // appkit/nscontrol/action
- (void)setFont:(NSFont*)font; // appkit/nscontrol/font
- (void)setStringValue:(NSString*)text; // appkit/nscontrol/stringvalue
- (id)cell; // appkit/nscontrol/cell
@end
@interface NSTextField : NSControl // appkit/nstextfield
- (void)setTextColor:(NSColor*)colour; // appkit/nstextfield/textcolor
- (void)setBezeled:(BOOL)bezeled; // appkit/nstextfield/isbezeled
- (void)setEditable:(BOOL)editable; // appkit/nstextfield/iseditable
- (void)setSelectable:(BOOL)selectable; // appkit/nstextfield/isselectable
- (void)setDrawsBackground:(BOOL)draws; // appkit/nstextfield/drawsbackground
@end
typedef NSUInteger NSBezelStyle; // appkit/nsbutton/bezelstyle-swift.enum
enum : NSBezelStyle { NSBezelStyleRounded = 1 }; // appkit/nsbutton/bezelstyle-swift.enum/rounded
@interface NSButton : NSControl // appkit/nsbutton
- (void)setTitle:(NSString*)title; // appkit/nsbutton/title
- (void)setImage:(NSImage*)image; // appkit/nsbutton/image
- (void)setBezelStyle:(NSBezelStyle)style; // appkit/nsbutton/bezelstyle-swift.property
- (void)setKeyEquivalent:(NSString*)key; // appkit/nsbutton/keyequivalent
@end
typedef NSUInteger NSBoxType; // appkit/nsbox/boxtype-swift.enum
enum : NSBoxType { NSBoxSeparator = 2 }; // appkit/nsbox/boxtype-swift.enum/separator
@interface NSBox : NSView // appkit/nsbox
- (void)setBoxType:(NSBoxType)type; // appkit/nsbox/boxtype-swift.property
@end
@interface NSStatusBarButton : NSButton // appkit/nsstatusbarbutton
@end
static const CGFloat NSSquareStatusItemLength = -2; // appkit/nsstatusitem/squarelength
@interface NSStatusItem : NSObject // appkit/nsstatusitem
- (NSStatusBarButton*)button; // appkit/nsstatusitem/button
- (void)setMenu:(NSMenu*)menu; // appkit/nsstatusitem/menu
- (BOOL)isVisible; // appkit/nsstatusitem/isvisible
@end
@interface NSStatusBar : NSObject // appkit/nsstatusbar
+ (NSStatusBar*)systemStatusBar; // appkit/nsstatusbar/system
- (NSStatusItem*)statusItemWithLength:(CGFloat)length; // appkit/nsstatusbar/statusitem(withlength:)
- (void)removeStatusItem:(NSStatusItem*)item; // appkit/nsstatusbar/removestatusitem(_:)
@end
typedef NSUInteger NSWindowStyleMask; // appkit/nswindow/stylemask-swift.struct
enum : NSWindowStyleMask {
    NSWindowStyleMaskTitled = 1 << 0, // appkit/nswindow/stylemask-swift.struct/titled
    NSWindowStyleMaskClosable = 1 << 1 // appkit/nswindow/stylemask-swift.struct/closable
};
typedef NSUInteger NSBackingStoreType; // appkit/nswindow/backingstoretype
enum : NSBackingStoreType { NSBackingStoreBuffered = 2 }; // appkit/nswindow/backingstoretype/buffered
@interface NSWindow : NSResponder // appkit/nswindow
- (instancetype)initWithContentRect:(NSRect)rect styleMask:(NSWindowStyleMask)style backing:(NSBackingStoreType)backing defer:(BOOL)defer; // appkit/nswindow/init(contentrect:stylemask:backing:defer:)
- (void)setTitle:(NSString*)title; // appkit/nswindow/title
- (void)setReleasedWhenClosed:(BOOL)released; // appkit/nswindow/isreleasedwhenclosed
- (void)setContentSize:(NSSize)size; // appkit/nswindow/setcontentsize(_:)
- (void)setContentView:(NSView*)view; // appkit/nswindow/contentview
- (void)center; // appkit/nswindow/center()
- (void)makeKeyAndOrderFront:(id)sender; // appkit/nswindow/makekeyandorderfront(_:)
- (void)close; // appkit/nswindow/close()
@end
typedef NSInteger NSApplicationActivationPolicy; // appkit/nsapplication/activationpolicy-swift.enum
enum : NSApplicationActivationPolicy { NSApplicationActivationPolicyAccessory = 1 }; // appkit/nsapplication/activationpolicy-swift.enum/accessory
typedef NSUInteger NSApplicationTerminateReply; // appkit/nsapplication/terminatereply
enum : NSApplicationTerminateReply {
    NSTerminateNow = 1, // appkit/nsapplication/terminatereply/terminatenow
    NSTerminateLater = 2 // appkit/nsapplication/terminatereply/terminatelater
};
@class NSApplication;
@protocol NSApplicationDelegate <NSObject> // appkit/nsapplicationdelegate
@optional
- (void)applicationWillFinishLaunching:(NSNotification*)notification; // appkit/nsapplicationdelegate/applicationwillfinishlaunching(_:)
- (void)applicationDidFinishLaunching:(NSNotification*)notification; // appkit/nsapplicationdelegate/applicationdidfinishlaunching(_:)
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender; // appkit/nsapplicationdelegate/applicationshouldterminate(_:)
- (void)applicationWillTerminate:(NSNotification*)notification; // appkit/nsapplicationdelegate/applicationwillterminate(_:)
@end
@interface NSApplication : NSResponder // appkit/nsapplication
+ (NSApplication*)sharedApplication; // appkit/nsapplication/shared
- (void)setDelegate:(id<NSApplicationDelegate>)delegate; // appkit/nsapplication/delegate
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy; // appkit/nsapplication/setactivationpolicy(_:)
- (void)activateIgnoringOtherApps:(BOOL)ignoring; // appkit/nsapplication/activate(ignoringotherapps:)
- (void)run; // appkit/nsapplication/run()
- (void)terminate:(id)sender; // appkit/nsapplication/terminate(_:)
- (void)replyToApplicationShouldTerminate:(BOOL)should; // appkit/nsapplication/reply(toapplicationshouldterminate:)
@end
@interface NSRunningApplication : NSObject // appkit/nsrunningapplication
+ (instancetype)runningApplicationWithProcessIdentifier:(int)pid; // appkit/nsrunningapplication/init(processidentifier:)
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier; // appkit/nsrunningapplication/runningapplications(withbundleidentifier:)
- (NSString*)bundleIdentifier; // appkit/nsrunningapplication/bundleidentifier
- (int)processIdentifier; // appkit/nsrunningapplication/processidentifier
- (BOOL)isTerminated; // appkit/nsrunningapplication/isterminated
@end
@interface NSWorkspaceOpenConfiguration : NSObject // appkit/nsworkspace/openconfiguration
+ (instancetype)configuration; // appkit/nsworkspace/openconfiguration
@end
extern NSString* const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification; // appkit/nsworkspace/accessibilitydisplayoptionsdidchangenotification
@interface NSWorkspace : NSObject // appkit/nsworkspace
+ (NSWorkspace*)sharedWorkspace; // appkit/nsworkspace/shared
- (NSNotificationCenter*)notificationCenter; // appkit/nsworkspace/notificationcenter
- (BOOL)openURL:(NSURL*)url; // appkit/nsworkspace/open(_:)
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)identifier; // appkit/nsworkspace/urlforapplication(withbundleidentifier:)
- (void)openApplicationAtURL:(NSURL*)url configuration:(NSWorkspaceOpenConfiguration*)configuration completionHandler:(void (^)(NSRunningApplication*, NSError*))handler; // appkit/nsworkspace/openapplication(at:configuration:completionhandler:)
- (BOOL)accessibilityDisplayShouldReduceMotion; // appkit/nsworkspace/accessibilitydisplayshouldreducemotion
@end
#ifdef __cplusplus
}
#endif

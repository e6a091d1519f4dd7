// On purpose: what GNUstep has only in name.
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"
#include "SystemStandIn.hpp"

#import <AVFoundation/AVFoundation.h>
#import <CoreGraphics/CoreGraphics.h>
#import <IOKit/IOMessage.h>
#import <IOKit/pwr_mgt/IOPMLib.h>
#import <ServiceManagement/ServiceManagement.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <libproc.h>
#include <os/log.h>

using brindle::test::systemStandIn;

namespace brindle::test {

SystemStandIn systemStandIn;

void SystemStandIn::reset() {
    const int registrations = systemStandIn.powerRegistrations;
    const int connections = systemStandIn.powerConnections;
    systemStandIn = {};
    systemStandIn.powerRegistrations = registrations;
    systemStandIn.powerConnections = connections;
}

namespace {

NSString* text(const std::string& bytes) {
    return [NSString stringWithUTF8String:bytes.c_str()];
}

} // namespace

} // namespace brindle::test

using brindle::test::text;

NSString* const NSURLVolumeAvailableCapacityForImportantUsageKey =
    @"NSURLVolumeAvailableCapacityForImportantUsageKey";
NSString* const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification =
    @"NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification";

// ---- Core Foundation: its objects are Foundation's

void CFRelease(CFTypeRef object) {
    [static_cast<id>(const_cast<void*>(object)) release];
}

namespace {
constexpr CFTypeID booleans = 21;
constexpr CFTypeID others = 22;
} // namespace

CFTypeID CFBooleanGetTypeID(void) {
    return booleans;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    const id value = static_cast<id>(const_cast<void*>(object));
    return [value class] == [[NSNumber numberWithBool:YES] class] ? booleans : others;
}

// ---- Foundation

@implementation NSProcessInfo (StandIn)
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version {
    const auto& has = systemStandIn.version;
    if (has.majorVersion != version.majorVersion) {
        return has.majorVersion > version.majorVersion;
    }
    if (has.minorVersion != version.minorVersion) {
        return has.minorVersion > version.minorVersion;
    }
    return has.patchVersion >= version.patchVersion;
}
@end

@implementation NSURL (StandIn)
- (BOOL)getResourceValue:(id*)value forKey:(NSString*)key error:(NSError**)error {
    if (![key isEqualToString:NSURLVolumeAvailableCapacityForImportantUsageKey]) {
        return NO;
    }
    if (systemStandIn.capacityError != 0) {
        NSError* const cause = [NSError errorWithDomain:NSPOSIXErrorDomain
                                                   code:systemStandIn.capacityError
                                               userInfo:nil];
        *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                     code:260
                                 userInfo:[NSDictionary dictionaryWithObject:cause
                                                                      forKey:NSUnderlyingErrorKey]];
        return NO;
    }
    *value = systemStandIn.importantCapacity
                 ? [NSNumber numberWithLongLong:*systemStandIn.importantCapacity]
                 : nil;
    return YES;
}
@end

@implementation NSBundle (StandIn)
- (NSString*)bundleIdentifier {
    if (self == [NSBundle mainBundle]) {
        return systemStandIn.ownBundleIdentifier.empty() ? nil
                                                         : text(systemStandIn.ownBundleIdentifier);
    }
    for (const auto& [identifier, folder] : systemStandIn.applicationFolders) {
        if ([[self bundlePath] isEqualToString:text(folder)]) {
            return text(identifier);
        }
    }
    return nil;
}
@end

// ---- processes and applications

int proc_pidpath(int pid, void* buffer, uint32_t size) {
    const auto found = systemStandIn.executables.find(pid);
    if (found == systemStandIn.executables.end() || found->second.size() >= size) {
        return 0;
    }
    std::memcpy(buffer, found->second.c_str(), found->second.size() + 1);
    return static_cast<int>(found->second.size());
}

@interface BrindleApplication : NSRunningApplication {
  @public
    int pid_;
    NSString* identifier_;
    BOOL isTerminated_;
}
@end
@implementation BrindleApplication
- (void)dealloc {
    [identifier_ release];
    [super dealloc];
}
- (pid_t)processIdentifier {
    return pid_;
}
- (NSString*)bundleIdentifier {
    return identifier_;
}
- (BOOL)isTerminated {
    return isTerminated_;
}
@end

namespace {

NSRunningApplication* running(const brindle::test::SystemStandIn::Application& application) {
    BrindleApplication* const one = [[[BrindleApplication alloc] init] autorelease];
    one->pid_ = application.pid;
    one->identifier_ = application.identifier ? [text(*application.identifier) retain] : nil;
    one->isTerminated_ = application.isTerminated;
    return one;
}

} // namespace

@implementation NSRunningApplication (StandIn)
+ (id)runningApplicationWithProcessIdentifier:(pid_t)pid {
    for (const auto& application : systemStandIn.applications) {
        if (application.pid == pid) {
            return running(application);
        }
    }
    return nil;
}
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
    NSMutableArray* const found = [NSMutableArray array];
    for (const auto& application : systemStandIn.applications) {
        if (application.identifier && [text(*application.identifier) isEqualToString:identifier]) {
            [found addObject:running(application)];
        }
    }
    return found;
}
@end

@implementation NSWorkspaceOpenConfiguration
+ (instancetype)configuration {
    return [[[self alloc] init] autorelease];
}
@end

@implementation NSWorkspace (StandIn)
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)identifier {
    const auto found = systemStandIn.applicationFolders.find([identifier UTF8String]);
    return found == systemStandIn.applicationFolders.end()
               ? nil
               : [NSURL fileURLWithPath:text(found->second)];
}
- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^)(NSRunningApplication*, NSError*))handler {
    systemStandIn.opened.push_back(
        std::string{configuration != nil ? "application " : "nothing "} + [[url path] UTF8String]);
    if (handler != nil) {
        handler(nil, nil);
    }
}
- (BOOL)openURL:(NSURL*)url {
    systemStandIn.opened.push_back(std::string{"folder "} + [[url path] UTF8String]);
    return YES;
}
- (BOOL)accessibilityDisplayShouldReduceMotion {
    return systemStandIn.reducesMotion;
}
@end

// ---- windows

const CFStringRef kCGWindowOwnerPID = reinterpret_cast<CFStringRef>(@"kCGWindowOwnerPID");
const CFStringRef kCGWindowName = reinterpret_cast<CFStringRef>(@"kCGWindowName");

bool CGPreflightScreenCaptureAccess(void) {
    return systemStandIn.titlesPermitted;
}

CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID /*relativeTo*/) {
    if (!systemStandIn.windowsCanBeRead || option != kCGWindowListExcludeDesktopElements) {
        return nullptr;
    }
    NSMutableArray* const windows = [[NSMutableArray alloc] init];
    for (const auto& window : systemStandIn.windows) {
        NSMutableDictionary* const record = [NSMutableDictionary dictionary];
        if (window.pid != nil) {
            [record setObject:window.pid forKey:@"kCGWindowOwnerPID"];
        }
        if (window.name != nil) {
            [record setObject:window.name forKey:@"kCGWindowName"];
        }
        [windows addObject:record];
    }
    return reinterpret_cast<CFArrayRef>(windows);
}

// ---- login items

@implementation SMAppService
+ (SMAppService*)mainAppService {
    return [[[self alloc] init] autorelease];
}
- (SMAppServiceStatus)status {
    return systemStandIn.loginStatus;
}
- (BOOL)change:(long)status error:(NSError**)error {
    if (systemStandIn.loginFailure) {
        *error = [NSError
            errorWithDomain:@"SMAppServiceErrorDomain"
                       code:1
                   userInfo:[NSDictionary dictionaryWithObject:text(*systemStandIn.loginFailure)
                                                        forKey:NSLocalizedDescriptionKey]];
        return NO;
    }
    systemStandIn.loginStatus = status;
    return YES;
}
- (BOOL)registerAndReturnError:(NSError**)error {
    return [self change:systemStandIn.statusAfterRegistering.value_or(SMAppServiceStatusEnabled)
                  error:error];
}
- (BOOL)unregisterAndReturnError:(NSError**)error {
    return [self change:SMAppServiceStatusNotRegistered error:error];
}
@end

// ---- power

struct IONotificationPort {
    void* context = nullptr;
    IOServiceInterestCallback callback = nullptr;
};

namespace {
IONotificationPort* powerPort = nullptr; // main thread
constexpr io_connect_t powerConnection = 77;
} // namespace

io_connect_t IORegisterForSystemPower(
    void* context, IONotificationPortRef* port, IOServiceInterestCallback callback,
    io_object_t* notifier) {
    if (systemStandIn.refusesPowerEvents) {
        return MACH_PORT_NULL;
    }
    *port = new IONotificationPort{context, callback};
    *notifier = 78;
    ++systemStandIn.powerRegistrations;
    ++systemStandIn.powerConnections;
    return powerConnection;
}

IOReturn IODeregisterForSystemPower(io_object_t* notifier) {
    *notifier = IO_OBJECT_NULL;
    --systemStandIn.powerRegistrations;
    return 0;
}

IOReturn IOAllowPowerChange(io_connect_t port, intptr_t change) {
    if (port == powerConnection) {
        systemStandIn.allowedPowerChanges.push_back(change);
    }
    return 0;
}

kern_return_t IOServiceClose(io_connect_t /*port*/) {
    --systemStandIn.powerConnections;
    return 0;
}

void IONotificationPortSetDispatchQueue(IONotificationPortRef port, dispatch_queue_t queue) {
    if (queue == dispatch_get_main_queue()) {
        powerPort = port;
    }
}

void IONotificationPortDestroy(IONotificationPortRef port) {
    if (powerPort == port) {
        powerPort = nullptr;
    }
    delete port;
}

void brindle::test::announcePower(unsigned message, long change) {
    struct Announcement {
        unsigned message;
        long change;
    };
    dispatch_async_f(
        dispatch_get_main_queue(), new Announcement{message, change}, [](void* context) {
            auto* const announcement = static_cast<Announcement*>(context);
            if (powerPort != nullptr) {
                powerPort->callback(
                    powerPort->context, 1, announcement->message,
                    reinterpret_cast<void*>(announcement->change));
            }
            delete announcement;
        });
}

// ---- the log

os_log_t os_log_create(const char* subsystem, const char* category) {
    static std::string name;
    name = std::string{subsystem} + "/" + category;
    return reinterpret_cast<os_log_t>(&name);
}

void os_log_with_type(os_log_t log, os_log_type_t type, const char* format, ...) {
    // As the system reads it: an argument that is not public stays out of sight.
    constexpr const char* publicText = "%{public}s";
    va_list arguments;
    va_start(arguments, format);
    const std::string line =
        std::strcmp(format, publicText) == 0 ? va_arg(arguments, const char*) : "<private>";
    va_end(arguments);
    systemStandIn.logLines.push_back(
        *reinterpret_cast<std::string*>(log) + " " + std::to_string(type) + " " + line);
}

// ---- AppKit

@implementation NSApplication (StandIn)
- (BOOL)setActivationPolicy:(NSInteger)policy {
    return policy == NSApplicationActivationPolicyAccessory;
}
@end

@interface BrindleStatusItem : NSStatusItem {
    NSStatusBarButton* button_;
    NSMenu* menu_;
}
@end
@implementation BrindleStatusItem
- (void)dealloc {
    [button_ release];
    [menu_ release];
    [super dealloc];
}
- (NSStatusBarButton*)button {
    if (button_ == nil) {
        button_ = [[NSStatusBarButton alloc] initWithFrame:NSMakeRect(0, 0, 22, 22)];
    }
    return button_;
}
- (void)setMenu:(NSMenu*)menu {
    [menu retain];
    [menu_ release];
    menu_ = menu;
}
- (NSMenu*)menu {
    return menu_;
}
- (BOOL)isVisible {
    return YES;
}
@end

@implementation NSStatusBar (StandIn)
+ (NSStatusBar*)systemStatusBar {
    static NSStatusBar* const bar = [[NSStatusBar alloc] init];
    return bar;
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    static_cast<void>(length);
    return [[[BrindleStatusItem alloc] init] autorelease];
}
- (void)removeStatusItem:(NSStatusItem*)item {
    static_cast<void>(item);
}
@end

namespace {
NSMapTable* descriptions() {
    static NSMapTable* const table =
        [[NSMapTable mapTableWithKeyOptions:NSMapTableObjectPointerPersonality
                               valueOptions:NSMapTableStrongMemory] retain];
    return table;
}
NSString* appearanceName = nil;
} // namespace

@implementation NSImage (StandIn)
- (void)setTemplate:(BOOL)isTemplate {
    static_cast<void>(isTemplate);
}
- (void)setAccessibilityDescription:(NSString*)words {
    [descriptions() setObject:words forKey:self];
}
- (NSString*)accessibilityDescription {
    return [descriptions() objectForKey:self];
}
@end

/// GNUstep's own knows no appearances.
@interface BrindleAppearance : NSAppearance {
    NSString* name_;
}
- (id)initWithName:(NSString*)name;
@end
@implementation BrindleAppearance
- (id)initWithName:(NSString*)name {
    self = [super init];
    name_ = [name retain];
    return self;
}
- (void)dealloc {
    [name_ release];
    [super dealloc];
}
- (NSString*)bestMatchFromAppearancesWithNames:(NSArray*)names {
    return [names containsObject:name_] ? name_ : nil;
}
@end

@implementation NSView (StandIn)
- (NSAppearance*)effectiveAppearance {
    return appearanceName == nil
               ? nil
               : [[[BrindleAppearance alloc] initWithName:appearanceName] autorelease];
}
@end

void brindle::test::setEffectiveAppearance(NSString* name, NSView* view) {
    [view willChangeValueForKey:@"effectiveAppearance"];
    appearanceName = name;
    [view didChangeValueForKey:@"effectiveAppearance"];
}

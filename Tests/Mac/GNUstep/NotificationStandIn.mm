#include "NotificationStandIn.hpp"

#include "SystemStandIn.hpp"

#import <UserNotifications/UserNotifications.h>

#include <Block.h>

namespace brindle::test {

NotificationStandIn notificationStandIn;

namespace {

using Handler = void (^)(NSError*);

id<UNUserNotificationCenterDelegate> delegate = nil; // not retained
std::vector<Handler> heldPosts;

NSString* text(const std::string& bytes) {
    return [NSString stringWithUTF8String:bytes.c_str()];
}

std::string stringOf(id object) {
    return object == nil ? "" : [[object description] UTF8String];
}

} // namespace

void NotificationStandIn::reset() {
    for (const Handler handler : std::exchange(heldPosts, {})) {
        Block_release(handler);
    }
    notificationStandIn = {};
}

bool centerHasDelegate() {
    return delegate != nil;
}

void takePosts() {
    for (const Handler handler : std::exchange(heldPosts, {})) {
        onForeignThread([handler] {
            handler(nil);
            Block_release(handler);
        });
    }
}

} // namespace brindle::test

using namespace brindle::test; // NOLINT(google-build-using-namespace)

NSString* const UNNotificationDefaultActionIdentifier =
    @"com.apple.UNNotificationDefaultActionIdentifier";
NSString* const UNNotificationDismissActionIdentifier =
    @"com.apple.UNNotificationDismissActionIdentifier";

/// Whatever an object of the framework was given, by name.
static NSMutableDictionary* values(void** script) {
    if (*script == nullptr) {
        *script = [[NSMutableDictionary alloc] init];
    }
    return static_cast<NSMutableDictionary*>(*script);
}
#define VALUES values(&script_)
#define FORGETS                                                                                    \
    -(void)dealloc {                                                                               \
        [static_cast<id>(script_) release];                                                        \
        [super dealloc];                                                                           \
    }

@implementation UNNotificationAction
FORGETS
+ (instancetype)actionWithIdentifier:(NSString*)identifier
                               title:(NSString*)title
                             options:(UNNotificationActionOptions)options {
    UNNotificationAction* const action = [[[self alloc] init] autorelease];
    action->script_ = [[NSString alloc]
        initWithFormat:@"%@ %@ %lu", identifier, title, static_cast<unsigned long>(options)];
    return action;
}
- (NSString*)description {
    return static_cast<NSString*>(script_);
}
@end

@implementation UNNotificationCategory
FORGETS
+ (instancetype)categoryWithIdentifier:(NSString*)identifier
                               actions:(NSArray*)actions
                     intentIdentifiers:(NSArray*)intents
                               options:(UNNotificationCategoryOptions)options {
    UNNotificationCategory* const category = [[[self alloc] init] autorelease];
    category->script_ =
        [[NSString alloc] initWithFormat:@"%@: %@; intents %lu, options %lu", identifier,
                                         [actions componentsJoinedByString:@", "],
                                         static_cast<unsigned long>([intents count]),
                                         static_cast<unsigned long>(options)];
    return category;
}
- (NSString*)description {
    return static_cast<NSString*>(script_);
}
@end

@implementation UNNotificationContent
FORGETS
- (NSDictionary*)userInfo {
    return [VALUES objectForKey:@"info"];
}
@end

@implementation UNMutableNotificationContent
- (void)setTitle:(NSString*)title {
    [VALUES setObject:title forKey:@"title"];
}
- (void)setBody:(NSString*)body {
    [VALUES setObject:body forKey:@"body"];
}
- (void)setCategoryIdentifier:(NSString*)identifier {
    [VALUES setObject:identifier forKey:@"category"];
}
- (void)setUserInfo:(NSDictionary*)info {
    [VALUES setObject:info forKey:@"info"];
}
@end

@implementation UNNotificationRequest
FORGETS
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(id)trigger {
    UNNotificationRequest* const request = [[[self alloc] init] autorelease];
    [values(&request->script_) setObject:identifier forKey:@"identifier"];
    [values(&request->script_) setObject:content forKey:@"content"];
    if (trigger != nil) {
        [values(&request->script_) setObject:trigger forKey:@"trigger"];
    }
    return request;
}
- (NSString*)identifier {
    return [VALUES objectForKey:@"identifier"];
}
- (UNNotificationContent*)content {
    return [VALUES objectForKey:@"content"];
}
@end

@implementation UNNotification
FORGETS
- (UNNotificationRequest*)request {
    return [VALUES objectForKey:@"request"];
}
@end

@implementation UNNotificationResponse
FORGETS
- (UNNotification*)notification {
    return [VALUES objectForKey:@"notification"];
}
- (NSString*)actionIdentifier {
    return [VALUES objectForKey:@"action"];
}
@end

@implementation UNUserNotificationCenter
FORGETS
+ (UNUserNotificationCenter*)currentNotificationCenter {
    if ([[NSBundle mainBundle] bundleIdentifier] == nil) {
        [NSException raise:NSInternalInconsistencyException format:@"bundleProxyForCurrentProcess"];
    }
    static UNUserNotificationCenter* const only = [[self alloc] init];
    return only;
}
- (void)setDelegate:(id<UNUserNotificationCenterDelegate>)next {
    delegate = next;
}
- (void)setNotificationCategories:(NSSet*)categories {
    notificationStandIn.categories.clear();
    for (id category in categories) {
        notificationStandIn.categories.push_back(stringOf(category));
    }
}
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL, NSError*))handler {
    notificationStandIn.authorizationOptions.push_back(static_cast<long>(options));
    void (^const kept)(BOOL, NSError*) = Block_copy(handler);
    const BOOL isGranted = notificationStandIn.grants;
    onForeignThread([kept, isGranted] {
        kept(isGranted, nil);
        Block_release(kept);
    });
}
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(void (^)(NSError*))handler {
    const Handler kept = Block_copy(handler);
    if (notificationStandIn.refusesPosts) {
        ++notificationStandIn.refusedPosts;
        onForeignThread([kept] {
            kept([NSError errorWithDomain:@"UNErrorDomain" code:1 userInfo:nil]);
            Block_release(kept);
        });
        return;
    }
    const auto content = values(&[request content]->script_);
    const NotificationStandIn::Shown shown{
        stringOf([request identifier]), stringOf([content objectForKey:@"title"]),
        stringOf([content objectForKey:@"body"]), stringOf([content objectForKey:@"category"]),
        stringOf([[content objectForKey:@"info"] objectForKey:@"label"])};
    auto& all = notificationStandIn.shown;
    std::erase_if(all, [&](const auto& one) { return one.identifier == shown.identifier; });
    all.push_back(shown);
    heldPosts.push_back(kept);
    if (!notificationStandIn.holdsPosts) {
        takePosts();
    }
}
- (void)removeDeliveredNotificationsWithIdentifiers:(NSArray*)identifiers {
    std::erase_if(notificationStandIn.shown, [&](const auto& one) {
        return [identifiers containsObject:text(one.identifier)] != NO;
    });
}
@end

namespace {

void answer(const std::string& action, const std::string& identifier, NSDictionary* info) {
    UNMutableNotificationContent* const content =
        [[[UNMutableNotificationContent alloc] init] autorelease];
    if (info != nil) {
        [content setUserInfo:info];
    }
    UNNotification* const notification = [[[UNNotification alloc] init] autorelease];
    [values(&notification->script_)
        setObject:[UNNotificationRequest requestWithIdentifier:text(identifier)
                                                       content:content
                                                       trigger:nil]
           forKey:@"request"];
    UNNotificationResponse* const response = [[UNNotificationResponse alloc] init];
    [values(&response->script_) setObject:notification forKey:@"notification"];
    [values(&response->script_) setObject:text(action) forKey:@"action"];
    onForeignThread([response] {
        [delegate userNotificationCenter:[UNUserNotificationCenter currentNotificationCenter]
            didReceiveNotificationResponse:response
                     withCompletionHandler:^{
                       ++notificationStandIn.completedResponses;
                     }];
        [response release];
    });
}

} // namespace

void brindle::test::respond(
    const std::string& action, const NotificationStandIn::Shown& notification) {
    answer(
        action, notification.identifier,
        notification.label.empty() ? nil
                                   : [NSDictionary dictionaryWithObject:text(notification.label)
                                                                 forKey:@"label"]);
}

void brindle::test::respondWithNumberAsLabel(const std::string& action) {
    answer(
        action, "x",
        [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:7] forKey:@"label"]);
}

void brindle::test::askForPresentation() {
    [delegate userNotificationCenter:[UNUserNotificationCenter currentNotificationCenter]
             willPresentNotification:[[[UNNotification alloc] init] autorelease]
               withCompletionHandler:^(UNNotificationPresentationOptions options) {
                 notificationStandIn.presentation = static_cast<long>(options);
               }];
}

#include "BrindleRecorderMac/UserNotifications/NotificationCenter.hpp"

#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <UserNotifications/UserNotifications.h>

#include <cstdint>
#include <map>
#include <utility>

using ResponseReceiver =
    std::function<void(const brindle::NotificationResponse&, std::function<void()>)>;

namespace {

NSString* const labelKey = @"label";

std::string actionOf(NSString* identifier) {
    if ([identifier isEqualToString:UNNotificationDefaultActionIdentifier]) {
        return brindle::NotificationResponse::defaultAction;
    }
    if ([identifier isEqualToString:UNNotificationDismissActionIdentifier]) {
        return brindle::NotificationResponse::dismissAction;
    }
    return brindle::stringOf(identifier);
}

} // namespace

/// The center calls on a queue of its own.
@interface BrindleNotificationDelegate : NSObject <UNUserNotificationCenterDelegate> {
  @public
    ResponseReceiver receive_;
}
@end

@implementation BrindleNotificationDelegate
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))handler {
    static_cast<void>(center);
    static_cast<void>(notification);
    handler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionSound);
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))handler {
    static_cast<void>(center);
    @autoreleasepool {
        brindle::NotificationResponse answer;
        answer.actionIdentifier = actionOf([response actionIdentifier]);
        UNNotificationRequest* const request = [[response notification] request];
        answer.identifier = brindle::stringOf([request identifier]);
        NSDictionary* const info = [[request content] userInfo];
        const id label = [info objectForKey:labelKey];
        if ([label isKindOfClass:[NSString class]]) {
            answer.label = brindle::stringOf(label);
        }
        const brindle::RetainedBlock completion{handler};
        receive_(answer, [completion] { completion.get()(); });
    }
}
@end

namespace brindle {

class NotificationCenter::Implementation : public std::enable_shared_from_this<Implementation> {
  public:
    Implementation() {
        // Outside a bundle there is no center: asking for it raises.
        if ([[NSBundle mainBundle] bundleIdentifier] != nil) {
            center = keeping([UNUserNotificationCenter currentNotificationCenter]);
        }
    }
    ~Implementation() { [center.get() setDelegate:nil]; }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void listen() {
        delegate = taking([[BrindleNotificationDelegate alloc] init]);
        delegate.get()->receive_ = [weak = weak_from_this()](
                                       const NotificationResponse& response,
                                       const std::function<void()>& completion) {
            DispatchMainLoop{}.post([weak, response, completion] {
                if (const auto alive = weak.lock(); alive && alive->handler) {
                    alive->handler(response);
                }
                completion();
            });
        };
        [center.get() setDelegate:delegate.get()];
    }

    Retained<UNUserNotificationCenter> center;
    Retained<BrindleNotificationDelegate> delegate;
    std::function<void(const NotificationResponse&)> handler;
    /// Which post under each identifier is the last one.
    std::map<std::string, std::uint64_t> lastPosts;
    std::uint64_t posts = 0;
};

NotificationCenter::NotificationCenter() {
    @autoreleasepool {
        implementation_ = std::make_shared<Implementation>();
        implementation_->listen();
    }
}

NotificationCenter::~NotificationCenter() = default;

bool NotificationCenter::isAvailable() const {
    return static_cast<bool>(implementation_->center);
}

void NotificationCenter::setResponseHandler(
    std::function<void(const NotificationResponse&)> handler) {
    implementation_->handler = std::move(handler);
}

void NotificationCenter::setCategories(std::vector<NotificationCategory> categories) {
    @autoreleasepool {
        NSMutableArray* const all = [NSMutableArray array];
        for (const auto& category : categories) {
            NSMutableArray* const actions = [NSMutableArray array];
            for (const auto& action : category.actions) {
                [actions addObject:[UNNotificationAction
                                       actionWithIdentifier:nsString(action.identifier)
                                                      title:nsString(action.title)
                                                    options:UNNotificationActionOptionNone]];
            }
            [all addObject:[UNNotificationCategory
                               categoryWithIdentifier:nsString(category.identifier)
                                              actions:actions
                                    intentIdentifiers:[NSArray array]
                                              options:UNNotificationCategoryOptionNone]];
        }
        [implementation_->center.get() setNotificationCategories:[NSSet setWithArray:all]];
    }
}

void NotificationCenter::requestAuthorization(std::function<void(bool granted)> answer) {
    if (!isAvailable()) {
        DispatchMainLoop{}.post([answer] { answer(false); });
        return;
    }
    @autoreleasepool {
        [implementation_->center.get()
            requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                          completionHandler:^(BOOL granted, NSError*) {
                            const bool isGranted = granted != NO;
                            DispatchMainLoop{}.post([answer, isGranted] { answer(isGranted); });
                          }];
    }
}

void NotificationCenter::post(const NotificationRequest& request, std::function<void()> whenShown) {
    if (!isAvailable()) {
        return;
    }
    @autoreleasepool {
        const auto content = taking([[UNMutableNotificationContent alloc] init]);
        [content.get() setTitle:nsString(request.title)];
        [content.get() setBody:nsString(request.body)];
        if (request.categoryIdentifier) {
            [content.get() setCategoryIdentifier:nsString(*request.categoryIdentifier)];
        }
        if (request.label) {
            [content.get() setUserInfo:[NSDictionary dictionaryWithObject:nsString(*request.label)
                                                                   forKey:labelKey]];
        }
        const std::uint64_t post = ++implementation_->posts;
        implementation_->lastPosts[request.identifier] = post;
        const std::weak_ptr<Implementation> weak = implementation_;
        const std::string identifier = request.identifier;
        [implementation_->center.get()
            addNotificationRequest:[UNNotificationRequest requestWithIdentifier:nsString(identifier)
                                                                        content:content.get()
                                                                        trigger:nil]
             withCompletionHandler:^(NSError* error) {
               const bool isShown = error == nil;
               DispatchMainLoop{}.post([weak, identifier, post, isShown, whenShown] {
                   const auto alive = weak.lock();
                   if (!alive) {
                       return;
                   }
                   const auto last = alive->lastPosts.find(identifier);
                   if (last == alive->lastPosts.end() || last->second != post) {
                       return;
                   }
                   alive->lastPosts.erase(last);
                   if (isShown && whenShown) {
                       whenShown();
                   }
               });
             }];
    }
}

void NotificationCenter::removeDelivered(const std::string& identifier) {
    @autoreleasepool {
        implementation_->lastPosts.erase(identifier);
        [implementation_->center.get()
            removeDeliveredNotificationsWithIdentifiers:[NSArray
                                                            arrayWithObject:nsString(identifier)]];
    }
}

} // namespace brindle

#pragma once
#import <Foundation/Foundation.h>
#ifdef __cplusplus
extern "C" {
#endif
#undef SCRIPTED
#ifdef BRINDLE_STAND_IN
#define SCRIPTED { @public void* script_; }
#else
#define SCRIPTED
#endif
typedef NSUInteger UNAuthorizationOptions; // usernotifications/unauthorizationoptions
enum : UNAuthorizationOptions {
    UNAuthorizationOptionSound = 1 << 1, // usernotifications/unauthorizationoptions/sound
    UNAuthorizationOptionAlert = 1 << 2 // usernotifications/unauthorizationoptions/alert
};
typedef NSUInteger UNNotificationPresentationOptions; // usernotifications/unnotificationpresentationoptions
enum : UNNotificationPresentationOptions {
    UNNotificationPresentationOptionSound = 1 << 1, // usernotifications/unnotificationpresentationoptions/sound
    UNNotificationPresentationOptionBanner = 1 << 4 // usernotifications/unnotificationpresentationoptions/banner
};
typedef NSUInteger UNNotificationActionOptions; // usernotifications/unnotificationactionoptions
static const UNNotificationActionOptions UNNotificationActionOptionNone = 0; // usernotifications/unnotificationactionoptionnone
typedef NSUInteger UNNotificationCategoryOptions; // usernotifications/unnotificationcategoryoptions
static const UNNotificationCategoryOptions UNNotificationCategoryOptionNone = 0; // usernotifications/unnotificationcategoryoptionnone
extern NSString* const UNNotificationDefaultActionIdentifier; // usernotifications/unnotificationdefaultactionidentifier
extern NSString* const UNNotificationDismissActionIdentifier; // usernotifications/unnotificationdismissactionidentifier
@interface UNNotificationAction : NSObject SCRIPTED // usernotifications/unnotificationaction
+ (instancetype)actionWithIdentifier:(NSString*)identifier title:(NSString*)title options:(UNNotificationActionOptions)options; // usernotifications/unnotificationaction/init(identifier:title:options:)
@end
@interface UNNotificationCategory : NSObject SCRIPTED // usernotifications/unnotificationcategory
+ (instancetype)categoryWithIdentifier:(NSString*)identifier actions:(NSArray*)actions intentIdentifiers:(NSArray*)intents options:(UNNotificationCategoryOptions)options; // usernotifications/unnotificationcategory/init(identifier:actions:intentidentifiers:options:)
@end
@interface UNNotificationContent : NSObject SCRIPTED // usernotifications/unnotificationcontent
- (NSDictionary*)userInfo; // usernotifications/unnotificationcontent/userinfo
@end
@interface UNMutableNotificationContent : UNNotificationContent // usernotifications/unmutablenotificationcontent
- (void)setTitle:(NSString*)title; // usernotifications/unmutablenotificationcontent/title
- (void)setBody:(NSString*)body; // usernotifications/unmutablenotificationcontent/body
- (void)setCategoryIdentifier:(NSString*)identifier; // usernotifications/unmutablenotificationcontent/categoryidentifier
- (void)setUserInfo:(NSDictionary*)info; // usernotifications/unmutablenotificationcontent/userinfo
@end
@interface UNNotificationRequest : NSObject SCRIPTED // usernotifications/unnotificationrequest
+ (instancetype)requestWithIdentifier:(NSString*)identifier content:(UNNotificationContent*)content trigger:(id)trigger; // usernotifications/unnotificationrequest/init(identifier:content:trigger:)
- (NSString*)identifier; // usernotifications/unnotificationrequest/identifier
- (UNNotificationContent*)content; // usernotifications/unnotificationrequest/content
@end
@interface UNNotification : NSObject SCRIPTED // usernotifications/unnotification
- (UNNotificationRequest*)request; // usernotifications/unnotification/request
@end
@interface UNNotificationResponse : NSObject SCRIPTED // usernotifications/unnotificationresponse
- (UNNotification*)notification; // usernotifications/unnotificationresponse/notification
- (NSString*)actionIdentifier; // usernotifications/unnotificationresponse/actionidentifier
@end
@class UNUserNotificationCenter;
@protocol UNUserNotificationCenterDelegate // usernotifications/unusernotificationcenterdelegate
@optional
- (void)userNotificationCenter:(UNUserNotificationCenter*)center willPresentNotification:(UNNotification*)notification withCompletionHandler:(void (^)(UNNotificationPresentationOptions))handler; // usernotifications/unusernotificationcenterdelegate/usernotificationcenter(_:willpresent:withcompletionhandler:)
- (void)userNotificationCenter:(UNUserNotificationCenter*)center didReceiveNotificationResponse:(UNNotificationResponse*)response withCompletionHandler:(void (^)(void))handler; // usernotifications/unusernotificationcenterdelegate/usernotificationcenter(_:didreceive:withcompletionhandler:)
@end
@interface UNUserNotificationCenter : NSObject SCRIPTED // usernotifications/unusernotificationcenter
+ (UNUserNotificationCenter*)currentNotificationCenter; // usernotifications/unusernotificationcenter/current()
- (void)setDelegate:(id<UNUserNotificationCenterDelegate>)delegate; // usernotifications/unusernotificationcenter/delegate
- (void)setNotificationCategories:(NSSet*)categories; // usernotifications/unusernotificationcenter/setnotificationcategories(_:)
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options completionHandler:(void (^)(BOOL granted, NSError* error))handler; // usernotifications/unusernotificationcenter/requestauthorization(options:completionhandler:)
- (void)addNotificationRequest:(UNNotificationRequest*)request withCompletionHandler:(void (^)(NSError* error))handler; // usernotifications/unusernotificationcenter/add(_:withcompletionhandler:)
- (void)removeDeliveredNotificationsWithIdentifiers:(NSArray*)identifiers; // usernotifications/unusernotificationcenter/removedeliverednotifications(withidentifiers:)
@end
#ifdef __cplusplus
}
#endif

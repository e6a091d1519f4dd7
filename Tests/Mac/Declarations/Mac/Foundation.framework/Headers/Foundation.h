#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#import <objc/NSObject.h>
#include <objc/objc.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef double NSTimeInterval; // foundation/timeinterval
typedef CGPoint NSPoint; // foundation/nspoint
typedef CGSize NSSize; // foundation/nssize
typedef CGRect NSRect; // foundation/nsrect
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat w, CGFloat h) { NSRect r = {{x, y}, {w, h}}; return r; } // foundation/nsmakerect(_:_:_:_:)
static inline NSSize NSMakeSize(CGFloat w, CGFloat h) { NSSize s = {w, h}; return s; } // foundation/nsmakesize(_:_:)
static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) { NSPoint p = {x, y}; return p; } // foundation/nsmakepoint(_:_:)
@class NSArray, NSData, NSDictionary, NSError, NSString;
typedef struct { unsigned long state; id* itemsPtr; unsigned long* mutationsPtr; unsigned long extra[5]; } NSFastEnumerationState; // foundation/nsfastenumerationstate
@protocol NSFastEnumeration // foundation/nsfastenumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id[])buffer count:(NSUInteger)count; // foundation/nsfastenumeration/countbyenumerating(with:objects:count:)
@end
typedef NSUInteger NSStringEncoding; // foundation/nsstringencoding
enum : NSStringEncoding { NSUTF8StringEncoding = 4 }; // foundation/nsutf8stringencoding
@interface NSString : NSObject // foundation/nsstring
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding; // foundation/nsstring/init(bytes:length:encoding:)
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy; // foundation/nsstring/data(using:allowlossyconversion:)
- (BOOL)isEqualToString:(NSString*)other; // foundation/nsstring/isequal(to:)
@end
@interface NSData : NSObject // foundation/nsdata
- (const void*)bytes; // foundation/nsdata/bytes
- (NSUInteger)length; // foundation/nsdata/length
@end
@interface NSArray : NSObject <NSFastEnumeration> // foundation/nsarray
+ (instancetype)array; // foundation/nsarray/array
+ (instancetype)arrayWithObject:(id)object; // foundation/nsarray/arraywithobject:
+ (instancetype)arrayWithObjects:(id)first, ...; // foundation/nsarray/arraywithobjects:
@end
@interface NSMutableArray : NSArray // foundation/nsmutablearray
- (void)addObject:(id)object; // foundation/nsmutablearray/add(_:)
@end
@interface NSDictionary : NSObject <NSFastEnumeration> // foundation/nsdictionary
+ (instancetype)dictionaryWithObject:(id)object forKey:(id)key; // foundation/nsdictionary/init(object:forkey:)
+ (instancetype)dictionaryWithObjectsAndKeys:(id)first, ...; // foundation/nsdictionary/dictionarywithobjectsandkeys:
- (id)objectForKey:(id)key; // foundation/nsdictionary/object(forkey:)
@end
@interface NSSet : NSObject <NSFastEnumeration> // foundation/nsset
+ (instancetype)setWithArray:(NSArray*)array; // foundation/nsset/init(array:)
@end
@interface NSNumber : NSObject // foundation/nsnumber
+ (NSNumber*)numberWithBool:(BOOL)value; // foundation/nsnumber/init(value:)
+ (NSNumber*)numberWithLongLong:(long long)value; // foundation/nsnumber/init(value:)
- (BOOL)boolValue; // foundation/nsnumber/boolvalue
- (int)intValue; // foundation/nsnumber/int32value
- (long long)longLongValue; // foundation/nsnumber/int64value
@end
extern NSString* const NSURLVolumeAvailableCapacityForImportantUsageKey; // foundation/nsurlvolumeavailablecapacityforimportantusagekey
@interface NSURL : NSObject // foundation/nsurl
+ (instancetype)fileURLWithPath:(NSString*)path; // foundation/nsurl/fileurl(withpath:)
- (BOOL)isFileURL; // foundation/nsurl/isfileurl
- (NSString*)path; // foundation/nsurl/path
- (BOOL)getResourceValue:(id*)value forKey:(NSString*)key error:(NSError**)error; // foundation/nsurl/getresourcevalue(_:forkey:)
@end
extern NSString* const NSUnderlyingErrorKey; // foundation/nsunderlyingerrorkey
extern NSString* const NSPOSIXErrorDomain; // foundation/nsposixerrordomain
@interface NSError : NSObject // foundation/nserror
- (NSString*)domain; // foundation/nserror/domain
- (NSInteger)code; // foundation/nserror/code
- (NSString*)localizedDescription; // foundation/nserror/localizeddescription
- (NSDictionary*)userInfo; // foundation/nserror/userinfo
@end
@interface NSException : NSObject // foundation/nsexception
- (NSString*)name; // foundation/nsexception/name
- (NSString*)reason; // foundation/nsexception/reason
@end
@interface NSUserDefaults : NSObject // foundation/userdefaults
+ (NSUserDefaults*)standardUserDefaults; // foundation/userdefaults/standard
- (id)objectForKey:(NSString*)key; // foundation/userdefaults/object(forkey:)
- (void)setObject:(id)value forKey:(NSString*)key; // foundation/userdefaults/set(_:forkey:)
- (void)setBool:(BOOL)value forKey:(NSString*)key; // foundation/userdefaults/set(_:forkey:)
- (void)removeObjectForKey:(NSString*)key; // foundation/userdefaults/removeobject(forkey:)
@end
typedef struct { NSInteger majorVersion; NSInteger minorVersion; NSInteger patchVersion; } NSOperatingSystemVersion; // foundation/operatingsystemversion
typedef uint64_t NSActivityOptions; // foundation/processinfo/activityoptions
enum : NSActivityOptions { NSActivityUserInitiatedAllowingIdleSystemSleep = 0x00FFFFFFULL & ~(1ULL << 20) }; // foundation/processinfo/activityoptions/userinitiatedallowingidlesystemsleep
@interface NSProcessInfo : NSObject // foundation/processinfo
+ (NSProcessInfo*)processInfo; // foundation/processinfo/processinfo
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version; // foundation/processinfo/isoperatingsystematleast(_:)
- (id)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason; // foundation/processinfo/beginactivity(options:reason:)
- (void)endActivity:(id)activity; // foundation/processinfo/endactivity(_:)
@end
@interface NSNotification : NSObject // foundation/nsnotification
- (NSDictionary*)userInfo; // foundation/nsnotification/userinfo
@end
@interface NSNotificationCenter : NSObject // foundation/notificationcenter
+ (NSNotificationCenter*)defaultCenter; // foundation/notificationcenter/default
- (void)addObserver:(id)observer selector:(SEL)selector name:(NSString*)name object:(id)object; // foundation/notificationcenter/addobserver(_:selector:name:object:)
- (void)removeObserver:(id)observer; // foundation/notificationcenter/removeobserver(_:)
@end
@interface NSBundle : NSObject // foundation/bundle
+ (NSBundle*)mainBundle; // foundation/bundle/main
+ (instancetype)bundleWithPath:(NSString*)path; // foundation/bundle/init(path:)
- (NSString*)bundleIdentifier; // foundation/bundle/bundleidentifier
- (NSURL*)bundleURL; // foundation/bundle/bundleurl
@end
typedef NSUInteger NSKeyValueObservingOptions; // foundation/nskeyvalueobservingoptions
@interface NSObject (NSKeyValueObserverRegistration) // foundation/nskeyvalueobserving
- (void)addObserver:(NSObject*)observer forKeyPath:(NSString*)path options:(NSKeyValueObservingOptions)options context:(void*)context; // objectivec/nsobject/addobserver(_:forkeypath:options:context:)
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)path; // objectivec/nsobject/removeobserver(_:forkeypath:)
@end
#ifdef __cplusplus
}
#endif

#pragma once
#import <Foundation/Foundation.h>
typedef NSInteger SMAppServiceStatus; // servicemanagement/smappservice/status-swift.enum
enum : SMAppServiceStatus {
    SMAppServiceStatusNotRegistered = 0, // servicemanagement/smappservice/status-swift.enum/notregistered
    SMAppServiceStatusEnabled = 1, // servicemanagement/smappservice/status-swift.enum/enabled
    SMAppServiceStatusRequiresApproval = 2, // servicemanagement/smappservice/status-swift.enum/requiresapproval
    SMAppServiceStatusNotFound = 3 // servicemanagement/smappservice/status-swift.enum/notfound
};
@interface SMAppService : NSObject // servicemanagement/smappservice
+ (SMAppService*)mainAppService; // servicemanagement/smappservice/mainapp
- (SMAppServiceStatus)status; // servicemanagement/smappservice/status-swift.property
- (BOOL)registerAndReturnError:(NSError**)error; // servicemanagement/smappservice/register()
- (BOOL)unregisterAndReturnError:(NSError**)error; // servicemanagement/smappservice/unregister()
@end

#include "BrindleRecorderMac/ServiceManagement/MainAppService.hpp"

#include "BrindleRecorderMac/Foundation/FoundationError.hpp"

#import <ServiceManagement/ServiceManagement.h>

namespace brindle {

namespace {

Expected<void, PlatformError> outcome(BOOL hasSucceeded, NSError* error) {
    if (hasSucceeded) {
        return {};
    }
    return unexpected{platformErrorOf(error)};
}

} // namespace

LoginItemStatus MainAppService::status() const {
    @autoreleasepool {
        switch ([[SMAppService mainAppService] status]) {
        case SMAppServiceStatusNotRegistered:
            return LoginItemStatus::notRegistered;
        case SMAppServiceStatusEnabled:
            return LoginItemStatus::enabled;
        case SMAppServiceStatusRequiresApproval:
            return LoginItemStatus::requiresApproval;
        case SMAppServiceStatusNotFound:
            return LoginItemStatus::notFound;
        }
        return LoginItemStatus::notFound;
    }
}

Expected<void, PlatformError> MainAppService::registerApplication() {
    @autoreleasepool {
        NSError* error = nil;
        const BOOL hasSucceeded = [[SMAppService mainAppService] registerAndReturnError:&error];
        return outcome(hasSucceeded, error);
    }
}

Expected<void, PlatformError> MainAppService::unregisterApplication() {
    @autoreleasepool {
        NSError* error = nil;
        const BOOL hasSucceeded = [[SMAppService mainAppService] unregisterAndReturnError:&error];
        return outcome(hasSucceeded, error);
    }
}

} // namespace brindle

#include "BrindleRecorderMac/CoreGraphics/QuartzWindowList.hpp"

#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <CoreGraphics/CoreGraphics.h>

namespace brindle {

namespace {

WindowRecord recordOf(NSDictionary* window) {
    WindowRecord record;
    const id pid = [window objectForKey:bridged<NSString>(kCGWindowOwnerPID)];
    if ([pid isKindOfClass:[NSNumber class]]) {
        record.ownerPid = [pid intValue];
    }
    const id name = [window objectForKey:bridged<NSString>(kCGWindowName)];
    if ([name isKindOfClass:[NSString class]]) {
        record.name = stringOf(name);
    }
    return record;
}

} // namespace

bool QuartzWindowList::titlesPermitted() const {
    return CGPreflightScreenCaptureAccess();
}

std::optional<std::vector<WindowRecord>> QuartzWindowList::windows() const {
    @autoreleasepool {
        const CoreFoundationOwner<CFArrayRef> list{
            CGWindowListCopyWindowInfo(kCGWindowListExcludeDesktopElements, kCGNullWindowID)};
        if (!list) {
            return std::nullopt;
        }
        std::vector<WindowRecord> records;
        for (id window in bridged<NSArray>(list.get())) {
            if ([window isKindOfClass:[NSDictionary class]]) {
                records.push_back(recordOf(window));
            }
        }
        return records;
    }
}

} // namespace brindle

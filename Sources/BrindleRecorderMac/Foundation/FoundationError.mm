#include "BrindleRecorderMac/Foundation/FoundationError.hpp"

#include "BrindleRecorderMac/Foundation/RaisedException.h"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

// Declared here for AVFoundation's errors, which every framework hands on.
#import <AVFoundation/AVFoundation.h>

namespace brindle {

namespace {

void callWork(void* context) {
    (*static_cast<std::function<void()>*>(context))();
}

} // namespace

PlatformError platformErrorOf(NSError* error) {
    PlatformError result{
        .domain = stringOf([error domain]),
        .code = [error code],
        .description = stringOf([error localizedDescription])};
    NSDictionary* const info = [error userInfo];
    for (id key in info) {
        result.userInfo[descriptionOf(key)] = descriptionOf([info objectForKey:key]);
    }
    const id underlying = [info objectForKey:NSUnderlyingErrorKey];
    if ([underlying isKindOfClass:[NSError class]]) {
        NSError* const cause = underlying;
        result.underlying = PlatformError::Underlying{stringOf([cause domain]), [cause code]};
    }
    const id finished = [info objectForKey:AVErrorRecordingSuccessfullyFinishedKey];
    result.recordingSuccessfullyFinished =
        [finished isKindOfClass:[NSNumber class]] && [finished boolValue];
    return result;
}

std::optional<PlatformError> optionalErrorOf(NSError* error) {
    return error == nil ? std::nullopt : std::optional{platformErrorOf(error)};
}

std::optional<PlatformError> raisedBy(std::function<void()> work) {
    const auto exception = taking(BrindleExceptionRaisedBy(callWork, &work));
    if (!exception) {
        return std::nullopt;
    }
    return PlatformError{
        .domain = stringOf([exception.get() name]),
        .description = stringOf([exception.get() reason])};
}

} // namespace brindle

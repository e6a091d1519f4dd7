#include "BrindleRecorderMac/Foundation/VolumeFileManager.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

namespace brindle {

Expected<std::optional<std::int64_t>, FileError>
VolumeFileManager::availableCapacity(const std::filesystem::path& path) const {
    @autoreleasepool {
        id capacity = nil;
        NSError* error = nil;
        if (![fileUrl(path) getResourceValue:&capacity
                                      forKey:NSURLVolumeAvailableCapacityForImportantUsageKey
                                       error:&error]) {
            // The system's number stands behind Foundation's error, if anywhere.
            NSError* const cause = [[error userInfo] objectForKey:NSUnderlyingErrorKey];
            const bool isSystems = [[cause domain] isEqualToString:NSPOSIXErrorDomain];
            const auto code =
                isSystems ? static_cast<int>([cause code]) : static_cast<int>(std::errc::io_error);
            return unexpected{FileError{{code, std::generic_category()}, path}};
        }
        if (![capacity isKindOfClass:[NSNumber class]]) {
            return std::optional<std::int64_t>{};
        }
        return std::optional<std::int64_t>{[capacity longLongValue]};
    }
}

} // namespace brindle

#include "BrindleRecorderMac/AppKit/RunningCopies.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace brindle {

namespace {

FileDescriptor opened(const std::filesystem::path& file) {
    constexpr mode_t forTheUser = 0600;
    auto descriptor = FileDescriptor::open(file, O_RDWR | O_CREAT, forTheUser);
    return descriptor ? *std::move(descriptor) : FileDescriptor{-1};
}

/// False also where there is nothing to hold: then all copies are told of one another.
bool takes(const FileDescriptor& lock) {
    return lock.number() != -1 &&
           uninterrupted([&] { return ::flock(lock.number(), LOCK_EX | LOCK_NB); }) == 0;
}

/// 0 where the holder has not said yet who it is.
std::int32_t holderOf(const FileDescriptor& lock) {
    constexpr std::size_t longestNumber = 11;
    const auto text = lock.readUpTo(longestNumber);
    std::int32_t pid = 0;
    if (text) {
        std::from_chars(text->data(), text->data() + text->size(), pid);
    }
    return pid;
}

} // namespace

RunningCopies::RunningCopies(std::string ownIdentifier, const std::filesystem::path& lockFile)
    : ownIdentifier_{std::move(ownIdentifier)}, lock_{opened(lockFile)}, isFirst_{takes(lock_)} {
    if (isFirst_) {
        static_cast<void>(uninterrupted([&] { return ::ftruncate(lock_.number(), 0); }));
        static_cast<void>(lock_.writeAll(std::to_string(::getpid())));
    } else if (lock_.number() != -1 && errno == EWOULDBLOCK) {
        earlierCopy_ = holderOf(lock_);
    }
}

std::vector<RunningApplication>
RunningCopies::withBundleIdentifier(const std::string& bundleIdentifier) const {
    @autoreleasepool {
        std::vector<RunningApplication> copies;
        for (NSRunningApplication* copy in [NSRunningApplication
                 runningApplicationsWithBundleIdentifier:nsString(bundleIdentifier)]) {
            // Whoever else is there under the own identifier came later, and leaves.
            const bool isLater = isFirst_ && bundleIdentifier == ownIdentifier_ &&
                                 [copy processIdentifier] != ::getpid();
            if (!isLater) {
                copies.push_back({[copy processIdentifier], [copy isTerminated] != NO});
            }
        }
        const auto isEarlier = [this](const RunningApplication& copy) {
            return copy.pid == earlierCopy_;
        };
        // The system may list it only in a moment.
        if (earlierCopy_ && bundleIdentifier == ownIdentifier_ &&
            std::ranges::none_of(copies, isEarlier)) {
            copies.push_back({*earlierCopy_, false});
        }
        return copies;
    }
}

} // namespace brindle

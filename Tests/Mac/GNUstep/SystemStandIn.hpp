// The machine as a test arranges it: clocks, processes, volumes, windows, login items, power.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#import <AppKit/AppKit.h>

namespace brindle::test {

struct SystemStandIn {
    // --- What the system is asked ---
    NSOperatingSystemVersion version{14, 2, 0};
    std::string ownBundleIdentifier = "com.tamsworth.brindlerecorder";
    std::map<int, std::string> executables;
    struct Application {
        int pid = 0;
        std::optional<std::string> identifier = {};
        bool isTerminated = false;
    };
    std::vector<Application> applications;
    std::map<std::string, std::string> applicationFolders; ///< by identifier
    std::optional<std::int64_t> importantCapacity = 1'000;
    int capacityError = 0; ///< a number of errno
    bool titlesPermitted = true;
    bool windowsCanBeRead = true;
    struct Window {
        id pid = nil;
        id name = nil;
    };
    std::vector<Window> windows;
    long loginStatus = 0;
    std::optional<std::string> loginFailure;
    std::optional<long> statusAfterRegistering;
    bool reducesMotion = false;
    bool refusesPowerEvents = false;

    // --- What it was told ---
    std::vector<std::string> logLines; ///< "<type> <line>"
    std::vector<std::string> opened;
    std::vector<long> allowedPowerChanges;
    int powerRegistrations = 0; ///< now
    int powerConnections = 0;   ///< now

    /// Whatever a test has arranged is forgotten.
    static void reset();
};

extern SystemStandIn systemStandIn;

/// What the clocks show when the machine has slept that long: all but the plain one go on.
void sleepFor(std::chrono::nanoseconds time);
/// Somebody sets the wall clock forward, or back.
void setWallClockBy(std::chrono::nanoseconds time);

/// The place where a view stands looks like that from now on; nil where nobody says.
void setEffectiveAppearance(NSString* name, NSView* view);

/// The kernel says something about the machine's power; on the main thread, soon.
void announcePower(unsigned message, long change);

/// On a thread of its own kind, as frameworks call back, with no pool.
void onForeignThread(std::function<void()> work);

/// Lets the main run loop turn until it is so; false when it is not so in a long time.
bool eventually(const std::function<bool()>& condition);

/// Lets all that is posted by now run.
void drainMainQueue();

} // namespace brindle::test

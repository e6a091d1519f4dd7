// AVFoundation as a test arranges it.
#pragma once

#import <AVFoundation/AVFoundation.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

struct CaptureStandIn {
    struct Device {
        std::string uniqueID;
        std::string name = {};
        int transport = 0;
        bool isCamera = true;
        std::vector<std::pair<double, double>> frameRates = {{15, 30}};
        bool canBeLocked = true;
        std::optional<std::string> openingError = {};
    };

    // --- What the system is asked ---
    std::vector<Device> devices;
    std::optional<std::string> preferredCamera;
    std::optional<std::string> defaultCamera;
    std::map<std::string, int> authorization; ///< by media type, "vide" or "soun"
    bool grantsAccess = true;
    std::set<std::string> refusedPresets;
    bool takesOutputs = true;
    /// These raise, named as they stand in `calls`.
    std::set<std::string> raising;
    /// A movie that is asked to end never says that it has.
    bool neverFinishes = false;
    bool exportCanBeMade = true;
    std::vector<std::string> exportTypes{"com.apple.quicktime-movie", "public.mpeg-4"};
    long exportEnds = 3; ///< with that status
    std::optional<std::string> exportError;
    /// What an export writes; nothing leaves no file.
    std::optional<std::string> exportWrites = "movie";
    bool exportWaits = false;                ///< until `endExports`, or until it is cancelled
    std::map<std::string, CMTime> durations; ///< by path; a movie without one cannot be read
    std::optional<CMTime> anyDuration;       ///< of every movie
    /// A started movie is a file that grows with the time that it covers.
    bool writesMovies = false;

    // --- What it was told ---
    std::vector<std::string> calls;

    [[nodiscard]] bool wasCalled(const std::string& call) const;
    static void reset();
};

extern CaptureStandIn captureStandIn;

/// The movie that is being written ends, on a thread of the framework's own; nil for no error.
void endMovie(NSError* error);
/// The session that was made last says that something went wrong; nil when nobody knows what.
void failSession(NSError* error);
/// The exports that wait end.
void endExports();
/// Objects of the framework that live.
int captureObjects();

} // namespace brindle::test

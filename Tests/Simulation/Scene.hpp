// What one simulated world consists of beside the program: chance, time, the disk, the hardware,
// and a true account of what was recorded.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"
#include "Simulation/Timeline.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/RandomSource.hpp"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle::simulation {

/// What a run adds up to.
struct Statistics {
    double simulatedSeconds = 0;
    std::uint64_t worlds = 0;
    std::uint64_t steps = 0;
    std::uint64_t calls = 0;
    std::uint64_t recordings = 0; ///< movie files begun
    std::uint64_t quits = 0;
    std::uint64_t crashes = 0;
    std::uint64_t powerFailures = 0;
    std::uint64_t captureFailures = 0;
    std::uint64_t exportFailures = 0;
    std::uint64_t diskFaults = 0;
    std::uint64_t clicks = 0;
    std::uint64_t repairs = 0;
    std::uint64_t clockJumps = 0;
    std::uint64_t sleeps = 0;
    double secondsKept = 0;
    double secondsLost = 0; ///< captured, but in no fragment on the disk when the program died
    double secondsDiscarded = 0;

    void add(const Statistics& other);
    [[nodiscard]] std::string summary() const;
};

/// One piece of a movie. A movie file is the text of its fragments one after another, so that what
/// survives can be told from what does not.
struct Fragment {
    unsigned segment = 0;
    unsigned number = 0;
    unsigned milliseconds = 0;

    [[nodiscard]] std::string text() const {
        return fmt::format("{:06}.{:04} {:05}\n", segment, number, milliseconds);
    }
    static constexpr std::size_t textSize = 18;
};

/// The whole fragments at the beginning of a movie; a torn one ends it.
std::vector<Fragment> readableFragments(const std::string& movie);
Seconds durationOf(const std::vector<Fragment>& fragments);

/// What was so when the program opened the devices for a recording.
struct Opening {
    /// Whether it goes without the camera that was chosen because somebody else used that.
    [[nodiscard]] bool isWithoutUsedCamera() const {
        return !camera && !triedCameras.empty() && usedCameras.contains(triedCameras.front());
    }

    Date at{};
    std::string room; ///< that the session recorded; empty when it had come to its end meanwhile
    std::vector<Seconds> clocksAhead; ///< how far the program's clock may be ahead of the timeline
    std::optional<std::string> preferredCamera; ///< names, as all of these
    std::optional<std::string> preferredMicrophone;
    std::optional<std::string> defaultCamera;
    std::vector<std::string>
        triedCameras;                  ///< in this order, those that somebody else used included
    std::set<std::string> usedCameras; ///< those that somebody else used
    std::optional<std::string> camera; ///< that was opened
    std::optional<std::string> microphone; ///< likewise
    bool cameraIsDenied = false;
    bool refused = false; ///< a device did not let itself be opened
};

/// What a device of that identifier is called.
inline std::string deviceName(const std::string& identifier) {
    return "Device " + identifier;
}

/// The truth about one movie file that a capture began.
struct Segment {
    unsigned id = 0;
    std::uint64_t launch = 0; ///< the run of the program that recorded it
    std::string baseName;
    std::string room;    ///< as the sidecar says that was there before it
    Date sidecarStart{}; ///< likewise
    Date startedAt{};
    std::vector<unsigned> written; ///< milliseconds of each fragment in the file
    std::size_t safe = 0;          ///< so many of them are synced
    bool mayBeDiscarded = false;   ///< the user asked for it
    bool closed = false;           ///< nobody writes it any more
    bool captureFailed = false;    ///< something happened to it that the program may report
    bool failureMustShow = false;  ///< it did while nobody had asked for the end
    bool cutOff = false;           ///< the program died before it had finished the sidecar
    Opening opening = {};
    std::optional<std::string> before; ///< the name that was recorded under before, in this run
    Date beforeAt{};                   ///< when its devices were opened
    bool beforeFailed = false;         ///< its capture did
    std::optional<Date> failedAt;
    std::vector<std::string> failureWords; ///< what a note about it must contain, one of these
    std::optional<Date> conversionBegan;
    bool conversionFailed = false;   ///< the last one
    std::optional<Date> lastWritten; ///< by the machine's clock
    bool sidecarExcused = false;     ///< the disk failed while the sidecar was written

    // What became of the user's wish to throw it away.
    bool discardIsDue = false; ///< nothing but the end of the world can keep it
    Date discardAskedAt{};
    std::optional<Date> goneSince; ///< nothing of it is in the folder
    bool discarded = false;        ///< for good
};

/// Something that happened to a capture.
struct CaptureFailure {
    std::uint64_t launch = 0;
    std::string room;
    std::optional<unsigned> segment; ///< nothing when no movie came of it
    std::vector<std::string> words;  ///< what is said about it contains one of these
    bool told = false;               ///< to the user
};

struct Scene {
    explicit Scene(std::uint64_t seed, bool keepHistory);

    const std::filesystem::path root{"/movies"};
    test::RandomSource random;
    Timeline timeline;
    WallClock wallClock{timeline};
    test::InMemoryFileManager files;
    test::InMemoryFileManager logFiles; ///< stays empty
    Statistics statistics;

    // --- The hardware, and what the user allows ---
    std::vector<CaptureDeviceInfo> cameras;
    std::vector<CaptureDeviceInfo> microphones;
    std::set<std::string> brokenDevices; ///< there, but cannot be opened
    /// Processes that have cameras open, by the cameras' identifiers, and those that use them.
    std::map<std::string, std::set<std::int32_t>> cameraOpeners;
    std::map<std::string, std::int32_t> cameraHolders;
    std::map<MediaType, AuthorizationStatus> authorization;
    unsigned captureFailurePercent = 0;         ///< how many captures come to grief
    std::map<MediaType, std::string> preferred; ///< names
    std::vector<Seconds> clocksAhead; ///< how far the program's clock may be ahead of the timeline
    unsigned exportFailurePercent = 0;
    unsigned slowExportPercent = 0; ///< how many conversions take longer than most calls

    // --- The account ---
    std::uint64_t launches = 0; ///< so many runs of the program have begun
    /// By base name: the run that last began to record under it, even if nothing came of that.
    std::map<std::string, std::uint64_t> recordedBy;
    std::vector<Segment> segments;
    std::vector<CaptureFailure> failures;
    Opening lastOpening;        ///< the last in which a recording began
    std::int64_t freeBytes = 0; ///< on the disk
    /// How large the folder's visible files were together after every change since last looked at.
    std::vector<std::uint64_t> folderSizes;
    std::set<std::string> ending;  ///< base names of the movies that the program was told to end
    std::set<std::string> touched; ///< base names whose files changed since last looked at
    bool asleep = false;           ///< from the announcement to the waking
    std::optional<Date> sleepAnnouncedAt; ///< when it last was
    int writing = 0;                      ///< movie files being written now
    /// Copied by every answer of the world that a job may be waiting for.
    std::shared_ptr<int> outside = std::make_shared<int>();
    bool answersAccess = false;           ///< the user's answer about access is being handed over
    std::optional<Date> lastTrouble;      ///< when anything last gave the program reason to give up
    std::optional<Date> lastSlow;         ///< when the disk last kept it waiting
    Seconds blocked{0};                   ///< how long it did since somebody last asked
    std::optional<Date> lastSick;         ///< when it last failed or was full
    std::optional<std::string> violation; ///< the first rule found broken

    [[nodiscard]] bool isWaitedFor() const { return outside.use_count() > 1; }
    void trouble() { lastTrouble = timeline.now(); }
    void violate(std::string what) {
        if (!violation) {
            violation = std::move(what);
        }
    }
    /// The folder's visible files together.
    [[nodiscard]] std::uint64_t folderSize() const;
    /// The last recording under that name; null for one that never came to be.
    Segment* segmentNamed(const std::string& baseName);
    /// A random span between two.
    Seconds between(double least, double most) {
        return Seconds{least + (most - least) * static_cast<double>(random.below(100'001)) / 1e5};
    }

    template <class... Arguments>
    void note(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        if (keepHistory_) {
            write(fmt::format(format, std::forward<Arguments>(arguments)...));
        }
    }
    [[nodiscard]] bool keepsHistory() const { return keepHistory_; }
    [[nodiscard]] const std::deque<std::string>& history() const { return history_; }
    [[nodiscard]] std::string clockText() const;

  private:
    void write(std::string line);

    bool keepHistory_;
    Date start_;
    std::deque<std::string> history_;
};

} // namespace brindle::simulation

// Holds every sidecar at rest, field by field, against what the world knows of that recording.
#pragma once

#include "BrindleRecorderCore/Recordings/Sidecar.hpp"
#include "Simulation/Scene.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle::simulation {

/// Somebody who holds the microphone.
struct Caller {
    std::string bundleID;
    bool mayBeInCall = false; ///< the user has such calls recorded
    bool showsMeeting = false;
};

class SidecarAccount {
  public:
    explicit SidecarAccount(Scene& scene) : scene_{scene} {}

    void programLaunched();
    /// Who calls, after every step, and the room that the session records, if any. The program
    /// has looked since that time, or does not.
    void look(
        const std::vector<Caller>& callers, const std::string& room,
        const std::optional<Date>& watchingSince);
    void settingsChanged() { settingsChangedAt_ = scene_.timeline.now(); }
    /// Nobody can tell who calls.
    void callersAreUnknown() { callersAreKnown_ = false; }

  private:
    /// Whom a recording may be named after.
    struct Origin {
        std::set<std::string> bundleIDs;
        bool mayBeNobody = false;
        std::set<std::string> meetings; ///< bundle identifiers that have shown one
    };
    using Notes = std::vector<std::string>;

    void rememberOrigin(const std::string& room, const std::optional<Date>& watchingSince);
    void checkWithoutMovie(const std::string& baseName);
    void check(const Segment& segment, const Sidecar& sidecar);
    [[nodiscard]] std::optional<std::string>
    judgeTimes(const Segment& segment, const Sidecar& sidecar) const;
    [[nodiscard]] std::optional<std::string>
    judgeSource(const Segment& segment, const Sidecar& sidecar) const;
    [[nodiscard]] std::optional<std::string>
    judgeDevices(const Segment& segment, const Sidecar& sidecar) const;
    [[nodiscard]] std::optional<std::string>
    judgeNotes(const Segment& segment, const Sidecar& sidecar) const;
    [[nodiscard]] std::optional<std::string>
    judgeEnding(const Segment& segment, const Sidecar& sidecar, const Notes& ending) const;
    [[nodiscard]] std::optional<std::string>
    judgeFailure(const Segment& segment, const Sidecar& sidecar, const std::string& note) const;
    [[nodiscard]] bool wasSlow(const Segment& segment) const;

    Scene& scene_;
    std::map<std::string, Date> lastHeld_;     ///< by bundle identifier
    std::map<std::string, Date> callingSince_; ///< likewise, those who may be in a call now
    std::map<std::string, Date> lastMeeting_;  ///< likewise
    std::map<std::string, Origin> origins_;    ///< by room of this run
    std::map<unsigned, Origin> originOf_;      ///< by segment
    std::size_t looked_ = 0;                   ///< so many segments have their origin
    std::set<unsigned> open_;                  ///< segments that are not at rest yet
    std::set<std::string> withoutMovie_;       ///< base names that were looked at
    std::optional<Date> settingsChangedAt_;
    std::string lastRoom_;
    bool callersAreKnown_ = true;
};

} // namespace brindle::simulation

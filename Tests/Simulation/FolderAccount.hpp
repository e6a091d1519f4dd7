// Holds the names in the recordings folder against what happened: nothing is there that nobody
// made, and what the user threw away does not come back.
#pragma once

#include "Simulation/Scene.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

namespace brindle::simulation {

class FolderAccount {
  public:
    explicit FolderAccount(Scene& scene) : scene_{scene} {}

    void programLaunched();
    void powerWillFail();
    void programDied();
    /// The user throws away what is recorded in that room.
    void discardIsAskedFor(const std::string& room);
    /// Looks at what was begun or has gone since the last time.
    void look();
    /// The program says that it is doing nothing any more. A repair may still be cut off.
    void checkAtRest(bool repairs);
    /// All is done and repaired.
    void checkSettled();

  private:
    [[nodiscard]] bool hasDouble(const Segment& segment) const;
    [[nodiscard]] bool hasFiles(const Segment& segment) const;
    void checkWhyItBegan(const Segment& segment);
    void checkWhatWasDiscarded();
    [[nodiscard]] bool mayStay(const std::filesystem::path& partial) const;
    [[nodiscard]] bool wasSick() const;
    void checkNames(bool repairs);
    void checkName(const std::filesystem::path& path, bool repairs);

    Scene& scene_;
    std::set<std::filesystem::path> leftByDeath_; ///< hidden files, and sidecars without a movie
    std::optional<std::set<std::filesystem::path>> beforePowerFailed_;
    std::set<std::filesystem::path> notRemoved_; ///< because of the disk, or of a loss of power
    Date launchedAt_{};
    std::size_t looked_ = 0;   ///< so many segments were looked at when they began
    std::size_t discards_ = 0; ///< so many discarded segments may still have files
};

} // namespace brindle::simulation

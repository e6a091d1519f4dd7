// Holds the folder against the account of what was recorded.
#pragma once

#include "BrindleRecorderCore/Recordings/Sidecar.hpp"
#include "Simulation/Scene.hpp"

#include <optional>
#include <set>
#include <string>

namespace brindle::simulation {

class Ledger {
  public:
    explicit Ledger(Scene& scene) : scene_{scene} {}

    /// Looks at every recording whose files changed since the last time.
    void checkTouched();
    /// Looks at every recording.
    void checkAll();
    /// The user wants the recording that runs or begins now to be thrown away.
    void mayDiscard(const std::string& room);
    /// Somebody asked for an end: a failure that comes now need not show any more.
    void endWasAskedFor();
    /// The disk fails: what is being written about now may be missing or stale afterwards.
    void excuse();
    /// The program has died; with `powerFailed`, the disk has lost what was not synced.
    void programDied(bool powerFailed);
    /// The program says that it does nothing any more: it has no recording open.
    void checkClosed(const char* when);
    /// All is done and repaired: everything must agree.
    void checkSettled();
    /// Adds up what became of the media.
    void close(Statistics& statistics) const;

  private:
    [[nodiscard]] std::optional<std::string>
    textOf(const Segment& segment, const char* ending) const;
    [[nodiscard]] std::optional<Sidecar> sidecarOf(const std::string& baseName) const;
    [[nodiscard]] bool isInProgress(const Segment& segment) const;
    [[nodiscard]] std::size_t present(const Segment& segment) const;
    void check(Segment& segment);
    void checkSettled(const Segment& segment);

    Scene& scene_;
    std::set<std::string> discardedRooms_;
};

} // namespace brindle::simulation

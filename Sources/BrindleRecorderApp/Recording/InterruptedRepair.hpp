// Converts and closes, at launch, the recordings that an earlier run left unfinished.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"

#include <vector>

namespace brindle {

class FileManager;
class MainLoop;
class Notifier;
class RecordingFiles;
class RecordingLife;
class RecordingSession;

/// Main thread only. Works in turns with everything else, and while nothing is recorded or about to
/// be: nobody's call waits for it.
class InterruptedRepair {
  public:
    /// All must outlive the repair.
    struct Parts {
        MainLoop& mainLoop;
        FileManager& fileManager;
        RecordingFiles& files;
        const RecordingSession& session;
        RecordingLife& recordings;
        Notifier& notifier;
    };

    explicit InterruptedRepair(Parts parts) : parts_{parts} {}
    InterruptedRepair(const InterruptedRepair&) = delete;
    InterruptedRepair& operator=(const InterruptedRepair&) = delete;

    /// Once per launch. Recordings that this run has begun are none of its concern.
    Task<void> run();

  private:
    Task<std::vector<InterruptedRecording>> find();
    Task<void> repair(InterruptedRecording recording);
    Task<void> otherWorkHasHadItsTurn();
    /// Waits until nothing is recorded, converted or about to be.
    Task<void> recordingsHaveHadTheirTurn();

    Parts parts_;
};

} // namespace brindle

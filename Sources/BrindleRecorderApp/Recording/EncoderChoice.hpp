// Chooses, once at launch, what compresses the pictures of all recordings.
#pragma once

#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"

namespace brindle {

class MainLoop;
class Notifier;
class VideoEncoders;

/// Main thread only.
class EncoderChoice {
  public:
    /// Without encoders there is nothing to choose: the desktop has one that is always there. All
    /// must outlive the choice.
    EncoderChoice(
        VideoEncoders* encoders, MainLoop& mainLoop, const EventLog& log, Notifier& notifier);
    EncoderChoice(const EncoderChoice&) = delete;
    EncoderChoice& operator=(const EncoderChoice&) = delete;

    /// Tries what there is, takes the best, says in the log which that is, and tells the user where
    /// there is none. Once.
    void choose();

    /// False once it is known that nothing compresses pictures here.
    [[nodiscard]] bool canRecordPictures() const { return canRecordPictures_; }

  private:
    Task<void> search();

    VideoEncoders* encoders_;
    EventLog log_;
    Notifier& notifier_;
    bool canRecordPictures_ = true;
    JobChain work_; ///< last, so that no search outlives what it uses
};

} // namespace brindle

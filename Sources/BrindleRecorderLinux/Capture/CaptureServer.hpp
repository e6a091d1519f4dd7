// The capture program's side of the conversation: does what the recorder asks for, and ends with
// it.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"
#include "BrindleRecorderLinux/Capture/ConversionWork.hpp"
#include "BrindleRecorderLinux/Capture/RecordingWork.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"
#include "BrindleRecorderLinux/CaptureLink/Silence.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace brindle::capture {

/// Nothing is recorded without somebody watching: when the recorder ends, or says nothing for too
/// long, the movie is closed in good order.
class CaptureServer {
  public:
    /// The recorder's main loop may be held up by a busy disk for some seconds.
    static constexpr std::chrono::seconds longestSilence{10};

    CaptureServer(MessageSocket socket, bool isConfined);

    /// Returns when everything asked for has been brought to an end: true when the recorder has
    /// ended the conversation, false when it broke off. What hangs is not waited for; the process
    /// has to end then without its threads.
    struct Outcome {
        bool inGoodOrder = false;
        bool hangs = false;
    };
    [[nodiscard]] Outcome run();

  private:
    using Clock = std::chrono::steady_clock;

    /// Nothing while the conversation goes on; else how it has ended.
    std::optional<std::string> hear();
    std::optional<std::string> obey(const Message& message, std::vector<FileDescriptor> files);
    static std::optional<std::string> refuse(const char* what);
    void tell(const Message& message) const;
    void tellBeat();
    bool endWork(std::optional<PlatformError> why);

    MessageSocket socket_;
    bool isConfined_;
    bool isGreeted_ = false;
    Silence silence_;
    Clock::time_point lastLook_ = Clock::now();
    Clock::time_point nextBeat_ = Clock::now();
    ConversionWork conversion_;
    RecordingWork recording_{[this](const Message& message) {
        tell(message);
    }};
    SerialQueue worker_{"capture-work"}; ///< last, so that no work outlives what it uses
};

} // namespace brindle::capture

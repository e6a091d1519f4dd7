// The recorder's side of the conversation with one run of the capture program.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureProcess.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>

namespace brindle::capture {

/// Has a thread of its own that listens. One that says nothing for too long hangs, and is killed.
/// Operations may be called from any thread but the child's own.
class CaptureChild {
  public:
    /// How long it may say nothing: at first, while its libraries are being loaded, and then.
    static constexpr std::chrono::seconds beginsWithin{30};
    static constexpr std::chrono::seconds longestSilence{5};

    /// Called on the child's thread, one after the other; they must not block on the child.
    struct Listener {
        std::function<void(const Message&)> told;
        /// Once, and last, with what happened: it has ended, in good order or not.
        std::function<void(const PlatformError& how)> ended;
    };

    /// A child of another version than the recorder's is not taken.
    explicit CaptureChild(CaptureProcess::Started started);
    /// Ends the conversation, and the process if it does not end by itself. No listener is called
    /// afterwards.
    ~CaptureChild();
    CaptureChild(const CaptureChild&) = delete;
    CaptureChild& operator=(const CaptureChild&) = delete;

    /// Hears from now on, instead of who did before, and hears of the end also where that was
    /// before.
    void listen(Listener listener);
    /// Nobody hears from now on. A child that speaks all the same, but for its beats, is given up.
    void stopListening();
    /// Fails when the child has gone or hangs; its end is then told, soon.
    bool send(const Message& message, std::span<const int> descriptors = {}) const;
    /// Asks it to bring everything to a good end, and to go.
    void letGo() const { socket_.sendNoMore(); }
    void kill() const { process_.kill(); }
    /// False when it has not ended after all that time.
    [[nodiscard]] bool waitUntilEnded(std::chrono::nanoseconds limit) const;
    [[nodiscard]] bool hasEnded() const;
    /// What it has said of itself, once it has.
    [[nodiscard]] std::optional<Hello> greeting() const;

  private:
    void run();
    /// Takes what has arrived. False when there will be no more.
    bool hear();
    /// False when nobody has asked for that.
    bool tell(const Message& message);
    /// Has the process end, for that reason.
    void giveUp(std::string reason);
    void end();

    const CaptureProcess process_;
    const MessageSocket socket_;

    mutable std::mutex mutex_; ///< guards what follows
    mutable std::condition_variable changed_;
    std::optional<Hello> greeting_;
    std::optional<Listener> listener_;
    std::optional<PlatformError> how_;
    std::string reason_; ///< why it was given up
    bool hasEnded_ = false;

    std::thread thread_;
};

} // namespace brindle::capture

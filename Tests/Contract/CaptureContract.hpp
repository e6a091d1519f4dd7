// What every desktop's cameras, microphones and capture sessions promise.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"
#include "Contract/Contract.hpp"

#include <atomic>
#include <filesystem>
#include <initializer_list>
#include <string>

namespace brindle::test {

/// A desktop to which devices are connected.
class CaptureSubject : public Subject {
  public:
    [[nodiscard]] virtual CaptureSystem& system() = 0;
    /// Connects a device with that identifier, which delivers.
    virtual void plug(MediaType mediaType, const std::string& uniqueID) = 0;
    virtual void unplug(const std::string& uniqueID) = 0;
    /// Lets the session that was made last fail, which runs with a microphone of that identifier.
    virtual void failSession(const std::string& microphone) = 0;
    /// Where a movie can be written, and where none can.
    [[nodiscard]] virtual std::filesystem::path writable() = 0;
    [[nodiscard]] virtual std::filesystem::path unwritable() = 0;
};

class CaptureSystemContract : public Contract<CaptureSubject> {
  protected:
    [[nodiscard]] CaptureSystem& system() { return subject_->system(); }
    [[nodiscard]] bool isListed(MediaType mediaType, const std::string& uniqueID);
    [[nodiscard]] bool isFound(MediaType mediaType, const std::string& uniqueID) {
        return becomes([&] { return isListed(mediaType, uniqueID); });
    }
};

/// A session with one output, and what its movie tells.
class CaptureSessionContract : public CaptureSystemContract {
  protected:
    static constexpr const char* camera = "contract-camera";
    static constexpr const char* microphone = "contract-microphone";

    ~CaptureSessionContract() override;

    /// Connects devices of those kinds and puts the session together.
    void configure(std::initializer_list<MediaType> kinds);
    /// Does it where whatever starts and stops belongs, while the main loop turns.
    void inQueue(const std::function<void()>& work);
    void start(const std::filesystem::path& path);
    void stop() {
        inQueue([this] { output_->stopRecording(); });
    }
    [[nodiscard]] bool recordsSomething() {
        return becomes([this] { return output_->recordedDuration() > Seconds{0}; });
    }

    std::shared_ptr<CaptureSession> session_;
    std::shared_ptr<MovieFileOutput> output_;
    SerialQueue queue_{"capture-session"};

    int starts_ = 0;
    // Of the movies that have ended; told on any thread.
    std::atomic<int> finishes_ = 0;
    std::filesystem::path path_;
    std::optional<PlatformError> error_;
    bool wasRecording_ = false;
};

} // namespace brindle::test

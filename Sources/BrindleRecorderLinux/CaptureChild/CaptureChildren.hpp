// The capture program's runs: started from what was there when the recorder started, and told that
// the recorder is there.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChild.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace brindle::capture {

/// Main thread only, but where it says otherwise.
class CaptureChildren {
  public:
    using Log = std::function<void(std::string_view line)>;

    /// Opens the program, which is started later: an update that replaces the file in the meantime
    /// changes nothing for us. `log` is called on the main thread. The main loop must outlive this.
    CaptureChildren(
        MainLoop& mainLoop, std::filesystem::path program, Log log = [](std::string_view) {});
    ~CaptureChildren();
    CaptureChildren(const CaptureChildren&) = delete;
    CaptureChildren& operator=(const CaptureChildren&) = delete;

    /// Whether there is such a program.
    [[nodiscard]] bool isUsable() const { return program_.has_value(); }

    /// A child that has nothing to do yet. From now on it is told twice a second, by the main loop,
    /// that the recorder is there. Any thread.
    [[nodiscard]] Expected<std::shared_ptr<CaptureChild>, PlatformError>
    start(CaptureProcess::Leave leave = CaptureProcess::Leave::nothingMore);
    /// Ends a child soon, whatever it does, without waiting for that.
    void dismiss(std::shared_ptr<CaptureChild> child);

    /// What recordings compress their pictures with, and what that takes. Any thread.
    void useEncoder(std::string name, CaptureProcess::Leave leave);
    /// Absent while nothing has been named. Any thread.
    [[nodiscard]] std::optional<std::string> encoder() const;

    /// Has a child started before it is needed, or lets the one go that nobody has taken. One that
    /// cannot be started is not missed before it is needed.
    void keepOneReady(bool isWanted);
    /// The child that is ready, if it still lives, or a new one. Any thread.
    [[nodiscard]] Expected<std::shared_ptr<CaptureChild>, PlatformError> takeReady();

    /// A movie is about to be closed, and to be converted then: has a child load its libraries
    /// meanwhile. It goes when nobody takes it for some seconds. Any thread.
    void expectConversion();
    /// A new child for a conversion. Any thread.
    [[nodiscard]] Expected<std::shared_ptr<CaptureChild>, PlatformError> takeForConversion();
    /// A child that has just converted or measured, or a new one: what one movie needs of both is
    /// done by one. Any thread.
    [[nodiscard]] Expected<std::shared_ptr<CaptureChild>, PlatformError> takeForMovie();
    /// Keeps a child that has done its work in good order, about a second long. Any thread.
    void keepForMovie(std::shared_ptr<CaptureChild> child);

  private:
    void beat();
    void beatLater();
    /// A child that nobody has taken yet.
    struct Kept {
        std::shared_ptr<CaptureChild> child;
        int beats = 0; ///< so many more it is kept
    };
    [[nodiscard]] Expected<std::shared_ptr<CaptureChild>, PlatformError> take(Kept& kept);
    void letGo(Kept& kept);
    void sayIfUnconfined(const CaptureChild& child);

    MainLoop& mainLoop_;
    const std::filesystem::path file_;
    const Log log_;
    const Expected<FileDescriptor, std::error_code> program_;
    std::unique_ptr<MainLoop::Timer> nextBeat_; ///< while there are children
    bool saidThatUnconfined_ = false;
    mutable std::mutex mutex_; ///< guards what follows
    std::optional<std::string> encoder_;
    CaptureProcess::Leave leave_ = CaptureProcess::Leave::nothingMore; ///< of recordings
    std::vector<std::weak_ptr<CaptureChild>> children_;
    std::shared_ptr<CaptureChild> ready_;
    Kept forConversion_; ///< new
    Kept forMovie_;      ///< used
    /// Let go, and kept until they have gone, for which nobody should wait.
    std::vector<std::shared_ptr<CaptureChild>> leaving_;
    /// Gone once this is; what was posted asks it first.
    std::shared_ptr<CaptureChildren*> self_ = std::make_shared<CaptureChildren*>(this);
};

} // namespace brindle::capture

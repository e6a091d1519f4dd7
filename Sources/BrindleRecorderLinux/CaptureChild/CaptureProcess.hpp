// One run of the capture program, as the system sees it.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"

#include <string>
#include <utility>

namespace brindle::capture {

/// One thread at a time; `kill` may be called on any.
class CaptureProcess {
  public:
    struct Started;

    /// What it may use beyond what every run may.
    enum class Leave { nothingMore, graphics };
    static constexpr Leave leaveFor(bool graphics) {
        return graphics ? Leave::graphics : Leave::nothingMore;
    }

    /// Starts the program that is open there, under that name, with its end of the socket pair. It
    /// is in a process group of its own, so that Ctrl-C in a terminal is the recorder's alone.
    static Expected<Started, PlatformError>
    start(int program, const std::string& name, Leave leave = Leave::nothingMore);

    CaptureProcess(CaptureProcess&&) noexcept = default;
    CaptureProcess& operator=(CaptureProcess&&) noexcept = default;

    /// Readable once the process has ended.
    [[nodiscard]] int descriptor() const { return descriptor_.number(); }

    void kill() const;
    /// Waits for the process to be gone, and says in words how it went. Once.
    [[nodiscard]] std::string waitForEnd() const;

  private:
    explicit CaptureProcess(FileDescriptor descriptor) : descriptor_{std::move(descriptor)} {}

    FileDescriptor descriptor_;
};

struct CaptureProcess::Started {
    CaptureProcess process;
    MessageSocket socket;
};

} // namespace brindle::capture

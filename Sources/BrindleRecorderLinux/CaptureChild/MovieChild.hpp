// Converts or measures one movie by a run of the capture program.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace brindle::capture {

/// Has a thread of its own, which opens the files and waits for the answer. A movie that is just
/// being closed, by the capture program of a recorder that has gone, is waited for.
class MovieChild {
  public:
    /// What is to be done: a conversion into the new file `destination`, or a measurement. A
    /// conversion makes the source the new file, under a second name, wherever that can be done,
    /// and copies it otherwise.
    struct Order {
        std::filesystem::path source;
        std::optional<std::filesystem::path> destination;
        bool isAsWritten = false; ///< nothing can have happened to the source's samples
        /// Told why the source is copied, on the child's thread; may be empty.
        std::function<void(const std::string& why)> copies;
    };
    /// `Converted` or `Measured`, as was asked for; or an error, when there is no such answer.
    using Answer = std::function<void(Expected<Message, PlatformError> answer)>;

    /// `answer` is called once, on the child's thread. `children` must outlive this.
    MovieChild(CaptureChildren& children, Order order, Answer answer);
    /// Ends what is still being done, and waits for it: nothing is written any more.
    ~MovieChild();
    MovieChild(const MovieChild&) = delete;
    MovieChild& operator=(const MovieChild&) = delete;

    /// The answer comes soon: that it was cancelled, unless there is another one. Any thread.
    void cancel();
    /// 0 to 1. Any thread.
    [[nodiscard]] double progress() const;

  private:
    struct State;

    std::shared_ptr<State> state_;
    std::thread thread_;
};

} // namespace brindle::capture

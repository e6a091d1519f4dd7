// One end of the socket pair between the recorder and the program that captures for it.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace brindle::capture {

/// What is sent arrives whole, with the descriptors that were sent along, or not at all. Nothing
/// blocks. Sending and receiving may be done by two threads; each by any number of threads.
class MessageSocket {
  public:
    /// No longer message is sent, and none is taken.
    static constexpr std::size_t longestMessage = std::size_t{64} * 1024;
    static constexpr std::size_t mostDescriptors = 2;

    struct Received {
        enum class What {
            message,
            nothingYet,
            end,   ///< the other end has been closed, or will send no more
            broken ///< what came cannot be taken: too long, or with too many descriptors
        };
        What what = What::nothingYet;
        std::string bytes;
        std::vector<FileDescriptor> descriptors;
    };

    /// Two ends that belong together; no program that is started inherits them by itself.
    static Expected<std::pair<MessageSocket, MessageSocket>, std::error_code> makePair();
    explicit MessageSocket(FileDescriptor end) : end_{std::move(end)} {}

    [[nodiscard]] int number() const { return end_.number(); }

    /// Fails, with nothing sent, when the other end is gone or has let too much wait.
    Expected<void, std::error_code>
    send(std::string_view bytes, std::span<const int> descriptors = {}) const;
    [[nodiscard]] Received receive() const;
    /// The other end hears the end, and can go on speaking.
    void sendNoMore() const;

  private:
    FileDescriptor end_;
};

} // namespace brindle::capture

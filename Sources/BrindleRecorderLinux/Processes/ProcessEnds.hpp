// Tells when processes end that are not our children.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace brindle {

class EventLoop;

/// Belongs to the thread of the loop, which must outlive it. Asks the kernel to be told, and looks
/// at nothing meanwhile.
class ProcessEnds {
  public:
    /// Each process takes a file descriptor.
    static constexpr std::size_t mostProcesses = 512;

    /// `ended` is called by the loop, once for each watched process.
    ProcessEnds(EventLoop& loop, std::function<void(std::int32_t pid)> ended);
    ~ProcessEnds();
    ProcessEnds(const ProcessEnds&) = delete;
    ProcessEnds& operator=(const ProcessEnds&) = delete;

    /// Whether its end will be told; false when there is no such process or no room for it. Once is
    /// enough.
    bool watch(std::int32_t pid);

  private:
    struct Watched;

    EventLoop& loop_;
    const std::function<void(std::int32_t)> ended_;
    std::map<std::int32_t, std::unique_ptr<Watched>> watched_;
};

} // namespace brindle

// The executor of the real program: one worker thread that runs its work in order.
#pragma once

#include "BrindleRecorderCore/Base/Executor.hpp"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace brindle {

class SerialQueue final : public Executor {
  public:
    explicit SerialQueue(std::string label);
    /// Runs what is still queued, then ends the thread.
    ~SerialQueue() override;
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Work work) override;
    void sync(Work work) override;
    [[nodiscard]] std::string_view label() const override { return label_; }

  private:
    void runUntilClosed();

    std::string label_;
    std::mutex mutex_;
    std::condition_variable workAdded_;
    std::deque<Work> pending_;
    bool closing_ = false;
    std::thread worker_;
};

} // namespace brindle

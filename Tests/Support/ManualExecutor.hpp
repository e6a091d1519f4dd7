// A serial queue whose work runs when a test says so.
#pragma once

#include "BrindleRecorderCore/Base/Executor.hpp"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace brindle::test {

/// One thread only, but the work may be run on another as long as that one is waited for.
class ManualExecutor final : public Executor {
  public:
    explicit ManualExecutor(std::string label = "manual") : label_{std::move(label)} {}

    void async(Work work) override { pending_.push_back(std::move(work)); }
    /// Runs all that is queued, and then the work.
    void sync(Work work) override {
        runAll();
        work();
    }
    [[nodiscard]] std::string_view label() const override { return label_; }

    /// Runs the oldest piece of work; false when there is none.
    bool runNext() {
        if (pending_.empty()) {
            return false;
        }
        const auto work = std::move(pending_.front());
        pending_.pop_front();
        work();
        return true;
    }
    /// Runs all that is queued, and what it queues.
    void runAll() {
        while (runNext()) {
        }
    }
    [[nodiscard]] std::size_t pending() const { return pending_.size(); }

  private:
    std::string label_;
    std::deque<Work> pending_;
};

} // namespace brindle::test

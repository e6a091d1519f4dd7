// A serial queue without a thread: work runs within the call that adds it.
#pragma once

#include "BrindleRecorderCore/Base/Executor.hpp"

#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace brindle::test {

/// One thread only. Work added by running work runs after it, as on any serial queue.
class InlineExecutor final : public Executor {
  public:
    explicit InlineExecutor(std::string label = "inline") : label_{std::move(label)} {}

    void async(Work work) override {
        pending_.push_back(std::move(work));
        if (running_) {
            return;
        }
        running_ = true;
        while (!pending_.empty()) {
            const auto next = std::move(pending_.front());
            pending_.pop_front();
            next();
        }
        running_ = false;
    }
    void sync(Work work) override { async(std::move(work)); }
    [[nodiscard]] std::string_view label() const override { return label_; }

  private:
    std::string label_;
    std::deque<Work> pending_;
    bool running_ = false;
};

} // namespace brindle::test

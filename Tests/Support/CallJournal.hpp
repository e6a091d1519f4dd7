// The calls that a fake received, in order.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

/// Any thread.
class CallJournal {
  public:
    void add(std::string call) {
        const std::lock_guard lock{mutex_};
        calls_.push_back(std::move(call));
    }
    [[nodiscard]] std::vector<std::string> calls() const {
        const std::lock_guard lock{mutex_};
        return calls_;
    }
    void clear() {
        const std::lock_guard lock{mutex_};
        calls_.clear();
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

} // namespace brindle::test

// A system log that keeps its lines for tests to read.
#pragma once

#include "BrindleRecorderApp/Platform/SystemLog.hpp"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::test {

class RecordingSystemLog final : public SystemLog {
  public:
    struct Entry {
        Level level;
        std::string line;
        friend bool operator==(const Entry&, const Entry&) = default;
    };

    void write(Level level, std::string_view line) override {
        const std::lock_guard lock{mutex_};
        entries_.push_back({level, std::string{line}});
    }

    [[nodiscard]] std::vector<Entry> entries() const {
        const std::lock_guard lock{mutex_};
        return entries_;
    }
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        for (const auto& entry : entries()) {
            lines.push_back(entry.line);
        }
        return lines;
    }
    void clear() {
        const std::lock_guard lock{mutex_};
        entries_.clear();
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

} // namespace brindle::test

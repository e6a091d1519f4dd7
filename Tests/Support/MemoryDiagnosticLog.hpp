// The real diagnostic log over a disk in memory, writing at once, for tests to read.
#pragma once

#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/InlineExecutor.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace brindle::test {

class MemoryDiagnosticLog {
  public:
    [[nodiscard]] DiagnosticLog& log() { return log_; }

    /// The messages so far, without their times.
    [[nodiscard]] std::vector<std::string> messages() const {
        std::vector<std::string> messages;
        const std::string text = files_.contents(log_.fileURL()).value_or("");
        for (std::size_t begin = 0; begin < text.size();) {
            const auto space = text.find(' ', begin);
            const auto end = text.find('\n', begin);
            messages.push_back(text.substr(space + 1, end - space - 1));
            begin = end + 1;
        }
        return messages;
    }

  private:
    static constexpr std::int64_t neverRotates = 1'000'000'000;

    InMemoryFileManager files_;
    DiagnosticLog log_{
        "/log", "recorder.log", neverRotates, files_, std::make_unique<InlineExecutor>()};
};

} // namespace brindle::test

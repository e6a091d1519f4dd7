// A stream that remembers what was written to it.
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace brindle::test {

class OutputCapture {
  public:
    OutputCapture() : file_{std::tmpfile()} {}
    ~OutputCapture() { std::fclose(file_); }
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    [[nodiscard]] std::FILE* stream() const { return file_; }
    /// All that was written so far.
    [[nodiscard]] std::string text() const {
        std::fflush(file_);
        std::rewind(file_);
        std::string text;
        std::array<char, 4096> part{};
        std::size_t length = 0;
        while ((length = std::fread(part.data(), 1, part.size(), file_)) > 0) {
            text.append(part.data(), length);
        }
        return text;
    }

  private:
    std::FILE* file_;
};

} // namespace brindle::test

// A stream that remembers what was written to it.
#pragma once

#include <unistd.h>

#include <array>
#include <cstddef>
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
    /// All that was written so far. The stream's own place is left alone: another thread may write.
    [[nodiscard]] std::string text() const {
        std::fflush(file_);
        std::string text;
        std::array<char, 4096> part{};
        ssize_t length = 0;
        while ((length = ::pread(
                    ::fileno(file_), part.data(), part.size(), static_cast<off_t>(text.size()))) >
               0) {
            text.append(part.data(), static_cast<std::size_t>(length));
        }
        return text;
    }

  private:
    std::FILE* file_;
};

} // namespace brindle::test

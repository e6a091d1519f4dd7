// A bar on a terminal that grows with a long piece of work.
#pragma once

#include <cstdio>
#include <optional>

namespace brindle {

/// Draws nothing where the stream is no terminal. The stream must outlive it.
class ProgressBar {
  public:
    explicit ProgressBar(std::FILE* stream);
    /// Removes the bar.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// From 0 to 1; nothing removes the bar.
    void show(std::optional<double> progress);

  private:
    std::FILE* stream_;
    bool isTerminal_;
    bool isShown_ = false;
};

} // namespace brindle

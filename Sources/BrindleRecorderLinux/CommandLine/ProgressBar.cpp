#include "BrindleRecorderLinux/CommandLine/ProgressBar.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <string>

#include <unistd.h>

namespace brindle {

namespace {

constexpr int width = 40;
constexpr const char* toTheStartOfAnEmptyLine = "\r\x1b[K";

} // namespace

ProgressBar::ProgressBar(std::FILE* stream)
    : stream_{stream}, isTerminal_{isatty(fileno(stream)) == 1} {}

ProgressBar::~ProgressBar() {
    show(std::nullopt);
}

void ProgressBar::show(std::optional<double> progress) {
    if (!isTerminal_ || (!progress && !isShown_)) {
        return;
    }
    isShown_ = progress.has_value();
    std::string text = toTheStartOfAnEmptyLine;
    if (progress) {
        const double share = std::clamp(*progress, 0.0, 1.0);
        const auto done = static_cast<std::size_t>(share * width);
        text += fmt::format(
            "[{}{}] {:3.0f} %", std::string(done, '#'), std::string(width - done, '.'),
            100 * share);
    }
    std::fputs(text.c_str(), stream_);
    std::fflush(stream_);
}

} // namespace brindle

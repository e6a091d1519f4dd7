#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"

namespace brindle {

void printLine(std::FILE* stream, std::string_view text) {
    std::string line;
    line.reserve(text.size() + 1);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        line += byte < 0x20 || byte == 0x7f ? ' ' : character;
    }
    line += '\n';
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), stream));
    static_cast<void>(std::fflush(stream));
}

} // namespace brindle

#include "LinuxTests/SoundServerView.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace brindle {

std::string soundServerView(const std::filesystem::path& session) {
    const std::string command =
        BRINDLE_SOURCE_DIR "/scripts/lib/show-sound-server '" + session.string() + "' 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> output{popen(command.c_str(), "r"), pclose};
    std::string text;
    std::array<char, 4096> part{};
    while (output != nullptr && std::fgets(part.data(), part.size(), output.get()) != nullptr) {
        text += part.data();
    }
    return '\n' + text;
}

std::string soundServerView() {
    const char* const session = std::getenv("BRINDLE_SESSION");
    return session == nullptr ? "no private session" : soundServerView(session);
}

} // namespace brindle

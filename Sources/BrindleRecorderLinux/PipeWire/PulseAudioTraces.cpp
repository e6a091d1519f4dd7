#include "BrindleRecorderLinux/PipeWire/PulseAudioTraces.hpp"

#include "BrindleRecorderLinux/Processes/ProcReader.hpp"

#include <fstream>

namespace brindle::pipewire {

bool pulseAudioRuns(
    const std::filesystem::path& runtimeFolder, const std::filesystem::path& procFolder) {
    std::ifstream pidFile{runtimeFolder / "pulse" / "pid"};
    int pid = 0;
    if (!(pidFile >> pid) || pid <= 0) {
        return false;
    }
    const auto executable = ProcReader{procFolder}.executable(pid);
    return executable && executable->filename() == "pulseaudio";
}

} // namespace brindle::pipewire

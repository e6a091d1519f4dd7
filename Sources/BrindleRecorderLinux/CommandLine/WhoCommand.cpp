#include "BrindleRecorderLinux/CommandLine/WhoCommand.hpp"

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderApp/Calls/WhoWatch.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServerStateText.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle {

namespace {

CallDetectorConfig configurationOfThisUser(FileManager& files, std::FILE* errors) {
    JsonDefaultsStore defaults{
        files, JsonDefaultsStore::standardFile(), [errors](const std::string& line) {
            printLine(errors, "brindle-recorder: " + line);
        }};
    return Settings{defaults}.callDetection();
}

} // namespace

bool WhoCommand::run() const {
    const CallDetectorConfig config = configurationOfThisUser(files, errors);
    bool isFirst = true;
    const auto print = [&](const std::vector<std::string>& lines) {
        if (!std::exchange(isFirst, false)) {
            printLine(output, "");
        }
        for (const std::string& line : lines) {
            printLine(output, line);
        }
        if (std::ferror(output) != 0) {
            mainLoop.quit(); // nobody reads any more
        }
    };

    bool hasAnswered = false;
    std::function<void()> answer;
    const auto stateChanged = [&](pipewire::AudioServerState state) {
        if (state == pipewire::AudioServerState::serving) {
            answer();
            return;
        }
        printLine(errors, "brindle-recorder: " + std::string{pipewire::describe(state)});
        if (once) {
            mainLoop.quit();
        }
    };
    const ProcProcessRegistry processes{mainLoop};
    const pipewire::PipeWireOnLoop pipeWire{mainLoop};
    const pipewire::AudioServer server{
        mainLoop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession(), stateChanged};
    PipeWireAudioObjects audioObjects{server, processes};
    const DesktopWindowList windows{processes, mainLoop, [&server] {
                                        return server.graph();
                                    }};
    MicActivityMonitor monitor{audioObjects, processes, windows};
    std::optional<WhoWatch> watch;
    answer = [&] {
        if (once) {
            print(WhoWatch::answer(monitor, config));
            mainLoop.quit();
        } else if (!watch) {
            watch.emplace(mainLoop, monitor, config, print);
        }
        hasAnswered = true;
    };
    mainLoop.run();
    return hasAnswered || !once;
}

} // namespace brindle

#include "DesktopDevices.hpp"

#include "MovieInspection.hpp"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <thread>
#include <utility>

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brindle::test {

bool hasNode(const std::string& name) {
    const auto info = outputOf("pw-cli info " + quoted(name) + " 2>/dev/null");
    return info && info->find("PipeWire:Interface:Node") != std::string::npos;
}

bool inPrivateSession() {
    return std::getenv("BRINDLE_SESSION") != nullptr && outputOf("pw-cli info 0 2>&1").has_value();
}

ChildProcess::ChildProcess(const std::vector<std::string>& command) : pid_{fork()} {
    if (pid_ != 0) {
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::signal(int signalNumber) const {
    if (pid_ > 0) {
        ::kill(pid_, signalNumber);
    }
}

int ChildProcess::wait() {
    int status = 0;
    if (pid_ <= 0 || waitpid(std::exchange(pid_, -1), &status, 0) < 0) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void ChildProcess::kill() {
    if (pid_ > 0) {
        signal(SIGCONT);
        signal(SIGKILL);
        wait();
    }
}

TestMicrophone::TestMicrophone(std::string name) : name_{std::move(name)} {
    outputOf(
        "pw-cli create-node adapter " +
        quoted(
            "{ factory.name=support.null-audio-sink node.name=" + name_ +
            " node.description=\"Test Microphone\" media.class=Audio/Source/Virtual"
            " object.linger=true audio.position=[MONO] }"));
    waitForNode(name_);
}

TestMicrophone::~TestMicrophone() {
    unplug();
}

void TestMicrophone::unplug() {
    if (!name_.empty()) {
        outputOf("pw-cli destroy " + quoted(std::exchange(name_, {})) + " 2>&1");
    }
}

namespace {

std::filesystem::path
toneFile(const std::filesystem::path& folder, int rate, const std::vector<int>& frequencies) {
    auto file = folder / "tone.wav";
    std::string inputs;
    std::string channels;
    for (std::size_t channel = 0; channel < frequencies.size(); ++channel) {
        inputs += fmt::format(
            " -f lavfi -i sine=frequency={}:sample_rate={}:duration=60", frequencies[channel],
            rate);
        channels += fmt::format("[{}:a]", channel);
    }
    // The source gives an eighth of the full amplitude.
    const auto filters = fmt::format(
        "{}{},volume={}", channels,
        frequencies.size() > 1 ? fmt::format("amerge=inputs={}", frequencies.size()) : "anull",
        ToneMicrophone::amplitude * 8);
    outputOf(
        "ffmpeg -v error" + inputs + " -filter_complex " + quoted(filters) + " -c:a pcm_s16le " +
        quoted(file.string()));
    return file;
}

} // namespace

ToneMicrophone::ToneMicrophone(
    const std::string& name, int rate, const std::vector<int>& frequencies)
    : process_{
          {"pw-cat", "--playback", "--target", "0", "--latency", "none", "-P",
           "{ media.class=Audio/Source node.autoconnect=false node.name=" + name +
               " node.description=" + name + " }",
           toneFile(folder_.path(), rate, frequencies).string()}} {
    waitForNode(name);
}

PlayedTone::PlayedTone(int frequency)
    : process_{
          {"gst-launch-1.0", "-q", "audiotestsrc", "is-live=true", "volume=0.8",
           "freq=" + std::to_string(frequency), "!", "pulsesink", "device=virt-speakers"}} {}

bool waitForNode(const std::string& name) {
    for (int attempt = 0; attempt < 400; ++attempt) {
        if (hasNode(name)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
    }
    return false;
}

} // namespace brindle::test

// The program that captures for the recorder: opens the devices of one recording and writes its
// movie, or converts or measures one. Started by brindle-recorder, over a socket that it is given.
#include "BrindleRecorderLinux/Capture/CaptureServer.hpp"
#include "BrindleRecorderLinux/Capture/Confinement.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

extern char** environ; // NOLINT(readability-redundant-declaration): not in every system's headers

namespace {

constexpr int exitSuccess = 0;
constexpr int exitBrokenOff = 1;
constexpr int exitBadUsage = 2;

bool isASocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof(type);
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET;
}

/// Nothing, with a line about it, when the kernel could confine us and does not.
std::optional<bool> confine(brindle::capture::Leave leave) {
    const auto confined = brindle::capture::confineThisProcess(leave);
    if (!confined) {
        std::fprintf(
            stderr, "brindle-recorder-capture: it cannot be confined: %s\n",
            confined.error().message().c_str());
        return std::nullopt;
    }
    return *confined;
}

void report(const char* what, bool succeeded) {
    std::printf("%s: %s\n", what, succeeded ? "done" : std::strerror(errno));
}

/// Tries, confined as ever, what must not succeed, and prints how each ends: reading a file,
/// writing a file, starting a program.
int tryWhatIsForbidden(
    brindle::capture::Leave leave, const char* readable, const char* writable, char* program) {
    const auto isConfined = confine(leave);
    if (!isConfined) {
        return exitBrokenOff;
    }
    std::printf("confined: %s\n", *isConfined ? "yes" : "no, this kernel cannot");
    report("read", open(readable, O_RDONLY | O_CLOEXEC) >= 0);
    report("write", open(writable, O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR) >= 0);
    pid_t started = -1;
    std::array<char*, 2> arguments{program, nullptr};
    errno = posix_spawn(&started, program, nullptr, nullptr, arguments.data(), environ);
    report("start", errno == 0);
    return exitSuccess;
}

/// A line each; the recorder's user reads them.
int sayWhatItIs() {
    std::printf("brindle-recorder-capture %s\n", brindle::capture::programVersion().c_str());
    std::printf("FFmpeg %s\n", av_version_info());
    for (const AVCodecID id : {AV_CODEC_ID_H264, AV_CODEC_ID_AAC}) {
        std::printf("encoders of %s:", avcodec_get_name(id));
        void* place = nullptr;
        while (const AVCodec* const codec = av_codec_iterate(&place)) {
            if (codec->id == id && av_codec_is_encoder(codec) != 0) {
                std::printf(" %s", codec->name);
            }
        }
        std::printf("\n");
    }
    return exitSuccess;
}

/// Whatever runs is not interrupted for us. Our share of the processor stays what it is: with less,
/// pictures would be lost wherever others keep every core busy.
void interruptNobody() {
    const sched_param noPriority{};
    static_cast<void>(sched_setscheduler(0, SCHED_BATCH, &noPriority));
}

int run(brindle::capture::Leave leave) {
    using namespace brindle::capture;
    // What ends the whole session reaches us as well. The recorder decides when a movie ends; when
    // it goes, we close the movie and go too.
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        std::signal(signalNumber, SIG_IGN);
    }
    // Started by a descriptor, the kernel names us by its number.
    prctl(PR_SET_NAME, "brindle-capture");
    interruptNobody();
    if (!isASocket(recordersSocket)) {
        std::fputs(
            "brindle-recorder-capture is started by brindle-recorder when it has something to "
            "record or to convert.\n",
            stderr);
        return exitBadUsage;
    }
    close_range(recordersSocket + 1, UINT_MAX, 0);
    const auto isConfined = confine(leave);
    if (!isConfined) {
        return exitBrokenOff;
    }
    CaptureServer server{MessageSocket{brindle::FileDescriptor{recordersSocket}}, *isConfined};
    const auto outcome = server.run();
    if (outcome.hangs) {
        _exit(exitBrokenOff);
    }
    return outcome.inGoodOrder ? exitSuccess : exitBrokenOff;
}

} // namespace

// With arguments it says what it is, may use graphics hardware, or is a test of its own
// confinement.
int main(int argumentCount, char** arguments) {
    try {
        using brindle::capture::Leave;
        constexpr int wordsOfTheTest = 5;
        for (const auto& [test, leave] :
             {std::pair{"--try-what-is-forbidden", Leave::nothingMore},
              std::pair{"--try-what-is-forbidden-with-graphics", Leave::graphics}}) {
            if (argumentCount == wordsOfTheTest && std::strcmp(arguments[1], test) == 0) {
                return tryWhatIsForbidden(leave, arguments[2], arguments[3], arguments[4]);
            }
        }
        if (argumentCount == 2 && std::strcmp(arguments[1], "--version") == 0) {
            return sayWhatItIs();
        }
        const bool mayUseGraphics =
            argumentCount == 2 && std::strcmp(arguments[1], brindle::capture::withGraphics) == 0;
        return run(mayUseGraphics ? Leave::graphics : Leave::nothingMore);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brindle-recorder-capture: %s\n", error.what());
        return exitBrokenOff;
    }
}

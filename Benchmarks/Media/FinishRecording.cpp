// Converts a recording as the recorder does when it stops: the capture program converts and
// measures, the .mp4 gets its name, and the .mov goes. Says on standard error how many seconds that
// took, without its own beginning and end.
// Usage: finish-recording CAPTURE-PROGRAM RECORDING.mov RECORDING.mp4
//        finish-recording --opening: prints the bytes that a recording opens with
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>

namespace {

using namespace brindle;

class NoSystemLog final : public SystemLog {
  public:
    void write(Level /*level*/, std::string_view /*line*/) override {}
};

Task<> convert(
    Remuxer& remuxer, std::filesystem::path mov, std::filesystem::path mp4,
    std::optional<Expected<void, RecorderError>>& outcome) {
    outcome =
        co_await remuxer.remuxToMP4(std::move(mov), std::move(mp4), MovieOrigin::justRecorded);
}

int run(const char* program, const std::filesystem::path& mov, const std::filesystem::path& mp4) {
    EventLoop loop;
    PosixFileManager files;
    const SystemDateProvider clock;
    constexpr std::int64_t longestLog = 1'000'000;
    DiagnosticLog log{mov.parent_path(), "finish-recording.log", longestLog, files};
    NoSystemLog systemLog;
    capture::CaptureChildren children{loop, program};
    ChildMovieExporter exporter{loop, systemLog, children};
    Remuxer remuxer{exporter, loop, clock, files, log, systemLog};
    std::optional<Expected<void, RecorderError>> outcome;
    const auto begin = std::chrono::steady_clock::now();
    startDetached(convert(remuxer, mov, mp4, outcome), [&loop] { loop.quit(); });
    loop.run();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    if (!outcome || !*outcome) {
        std::fprintf(
            stderr, "finish-recording: %s\n",
            outcome ? outcome->error().userMessage().c_str() : "interrupted");
        return 1;
    }
    std::fprintf(stderr, "%.3f\n", took.count());
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount == 2 && std::strcmp(arguments[1], "--opening") == 0) {
        const auto opening =
            media::MovieOpening{.roomSize = media::leastMovieRoom, .index = std::nullopt}.bytes();
        return fwrite(opening.data(), 1, opening.size(), stdout) == opening.size() ? 0 : 1;
    }
    if (argumentCount != 4) {
        std::fputs("Usage: finish-recording CAPTURE-PROGRAM MOV MP4\n", stderr);
        return 2;
    }
    try {
        return run(arguments[1], arguments[2], arguments[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "finish-recording: %s\n", error.what());
        return 1;
    }
}

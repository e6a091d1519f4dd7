#include "BrindleRecorderLinux/CommandLine/ConvertCommand.hpp"

#include "BrindleRecorderApp/Recording/MovieRescue.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "BrindleRecorderLinux/CommandLine/ProgressBar.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/SystemLog/SyslogSystemLog.hpp"

#include <optional>
#include <string>
#include <utility>

namespace brindle {

namespace {

using Rescued = Expected<std::filesystem::path, std::string>;

Task<>
rescueInto(std::optional<Rescued>& result, MovieRescue& rescue, std::filesystem::path movie) {
    result = co_await rescue.rescue(std::move(movie));
}

} // namespace

bool ConvertCommand::run() const {
    if (capture::OutputFile::isBeingWritten(movie)) {
        printLine(
            errors, "brindle-recorder: " + movie.string() +
                        " is being recorded right now; stop that recording first");
        return false;
    }
    const SystemDateProvider clock;
    SyslogSystemLog systemLog;
    DiagnosticLog& diagnosticLog = DiagnosticLog::shared();
    ChildMovieExporter exporter{mainLoop, systemLog, children};
    Remuxer remuxer{exporter, mainLoop, clock, files, diagnosticLog, systemLog};
    MovieRescue rescue{files, remuxer};
    ProgressBar bar{errors};
    const auto progress =
        remuxer.progress().observe([&bar](const std::optional<double>& share) { bar.show(share); });

    std::optional<Rescued> result;
    startDetached(
        rescueInto(result, rescue, std::filesystem::absolute(movie)), [this] { mainLoop.quit(); });
    mainLoop.run();
    while (!result) {
        // Interrupted; the conversion answers once it has cleaned up.
        remuxer.cancel();
        mainLoop.run();
    }
    bar.show(std::nullopt);
    if (!*result) {
        printLine(errors, "brindle-recorder: " + result->error());
        return false;
    }
    printLine(output, (*result)->string());
    return true;
}

} // namespace brindle

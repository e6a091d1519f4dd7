// A recorder between scripted devices and a disk in memory, with both its threads run by hand.
#pragma once

#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "Support/FakeDateProvider.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualExecutor.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/MemoryDiagnosticLog.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/ScriptedCaptureSystem.hpp"
#include "Support/ScriptedMovieExporter.hpp"
#include "Support/TaskProbe.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

class RecorderFixture : public testing::Test {
  protected:
    const std::filesystem::path mov = "/movies/a.mov";
    const std::filesystem::path mp4 = "/movies/a.mp4";
    const std::filesystem::path nextMov = "/movies/b.mov";

    RecorderFixture() {
        capture.addCamera({"cam", "Camera", true});
        capture.addMicrophone({"mic", "Microphone", true});
        capture.script().whenFileOpens = [this](const auto& path) {
            files.putFile(path, "data");
        };
        makeRecorder();
    }

    void makeRecorder() {
        recorder.emplace(capture, loop, clock, files, diagnostics.log(), systemLog, queue, remuxer);
        recorder->onFailure = [this](const RecorderError& error) {
            failures.push_back(error);
            statusAtFailure = recorder->status().get();
        };
    }

    /// Lets the session queue and the main loop run until neither has anything left to do now.
    void settle() {
        do {
            queue.runAll();
        } while (loop.runPosted() > 0 || queue.pending() > 0);
    }

    Expected<void, RecorderError> startBoth(const std::filesystem::path& path) {
        return recorder->start(capture.device("cam"), capture.device("mic"), path);
    }
    Expected<void, RecorderError> startSound(const std::filesystem::path& path) {
        return recorder->start(nullptr, capture.device("mic"), path);
    }
    /// Starts and lets the devices run.
    void record(const std::filesystem::path& path) {
        ASSERT_TRUE(startBoth(path));
        settle();
    }

    [[nodiscard]] const RecorderStatus& status() const { return recorder->status().get(); }

    FakeDateProvider clock;
    ManualMainLoop loop{clock};
    InMemoryFileManager files{clock};
    MemoryDiagnosticLog diagnostics;
    RecordingSystemLog systemLog;
    ManualExecutor queue{Recorder::sessionQueueLabel};
    ScriptedMovieExporter exporter{loop, files};
    ScriptedCaptureSystem capture;
    Remuxer remuxer{exporter, loop, clock, files, diagnostics.log(), systemLog};
    std::optional<Recorder> recorder;
    std::vector<RecorderError> failures;
    std::optional<RecorderStatus> statusAtFailure;
    const PlatformError deviceError{
        .domain = "FFmpeg", .code = -5, .description = "Input/output error", .underlying = {}};
};

} // namespace brindle::test

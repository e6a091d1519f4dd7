// The adapters held to what the seam promises.
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"
#include "BrindleRecorderLinux/Devices/PipeWireCaptureSystem.hpp"
#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Notifications/DesktopNotifications.hpp"
#include "BrindleRecorderLinux/Time/BootClock.hpp"
#include "Contract/CaptureContract.hpp"
#include "Contract/DefaultsStoreContract.hpp"
#include "Contract/MainLoopContract.hpp"
#include "Contract/MovieExporterContract.hpp"
#include "Contract/UserNotificationsContract.hpp"
#include "DesktopDevices.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/ScriptedNotificationServer.hpp"
#include "LinuxTests/SessionAudio.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/TemporaryFolder.hpp"
#include "TestCamera.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace brindle::test {
namespace {

class LinuxMainLoop final : public MainLoopSubject {
  public:
    bool becomes(const std::function<bool()>& condition) override {
        return waitUntil(loop_, condition);
    }
    MainLoop& loop() override { return loop_; }
    std::chrono::nanoseconds now() const override { return timeSinceBoot(); }

  private:
    EventLoop loop_;
};

class LinuxDefaults final : public DefaultsStoreSubject {
  public:
    LinuxDefaults() { open(); }
    DefaultsStore& store() override { return *store_; }
    void startAgain() override {
        disk_.losePower();
        open();
    }
    void putMixedList(const std::string& key) override {
        auto values = nlohmann::json::parse(disk_.contents(file_).value_or("{}"));
        values[key] = nlohmann::json::array({"a", 1});
        disk_.putFile(file_, values.dump());
        open();
    }

  private:
    void open() {
        store_.emplace(disk_, file_, [](const std::string& line) { ADD_FAILURE() << line; });
    }

    const std::filesystem::path file_ = "/home/user/.config/brindle-recorder/preferences.json";
    InMemoryFileManager disk_;
    std::optional<JsonDefaultsStore> store_;
};

class LinuxNotifications final : public UserNotificationsSubject {
  public:
    bool becomes(const std::function<bool()>& condition) override {
        return waitUntil(loop_, [&] {
            server_.serve();
            return condition();
        });
    }
    UserNotifications& notifications() override { return notifications_; }
    std::vector<std::string> shownTitles() override {
        std::vector<std::string> titles;
        for (const auto& [number, title] : shown()) {
            titles.push_back(title);
        }
        return titles;
    }
    /// As servers do: whatever has been answered goes, unless it says that it stays.
    void respond(const std::string& title, const std::string& action) override {
        constexpr std::uint32_t byTheUser = 2;
        const auto titles = shown();
        const auto found =
            std::ranges::find_if(titles, [&](const auto& entry) { return entry.second == title; });
        ASSERT_NE(found, titles.end());
        const auto number = found->first;
        if (action != NotificationResponse::dismissAction) {
            server_.invoke(number, action);
            const auto& last = *std::ranges::find(
                server_.notified.rbegin(), server_.notified.rend(), number,
                &ScriptedNotificationServer::Notification::number);
            if (last.hints.contains("resident")) {
                return;
            }
        }
        server_.close(number, byTheUser);
        dismissed_.insert(number);
    }
    void refuse(bool refuses) override { server_.refuses = refuses; }
    int refusals() override { return server_.refused; }
    bool hold() override {
        server_.holds = "Notify";
        return true;
    }
    void release() override {
        EXPECT_TRUE(becomes([this] { return server_.isHolding(); }));
        server_.answerHeld();
    }

  private:
    [[nodiscard]] std::map<std::uint32_t, std::string> shown() const {
        std::map<std::uint32_t, std::string> titles;
        for (const auto& notification : server_.notified) {
            if (!server_.hasClosed(notification.number) &&
                !dismissed_.contains(notification.number)) {
                titles[notification.number] = notification.summary;
            }
        }
        return titles;
    }

    BareBus bus_;
    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    ScriptedNotificationServer server_{{"actions", "body"}};
    DesktopNotifications notifications_{program_};
    std::set<std::uint32_t> dismissed_;
};

class LinuxExporter final : public MovieExporterSubject {
  public:
    bool becomes(const std::function<bool()>& condition) override {
        return waitUntil(loop_, condition);
    }
    MovieExporter& exporter() override { return exporter_; }
    std::filesystem::path movie() override {
        static const auto path = [] {
            auto made = folder().fresh(".mov");
            makeRecording(made);
            return made;
        }();
        return path;
    }
    Seconds duration() const override { return Seconds{30}; }
    std::filesystem::path unreadable() override {
        auto path = folder().fresh(".mov");
        writeFile(path, Bytes(1000, std::uint8_t{7}));
        return path;
    }
    std::filesystem::path unexportable() override { return folder().fresh(".mov"); }
    std::filesystem::path writable() override { return folder().fresh(".mp4"); }
    std::filesystem::path unwritable() override { return folder().fresh("") / "a.mp4"; }
    bool isThere(const std::filesystem::path& path) override {
        return std::filesystem::exists(path);
    }
    // A program of its own is to be started for each, and half a minute to be read.
    void takeTime() override {}
    void proceed() override {}

  private:
    static MovieFolder& folder() {
        static MovieFolder shared;
        return shared;
    }

    EventLoop loop_;
    capture::CaptureChildren children_{loop_, BRINDLE_CAPTURE_PROGRAM};
    RecordingSystemLog log_;
    ChildMovieExporter exporter_{loop_, log_, children_};
};

class LinuxCapture final : public CaptureSubject {
  public:
    LinuxCapture() {
        if (inPrivateSession()) {
            session_.emplace();
        }
    }
    std::string whatIsMissing() const override {
        return session_ ? "" : "runs in scripts/private-session only";
    }
    bool becomes(const std::function<bool()>& condition) override {
        return waitUntil(session_->audio.loop, condition);
    }
    CaptureSystem& system() override { return session_->system; }
    void plug(MediaType mediaType, const std::string& uniqueID) override {
        if (mediaType == MediaType::video) {
            cameras_[uniqueID] = std::make_unique<TestCamera>(uniqueID, TestCamera::i420());
        } else {
            microphones_[uniqueID] = std::make_unique<TestMicrophone>(uniqueID);
        }
    }
    void unplug(const std::string& uniqueID) override {
        cameras_.erase(uniqueID);
        microphones_.erase(uniqueID);
    }
    void failSession(const std::string& microphone) override { unplug(microphone); }
    std::filesystem::path writable() override { return folder_.path() / "a.mov"; }
    std::filesystem::path unwritable() override { return folder_.path() / "missing" / "a.mov"; }

  private:
    struct Session {
        SessionAudio audio;
        RecordingSystemLog log;
        capture::CaptureChildren children{audio.loop, BRINDLE_CAPTURE_PROGRAM};
        PipeWireCaptureSystem system{audio.loop, audio.server, log, children};
    };

    TemporaryFolder folder_;
    std::map<std::string, std::unique_ptr<TestCamera>> cameras_;
    std::map<std::string, std::unique_ptr<TestMicrophone>> microphones_;
    std::optional<Session> session_;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Linux, MainLoopContract, MainLoopContract::heldBy<LinuxMainLoop>("EventLoop"));
INSTANTIATE_TEST_SUITE_P(
    Linux, DefaultsStoreContract,
    DefaultsStoreContract::heldBy<LinuxDefaults>("JsonDefaultsStore"));
INSTANTIATE_TEST_SUITE_P(
    Linux, UserNotificationsContract,
    UserNotificationsContract::heldBy<LinuxNotifications>("DesktopNotifications"));
INSTANTIATE_TEST_SUITE_P(
    Linux, CaptureSystemContract,
    CaptureSystemContract::heldBy<LinuxCapture>("PipeWireCaptureSystem"));
INSTANTIATE_TEST_SUITE_P(
    Linux, CaptureSessionContract,
    CaptureSessionContract::heldBy<LinuxCapture>("ChildCaptureSession"));
INSTANTIATE_TEST_SUITE_P(
    Linux, MovieExporterContract,
    MovieExporterContract::heldBy<LinuxExporter>("ChildMovieExporter"));

} // namespace brindle::test

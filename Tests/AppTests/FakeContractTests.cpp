// The fakes held to what they stand for: whatever the application is tried with keeps a desktop's
// promises.
#include "Contract/CaptureContract.hpp"
#include "Contract/DefaultsStoreContract.hpp"
#include "Contract/MainLoopContract.hpp"
#include "Contract/MovieExporterContract.hpp"
#include "Contract/UserNotificationsContract.hpp"
#include "Support/FakeUserNotifications.hpp"
#include "Support/InMemoryDefaultsStore.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/ScriptedCaptureSystem.hpp"
#include "Support/ScriptedMovieExporter.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

namespace brindle::test {
namespace {

using namespace std::chrono_literals;

const PlatformError failure{
    .domain = "Script", .code = 1, .description = "as the test says", .underlying = {}};

class FakeMainLoop final : public MainLoopSubject {
  public:
    bool becomes(const std::function<bool()>& condition) override {
        return loop_.runUntil([&] {
            if (!condition()) {
                loop_.advance(10ms);
            }
            return condition();
        });
    }
    MainLoop& loop() override { return loop_; }
    std::chrono::nanoseconds now() const override { return loop_.now(); }
    bool sleep(std::chrono::nanoseconds time) override {
        loop_.advance(time);
        return true;
    }

  private:
    ManualMainLoop loop_;
};

class FakeDefaults final : public DefaultsStoreSubject {
  public:
    DefaultsStore& store() override { return store_; }
    void startAgain() override {}
    void putMixedList(const std::string& key) override {
        store_.values[key] = InMemoryDefaultsStore::MixedList{};
    }

  private:
    InMemoryDefaultsStore store_;
};

class FakeNotifications final : public UserNotificationsSubject {
  public:
    /// Whatever is asked is shown at once; only the user takes time to answer.
    bool becomes(const std::function<bool()>& condition) override {
        while (!notifications_.authorizationRequests.empty()) {
            notifications_.answerAuthorization(true);
        }
        return condition();
    }
    UserNotifications& notifications() override { return notifications_; }
    std::vector<std::string> shownTitles() override {
        std::vector<std::string> titles;
        for (const auto& [identifier, request] : notifications_.shown) {
            titles.push_back(request.title);
        }
        return titles;
    }
    void respond(const std::string& title, const std::string& action) override {
        const auto found = std::ranges::find_if(
            notifications_.shown, [&](const auto& shown) { return shown.second.title == title; });
        ASSERT_NE(found, notifications_.shown.end());
        notifications_.respondTo(found->first, action);
    }
    void refuse(bool refuses) override { notifications_.shows = !refuses; }
    int refusals() override {
        return static_cast<int>(notifications_.posted.size() - notifications_.shown.size());
    }

  private:
    FakeUserNotifications notifications_;
};

class FakeCapture final : public CaptureSubject {
  public:
    FakeCapture() {
        system_.script().clock = &clock_;
        for (const auto mediaType : {MediaType::video, MediaType::audio}) {
            system_.answerAccessAtOnce(mediaType, true);
        }
    }
    /// Nothing here needs a loop; only the time of recordings passes.
    bool becomes(const std::function<bool()>& condition) override {
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }
    CaptureSystem& system() override { return system_; }
    void plug(MediaType mediaType, const std::string& uniqueID) override {
        const CaptureDeviceInfo info{.uniqueID = uniqueID, .localizedName = uniqueID};
        if (mediaType == MediaType::video) {
            system_.addCamera(info);
            system_.setDefaultCamera(info);
        } else {
            system_.addMicrophone(info);
        }
        system_.fireDevicesChanged();
    }
    void unplug(const std::string& uniqueID) override {
        system_.removeDevice(uniqueID);
        system_.fireDevicesChanged();
    }
    void failSession(const std::string& /*microphone*/) override {
        system_.session().fireRuntimeError(failure);
    }
    std::filesystem::path writable() override { return "/movies/a.mov"; }
    std::filesystem::path unwritable() override {
        system_.script().startError = failure;
        return "/nowhere/a.mov";
    }

  private:
    const SystemDateProvider clock_{};
    ScriptedCaptureSystem system_;
};

class FakeExporter final : public MovieExporterSubject {
  public:
    FakeExporter() {
        files_.putFile(movie(), "movie");
        exporter_.setDuration(unreadable(), std::nullopt);
    }
    bool becomes(const std::function<bool()>& condition) override {
        return loop_.runUntil(condition);
    }
    MovieExporter& exporter() override { return exporter_; }
    std::filesystem::path movie() override { return "/movies/a.mov"; }
    Seconds duration() const override { return Seconds{60}; }
    std::filesystem::path unreadable() override { return "/movies/unreadable.mov"; }
    std::filesystem::path unexportable() override {
        exporter_.script().canBeMade = false;
        return unreadable();
    }
    std::filesystem::path writable() override { return "/movies/a.mp4"; }
    std::filesystem::path unwritable() override {
        exporter_.script().status = ExportSession::Status::failed;
        exporter_.script().error = failure;
        return "/nowhere/a.mp4";
    }
    bool isThere(const std::filesystem::path& path) override { return files_.fileExists(path); }
    void takeTime() override { exporter_.script().finishAtOnce = false; }
    void proceed() override { exporter_.finish(); }

  private:
    FakeDateProvider clock_;
    InMemoryFileManager files_{clock_};
    ManualMainLoop loop_;
    ScriptedMovieExporter exporter_{loop_, files_};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Fake, MainLoopContract, MainLoopContract::heldBy<FakeMainLoop>("ManualMainLoop"));
INSTANTIATE_TEST_SUITE_P(
    Fake, DefaultsStoreContract,
    DefaultsStoreContract::heldBy<FakeDefaults>("InMemoryDefaultsStore"));
INSTANTIATE_TEST_SUITE_P(
    Fake, UserNotificationsContract,
    UserNotificationsContract::heldBy<FakeNotifications>("FakeUserNotifications"));
INSTANTIATE_TEST_SUITE_P(
    Fake, CaptureSystemContract,
    CaptureSystemContract::heldBy<FakeCapture>("ScriptedCaptureSystem"));
INSTANTIATE_TEST_SUITE_P(
    Fake, CaptureSessionContract,
    CaptureSessionContract::heldBy<FakeCapture>("ScriptedCaptureSystem"));
INSTANTIATE_TEST_SUITE_P(
    Fake, MovieExporterContract,
    MovieExporterContract::heldBy<FakeExporter>("ScriptedMovieExporter"));

} // namespace brindle::test

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"

#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeProcessRegistry.hpp"
#include "Support/FakeWindowList.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Titles = std::vector<std::string>;

/// Passes everything on to a fake and writes down which listeners came and went: "+input 1" for one
/// that was registered, "!input 1" for one that was refused, "-input 1" for one that was taken
/// back.
class JournalingAudioObjects final : public AudioObjects {
  public:
    test::FakeAudioObjects fake;
    std::vector<std::string> journal;

    /// What was written since the last time.
    std::vector<std::string> takeJournal() { return std::exchange(journal, {}); }

    [[nodiscard]] bool canListProcesses() const override { return fake.canListProcesses(); }
    [[nodiscard]] std::optional<std::vector<AudioObjectID>> processes() const override {
        return fake.processes();
    }
    [[nodiscard]] std::optional<bool> isRunningInput(AudioObjectID process) const override {
        return fake.isRunningInput(process);
    }
    [[nodiscard]] std::optional<std::int32_t>
    processIdentifier(AudioObjectID process) const override {
        return fake.processIdentifier(process);
    }
    [[nodiscard]] std::optional<std::string>
    bundleIdentifier(AudioObjectID process) const override {
        return fake.bundleIdentifier(process);
    }
    [[nodiscard]] std::optional<AudioObjectID> defaultInputDevice() const override {
        return fake.defaultInputDevice();
    }
    [[nodiscard]] std::optional<std::string> deviceUniqueID(AudioObjectID device) const override {
        return fake.deviceUniqueID(device);
    }
    [[nodiscard]] std::optional<bool> isRunningSomewhere(AudioObjectID device) const override {
        return fake.isRunningSomewhere(device);
    }
    [[nodiscard]] std::unique_ptr<Observation> observeProcesses(Listener listener) override {
        return entered("processes", fake.observeProcesses(std::move(listener)));
    }
    [[nodiscard]] std::unique_ptr<Observation>
    observeDefaultInputDevice(Listener listener) override {
        return entered("default", fake.observeDefaultInputDevice(std::move(listener)));
    }
    [[nodiscard]] std::unique_ptr<Observation>
    observeRunningInput(AudioObjectID process, Listener listener) override {
        return entered(
            fmt::format("input {}", process),
            fake.observeRunningInput(process, std::move(listener)));
    }
    [[nodiscard]] std::unique_ptr<Observation>
    observeRunningSomewhere(AudioObjectID device, Listener listener) override {
        return entered(
            fmt::format("device {}", device),
            fake.observeRunningSomewhere(device, std::move(listener)));
    }

  private:
    class Entered final : public Observation {
      public:
        Entered(
            std::vector<std::string>& journal, std::string name,
            std::unique_ptr<Observation> observation)
            : journal_{journal}, name_{std::move(name)}, observation_{std::move(observation)} {}
        ~Entered() override { journal_.push_back("-" + name_); }
        Entered(const Entered&) = delete;
        Entered& operator=(const Entered&) = delete;

      private:
        std::vector<std::string>& journal_;
        std::string name_;
        std::unique_ptr<Observation> observation_;
    };

    std::unique_ptr<Observation>
    entered(std::string name, std::unique_ptr<Observation> observation) {
        if (!observation) {
            journal.push_back("!" + name);
            return nullptr;
        }
        journal.push_back("+" + name);
        return std::make_unique<Entered>(journal, std::move(name), std::move(observation));
    }
};

class MicActivityMonitorTest : public testing::Test {
  protected:
    static constexpr AudioObjectID microphone = 100;
    static constexpr AudioObjectID headset = 101;

    JournalingAudioObjects audio_;
    test::FakeProcessRegistry registry_;
    test::FakeWindowList windows_;
    std::unique_ptr<MicActivityMonitor> monitor_;
    int changes_ = 0;

    void SetUp() override {
        audio_.fake.setDevice(microphone, {});
        audio_.fake.setDevice(headset, {});
        audio_.fake.setDefaultInputDevice(microphone);
        monitor_ = std::make_unique<MicActivityMonitor>(audio_, registry_, windows_);
        monitor_->onChange = [this] {
            ++changes_;
        };
    }

    /// A process that records.
    void
    addRecording(AudioObjectID object, std::int32_t pid, std::optional<std::string> bundleID = {}) {
        audio_.fake.setProcess(
            object, {.runningInput = true, .pid = pid, .bundleID = std::move(bundleID)});
    }
    /// The identifier that the monitor gives the only process that records.
    std::string onlyBundleID() {
        const auto users = monitor_->snapshot();
        return users.size() == 1 ? users.front().bundleID : fmt::format("({} users)", users.size());
    }
};

MicUser user(std::string bundleID, std::int32_t pid) {
    return {.bundleID = std::move(bundleID), .pid = pid, .windowTitles = std::nullopt};
}

// --- Snapshots of processes ---

TEST_F(MicActivityMonitorTest, SnapshotListsTheRecordingProcessesInTheServersOrder) {
    addRecording(3, 30, "us.zoom.xos");
    addRecording(1, 10, "com.google.Chrome");
    audio_.fake.setProcess(
        2, {.runningInput = false, .pid = 20, .bundleID = "com.microsoft.teams2"});
    EXPECT_THAT(
        monitor_->snapshot(), ElementsAre(user("us.zoom.xos", 30), user("com.google.Chrome", 10)));
}

TEST_F(MicActivityMonitorTest, AProcessWhoseRecordingCannotBeReadIsSkipped) {
    audio_.fake.setProcess(1, {.runningInput = std::nullopt, .pid = 10, .bundleID = "us.zoom.xos"});
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
}

TEST_F(MicActivityMonitorTest, AnEmptySnapshotOfProcessesIsFinal) {
    audio_.fake.setRunningSomewhere(microphone, true);
    EXPECT_THAT(monitor_->snapshot(), IsEmpty()) << "the device's activity does not count then";
}

TEST_F(MicActivityMonitorTest, ThisProgramsOwnProcessIsNeverPartOfASnapshot) {
    addRecording(1, registry_.ownPid, "us.zoom.xos");
    addRecording(2, 20, "com.hnc.Discord");
    EXPECT_THAT(monitor_->snapshot(), ElementsAre(user("com.hnc.Discord", 20)));
}

TEST_F(MicActivityMonitorTest, AProcessWithoutAnIdGetsMinusOne) {
    audio_.fake.setProcess(
        1, {.runningInput = true, .pid = std::nullopt, .bundleID = "us.zoom.xos"});
    EXPECT_THAT(monitor_->snapshot(), ElementsAre(user("us.zoom.xos", -1)));
}

TEST_F(MicActivityMonitorTest, WorksWithoutBeingStarted) {
    addRecording(1, 10, "us.zoom.xos");
    EXPECT_THAT(monitor_->snapshot(), SizeIs(1));
    EXPECT_THAT(audio_.journal, IsEmpty());
}

// --- Whom a process belongs to ---

TEST_F(MicActivityMonitorTest, AChromeHelperIsKeptAsItIs) {
    addRecording(1, 10, "com.google.Chrome.helper");
    registry_.bundleIDs[10] = "com.hnc.Discord";
    EXPECT_EQ(onlyBundleID(), "com.google.Chrome.helper");
    EXPECT_THAT(registry_.lookups, IsEmpty());
}

TEST_F(MicActivityMonitorTest, AnUnknownHelperIsResolvedToItsEnclosingApplication) {
    addRecording(1, 10, "com.example.audio-helper");
    registry_.executablePaths[10] = "/Applications/Slack.app/Contents/Helpers/audio";
    registry_.applications["/Applications/Slack.app"] = "com.tinyspeck.slackmacgap";
    EXPECT_EQ(onlyBundleID(), "com.tinyspeck.slackmacgap");
}

TEST_F(MicActivityMonitorTest, NestedApplicationsResolveToTheOuterOne) {
    addRecording(1, 10);
    registry_.executablePaths[10] =
        "/Applications/Slack.app/Contents/Frameworks/Slack Helper.app/Contents/MacOS/helper";
    registry_.applications["/Applications/Slack.app"] = "com.tinyspeck.slackmacgap";
    registry_.applications["/Applications/Slack.app/Contents/Frameworks/Slack Helper.app"] =
        "com.tinyspeck.slackmacgap.helper";
    EXPECT_EQ(onlyBundleID(), "com.tinyspeck.slackmacgap");
}

TEST_F(MicActivityMonitorTest, AKnownFamilyOfTheRegistryComesBeforeTheEnclosingApplication) {
    addRecording(1, 10);
    registry_.bundleIDs[10] = "us.zoom.xos";
    registry_.executablePaths[10] = "/Applications/Outer.app/zoom";
    registry_.applications["/Applications/Outer.app"] = "com.example.outer";
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

TEST_F(MicActivityMonitorTest, TheEnclosingApplicationComesBeforeAnUnknownOneOfTheRegistry) {
    addRecording(1, 10, "com.example.server");
    registry_.bundleIDs[10] = "com.example.registry";
    registry_.executablePaths[10] = "/Applications/Outer.app/helper";
    registry_.applications["/Applications/Outer.app"] = "com.example.outer";
    EXPECT_EQ(onlyBundleID(), "com.example.outer");
}

TEST_F(MicActivityMonitorTest, AnUnknownOneOfTheRegistryComesBeforeTheAudioServers) {
    struct Case {
        const char* what;
        std::optional<std::filesystem::path> path;
    };
    std::int32_t pid = 10;
    for (const auto& [what, path] : std::vector<Case>{
             {"no path", std::nullopt},
             {"no application in the path", "/usr/bin/recorder"},
             {"only the folder itself", "/Applications/Outer.app"},
             {"an application that cannot be read", "/Applications/Broken.app/recorder"}}) {
        ++pid;
        addRecording(1, pid, "com.example.server");
        registry_.bundleIDs[pid] = "com.example.registry";
        registry_.applications["/Applications/Outer.app"] = "com.example.outer";
        if (path) {
            registry_.executablePaths[pid] = *path;
        }
        EXPECT_EQ(onlyBundleID(), "com.example.registry") << what;
    }
}

TEST_F(MicActivityMonitorTest, WithNothingBetterTheAudioServersIdentifierStays) {
    addRecording(1, 10, "com.example.server");
    EXPECT_EQ(onlyBundleID(), "com.example.server");
    addRecording(1, 10, std::nullopt);
    EXPECT_EQ(onlyBundleID(), "");
}

TEST_F(MicActivityMonitorTest, WhatWasResolvedIsRemembered) {
    addRecording(1, 10);
    addRecording(2, 20);
    addRecording(3, 30);
    registry_.bundleIDs[10] = "us.zoom.xos";
    registry_.bundleIDs[20] = "com.example.unknown";
    registry_.executablePaths[30] = "/Applications/Outer.app/helper";
    registry_.applications["/Applications/Outer.app"] = "com.example.outer";
    const auto first = monitor_->snapshot();
    EXPECT_THAT(
        first, ElementsAre(
                   user("us.zoom.xos", 10), user("com.example.unknown", 20),
                   user("com.example.outer", 30)));
    registry_.bundleIDs.clear();
    registry_.executablePaths.clear();
    registry_.lookups.clear();
    EXPECT_EQ(monitor_->snapshot(), first);
    EXPECT_THAT(registry_.lookups, IsEmpty());
}

TEST_F(MicActivityMonitorTest, WhatCouldNotBeResolvedIsTriedAgain) {
    addRecording(1, 10);
    EXPECT_EQ(onlyBundleID(), "");
    registry_.bundleIDs[10] = "us.zoom.xos";
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

TEST_F(MicActivityMonitorTest, AProcessNumberThatIsUsedAgainBelongsToTheProcessThatHasItNow) {
    addRecording(1, 10);
    registry_.bundleIDs[10] = "com.apple.replayd";
    EXPECT_EQ(onlyBundleID(), "com.apple.replayd");
    audio_.fake.removeProcess(1);
    addRecording(2, 10);
    registry_.bundleIDs[10] = "us.zoom.xos";
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

TEST_F(MicActivityMonitorTest, AProcessThatWasGoneInBetweenIsResolvedAnew) {
    addRecording(1, 10);
    registry_.bundleIDs[10] = "com.apple.replayd";
    EXPECT_EQ(onlyBundleID(), "com.apple.replayd");
    audio_.fake.removeProcess(1);
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
    addRecording(1, 10);
    registry_.bundleIDs[10] = "us.zoom.xos";
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

TEST_F(MicActivityMonitorTest, AProcessIsResolvedOnceEvenIfOthersComeAndGo) {
    addRecording(1, 10);
    registry_.bundleIDs[10] = "com.example.unknown";
    EXPECT_EQ(onlyBundleID(), "com.example.unknown");
    audio_.fake.setProcess(2, {.runningInput = false, .pid = 20});
    EXPECT_EQ(onlyBundleID(), "com.example.unknown");
    audio_.fake.removeProcess(2);
    EXPECT_EQ(onlyBundleID(), "com.example.unknown");
    EXPECT_THAT(registry_.lookups, ElementsAre(10));
}

TEST_F(MicActivityMonitorTest, TheCacheOutlivesStopping) {
    addRecording(1, 10);
    registry_.bundleIDs[10] = "us.zoom.xos";
    monitor_->start();
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
    monitor_->stop();
    registry_.bundleIDs.clear();
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

// --- Where processes cannot be told apart ---

class DeviceOnlyTest : public MicActivityMonitorTest,
                       public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override {
        MicActivityMonitorTest::SetUp();
        addRecording(1, 10, "us.zoom.xos");
        if (std::string{GetParam()} == "OldSystem") {
            audio_.fake.setCanListProcesses(false);
        } else {
            audio_.fake.setProcessesReadable(false);
        }
        audio_.fake.setRunningSomewhere(microphone, true);
    }
};

INSTANTIATE_TEST_SUITE_P(
    , DeviceOnlyTest, testing::Values("OldSystem", "UnreadableList"),
    [](const auto& tested) { return std::string{tested.param}; });

TEST_P(DeviceOnlyTest, TheSnapshotIsAtMostTheSingleAnonymousUser) {
    EXPECT_THAT(monitor_->snapshot(), ElementsAre(user("", -1)));
}

TEST_P(DeviceOnlyTest, NobodyIsReportedWhileThisProgramRecords) {
    bool recording = true;
    monitor_->isOwnCaptureRunning = [&recording] {
        return recording;
    };
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
    recording = false;
    EXPECT_THAT(monitor_->snapshot(), SizeIs(1));
}

TEST_P(DeviceOnlyTest, NobodyIsReportedWhileTheDeviceRests) {
    audio_.fake.setRunningSomewhere(microphone, false);
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
}

TEST_P(DeviceOnlyTest, NobodyIsReportedWhenTheDeviceCannotBeRead) {
    audio_.fake.setRunningSomewhere(microphone, std::nullopt);
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
}

TEST_P(DeviceOnlyTest, NobodyIsReportedWithoutADefaultDevice) {
    audio_.fake.setDefaultInputDevice(std::nullopt);
    EXPECT_THAT(monitor_->snapshot(), IsEmpty());
}

TEST_F(MicActivityMonitorTest, OwnCaptureDoesNotHideOthersWhereProcessesAreKnown) {
    monitor_->isOwnCaptureRunning = [] {
        return true;
    };
    addRecording(1, 10, "us.zoom.xos");
    EXPECT_EQ(onlyBundleID(), "us.zoom.xos");
}

// --- Window titles ---

TEST_F(MicActivityMonitorTest, CollectsTheTitlesOfAllProcessesOfTheFamilyInOrder) {
    registry_.bundleIDs = {
        {1, "com.google.Chrome"}, {2, "com.google.Chrome.helper"}, {3, "us.zoom.xos"}};
    windows_.records = {
        {.ownerPid = 2, .ownerBundleID = {}, .name = "Weekly sync - Google Meet"},
        {.ownerPid = 3, .ownerBundleID = {}, .name = "Zoom Meeting"},
        {.ownerPid = 1, .ownerBundleID = {}, .name = "Inbox"},
        {.ownerPid = 1, .ownerBundleID = {}, .name = "Inbox"}};
    EXPECT_THAT(
        monitor_->windowTitlesForFamilyOf("com.google.Chrome.helper"),
        Optional(ElementsAre("Weekly sync - Google Meet", "Inbox", "Inbox")));
}

TEST_F(MicActivityMonitorTest, SkipsWindowsWithoutATitleOrAKnownOwner) {
    registry_.bundleIDs = {{1, "com.google.Chrome"}};
    windows_.records = {
        {.ownerPid = std::nullopt, .ownerBundleID = {}, .name = "nobody's"},
        {.ownerPid = 7, .ownerBundleID = {}, .name = "unknown process"},
        {.ownerPid = 1, .ownerBundleID = {}, .name = std::nullopt},
        {.ownerPid = 1, .ownerBundleID = {}, .name = ""},
        {.ownerPid = 1, .ownerBundleID = {}, .name = "kept"}};
    EXPECT_THAT(
        monitor_->windowTitlesForFamilyOf("com.google.Chrome"), Optional(ElementsAre("kept")));
}

TEST_F(MicActivityMonitorTest, AWindowMayNameItsApplicationInsteadOfItsProcess) {
    registry_.bundleIDs = {{1, "com.google.Chrome"}, {2, "us.zoom.xos"}};
    windows_.records = {
        {.ownerPid = {}, .ownerBundleID = "com.google.Chrome", .name = "named"},
        {.ownerPid = {}, .ownerBundleID = "us.zoom.xos", .name = "another's"},
        {.ownerPid = 2, .ownerBundleID = "com.google.Chrome", .name = "the process decides"},
        {.ownerPid = 1, .ownerBundleID = "us.zoom.xos", .name = "here too"}};
    EXPECT_THAT(
        monitor_->windowTitlesForFamilyOf("com.google.Chrome"),
        Optional(ElementsAre("named", "here too")));
}

TEST_F(MicActivityMonitorTest, WithoutPermissionTheTitlesAreAbsentNotEmpty) {
    windows_.permitted = false;
    EXPECT_EQ(monitor_->windowTitlesForFamilyOf("com.google.Chrome"), std::nullopt);
    windows_.permitted = true;
    EXPECT_THAT(monitor_->windowTitlesForFamilyOf("com.google.Chrome"), Optional(IsEmpty()));
}

TEST_F(MicActivityMonitorTest, ATitleThatABrowserTellsOtherwiseIsNoOtherBrowsers) {
    windows_.toldOtherwise = {
        {.ownerPid = {}, .ownerBundleID = "org.mozilla.firefox", .name = "Weekly sync"}};
    const std::vector<MicUser> users{
        {.bundleID = "com.google.Chrome", .pid = 1, .windowTitles = {}},
        {.bundleID = "org.mozilla.firefox", .pid = 2, .windowTitles = {}}};
    windows_.permitted = false;
    auto known = monitor_->withWindowTitles(users);
    EXPECT_EQ(known.at(0).windowTitles, std::nullopt);
    EXPECT_THAT(known.at(1).windowTitles, Optional(ElementsAre("Weekly sync")));

    windows_.permitted = true;
    windows_.records = {{.ownerPid = {}, .ownerBundleID = "org.mozilla.firefox", .name = "Inbox"}};
    known = monitor_->withWindowTitles(users);
    EXPECT_THAT(known.at(0).windowTitles, Optional(IsEmpty()));
    EXPECT_THAT(known.at(1).windowTitles, Optional(ElementsAre("Inbox", "Weekly sync")));
}

TEST_F(MicActivityMonitorTest, ForAnUnknownFamilyTheTitlesAreAbsent) {
    EXPECT_EQ(monitor_->windowTitlesForFamilyOf("com.example.unknown"), std::nullopt);
    EXPECT_EQ(monitor_->windowTitlesForFamilyOf(""), std::nullopt);
}

TEST_F(MicActivityMonitorTest, WhenTheWindowsCannotBeReadTheTitlesAreAbsent) {
    windows_.records = std::nullopt;
    EXPECT_EQ(monitor_->windowTitlesForFamilyOf("com.google.Chrome"), std::nullopt);
}

TEST_F(MicActivityMonitorTest, GivesEachBrowserTheTitlesOfItsFamilyAndReadsTheWindowsOnce) {
    registry_.bundleIDs = {{1, "com.google.Chrome"}, {2, "org.mozilla.firefox"}};
    windows_.records = {
        {.ownerPid = 1, .ownerBundleID = {}, .name = "Weekly sync - Google Meet"},
        {.ownerPid = 2, .ownerBundleID = {}, .name = "Inbox"}};
    const std::vector<std::string> kept{"as it came"};
    const auto users = monitor_->withWindowTitles(
        {{.bundleID = "com.google.Chrome", .pid = 1, .windowTitles = {}},
         {.bundleID = "us.zoom.xos", .pid = 3, .windowTitles = kept},
         {.bundleID = "org.mozilla.firefox", .pid = 2, .windowTitles = {}},
         {.bundleID = "com.google.Chrome.helper", .pid = 4, .windowTitles = {}}});
    ASSERT_EQ(users.size(), 4U);
    EXPECT_THAT(users[0].windowTitles, Optional(ElementsAre("Weekly sync - Google Meet")));
    EXPECT_THAT(users[1].windowTitles, Optional(kept));
    EXPECT_THAT(users[2].windowTitles, Optional(ElementsAre("Inbox")));
    EXPECT_THAT(users[3].windowTitles, Optional(ElementsAre("Weekly sync - Google Meet")));
    EXPECT_EQ(windows_.readings, 1);

    windows_.permitted = false;
    const auto unknown = monitor_->withWindowTitles(users);
    EXPECT_EQ(unknown[0].windowTitles, std::nullopt);
    EXPECT_THAT(unknown[1].windowTitles, Optional(kept));
}

TEST_F(MicActivityMonitorTest, WithoutABrowserNobodysWindowsAreRead) {
    static_cast<void>(
        monitor_->withWindowTitles({{.bundleID = "us.zoom.xos", .pid = 3, .windowTitles = {}}}));
    EXPECT_EQ(windows_.readings, 0);
}

TEST_F(MicActivityMonitorTest, WithoutPermissionABrowserStaysUnconfirmed) {
    addRecording(1, 10, "com.google.Chrome");
    windows_.records = {
        {.ownerPid = {}, .ownerBundleID = "com.google.Chrome", .name = "Standup - Google Meet"}};
    const CallDetector detector{CallDetectorConfig{}};
    const auto isConfirmed = [&] {
        return detector.classify(monitor_->withWindowTitles(monitor_->snapshot()).at(0))->confirmed;
    };
    EXPECT_TRUE(isConfirmed());
    windows_.permitted = false;
    EXPECT_FALSE(isConfirmed());
}

TEST_F(MicActivityMonitorTest, OfATitleOnlyTheFrontIsKept) {
    const std::string front(MicActivityMonitor::maxTitleBytes - 1, 'x');
    struct Case {
        const char* what;
        std::string title;
        std::string kept;
    };
    for (const auto& [what, title, kept] : std::vector<Case>{
             {"exactly at the limit", front + "y", front + "y"},
             {"one byte more", front + "yz", front + "y"},
             {"a megabyte", std::string(1 << 20, 'm'), std::string(front.size() + 1, 'm')},
             {"a character across the limit", front + "\u00e9", front},
             {"a longer one across the limit", front + "\U0001F3A5", front},
             {"a character that ends at the limit", front.substr(1) + "\u00e9z",
              front.substr(1) + "\u00e9"},
             {"bytes that are no characters", front + "\x80\x80\x80\x80", front + "\x80"},
             {"short bytes that are no characters", "\xff\xfe\xc3(", "\xff\xfe\xc3("},
             {"a zero byte", std::string("a\0b", 3), std::string("a\0b", 3)}}) {
        windows_.records = {{.ownerPid = {}, .ownerBundleID = "us.zoom.xos", .name = title}};
        const auto titles = monitor_->windowTitlesForFamilyOf("us.zoom.xos");
        ASSERT_THAT(titles, Optional(SizeIs(1))) << what;
        EXPECT_TRUE(titles->front() == kept) << what << ": " << titles->front().size();
    }
}

TEST_F(MicActivityMonitorTest, OfManyTitlesOnlyTheFirstAreKept) {
    windows_.records->push_back(
        {.ownerPid = {}, .ownerBundleID = "com.hnc.Discord", .name = "another's"});
    for (std::size_t index = 0; index <= MicActivityMonitor::maxTitles; ++index) {
        windows_.records->push_back(
            {.ownerPid = {}, .ownerBundleID = "us.zoom.xos", .name = std::to_string(index)});
    }
    const auto titles = monitor_->windowTitlesForFamilyOf("us.zoom.xos");
    ASSERT_THAT(titles, Optional(SizeIs(MicActivityMonitor::maxTitles)));
    EXPECT_EQ(titles->front(), "0");
    EXPECT_EQ(titles->back(), std::to_string(MicActivityMonitor::maxTitles - 1));
}

// --- Listeners ---

TEST_F(MicActivityMonitorTest, StartListensToTheListsTheProcessesAndTheDevice) {
    addRecording(2, 20);
    addRecording(1, 10);
    monitor_->start();
    EXPECT_THAT(
        audio_.takeJournal(),
        ElementsAre("+processes", "+default", "+input 2", "+input 1", "+device 100"));
    EXPECT_EQ(changes_, 0) << "starting is no change";
}

TEST_F(MicActivityMonitorTest, StartingTwiceChangesNothing) {
    monitor_->start();
    audio_.takeJournal();
    addRecording(1, 10);
    monitor_->start();
    EXPECT_THAT(audio_.journal, IsEmpty());
}

TEST_F(MicActivityMonitorTest, OnAnOldSystemOnlyTheDeviceIsListenedTo) {
    audio_.fake.setCanListProcesses(false);
    addRecording(1, 10);
    monitor_->start();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("+default", "+device 100"));
    monitor_->stop();
    EXPECT_THAT(audio_.takeJournal(), UnorderedElementsAre("-default", "-device 100"));
}

TEST_F(MicActivityMonitorTest, StopTakesEveryListenerBack) {
    addRecording(1, 10);
    addRecording(2, 20);
    monitor_->start();
    audio_.takeJournal();
    monitor_->stop();
    EXPECT_THAT(
        audio_.takeJournal(),
        UnorderedElementsAre("-processes", "-default", "-input 1", "-input 2", "-device 100"));
    monitor_->stop();
    EXPECT_THAT(audio_.journal, IsEmpty());
}

TEST_F(MicActivityMonitorTest, CanBeStartedAgainAfterStopping) {
    addRecording(1, 10);
    monitor_->start();
    const auto first = audio_.takeJournal();
    monitor_->stop();
    audio_.takeJournal();
    monitor_->start();
    EXPECT_EQ(audio_.takeJournal(), first);
}

TEST_F(MicActivityMonitorTest, EveryWatchedChangeIsToldToTheOwner) {
    addRecording(1, 10);
    monitor_->start();
    audio_.fake.fireProcesses();
    EXPECT_EQ(changes_, 1);
    audio_.fake.fireDefaultInputDevice();
    EXPECT_EQ(changes_, 2);
    audio_.fake.fireRunningInput(1);
    EXPECT_EQ(changes_, 3);
    audio_.fake.fireRunningSomewhere(microphone);
    EXPECT_EQ(changes_, 4);
}

TEST_F(MicActivityMonitorTest, AChangeWithoutAnOwnerIsHarmless) {
    monitor_->onChange = {};
    monitor_->start();
    audio_.fake.fireProcesses();
    EXPECT_EQ(changes_, 0);
}

TEST_F(MicActivityMonitorTest, AChangedProcessListRewiresOnlyWhatChanged) {
    addRecording(1, 10);
    addRecording(2, 20);
    monitor_->start();
    audio_.takeJournal();
    audio_.fake.removeProcess(1);
    addRecording(3, 30);
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("-input 1", "+input 3"));
}

TEST_F(MicActivityMonitorTest, TheOwnerIsToldAfterTheRewiring) {
    monitor_->start();
    audio_.takeJournal();
    addRecording(1, 10);
    std::vector<std::string> journalAtChange;
    monitor_->onChange = [&] {
        journalAtChange = audio_.journal;
    };
    audio_.fake.fireProcesses();
    EXPECT_THAT(journalAtChange, ElementsAre("+input 1"));
}

TEST_F(MicActivityMonitorTest, AChangeOfAProcessOrADeviceRewiresNothing) {
    addRecording(1, 10);
    monitor_->start();
    audio_.takeJournal();
    addRecording(2, 20);
    audio_.fake.setDefaultInputDevice(headset);
    audio_.fake.fireRunningInput(1);
    audio_.fake.fireRunningSomewhere(microphone);
    EXPECT_THAT(audio_.journal, IsEmpty());
}

TEST_F(MicActivityMonitorTest, AFailedProcessListenerIsTriedAgainAtTheNextRewiring) {
    addRecording(1, 10);
    audio_.fake.refuseRunningInputListener(1);
    monitor_->start();
    EXPECT_THAT(
        audio_.takeJournal(), ElementsAre("+processes", "+default", "!input 1", "+device 100"));
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("!input 1"));
    audio_.fake.refuseRunningInputListener(1, false);
    audio_.fake.fireDefaultInputDevice();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("+input 1"));
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.journal, IsEmpty());
}

TEST_F(MicActivityMonitorTest, AFailedDeviceListenerIsNotTriedAgainOnTheSameDevice) {
    audio_.fake.refuseRunningSomewhereListener(microphone);
    monitor_->start();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("+processes", "+default", "!device 100"));
    audio_.fake.refuseRunningSomewhereListener(microphone, false);
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.journal, IsEmpty());
    audio_.fake.setDefaultInputDevice(headset);
    audio_.fake.fireDefaultInputDevice();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("+device 101"));
}

TEST_F(MicActivityMonitorTest, FailedSystemListenersStillCountAsStarted) {
    audio_.fake.refuseProcessesListener();
    audio_.fake.refuseDefaultInputDeviceListener();
    monitor_->start();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("!processes", "!default", "+device 100"));
    monitor_->start();
    EXPECT_THAT(audio_.journal, IsEmpty());
}

TEST_F(MicActivityMonitorTest, FollowsTheDefaultDevice) {
    monitor_->start();
    audio_.takeJournal();
    audio_.fake.setDefaultInputDevice(headset);
    audio_.fake.fireDefaultInputDevice();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("-device 100", "+device 101"));
    audio_.fake.setDefaultInputDevice(std::nullopt);
    audio_.fake.fireDefaultInputDevice();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("-device 101"));
    audio_.fake.fireDefaultInputDevice();
    EXPECT_THAT(audio_.takeJournal(), IsEmpty());
    audio_.fake.setDefaultInputDevice(microphone);
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("+device 100"));
}

TEST_F(MicActivityMonitorTest, AnUnreadableProcessListLeavesTheListenersAlone) {
    addRecording(1, 10);
    monitor_->start();
    audio_.takeJournal();
    audio_.fake.setProcessesReadable(false);
    audio_.fake.setDefaultInputDevice(headset);
    audio_.fake.fireProcesses();
    EXPECT_THAT(audio_.takeJournal(), ElementsAre("-device 100", "+device 101"));
    EXPECT_EQ(changes_, 1);
}

TEST_F(MicActivityMonitorTest, AMonitorThatIsGoneListensToNothing) {
    addRecording(1, 10);
    monitor_->start();
    monitor_.reset();
    audio_.fake.fireProcesses();
    audio_.fake.fireDefaultInputDevice();
    audio_.fake.fireRunningInput(1);
    audio_.fake.fireRunningSomewhere(microphone);
    EXPECT_EQ(changes_, 0);
    EXPECT_EQ(audio_.fake.processesListeners(), 0U);
    EXPECT_EQ(audio_.fake.runningInputListeners(1), 0U);
}

TEST_F(MicActivityMonitorTest, TheOwnerMayStopOrEndTheMonitorWhileItIsTold) {
    addRecording(1, 10);
    monitor_->start();
    monitor_->onChange = [this] {
        ++changes_;
        monitor_->stop();
    };
    audio_.fake.fireProcesses();
    EXPECT_EQ(changes_, 1);
    EXPECT_EQ(audio_.fake.runningInputListeners(1), 0U);

    monitor_->start();
    monitor_->onChange = [this] {
        ++changes_;
        monitor_.reset();
    };
    audio_.fake.fireRunningInput(1);
    EXPECT_EQ(changes_, 2);
}

} // namespace
} // namespace brindle

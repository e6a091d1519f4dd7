// Page titles in sound streams: what counts, on records; and that a real stream carries them.
#include "BrindleRecorderLinux/Windows/StreamTitles.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/SessionAudio.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace brindle {
namespace {

using pipewire::AudioGraph;
using pipewire::NodeRecord;
using pipewire::NodeState;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

WindowRecord page(const std::string& title) {
    return {std::nullopt, "org.mozilla.firefox", title};
}

/// A microphone, and a Firefox that records from it.
class PageTitles : public testing::Test {
  protected:
    static constexpr std::uint32_t microphone = 1;
    static constexpr std::uint32_t firefox = 10;
    static constexpr std::uint32_t recording = 11;

    PageTitles() {
        addNode(microphone, {{"media.class", "Audio/Source"}});
        addClient(firefox, "firefox-esr");
        addNode(recording, stream("Stream/Input/Audio", firefox, "Standup | Jitsi Meet"));
        graph.links.push_back({2, microphone, recording, true});
    }

    static pipewire::Properties
    stream(const char* mediaClass, std::uint32_t client, const char* title) {
        return {
            {"media.class", mediaClass},
            {"client.id", std::to_string(client)},
            {"media.name", title}};
    }
    void addNode(std::uint32_t id, pipewire::Properties properties) {
        graph.nodes.push_back({id, id, NodeState::running, std::move(properties)});
    }
    void addClient(std::uint32_t id, const char* binary) {
        graph.clients.push_back({id, id, {{"application.process.binary", binary}}});
    }

    AudioGraph graph;
};

TEST_F(PageTitles, AreThoseOfTheRecordingStream) {
    EXPECT_THAT(pageTitlesIn(graph), ElementsAre(page("Standup | Jitsi Meet")));
}

TEST_F(PageTitles, AreFirstThoseOfWhatTheSameFirefoxPlays) {
    addNode(12, stream("Stream/Output/Audio", firefox, "Weekly sync - Google Meet"));
    EXPECT_THAT(
        pageTitlesIn(graph),
        ElementsAre(page("Weekly sync - Google Meet"), page("Standup | Jitsi Meet")));
}

TEST_F(PageTitles, ComeOnce) {
    addNode(12, stream("Stream/Output/Audio", firefox, "Standup | Jitsi Meet"));
    EXPECT_THAT(pageTitlesIn(graph), ElementsAre(page("Standup | Jitsi Meet")));
}

TEST_F(PageTitles, AreNotThoseOfAnotherProgramsPlayback) {
    addClient(20, "vlc");
    addNode(21, stream("Stream/Output/Audio", 20, "Google Meet, the movie"));
    EXPECT_THAT(pageTitlesIn(graph), ElementsAre(page("Standup | Jitsi Meet")));
}

TEST_F(PageTitles, AreNoneWhileFirefoxOnlyPlays) {
    graph.links.clear();
    addNode(12, stream("Stream/Output/Audio", firefox, "Weekly sync - Google Meet"));
    EXPECT_THAT(pageTitlesIn(graph), IsEmpty());
}

TEST_F(PageTitles, AreNoneInTheStreamsOfOtherPrograms) {
    graph.clients.front().properties = {
        {"application.process.binary", "zen"}, {"application.name", "Firefox"}};
    EXPECT_THAT(pageTitlesIn(graph), IsEmpty());
}

TEST_F(PageTitles, AreThoseOfASandboxedFirefoxToo) {
    graph.clients.front().properties = {{"pipewire.access.portal.app_id", "org.mozilla.firefox"}};
    EXPECT_THAT(pageTitlesIn(graph), ElementsAre(page("Standup | Jitsi Meet")));
}

TEST_F(PageTitles, MayBeMissing) {
    graph.nodes.back().properties.erase("media.name");
    EXPECT_THAT(pageTitlesIn(graph), IsEmpty());
}

TEST(StreamTitles, AreNoneWithoutAServer) {
    const StreamTitles none{[] {
        return std::make_shared<const AudioGraph>();
    }};
    EXPECT_THAT(none.titles(), IsEmpty());
    const StreamTitles unreachable{[] {
        return nullptr;
    }};
    EXPECT_THAT(unreachable.titles(), IsEmpty());
}

TEST(StreamTitles, ComeFromARealStream) {
    if (std::getenv("BRINDLE_SESSION") == nullptr) {
        GTEST_SKIP() << "needs the servers of scripts/private-session";
    }
    if (!hasProgram("pacat")) {
        GTEST_SKIP() << "needs pacat (Debian: pulseaudio-utils)";
    }
    const test::TemporaryFolder folder;
    const std::filesystem::path program = folder.path() / "firefox";
    std::filesystem::copy_file(std::filesystem::canonical("/usr/bin/pacat"), program);

    test::SessionAudio audio;
    const StreamTitles titles{[&] {
        return audio.server.graph();
    }};
    {
        const ChildProcess browser{
            program,
            {"firefox", "--record", "--raw", "--stream-name=Weekly sync - Google Meet",
             "/dev/null"}};
        EXPECT_TRUE(waitUntil(audio.loop, [&] {
            return titles.titles() == std::vector{page("Weekly sync - Google Meet")};
        }));
    }
    EXPECT_TRUE(waitUntil(audio.loop, [&] { return titles.titles().empty(); }));
}

} // namespace
} // namespace brindle

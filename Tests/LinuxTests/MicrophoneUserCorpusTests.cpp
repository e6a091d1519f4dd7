// The corpus of microphone users, Fixtures/MicrophoneUsers.json: who is known, in which packaging,
// and what has to be made of each, from the sound server's properties and the process to the
// detector.
//
// A row's evidence says where the names in it are known from. What the evidence does not cover has
// the form that the packaging, or the sound server, gives it.
#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "BrindleRecorderLinux/PipeWire/PropertyReading.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/MicrophoneView.hpp"
#include "BrindleRecorderLinux/Sound/RecorderIdentity.hpp"
#include "BrindleRecorderLinux/Windows/StreamTitles.hpp"
#include "LinuxTests/FakeProc.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeWindowList.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spa/utils/dict.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using nlohmann::json;
using pipewire::AudioGraph;
using pipewire::NodeState;
using pipewire::Properties;

const std::vector<json>& corpus() {
    static const std::vector<json> rows = [] {
        std::ifstream file{BRINDLE_FIXTURES "/MicrophoneUsers.json"};
        return json::parse(file).get<std::vector<json>>();
    }();
    return rows;
}

std::string outcomeOf(const json& row) {
    return row.at("expected").at("outcome");
}

bool isCallProgramOrBrowser(const json& row) {
    return row.at("expected").contains("family");
}

/// As they come over the wire.
Properties properties(const json& object) {
    const auto texts = object.get<std::map<std::string, std::string>>();
    std::vector<spa_dict_item> items;
    for (const auto& [key, value] : texts) {
        items.push_back({key.c_str(), value.c_str()});
    }
    const spa_dict dictionary{0, static_cast<std::uint32_t>(items.size()), items.data()};
    return pipewire::propertiesOf(&dictionary);
}

NodeState stateOf(const std::string& name) {
    return name == "running" ? NodeState::running
           : name == "idle"  ? NodeState::idle
                             : NodeState::suspended;
}

/// A server with a microphone, speakers, and this row's program.
AudioGraph graphOf(const json& row) {
    constexpr std::uint32_t microphone = 40;
    constexpr std::uint32_t speakers = 41;
    constexpr std::uint32_t client = 50;
    constexpr std::uint32_t stream = 60;
    const NodeState state = stateOf(row.value("state", "running"));
    AudioGraph graph;
    graph.clients.push_back({client, client, properties(row.at("client"))});
    graph.nodes.push_back({microphone, microphone, state, {{"media.class", "Audio/Source"}}});
    graph.nodes.push_back(
        {speakers, speakers, NodeState::running, {{"media.class", "Audio/Sink"}}});
    graph.nodes.push_back({stream, stream, state, properties(row.at("stream"))});
    graph.nodes.back().properties["client.id"] = std::to_string(client);
    const std::string source = row.value("source", "microphone");
    if (source != "nothing") {
        graph.links.push_back(
            {70, source == "speakers" ? speakers : microphone, stream,
             state == NodeState::running});
    }
    return graph;
}

std::vector<FakeProcess> processesOf(const json& row) {
    std::vector<FakeProcess> processes;
    for (const json& each : row.value("processes", json::array())) {
        FakeProcess process;
        process.pid = each.at("pid");
        process.executable = each.at("executable");
        process.arguments = each.value("arguments", std::vector<std::string>{});
        process.command = each.value("command", "");
        process.parent = each.value("parent", 1);
        process.controlGroup = each.value("controlGroup", "");
        process.flatpakID = each.value("flatpak", "");
        processes.push_back(std::move(process));
    }
    return processes;
}

/// What the program makes of a row: its users of the microphone, with the titles of their windows.
std::vector<MicUser> usersIn(const json& row) {
    const FakeProc proc;
    for (const FakeProcess& process : processesOf(row)) {
        proc.add(process);
    }
    const ProcProcessRegistry registry{proc.folder()};
    const AudioGraph graph = graphOf(row);
    pipewire::ObjectNumbers numbers;
    test::FakeAudioObjects objects;
    for (const auto& process : viewOf(&graph, numbers).processes) {
        const auto identity = pipewire::identityOf(process, registry);
        objects.setProcess(
            process.id, {.runningInput = process.isRecording,
                         .pid = identity.pid,
                         .bundleID = identity.bundleIdentifier});
    }
    test::FakeWindowList windows;
    windows.toldOtherwise = pageTitlesIn(graph);
    for (const std::string& title : row.value("titles", std::vector<std::string>{})) {
        windows.records->push_back(
            {std::nullopt, row.at("expected").at("identifier").get<std::string>(), title});
    }
    MicActivityMonitor monitor{objects, registry, windows};
    return monitor.withWindowTitles(monitor.snapshot());
}

std::optional<CallDetector::Candidate>
candidate(const MicUser& user, std::set<std::string> disabledFamilies) {
    CallDetectorConfig config;
    config.disabledFamilies = std::move(disabledFamilies);
    return CallDetector{config}.classify(user);
}

class MicrophoneUserCorpus : public testing::TestWithParam<json> {};

std::string testNameOf(const json& row) {
    std::string name;
    bool isWordsFirst = true;
    for (const char letter : row.at("name").get<std::string>()) {
        if (letter == '-') {
            isWordsFirst = true;
        } else {
            name += isWordsFirst && letter >= 'a' ? static_cast<char>(letter - 'a' + 'A') : letter;
            isWordsFirst = false;
        }
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MicrophoneUserCorpus, testing::ValuesIn(corpus()),
    [](const testing::TestParamInfo<json>& row) { return testNameOf(row.param); });

TEST_P(MicrophoneUserCorpus, IsWhatItIs) {
    const json& row = GetParam();
    const json& expected = row.at("expected");
    const std::string outcome = outcomeOf(row);
    const auto users = usersIn(row);
    if (outcome == "no use") {
        EXPECT_TRUE(users.empty()) << users.front().bundleID;
        return;
    }
    ASSERT_EQ(users.size(), 1U);
    const MicUser& user = users.front();
    EXPECT_EQ(user.bundleID, expected.at("identifier").get<std::string>());
    const auto byDefault = candidate(user, {"other"});
    const auto withOthers = candidate(user, {});
    if (outcome == "ignored") {
        EXPECT_TRUE(CallCatalog::isIgnored(user.bundleID));
        EXPECT_FALSE(withOthers);
        return;
    }
    if (outcome == "unknown") {
        EXPECT_FALSE(byDefault);
        ASSERT_TRUE(withOthers);
        EXPECT_EQ(withOthers->key, "other:" + user.bundleID);
        EXPECT_FALSE(withOthers->confirmed);
        return;
    }
    ASSERT_TRUE(byDefault);
    EXPECT_EQ(byDefault->key, expected.at("family").get<std::string>());
    if (outcome == "call") {
        EXPECT_TRUE(byDefault->confirmed);
        EXPECT_EQ(byDefault->source.kind, CallSource::Kind::app);
    } else if (outcome == "meeting") {
        EXPECT_TRUE(byDefault->confirmed);
        EXPECT_EQ(byDefault->source.site, expected.at("site").get<std::string>());
    } else {
        ASSERT_EQ(outcome, "browser");
        EXPECT_FALSE(byDefault->confirmed);
        EXPECT_EQ(byDefault->source.kind, CallSource::Kind::browser);
    }
}

TEST(MicrophoneUserCorpusAsAWhole, HasEnoughOfEverything) {
    std::set<std::pair<std::string, std::string>> identities;
    std::size_t nonCalls = 0;
    std::set<std::string> names;
    for (const json& row : corpus()) {
        EXPECT_TRUE(names.insert(row.at("name")).second) << row.at("name") << " is there twice";
        EXPECT_FALSE(row.at("evidence").get<std::string>().empty()) << row.at("name");
        if (isCallProgramOrBrowser(row)) {
            identities.emplace(row.at("program"), row.at("packaging"));
        }
        if (outcomeOf(row) == "no use" || outcomeOf(row) == "ignored") {
            ++nonCalls;
        }
    }
    EXPECT_GE(identities.size(), 40U);
    EXPECT_GE(nonCalls, 15U);
}

TEST(MicrophoneUserCorpusAsAWhole, HasEveryFamilyOfThisSystemInTwoPackagings) {
    // The others have no program here: they are met in a browser, or not at all.
    const std::set<std::string> elsewhere{"facetime", "goto", "whereby", "around", "safari", "arc"};
    std::map<std::string, std::set<std::string>> packagings;
    for (const json& row : corpus()) {
        if (isCallProgramOrBrowser(row)) {
            packagings[row.at("expected").at("family")].insert(row.at("packaging"));
        }
    }
    for (const auto* families : {&CallCatalog::apps(), &CallCatalog::browsers()}) {
        for (const auto& family : *families) {
            if (!elsewhere.contains(family.id)) {
                EXPECT_GE(packagings[family.id].size(), 2U) << family.id;
            }
        }
    }
}

} // namespace
} // namespace brindle

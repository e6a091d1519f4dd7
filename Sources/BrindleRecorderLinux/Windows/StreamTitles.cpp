#include "BrindleRecorderLinux/Windows/StreamTitles.hpp"

#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"
#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

using pipewire::AudioGraph;
using pipewire::ClientRecord;
using pipewire::NodeRecord;
using pipewire::property;

constexpr std::string_view firefox = "org.mozilla.firefox";

bool isFirefox(const ClientRecord& client) {
    const auto claim = [&](std::string_view key) {
        return std::string{property(client.properties, key)};
    };
    const auto identity = identityOfClient(
        {.sandboxID = claim("pipewire.access.portal.app_id"),
         .snapName = claim("pipewire.snap.id"),
         .binary = claim("application.process.binary"),
         .applicationID = claim("application.id"),
         .applicationName = {}}, // its forks call themselves the same
        std::nullopt);
    return identity && identity->identifier == firefox;
}

bool isOf(const NodeRecord& node, const ClientRecord& client) {
    return property(node.properties, "client.id") == std::to_string(client.id);
}

bool plays(const NodeRecord& node) {
    return property(node.properties, "media.class") == "Stream/Output/Audio";
}

void addTitle(std::vector<WindowRecord>& titles, const NodeRecord& node) {
    const std::string_view title = property(node.properties, "media.name");
    if (title.empty()) {
        return;
    }
    WindowRecord record{std::nullopt, std::string{firefox}, std::string{title}};
    if (std::find(titles.begin(), titles.end(), record) == titles.end()) {
        titles.push_back(std::move(record));
    }
}

} // namespace

std::vector<WindowRecord> pageTitlesIn(const AudioGraph& graph) {
    std::vector<WindowRecord> titles;
    for (const ClientRecord& client : graph.clients) {
        std::vector<const NodeRecord*> recordings;
        std::vector<const NodeRecord*> playbacks;
        for (const NodeRecord& node : graph.nodes) {
            if (!isOf(node, client)) {
                continue;
            }
            if (recordsFromMicrophone(node, graph)) {
                recordings.push_back(&node);
            } else if (plays(node)) {
                playbacks.push_back(&node);
            }
        }
        if (recordings.empty() || !isFirefox(client)) {
            continue;
        }
        // What is there now before what was there at the beginning.
        for (const auto& streams : {playbacks, recordings}) {
            for (const NodeRecord* const stream : streams) {
                addTitle(titles, *stream);
            }
        }
    }
    return titles;
}

StreamTitles::StreamTitles(GraphSource graph) : graph_{std::move(graph)} {}

const std::vector<WindowRecord>& StreamTitles::titles() const {
    // Held on to, so that another graph cannot come to lie where this one was.
    if (auto graph = graph_(); graph != readGraph_) {
        titles_ = graph != nullptr ? pageTitlesIn(*graph) : std::vector<WindowRecord>{};
        readGraph_ = std::move(graph);
    }
    return titles_;
}

} // namespace brindle

#include "BrindleRecorderLinux/PipeWire/MicrophoneView.hpp"

#include <algorithm>
#include <charconv>
#include <set>

namespace brindle::pipewire {

namespace {

ProcessKey keyOf(const ClientRecord& client, const ClientProcess& process) {
    const bool isAnonymous = !process.pid && process.sandboxID.empty();
    return {
        process.pid.value_or(0), process.sandboxID, process.sandboxInstance, process.binary,
        isAnonymous ? client.serial : 0};
}

/// The clients, by id, that own a stream which records from a microphone.
std::set<std::uint32_t> recordingClients(const AudioGraph& graph) {
    std::set<std::uint32_t> clients;
    for (const NodeRecord& node : graph.nodes) {
        if (recordsFromMicrophone(node, graph)) {
            const std::string_view text = property(node.properties, "client.id");
            std::uint32_t client = 0;
            if (std::from_chars(text.data(), text.data() + text.size(), client).ec == std::errc{}) {
                clients.insert(client);
            }
        }
    }
    return clients;
}

void addProcesses(MicrophoneView& view, const AudioGraph& graph, ObjectNumbers& numbers) {
    const auto recording = recordingClients(graph);
    for (const ClientRecord& client : graph.clients) {
        ClientProcess process = processOf(client);
        const AudioObjectID id = numbers.numberOf(keyOf(client, process));
        auto found = std::find_if(
            view.processes.begin(), view.processes.end(),
            [id](const ProcessView& known) { return known.id == id; });
        if (found == view.processes.end()) {
            found =
                view.processes.insert(view.processes.end(), ProcessView{id, process, {}, false});
        }
        found->process.pidIsCertain = found->process.pidIsCertain || process.pidIsCertain;
        found->clients.push_back(client.properties);
        found->isRecording = found->isRecording || recording.contains(client.id);
    }
}

void addDevices(MicrophoneView& view, const AudioGraph& graph, ObjectNumbers& numbers) {
    for (const NodeRecord* microphone : devicesOf(graph, isMicrophone)) {
        const AudioObjectID id = numbers.numberOf(DeviceKey{microphone->serial});
        std::string name{property(microphone->properties, "node.name")};
        if (name == graph.defaultSourceName) {
            view.defaultDevice = id;
        }
        view.devices.push_back({id, std::move(name), isRecordedFrom(*microphone, graph)});
    }
}

} // namespace

AudioObjectID ObjectNumbers::numberOf(const Key& key) {
    const auto [entry, isNew] = numbers_.try_emplace(key);
    if (isNew) {
        entry->second.id = next_++;
    }
    entry->second.isUsed = true;
    return entry->second.id;
}

void ObjectNumbers::forgetUnused() {
    std::erase_if(numbers_, [](const auto& entry) { return !entry.second.isUsed; });
    for (auto& [key, number] : numbers_) {
        number.isUsed = false;
    }
}

const ProcessView* MicrophoneView::process(AudioObjectID id) const {
    const auto found =
        std::find_if(processes.begin(), processes.end(), [id](const ProcessView& each) {
            return each.id == id;
        });
    return found == processes.end() ? nullptr : &*found;
}

const DeviceView* MicrophoneView::device(AudioObjectID id) const {
    const auto found = std::find_if(
        devices.begin(), devices.end(), [id](const DeviceView& each) { return each.id == id; });
    return found == devices.end() ? nullptr : &*found;
}

MicrophoneView viewOf(const AudioGraph* graph, ObjectNumbers& numbers) {
    MicrophoneView view;
    if (graph != nullptr) {
        view.isAvailable = true;
        addProcesses(view, *graph, numbers);
        addDevices(view, *graph, numbers);
    }
    numbers.forgetUnused();
    return view;
}

} // namespace brindle::pipewire

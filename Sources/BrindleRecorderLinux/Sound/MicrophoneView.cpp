#include "BrindleRecorderLinux/Sound/MicrophoneView.hpp"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

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
    struct Process {
        ProcessKey key;
        ProcessView view;
        ObjectNumbers::Serials clients;
    };
    std::vector<Process> processes;
    const auto recording = recordingClients(graph);
    for (const ClientRecord& client : graph.clients) {
        const ClientProcess process = processOf(client);
        const ProcessKey key = keyOf(client, process);
        auto found = std::ranges::find(processes, key, &Process::key);
        if (found == processes.end()) {
            found = processes.insert(
                processes.end(),
                Process{.key = key, .view = {0, process, {}, false}, .clients = {}});
        }
        ProcessView& known = found->view;
        known.process.pidIsCertain = known.process.pidIsCertain || process.pidIsCertain;
        known.clients.push_back(client.properties);
        known.isRecording = known.isRecording || recording.contains(client.id);
        found->clients.insert(client.serial);
    }
    for (Process& process : processes) {
        process.view.id = numbers.numberOf(process.key, std::move(process.clients));
        view.processes.push_back(std::move(process.view));
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

AudioObjectID ObjectNumbers::numberOf(const ProcessKey& key, Serials clients) {
    Number& process = number(key);
    const bool isAnother =
        !process.clients.empty() && std::ranges::none_of(clients, [&process](std::uint64_t client) {
            return process.clients.contains(client);
        });
    if (isAnother) {
        process.id = next_++;
    }
    process.clients = std::move(clients);
    return process.id;
}

ObjectNumbers::Number& ObjectNumbers::number(const Key& key) {
    const auto [entry, isNew] = numbers_.try_emplace(key);
    if (isNew) {
        entry->second.id = next_++;
    }
    entry->second.isUsed = true;
    return entry->second;
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

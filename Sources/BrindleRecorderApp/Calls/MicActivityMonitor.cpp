#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderApp/Platform/WindowList.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

/// Stands for a process whose id is not known.
constexpr std::int32_t unknownPid = -1;

bool isOfKnownFamily(const std::string& bundleID) {
    return CallCatalog::family(bundleID) != nullptr;
}

/// The front of the title; a character of UTF-8 that does not fit whole is left out.
std::string boundedTitle(const std::string& title) {
    constexpr std::size_t limit = MicActivityMonitor::maxTitleBytes;
    if (title.size() <= limit) {
        return title;
    }
    const auto byteAt = [&title](std::size_t index) {
        return static_cast<unsigned char>(title[index]);
    };
    constexpr std::size_t longestTail = 3; // a character has at most four bytes
    std::size_t characterStart = limit;
    while (characterStart > limit - longestTail && (byteAt(characterStart) & 0xC0U) == 0x80U) {
        --characterStart;
    }
    const bool beginsCharacter = byteAt(characterStart) >= 0xC0U;
    return title.substr(0, beginsCharacter ? characterStart : limit);
}

} // namespace

MicActivityMonitor::MicActivityMonitor(
    AudioObjects& audioObjects, const ProcessRegistry& processRegistry,
    const WindowList& windowList)
    : audioObjects_{audioObjects}, processRegistry_{processRegistry},
      windowList_{windowList}, ownPid_{processRegistry.ownProcessIdentifier()} {}

void MicActivityMonitor::start() {
    if (systemListener_) {
        return;
    }
    // Listeners may hold the monitor plainly: it destroys their observations before it goes.
    const auto changed = [this] {
        rewireListeners();
        notify();
    };
    systemListener_.emplace();
    if (audioObjects_.canListProcesses()) {
        systemListener_->processes = audioObjects_.observeProcesses(changed);
    }
    systemListener_->defaultInputDevice = audioObjects_.observeDefaultInputDevice(changed);
    rewireListeners();
}

void MicActivityMonitor::stop() {
    systemListener_.reset();
    processListeners_.clear();
    deviceListener_.reset();
}

void MicActivityMonitor::notify() const {
    // A copy, because the owner may replace the callback, or end the monitor, while it runs.
    if (const auto callback = onChange) {
        callback();
    }
}

void MicActivityMonitor::rewireListeners() {
    rewireProcessListeners();
    rewireDeviceListener();
}

void MicActivityMonitor::rewireProcessListeners() {
    if (!audioObjects_.canListProcesses()) {
        return;
    }
    const auto processes = audioObjects_.processes();
    if (!processes) {
        return;
    }
    std::erase_if(processListeners_, [&processes](const auto& listener) {
        return std::find(processes->begin(), processes->end(), listener.first) == processes->end();
    });
    for (const AudioObjectID process : *processes) {
        if (processListeners_.contains(process)) {
            continue;
        }
        // One that cannot be registered is not kept, and so is tried again at the next change.
        if (auto observation = audioObjects_.observeRunningInput(process, [this] { notify(); })) {
            processListeners_.emplace(process, std::move(observation));
        }
    }
}

void MicActivityMonitor::rewireDeviceListener() {
    const auto device = audioObjects_.defaultInputDevice();
    if (device && deviceListener_ && deviceListener_->device == *device) {
        return;
    }
    deviceListener_.reset();
    if (device) {
        // Kept even when it could not be registered: a device is tried once.
        deviceListener_.emplace(DeviceListener{
            .device = *device,
            .runningSomewhere =
                audioObjects_.observeRunningSomewhere(*device, [this] { notify(); })});
    }
}

std::vector<MicUser> MicActivityMonitor::snapshot() {
    if (audioObjects_.canListProcesses()) {
        if (auto users = perProcessSnapshot()) {
            return *std::move(users);
        }
    }
    return deviceSnapshot();
}

std::optional<std::vector<MicUser>> MicActivityMonitor::perProcessSnapshot() {
    const auto processes = audioObjects_.processes();
    if (!processes) {
        return std::nullopt;
    }
    std::erase_if(resolved_, [&processes](const auto& known) {
        return std::ranges::find(*processes, known.first) == processes->end();
    });
    std::vector<MicUser> users;
    for (const AudioObjectID process : *processes) {
        if (!audioObjects_.isRunningInput(process).value_or(false)) {
            continue;
        }
        const auto pid = audioObjects_.processIdentifier(process).value_or(unknownPid);
        if (pid == ownPid_) {
            continue; // this program's own capture is nobody's call
        }
        users.push_back(
            {.bundleID = bundleIDOf(process, pid), .pid = pid, .windowTitles = std::nullopt});
    }
    return users;
}

std::vector<MicUser> MicActivityMonitor::deviceSnapshot() const {
    const auto device = audioObjects_.defaultInputDevice();
    if (!device || !audioObjects_.isRunningSomewhere(*device).value_or(false)) {
        return {};
    }
    if (isOwnCaptureRunning()) {
        return {}; // this program itself keeps the device busy; who else does cannot be told
    }
    return {{.bundleID = {}, .pid = unknownPid, .windowTitles = std::nullopt}};
}

std::optional<std::string> MicActivityMonitor::programName(const MicUser& user) const {
    // What a sandbox or the sound server says of a user may be more than its process tells.
    const bool isTheProcess =
        user.pid > 0 && processRegistry_.bundleIdentifier(user.pid) == user.bundleID;
    return isTheProcess ? processRegistry_.programName(user.pid) : std::nullopt;
}

std::string MicActivityMonitor::bundleIDOf(AudioObjectID process, std::int32_t pid) {
    auto bundleID = audioObjects_.bundleIdentifier(process).value_or(std::string{});
    if (isOfKnownFamily(bundleID)) {
        return bundleID;
    }
    return resolveBundleID(process, pid).value_or(std::move(bundleID));
}

/// Maps helper processes to the application that they work for.
std::optional<std::string>
MicActivityMonitor::resolveBundleID(AudioObjectID process, std::int32_t pid) {
    if (const auto known = resolved_.find(process);
        known != resolved_.end() && known->second.pid == pid) {
        return known->second.bundleID;
    }
    auto bundleID = processRegistry_.bundleIdentifier(pid);
    if (!bundleID || !isOfKnownFamily(*bundleID)) {
        if (auto enclosing = enclosingApplicationID(pid)) {
            bundleID = std::move(enclosing);
        }
    }
    if (bundleID) {
        resolved_.insert_or_assign(process, Resolved{.pid = pid, .bundleID = *bundleID});
    }
    return bundleID;
}

std::optional<std::string> MicActivityMonitor::enclosingApplicationID(std::int32_t pid) const {
    const auto path = processRegistry_.executablePath(pid);
    if (!path) {
        return std::nullopt;
    }
    // The first one, so that a helper application inside another leads to the outermost.
    const auto applicationEnd = path->native().find(".app/");
    if (applicationEnd == std::string::npos) {
        return std::nullopt;
    }
    return processRegistry_.bundleIdentifierOfApplication(
        path->native().substr(0, applicationEnd) + ".app");
}

std::optional<std::vector<std::string>>
MicActivityMonitor::windowTitlesForFamilyOf(const std::string& bundleID) const {
    const CallAppFamily* family = CallCatalog::family(bundleID);
    return family == nullptr ? std::nullopt : titlesOf(*family, readTitles());
}

MicActivityMonitor::Titles MicActivityMonitor::readTitles() const {
    return {
        .ofWindows = windowList_.titlesPermitted() ? windowList_.windows() : std::nullopt,
        .toldOtherwise = windowList_.titlesToldOtherwise()};
}

std::optional<std::vector<std::string>>
MicActivityMonitor::titlesOf(const CallAppFamily& family, const Titles& all) const {
    std::vector<std::string> titles;
    if (all.ofWindows) {
        addTitles(titles, family, *all.ofWindows);
    }
    addTitles(titles, family, all.toldOtherwise);
    return all.ofWindows || !titles.empty() ? std::optional{std::move(titles)} : std::nullopt;
}

void MicActivityMonitor::addTitles(
    std::vector<std::string>& titles, const CallAppFamily& family,
    const std::vector<WindowRecord>& records) const {
    for (const WindowRecord& window : records) {
        if (titles.size() == maxTitles) {
            break;
        }
        if (!window.name || window.name->empty()) {
            continue;
        }
        const auto owner = window.ownerPid ? processRegistry_.bundleIdentifier(*window.ownerPid)
                                           : window.ownerBundleID;
        if (owner && family.matches(*owner)) {
            titles.push_back(boundedTitle(*window.name));
        }
    }
}

std::vector<MicUser> MicActivityMonitor::withWindowTitles(std::vector<MicUser> users) const {
    std::optional<Titles> all;
    std::map<std::string_view, std::optional<std::vector<std::string>>> titles;
    for (MicUser& user : users) {
        const CallAppFamily* const family = CallCatalog::family(user.bundleID);
        if (family == nullptr || !family->isBrowser) {
            continue;
        }
        if (!all) {
            all = readTitles();
        }
        const auto [known, isNew] = titles.try_emplace(family->id);
        if (isNew) {
            known->second = titlesOf(*family, *all);
        }
        user.windowTitles = known->second;
    }
    return users;
}

} // namespace brindle

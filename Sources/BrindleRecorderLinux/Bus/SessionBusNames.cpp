#include "BrindleRecorderLinux/Bus/SessionBusNames.hpp"

#include <unistd.h>

#include <cstdint>

#include <memory>
#include <string_view>

namespace brindle {

namespace {

using Credentials = std::unique_ptr<sd_bus_creds, Releaser<sd_bus_creds_unref>>;

/// Null when nobody has the name.
Credentials askForOwner(sd_bus* bus, const std::string& name, std::uint64_t what) {
    sd_bus_creds* answer = nullptr;
    return Credentials{
        sd_bus_get_name_creds(bus, name.c_str(), what, &answer) >= 0 ? answer : nullptr};
}

std::string_view ownName(sd_bus* bus) {
    const char* name = nullptr;
    return sd_bus_get_unique_name(bus, &name) >= 0 ? name : "";
}

} // namespace

SessionBusNames::SessionBusNames(Bus& bus, const std::vector<std::string>& names) : bus_{bus} {
    for (const auto& name : names) {
        if (sd_bus_request_name(bus_.get(), name.c_str(), 0) < 0) {
            break;
        }
    }
    // What came meanwhile waits.
    bus_.wake();
}

bool SessionBusNames::busAnswers() const {
    return !ownName(bus_.get()).empty();
}

std::vector<RunningApplication>
SessionBusNames::withBundleIdentifier(const std::string& bundleIdentifier) const {
    const auto owner = askForOwner(bus_.get(), bundleIdentifier, SD_BUS_CREDS_UNIQUE_NAME);
    bus_.wake();
    const char* name = nullptr;
    if (!owner || sd_bus_creds_get_unique_name(owner.get(), &name) < 0) {
        return {};
    }
    if (name == ownName(bus_.get())) {
        return {{.pid = getpid()}};
    }
    // A copy in a sandbox has a process, but perhaps no number that means anything here.
    const auto process = askForOwner(bus_.get(), bundleIdentifier, SD_BUS_CREDS_PID);
    pid_t pid = 0;
    return {{.pid = process && sd_bus_creds_get_pid(process.get(), &pid) >= 0 ? pid : 0}};
}

} // namespace brindle

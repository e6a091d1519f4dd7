#include "BrindleRecorderLinux/Program/SecondLaunch.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"

#include <string>

namespace brindle {

void SecondLaunch::askForTheMenu(Bus& bus) {
    const std::string program{AppInfo::bundleIdentifier};
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(
            bus.get(), &made, program.c_str(), ControlDescription::path,
            ControlDescription::interface, "Show") < 0) {
        return;
    }
    const BusMessage call{made};
    sd_bus_message_set_auto_start(made, 0);
    sd_bus_message_set_expect_reply(made, 0);
    if (sd_bus_send(bus.get(), made, nullptr) >= 0) {
        sd_bus_flush(bus.get());
    }
}

} // namespace brindle

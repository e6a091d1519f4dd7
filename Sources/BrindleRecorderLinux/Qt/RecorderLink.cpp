#include "BrindleRecorderLinux/Qt/RecorderLink.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/Window/WindowProtocol.hpp"

#include <utility>

namespace brindle {

namespace {

const std::string recorderName{AppInfo::bundleIdentifier};

} // namespace

RecorderLink::RecorderLink(Bus& bus, const std::string& token, std::function<void()> lost)
    : lost_{std::move(lost)},
      recorder_{
          bus, recorderName,
          [this] {
              lost_();
          }},
      calls_{bus} {
    follow("SetupWindowChanged", onSetupWindowChange);
    follow("MenuWindowToFront", onMenuWindowToFront);
    auto call = makeCall("Attach");
    sd_bus_message_append(call.get(), "s", token.c_str());
    const bool isSent = calls_.send(std::move(call), [this](sd_bus_message* answer) {
        if (!isAnswer(answer)) {
            lost_();
        }
    });
    if (!isSent) {
        lost_();
    }
}

/// Whatever the handler, a member of this, is at that time.
void RecorderLink::follow(const char* signal, const std::function<void()>& handler) {
    static_cast<void>(recorder_.follow(
        WindowProtocol::path, WindowProtocol::interface, signal, [&handler](sd_bus_message*) {
            if (handler) {
                handler();
            }
        }));
}

void RecorderLink::askForSetupWindow(std::function<void(sd_bus_message* answer)> take) {
    if (!calls_.send(makeCall("GetSetupWindow"), std::move(take))) {
        lost_();
    }
}

void RecorderLink::tellSetupWindowClosed(const Done& told) {
    if (!calls_.send(makeCall("SetupWindowClosed"), [told](sd_bus_message*) { told(); })) {
        told();
    }
}

void RecorderLink::tellTrayIconShown(bool isShown) {
    auto call = makeCall("TrayIconShown");
    sd_bus_message_append(call.get(), "b", isShown ? 1 : 0);
    calls_.send(std::move(call));
}

BusMessage RecorderLink::makeCall(const char* method) const {
    auto call = calls_.make(recorderName, WindowProtocol::path, WindowProtocol::interface, method);
    sd_bus_message_set_auto_start(call.get(), 0);
    return call;
}

} // namespace brindle

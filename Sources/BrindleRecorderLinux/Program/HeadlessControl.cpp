#include "BrindleRecorderLinux/Program/HeadlessControl.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/SessionBusNames.hpp"

#include <unistd.h>

#include <string>

namespace brindle {

std::unique_ptr<HeadlessControl>
HeadlessControl::onBus(BusOnLoop& bus, AppModel& model, const AppEnvironment& environment) {
    if (!bus.isConnected()) {
        return nullptr;
    }
    const std::string ownIdentifier{AppInfo::bundleIdentifier};
    const SessionBusNames names{bus, AppInfo::sameAppBundleIdentifiers(ownIdentifier)};
    if (!names.busAnswers() || SingleInstance::anotherCopyRuns(names, getpid(), ownIdentifier)) {
        return nullptr;
    }
    return std::make_unique<HeadlessControl>(bus, model, environment);
}

HeadlessControl::HeadlessControl(Bus& bus, AppModel& model, const AppEnvironment& environment)
    : object_{bus}, content_{model, environment}, control_{
                                                      model, content_, environment.mainLoop,
                                                      object_} {
    content_.onChange = [this](const Menu& menu) {
        menu_.show(menu);
    };
    menu_.onActivation = [this](const std::string& id) {
        content_.activate(id);
    };
    menu_.onOpening = [this] {
        content_.menuWillOpen();
    };
    menu_.show(content_.menu());
    menu_.exportOn(bus);
}

} // namespace brindle

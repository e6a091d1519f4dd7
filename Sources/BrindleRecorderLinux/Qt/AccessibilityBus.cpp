#include "BrindleRecorderLinux/Qt/AccessibilityBus.hpp"

#include <QByteArray>
#include <QtGlobal>

#include <utility>

namespace brindle {

namespace {

constexpr const char* service = "org.a11y.Bus";
constexpr const char* object = "/org/a11y/bus";
constexpr const char* status = "org.a11y.Status";
constexpr const char* sessionBus = "DBUS_SESSION_BUS_ADDRESS";
constexpr const char* kept = "BRINDLE_SESSION_BUS_ADDRESS";
constexpr const char* screenReaderBus = "AT_SPI_BUS_ADDRESS";
/// What the bus's own library takes for no bus at all; without the variable it would find one.
constexpr const char* nowhere = "disabled:";

bool isTrue(sd_bus* bus, const char* property) {
    int value = 0; // the wire's booleans have the size of an int
    return sd_bus_get_property_trivial(
               bus, service, object, status, property, nullptr, 'b', &value) >= 0 &&
           value != 0;
}

QByteArray askForAddress(sd_bus* bus) {
    sd_bus_message* reply = nullptr;
    const char* address = nullptr;
    const int result =
        sd_bus_call_method(bus, service, object, service, "GetAddress", nullptr, &reply, "");
    const BusMessage answer{reply};
    return result >= 0 && sd_bus_message_read(reply, "s", &address) > 0 ? QByteArray{address}
                                                                        : QByteArray{};
}

} // namespace

AccessibilityBus::AccessibilityBus(Bus& bus) : bus_{bus}, service_{bus, service, {}}, calls_{bus} {
    isOn_ = qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON") ||
            isTrue(bus_.get(), "IsEnabled") || isTrue(bus_.get(), "ScreenReaderEnabled");
    if (isOn_ && !qEnvironmentVariableIsSet(screenReaderBus)) {
        if (const auto address = askForAddress(bus_.get()); !address.isEmpty()) {
            qputenv(screenReaderBus, address);
        }
    }
    if (qEnvironmentVariableIsSet(sessionBus)) {
        qputenv(kept, qgetenv(sessionBus));
    }
    qputenv(sessionBus, nowhere);
    // Where the bus is gone no screen reader comes any more.
    static_cast<void>(service_.follow(
        object, "org.freedesktop.DBus.Properties", "PropertiesChanged",
        [this](sd_bus_message*) { look(); }));
}

void AccessibilityBus::showSessionBusAgain() {
    if (qEnvironmentVariableIsSet(kept)) {
        qputenv(sessionBus, qgetenv(kept));
    } else {
        qunsetenv(sessionBus);
    }
    qunsetenv(kept);
}

void AccessibilityBus::look() {
    auto call = calls_.make(service, object, "org.freedesktop.DBus.Properties", "Get");
    sd_bus_message_append(call.get(), "ss", status, "IsEnabled");
    static_cast<void>(calls_.send(std::move(call), [this](sd_bus_message* answer) {
        int value = 0;
        if (!isOn_ && isAnswer(answer) && sd_bus_message_read(answer, "v", "b", &value) > 0 &&
            value != 0 && onScreenReader) {
            onScreenReader();
        }
    }));
}

} // namespace brindle

#include "BrindleRecorderLinux/Portal/SettingsPortal.hpp"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnome = "org.gnome.desktop.interface";
constexpr const char* plasma = "org.kde.kdeglobals.KDE";
constexpr const char* colourScheme = "color-scheme";
constexpr const char* reducedMotion = "reduced-motion";
constexpr const char* animations = "enable-animations";
constexpr const char* animationDuration = "AnimationDurationFactor";
constexpr double dark = 1;
constexpr double reduced = 1;
constexpr std::size_t longestText = 64;

std::optional<double> numberIn(const std::string& text) {
    double number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc{} && read.ptr == text.data() + text.size() ? std::optional{number}
                                                                           : std::nullopt;
}

template <class Type>
std::optional<Type> readBasic(sd_bus_message* message, char type) {
    Type value{};
    return sd_bus_message_read_basic(message, type, &value) > 0 ? std::optional{value}
                                                                : std::nullopt;
}

} // namespace

SettingsPortal::SettingsPortal(Bus& bus) : portal_{bus, portal, {}}, calls_{bus} {
    // Followed first, so that nothing is missed between question and answer. Where the bus is gone
    // nothing changes.
    static_cast<void>(
        portal_.follow(object, settings, "SettingChanged", [this](sd_bus_message* signal) {
            const char* group = nullptr;
            const char* key = nullptr;
            if (sd_bus_message_read(signal, "ss", &group, &key) > 0) {
                take(group, key, read(signal));
            }
        }));
    ask(appearance, colourScheme);
    ask(appearance, reducedMotion);
    ask(gnome, animations);
    ask(plasma, animationDuration);
}

void SettingsPortal::ask(const char* group, const char* key) {
    auto call = calls_.make(portal, object, settings, "Read");
    sd_bus_message_append(call.get(), "ss", group, key);
    static_cast<void>(calls_.send(std::move(call), [this, group, key](sd_bus_message* answer) {
        if (isAnswer(answer)) {
            take(group, key, read(answer));
        }
    }));
}

SettingsPortal::Value SettingsPortal::read(sd_bus_message* message) {
    char type = 0;
    // Older portals wrap what they answer once more.
    constexpr int mostWrappings = 3;
    for (int wrapping = 0; wrapping <= mostWrappings; ++wrapping) {
        const char* inside = nullptr;
        if (sd_bus_message_peek_type(message, &type, &inside) <= 0) {
            return {};
        }
        if (type != SD_BUS_TYPE_VARIANT) {
            break;
        }
        if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, inside) < 0) {
            return {};
        }
    }
    switch (type) {
    case SD_BUS_TYPE_BOOLEAN:
        if (const auto value = readBasic<int>(message, type)) {
            return *value != 0;
        }
        return {};
    case SD_BUS_TYPE_UINT32:
        if (const auto value = readBasic<std::uint32_t>(message, type)) {
            return static_cast<double>(*value);
        }
        return {};
    case SD_BUS_TYPE_INT32:
        if (const auto value = readBasic<std::int32_t>(message, type)) {
            return static_cast<double>(*value);
        }
        return {};
    case SD_BUS_TYPE_DOUBLE:
        if (const auto value = readBasic<double>(message, type)) {
            return *value;
        }
        return {};
    case SD_BUS_TYPE_STRING:
        if (const auto value = readBasic<const char*>(message, type);
            value && std::string_view{*value}.size() <= longestText) {
            return std::string{*value};
        }
        return {};
    default:
        return {};
    }
}

void SettingsPortal::take(std::string_view group, std::string_view key, const Value& value) {
    const bool wasDark = prefersDark_;
    const bool wasReduced = reducesMotion();
    const auto* const number = std::get_if<double>(&value);
    if (group == appearance && key == colourScheme) {
        prefersDark_ = number != nullptr && *number == dark;
    } else if (group == appearance && key == reducedMotion) {
        reducedByDesktop_ = number != nullptr && *number == reduced;
    } else if (group == gnome && key == animations) {
        animationsSwitchedOff_ = value == Value{false};
    } else if (group == plasma && key == animationDuration) {
        const auto* const text = std::get_if<std::string>(&value);
        const auto factor = text != nullptr     ? numberIn(*text)
                            : number != nullptr ? std::optional{*number}
                                                : std::nullopt;
        animationsTakeNoTime_ = factor && *factor <= 0;
    }
    if (wasDark != prefersDark_ && onPrefersDarkChange) {
        onPrefersDarkChange();
    }
    if (wasReduced != reducesMotion() && onReducesMotionChange) {
        onReducesMotionChange();
    }
}

} // namespace brindle

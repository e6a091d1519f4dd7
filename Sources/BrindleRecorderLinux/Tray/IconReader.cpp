#include "BrindleRecorderLinux/Tray/IconReader.hpp"

#include <string_view>
#include <utility>

namespace brindle {

namespace {

constexpr const char* interface = "org.kde.StatusNotifierItem";
constexpr std::size_t longestTitle = 1000;

std::optional<IconReader::Picture> readPicture(sd_bus_message* message, bool& isWellFormed) {
    IconReader::Picture picture;
    const void* bytes = nullptr;
    std::size_t count = 0;
    isWellFormed = sd_bus_message_read(message, "ii", &picture.width, &picture.height) > 0 &&
                   sd_bus_message_read_array(message, 'y', &bytes, &count) >= 0 &&
                   sd_bus_message_exit_container(message) > 0;
    const auto fits = [](int pixels) {
        return pixels > 0 && pixels <= IconReader::mostPixels;
    };
    if (!isWellFormed || !fits(picture.width) || !fits(picture.height) ||
        count != static_cast<std::size_t>(picture.width) *
                     static_cast<std::size_t>(picture.height) * 4) {
        return std::nullopt;
    }
    const auto* const first = static_cast<const std::uint8_t*>(bytes);
    picture.bytes.assign(first, first + count);
    return picture;
}

} // namespace

IconReader::IconReader(Bus& bus, const std::string& name, const std::string& path)
    : name_{name}, path_{path}, owner_{bus, name, {}}, calls_{bus} {
    // Where the bus is gone nothing changes any more.
    static_cast<void>(
        owner_.follow(path_, interface, "NewIcon", [this](sd_bus_message*) { askForPictures(); }));
    static_cast<void>(
        owner_.follow(path_, interface, "NewTitle", [this](sd_bus_message*) { askForTitle(); }));
    askForTitle();
    askForPictures();
}

void IconReader::ask(const char* property, std::function<void(sd_bus_message* value)> take) {
    auto call = calls_.make(name_, path_.c_str(), "org.freedesktop.DBus.Properties", "Get");
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message_append(call.get(), "ss", interface, property);
    static_cast<void>(
        calls_.send(std::move(call), [take = std::move(take)](sd_bus_message* answer) {
            if (isAnswer(answer)) {
                take(answer);
            }
        }));
}

void IconReader::askForPictures() {
    ask("IconPixmap", [this](sd_bus_message* value) {
        if (auto pictures = read(value)) {
            icon_.pictures = std::move(*pictures);
            tell();
        }
    });
}

void IconReader::askForTitle() {
    ask("Title", [this](sd_bus_message* value) {
        const char* title = nullptr;
        if (sd_bus_message_read(value, "v", "s", &title) > 0 &&
            std::string_view{title}.size() <= longestTitle) {
            icon_.title = title;
            tell();
        }
    });
}

void IconReader::tell() {
    if (onIcon && !icon_.pictures.empty()) {
        onIcon(icon_);
    }
}

std::optional<std::vector<IconReader::Picture>> IconReader::read(sd_bus_message* pictures) {
    std::vector<Picture> result;
    if (sd_bus_message_enter_container(pictures, 'v', "a(iiay)") <= 0 ||
        sd_bus_message_enter_container(pictures, 'a', "(iiay)") <= 0) {
        return std::nullopt;
    }
    while (result.size() < mostPictures &&
           sd_bus_message_enter_container(pictures, 'r', "iiay") > 0) {
        bool isWellFormed = false;
        auto picture = readPicture(pictures, isWellFormed);
        if (!isWellFormed) {
            return std::nullopt;
        }
        if (picture) {
            result.push_back(std::move(*picture));
        }
    }
    return result;
}

} // namespace brindle

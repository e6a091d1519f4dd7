#include "BrindleRecorderLinux/Tray/StatusNotifierItem.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"
#include "BrindleRecorderLinux/Bus/ObjectTable.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"

#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <utility>

namespace brindle {

namespace {

/// From the smallest panels to large ones at twice the scale: a panel takes the size that it shows,
/// and scales only what lies between.
constexpr std::array iconSizes{16, 18, 22, 24, 32, 36, 44, 48, 64};

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";

int sayNoWindow(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "i", 0);
}
int sayNoPictures(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "a(iiay)", 0);
}
int sayThatItIsAMenu(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "b", 1);
}
int sayMenu(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "o", ExportedMenu::path);
}
int doNothing(sd_bus_message* call) {
    return sd_bus_reply_method_return(call, nullptr);
}

/// Four bytes a pixel, alpha first, not premultiplied. Signature (iiay).
int append(sd_bus_message* message, const IconPicture& picture) {
    sd_bus_message_open_container(message, 'r', "iiay");
    sd_bus_message_append(message, "ii", picture.side, picture.side);
    sd_bus_message_append_array(message, 'y', picture.bytes.data(), picture.bytes.size());
    return sd_bus_message_close_container(message);
}

bool hasNobodyAnswered(sd_bus_message* answer) {
    return sd_bus_error_has_names(
               sd_bus_message_get_error(answer), SD_BUS_ERROR_SERVICE_UNKNOWN,
               SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT,
               "org.freedesktop.DBus.Error.TimedOut", SD_BUS_ERROR_DISCONNECTED) != 0;
}

bool saysThatThereIsAHost(sd_bus_message* answer) {
    if (!isAnswer(answer)) {
        // A watcher that does not know the question is a panel of its own.
        return !hasNobodyAnswered(answer);
    }
    int flag = 0; // the wire's booleans have the size of an int
    return sd_bus_message_read(answer, "v", "b", &flag) > 0 && flag != 0;
}

/// To the watcher, filled with words. Whoever keeps the register is not started for our sake.
template <class... Words>
BusMessage makeCall(
    BusCalls& calls, const char* interface, const char* method, const char* types, Words... words) {
    BusMessage call = calls.make(watcherName, watcherPath, interface, method);
    if (call == nullptr || sd_bus_message_set_auto_start(call.get(), 0) < 0 ||
        sd_bus_message_append(call.get(), types, words...) < 0) {
        return nullptr;
    }
    return call;
}

std::string ownServiceName() {
    return "org.kde.StatusNotifierItem-" + std::to_string(getpid()) + "-1";
}

} // namespace

const sd_bus_vtable* StatusNotifierItem::table() {
    using Self = StatusNotifierItem;
    constexpr auto constant = SD_BUS_VTABLE_PROPERTY_CONST;
    constexpr auto anybody = SD_BUS_VTABLE_UNPRIVILEGED;
    // Most panels show the menu by themselves and call none of the methods.
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("Category", "s", &bustable::sayText<"ApplicationStatus">, 0, constant),
        SD_BUS_PROPERTY("Id", "s", &bustable::sayText<"brindle-recorder">, 0, constant),
        SD_BUS_PROPERTY("Title", "s", &bustable::say<&Self::sayTitle>, 0, 0),
        SD_BUS_PROPERTY("Status", "s", &bustable::sayText<"Active">, 0, constant),
        SD_BUS_PROPERTY("WindowId", "i", &bustable::say<&sayNoWindow>, 0, constant),
        SD_BUS_PROPERTY("IconThemePath", "s", &bustable::sayText<"">, 0, constant),
        SD_BUS_PROPERTY("IconName", "s", &bustable::sayText<"">, 0, constant),
        SD_BUS_PROPERTY("IconPixmap", "a(iiay)", &bustable::say<&Self::sayPictures>, 0, 0),
        SD_BUS_PROPERTY("IconAccessibleDesc", "s", &bustable::say<&Self::sayTitle>, 0, 0),
        SD_BUS_PROPERTY("OverlayIconName", "s", &bustable::sayText<"">, 0, constant),
        SD_BUS_PROPERTY(
            "OverlayIconPixmap", "a(iiay)", &bustable::say<&sayNoPictures>, 0, constant),
        SD_BUS_PROPERTY("AttentionIconName", "s", &bustable::sayText<"">, 0, constant),
        SD_BUS_PROPERTY(
            "AttentionIconPixmap", "a(iiay)", &bustable::say<&sayNoPictures>, 0, constant),
        SD_BUS_PROPERTY("AttentionAccessibleDesc", "s", &bustable::say<&Self::sayTitle>, 0, 0),
        SD_BUS_PROPERTY("AttentionMovieName", "s", &bustable::sayText<"">, 0, constant),
        SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", &bustable::say<&Self::sayToolTip>, 0, 0),
        SD_BUS_PROPERTY("ItemIsMenu", "b", &bustable::say<&sayThatItIsAMenu>, 0, constant),
        SD_BUS_PROPERTY("Menu", "o", &bustable::say<&sayMenu>, 0, constant),
        // Panels do not agree on whose pixels they count the place in; the pointer is where the
        // click was.
        SD_BUS_METHOD_WITH_NAMES(
            "Activate", "ii", SD_BUS_PARAM(x) SD_BUS_PARAM(y), "", ,
            &bustable::handle<&Self::openMenu>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "ContextMenu", "ii", SD_BUS_PARAM(x) SD_BUS_PARAM(y), "", ,
            &bustable::handle<&Self::openMenu>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "SecondaryActivate", "ii", SD_BUS_PARAM(x) SD_BUS_PARAM(y), "", ,
            &bustable::handle<&doNothing>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "Scroll", "is", SD_BUS_PARAM(delta) SD_BUS_PARAM(orientation), "", ,
            &bustable::handle<&doNothing>, anybody),
        SD_BUS_SIGNAL("NewTitle", "", 0),
        SD_BUS_SIGNAL("NewIcon", "", 0),
        SD_BUS_SIGNAL("NewAttentionIcon", "", 0),
        SD_BUS_SIGNAL("NewOverlayIcon", "", 0),
        SD_BUS_SIGNAL("NewToolTip", "", 0),
        SD_BUS_SIGNAL_WITH_NAMES("NewStatus", "s", SD_BUS_PARAM(status), 0),
        SD_BUS_VTABLE_END,
    };
    return table;
}

bool StatusNotifierItem::exportOn(Bus& bus) {
    const std::string name = ownServiceName();
    sd_bus_slot* object = nullptr;
    if (sd_bus_add_object_vtable(bus.get(), &object, path, interface, table(), this) < 0) {
        return false;
    }
    object_.reset(object);
    if (sd_bus_request_name(bus.get(), name.c_str(), 0) < 0) {
        object_.reset();
        return false;
    }
    bus_ = &bus;
    followWatcher();
    introduce();
    return true;
}

void StatusNotifierItem::followWatcher() {
    watcher_.emplace(*bus_, watcherName, [this] {
        isRegistered_ = false;
        refusals_ = 0;
        nextIntroduction_.reset();
        if (watcher_->owner().empty()) {
            setTaken(false);
        } else {
            introduce();
        }
    });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        // Where the bus is gone there is nobody to hear of.
        static_cast<void>(watcher_->follow(
            watcherPath, watcherName, signal, [this](sd_bus_message*) { askForHost(); }));
    }
}

/// Where there is nobody the call fails, and the watcher's appearance leads to another.
void StatusNotifierItem::introduce() {
    BusCalls& calls = introduction_.emplace(*bus_);
    BusMessage call =
        makeCall(calls, watcherName, "RegisterStatusNotifierItem", "s", ownServiceName().c_str());
    const bool isSent = calls.send(std::move(call), [this](sd_bus_message* answer) {
        isRegistered_ = isAnswer(answer);
        if (isRegistered_) {
            askForHost();
            return;
        }
        setTaken(false);
        if (!hasNobodyAnswered(answer)) {
            introduceAgainLater();
        }
    });
    if (!isSent) {
        setTaken(false);
    }
}

/// Some panels take the watcher's name a moment before they can be talked to.
void StatusNotifierItem::introduceAgainLater() {
    constexpr int mostRefusals = 8;
    constexpr std::chrono::milliseconds firstPause{250};
    if (refusals_ < mostRefusals) {
        nextIntroduction_ =
            mainLoop_.after(firstPause * (1 << refusals_++), [this] { introduce(); });
    }
}

/// Whoever keeps the register need not be a panel, and several panels may share it.
void StatusNotifierItem::askForHost() {
    BusCalls& calls = question_.emplace(*bus_);
    BusMessage call = makeCall(
        calls, "org.freedesktop.DBus.Properties", "Get", "ss", watcherName,
        "IsStatusNotifierHostRegistered");
    // Where the bus is gone nobody shows anything.
    static_cast<void>(calls.send(std::move(call), [this](sd_bus_message* answer) {
        setTaken(isRegistered_ && saysThatThereIsAHost(answer));
    }));
}

void StatusNotifierItem::setTaken(bool isTaken) {
    if (isTaken_ != isTaken) {
        isTaken_ = isTaken;
        if (onTakenChange) {
            onTakenChange();
        }
    }
}

void StatusNotifierItem::show(const IconImage& image) {
    const bool saysAnother = image.accessibilityDescription != image_.accessibilityDescription;
    const bool looksDifferent = image.size != image_.size || image.operations != image_.operations;
    image_ = image;
    if (looksDifferent) {
        pictures_.clear();
        announce("NewIcon");
    }
    if (saysAnother) {
        announce("NewTitle");
        announce("NewToolTip");
    }
}

void StatusNotifierItem::announce(const char* member) {
    if (bus_ != nullptr) {
        sd_bus_emit_signal(bus_->get(), path, interface, member, nullptr);
        bus_->wake();
    }
}

int StatusNotifierItem::sayTitle(sd_bus_message* answer) const {
    return sd_bus_message_append(
        answer, "s", BusText::valid(image_.accessibilityDescription).c_str());
}

int StatusNotifierItem::sayToolTip(sd_bus_message* answer) const {
    const std::string title = BusText::valid(image_.accessibilityDescription);
    return sd_bus_message_append(answer, "(sa(iiay)ss)", "", 0, title.c_str(), "");
}

int StatusNotifierItem::sayPictures(sd_bus_message* answer) {
    if (pictures_.empty() && !image_.operations.empty()) {
        for (const int size : iconSizes) {
            pictures_.push_back(IconPainter::paint(image_, size));
        }
    }
    sd_bus_message_open_container(answer, 'a', "(iiay)");
    for (const IconPicture& picture : pictures_) {
        append(answer, picture);
    }
    return sd_bus_message_close_container(answer);
}

// Whoever hears of the click opens the menu.
// NOLINTNEXTLINE(readability-make-member-function-const)
int StatusNotifierItem::openMenu(sd_bus_message* call) {
    if (onMenuRequest) {
        onMenuRequest();
    }
    return sd_bus_reply_method_return(call, nullptr);
}

} // namespace brindle

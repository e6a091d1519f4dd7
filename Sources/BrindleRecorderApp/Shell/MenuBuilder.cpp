#include "BrindleRecorderApp/Shell/MenuBuilder.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <utility>

namespace brindle {

namespace {

using Command = CommandedMenu::Command;
using Items = std::vector<MenuItem>;

MenuItem text(std::string id, std::string words) {
    return {std::move(id), MenuItem::Text{std::move(words)}};
}

MenuItem submenu(std::string id, std::string title, std::vector<MenuItem> items) {
    return {std::move(id), MenuItem::Submenu{std::move(title), std::move(items)}};
}

std::string deviceLabel(const std::string& name, bool checked) {
    return checked ? "✓ " + name : name;
}

std::string systemDefaultLabel(const std::optional<std::string>& name, bool checked) {
    return deviceLabel("System default (" + name.value_or("none") + ")", checked);
}

class MenuBuilder {
  public:
    explicit MenuBuilder(AppModel& model) : model_{model} {}

    CommandedMenu build(Command openCompanion);

  private:
    struct DevicePicker {
        std::string id;
        std::string title;
        std::string noneFound;
        const std::vector<CaptureDeviceInfo>& devices;
        const std::optional<CaptureDeviceInfo>& systemDefault;
        Preference<std::optional<std::string>>& preferred;
    };

    void addSection(const std::string& id, Items items);

    Items status();
    Items devicePickers();
    MenuItem devicePicker(const DevicePicker& picker);
    Items recordingCommands();
    MenuItem settings();
    Items folder();
    Items launchAtLogin();
    [[nodiscard]] MenuItem setup() const;
    MenuItem quit();

    MenuItem button(
        std::string id, std::string title, Command command,
        std::optional<MenuShortcut> shortcut = {});
    MenuItem toggle(std::string id, std::string title, bool isOn, Command command);

    AppModel& model_;
    CommandedMenu result_;
};

CommandedMenu MenuBuilder::build(Command openCompanion) {
    if (openCompanion) {
        addSection(
            "companion",
            {button("companion.open", "Open Brindle Content System", std::move(openCompanion))});
    }
    addSection("status", status());
    addSection("devices", devicePickers());
    addSection("recording", recordingCommands());
    addSection("folder", folder());
    addSection("login", launchAtLogin());
    addSection("setup", {setup()});
    addSection("quit", {quit()});
    return std::move(result_);
}

void MenuBuilder::addSection(const std::string& id, Items items) {
    if (!result_.menu.empty()) {
        result_.menu.push_back({"divider." + id, MenuItem::Divider{}});
    }
    for (MenuItem& item : items) {
        result_.menu.push_back(std::move(item));
    }
}

Items MenuBuilder::status() {
    Items items{text(
        "status", MenuBarIconStateMapper::statusLine(
                      menuBarIconState(model_, model_.permissions), model_.statusLine.get()))};
    if (const auto& warning = model_.captureWarning.get()) {
        items.push_back(text("status.warning", "Warning: " + *warning));
    }
    if (const auto& label = model_.pendingAskLabel.get()) {
        const auto answer = [this](bool record) {
            return [&model = model_, record] {
                model.answerPendingAsk(record);
            };
        };
        // Named after the call, so that a click meant for one prompt never answers another.
        items.push_back(button("ask.record." + *label, "Record", answer(true)));
        items.push_back(button("ask.skip." + *label, "Skip", answer(false)));
    }
    return items;
}

Items MenuBuilder::devicePickers() {
    return {
        devicePicker(
            {.id = "camera",
             .title = "Camera",
             .noneFound = "No cameras found",
             .devices = model_.devices.cameras().get(),
             .systemDefault = model_.devices.systemDefaultCamera().get(),
             .preferred = model_.settings.preferredVideoDeviceID}),
        devicePicker(
            {.id = "microphone",
             .title = "Microphone",
             .noneFound = "No microphones found",
             .devices = model_.devices.microphones().get(),
             .systemDefault = model_.devices.systemDefaultMicrophone().get(),
             .preferred = model_.settings.preferredAudioDeviceID})};
}

MenuItem MenuBuilder::devicePicker(const DevicePicker& picker) {
    if (picker.devices.empty()) {
        return submenu(picker.id, picker.title, {text(picker.id + ".none", picker.noneFound)});
    }
    const auto choose = [this, &picker](const std::optional<std::string>& uniqueID) {
        return [&model = model_, &preferred = picker.preferred, uniqueID] {
            preferred.set(uniqueID);
            model.refreshStatusLine();
        };
    };
    const auto& chosen = picker.preferred.get();
    const auto& systemDefault = picker.systemDefault;
    Items items{button(
        picker.id + ".default",
        systemDefaultLabel(
            systemDefault ? std::optional{systemDefault->localizedName} : std::nullopt, !chosen),
        choose(std::nullopt))};
    for (const CaptureDeviceInfo& device : picker.devices) {
        items.push_back(button(
            picker.id + ".device." + device.uniqueID,
            deviceLabel(device.localizedName, chosen == device.uniqueID), choose(device.uniqueID)));
    }
    return submenu(picker.id, picker.title, std::move(items));
}

Items MenuBuilder::recordingCommands() {
    Items items;
    if (model_.sessionState.get().isRecording()) {
        items.push_back(button("recording.stop", "Stop recording", [&model = model_] {
            model.stopRecordingFromMenu();
        }));
        items.push_back(button("recording.discard", "Stop and Discard", [&model = model_] {
            model.stopAndDiscard();
        }));
    } else {
        items.push_back(button(
            "recording.start", "Record now", [&model = model_] { model.recordNowFromMenu(); }));
    }
    items.push_back(settings());
    return items;
}

MenuItem MenuBuilder::settings() {
    Items items{text("settings.heading", "Auto-record calls in:")};
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        const auto isOn = [&model = model_, id = family.id] {
            return !model.settings.disabledCallFamilies.get().contains(id);
        };
        items.push_back(toggle(
            "settings.family." + family.id, family.name, isOn(),
            [&model = model_, id = family.id, isOn] { model.setAutoRecord(id, !isOn()); }));
    }
    auto& ask = model_.settings.askBeforeRecording;
    items.push_back(
        toggle("settings.ask", "Ask before recording", ask.get(), [&ask] { ask.set(!ask.get()); }));
    return submenu("settings", "Settings", std::move(items));
}

Items MenuBuilder::folder() {
    return {
        button(
            "folder.open", "Open Recordings Folder",
            [&model = model_] { model.openRecordingsFolder(); }),
        text("folder.size", "Recordings folder: " + model_.folderSizeText.get())};
}

Items MenuBuilder::launchAtLogin() {
    auto& login = model_.launchAtLogin;
    Items items{toggle("login", "Launch at Login", login.isEnabled().get(), [&login] {
        login.set(!login.isEnabled().get());
    })};
    if (const auto& error = login.lastError().get()) {
        items.push_back(text("login.error", "Launch at login failed: " + *error));
    }
    if (login.requiresApproval().get()) {
        items.push_back(
            text("login.approval", "Approve in System Settings > General > Login Items"));
    }
    return items;
}

MenuItem MenuBuilder::setup() const {
    Items items;
    for (const SetupItem& item : model_.permissions.setupItems()) {
        items.push_back(text("setup." + item.id, item.title));
        if (item.fixHint) {
            items.push_back(text("setup." + item.id + ".hint", *item.fixHint));
        }
    }
    return submenu("setup", "Permissions and Setup", std::move(items));
}

MenuItem MenuBuilder::quit() {
    return button(
        "quit", "Quit Brindle Recorder", [&model = model_] { model.requestQuit(); },
        MenuShortcut{'q'});
}

MenuItem MenuBuilder::button(
    std::string id, std::string title, Command command, std::optional<MenuShortcut> shortcut) {
    result_.commands.insert_or_assign(id, std::move(command));
    return {std::move(id), MenuItem::Button{std::move(title), shortcut}};
}

MenuItem MenuBuilder::toggle(std::string id, std::string title, bool isOn, Command command) {
    result_.commands.insert_or_assign(id, std::move(command));
    return {std::move(id), MenuItem::Toggle{std::move(title), isOn}};
}

} // namespace

CommandedMenu buildMenu(AppModel& model, Command openCompanion) {
    return MenuBuilder{model}.build(std::move(openCompanion));
}

} // namespace brindle

#include "BrindleRecorderApp/Shell/MenuBuilder.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/DesktopWords.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderApp/Words/MenuTexts.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"
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

/// Programs have the same name in every language.
std::string nameOf(const CallAppFamily& family) {
    return family.id == CallCatalog::otherApps().id ? MenuTexts::otherApps() : family.name;
}

class MenuBuilder {
  public:
    MenuBuilder(AppModel& model, const DesktopWords& words) : model_{model}, words_{words} {}

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
    const DesktopWords& words_;
    CommandedMenu result_;
};

CommandedMenu MenuBuilder::build(Command openCompanion) {
    if (openCompanion) {
        addSection(
            "companion",
            {button("companion.open", MenuTexts::openCompanion(), std::move(openCompanion))});
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
        items.push_back(text("status.warning", MenuTexts::warning(*warning)));
    }
    if (const auto& label = model_.pendingAskLabel.get()) {
        const auto answer = [this](bool record) {
            return [&model = model_, record] {
                model.answerPendingAsk(record);
            };
        };
        items.push_back(
            button(MenuLine::answerRecord + *label, NoticeTexts::record(), answer(true)));
        items.push_back(button(MenuLine::answerSkip + *label, NoticeTexts::skip(), answer(false)));
    }
    return items;
}

Items MenuBuilder::devicePickers() {
    return {
        devicePicker(
            {.id = "camera",
             .title = MenuTexts::camera(),
             .noneFound = MenuTexts::noCameras(),
             .devices = model_.devices.cameras().get(),
             .systemDefault = model_.devices.systemDefaultCamera().get(),
             .preferred = model_.settings.preferredVideoDeviceID}),
        devicePicker(
            {.id = "microphone",
             .title = MenuTexts::microphone(),
             .noneFound = MenuTexts::noMicrophones(),
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
        MenuTexts::systemDefault(
            systemDefault ? std::optional{systemDefault->localizedName} : std::nullopt, !chosen),
        choose(std::nullopt))};
    for (const CaptureDeviceInfo& device : picker.devices) {
        items.push_back(button(
            picker.id + ".device." + device.uniqueID,
            MenuTexts::device(device.localizedName, chosen == device.uniqueID),
            choose(device.uniqueID)));
    }
    return submenu(picker.id, picker.title, std::move(items));
}

Items MenuBuilder::recordingCommands() {
    Items items;
    if (model_.sessionState.get().isRecording()) {
        items.push_back(
            button(MenuLine::stopRecording, MenuTexts::stopRecording(), [&model = model_] {
                model.stopRecordingFromMenu();
            }));
        items.push_back(
            button(MenuLine::stopAndDiscard, MenuTexts::stopAndDiscard(), [&model = model_] {
                model.stopAndDiscard();
            }));
    } else {
        items.push_back(button(MenuLine::recordNow, MenuTexts::recordNow(), [&model = model_] {
            model.recordNowFromMenu();
        }));
    }
    items.push_back(settings());
    return items;
}

MenuItem MenuBuilder::settings() {
    Items items{text("settings.heading", MenuTexts::autoRecordHeading())};
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        if (words_.absentFamilies.contains(family.id)) {
            continue;
        }
        const auto isOn = [&model = model_, id = family.id] {
            return !model.settings.disabledCallFamilies.get().contains(id);
        };
        items.push_back(toggle(
            "settings.family." + family.id, nameOf(family), isOn(),
            [&model = model_, id = family.id, isOn] { model.setAutoRecord(id, !isOn()); }));
    }
    // No further program to tick.
    items.push_back({"settings.divider.ask", MenuItem::Divider{}});
    auto& ask = model_.settings.askBeforeRecording;
    items.push_back(toggle("settings.ask", MenuTexts::askBeforeRecording(), ask.get(), [&ask] {
        ask.set(!ask.get());
    }));
    return submenu("settings", MenuTexts::settings(), std::move(items));
}

Items MenuBuilder::folder() {
    return {
        button(
            MenuLine::openFolder, MenuTexts::openFolder(),
            [&model = model_] { model.openRecordingsFolder(); }),
        text("folder.size", MenuTexts::folderSize(model_.folderSizeText.get()))};
}

Items MenuBuilder::launchAtLogin() {
    auto& login = model_.launchAtLogin;
    Items items{toggle("login", MenuTexts::launchAtLogin(), login.isEnabled().get(), [&login] {
        login.set(!login.isEnabled().get());
    })};
    if (const auto& error = login.lastError().get()) {
        items.push_back(text("login.error", MenuTexts::loginFailed(*error)));
    }
    if (login.requiresApproval().get()) {
        items.push_back(text("login.approval", words_.loginApproval));
    }
    return items;
}

MenuItem MenuBuilder::setup() const {
    Items items;
    for (const SetupItem& item : model_.permissions.setupItems()) {
        items.push_back(text("setup." + item.id, MenuTexts::setupItem(item.title, !item.fixHint)));
        if (item.fixHint) {
            items.push_back(text("setup." + item.id + ".hint", *item.fixHint));
        }
    }
    return submenu("setup", MenuTexts::setup(), std::move(items));
}

MenuItem MenuBuilder::quit() {
    return button(
        MenuLine::quit, MenuTexts::quit(), [&model = model_] { model.requestQuit(); },
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

CommandedMenu buildMenu(AppModel& model, const DesktopWords& words, Command openCompanion) {
    return MenuBuilder{model, words}.build(std::move(openCompanion));
}

} // namespace brindle

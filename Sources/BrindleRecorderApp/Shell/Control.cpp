#include "BrindleRecorderApp/Shell/Control.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"

#include <string>
#include <utility>

namespace brindle {

namespace {

/// The line of the menu that does the same.
std::string lineFor(const ControlCommand& command) {
    using Kind = ControlCommand::Kind;
    switch (command.kind) {
    case Kind::show:
        break; // is no line
    case Kind::record:
        return MenuLine::recordNow;
    case Kind::stop:
        return MenuLine::stopRecording;
    case Kind::discard:
        return MenuLine::stopAndDiscard;
    case Kind::answerRecord:
        return MenuLine::answerRecord + command.question;
    case Kind::answerSkip:
        return MenuLine::answerSkip + command.question;
    case Kind::openFolder:
        return MenuLine::openFolder;
    case Kind::quit:
        return MenuLine::quit;
    }
    return {};
}

ProgramStatus::State stateOf(const AppModel& model) {
    const auto& session = model.sessionState.get();
    if (session.isRecording()) {
        return ProgramStatus::State::recording;
    }
    if (model.pendingAskLabel.get()) {
        return ProgramStatus::State::asking;
    }
    return session.isArmed() ? ProgramStatus::State::armed : ProgramStatus::State::idle;
}

} // namespace

Control::Control(
    AppModel& model, MenuContent& menu, MainLoop& mainLoop, ControlPort& port,
    std::function<bool()> showMenu)
    : model_{model}, menu_{menu}, port_{port}, showMenu_{std::move(showMenu)},
      telling_{mainLoop, [this] {
                   port_.showStatus(status());
               }} {
    follow(model.sessionState);
    follow(model.statusLine);
    follow(model.captureWarning);
    follow(model.lastRecordingError);
    follow(model.pendingAskLabel);
    follow(model.settings.changes());
    follow(model.devices.cameras());
    follow(model.devices.microphones());
    follow(model.devices.systemDefaultCamera());
    follow(model.devices.systemDefaultMicrophone());
    follow(model.permissions.cameraAuthorized);
    follow(model.permissions.microphoneAuthorized);
    port.showStatus(status());
    port.setCommandHandler([this](const ControlCommand& command) { return carryOut(command); });
}

Control::~Control() {
    port_.setCommandHandler({});
}

bool Control::carryOut(const ControlCommand& command) {
    if (command.kind == ControlCommand::Kind::show) {
        return showMenu_ && showMenu_();
    }
    return menu_.activate(lineFor(command));
}

template <class Field>
void Control::follow(Field& field) {
    observations_.push_back(field.observe([this](const auto&) { telling_.request(); }));
}

ProgramStatus Control::status() const {
    const auto icon = menuBarIconState(model_, model_.permissions);
    const auto* const problem = icon.errorMessage();
    return {
        .state = stateOf(model_),
        .line = MenuBarIconStateMapper::statusLine(icon, model_.statusLine.get()),
        .call = model_.currentCallName(),
        .camera = model_.selectedCameraName(),
        .microphone = model_.selectedMicrophoneName(),
        .warning = model_.captureWarning.get(),
        .problem = problem != nullptr ? std::optional{*problem} : std::nullopt,
        .question = model_.pendingAskLabel.get(),
        .folder = model_.folder().root,
    };
}

} // namespace brindle

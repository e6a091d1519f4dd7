#include "BrindleRecorderApp/Shell/MenuBarLabel.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"

namespace brindle {

MenuBarLabel::MenuBarLabel(
    const AppModel& model, const AppEnvironment& environment, StatusItem& statusItem)
    : model_{model}, workspace_{environment.workspace}, statusItem_{statusItem},
      animator_{environment.mainLoop, environment.dateProvider, environment.workspace},
      refreshing_{environment.mainLoop, [this] {
                      refresh();
                  }} {
    follow(model.sessionState);
    follow(model.lastRecordingError);
    follow(model.permissions.cameraAuthorized);
    follow(model.permissions.microphoneAuthorized);
    // What only changes how the same state is drawn is drawn at once.
    observations_.push_back(animator_.time().observe([this](const auto&) { draw(); }));
    observations_.push_back(animator_.reduceMotion().observe([this](const auto&) { draw(); }));
    observations_.push_back(workspace_.observeAppearance([this] { draw(); }));
    refresh();
}

template <class Field>
void MenuBarLabel::follow(const Field& field) {
    observations_.push_back(field.observe([this](const auto&) { refreshing_.request(); }));
}

void MenuBarLabel::refresh() {
    state_ = menuBarIconState(model_, model_.permissions);
    if (animator_.wantsAnimation() != state_.isAnimated()) {
        animator_.setWantsAnimation(state_.isAnimated());
    }
    draw();
}

void MenuBarLabel::draw() {
    auto image = MenuBarIconRenderer::image(
        state_, animator_.time().get(), animator_.reduceMotion().get(), workspace_.appearance());
    if (shown_ != image) {
        shown_ = std::move(image);
        statusItem_.showIcon(*shown_);
    }
}

} // namespace brindle

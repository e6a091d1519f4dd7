#include "BrindleRecorderApp/Shell/MenuOnRequest.hpp"

#include "BrindleRecorderApp/Platform/MenuWindow.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"

#include <chrono>

namespace brindle {

namespace {

/// A panel that opens menus when it is asked does so at once; nobody likes to wait for the others.
constexpr std::chrono::milliseconds patienceWithThePanel{700};

} // namespace

MenuOnRequest::MenuOnRequest(const StatusItem& statusItem, MenuWindow* window, MainLoop& mainLoop)
    : statusItem_{statusItem}, window_{window}, mainLoop_{mainLoop} {}

bool MenuOnRequest::show() {
    if (window_ == nullptr) {
        return false;
    }
    if (statusItem_.isShown() && window_->askThePanel()) {
        patience_ = mainLoop_.after(patienceWithThePanel, [this] {
            patience_.reset();
            window_->show();
        });
    } else {
        window_->show();
    }
    return true;
}

} // namespace brindle

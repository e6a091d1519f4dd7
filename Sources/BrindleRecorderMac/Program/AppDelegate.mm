#include "BrindleRecorderMac/Program/AppDelegate.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/AppShell.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderMac/AppKit/AppKitWorkspace.hpp"
#include "BrindleRecorderMac/AppKit/RunningCopies.hpp"
#include "BrindleRecorderMac/AppKit/StatusBarItem.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"
#include "BrindleRecorderMac/Program/MacServices.hpp"
#include "BrindleRecorderMac/Program/NoControl.hpp"

#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

namespace brindle {

/// All of the program, each part after those that it uses.
class Application {
  public:
    explicit Application(std::unique_ptr<RunningCopies> copies) : copies_{std::move(copies)} {
        model.onQuitRequest = [] {
            [[NSApplication sharedApplication] terminate:nil];
        };
        // While it watches, the system must not let it fall asleep for want of a window.
        const id begun = [[NSProcessInfo processInfo]
            beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                              reason:@"Watching for calls"];
        activity = keeping<NSObject>(begun);
    }
    ~Application() { [[NSProcessInfo processInfo] endActivity:activity.get()]; }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    MacServices services;
    StatusBarItem statusItem;
    AppKitWorkspace workspace{statusItem.button()};
    const AppEnvironment environment = services.environment(workspace);
    AppModel model{environment, RecordingsFolder{RecordingsFolder::defaultRoot()}};
    NoControl control;
    AppShell shell{model, environment, statusItem, control};
    Retained<NSObject> activity;

  private:
    std::unique_ptr<RunningCopies> copies_; ///< held, so that later ones leave
};

namespace {

std::string ownIdentifier() {
    NSString* const identifier = [[NSBundle mainBundle] bundleIdentifier];
    return identifier != nil ? stringOf(identifier) : std::string{AppInfo::bundleIdentifier};
}

} // namespace

} // namespace brindle

@implementation BrindleAppDelegate
- (void)applicationWillFinishLaunching:(NSNotification*)notification {
    static_cast<void>(notification);
    const std::string identifier = brindle::ownIdentifier();
    auto copies = std::make_unique<brindle::RunningCopies>(
        identifier, brindle::MacServices::supportFolder() / "running");
    // A second copy leaves before anything of it shows.
    if (brindle::SingleInstance::anotherCopyRuns(*copies, ::getpid(), identifier)) {
        std::exit(EXIT_SUCCESS);
    }
    application_ = new brindle::Application{std::move(copies)};
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    static_cast<void>(notification);
    application_->shell.launch();
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
    // The second request does not wait for the recording's conversion.
    if (application_ == nullptr || isQuitting_) {
        return NSTerminateNow;
    }
    isQuitting_ = YES;
    application_->model.prepareToQuit([sender] { [sender replyToApplicationShouldTerminate:YES]; });
    return NSTerminateLater;
}

- (void)applicationWillTerminate:(NSNotification*)notification {
    static_cast<void>(notification);
    delete application_;
    application_ = nullptr;
}
@end

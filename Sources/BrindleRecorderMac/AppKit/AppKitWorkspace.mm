#include "BrindleRecorderMac/AppKit/AppKitWorkspace.hpp"

#include "BrindleRecorderMac/Foundation/NotificationObservation.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <utility>

/// Hears of changes of one property of another object.
@interface BrindlePropertyObserver : NSObject {
  @public
    std::function<void()> changed_;
}
@end

@implementation BrindlePropertyObserver
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
    static_cast<void>(keyPath);
    static_cast<void>(object);
    static_cast<void>(change);
    static_cast<void>(context);
    // A copy, because the listener may end its observation.
    if (const auto changed = changed_) {
        changed();
    }
}
@end

namespace brindle {

namespace {

NSString* const appearanceKey = @"effectiveAppearance";

class AppearanceObservation final : public Observation {
  public:
    AppearanceObservation(NSView* view, Workspace::Listener listener)
        : view_{keeping(view)}, observer_{taking([[BrindlePropertyObserver alloc] init])} {
        observer_.get()->changed_ = std::move(listener);
        [view addObserver:observer_.get() forKeyPath:appearanceKey options:0 context:nullptr];
    }
    ~AppearanceObservation() override {
        [view_.get() removeObserver:observer_.get() forKeyPath:appearanceKey];
    }
    AppearanceObservation(const AppearanceObservation&) = delete;
    AppearanceObservation& operator=(const AppearanceObservation&) = delete;

  private:
    Retained<NSView> view_;
    Retained<BrindlePropertyObserver> observer_;
};

std::optional<std::filesystem::path> optionalPath(NSURL* url) {
    const auto path = pathOf(url);
    return path.empty() ? std::nullopt : std::optional{path};
}

} // namespace

void AppKitWorkspace::openFolder(const std::filesystem::path& folder) {
    @autoreleasepool {
        [[NSWorkspace sharedWorkspace] openURL:fileUrl(folder)];
    }
}

std::optional<std::filesystem::path> AppKitWorkspace::ownApplication() const {
    @autoreleasepool {
        return optionalPath([[NSBundle mainBundle] bundleURL]);
    }
}

std::optional<std::filesystem::path>
AppKitWorkspace::application(const std::string& bundleIdentifier) const {
    @autoreleasepool {
        return optionalPath([[NSWorkspace sharedWorkspace]
            URLForApplicationWithBundleIdentifier:nsString(bundleIdentifier)]);
    }
}

void AppKitWorkspace::openApplication(const std::filesystem::path& application) {
    @autoreleasepool {
        [[NSWorkspace sharedWorkspace]
            openApplicationAtURL:fileUrl(application)
                   configuration:[NSWorkspaceOpenConfiguration configuration]
               completionHandler:nil];
    }
}

bool AppKitWorkspace::reducesMotion() const {
    return [[NSWorkspace sharedWorkspace] accessibilityDisplayShouldReduceMotion] != NO;
}

std::unique_ptr<Observation> AppKitWorkspace::observeReduceMotion(Listener listener) {
    return observeNotifications(
        [[NSWorkspace sharedWorkspace] notificationCenter],
        NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification, nil,
        [listener = std::move(listener)](NSNotification*) { listener(); });
}

Appearance AppKitWorkspace::appearance() const {
    @autoreleasepool {
        NSString* const match = [[iconView_.get() effectiveAppearance]
            bestMatchFromAppearancesWithNames:[NSArray arrayWithObjects:NSAppearanceNameAqua,
                                                                        NSAppearanceNameDarkAqua,
                                                                        nil]];
        return [match isEqualToString:NSAppearanceNameDarkAqua] ? Appearance::dark
                                                                : Appearance::light;
    }
}

std::unique_ptr<Observation> AppKitWorkspace::observeAppearance(Listener listener) {
    return std::make_unique<AppearanceObservation>(iconView_.get(), std::move(listener));
}

} // namespace brindle

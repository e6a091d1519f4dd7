// The program: an application of the menu bar, which its delegate wires together.
#include "BrindleRecorderMac/Program/AppDelegate.hpp"

int main() {
    @autoreleasepool {
        NSApplication* const application = [NSApplication sharedApplication];
        // The application does not keep its delegate.
        BrindleAppDelegate* const delegate = [[BrindleAppDelegate alloc] init];
        [application setDelegate:delegate];
        [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
        [application run];
        [delegate release];
    }
    return 0;
}

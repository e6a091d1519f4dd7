// How the application begins and ends.
#pragma once

#import <AppKit/AppKit.h>

namespace brindle {
class Application;
}

/// Owns all of the program from the end of its launching to the end of its process.
@interface BrindleAppDelegate : NSObject <NSApplicationDelegate> {
    brindle::Application* application_;
    BOOL isQuitting_;
}
@end

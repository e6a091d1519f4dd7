// The tests of the macOS adapters.
#include "Support/TemporaryFolder.hpp"

#import <AppKit/AppKit.h>

#include <cstdlib>
#include <gtest/gtest.h>

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
using NoLeakCheck = __lsan::ScopedDisabler;
#else
struct NoLeakCheck {
    NoLeakCheck() = default;
    ~NoLeakCheck() {}
};
#endif

namespace {

/// Whatever a test has autoreleased is gone before the next.
class PoolForEachTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*info*/) override {
        pool_ = [[NSAutoreleasePool alloc] init];
    }
    void OnTestEnd(const testing::TestInfo& /*info*/) override { [pool_ release]; }

    NSAutoreleasePool* pool_ = nil;
};

} // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    // Whatever a test records, keeps or removes, it is never the user's.
    const brindle::test::TemporaryFolder home;
    setenv("HOME", home.path().c_str(), 1);
    @autoreleasepool {
        {
            // What GNUstep makes once and for all.
            const NoLeakCheck quiet;
            [NSApplication sharedApplication];
            [NSUserDefaults standardUserDefaults];
            [NSOperationQueue mainQueue];
        }
        testing::UnitTest::GetInstance()->listeners().Append(new PoolForEachTest);
        return RUN_ALL_TESTS();
    }
}

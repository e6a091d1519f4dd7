// The whole application over the macOS adapters, from its delegate to the files in the user's
// folder. What the frameworks do is scripted; time passes as fast as the stand-ins' clock is set
// forward.
#include "BrindleRecorderCore/Base/HomeDirectory.hpp"
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Program/AppDelegate.hpp"

#include "GNUstep/AudioStandIn.hpp"
#include "GNUstep/CaptureStandIn.hpp"
#include "GNUstep/NotificationStandIn.hpp"
#include "GNUstep/SystemStandIn.hpp"
#include "Support/ExampleSidecar.hpp"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

/// Stands where the delegate says that the program may end.
@interface BrindleTerminator : NSObject {
  @public
    BOOL mayEnd_;
}
- (void)replyToApplicationShouldTerminate:(BOOL)should;
@end

@implementation BrindleTerminator
- (void)replyToApplicationShouldTerminate:(BOOL)should {
    mayEnd_ = should;
}
@end

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::audioStandIn;
using test::captureStandIn;
using test::notificationStandIn;
using test::systemStandIn;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr ::AudioObjectID zoomsObject = 40;

class Scene : public testing::Test {
  protected:
    Scene() {
        test::SystemStandIn::reset();
        test::AudioStandIn::reset();
        test::CaptureStandIn::reset();
        test::NotificationStandIn::reset();
        std::filesystem::remove_all(folder_);
        systemStandIn.importantCapacity = 100'000'000'000;
        captureStandIn.devices = {
            {.uniqueID = "cam", .name = "FaceTime HD", .transport = 'bltn'},
            {.uniqueID = "mic", .name = "Built-in", .transport = 'bltn', .isCamera = false}};
        captureStandIn.defaultCamera = "cam";
        captureStandIn.authorization = {{"vide", 3}, {"soun", 3}};
        captureStandIn.writesMovies = true;
        captureStandIn.anyDuration = CMTimeMake(20, 1);
        audioStandIn.set(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList, {});
        audioStandIn.set(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultInputDevice, {90});
        audioStandIn.texts[{90, kAudioDevicePropertyDeviceUID}] = "mic";
    }
    ~Scene() override {
        [delegate_.get() applicationWillTerminate:nil];
        pass(1s);
    }

    void launch() {
        [delegate_.get() applicationWillFinishLaunching:nil];
        [delegate_.get() applicationDidFinishLaunching:nil];
    }

    /// Zoom takes the microphone, or lets go of it.
    static void zoomIsInACall(bool isInACall) {
        audioStandIn.set(
            kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList, {zoomsObject});
        audioStandIn.set(zoomsObject, kAudioProcessPropertyPID, {1234});
        audioStandIn.texts[{zoomsObject, kAudioProcessPropertyBundleID}] = "us.zoom.xos";
        audioStandIn.set(zoomsObject, kAudioProcessPropertyIsRunningInput, {isInACall ? 1U : 0U});
        audioStandIn.announce(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    }

    static void pass(std::chrono::milliseconds time) {
        test::sleepFor(time);
        @autoreleasepool {
            test::drainMainQueue();
        }
    }

    /// Lets time pass, half a second at a time.
    static bool passUntil(const std::function<bool()>& condition) {
        constexpr int longest = 400;
        for (int i = 0; i < longest && !condition(); ++i) {
            pass(500ms);
        }
        return condition();
    }

    std::vector<std::string> filesWith(const std::string& extension) const {
        std::vector<std::string> names;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator{folder_, none}) {
            if (entry.path().extension() == extension) {
                names.push_back(entry.path().stem());
            }
        }
        std::ranges::sort(names);
        return names;
    }

    std::optional<Sidecar> sidecar(const std::string& baseName) const {
        std::ifstream file{folder_ / (baseName + ".json")};
        std::ostringstream text;
        text << file.rdbuf();
        const auto read = SidecarCoding::decode(text.str());
        return read ? std::optional{*read} : std::nullopt;
    }

    static std::vector<std::string> notices() {
        std::vector<std::string> bodies;
        for (const auto& shown : notificationStandIn.shown) {
            bodies.push_back(shown.body);
        }
        return bodies;
    }

    static std::ptrdiff_t starts() {
        return std::ranges::count(captureStandIn.calls, "start recording");
    }

    const std::filesystem::path folder_ = homeDirectory() / "Movies" / "Brindle";
    const Retained<BrindleAppDelegate> delegate_ = taking([[BrindleAppDelegate alloc] init]);
};

TEST_F(Scene, ACallBecomesAnMp4) {
    launch();
    zoomIsInACall(true);
    ASSERT_TRUE(passUntil([] { return captureStandIn.wasCalled("start recording"); }));
    ASSERT_EQ(filesWith(".mov").size(), 1U);
    const std::string baseName = filesWith(".mov").front();
    EXPECT_TRUE(sidecar(baseName)) << "from its first second";
    pass(10s);
    zoomIsInACall(false);
    EXPECT_TRUE(passUntil([&] { return !filesWith(".mp4").empty() && filesWith(".mov").empty(); }));
    EXPECT_THAT(filesWith(".mp4"), ElementsAre(baseName));
    ASSERT_TRUE(passUntil([&] { return sidecar(baseName) && sidecar(baseName)->endedAt; }));
    EXPECT_FALSE(sidecar(baseName)->interrupted);
    EXPECT_EQ(sidecar(baseName)->videoDevice, "FaceTime HD");
    EXPECT_EQ(sidecar(baseName)->source->bundleID, "us.zoom.xos");
}

TEST_F(Scene, AFailureIsFollowedByANewFile) {
    launch();
    zoomIsInACall(true);
    ASSERT_TRUE(passUntil([] { return starts() == 1; }));
    pass(2s);
    test::endMovie([NSError errorWithDomain:@"AVFoundationErrorDomain" code:-11819 userInfo:nil]);
    EXPECT_TRUE(passUntil([] { return starts() == 2; }));
    EXPECT_THAT(notices(), Contains(HasSubstr("Restarting capture into a new file.")));
    pass(2s);
    zoomIsInACall(false);
    EXPECT_TRUE(
        passUntil([&] { return filesWith(".mp4").size() == 2 && filesWith(".mov").empty(); }));
    EXPECT_EQ(filesWith(".json").size(), 2U);
}

TEST_F(Scene, ALaunchAfterACrashMendsWhatItLeft) {
    auto interrupted = test::exampleSidecar();
    interrupted.endedAt.reset();
    std::filesystem::create_directories(folder_);
    std::ofstream{folder_ / "b.json"} << SidecarCoding::encode(interrupted, TimeZone::utc());
    std::ofstream{folder_ / "b.mov"} << "captured";
    launch();
    EXPECT_TRUE(passUntil([&] { return filesWith(".mov").empty(); }));
    EXPECT_THAT(filesWith(".mp4"), ElementsAre("b"));
    EXPECT_TRUE(passUntil([&] { return sidecar("b") && sidecar("b")->interrupted; }));
    EXPECT_TRUE(passUntil([] { return !notices().empty(); }));
    EXPECT_THAT(notices(), Contains("Recovered 1 interrupted recording(s)."));
}

TEST_F(Scene, QuittingWaitsForTheRecording) {
    launch();
    zoomIsInACall(true);
    ASSERT_TRUE(passUntil([] { return captureStandIn.wasCalled("start recording"); }));
    pass(5s);
    const auto terminator = taking([[BrindleTerminator alloc] init]);
    const id sender = terminator.get();
    EXPECT_EQ(
        [delegate_.get() applicationShouldTerminate:sender],
        static_cast<NSApplicationTerminateReply>(NSTerminateLater));
    EXPECT_FALSE(terminator.get()->mayEnd_);
    EXPECT_TRUE(passUntil([&] { return terminator.get()->mayEnd_ != NO; }));
    EXPECT_EQ(filesWith(".mp4").size(), 1U);
    EXPECT_TRUE(filesWith(".mov").empty());
    EXPECT_EQ(
        [delegate_.get() applicationShouldTerminate:sender],
        static_cast<NSApplicationTerminateReply>(NSTerminateNow));
}

} // namespace
} // namespace brindle

// The adapters held to what the seam promises, over the stand-ins.
#include "BrindleRecorderMac/AVFoundation/AVCaptureSystem.hpp"
#include "BrindleRecorderMac/AVFoundation/AVMovieExporter.hpp"
#include "BrindleRecorderMac/Dispatch/ContinuousClock.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/UserDefaultsStore.hpp"
#include "BrindleRecorderMac/UserNotifications/NotificationCenter.hpp"

#include "Contract/CaptureContract.hpp"
#include "Contract/DefaultsStoreContract.hpp"
#include "Contract/MainLoopContract.hpp"
#include "Contract/MovieExporterContract.hpp"
#include "Contract/UserNotificationsContract.hpp"
#include "GNUstep/CaptureStandIn.hpp"
#include "GNUstep/NotificationStandIn.hpp"
#include "GNUstep/SystemStandIn.hpp"
#include "Support/TemporaryFolder.hpp"

#include <algorithm>
#include <fstream>

namespace brindle::test {
namespace {

template <class Kind>
class OnMainQueue : public Kind {
  public:
    bool becomes(const std::function<bool()>& condition) override { return eventually(condition); }
};

class MacMainLoop final : public OnMainQueue<MainLoopSubject> {
  public:
    MainLoop& loop() override { return loop_; }
    std::chrono::nanoseconds now() const override { return timeSinceBoot(); }
    bool sleep(std::chrono::nanoseconds time) override {
        sleepFor(time);
        return true;
    }

  private:
    DispatchMainLoop loop_;
};

class MacDefaults final : public DefaultsStoreSubject {
  public:
    MacDefaults() {
        NSDictionary* const kept =
            [standard_ persistentDomainForName:[[NSProcessInfo processInfo] processName]];
        for (NSString* key in [kept allKeys]) {
            [standard_ removeObjectForKey:key];
        }
    }
    DefaultsStore& store() override { return *store_; }
    void startAgain() override { store_ = std::make_unique<UserDefaultsStore>(standard_); }
    void putMixedList(const std::string& key) override {
        [standard_ setObject:[NSArray arrayWithObjects:@"a", [NSNumber numberWithInt:1], nil]
                      forKey:[NSString stringWithUTF8String:key.c_str()]];
    }

  private:
    NSUserDefaults* const standard_ = [NSUserDefaults standardUserDefaults];
    std::unique_ptr<UserDefaultsStore> store_ = std::make_unique<UserDefaultsStore>(standard_);
};

class MacNotifications final : public OnMainQueue<UserNotificationsSubject> {
  public:
    MacNotifications() {
        SystemStandIn::reset();
        NotificationStandIn::reset();
        notifications_ = std::make_unique<NotificationCenter>();
    }
    ~MacNotifications() override {
        notifications_.reset();
        drainMainQueue();
        NotificationStandIn::reset();
    }
    UserNotifications& notifications() override { return *notifications_; }
    std::vector<std::string> shownTitles() override {
        std::vector<std::string> titles;
        for (const auto& shown : notificationStandIn.shown) {
            titles.push_back(shown.title);
        }
        return titles;
    }
    void respond(const std::string& title, const std::string& action) override {
        auto& all = notificationStandIn.shown;
        const auto found = std::ranges::find(all, title, &NotificationStandIn::Shown::title);
        ASSERT_NE(found, all.end());
        const auto shown = *found;
        all.erase(found);
        const bool isClick = action == NotificationResponse::defaultAction;
        const bool isDismissal = action == NotificationResponse::dismissAction;
        test::respond(
            isClick       ? "com.apple.UNNotificationDefaultActionIdentifier"
            : isDismissal ? "com.apple.UNNotificationDismissActionIdentifier"
                          : action,
            shown);
    }
    bool letsThemStay() override { return false; }
    void refuse(bool refuses) override { notificationStandIn.refusesPosts = refuses; }
    int refusals() override { return notificationStandIn.refusedPosts; }
    bool hold() override {
        notificationStandIn.holdsPosts = true;
        return true;
    }
    void release() override {
        notificationStandIn.holdsPosts = false;
        takePosts();
    }

  private:
    std::unique_ptr<NotificationCenter> notifications_;
};

/// Nothing of the framework's is left when a test is over.
template <class Kind>
class OverAVFoundation : public OnMainQueue<Kind> {
  protected:
    OverAVFoundation() { CaptureStandIn::reset(); }
    ~OverAVFoundation() override {
        [pool_ release];
        drainMainQueue();
        EXPECT_TRUE(eventually([] { return captureObjects() == 0; }))
            << captureObjects() << " objects are left";
    }

    NSAutoreleasePool* const pool_ = [[NSAutoreleasePool alloc] init];
    TemporaryFolder folder_;
};

class MacCapture final : public OverAVFoundation<CaptureSubject> {
  public:
    MacCapture() {
        captureStandIn.authorization = {
            {"vide", AVAuthorizationStatusAuthorized}, {"soun", AVAuthorizationStatusAuthorized}};
        captureStandIn.writesMovies = true;
    }
    CaptureSystem& system() override { return system_; }
    void plug(MediaType mediaType, const std::string& uniqueID) override {
        const bool isCamera = mediaType == MediaType::video;
        captureStandIn.devices.push_back(
            {.uniqueID = uniqueID, .name = uniqueID, .isCamera = isCamera});
        if (isCamera) {
            captureStandIn.defaultCamera = uniqueID;
        }
        announce(AVCaptureDeviceWasConnectedNotification);
    }
    void unplug(const std::string& uniqueID) override {
        std::erase_if(captureStandIn.devices, [&](const auto& device) {
            return device.uniqueID == uniqueID;
        });
        if (captureStandIn.defaultCamera == uniqueID) {
            captureStandIn.defaultCamera.reset();
        }
        announce(AVCaptureDeviceWasDisconnectedNotification);
    }
    void failSession(const std::string& /*microphone*/) override {
        test::failSession([NSError errorWithDomain:@"AVFoundationErrorDomain"
                                              code:-11819
                                          userInfo:nil]);
    }
    std::filesystem::path writable() override { return folder_.path() / "a.mov"; }
    std::filesystem::path unwritable() override {
        captureStandIn.raising = {"start recording"};
        return "/nowhere/a.mov";
    }

  private:
    static void announce(NSString* name) {
        onForeignThread([name] {
            [[NSNotificationCenter defaultCenter] postNotificationName:name object:nil];
        });
    }

    AVCaptureSystem system_{[](const std::string& complaint) {
        ADD_FAILURE() << complaint;
    }};
};

class MacExporter final : public OverAVFoundation<MovieExporterSubject> {
  public:
    MacExporter() {
        std::ofstream{movie()} << "movie";
        captureStandIn.durations = {
            {movie().string(), CMTimeMake(60, 1)}, {writable().string(), CMTimeMake(60, 1)}};
    }
    MovieExporter& exporter() override { return exporter_; }
    std::filesystem::path movie() override { return folder_.path() / "a.mov"; }
    Seconds duration() const override { return Seconds{60}; }
    std::filesystem::path unreadable() override { return folder_.path() / "unreadable.mov"; }
    std::filesystem::path unexportable() override {
        captureStandIn.exportCanBeMade = false;
        return unreadable();
    }
    std::filesystem::path writable() override { return folder_.path() / "a.mp4"; }
    std::filesystem::path unwritable() override { return folder_.path() / "missing" / "a.mp4"; }
    bool isThere(const std::filesystem::path& path) override {
        return std::filesystem::exists(path);
    }
    void takeTime() override { captureStandIn.exportWaits = true; }
    void proceed() override { endExports(); }

  private:
    AVMovieExporter exporter_;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Mac, MainLoopContract, MainLoopContract::heldBy<MacMainLoop>("DispatchMainLoop"));
INSTANTIATE_TEST_SUITE_P(
    Mac, DefaultsStoreContract, DefaultsStoreContract::heldBy<MacDefaults>("UserDefaultsStore"));
INSTANTIATE_TEST_SUITE_P(
    Mac, UserNotificationsContract,
    UserNotificationsContract::heldBy<MacNotifications>("NotificationCenter"));
INSTANTIATE_TEST_SUITE_P(
    Mac, CaptureSystemContract, CaptureSystemContract::heldBy<MacCapture>("AVCaptureSystem"));
INSTANTIATE_TEST_SUITE_P(
    Mac, CaptureSessionContract,
    CaptureSessionContract::heldBy<MacCapture>("AVCaptureSessionHandle"));
INSTANTIATE_TEST_SUITE_P(
    Mac, MovieExporterContract, MovieExporterContract::heldBy<MacExporter>("AVMovieExporter"));

} // namespace brindle::test

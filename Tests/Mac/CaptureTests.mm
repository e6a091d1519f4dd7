// Cameras, microphones, movies and exports over a scripted AVFoundation.
#include "BrindleRecorderMac/AVFoundation/AVCaptureSystem.hpp"
#include "BrindleRecorderMac/AVFoundation/AVMovieExporter.hpp"
#include "BrindleRecorderMac/AVFoundation/AVMovieOutput.hpp"
#include "BrindleRecorderMac/AVFoundation/MediaTime.hpp"

#include "GNUstep/CaptureStandIn.hpp"
#include "GNUstep/SystemStandIn.hpp"
#include "Support/TemporaryFolder.hpp"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::captureStandIn;
using test::eventually;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

constexpr int builtIn = 'bltn';

TEST(MediaTime, IsExactForFragmentsAndFrames) {
    const auto fraction = [](Seconds time) {
        const CMTime native = mediaTime(time);
        return std::to_string(native.value) + "/" + std::to_string(native.timescale);
    };
    EXPECT_EQ(fraction(Seconds{5}), "5/1");
    EXPECT_EQ(fraction(Seconds{1.0 / 30}), "1/30");
    EXPECT_EQ(fraction(Seconds{1.0 / 15}), "1/15");
    EXPECT_EQ(fraction(Seconds{0.4}), "400000/1000000");
    EXPECT_EQ(secondsOf(CMTimeMake(3, 2)), Seconds{1.5});
    EXPECT_EQ(secondsOf(CMTime{}), std::nullopt);
}

/// Nothing of the framework's is left when a test is over.
class CaptureTest : public testing::Test {
  protected:
    CaptureTest() {
        test::CaptureStandIn::reset();
        test::SystemStandIn::reset();
        captureStandIn.devices = {
            {.uniqueID = "cam", .name = "FaceTime HD", .transport = builtIn},
            {.uniqueID = "desk", .name = "Desk View", .transport = 'ccwd'},
            {.uniqueID = "mic", .name = "Built-in", .transport = builtIn, .isCamera = false}};
    }
    ~CaptureTest() override {
        [pool_ release];
        test::drainMainQueue();
        EXPECT_TRUE(eventually([] { return test::captureObjects() == 0; }))
            << test::captureObjects() << " objects are left";
    }

    NSAutoreleasePool* const pool_ = [[NSAutoreleasePool alloc] init];
    std::vector<std::string> complaints_;
    AVCaptureSystem system_{[this](const std::string& line) {
        complaints_.push_back(line);
    }};
};

TEST_F(CaptureTest, DiscoversTheKindsOfDevicesThatAreWanted) {
    EXPECT_THAT(
        system_.discover(MediaType::video), ElementsAre(
                                                CaptureDeviceInfo{"cam", "FaceTime HD", true},
                                                CaptureDeviceInfo{"desk", "Desk View", false}));
    EXPECT_THAT(
        system_.discover(MediaType::audio),
        ElementsAre(CaptureDeviceInfo{"mic", "Built-in", true}));
    EXPECT_THAT(
        captureStandIn.calls, ElementsAre(
                                  "discover wide,external,continuity,desk vide 0",
                                  "discover microphone,external soun 0"));
}

TEST_F(CaptureTest, KnowsThePreferredAndTheDefaultCamera) {
    EXPECT_EQ(system_.systemPreferredCamera(), std::nullopt);
    EXPECT_EQ(system_.defaultCamera(), std::nullopt);
    captureStandIn.preferredCamera = "desk";
    captureStandIn.defaultCamera = "cam";
    EXPECT_EQ(system_.systemPreferredCamera()->uniqueID, "desk");
    EXPECT_EQ(system_.defaultCamera()->uniqueID, "cam");
}

TEST_F(CaptureTest, HearsOfDevicesThatComeAndGo) {
    int changes = 0;
    auto observation = system_.observeDevices([&] { ++changes; });
    NSNotificationCenter* const center = [NSNotificationCenter defaultCenter];
    [center postNotificationName:AVCaptureDeviceWasConnectedNotification object:nil];
    EXPECT_TRUE(eventually([&] { return changes == 1; }));
    test::onForeignThread([center] {
        [center postNotificationName:AVCaptureDeviceWasDisconnectedNotification object:nil];
    });
    EXPECT_TRUE(eventually([&] { return changes == 2; }));
    observation.reset();
    [center postNotificationName:AVCaptureDeviceWasConnectedNotification object:nil];
    test::drainMainQueue();
    EXPECT_EQ(changes, 2);
}

TEST_F(CaptureTest, FindsADeviceByItsIdentifier) {
    const auto camera = system_.device("cam");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->info().localizedName, "FaceTime HD");
    EXPECT_EQ(camera->mediaType(), MediaType::video);
    EXPECT_EQ(system_.device("mic")->mediaType(), MediaType::audio);
    EXPECT_EQ(system_.device("gone"), nullptr);
}

TEST_F(CaptureTest, PinsTheFrameRateExactly) {
    const auto camera = system_.device("cam");
    EXPECT_THAT(camera->supportedFrameRateRanges(), ElementsAre(FrameRateRange{15, 30}));
    ASSERT_TRUE(camera->lockForConfiguration());
    camera->setFrameDuration(Seconds{1.0 / 30}, Seconds{1.0 / 30});
    camera->unlockForConfiguration();
    EXPECT_THAT(
        captureStandIn.calls,
        ElementsAre("lock", "min frame duration 1/30", "max frame duration 1/30", "unlock"));
    EXPECT_THAT(complaints_, testing::IsEmpty());
}

TEST_F(CaptureTest, AFrameRateThatIsRefusedIsSaidAndLeft) {
    captureStandIn.raising = {"min frame duration 1/30"};
    system_.device("cam")->setFrameDuration(Seconds{1.0 / 30}, Seconds{1.0 / 30});
    EXPECT_THAT(complaints_, ElementsAre(HasSubstr("FaceTime HD: frame rate refused")));
}

TEST_F(CaptureTest, ADeviceThatCannotBeLockedSaysSo) {
    captureStandIn.devices[0].canBeLocked = false;
    EXPECT_FALSE(system_.device("cam")->lockForConfiguration());
}

TEST_F(CaptureTest, EveryAuthorizationIsReadAsItIs) {
    for (const auto& [native, status] :
         {std::pair{AVAuthorizationStatusNotDetermined, AuthorizationStatus::notDetermined},
          {AVAuthorizationStatusRestricted, AuthorizationStatus::restricted},
          {AVAuthorizationStatusDenied, AuthorizationStatus::denied},
          {AVAuthorizationStatusAuthorized, AuthorizationStatus::authorized}}) {
        captureStandIn.authorization = {{"vide", native}};
        EXPECT_EQ(system_.authorizationStatus(MediaType::video), status);
    }
    EXPECT_EQ(system_.authorizationStatus(MediaType::audio), AuthorizationStatus::notDetermined)
        << "revoked, and asked for afresh";
}

TEST_F(CaptureTest, TheAnswerAboutAccessComesOnTheMainThread) {
    for (const bool grants : {true, false}) {
        captureStandIn.grantsAccess = grants;
        std::optional<bool> answer;
        bool isMain = false;
        system_.requestAccess(MediaType::audio, [&](bool granted) {
            answer = granted;
            isMain = [NSThread isMainThread] != NO;
        });
        EXPECT_EQ(answer, std::nullopt);
        EXPECT_TRUE(eventually([&] { return answer.has_value(); }));
        EXPECT_EQ(answer, grants);
        EXPECT_TRUE(isMain);
    }
    EXPECT_TRUE(captureStandIn.wasCalled("request access soun"));
}

class SessionTest : public CaptureTest {
  protected:
    /// With camera and microphone, and an output for both.
    void configure() {
        session_->beginConfiguration();
        for (const char* name : {"cam", "mic"}) {
            const auto input = session_->makeInput(system_.device(name));
            ASSERT_TRUE(input);
            ASSERT_TRUE(session_->canAddInput(*input));
            session_->addInput(*input);
        }
        output_ = session_->makeMovieFileOutput();
        ASSERT_TRUE(session_->canAddOutput(output_));
        session_->addOutput(output_);
        session_->commitConfiguration();
    }

    void start() {
        output_->startRecording(movie_, [this](const auto& path, auto error) {
            isMain_ = [NSThread isMainThread] != NO;
            wasRecording_ = output_ && output_->isRecording();
            path_ = path;
            error_ = std::move(error);
            ++finishes_;
        });
    }

    const std::filesystem::path movie_{"/nowhere/a b.mov"};
    std::shared_ptr<CaptureSession> session_ = system_.makeSession();
    std::shared_ptr<MovieFileOutput> output_;
    std::atomic<int> finishes_ = 0;
    std::filesystem::path path_;
    std::optional<PlatformError> error_;
    std::atomic<bool> isMain_ = false;
    std::atomic<bool> wasRecording_ = false;
};

TEST_F(SessionTest, IsConfiguredAndRunInOrder) {
    configure();
    session_->setPreset(SessionPreset::hd1920x1080);
    session_->startRunning();
    session_->stopRunning();
    EXPECT_THAT(
        captureStandIn.calls, ElementsAre(
                                  "begin", "add cam", "add mic", "add output", "commit",
                                  "preset 1920x1080", "start running", "stop running"));
}

TEST_F(SessionTest, ADeviceThatCannotBeOpenedSaysWhy) {
    captureStandIn.devices[0].openingError = "in use";
    const auto input = session_->makeInput(system_.device("cam"));
    ASSERT_FALSE(input);
    EXPECT_EQ(input.error().description, "in use");
    captureStandIn.raising = {"open"};
    const auto raised = session_->makeInput(system_.device("mic"));
    ASSERT_FALSE(raised);
    EXPECT_EQ(raised.error().domain, "NSInvalidArgumentException");
}

TEST_F(SessionTest, SaysWhatItCannotTake) {
    captureStandIn.raising = {"cannot add cam"};
    EXPECT_FALSE(session_->canAddInput(*session_->makeInput(system_.device("cam"))));
    EXPECT_TRUE(session_->canAddInput(*session_->makeInput(system_.device("mic"))));
    captureStandIn.takesOutputs = false;
    EXPECT_FALSE(session_->canAddOutput(session_->makeMovieFileOutput()));
    captureStandIn.refusedPresets = {"1920x1080"};
    EXPECT_FALSE(session_->canSetPreset(SessionPreset::hd1920x1080));
    EXPECT_TRUE(session_->canSetPreset(SessionPreset::high));
}

TEST_F(SessionTest, WhatTheFrameworkRefusesByRaisingIsSaidAndLeft) {
    captureStandIn.raising = {"add cam", "preset high", "commit", "start running", "stop running"};
    configure();
    session_->setPreset(SessionPreset::high);
    session_->startRunning();
    session_->stopRunning();
    EXPECT_EQ(complaints_.size(), 5U);
}

TEST_F(SessionTest, HearsOfItsOwnFailureAlone) {
    std::vector<std::optional<std::string>> heard;
    auto observation = session_->observeRuntimeErrors([&](const auto& error) {
        heard.push_back(error ? std::optional{error->description} : std::nullopt);
    });
    test::failSession([NSError
        errorWithDomain:@"AVFoundationErrorDomain"
                   code:-11819
               userInfo:[NSDictionary dictionaryWithObject:@"media services died"
                                                    forKey:NSLocalizedDescriptionKey]]);
    test::failSession(nil);
    EXPECT_TRUE(eventually([&] { return heard.size() == 2; }));
    EXPECT_THAT(heard, ElementsAre(Optional(std::string{"media services died"}), std::nullopt));
    const auto other = system_.makeSession();
    test::failSession(nil);
    test::drainMainQueue();
    EXPECT_EQ(heard.size(), 2U) << "another session's";
    observation.reset();
}

TEST_F(SessionTest, SettingsReachTheConnectionsThatExist) {
    output_ = session_->makeMovieFileOutput();
    EXPECT_FALSE(output_->hasConnection(MediaType::video));
    output_->setVideoSettings({});
    EXPECT_THAT(captureStandIn.calls, testing::IsEmpty()) << "there is no such connection";
    configure();
    EXPECT_TRUE(output_->hasConnection(MediaType::video));
    EXPECT_TRUE(output_->hasConnection(MediaType::audio));
    captureStandIn.calls.clear();
    output_->setMovieFragmentInterval(Seconds{5});
    output_->setVideoSettings(
        {.width = 1920,
         .height = 1080,
         .averageBitRate = 5'000'000,
         .expectedSourceFrameRate = 30,
         .maxKeyFrameInterval = 60});
    output_->setAudioSettings({.numberOfChannels = 1, .sampleRate = 48'000, .bitRate = 96'000});
    EXPECT_THAT(
        captureStandIn.calls,
        ElementsAre(
            "fragments 5/1", "settings vide", "AVVideoCodecKey=avc1",
            "AVVideoCompressionPropertiesKey.AverageBitRate=5000000",
            "AVVideoCompressionPropertiesKey.ExpectedFrameRate=30",
            "AVVideoCompressionPropertiesKey.MaxKeyFrameInterval=60", "AVVideoHeightKey=1080",
            "AVVideoWidthKey=1920", "settings soun", "AVEncoderBitRateKey=96000",
            "AVFormatIDKey=" + std::to_string(int{'aac '}), "AVNumberOfChannelsKey=1",
            "AVSampleRateKey=48000"));
    captureStandIn.raising = {"settings soun"};
    output_->setAudioSettings({});
    EXPECT_THAT(complaints_, ElementsAre(HasSubstr("output settings refused")));
}

TEST_F(SessionTest, AMovieEndsOnceWhenItIsAskedTo) {
    configure();
    EXPECT_FALSE(output_->isRecording());
    output_->stopRecording();
    EXPECT_FALSE(captureStandIn.wasCalled("stop recording")) << "nothing is written";
    start();
    EXPECT_TRUE(output_->isRecording()) << "from the start, whatever the framework says";
    EXPECT_EQ(output_->recordedDuration(), Seconds{1.5});
    output_->stopRecording();
    EXPECT_TRUE(eventually([&] { return finishes_ == 1; }));
    EXPECT_FALSE(wasRecording_) << "the file is closed before anybody is told";
    EXPECT_FALSE(isMain_) << "the framework calls on a thread of its own";
    EXPECT_EQ(path_, movie_);
    EXPECT_EQ(error_, std::nullopt);
    test::sleepFor(AVMovieOutput::closingLimit * 2);
    test::drainMainQueue();
    EXPECT_EQ(finishes_, 1);
}

TEST_F(SessionTest, AMovieThatEndsByItselfSaysWhy) {
    configure();
    start();
    test::endMovie([NSError
        errorWithDomain:@"AVFoundationErrorDomain"
                   code:-11811
               userInfo:[NSDictionary
                            dictionaryWithObjectsAndKeys:@"disconnected", NSLocalizedDescriptionKey,
                                                         [NSNumber numberWithBool:YES],
                                                         AVErrorRecordingSuccessfullyFinishedKey,
                                                         nil]]);
    EXPECT_TRUE(eventually([&] { return finishes_ == 1; }));
    ASSERT_TRUE(error_);
    EXPECT_EQ(error_->code, -11811);
    EXPECT_TRUE(error_->recordingSuccessfullyFinished);
    EXPECT_FALSE(output_->isRecording());
}

TEST_F(SessionTest, AMovieThatIsNeverClosedIsGivenUpInBoundedTime) {
    captureStandIn.neverFinishes = true;
    configure();
    start();
    output_->stopRecording();
    test::drainMainQueue();
    test::sleepFor(AVMovieOutput::closingLimit - 1s);
    EXPECT_EQ(finishes_, 0);
    test::sleepFor(1s);
    EXPECT_EQ(finishes_, 1);
    ASSERT_TRUE(error_);
    EXPECT_FALSE(error_->recordingSuccessfullyFinished);
    EXPECT_FALSE(output_->isRecording());
    // It is, after all: nobody is told twice.
    test::endMovie(nil);
    EXPECT_TRUE(eventually([&] { return !std::isnan(output_->recordedDuration().count()); }));
}

TEST_F(SessionTest, AMovieThatCannotBeStartedEndsAtOnce) {
    captureStandIn.raising = {"start recording"};
    configure();
    start();
    EXPECT_EQ(finishes_, 1);
    ASSERT_TRUE(error_);
    EXPECT_THAT(error_->description, HasSubstr("start recording"));
    EXPECT_FALSE(output_->isRecording());
}

TEST_F(SessionTest, AnEndMayComeWhenTheOutputIsGone) {
    configure();
    start();
    output_.reset();
    session_.reset();
    test::endMovie(nil);
    test::drainMainQueue();
    SUCCEED();
}

class ExportTest : public CaptureTest {
  protected:
    std::shared_ptr<ExportSession> begin() {
        auto session = exporter_.makePassthroughExport(source_, MovieOrigin::found);
        session->setOutput(output_, MovieFileType::mpeg4);
        session->exportAsynchronously([this] {
            isMain_ = [NSThread isMainThread] != NO;
            ++completions_;
        });
        return session;
    }

    test::TemporaryFolder folder_;
    const std::filesystem::path source_ = folder_.path() / "a.mov";
    const std::filesystem::path output_ = folder_.path() / "a.mp4";
    AVMovieExporter exporter_;
    int completions_ = 0;
    bool isMain_ = false;
};

TEST_F(ExportTest, EndsOnTheMainThreadWithTheFileOnTheDisk) {
    const auto session = begin();
    EXPECT_EQ(completions_, 0);
    EXPECT_TRUE(eventually([&] { return completions_ == 1; }));
    EXPECT_TRUE(isMain_);
    EXPECT_EQ(session->status(), ExportSession::Status::completed);
    EXPECT_EQ(session->error(), std::nullopt);
    EXPECT_EQ(session->progress(), 0.25);
    EXPECT_EQ(session->damagedBytesLeftOut(), 0);
    EXPECT_TRUE(std::filesystem::exists(output_));
    EXPECT_TRUE(captureStandIn.wasCalled("export as public.mpeg-4"));
    EXPECT_TRUE(captureStandIn.wasCalled("asset precise=1"));
}

TEST_F(ExportTest, SaysWhatItCanWrite) {
    EXPECT_THAT(
        exporter_.makePassthroughExport(source_, MovieOrigin::found)->supportedFileTypes(),
        ElementsAre(MovieFileType::quickTime, MovieFileType::mpeg4));
    captureStandIn.exportTypes = {"com.apple.m4v-video", "com.apple.quicktime-movie"};
    EXPECT_THAT(
        exporter_.makePassthroughExport(source_, MovieOrigin::found)->supportedFileTypes(),
        ElementsAre(MovieFileType::quickTime));
    captureStandIn.exportCanBeMade = false;
    EXPECT_EQ(exporter_.makePassthroughExport(source_, MovieOrigin::found), nullptr);
}

TEST_F(ExportTest, AFailureIsTold) {
    captureStandIn.exportEnds = 4;
    captureStandIn.exportError = "no space";
    const auto session = begin();
    EXPECT_TRUE(eventually([&] { return completions_ == 1; }));
    EXPECT_EQ(session->status(), ExportSession::Status::failed);
    EXPECT_EQ(session->error()->description, "no space");
}

TEST_F(ExportTest, AFileThatCannotBeSyncedIsNotDone) {
    captureStandIn.exportWrites.reset();
    const auto session = begin();
    EXPECT_TRUE(eventually([&] { return completions_ == 1; }));
    EXPECT_EQ(session->status(), ExportSession::Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->domain, "POSIX");
    EXPECT_EQ(session->error()->code, ENOENT);
}

TEST_F(ExportTest, ATypeOrAStartThatIsRefusedByRaisingFails) {
    for (const char* refused : {"export as public.mpeg-4", "export"}) {
        captureStandIn.raising = {refused};
        completions_ = 0;
        const auto session = begin();
        EXPECT_TRUE(eventually([&] { return completions_ == 1; }));
        EXPECT_EQ(session->status(), ExportSession::Status::failed);
        EXPECT_THAT(session->error()->description, HasSubstr(refused));
    }
}

TEST_F(ExportTest, MayBeCancelled) {
    captureStandIn.exportWaits = true;
    const auto session = begin();
    EXPECT_EQ(session->status(), ExportSession::Status::exporting);
    session->cancel();
    EXPECT_TRUE(eventually([&] { return completions_ == 1; }));
    EXPECT_EQ(session->status(), ExportSession::Status::cancelled);
}

TEST_F(ExportTest, NobodyIsToldWhoIsGone) {
    captureStandIn.exportWaits = true;
    begin().reset();
    test::endExports();
    for (const char* refused : {"export as public.mpeg-4", "export"}) {
        captureStandIn.raising = {refused};
        begin().reset();
    }
    EXPECT_TRUE(eventually([] { return test::captureObjects() == 0; }));
    test::drainMainQueue();
    EXPECT_EQ(completions_, 0);
}

TEST_F(ExportTest, LoadsDurations) {
    captureStandIn.durations = {{"/a.mov", CMTimeMake(605, 10)}, {"/endless.mov", CMTime{}}};
    for (const auto& [movie, expected] :
         {std::pair{"/a.mov", std::optional{Seconds{60.5}}},
          {"/endless.mov", std::nullopt},
          {"/unreadable.mov", std::nullopt}}) {
        std::optional<std::optional<Seconds>> answer;
        exporter_.loadDuration(movie, [&](auto duration) { answer = duration; });
        EXPECT_FALSE(answer);
        EXPECT_TRUE(eventually([&] { return answer.has_value(); }));
        EXPECT_EQ(*answer, expected) << movie;
    }
}

} // namespace
} // namespace brindle

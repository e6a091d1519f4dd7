#include "Contract/CaptureContract.hpp"

#include <thread>
#include <utility>

namespace brindle::test {

CaptureSessionContract::~CaptureSessionContract() {
    if (session_ && output_) {
        stop();
        inQueue([this] { session_->stopRunning(); });
        // Whoever tells of an end may do so on any thread, and as long as it takes.
        EXPECT_TRUE(becomes([this] { return finishes_ >= starts_; }));
        EXPECT_EQ(finishes_, starts_);
        EXPECT_FALSE(output_->isRecording());
    }
}

void CaptureSessionContract::configure(std::initializer_list<MediaType> kinds) {
    for (const auto kind : kinds) {
        const char* const name = kind == MediaType::video ? camera : microphone;
        subject_->plug(kind, name);
        ASSERT_TRUE(isFound(kind, name));
    }
    session_ = system().makeSession();
    session_->beginConfiguration();
    for (const auto kind : kinds) {
        const auto device = system().device(kind == MediaType::video ? camera : microphone);
        ASSERT_TRUE(device);
        const auto input = session_->makeInput(device);
        ASSERT_TRUE(input);
        ASSERT_TRUE(session_->canAddInput(*input));
        session_->addInput(*input);
    }
    output_ = session_->makeMovieFileOutput();
    ASSERT_TRUE(session_->canAddOutput(output_));
    EXPECT_FALSE(output_->hasConnection(MediaType::video));
    EXPECT_FALSE(output_->hasConnection(MediaType::audio));
    session_->addOutput(output_);
    session_->commitConfiguration();
    output_->setMovieFragmentInterval(Seconds{5});
    if (output_->hasConnection(MediaType::video)) {
        output_->setVideoSettings(
            {.width = 1280,
             .height = 720,
             .averageBitRate = 2'000'000,
             .expectedSourceFrameRate = 30,
             .maxKeyFrameInterval = 60,
             .firstPictureWithin = Seconds{2},
             .mostWaitingBytes = 64 << 20});
    }
    if (output_->hasConnection(MediaType::audio)) {
        output_->setAudioSettings(
            {.numberOfChannels = 1,
             .sampleRate = 48'000,
             .bitRate = 96'000,
             .mostWaitingBytes = 8 << 20});
    }
}

void CaptureSessionContract::inQueue(const std::function<void()>& work) {
    std::atomic<bool> isDone = false;
    queue_.async([&] {
        work();
        isDone = true;
    });
    EXPECT_TRUE(becomes([&] { return isDone.load(); }));
}

void CaptureSessionContract::start(const std::filesystem::path& path) {
    ++starts_;
    inQueue([&] {
        session_->startRunning();
        output_->startRecording(path, [this](const auto& ended, auto error) {
            wasRecording_ = output_->isRecording();
            path_ = ended;
            error_ = std::move(error);
            ++finishes_;
        });
    });
}

TEST_P(CaptureSessionContract, TheOutputIsConnectedWithTheKindsOfItsDevices) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::audio}));
    EXPECT_TRUE(output_->hasConnection(MediaType::audio));
    EXPECT_FALSE(output_->hasConnection(MediaType::video));
    EXPECT_FALSE(output_->isRecording());
    EXPECT_EQ(output_->recordedDuration(), Seconds{0});
}

TEST_P(CaptureSessionContract, AMovieEndsOnceAfterItIsStopped) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::video, MediaType::audio}));
    EXPECT_TRUE(output_->hasConnection(MediaType::video));
    EXPECT_TRUE(output_->hasConnection(MediaType::audio));
    const auto path = subject_->writable();
    start(path);
    EXPECT_TRUE(output_->isRecording());
    ASSERT_TRUE(recordsSomething());
    EXPECT_EQ(finishes_, 0);
    stop();
    ASSERT_TRUE(becomes([this] { return finishes_ > 0; }));
    EXPECT_EQ(path_, path);
    EXPECT_EQ(error_, std::nullopt);
    EXPECT_FALSE(wasRecording_) << "the file is closed before anybody is told";
    EXPECT_FALSE(output_->isRecording());
    stop();
    inQueue([this] { session_->stopRunning(); });
    EXPECT_EQ(finishes_, 1);
}

TEST_P(CaptureSessionContract, NothingHappensWhenNothingIsStopped) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::audio}));
    stop();
    EXPECT_FALSE(output_->isRecording());
    start(subject_->writable());
    ASSERT_TRUE(recordsSomething());
    EXPECT_EQ(finishes_, 0) << "the stop before was for nothing";
}

TEST_P(CaptureSessionContract, AMovieThatCannotBeWrittenEndsWithTheReason) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::audio}));
    const auto path = subject_->unwritable();
    start(path);
    ASSERT_TRUE(becomes([this] { return finishes_ > 0; }));
    EXPECT_EQ(path_, path);
    ASSERT_TRUE(error_);
    EXPECT_NE(error_->description, "");
    EXPECT_FALSE(error_->recordingSuccessfullyFinished);
    EXPECT_FALSE(output_->isRecording());
    stop();
    EXPECT_EQ(finishes_, 1);
}

TEST_P(CaptureSessionContract, AFailureIsToldOnTheMainThreadToWhoeverStillListens) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::audio}));
    const auto mainThread = std::this_thread::get_id();
    int failures = 0;
    int unheard = 0;
    bool isElsewhere = false;
    const auto observation = session_->observeRuntimeErrors([&](const auto&) {
        isElsewhere |= std::this_thread::get_id() != mainThread;
        ++failures;
    });
    auto ended = session_->observeRuntimeErrors([&](const auto&) { ++unheard; });
    ended.reset();
    start(subject_->writable());
    ASSERT_TRUE(recordsSomething());
    EXPECT_EQ(failures, 0);
    subject_->failSession(microphone);
    EXPECT_TRUE(becomes([&] { return failures > 0; }));
    EXPECT_FALSE(isElsewhere);
    EXPECT_EQ(unheard, 0);
    stop();
    EXPECT_TRUE(becomes([this] { return finishes_ == 1; })) << "the movie ends all the same";
}

TEST_P(CaptureSessionContract, TheMovieGoesOnWhileTheCameraIsReleased) {
    ASSERT_NO_FATAL_FAILURE(configure({MediaType::video, MediaType::audio}));
    int failures = 0;
    const auto observation = session_->observeRuntimeErrors([&](const auto&) { ++failures; });
    start(subject_->writable());
    ASSERT_TRUE(recordsSomething());
    inQueue([this] { session_->releaseCamera(); });
    const auto before = output_->recordedDuration();
    EXPECT_TRUE(becomes([&] { return output_->recordedDuration() > before; }));
    inQueue([this] { session_->retakeCamera(); });
    const auto after = output_->recordedDuration();
    EXPECT_TRUE(becomes([&] { return output_->recordedDuration() > after; }));
    stop();
    ASSERT_TRUE(becomes([this] { return finishes_ == 1; }));
    EXPECT_EQ(error_, std::nullopt);
    EXPECT_EQ(failures, 0);
}

} // namespace brindle::test

#include "BrindleRecorderLinux/Capture/Record/MovieRecording.hpp"

#include "BrindleRecorderLinux/Capture/Media/EncodedPacket.hpp"
#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Record/FragmentedMovieWriter.hpp"
#include "BrindleRecorderLinux/Capture/Record/MediaEncoder.hpp"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include <pthread.h>

namespace brindle::media {

namespace {

/// Half a second of pictures; each may have megabytes.
constexpr std::size_t mostWaitingPictures = 15;
/// A minute of sound, which is small and must not be dropped lightly.
constexpr std::size_t mostWaitingSoundBytes = std::size_t{64} * 1024 * 1024;
/// More than a minute of movie: a disk that is so far behind does not catch up.
constexpr std::size_t mostWaitingPacketBytes = std::size_t{64} * 1024 * 1024;

constexpr std::chrono::milliseconds encoderPulse{100};
constexpr std::chrono::milliseconds writerPulse{500};

} // namespace

/// What the recording's threads share. Lives until the last of them is gone, which a library that
/// never answers may put off for ever.
class MovieRecording::Job {
  public:
    Job(capture::OutputFile file, Settings settings, FinishCallback onFinish)
        : file_{std::move(file)}, settings_{std::move(settings)}, onFinish_{std::move(onFinish)} {}

    void addPicture(CapturedPicture picture);
    void addSound(CapturedSound sound);
    void finish();

    void runWriter();
    void runEncoder();

    [[nodiscard]] bool isActive() const;
    [[nodiscard]] std::chrono::nanoseconds recordedDuration() const {
        return awaitsPictures_ ? std::chrono::nanoseconds{0} : mediaEnd_.load();
    }
    [[nodiscard]] bool isEmpty() const { return isEmpty_; }
    [[nodiscard]] std::int64_t droppedPictures() const { return droppedPictures_; }
    /// Waits for the threads to be through; false when one of them hangs.
    bool waitForThreads();

  private:
    using Lock = std::unique_lock<std::mutex>;
    using Result = Expected<void, PlatformError>;

    bool open();
    Result encodeWaiting(Lock& lock);
    Result writeWaiting(Lock& lock);
    Result closeMovie();
    void deliver(EncodedPacket packet);
    void report(std::optional<PlatformError> error);

    std::optional<capture::OutputFile> file_; ///< until the writer takes it
    const Settings settings_;
    FinishCallback onFinish_;

    std::unique_ptr<MediaEncoder> encoder_; ///< the encoder thread's, once `opened_`
    std::atomic<std::chrono::nanoseconds> mediaEnd_{};
    std::atomic<bool> awaitsPictures_ = false;
    std::atomic<bool> isEmpty_ = false;
    std::atomic<std::int64_t> droppedPictures_ = 0;

    mutable std::mutex mutex_; ///< guards everything below
    std::condition_variable changed_;
    std::deque<CapturedPicture> pictures_;
    std::deque<CapturedSound> sounds_;
    std::size_t soundBytes_ = 0;
    std::deque<EncodedPacket> packets_;
    std::size_t packetBytes_ = 0;
    std::shared_ptr<FragmentedMovieWriter> writer_;
    std::optional<Moment> endAt_;        ///< set when the recording is to end
    std::optional<PlatformError> error_; ///< the first one
    bool opened_ = false;
    bool encoderDone_ = false;
    bool writerDone_ = false;
    bool closeNow_ = false; ///< do not wait for the encoder any more
    bool reporting_ = false;
    bool reported_ = false;
};

void MovieRecording::Job::addPicture(CapturedPicture picture) {
    {
        const Lock lock{mutex_};
        if (endAt_ || reporting_ || encoderDone_) {
            return;
        }
        droppedPictures_ += picture.lostBefore;
        pictures_.push_back(std::move(picture));
        if (pictures_.size() > mostWaitingPictures) {
            pictures_.pop_front();
            ++droppedPictures_;
        }
    }
    changed_.notify_all();
}

void MovieRecording::Job::addSound(CapturedSound sound) {
    {
        const Lock lock{mutex_};
        // What is left out here comes back as silence of the same length.
        if (endAt_ || reporting_ || encoderDone_ ||
            soundBytes_ + sound.bytes.size() > mostWaitingSoundBytes) {
            return;
        }
        soundBytes_ += sound.bytes.size();
        sounds_.push_back(std::move(sound));
    }
    changed_.notify_all();
}

void MovieRecording::Job::finish() {
    const Moment now = settings_.now();
    Lock lock{mutex_};
    const auto waitForReport = [this, &lock] {
        changed_.notify_all();
        return changed_.wait_for(lock, settings_.patience, [this] { return reported_; });
    };
    if (!endAt_) {
        endAt_ = now;
    }
    if (waitForReport()) {
        return;
    }
    closeNow_ = true;
    if (!error_) {
        error_ = recordingError("the media library did not answer");
    }
    if (waitForReport()) {
        return;
    }
    if (writer_) {
        writer_->abandon();
    }
    const PlatformError error = *error_;
    lock.unlock();
    report(error);
    lock.lock();
    changed_.wait(lock, [this] { return reported_; });
}

bool MovieRecording::Job::isActive() const {
    const Lock lock{mutex_};
    return !reported_;
}

bool MovieRecording::Job::waitForThreads() {
    Lock lock{mutex_};
    return changed_.wait_for(
        lock, settings_.patience, [this] { return encoderDone_ && writerDone_; });
}

void MovieRecording::Job::runWriter() {
    pthread_setname_np(pthread_self(), "movie-writer");
    std::optional<PlatformError> error;
    if (open()) {
        if (const Result closed = closeMovie(); !closed) {
            error = closed.error();
        }
    }
    std::shared_ptr<FragmentedMovieWriter> closed;
    {
        const Lock lock{mutex_};
        // The first error explains those that it led to.
        if (error_) {
            error = error_;
        }
        closed = std::move(writer_);
    }
    // Whoever hears that it is finished finds the file closed.
    closed.reset();
    report(error);
    {
        const Lock lock{mutex_};
        // Also ends the encoder's thread.
        reporting_ = true;
        writerDone_ = true;
    }
    changed_.notify_all();
}

bool MovieRecording::Job::open() {
    const auto interval =
        std::chrono::duration_cast<std::chrono::nanoseconds>(settings_.fragmentInterval);
    auto encoder = MediaEncoder::open(
        settings_.video, settings_.audio, interval,
        [this](EncodedPacket packet) { deliver(std::move(packet)); }, settings_.videoEncoder);
    std::optional<PlatformError> error;
    std::shared_ptr<FragmentedMovieWriter> writer;
    if (encoder) {
        auto created = FragmentedMovieWriter::create(std::move(*file_), (*encoder)->encoders());
        file_.reset();
        if (created) {
            writer = std::move(*created);
        } else {
            error = created.error();
        }
    } else {
        error = encoder.error();
    }
    {
        const Lock lock{mutex_};
        if (error) {
            error_ = error_.value_or(*error);
        } else {
            encoder_ = std::move(*encoder);
            awaitsPictures_ = encoder_->awaitsPictures();
            writer_ = writer;
            opened_ = true;
        }
        if (reporting_ && writer_) {
            writer_->abandon();
        }
    }
    changed_.notify_all();
    return !error;
}

/// Writes until the recording ends, in good order or by an error, and closes the file.
MovieRecording::Job::Result MovieRecording::Job::closeMovie() {
    Lock lock{mutex_};
    for (;;) {
        changed_.wait_for(
            lock, writerPulse, [this] { return !packets_.empty() || encoderDone_ || closeNow_; });
        if (auto written = writeWaiting(lock); !written) {
            return written;
        }
        if (packets_.empty() && (encoderDone_ || closeNow_)) {
            break;
        }
    }
    const std::shared_ptr<FragmentedMovieWriter> writer = writer_;
    lock.unlock();
    auto finished = writer->finish();
    mediaEnd_ = writer->mediaEnd();
    isEmpty_ = finished && writer->mediaEnd() == std::chrono::nanoseconds{0};
    return finished;
}

MovieRecording::Job::Result MovieRecording::Job::writeWaiting(Lock& lock) {
    std::deque<EncodedPacket> packets = std::exchange(packets_, {});
    packetBytes_ = 0;
    const std::shared_ptr<FragmentedMovieWriter> writer = writer_;
    lock.unlock();
    Result result;
    for (EncodedPacket& packet : packets) {
        result = writer->write(std::move(packet));
        if (!result) {
            break;
        }
        mediaEnd_ = writer->mediaEnd();
    }
    if (result && writer->isRemoved()) {
        result = unexpected{recordingError("the file or its folder was removed")};
    }
    lock.lock();
    return result;
}

void MovieRecording::Job::runEncoder() {
    pthread_setname_np(pthread_self(), "movie-encoder");
    Lock lock{mutex_};
    changed_.wait(lock, [this] { return opened_ || reporting_; });
    Result result;
    while (opened_ && result && !reporting_) {
        changed_.wait_for(lock, encoderPulse, [this] {
            return !pictures_.empty() || !sounds_.empty() || endAt_ || reporting_;
        });
        const bool wasIdle = pictures_.empty() && sounds_.empty();
        if (wasIdle && endAt_) {
            const Moment end = *endAt_;
            lock.unlock();
            result = encoder_->end(end);
            lock.lock();
            break;
        }
        result = encodeWaiting(lock);
    }
    if (!result) {
        error_ = error_.value_or(result.error());
    }
    encoderDone_ = true;
    pictures_.clear();
    sounds_.clear();
    lock.unlock();
    changed_.notify_all();
}

MovieRecording::Job::Result MovieRecording::Job::encodeWaiting(Lock& lock) {
    std::deque<CapturedSound> sounds = std::exchange(sounds_, {});
    soundBytes_ = 0;
    std::optional<CapturedPicture> picture;
    if (!pictures_.empty()) {
        picture = std::move(pictures_.front());
        pictures_.pop_front();
    }
    const bool isBehind = !pictures_.empty();
    lock.unlock();
    Result result;
    for (CapturedSound& sound : sounds) {
        result = result ? encoder_->addSound(std::move(sound)) : result;
    }
    if (result && picture) {
        result = encoder_->addPicture(*picture);
        awaitsPictures_ = encoder_->awaitsPictures();
    }
    if (result && !isBehind) {
        result = encoder_->passTime(settings_.now());
    }
    lock.lock();
    return result;
}

void MovieRecording::Job::deliver(EncodedPacket packet) {
    {
        const Lock lock{mutex_};
        packetBytes_ += static_cast<std::size_t>(packet.packet->size);
        if (packetBytes_ > mostWaitingPacketBytes) {
            // Without its predecessors a packet is worth nothing, so the recording ends here.
            error_ = error_.value_or(recordingError("the disk does not keep up"));
            closeNow_ = true;
        }
        if (closeNow_) {
            return;
        }
        packets_.push_back(std::move(packet));
    }
    changed_.notify_all();
}

void MovieRecording::Job::report(std::optional<PlatformError> error) {
    {
        const Lock lock{mutex_};
        if (std::exchange(reporting_, true)) {
            return;
        }
    }
    if (onFinish_) {
        onFinish_(std::move(error));
        onFinish_ = nullptr;
    }
    {
        const Lock lock{mutex_};
        reported_ = true;
    }
    changed_.notify_all();
}

MovieRecording::MovieRecording(capture::OutputFile file, Settings settings, FinishCallback onFinish)
    : job_{std::make_shared<Job>(std::move(file), std::move(settings), std::move(onFinish))} {
    writerThread_ = std::thread{[job = job_] {
        job->runWriter();
    }};
    encoderThread_ = std::thread{[job = job_] {
        job->runEncoder();
    }};
}

MovieRecording::~MovieRecording() {
    job_->finish();
    const bool isThrough = job_->waitForThreads();
    for (std::thread* thread : {&writerThread_, &encoderThread_}) {
        if (isThrough) {
            thread->join();
        } else {
            thread->detach();
        }
    }
}

void MovieRecording::addPicture(CapturedPicture picture) {
    job_->addPicture(std::move(picture));
}

void MovieRecording::addSound(CapturedSound sound) {
    job_->addSound(std::move(sound));
}

void MovieRecording::finish() {
    job_->finish();
}

bool MovieRecording::isActive() const {
    return job_->isActive();
}

Seconds MovieRecording::recordedDuration() const {
    return job_->recordedDuration();
}

bool MovieRecording::isEmpty() const {
    return job_->isEmpty();
}

std::int64_t MovieRecording::droppedPictures() const {
    return job_->droppedPictures();
}

} // namespace brindle::media

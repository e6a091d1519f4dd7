#include "BrindleRecorderMac/AVFoundation/AVMovieOutput.hpp"

#include "BrindleRecorderMac/AVFoundation/MediaTime.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/FoundationError.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <CoreAudio/CoreAudio.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace brindle {

/// From the start of one file to its end, whoever tells of it first. Any thread.
class StartedFile {
  public:
    StartedFile(
        std::filesystem::path path, MovieFileOutput::FinishCallback onFinish,
        std::shared_ptr<std::atomic<bool>> isRecording)
        : path_{std::move(path)}, onFinish_{std::move(onFinish)}, isRecording_{
                                                                      std::move(isRecording)} {
        *isRecording_ = true;
    }

    void finish(std::optional<PlatformError> error) {
        MovieFileOutput::FinishCallback onFinish;
        {
            const std::lock_guard lock{mutex_};
            onFinish = std::exchange(onFinish_, nullptr);
        }
        if (onFinish) {
            *isRecording_ = false;
            onFinish(path_, std::move(error));
        }
    }

  private:
    std::filesystem::path path_;
    std::mutex mutex_;
    MovieFileOutput::FinishCallback onFinish_;
    std::shared_ptr<std::atomic<bool>> isRecording_;
};

} // namespace brindle

/// Nobody else keeps it: it keeps itself until its file is closed.
@interface BrindleFinishDelegate : NSObject <AVCaptureFileOutputRecordingDelegate> {
  @public
    std::shared_ptr<brindle::StartedFile> file_;
}
@end

@implementation BrindleFinishDelegate
- (void)captureOutput:(AVCaptureFileOutput*)output
    didFinishRecordingToOutputFileAtURL:(NSURL*)url
                        fromConnections:(NSArray*)connections
                                  error:(NSError*)error {
    static_cast<void>(output);
    static_cast<void>(url);
    static_cast<void>(connections);
    @autoreleasepool {
        if (const auto file = std::exchange(file_, nullptr)) {
            [self autorelease];
            file->finish(brindle::optionalErrorOf(error));
        }
    }
}
@end

namespace brindle {

namespace {

NSNumber* number(std::int64_t value) {
    return [NSNumber numberWithLongLong:value];
}

} // namespace

AVMovieOutput::AVMovieOutput(Complaint complain)
    : complain_{std::move(complain)}, output_{taking([[AVCaptureMovieFileOutput alloc] init])},
      isRecording_{std::make_shared<std::atomic<bool>>(false)} {}

void AVMovieOutput::setMovieFragmentInterval(Seconds interval) {
    [native() setMovieFragmentInterval:mediaTime(interval)];
}

bool AVMovieOutput::hasConnection(MediaType mediaType) const {
    return [native() connectionWithMediaType:avMediaType(mediaType)] != nil;
}

void AVMovieOutput::setSettings(MediaType mediaType, NSDictionary* settings) {
    AVCaptureConnection* const connection =
        [native() connectionWithMediaType:avMediaType(mediaType)];
    if (connection == nil) {
        return;
    }
    const auto raised =
        raisedBy([&] { [native() setOutputSettings:settings forConnection:connection]; });
    if (raised) {
        complain_("output settings refused: " + raised->description);
    }
}

void AVMovieOutput::setVideoSettings(const VideoOutputSettings& settings) {
    @autoreleasepool {
        NSDictionary* const compression = [NSDictionary
            dictionaryWithObjectsAndKeys:number(settings.averageBitRate), AVVideoAverageBitRateKey,
                                         number(settings.expectedSourceFrameRate),
                                         AVVideoExpectedSourceFrameRateKey,
                                         number(settings.maxKeyFrameInterval),
                                         AVVideoMaxKeyFrameIntervalKey, nil];
        setSettings(
            MediaType::video,
            [NSDictionary dictionaryWithObjectsAndKeys:AVVideoCodecTypeH264, AVVideoCodecKey,
                                                       number(settings.width), AVVideoWidthKey,
                                                       number(settings.height), AVVideoHeightKey,
                                                       compression, AVVideoCompressionPropertiesKey,
                                                       nil]);
    }
}

void AVMovieOutput::setAudioSettings(const AudioOutputSettings& settings) {
    @autoreleasepool {
        setSettings(
            MediaType::audio,
            [NSDictionary dictionaryWithObjectsAndKeys:number(kAudioFormatMPEG4AAC), AVFormatIDKey,
                                                       number(settings.numberOfChannels),
                                                       AVNumberOfChannelsKey,
                                                       number(settings.sampleRate), AVSampleRateKey,
                                                       number(settings.bitRate),
                                                       AVEncoderBitRateKey, nil]);
    }
}

void AVMovieOutput::startRecording(const std::filesystem::path& path, FinishCallback onFinish) {
    @autoreleasepool {
        file_ = std::make_shared<StartedFile>(path, std::move(onFinish), isRecording_);
        BrindleFinishDelegate* const delegate = [[BrindleFinishDelegate alloc] init];
        delegate->file_ = file_;
        auto raised = raisedBy([&] {
            [native() startRecordingToOutputFileURL:fileUrl(path) recordingDelegate:delegate];
        });
        if (raised) {
            [delegate release];
            file_->finish(std::move(raised));
        }
    }
}

void AVMovieOutput::stopRecording() {
    if (!isRecording()) {
        return;
    }
    @autoreleasepool {
        const auto raised = raisedBy([&] { [native() stopRecording]; });
        if (raised) {
            complain_("end of the movie refused: " + raised->description);
        }
    }
    // Whoever waits for the end waits without a limit.
    DispatchMainLoop{}.post([weak = weak_from_this(), file = file_] {
        if (const auto output = weak.lock()) {
            output->closing_ = DispatchMainLoop{}.after(closingLimit, [file] {
                file->finish(PlatformError{
                    .domain = "BrindleRecorder",
                    .description = "The movie was not closed in time"});
            });
        }
    });
}

bool AVMovieOutput::isRecording() const {
    return *isRecording_;
}

Seconds AVMovieOutput::recordedDuration() const {
    @autoreleasepool {
        return secondsOf([native() recordedDuration]).value_or(Seconds{0});
    }
}

} // namespace brindle

#include "BrindleRecorderMac/AVFoundation/AVMovieExporter.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderMac/AVFoundation/MediaTime.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/FoundationError.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <AVFoundation/AVFoundation.h>

#include <fcntl.h>
#include <utility>

namespace brindle {

namespace {

/// One that is measured to its last sample, fragments included.
AVURLAsset* assetOf(const std::filesystem::path& movie) {
    NSDictionary* const options =
        [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES]
                                    forKey:AVURLAssetPreferPreciseDurationAndTimingKey];
    return [AVURLAsset URLAssetWithURL:fileUrl(movie) options:options];
}

/// The system does not sync by itself.
std::optional<PlatformError> syncFailure(const std::filesystem::path& path) {
    const auto file = FileDescriptor::open(path, O_RDONLY);
    const auto synced =
        file ? file->sync() : Expected<void, std::error_code>{unexpected{file.error()}};
    if (synced) {
        return std::nullopt;
    }
    return PlatformError{
        .domain = "POSIX", .code = synced.error().value(), .description = synced.error().message()};
}

/// Made out here: in a lambda that captures by reference it would hold references too.
RetainedBlock<void (^)(void)> blockOf(const std::function<void()>& work) {
    const auto kept = work;
    void (^const block)(void) = ^{
      kept();
    };
    return RetainedBlock<void (^)(void)>{block};
}

class AVExport final : public ExportSession, public std::enable_shared_from_this<AVExport> {
  public:
    explicit AVExport(Retained<AVAssetExportSession> session) : session_{std::move(session)} {}

    [[nodiscard]] std::vector<MovieFileType> supportedFileTypes() const override {
        @autoreleasepool {
            std::vector<MovieFileType> types;
            for (NSString* type in [session_.get() supportedFileTypes]) {
                if ([type isEqualToString:AVFileTypeQuickTimeMovie]) {
                    types.push_back(MovieFileType::quickTime);
                } else if ([type isEqualToString:AVFileTypeMPEG4]) {
                    types.push_back(MovieFileType::mpeg4);
                }
            }
            return types;
        }
    }

    void setOutput(const std::filesystem::path& path, MovieFileType fileType) override {
        @autoreleasepool {
            output_ = path;
            [session_.get() setOutputURL:fileUrl(path)];
            // A type that it does not support raises.
            failure_ = raisedBy([&] {
                [session_.get() setOutputFileType:fileType == MovieFileType::mpeg4
                                                      ? AVFileTypeMPEG4
                                                      : AVFileTypeQuickTimeMovie];
            });
        }
    }

    void exportAsynchronously(std::function<void()> completion) override {
        // The export outlives whoever asked for it, but then nobody is told.
        const auto tell = [weak = weak_from_this(), completion = std::move(completion)](
                              const std::optional<PlatformError>& failure) {
            DispatchMainLoop{}.post([weak, completion, failure] {
                if (const auto alive = weak.lock()) {
                    alive->isRunning_ = false;
                    alive->failure_ = failure;
                    completion();
                }
            });
        };
        if (failure_) {
            tell(failure_);
            return;
        }
        isRunning_ = true;
        @autoreleasepool {
            const auto ended = blockOf([session = session_, output = output_, tell] {
                const bool isDone = [session.get() status] == AVAssetExportSessionStatusCompleted;
                tell(isDone ? syncFailure(output) : std::nullopt);
            });
            const auto raised = raisedBy(
                [&] { [session_.get() exportAsynchronouslyWithCompletionHandler:ended.get()]; });
            if (raised) {
                tell(raised);
            }
        }
    }

    void cancel() override { [session_.get() cancelExport]; }

    [[nodiscard]] Status status() const override {
        if (failure_) {
            return Status::failed;
        }
        const auto status = static_cast<Status>([session_.get() status]);
        // Until the file is on the disk, it is not done.
        return status == Status::completed && isRunning_ ? Status::exporting : status;
    }

    [[nodiscard]] std::optional<PlatformError> error() const override {
        @autoreleasepool {
            return failure_ ? failure_ : optionalErrorOf([session_.get() error]);
        }
    }

    /// The system does not tell.
    [[nodiscard]] std::int64_t damagedBytesLeftOut() const override { return 0; }

    [[nodiscard]] double progress() const override {
        return static_cast<double>([session_.get() progress]);
    }

  private:
    const Retained<AVAssetExportSession> session_;
    std::filesystem::path output_;
    bool isRunning_ = false;
    std::optional<PlatformError> failure_;
};

} // namespace

std::shared_ptr<ExportSession> AVMovieExporter::makePassthroughExport(
    const std::filesystem::path& source, MovieOrigin /*origin*/) {
    @autoreleasepool {
        auto session =
            taking([[AVAssetExportSession alloc] initWithAsset:assetOf(source)
                                                    presetName:AVAssetExportPresetPassthrough]);
        return session ? std::make_shared<AVExport>(std::move(session)) : nullptr;
    }
}

void AVMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    @autoreleasepool {
        const auto asset = keeping(assetOf(movie));
        [asset.get()
            loadValuesAsynchronouslyForKeys:[NSArray arrayWithObject:@"duration"]
                          completionHandler:^{
                            const bool isLoaded =
                                [asset.get() statusOfValueForKey:@"duration"
                                                           error:nullptr] == AVKeyValueStatusLoaded;
                            const auto duration =
                                isLoaded ? secondsOf([asset.get() duration]) : std::nullopt;
                            DispatchMainLoop{}.post([answer, duration] { answer(duration); });
                          }];
    }
}

} // namespace brindle

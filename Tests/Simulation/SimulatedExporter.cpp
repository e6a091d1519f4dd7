#include "Simulation/SimulatedExporter.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace brindle::simulation {

namespace {

using Status = ExportSession::Status;

/// Of a movie, or of the hidden file that becomes one.
std::string baseNameOf(const std::filesystem::path& movie) {
    const std::string name = movie.filename().native();
    const std::size_t begin = name.starts_with('.') ? 1 : 0;
    return name.substr(begin, name.find('.', begin) - begin);
}

class SimulatedExport final : public ExportSession,
                              public std::enable_shared_from_this<SimulatedExport> {
  public:
    SimulatedExport(
        std::shared_ptr<SimulatedExporter::Context> context, std::filesystem::path source,
        Status outcome, bool shortened, bool supported)
        : context_{std::move(context)}, source_{std::move(source)}, outcome_{outcome},
          shortened_{shortened}, supported_{supported},
          // What is shortened is a copy.
          isInPlace_{!shortened && context_->scene.random.chance(60)} {}

    [[nodiscard]] std::vector<MovieFileType> supportedFileTypes() const override {
        return supported_ ? std::vector{MovieFileType::quickTime, MovieFileType::mpeg4}
                          : std::vector{MovieFileType::quickTime};
    }
    void setOutput(const std::filesystem::path& path, MovieFileType /*fileType*/) override {
        output_ = path;
    }
    void exportAsynchronously(std::function<void()> completion) override;
    void cancel() override { outcome_ = Status::cancelled; }
    [[nodiscard]] Status status() const override { return status_; }
    [[nodiscard]] std::optional<PlatformError> error() const override { return error_; }
    [[nodiscard]] std::int64_t damagedBytesLeftOut() const override { return 0; }
    [[nodiscard]] double progress() const override { return 0.5; }

  private:
    void begin();
    void convert();
    void failWith(const char* description) {
        context_->noteFailure(source_);
        status_ = Status::failed;
        error_ = PlatformError{
            .domain = "Simulation", .code = 2, .description = description, .underlying = {}};
    }

    std::shared_ptr<SimulatedExporter::Context> context_;
    std::filesystem::path source_;
    std::filesystem::path output_;
    Status outcome_;
    bool shortened_;
    bool supported_;
    bool isInPlace_;
    Status status_ = Status::unknown;
    std::optional<PlatformError> error_;
};

void SimulatedExport::exportAsynchronously(std::function<void()> completion) {
    Scene& scene = context_->scene;
    status_ = Status::exporting;
    const Seconds duration = scene.random.chance(scene.slowExportPercent)
                                 ? scene.between(20, 200)
                                 : scene.between(0.01, 1.5);
    auto piece = context_->pieceFor(source_, duration);
    piece.begin = [weakly = weak_from_this()] {
        if (const auto self = weakly.lock()) {
            self->begin();
        }
    };
    piece.end = [weakly = weak_from_this(), completion = std::move(completion)] {
        const auto self = weakly.lock();
        if (!self || self->context_->disk.isDead()) {
            return;
        }
        self->convert();
        self->context_->mainLoop.post(completion);
    };
    context_->worker->add(std::move(piece));
}

/// Something of the output is there from the beginning: the source under a second name, or, where
/// it cannot have one, a new file.
void SimulatedExport::begin() {
    isInPlace_ = isInPlace_ && context_->disk.linkMedia(source_, output_);
    if (!isInPlace_) {
        context_->disk.createSyncedFile(output_, "");
    }
}

void SimulatedExport::convert() {
    Scene& scene = context_->scene;
    if (outcome_ != Status::completed) {
        context_->noteFailure(source_);
        ++scene.statistics.exportFailures;
        scene.note(
            "export: of {} ends with status {}", source_.filename().native(),
            static_cast<int>(outcome_));
        if (outcome_ == Status::failed && scene.random.chance(80)) {
            failWith("cannot copy");
        }
        status_ = outcome_;
        return;
    }
    auto fragments = readableFragments(scene.files.contents(source_).value_or(""));
    if (fragments.empty()) {
        failWith("nothing to copy");
        return;
    }
    if (shortened_ && durationOf(fragments) > Seconds{1.1}) {
        context_->noteFailure(source_);
        // More is missing than a rounding of durations explains.
        double missing = 0;
        while (missing <= 1000) {
            missing += fragments.back().milliseconds;
            fragments.pop_back();
        }
        ++scene.statistics.exportFailures;
        scene.note("export: of {} comes out too short", source_.filename().native());
    }
    std::string text;
    for (const Fragment& fragment : fragments) {
        text += fragment.text();
    }
    const bool isThere = isInPlace_ || context_->disk.appendMedia(output_, text);
    if (!isThere || !context_->disk.syncMedia(output_)) {
        ++scene.statistics.exportFailures;
        failWith("no space left");
        return;
    }
    scene.note("export: of {} done", source_.filename().native());
    status_ = Status::completed;
}

} // namespace

void SimulatedExporter::Context::noteFailure(const std::filesystem::path& movie) const {
    if (Segment* const segment = scene.segmentNamed(baseNameOf(movie))) {
        segment->conversionFailed = true;
    }
}

ExportWorker::Piece
SimulatedExporter::Context::pieceFor(const std::filesystem::path& movie, Seconds duration) const {
    const std::string baseName = baseNameOf(movie);
    const auto began = conversionBegan.find(baseName);
    const auto recordedBy = scene.recordedBy.find(baseName);
    return {
        .isRepair = recordedBy == scene.recordedBy.end() || recordedBy->second != scene.launches,
        .conversionBegan = began == conversionBegan.end() ? scene.timeline.now() : began->second,
        .duration = duration,
        .begin = nullptr,
        .end = nullptr,
        .reason = scene.outside,
    };
}

std::shared_ptr<ExportSession> SimulatedExporter::makePassthroughExport(
    const std::filesystem::path& source, MovieOrigin /*origin*/) {
    Scene& scene = context_->scene;
    if (!scene.files.contents(source)) {
        context_->noteFailure(source);
        return nullptr;
    }
    context_->conversionBegan[baseNameOf(source)] = scene.timeline.now();
    if (Segment* const segment = scene.segmentNamed(baseNameOf(source))) {
        segment->conversionBegan = scene.timeline.now();
        segment->conversionFailed = false;
    }
    bool shortened = false;
    bool supported = true;
    Status outcome = Status::completed;
    if (scene.random.chance(scene.exportFailurePercent)) {
        switch (scene.random.below(8)) {
        case 0:
            ++scene.statistics.exportFailures;
            scene.note("export: of {} cannot be made", source.filename().native());
            context_->noteFailure(source);
            return nullptr;
        case 1:
            ++scene.statistics.exportFailures;
            scene.note("export: of {} to mp4 is not supported", source.filename().native());
            context_->noteFailure(source);
            supported = false;
            break;
        case 2:
            outcome = Status::cancelled;
            break;
        case 3:
        case 4:
            outcome = Status::failed;
            break;
        default:
            shortened = true;
            break;
        }
    }
    return std::make_shared<SimulatedExport>(context_, source, outcome, shortened, supported);
}

void SimulatedExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    Scene& world = context_->scene;
    const Seconds takes = world.random.chance(world.slowExportPercent / 2) ? world.between(2, 30)
                                                                           : world.between(0, 0.2);
    auto piece = context_->pieceFor(movie, takes);
    piece.end = [weakly = std::weak_ptr{context_}, movie, answer = std::move(answer)] {
        const auto context = weakly.lock();
        if (!context || context->disk.isDead()) {
            return;
        }
        Scene& scene = context->scene;
        std::optional<Seconds> duration;
        const auto contents = scene.files.contents(movie);
        if (contents && !scene.random.chance(scene.exportFailurePercent / 4)) {
            duration = durationOf(readableFragments(*contents));
        } else {
            context->noteFailure(movie);
        }
        context->mainLoop.post([answer, duration] { answer(duration); });
    };
    context_->worker->add(std::move(piece));
}

} // namespace brindle::simulation

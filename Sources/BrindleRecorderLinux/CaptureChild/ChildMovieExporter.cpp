#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"

#include "BrindleRecorderLinux/CaptureChild/ChildExportSession.hpp"
#include "BrindleRecorderLinux/CaptureChild/MovieChild.hpp"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>
#include <variant>

#include <sys/stat.h>

namespace brindle {

struct ChildMovieExporter::Measurement {
    std::function<void(std::optional<Seconds>)> answer;
    std::unique_ptr<capture::MovieChild> child;
};

/// A file in the state in which it was measured, whatever it is called.
struct ChildMovieExporter::Measured {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    std::int64_t dataChanged = 0;  ///< nanoseconds since 1970
    std::int64_t stateChanged = 0; ///< also by another name
    std::optional<Seconds> duration;

    static std::optional<Measured> stateOf(const std::filesystem::path& movie) {
        struct stat status {};
        if (stat(movie.c_str(), &status) != 0) {
            return std::nullopt;
        }
        const auto nanoseconds = [](const timespec& time) {
            return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
        };
        return Measured{
            .device = status.st_dev,
            .number = status.st_ino,
            .size = status.st_size,
            .dataChanged = nanoseconds(status.st_mtim),
            .stateChanged = nanoseconds(status.st_ctim),
            .duration = {}};
    }
    [[nodiscard]] bool isInTheStateOf(const Measured& other) const {
        return device == other.device && number == other.number && size == other.size &&
               dataChanged == other.dataChanged && stateChanged == other.stateChanged;
    }
};

ChildMovieExporter::ChildMovieExporter(
    MainLoop& mainLoop, SystemLog& systemLog, capture::CaptureChildren& children)
    : mainLoop_{mainLoop}, systemLog_{systemLog}, children_{children},
      lastMeasured_{std::make_shared<std::optional<Measured>>()} {}

ChildMovieExporter::~ChildMovieExporter() {
    for (const auto& measurement : measurements_) {
        measurement->child.reset();
    }
}

std::shared_ptr<ExportSession>
ChildMovieExporter::makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(source, error)) {
        return nullptr;
    }
    return std::make_shared<ChildExportSession>(mainLoop_, systemLog_, children_, source, origin);
}

void ChildMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    const auto before = Measured::stateOf(movie);
    if (before && *lastMeasured_ && before->isInTheStateOf(**lastMeasured_)) {
        mainLoop_.post([answer = std::move(answer), duration = (*lastMeasured_)->duration] {
            answer(duration);
        });
        return;
    }
    // Those that have been answered have done with their programs.
    std::erase_if(measurements_, [](const auto& done) { return done->answer == nullptr; });
    auto measurement =
        std::make_shared<Measurement>(Measurement{.answer = std::move(answer), .child = nullptr});
    measurement->child = std::make_unique<capture::MovieChild>(
        children_,
        capture::MovieChild::Order{.source = movie, .destination = std::nullopt, .copies = {}},
        [&mainLoop = mainLoop_, measurement, movie, before,
         last = lastMeasured_](const Expected<capture::Message, PlatformError>& outcome) {
            const auto* const measured =
                outcome ? std::get_if<capture::Measured>(&*outcome) : nullptr;
            mainLoop.post([measurement, movie, before, last,
                           duration = measured != nullptr ? measured->duration : std::nullopt] {
                const auto after = Measured::stateOf(movie);
                if (duration && before && after && after->isInTheStateOf(*before)) {
                    *last = *after;
                    (*last)->duration = duration;
                }
                // Its thread is through; what it was kept by is given up with it.
                measurement->child.reset();
                if (const auto told = std::exchange(measurement->answer, nullptr)) {
                    told(duration);
                }
            });
        });
    measurements_.push_back(std::move(measurement));
}

} // namespace brindle

#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"

#include "BrindleRecorderLinux/CaptureChild/ChildExportSession.hpp"
#include "BrindleRecorderLinux/CaptureChild/MovieChild.hpp"

#include <algorithm>
#include <system_error>
#include <utility>
#include <variant>

namespace brindle {

struct ChildMovieExporter::Measurement {
    std::function<void(std::optional<Seconds>)> answer;
    std::unique_ptr<capture::MovieChild> child;
};

ChildMovieExporter::ChildMovieExporter(MainLoop& mainLoop, capture::CaptureChildren& children)
    : mainLoop_{mainLoop}, children_{children} {}

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
    return std::make_shared<ChildExportSession>(mainLoop_, children_, source, origin);
}

void ChildMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    // Those that have been answered have done with their programs.
    std::erase_if(measurements_, [](const auto& done) { return done->answer == nullptr; });
    auto measurement =
        std::make_shared<Measurement>(Measurement{.answer = std::move(answer), .child = nullptr});
    measurement->child = std::make_unique<capture::MovieChild>(
        children_, capture::MovieChild::Order{.source = movie, .destination = std::nullopt},
        [&mainLoop = mainLoop_,
         measurement](const Expected<capture::Message, PlatformError>& outcome) {
            const auto* const measured =
                outcome ? std::get_if<capture::Measured>(&*outcome) : nullptr;
            mainLoop.post(
                [measurement, duration = measured != nullptr ? measured->duration : std::nullopt] {
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

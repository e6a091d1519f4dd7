// Passthrough exports and durations of movies.
#pragma once

#include "BrindleRecorderApp/Platform/MovieExporter.hpp"

namespace brindle {

class AVMovieExporter final : public MovieExporter {
  public:
    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;
};

} // namespace brindle

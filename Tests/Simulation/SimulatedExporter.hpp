// A media library's conversion of movies: copies fragments one movie after the other, takes its
// time, and may fail in every way that the seam allows.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "Simulation/ExportWorker.hpp"
#include "Simulation/Scene.hpp"
#include "Simulation/SimulatedDisk.hpp"

#include <map>
#include <memory>
#include <string>

namespace brindle::simulation {

class SimulatedExporter final : public MovieExporter {
  public:
    SimulatedExporter(Scene& scene, SimulatedDisk& disk, MainLoop& mainLoop)
        : context_{std::make_shared<Context>(Context{scene, disk, mainLoop})} {}

    struct Context {
        Scene& scene;
        SimulatedDisk& disk;
        MainLoop& mainLoop;
        std::shared_ptr<ExportWorker> worker = std::make_shared<ExportWorker>(scene.timeline);
        std::map<std::string, Date> conversionBegan = {}; ///< by base name

        /// The conversion of that movie comes to nothing.
        void noteFailure(const std::filesystem::path& movie) const;
        /// A piece of work on that movie, or on what becomes of it.
        [[nodiscard]] ExportWorker::Piece
        pieceFor(const std::filesystem::path& movie, Seconds duration) const;
    };

    [[nodiscard]] const ExportWorker& worker() const { return *context_->worker; }

    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    std::shared_ptr<Context> context_;
};

} // namespace brindle::simulation

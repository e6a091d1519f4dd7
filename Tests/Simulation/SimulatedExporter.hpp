// A media library's conversion of movies: copies fragments, takes its time, and may fail in every
// way that the seam allows.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "Simulation/Scene.hpp"
#include "Simulation/SimulatedDisk.hpp"

#include <memory>

namespace brindle::simulation {

class SimulatedExporter final : public MovieExporter {
  public:
    SimulatedExporter(Scene& scene, SimulatedDisk& disk, MainLoop& mainLoop)
        : context_{std::make_shared<Context>(Context{scene, disk, mainLoop})} {}

    struct Context {
        Scene& scene;
        SimulatedDisk& disk;
        MainLoop& mainLoop;
    };

    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    std::shared_ptr<Context> context_;
};

} // namespace brindle::simulation

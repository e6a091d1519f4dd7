// The page titles that Firefox gives its sound streams, which can be read on every desktop.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace brindle {

/// For each Firefox that records from a microphone: the titles of the pages that it plays, which
/// follow the pages, and of the page that it records for, which stays as it was when the recording
/// began. Each title once. Other programs put nothing of the kind there. Pure.
std::vector<WindowRecord> pageTitlesIn(const pipewire::AudioGraph& graph);

/// Belongs to the main thread.
class StreamTitles {
  public:
    /// Answers the same object until the graph changes; null while no sound server answers.
    using GraphSource = std::function<std::shared_ptr<const pipewire::AudioGraph>()>;

    explicit StreamTitles(GraphSource graph);

    /// Those in what the server knows now.
    [[nodiscard]] const std::vector<WindowRecord>& titles() const;

  private:
    GraphSource graph_;
    mutable std::shared_ptr<const pipewire::AudioGraph> readGraph_; ///< what `titles_` are from
    mutable std::vector<WindowRecord> titles_;
};

} // namespace brindle

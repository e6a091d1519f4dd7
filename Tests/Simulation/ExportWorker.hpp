// The one thread on which a run of the program converts and measures movies: one piece of work
// after another, and nobody's before that of whoever came first.
#pragma once

#include "Simulation/Timeline.hpp"

#include <deque>
#include <functional>
#include <memory>

namespace brindle::simulation {

class ExportWorker : public std::enable_shared_from_this<ExportWorker> {
  public:
    struct Piece {
        bool isRepair = false;  ///< of a recording that an earlier run left
        Date conversionBegan{}; ///< of the movie that it is a piece of
        Seconds duration{0};
        std::function<void()> begin;
        std::function<void()> end;
        /// What whoever keeps a recording waiting with good reason holds.
        std::weak_ptr<int> reason;
    };

    explicit ExportWorker(Timeline& timeline) : timeline_{timeline} {}

    void add(Piece piece);
    [[nodiscard]] bool worksOnARecording() const;
    /// A recording's movie waits for a repair that should have let it go first.
    [[nodiscard]] bool repairsHoldARecordingUp() const;

  private:
    struct Entry {
        Piece piece;
        std::shared_ptr<int> held; ///< the reason, while there is one
    };

    [[nodiscard]] bool hasReason(const Piece& piece) const;
    void beginNext();
    void endFirst();

    Timeline& timeline_;
    std::deque<Entry> entries_; ///< the first is being done
    Date firstBegan_{};
};

} // namespace brindle::simulation

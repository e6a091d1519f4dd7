#include "Simulation/ExportWorker.hpp"

#include <algorithm>
#include <utility>

namespace brindle::simulation {

/// What was begun before a recording was to be converted is brought to its end first; a repair that
/// is begun later has no right to hold the recording up.
bool ExportWorker::hasReason(const Piece& piece) const {
    return !piece.isRepair && std::ranges::none_of(entries_, [&](const Entry& ahead) {
        const bool isBeingDone = &ahead == &entries_.front();
        return ahead.piece.isRepair && (!isBeingDone || firstBegan_ > piece.conversionBegan);
    });
}

void ExportWorker::add(Piece piece) {
    auto held = hasReason(piece) ? piece.reason.lock() : nullptr;
    entries_.push_back({std::move(piece), std::move(held)});
    if (entries_.size() == 1) {
        beginNext();
    }
}

bool ExportWorker::worksOnARecording() const {
    return std::ranges::any_of(entries_, [](const Entry& entry) { return !entry.piece.isRepair; });
}

bool ExportWorker::repairsHoldARecordingUp() const {
    return std::ranges::any_of(entries_, [](const Entry& entry) {
        return !entry.piece.isRepair && !entry.held && !entry.piece.reason.expired();
    });
}

void ExportWorker::beginNext() {
    firstBegan_ = timeline_.now();
    Entry& first = entries_.front();
    if (!first.piece.isRepair) {
        first.held = first.piece.reason.lock();
    }
    timeline_.after(first.piece.duration, [weakly = weak_from_this()] {
        if (const auto self = weakly.lock()) {
            self->endFirst();
        }
    });
    if (const auto begin = std::move(first.piece.begin)) {
        begin();
    }
}

void ExportWorker::endFirst() {
    const Entry done = std::move(entries_.front());
    entries_.pop_front();
    done.piece.end();
    if (!entries_.empty()) {
        beginNext();
    }
}

} // namespace brindle::simulation

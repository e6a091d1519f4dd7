// The second part of the world: how the program's runs come to their end, and the machine's sleep.
#include "Simulation/World.hpp"

#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace brindle::simulation {

// --- Sudden death ---

void World::planDeath() {
    powerFailsAtDeath_ = scene_.random.chance(50);
    if (scene_.random.chance(50)) {
        run_->disk().die();
    } else {
        run_->disk().dieAfter(static_cast<int>(scene_.random.below(8)) + 1);
    }
}

void World::killProgram(bool powerFails) {
    run_.reset();
    if (powerFails) {
        scene_.note("the power fails");
        ++scene_.statistics.powerFailures;
        folderAccount_.powerWillFail();
        scene_.files.losePower(scene_.random.below(1'000'000'000));
    } else {
        scene_.note("the program is killed");
        ++scene_.statistics.crashes;
    }
    bury(powerFails);
}

/// What the run has left is looked at, and the next one begins.
void World::bury(bool powerFailed) {
    folderAccount_.programDied();
    ledger_.programDied(powerFailed);
    ledger_.checkAll();
    scene_.files.forgetCalls();
    scene_.timeline.pass(scene_.between(0, 5));
    moment_ = Moment{.asksFirst = moment_.asksFirst};
    launch();
}

// --- Quitting ---

/// By the menu, by a signal, or because the user's session is closed.
void World::askToQuit() {
    ++scene_.statistics.quits;
    if (scene_.random.chance(50)) {
        scene_.note("the program is asked to quit");
        run_->model().requestQuit();
    } else {
        scene_.note("machine: closes the user's session");
        run_->systemEvents().announceEndOfSession();
    }
}

void World::quitIsAskedFor() {
    if (quitting_) {
        scene_.note("the program leaves at once");
        run_->disk().die(); // the second request waits for nothing
        powerFailsAtDeath_ = false;
        return;
    }
    quitting_ = true;
    ledger_.endWasAskedFor();
    moment_.userStopped = true;
    oracle_.stopWatching();
    run_->model().prepareToQuit([this] { left_ = true; });
}

void World::watchQuit(Seconds passed) {
    constexpr Seconds mostDelay{10};
    if (left_) {
        scene_.note("the program has come to its end");
        checkNothingRuns("when the program has come to its end");
        return;
    }
    if (std::exchange(isLate_, false)) {
        quitDelay_ += passed;
    }
    isLate_ = quitting_ && !scene_.isWaitedFor() && !run_->queue().hasWork();
    if (quitDelay_ > mostDelay) {
        scene_.violate("the program does not come to its end");
    }
}

/// The program has left in peace, and somebody launches it again.
void World::endRun() {
    run_.reset();
    bury(false);
}

void World::checkNothingRuns(const char* when) {
    if (scene_.writing > 0) {
        scene_.violate(fmt::format("a capture runs {}", when));
    }
    if (run_->exportWorker().worksOnARecording()) {
        scene_.violate(fmt::format("a recording is being converted {}", when));
    }
    ledger_.checkClosed(when);
    userAccount_.checkAtRest(when);
    if (!run_->queue().hasWork()) {
        folderAccount_.checkAtRest(true);
    }
}

// --- Sleep ---

/// The machine sleeps as soon as the program is ready, and stays awake where it is not in time.
void World::sleep() {
    constexpr Seconds patience{5};
    if (scene_.asleep) {
        return;
    }
    scene_.note("machine: is about to sleep");
    ++scene_.statistics.sleeps;
    scene_.asleep = true;
    isReadyToSleep_ = false;
    // The program does not watch now, which is as good as being slow.
    scene_.lastSlow = scene_.sleepAnnouncedAt = scene_.timeline.now();
    ledger_.endWasAskedFor();
    run_->systemEvents().announceSleep();
    pausedBySleep_ = lastSession_.isRecording();
    fallAsleepAfter(patience);
}

void World::fallAsleepAfter(Seconds delay) {
    scene_.timeline.after(
        delay, [this, announced = scene_.statistics.sleeps, launch = scene_.launches] {
            // Another run of the program was never told of the sleep.
            if (scene_.asleep && announced == scene_.statistics.sleeps &&
                launch == scene_.launches) {
                fallAsleep();
            }
        });
}

void World::fallAsleep() {
    if (scene_.writing == 0) {
        const Seconds asleep = scene_.between(1, 7200);
        scene_.note("machine: sleeps for {} s", asleep.count());
        scene_.timeline.pass(asleep);
        scene_.blocked += asleep;
    }
    scene_.note("machine: is awake");
    scene_.asleep = false;
    moment_.woke = true;
    // What was answered on the way into sleep counts now.
    moment_.userAccepted = std::exchange(acceptedAsleep_, false);
    lastSlept_ = scene_.lastSlow = scene_.timeline.now();
    run_->systemEvents().announceWaking();
}

/// Whoever says that it is ready to sleep does nothing any more until it is woken.
void World::watchSleep() {
    const bool saysReady = run_->systemEvents().ready > readySeen_;
    readySeen_ = run_->systemEvents().ready;
    if (!scene_.asleep) {
        return;
    }
    if (saysReady && !isReadyToSleep_) {
        scene_.note("the program is ready to sleep");
        isReadyToSleep_ = true;
        checkNothingRuns("when the program is ready to sleep");
        fallAsleepAfter(scene_.between(0, 0.5));
    }
    if (isReadyToSleep_ && scene_.writing > 0) {
        scene_.violate("a capture begins when the program is ready to sleep");
    }
}

// --- The end of the world ---

void World::runFor(Seconds duration) {
    const Date end =
        scene_.timeline.now() + std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
    while (scene_.timeline.now() < end && step()) {
    }
}

bool World::settle() {
    constexpr Seconds longEnough{200};
    calm_ = true;
    scene_.slowExportPercent = 0;
    const auto heal = [this] {
        run_->disk().setSickness(0, 0);
        run_->disk().dieAfter(std::nullopt);
        scene_.files.setRoomLeft(std::nullopt);
        setFreeBytes(plentyOfRoom);
        scene_.files.stopFailing();
        diskIsLow_ = false;
        while (!programs_.empty()) {
            endCall(programs_.front().id);
        }
    };
    heal();
    killProgram(scene_.random.chance(50));
    if (scene_.random.chance(50)) {
        // The repair itself is cut off.
        runFor(scene_.between(0, 3));
        killProgram(scene_.random.chance(50));
    }
    runFor(longEnough);
    if (!scene_.violation) {
        askToQuit();
    }
    while (!left_ && !scene_.violation && afterStep() && !left_ && step()) {
    }
    if (scene_.violation) {
        return false;
    }
    folderAccount_.checkSettled();
    const auto left = InterruptedScan::scan(RecordingsFolder{scene_.root}, scene_.files);
    if (!left || !left->empty()) {
        scene_.violate("an interrupted recording is left after a launch in peace");
    }
    ledger_.checkSettled();
    const auto contents = [this] {
        std::map<std::filesystem::path, std::string> all;
        for (const auto& path : scene_.files.files()) {
            all[path] = scene_.files.contents(path).value_or("");
        }
        return all;
    };
    const auto before = contents();
    run_.reset();
    launch();
    runFor(Seconds{30});
    if (!scene_.violation && contents() != before) {
        scene_.violate("another launch changed something");
    }
    return !scene_.violation;
}

} // namespace brindle::simulation

#include "Simulation/World.hpp"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace brindle::simulation {

namespace {

struct Kind {
    const char* bundleID;
    const char* family;
    bool isBrowser;
};

const std::vector<Kind> kinds{
    {"us.zoom.xos", "zoom", false},           {"com.microsoft.teams2", "teams", false},
    {"com.hnc.Discord", "discord", false},    {"com.google.Chrome", "chrome", true},
    {"org.mozilla.firefox", "firefox", true}, {"com.example.recorder", "other", false},
    {"com.apple.dictation", "", false}, // never a call
};

constexpr AudioObjectID microphoneObject = 1;
/// How long session and capture may tell different things while nobody is waited for.
constexpr Seconds mostDisagreement{4};

CaptureDeviceInfo device(const char* id) {
    return {.uniqueID = id, .localizedName = deviceName(id)};
}

} // namespace

World::World(std::uint64_t seed, bool keepHistory)
    : scene_{seed, keepHistory}, ledger_{scene_}, folderAccount_{scene_}, sidecarAccount_{scene_},
      userAccount_{scene_} {}

World::~World() {
    run_.reset();
}

// --- The computer ---

void World::setUp() {
    setFreeBytes(plentyOfRoom);
    scene_.cameras = {device("cam-1"), device("cam-2")};
    scene_.microphones = {device("mic-1"), device("mic-2")};
    const auto usual = [&] {
        return scene_.random.chance(10) ? AuthorizationStatus::notDetermined
                                        : AuthorizationStatus::authorized;
    };
    scene_.authorization = {{MediaType::video, usual()}, {MediaType::audio, usual()}};
    // Every world has its own climate, so that rare troubles also meet alone.
    const std::vector<unsigned> climates{0, 10, 30, 60};
    scene_.captureFailurePercent = scene_.random.oneOf(climates);
    scene_.exportFailurePercent = scene_.random.oneOf(climates) / 2;
    scene_.slowExportPercent = scene_.random.oneOf(std::vector<unsigned>{4, 4, 20, 50});
    audio_.setDevice(microphoneObject, {.uniqueID = "mic-1", .runningSomewhere = false});
    audio_.setDefaultInputDevice(microphoneObject);
    windows_.permitted = scene_.random.chance(80);
    usersAreUnknown_ = scene_.random.chance(5);
    audio_.setCanListProcesses(!usersAreUnknown_);
    if (usersAreUnknown_) {
        sidecarAccount_.callersAreUnknown();
        userAccount_.callersAreUnknown();
    }
    defaults_.setBoolean("askBeforeRecording", scene_.random.chance(20));
    if (scene_.random.chance(30)) {
        defaults_.setStringArray("disabledCallFamilies", {});
    }
    moment_.asksFirst = defaults_.boolean("askBeforeRecording").value_or(false);
    scheduleCall();
    scheduleClick();
    scheduleMishap();
}

void World::scheduleCall() {
    const Seconds pause =
        scene_.random.chance(25) ? scene_.between(20, 40) : scene_.between(0.5, 20);
    scene_.timeline.after(pause, [this] { beginCall(); });
}

void World::beginCall() {
    if (calm_) {
        return;
    }
    constexpr std::size_t mostAtOnce = 3;
    if (programs_.size() < mostAtOnce) {
        const Kind& kind = scene_.random.oneOf(kinds);
        Program program;
        program.id = ++nextObject_;
        program.pid = static_cast<std::int32_t>(program.id);
        program.bundleID = kind.bundleID;
        program.family = kind.family;
        program.isBrowser = kind.isBrowser;
        program.showsMeeting = scene_.random.chance(60);
        registry_.bundleIDs[program.pid] = program.bundleID;
        ++scene_.statistics.calls;
        scene_.note("program {} ({}) takes the microphone", program.bundleID, program.id);
        programs_.push_back(program);
        refreshWindows();
        audio_.setProcess(
            program.id, {.runningInput = true, .pid = program.pid, .bundleID = program.bundleID});
        scene_.timeline.after(
            scene_.random.chance(20) ? scene_.between(0.1, 8) : scene_.between(4, 45),
            [this, id = program.id] { endCall(id); });
        if (program.isBrowser && scene_.random.chance(60)) {
            scene_.timeline.after(
                scene_.between(0, 30), [this, id = program.id] { changeTab(id); });
        }
        audio_.fireProcesses();
        tellDeviceUse();
    }
    scheduleCall();
}

/// The program's own capture would be seen too, but it leaves that out of account.
void World::tellDeviceUse() {
    audio_.setRunningSomewhere(microphoneObject, !programs_.empty());
    audio_.fireRunningSomewhere(microphoneObject);
}

void World::endCall(AudioObjectID id) {
    const auto found = std::ranges::find(programs_, id, &Program::id);
    if (found == programs_.end()) {
        return;
    }
    scene_.note("program {} ({}) lets the microphone go", found->bundleID, id);
    programs_.erase(found);
    refreshWindows();
    if (scene_.random.chance(50)) {
        audio_.setRunningInput(id, false);
        audio_.fireRunningInput(id);
    } else {
        audio_.removeProcess(id);
        audio_.fireProcesses();
    }
    tellDeviceUse();
}

void World::changeTab(AudioObjectID id) {
    const auto found = std::ranges::find(programs_, id, &Program::id);
    if (found != programs_.end()) {
        found->showsMeeting = !found->showsMeeting;
        scene_.note("browser {} shows {}", id, found->showsMeeting ? "a meeting" : "the news");
        refreshWindows();
    }
}

void World::refreshWindows() {
    std::vector<WindowRecord> records;
    for (const Program& program : programs_) {
        if (program.isBrowser) {
            records.push_back(
                {.ownerPid = program.pid,
                 .ownerBundleID = {},
                 .name = program.showsMeeting ? "Meet - abc" : "The news"});
        }
    }
    windows_.records = std::move(records);
}

std::vector<Moment::Holder> World::holders() const {
    const auto& disabled = run_->model().settings.disabledCallFamilies.get();
    std::vector<Moment::Holder> holders;
    for (const Program& program : programs_) {
        if (program.family.empty() || disabled.contains(program.family)) {
            continue;
        }
        // A family's windows are all one to the program.
        const bool meets =
            windows_.permitted && std::ranges::any_of(programs_, [&](const Program& other) {
                return other.family == program.family && other.showsMeeting;
            });
        holders.push_back(
            {program.family, program.family != "other" && (!program.isBrowser || meets)});
    }
    return holders;
}

std::vector<Caller> World::callers() const {
    const auto& disabled = run_->model().settings.disabledCallFamilies.get();
    std::vector<Caller> callers;
    for (const Program& program : programs_) {
        callers.push_back(
            {program.bundleID, !program.family.empty() && !disabled.contains(program.family),
             program.showsMeeting});
    }
    return callers;
}

/// The program's clock is set between calls only: what it may show until then is remembered.
void World::followClock() {
    constexpr Seconds surely{30};
    // Where nobody can be told apart, a program that is ignored otherwise keeps a call going too.
    const bool isFree = usersAreUnknown_ ? programs_.empty() : moment_.holders.empty();
    const bool calm = oracle_.watchingSince() && *oracle_.watchingSince() < moment_.now &&
                      lastSession_.isIdle() && isFree && !scene_.asleep && !scene_.isWaitedFor() &&
                      !run_->model().pendingAskLabel.get();
    if (!calm) {
        calmSince_.reset();
        return;
    }
    calmSince_ = calmSince_.value_or(moment_.now);
    if (secondsBetween(*calmSince_, moment_.now) > surely) {
        scene_.clocksAhead = {scene_.wallClock.ahead()};
        calmSince_ = moment_.now;
    }
}

void World::scheduleMishap() {
    scene_.timeline.after(scene_.between(1, 120), [this] {
        if (calm_) {
            return;
        }
        switch (scene_.random.below(18)) {
        case 16:
        case 17:
            askToQuit();
            break;
        case 12:
        case 13:
            setTheClock();
            break;
        case 14:
        case 15:
            sleep();
            break;
        case 0:
        case 1:
        case 2:
            scene_.random.chance(70) ? changeDevices() : useACamera();
            break;
        case 3:
            troubleTheDisk();
            break;
        case 4:
            changePermissions();
            break;
        default:
            planDeath();
            break;
        }
        scheduleMishap();
    });
}

void World::changeDevices() {
    auto& devices = scene_.random.chance(60) ? scene_.cameras : scene_.microphones;
    const std::vector<const char*> ids = &devices == &scene_.cameras
                                             ? std::vector{"cam-1", "cam-2", "cam-3"}
                                             : std::vector{"mic-1", "mic-2", "mic-3"};
    const auto info = device(scene_.random.oneOf(ids));
    if (scene_.random.chance(40)) {
        if (scene_.brokenDevices.erase(info.uniqueID) == 0) {
            scene_.brokenDevices.insert(info.uniqueID);
        }
        scene_.note("device {} changes its mind about being opened", info.uniqueID);
        return;
    }
    const auto found = std::ranges::find(devices, info);
    scene_.note("device {} {}", info.uniqueID, found == devices.end() ? "plugged" : "pulled");
    if (found == devices.end()) {
        devices.push_back(info);
    } else {
        devices.erase(found);
    }
    run_->capture().fireDevicesChanged();
}

void World::useACamera() {
    const std::string camera = scene_.random.oneOf(std::vector<const char*>{"cam-1", "cam-2"});
    if (scene_.cameraHolders.erase(camera) > 0) {
        scene_.note("camera {} is let go of", camera);
        scene_.cameraOpeners.erase(camera);
        run_->capture().fireCameraUse();
        return;
    }
    const std::int32_t pid = ++lastCameraUser_;
    const bool isRecorded = !run_->capture().hasLetGoOf(camera);
    scene_.note("camera {} is opened by {}", camera, pid);
    scene_.cameraOpeners[camera].insert(pid);
    run_->capture().fireCameraUse();
    scene_.timeline.after(Seconds{0.1}, [this, camera, pid, isRecorded] {
        const bool isMeant = isRecorded && scene_.cameraOpeners[camera].contains(pid);
        if (isMeant && run_ && !run_->queue().hasWork() && !run_->capture().hasLetGoOf(camera)) {
            scene_.violate("a camera that somebody opened was not let go of");
        }
    });
    if (scene_.random.chance(60)) {
        scene_.cameraHolders[camera] = pid;
        scene_.note("camera {} is used by {}", camera, pid);
        return;
    }
    scene_.timeline.after(scene_.between(0, 4), [this, camera, pid] {
        scene_.cameraOpeners[camera].erase(pid);
        if (run_) {
            run_->capture().fireCameraUse();
        }
    });
}

void World::setFreeBytes(std::int64_t bytes) {
    scene_.freeBytes = bytes;
    scene_.files.setAvailableCapacity(bytes);
}

void World::troubleTheDisk() {
    switch (scene_.random.below(3)) {
    case 0:
        scene_.note("disk: sick");
        run_->disk().setSickness(10 + static_cast<unsigned>(scene_.random.below(40)), 0);
        scene_.timeline.after(scene_.between(1, 30), [this] {
            run_->disk().setSickness(0, 0);
            scene_.note("disk: healthy");
        });
        break;
    case 1:
        scene_.note("disk: slow");
        run_->disk().setSickness(0, 10);
        scene_.timeline.after(scene_.between(1, 20), [this] { run_->disk().setSickness(0, 0); });
        break;
    default:
        scene_.note("disk: nearly full");
        diskIsLow_ = true;
        scene_.files.setRoomLeft(static_cast<std::int64_t>(scene_.random.below(600)));
        setFreeBytes(scene_.random.chance(50) ? 900'000'000 : 3'000'000'000);
        scene_.timeline.after(scene_.between(5, 60), [this] {
            diskIsLow_ = false;
            scene_.files.setRoomLeft(std::nullopt);
            setFreeBytes(plentyOfRoom);
            scene_.note("disk: has room again");
        });
        break;
    }
}

void World::changePermissions() {
    const MediaType mediaType = scene_.random.chance(50) ? MediaType::video : MediaType::audio;
    scene_.note("user: takes access back for a while");
    scene_.authorization[mediaType] =
        scene_.random.chance(50) ? AuthorizationStatus::denied : AuthorizationStatus::notDetermined;
    scene_.timeline.after(scene_.between(10, 60), [this, mediaType] {
        scene_.authorization[mediaType] = AuthorizationStatus::authorized;
    });
}

/// Time is corrected, the user sets the clock, or a battery was empty.
void World::setTheClock() {
    const Seconds by =
        scene_.random.chance(50) ? scene_.between(-100, 100) : scene_.between(-1e6, 1e6);
    ++scene_.statistics.clockJumps;
    scene_.note("clock: jumps by {} s", by.count());
    scene_.wallClock.jump(by);
    scene_.clocksAhead.push_back(scene_.wallClock.ahead());
    calmSince_.reset();
}

bool World::isStandingTrouble() const {
    const bool microphoneOff =
        scene_.authorization.at(MediaType::audio) != AuthorizationStatus::authorized;
    return diskIsLow_ || run_->disk().isSick() || microphoneOff || !scene_.brokenDevices.empty() ||
           scene_.microphones.empty();
}

// --- The user ---

void World::scheduleClick() {
    scene_.timeline.after(scene_.between(1, 90), [this] {
        if (!calm_) {
            click();
            scheduleClick();
        }
    });
}

void World::click() {
    AppModel& model = run_->model();
    ++scene_.statistics.clicks;
    switch (scene_.random.below(6)) {
    case 0:
    case 1:
        scene_.note("user: record now");
        // On the way to its end or into sleep the program need not take the command.
        moment_.userStarted = !quitting_ && !scene_.asleep;
        moment_.userAccepted = scene_.asleep;
        model.recordNowFromMenu();
        break;
    case 2:
    case 3:
        scene_.note("user: stop");
        ledger_.endWasAskedFor();
        moment_.userStopped = true;
        model.stopRecordingFromMenu();
        break;
    case 4:
        scene_.note("user: stop and discard");
        ledger_.endWasAskedFor();
        if (const auto room = model.sessionState.get().roomCode();
            room && model.sessionState.get().isRecording()) {
            moment_.userStopped = true;
            ledger_.mayDiscard(*room);
            if (!scene_.asleep) { // else the recording was ended before, and is being kept
                folderAccount_.discardIsAskedFor(*room);
            }
        }
        model.stopAndDiscard();
        break;
    default:
        changeSettings();
        break;
    }
}

void World::changeSettings() {
    AppModel& model = run_->model();
    const std::vector<const char*> families{"zoom", "teams", "chrome", "other"};
    if (scene_.random.chance(30)) {
        moment_.asksFirst = !moment_.asksFirst;
        scene_.note("user: ask before recording: {}", moment_.asksFirst);
        model.settings.askBeforeRecording.set(moment_.asksFirst);
    } else if (scene_.random.chance(50)) {
        const std::string family = scene_.random.oneOf(families);
        const bool enabled = scene_.random.chance(60);
        scene_.note("user: family {} {}", family, enabled ? "on" : "off");
        model.setAutoRecord(family, enabled);
        sidecarAccount_.settingsChanged();
    } else {
        scene_.note("user: prefers another device");
        model.settings.preferredVideoDeviceID.set("cam-2");
        model.settings.preferredAudioDeviceID.set("mic-2");
        scene_.preferred = {
            {MediaType::video, device("cam-2").localizedName},
            {MediaType::audio, device("mic-2").localizedName}};
    }
}

void World::answerPrompts() {
    auto& notifications = run_->notifications();
    for (; promptsSeen_ < notifications.posted.size(); ++promptsSeen_) {
        const NotificationRequest request = notifications.posted[promptsSeen_];
        scene_.note("notification: {}", request.body);
        if (constexpr std::string_view recovered = "Recovered ";
            request.body.starts_with(recovered)) {
            scene_.statistics.repairs += std::stoull(request.body.substr(recovered.size()));
        }
        if (!request.label) {
            continue;
        }
        moment_.asked = true;
        scene_.timeline.after(
            scene_.between(0.2, 30), [this, launch = scene_.launches, label = *request.label] {
                if (launch != scene_.launches ||
                    !run_->notifications().shown.contains("ask-" + label)) {
                    return;
                }
                const std::vector<const char*> answers{
                    Notifier::recordAction, Notifier::skipAction,
                    NotificationResponse::defaultAction, NotificationResponse::dismissAction};
                const std::string answer = scene_.random.oneOf(answers);
                scene_.note("user: answers {} with {}", label, answer);
                moment_.userAccepted = answer == Notifier::recordAction ||
                                       answer == NotificationResponse::defaultAction;
                moment_.userDeclined = answer == Notifier::skipAction;
                acceptedAsleep_ = scene_.asleep && moment_.userAccepted;
                run_->notifications().respondToAsk(label, answer);
            });
    }
}

// --- The program ---

void World::launch() {
    ++scene_.launches;
    scene_.note("program: launched");
    oracle_ = DetectionOracle{};
    scene_.asleep = false;
    pausedBySleep_ = false;
    promptsSeen_ = 0;
    lastSession_ = {};
    disagreement_ = {};
    disagreed_ = false;
    quitting_ = false;
    left_ = false;
    isLate_ = false;
    quitDelay_ = {};
    readySeen_ = 0;
    isReadyToSleep_ = false;
    acceptedAsleep_ = false;
    scene_.clocksAhead = {scene_.wallClock.ahead()};
    calmSince_.reset();
    folderAccount_.programLaunched();
    sidecarAccount_.programLaunched();
    run_ = std::make_unique<ProgramRun>(scene_, Desktop{audio_, registry_, windows_, defaults_});
    run_->model().onQuitRequest = [this] {
        quitIsAskedFor();
    };
    userAccount_.programLaunched(run_->model());
    run_->model().launch();
    // A question that nobody answers does not hold the program up for long.
    constexpr Seconds patience{20};
    scene_.timeline.after(patience, [this, launch = scene_.launches] {
        if (launch == scene_.launches && !quitting_ && !oracle_.watchingSince()) {
            oracle_.beginWatching(scene_.timeline.now());
        }
    });
    scene_.timeline.after(
        scene_.random.chance(70) ? Seconds{0.1} : scene_.between(0, 40),
        [this, launch = scene_.launches] {
            auto& notifications = run_->notifications();
            if (launch == scene_.launches && !notifications.authorizationRequests.empty()) {
                scene_.note("user: answers about notifications");
                if (!quitting_ && !oracle_.watchingSince()) {
                    oracle_.beginWatching(scene_.timeline.now());
                }
                notifications.answerAuthorization(scene_.random.chance(90));
            }
        });
}

bool World::step() {
    const Date now = scene_.timeline.now();
    SimulatedQueue& queue = run_->queue();
    const bool queueReady = queue.hasWork() && queue.readyAt() <= now;
    const bool posted = run_->mainLoop().hasPosts();
    if (queueReady && (!posted || scene_.random.chance(50))) {
        queue.runOne();
        if (scene_.random.chance(15)) {
            queue.blockUntil(
                scene_.timeline.now() + std::chrono::milliseconds{scene_.random.below(3000)});
        }
    } else if (posted) {
        run_->mainLoop().runOnePost();
    } else {
        const auto due = scene_.timeline.nextDue();
        if (queue.hasWork() && (!due || queue.readyAt() < *due)) {
            scene_.timeline.moveTo(queue.readyAt());
            queue.runOne();
        } else {
            scene_.timeline.runNext();
        }
    }
    ++scene_.statistics.steps;
    return afterStep();
}

bool World::afterStep() {
    if (run_->disk().isDead()) {
        moment_ = Moment{.asksFirst = moment_.asksFirst};
        killProgram(powerFailsAtDeath_);
    } else {
        answerPrompts();
        if (isStandingTrouble()) {
            scene_.trouble();
        }
        if (run_->disk().isSick() || diskIsLow_) {
            ledger_.excuse();
        }
        moment_.now = scene_.timeline.now();
        moment_.holders = holders();
        moment_.asleep = scene_.asleep;
        moment_.session = run_->model().sessionState.get();
        moment_.lastTrouble = scene_.lastTrouble;
        moment_.lastSlow = scene_.lastSlow;
        const bool turning = moment_.session != lastSession_ || !scene_.touched.empty();
        if (auto wrong = oracle_.judge(moment_); wrong && !usersAreUnknown_) {
            scene_.violate(*std::move(wrong));
        }
        if (moment_.session != lastSession_) {
            scene_.note(
                "session: {} {}", moment_.session.roomCode().value_or("idle"),
                moment_.session.isRecording() ? "recording" : "");
            if (!moment_.session.isRecording()) {
                ledger_.endWasAskedFor();
            }
            pausedBySleep_ = scene_.asleep && moment_.session.isRecording();
            if (quitting_ && moment_.session.isRecording()) {
                scene_.violate("a recording begins while the program comes to its end");
            }
            recordingSince_ = moment_.now;
            lastSession_ = moment_.session;
        }
        sidecarAccount_.look(
            callers(), lastSession_.isRecording() ? lastSession_.roomCode().value_or("") : "",
            oracle_.watchingSince());
        userAccount_.look(
            run_->model(), run_->notifications(), !moment_.holders.empty(),
            oracle_.watchingSince());
        ledger_.checkTouched();
        followClock();
        folderAccount_.look();
        const Seconds passed = secondsBetween(lastLook_, moment_.now);
        const Seconds blocked = std::exchange(scene_.blocked, Seconds{0});
        watchSession(passed - blocked);
        watchElapsedTime();
        watchSleep();
        watchQuit(passed - blocked);
        lastLook_ = moment_.now;
        moment_ = Moment{.asksFirst = moment_.asksFirst};
        // The worst moment for a click or the end of the world is when something has just begun.
        if (turning && !calm_ && !scene_.violation) {
            if (scene_.random.chance(3)) {
                click();
                return afterStep();
            }
            if (scene_.random.chance(2)) {
                planDeath();
            }
            if (scene_.random.chance(1)) {
                askToQuit();
                return afterStep();
            }
            if (scene_.random.chance(1)) {
                sleep();
                return afterStep();
            }
        }
        if (left_ && !calm_ && !scene_.violation) {
            endRun();
        }
    }
    return !scene_.violation;
}

/// A recording runs exactly when the session says so, as soon as nobody else is waited for.
void World::watchSession(Seconds passed) {
    if (disagreed_) {
        disagreement_ += passed;
    }
    const bool captures = scene_.writing > 0;
    if (captures && !scene_.asleep && !moment_.holders.empty() && !usersAreUnknown_) {
        pausedBySleep_ = false;
    }
    const bool mayPause =
        pausedBySleep_ && (scene_.asleep || moment_.holders.empty() || usersAreUnknown_);
    const bool agree = lastSession_.isRecording() == captures || mayPause;
    if (agree) {
        disagreement_ = {};
    }
    disagreed_ = !agree && !scene_.isWaitedFor() && !run_->queue().hasWork();
    if (disagreement_ <= mostDisagreement) {
        return;
    }
    if (!lastSession_.isRecording()) {
        scene_.violate("a capture runs that the session knows nothing of");
    } else if (run_->exportWorker().repairsHoldARecordingUp()) {
        scene_.violate("the session records, and nothing is captured until a repair is done");
    } else {
        scene_.violate("the session records, and nothing is captured");
    }
}

/// The status line counts the seconds since the session began to record, whatever the wall clock
/// does.
void World::watchElapsedTime() {
    constexpr Seconds mostLag{4};
    constexpr std::string_view beginning = "Recording ";
    const std::string& line = run_->model().statusLine.get();
    const auto& watching = oracle_.watchingSince();
    if (!watching || secondsBetween(*watching, moment_.now) < mostLag ||
        !lastSession_.isRecording() || scene_.asleep || !line.starts_with(beginning) ||
        (scene_.lastSlow && secondsBetween(*scene_.lastSlow, moment_.now) < mostLag) ||
        (lastSlept_ && secondsBetween(*lastSlept_, moment_.now) < mostLag)) {
        return;
    }
    int minutes = 0;
    int seconds = 0;
    if (std::sscanf(line.c_str() + beginning.size(), "%d:%d", &minutes, &seconds) != 2) {
        return;
    }
    const Seconds shown{minutes * 60 + seconds};
    const Seconds elapsed = secondsBetween(recordingSince_, moment_.now);
    if (shown > elapsed + mostLag || shown + mostLag < elapsed) {
        scene_.violate(fmt::format(
            "the status line says \"{}\" after {:.1f} s of recording", line, elapsed.count()));
    }
}

bool World::live(unsigned calls) {
    const Date begun = scene_.timeline.now();
    setUp();
    launch();
    lastLook_ = scene_.timeline.now();
    while (scene_.statistics.calls < calls && step()) {
    }
    const bool well = !scene_.violation && settle();
    ++scene_.statistics.worlds;
    scene_.statistics.simulatedSeconds = secondsBetween(begun, scene_.timeline.now()).count();
    ledger_.close(scene_.statistics);
    return well;
}

} // namespace brindle::simulation

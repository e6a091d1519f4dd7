#include "BrindleRecorderApp/Recording/RecordingLife.hpp"

#include "BrindleRecorderApp/Calls/ProgramName.hpp"
#include "BrindleRecorderApp/Recording/DeviceChoice.hpp"
#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Recordings/CaptureRecoveryPolicy.hpp"

#include <fmt/format.h>
#include <utility>

namespace brindle {

namespace {

std::string describe(const RecoveryDecision& decision) {
    return fmt::format(
        "restart={} blockCurrentCamera={} audioOnly={}", decision.restart,
        decision.blockCurrentCamera, decision.audioOnly);
}

} // namespace

RecordingLife::RecordingLife(
    const AppEnvironment& environment, EventLog log, RecordingFiles& files,
    RecordingSession& session, const DeviceCatalog& catalog, DeviceChoice& devices,
    PermissionsModel& permissions, Notifier& notifier, SourceOf sourceOf)
    : captureSystem_{environment.captureSystem}, processRegistry_{environment.processRegistry},
      dateProvider_{environment.dateProvider}, currentTimeZone_{environment.currentTimeZone},
      log_{log}, files_{files}, session_{session}, devices_{devices}, notifier_{notifier},
      remuxer_{environment.movieExporter, environment.mainLoop,      environment.dateProvider,
               environment.fileManager,   environment.diagnosticLog, environment.systemLog},
      recorder_{environment.captureSystem,       environment.mainLoop,
                environment.dateProvider,        environment.fileManager,
                environment.diagnosticLog,       environment.systemLog,
                environment.captureSessionQueue, remuxer_},
      opener_{
          {.captureSystem = environment.captureSystem,
           .processRegistry = environment.processRegistry,
           .dateProvider = environment.dateProvider,
           .currentTimeZone = environment.currentTimeZone,
           .log = log,
           .files = files,
           .session = session,
           .devices = devices,
           .permissions = permissions,
           .notifier = notifier,
           .recorder = recorder_,
           .sourceOf = std::move(sourceOf)}},
      closer_{
          {.fileManager = environment.fileManager,
           .dateProvider = environment.dateProvider,
           .currentTimeZone = environment.currentTimeZone,
           .log = log,
           .files = files,
           .notifier = notifier,
           .recorder = recorder_,
           .remuxer = remuxer_}},
      cameraReturn_{
          {.captureSystem = environment.captureSystem,
           .mainLoop = environment.mainLoop,
           .dateProvider = environment.dateProvider,
           .catalog = catalog,
           .devices = devices}},
      cameraYield_{environment.captureSystem, environment.mainLoop}, work_{environment.mainLoop} {
    session_.onStart = [this](const RecordingRequest& request) {
        work_.enqueue([this, request] { return beginIfWanted(request); });
    };
    session_.onStop = [this](bool keep) {
        work_.enqueue([this, keep] { return end(keep); });
    };
    recorder_.onFailure = [this](const RecorderError& error) {
        recorderDidFail(error);
    };
    cameraReturn_.onReturn = [this] {
        work_.enqueue([this] { return takeUpCamera(); });
    };
    cameraYield_.onRelease = [this] {
        log_.diagnostic("camera wanted by another program: let go");
        recorder_.releaseCamera();
    };
    cameraYield_.onRetake = [this] {
        log_.diagnostic("camera not used by another program: taken again");
        recorder_.retakeCamera();
    };
    cameraYield_.onLoss = [this](const CameraHolder& holder) {
        recorder_.loseCamera(ProgramName::of(holder, processRegistry_));
    };
}

void RecordingLife::forgetFailures() {
    failureCountByRoom_.clear();
    devices_.unblockCameras();
    cameraReturn_.forgetCall();
}

Task<void> RecordingLife::beginIfWanted(RecordingRequest request) {
    if (session_.isWanted(request)) {
        co_await begin(request, std::nullopt, false);
    } else {
        // The jobs before took longer than the call, or a sleep came between.
        opener_.logNotBegun(request);
    }
}

Task<bool> RecordingLife::begin(
    RecordingRequest request, std::optional<SegmentOpener::Continuation> continuing,
    bool audioOnly) {
    SegmentOpener::Opening opening =
        co_await opener_.open(request, std::move(continuing), audioOnly);
    if (opening.segment) {
        current_ = std::move(opening.segment);
        if (current_->cameraID) {
            cameraYield_.guard(*current_->cameraID);
        } else if (current_->lacksCamera) {
            cameraReturn_.await(current_->refusedCameraIDs);
        }
    }
    changed();
    co_return opening.hasBegun;
}

Task<void> RecordingLife::end(bool keep) {
    if (!current_) {
        co_return;
    }
    Segment segment = takeCurrent();
    log_.diagnostic(fmt::format("end recording: {} keep={}", segment.baseName, keep));
    if (keep) {
        co_await closer_.keep(std::move(segment));
    } else {
        co_await closer_.discard(std::move(segment));
    }
    files_.measure();
    changed();
}

void RecordingLife::recorderDidFail(const RecorderError& error) {
    // Taken now: when the job's turn comes, the session may be about another call.
    const auto failed = current_ ? std::optional{current_->request} : session_.lastRequest();
    if (!failed) {
        return;
    }
    const auto segment = current_ ? std::optional{current_->number} : std::nullopt;
    work_.enqueue(
        [this, error, failed, segment] { return processFailure(error, *failed, segment); });
}

Task<void> RecordingLife::processFailure(
    RecorderError error, RecordingRequest failed, std::optional<std::uint64_t> failedSegment) {
    if (current_ && current_->number != failedSegment) {
        // A stop that was asked for before has ended that segment, and the next one records.
        co_return;
    }
    if (!session_.state().get().roomCode() && !current_) {
        co_return;
    }
    const std::string roomCode = failed.roomCode;
    const int failures = ++failureCountByRoom_[roomCode];
    // Asleep the call goes on, too: what may not be restarted now is not to be resumed either.
    const RecoveryDecision decision = CaptureRecoveryPolicy::decide(
        error.failureKind(), failures, session_.state().get() == SessionState::recording(roomCode));
    const std::string message = error.userMessage();
    log_.diagnostic(fmt::format(
        "capture failure #{} in room {}: {} file={} decision={}", failures, roomCode,
        error.userMessage(Language::english()), current_ ? current_->baseName : "-",
        describe(decision)));
    if (!current_) {
        notifier_.tell(message);
        decision.restart ? session_.didFail(failed) : session_.giveUp(roomCode);
        co_return;
    }
    Segment segment = takeCurrent();
    if (decision.blockCurrentCamera && !hasLostCamera(segment)) {
        devices_.blockCameraNamed(segment.sidecar.videoDevice);
    }
    std::optional<std::string> continuedIn;
    if (decision.restart) {
        continuedIn = files_.uniqueBaseName();
    }
    const SegmentCloser::Ended left = co_await closer_.convertFailed(std::move(segment), error);
    if (!session_.isWanted(failed)) {
        continuedIn.reset(); // the call was over before this segment was converted
    }
    closer_.finishEnded(left, continuedIn);

    const std::string time = RecordingMessages::timeOfDay(dateProvider_.now(), currentTimeZone_());
    // A start that followed a sleep may be waiting behind this job.
    const auto& wanted = session_.lastRequest();
    const bool goesOn =
        decision.restart && wanted && session_.isWanted(*wanted) && wanted->roomCode == roomCode;
    session_.warn(
        roomCode, goesOn ? RecordingMessages::problemAt(time, message, continuedIn)
                         : RecordingMessages::stoppedAt(time, message));
    notifier_.tell(goesOn ? RecordingMessages::restarting(message) : message);
    if (!decision.restart) {
        session_.giveUp(roomCode);
    }
    if (!continuedIn) {
        changed();
        co_return;
    }
    co_await goOn(failed, left, *continuedIn, decision.audioOnly);
}

Task<void> RecordingLife::takeUpCamera() {
    if (!current_ || !current_->lacksCamera || !session_.isWanted(current_->request)) {
        co_return;
    }
    Segment segment = takeCurrent();
    const RecordingRequest request = segment.request;
    std::optional<std::string> continuedIn = files_.uniqueBaseName();
    log_.diagnostic(
        fmt::format("camera available again: {} goes on in {}", segment.baseName, *continuedIn));
    const SegmentCloser::Ended left = co_await closer_.stopToGoOn(
        std::move(segment), RecordingMessages::cameraIsBack(Language::english()));
    if (!session_.isWanted(request)) {
        continuedIn.reset();
    }
    closer_.finishEnded(left, continuedIn);
    if (!continuedIn) {
        changed();
        co_return;
    }
    notifier_.tell(RecordingMessages::restarting(RecordingMessages::cameraIsBack()));
    co_await goOn(request, left, *continuedIn, false);
}

Task<void> RecordingLife::goOn(
    RecordingRequest request, const SegmentCloser::Ended& before, std::string continuedIn,
    bool audioOnly) {
    // A variable of its own: g++ 12 destroys an aggregate that is made within a co_await twice.
    SegmentOpener::Continuation continuation{
        .baseName = std::move(continuedIn),
        .continuedBaseName = before.segment.baseName,
    };
    if (!co_await begin(std::move(request), std::move(continuation), audioOnly)) {
        closer_.finishEnded(before, std::nullopt); // there is no file that it goes on in
    }
}

bool RecordingLife::hasLostCamera(const Segment& segment) const {
    return segment.cameraID && captureSystem_.holderOf(*segment.cameraID);
}

Segment RecordingLife::takeCurrent() {
    cameraReturn_.cease();
    cameraYield_.cease();
    return *std::exchange(current_, std::nullopt);
}

void RecordingLife::changed() const {
    if (onChange) {
        onChange();
    }
}

} // namespace brindle

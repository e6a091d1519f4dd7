#include "BrindleRecorderApp/Recording/CameraReturn.hpp"

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Recording/DeviceChoice.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

void CameraReturn::await(std::set<std::string> refusedCameraIDs) {
    refusedCameraIDs_ = std::move(refusedCameraIDs);
    freeSince_.reset();
    catalogObserver_ = parts_.catalog.cameras().observe([this](const auto&) {
        forgetAbsentCameras();
        look();
    });
    useObserver_ = parts_.captureSystem.observeCameraUse([this] { look(); });
    look();
}

void CameraReturn::cease() {
    timer_.reset();
    catalogObserver_.reset();
    useObserver_.reset();
}

void CameraReturn::look() {
    timer_.reset();
    if (!canOpenOne()) {
        freeSince_.reset();
        return;
    }
    const Date now = parts_.dateProvider.now();
    freeSince_ = freeSince_.value_or(now);
    Date due = *freeSince_ + settlesWithin;
    if (lastReturnAt_) {
        due = std::max<Date>(due, *lastReturnAt_ + leastInterval);
    }
    if (now < due) {
        lookAgainAt(due);
        return;
    }
    lastReturnAt_ = now;
    cease();
    if (const auto report = onReturn) {
        report();
    }
}

void CameraReturn::forgetAbsentCameras() {
    std::erase_if(refusedCameraIDs_, [this](const auto& refused) {
        return !parts_.catalog.hasCamera(refused);
    });
}

void CameraReturn::lookAgainAt(Date date) {
    timer_ = parts_.mainLoop.after(date - parts_.dateProvider.now(), [this] { look(); });
}

bool CameraReturn::canOpenOne() const {
    return std::ranges::any_of(
        parts_.devices.cameraCandidates(), [this](const CaptureDeviceInfo& camera) {
            return !refusedCameraIDs_.contains(camera.uniqueID) &&
                   !parts_.captureSystem.holderOf(camera.uniqueID);
        });
}

} // namespace brindle

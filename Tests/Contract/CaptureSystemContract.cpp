#include "Contract/CaptureContract.hpp"

#include <algorithm>
#include <thread>

namespace brindle::test {

bool CaptureSystemContract::isListed(MediaType mediaType, const std::string& uniqueID) {
    return std::ranges::any_of(
        system().discover(mediaType), [&](const auto& info) { return info.uniqueID == uniqueID; });
}

TEST_P(CaptureSystemContract, ListsEachDeviceAmongItsKind) {
    subject_->plug(MediaType::video, "a-camera");
    subject_->plug(MediaType::audio, "a-microphone");
    EXPECT_TRUE(isFound(MediaType::video, "a-camera"));
    EXPECT_TRUE(isFound(MediaType::audio, "a-microphone"));
    EXPECT_FALSE(isListed(MediaType::audio, "a-camera"));
    EXPECT_FALSE(isListed(MediaType::video, "a-microphone"));
}

TEST_P(CaptureSystemContract, FindsADeviceForAsLongAsItIsThere) {
    subject_->plug(MediaType::audio, "going-microphone");
    ASSERT_TRUE(isFound(MediaType::audio, "going-microphone"));
    const auto device = system().device("going-microphone");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->info().uniqueID, "going-microphone");
    EXPECT_EQ(device->mediaType(), MediaType::audio);
    EXPECT_EQ(system().device("never there"), nullptr);
    subject_->unplug("going-microphone");
    EXPECT_TRUE(becomes([&] { return system().device("going-microphone") == nullptr; }));
    EXPECT_FALSE(isListed(MediaType::audio, "going-microphone"));
}

TEST_P(CaptureSystemContract, TellsOfDevicesThatComeAndGo) {
    const auto mainThread = std::this_thread::get_id();
    bool isElsewhere = false;
    int changes = 0;
    int unheard = 0;
    const auto observation = system().observeDevices([&] {
        isElsewhere |= std::this_thread::get_id() != mainThread;
        ++changes;
    });
    auto ended = system().observeDevices([&] { ++unheard; });
    ended.reset();
    subject_->plug(MediaType::audio, "told-microphone");
    EXPECT_TRUE(
        becomes([&] { return changes > 0 && isListed(MediaType::audio, "told-microphone"); }));
    changes = 0;
    subject_->unplug("told-microphone");
    EXPECT_TRUE(
        becomes([&] { return changes > 0 && !isListed(MediaType::audio, "told-microphone"); }));
    EXPECT_FALSE(isElsewhere);
    EXPECT_EQ(unheard, 0);
}

TEST_P(CaptureSystemContract, AnObservationMayBeEndedByItsOwnListener) {
    int changes = 0;
    std::unique_ptr<Observation> observation;
    observation = system().observeDevices([&] {
        ++changes;
        observation.reset();
    });
    int others = 0;
    const auto other = system().observeDevices([&] { ++others; });
    subject_->plug(MediaType::audio, "first-microphone");
    EXPECT_TRUE(becomes([&] { return changes == 1 && others > 0; }));
    others = 0;
    subject_->plug(MediaType::audio, "second-microphone");
    EXPECT_TRUE(becomes([&] { return others > 0; }));
    EXPECT_EQ(changes, 1);
}

TEST_P(CaptureSystemContract, TheDefaultCameraIsOneOfThoseThatAreThere) {
    subject_->plug(MediaType::video, "lone-camera");
    ASSERT_TRUE(isFound(MediaType::video, "lone-camera"));
    const auto camera = system().defaultCamera();
    ASSERT_TRUE(camera);
    EXPECT_TRUE(isListed(MediaType::video, camera->uniqueID));
    subject_->unplug("lone-camera");
    EXPECT_TRUE(becomes([&] { return !isListed(MediaType::video, "lone-camera"); }));
    for (const auto& left : {system().defaultCamera(), system().systemPreferredCamera()}) {
        EXPECT_TRUE(!left || isListed(MediaType::video, left->uniqueID));
    }
}

TEST_P(CaptureSystemContract, NobodyHoldsACameraThatNobodyKnows) {
    EXPECT_EQ(system().holderOf("never there"), std::nullopt);
    EXPECT_TRUE(system().openersOf("never there").empty());
}

TEST_P(CaptureSystemContract, AnswersAboutAccessOnceAndOnTheMainThread) {
    subject_->plug(MediaType::audio, "allowed-microphone");
    ASSERT_TRUE(isFound(MediaType::audio, "allowed-microphone"));
    const auto mainThread = std::this_thread::get_id();
    for (const auto mediaType : {MediaType::video, MediaType::audio}) {
        int answers = 0;
        bool isElsewhere = false;
        bool isGranted = false;
        system().requestAccess(mediaType, [&](bool granted) {
            isElsewhere = std::this_thread::get_id() != mainThread;
            isGranted = granted;
            ++answers;
        });
        EXPECT_TRUE(becomes([&] { return answers > 0; }));
        EXPECT_EQ(answers, 1);
        EXPECT_FALSE(isElsewhere);
        EXPECT_EQ(
            isGranted, system().authorizationStatus(mediaType) == AuthorizationStatus::authorized);
    }
}

} // namespace brindle::test

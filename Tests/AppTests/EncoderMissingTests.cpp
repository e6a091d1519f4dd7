// Calls where nothing compresses pictures.
#include "Support/AppScene.hpp"
#include "Support/ScriptedVideoEncoders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EncoderMissingTest : public testing::Test {
  protected:
    void launchWith(test::ScriptedVideoEncoders& encoders) {
        scene.kill();
        scene.encoders = &encoders;
        scene.start();
        scene.launch();
    }
    void recordACall() {
        scene.zoomTakesTheMicrophone();
        scene.runFor(std::chrono::seconds{5});
        ASSERT_EQ(scene.captured.size(), 1U);
    }
    [[nodiscard]] Sidecar sidecar() const {
        return scene.sidecar(scene.captured.front().stem().string());
    }

    test::AppScene scene;
};

TEST_F(EncoderMissingTest, IsSaidAtLaunchAndCallsAreRecordedWithTheirSound) {
    test::ScriptedVideoEncoders encoders{{}};
    launchWith(encoders);
    encoders.answerAll();
    EXPECT_THAT(
        scene.notices(),
        ElementsAre(
            "No video encoder works on this system, so calls are recorded without a picture."));
    recordACall();
    EXPECT_EQ(sidecar().videoDevice, "none");
    EXPECT_EQ(sidecar().audioDevice, "Integrated Microphone");
    EXPECT_THAT(sidecar().notes, ElementsAre("No video encoder works here; recorded audio only."));
}

TEST_F(EncoderMissingTest, WhereOneWorksTheCameraIsRecorded) {
    test::ScriptedVideoEncoders encoders{{"libopenh264"}};
    launchWith(encoders);
    encoders.answerAll();
    EXPECT_THAT(scene.notices(), IsEmpty());
    EXPECT_THAT(encoders.used, ElementsAre("libopenh264"));
    recordACall();
    EXPECT_EQ(sidecar().videoDevice, "Integrated Camera");
}

TEST_F(EncoderMissingTest, ACallThatComesBeforeTheAnswerIsRecordedWithItsCamera) {
    test::ScriptedVideoEncoders encoders{{"libx264"}};
    launchWith(encoders);
    recordACall();
    EXPECT_EQ(sidecar().videoDevice, "Integrated Camera");
    encoders.answerAll();
    EXPECT_THAT(encoders.used, ElementsAre("libx264"));
}

} // namespace
} // namespace brindle

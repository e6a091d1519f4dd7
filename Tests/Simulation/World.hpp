// One simulated world: a user with a computer, programs that come and go, and the real application
// running on it, being killed, losing power, and being launched again.
//
// Its parts are two files: World.cpp is what goes on, and WorldEndings.cpp how it comes to an end.
#pragma once

#include "BrindleRecorderApp/AppModel.hpp"
#include "Simulation/DetectionOracle.hpp"
#include "Simulation/FolderAccount.hpp"
#include "Simulation/Ledger.hpp"
#include "Simulation/ProgramRun.hpp"
#include "Simulation/Scene.hpp"
#include "Simulation/SidecarAccount.hpp"
#include "Simulation/UserAccount.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeProcessRegistry.hpp"
#include "Support/FakeWindowList.hpp"
#include "Support/InMemoryDefaultsStore.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::simulation {

class World {
  public:
    /// Everything that happens in it follows from the seed.
    World(std::uint64_t seed, bool keepHistory);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Lives through so many calls, and then through the launches that must leave all in order.
    /// False as soon as a rule was found broken.
    bool live(unsigned calls);

    [[nodiscard]] const Scene& scene() const { return scene_; }

  private:
    static constexpr std::int64_t plentyOfRoom = 500'000'000'000;

    /// A program that uses the microphone.
    struct Program {
        AudioObjectID id = 0;
        std::int32_t pid = 0;
        std::string bundleID;
        std::string family; ///< as the settings know it
        bool isBrowser = false;
        bool showsMeeting = false;
    };

    // The computer
    void setUp();
    void scheduleCall();
    void beginCall();
    void endCall(AudioObjectID id);
    void changeTab(AudioObjectID id);
    void refreshWindows();
    void tellDeviceUse();
    void scheduleMishap();
    void changeDevices();
    /// Another program opens a camera and uses it, or only looks at it; or lets go of one.
    void useACamera();
    void setFreeBytes(std::int64_t bytes);
    void troubleTheDisk();
    void changePermissions();
    void setTheClock();
    [[nodiscard]] bool isStandingTrouble() const;
    [[nodiscard]] std::vector<Moment::Holder> holders() const;
    [[nodiscard]] std::vector<Caller> callers() const;
    void followClock();

    // The user
    void scheduleClick();
    void click();
    void answerPrompts();
    void changeSettings();

    // The program
    void launch();
    bool step();
    bool afterStep();
    void watchSession(Seconds passed);
    void watchElapsedTime();

    // Endings (WorldEndings.cpp)
    void planDeath();
    void killProgram(bool powerFails);
    void bury(bool powerFailed);
    void askToQuit();
    void quitIsAskedFor();
    void watchQuit(Seconds passed);
    void endRun();
    void checkNothingRuns(const char* when);
    void sleep();
    void fallAsleepAfter(Seconds delay);
    void fallAsleep();
    void watchSleep();
    void runFor(Seconds duration);
    bool settle();

    Scene scene_;
    Ledger ledger_;
    FolderAccount folderAccount_;
    SidecarAccount sidecarAccount_;
    UserAccount userAccount_;
    std::int32_t lastCameraUser_ = 900'000; ///< a process number
    test::FakeAudioObjects audio_;
    test::FakeProcessRegistry registry_;
    test::FakeWindowList windows_;
    test::InMemoryDefaultsStore defaults_;
    std::unique_ptr<ProgramRun> run_;
    DetectionOracle oracle_;
    Moment moment_; ///< being filled during a step

    std::vector<Program> programs_;
    std::uint64_t nextObject_ = 100;
    /// Only the use of the microphone can be seen, not by whom.
    bool usersAreUnknown_ = false;
    /// Since a sleep the session has nothing captured, until somebody is in the call again.
    bool pausedBySleep_ = false;
    std::optional<Date> lastSlept_;
    Date recordingSince_{}; ///< the session that records
    bool calm_ = false;     ///< nothing happens any more but what the program does itself
    bool powerFailsAtDeath_ = false;
    bool quitting_ = false;       ///< the program was asked to
    bool left_ = false;           ///< it has
    bool isLate_ = false;         ///< it does not, and nobody is waited for
    Seconds quitDelay_{0};        ///< for how long
    bool acceptedAsleep_ = false; ///< the user answered the prompt before the machine slept
    bool isReadyToSleep_ = false; ///< the program says so
    int readySeen_ = 0;           ///< how often it has
    bool diskIsLow_ = false;
    std::size_t promptsSeen_ = 0;
    SessionState lastSession_;
    Date lastLook_{};
    std::optional<Date> calmSince_; ///< no call goes on, so the program follows the wall clock
    bool disagreed_ = false;
    Seconds disagreement_{0}; ///< how long session and capture have told different things
};

} // namespace brindle::simulation

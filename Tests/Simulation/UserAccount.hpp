// Holds what the user is told (notifications, warnings, the prompt, the icon, the folder's size)
// against what is so, and sees that nothing of it outlives what it is about.
#pragma once

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/UserNotifications.hpp"
#include "Simulation/Scene.hpp"
#include "Support/FakeUserNotifications.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace brindle::simulation {

class UserAccount {
  public:
    explicit UserAccount(Scene& scene) : scene_{scene} {}

    void programLaunched(const AppModel& model);
    /// Nobody can tell who calls.
    void callersAreUnknown() { callersAreKnown_ = false; }
    /// After every step. Whether somebody may be in a call, and since when the program has looked.
    void look(
        const AppModel& model, const test::FakeUserNotifications& notifications, bool somebodyCalls,
        const std::optional<Date>& watchingSince);
    /// The program has come to its end, or is ready to sleep.
    void checkAtRest(const char* when);

  private:
    using Wrong = std::optional<std::string>;

    [[nodiscard]] Wrong judge(const NotificationRequest& request, const AppModel& model);
    [[nodiscard]] Wrong judgeFailure(const std::string& body, const AppModel& model);
    [[nodiscard]] Wrong judgeDevices(const std::string& body) const;
    [[nodiscard]] Wrong judgeSpace(const std::string& body) const;
    [[nodiscard]] Wrong judgeKept(const std::string& body);
    [[nodiscard]] Wrong judgeLost(const std::string& body);
    [[nodiscard]] Wrong judgeWarning(const AppModel& model);
    [[nodiscard]] bool tellsTheTime(const std::string& warning) const;
    [[nodiscard]] Wrong judgeLastError(const AppModel& model) const;
    [[nodiscard]] Wrong judgePrompt(
        const AppModel& model, const test::FakeUserNotifications& notifications, bool somebodyCalls,
        const std::optional<Date>& watchingSince);
    [[nodiscard]] Wrong judgeIcon(const AppModel& model, const std::optional<Date>& watchingSince);
    [[nodiscard]] Wrong judgeSize(const AppModel& model);
    [[nodiscard]] bool hasFailure(const std::string& text, const std::string* room) const;
    [[nodiscard]] bool recently(const std::optional<Date>& date, Seconds before) const;

    Scene& scene_;
    Date launchedAt_{};
    std::size_t judged_ = 0;      ///< so many notifications
    std::uint64_t toRecover_ = 0; ///< sidecars without an end that the last run left
    std::set<std::string> told_;  ///< base names that the user heard about
    std::optional<std::string> lastWarning_;
    std::optional<Date> promptIdleSince_; ///< a prompt that nothing is asked by any more
    std::optional<Date> quietSince_;
    bool callersAreKnown_ = true;
    std::optional<bool> setupProblem_;
    Date setupProblemSince_{};
    std::uint64_t looks_ = 0;
    std::set<std::string> sizes_; ///< what the folder's size may be shown as
    std::set<unsigned> open_;     ///< segments whose sidecar has no end yet
    std::size_t known_ = 0;       ///< so many segments
};

} // namespace brindle::simulation

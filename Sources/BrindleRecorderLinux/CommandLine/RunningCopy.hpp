// The copy of the program that runs in this session, asked over a connection of a command's own.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/CommandLine/ExitStatus.hpp"

#include <cstdio>
#include <map>
#include <optional>
#include <string>

namespace brindle {

/// Every question waits for its answer.
class RunningCopy {
  public:
    /// What the running copy tells of itself: its properties by their names.
    using Properties = std::map<std::string, std::string, std::less<>>;

    /// What cannot be done is told on `errors`, a line each.
    explicit RunningCopy(std::FILE* errors);

    /// How the last question ended.
    [[nodiscard]] ExitStatus status() const { return status_; }

    /// Null when there was no answer, which was told.
    template <class... Arguments>
    BusMessage call(
        const char* object, const char* interface, const char* method, const char* types,
        Arguments... arguments) {
        const BusMessage question = make(object, interface, method);
        if (question != nullptr &&
            sd_bus_message_append(question.get(), types, arguments...) >= 0) {
            return answerTo(question);
        }
        return refused();
    }
    /// Nothing when there was no answer, which was told.
    std::optional<Properties> properties();
    /// Tells that the last answer made no sense.
    void couldNotRead();

    /// What stands next in the message, signature a{sv}; what is no text is left out. Nothing when
    /// it is something else.
    static std::optional<Properties> readProperties(sd_bus_message* message);

  private:
    [[nodiscard]] BusMessage
    make(const char* object, const char* interface, const char* method) const;
    BusMessage answerTo(const BusMessage& question);
    BusMessage refused();

    std::FILE* errors_;
    BusHandle bus_;
    ExitStatus status_ = ExitStatus::success;
};

/// The words for a command that finds nobody.
inline constexpr const char* notRunning =
    "brindle-recorder: no copy of the program runs in this session";

} // namespace brindle

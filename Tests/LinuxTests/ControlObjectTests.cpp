// The program's object for terminals and scripts, and the commands that use it, over a real bus.
#include "BrindleRecorderLinux/Control/ControlObject.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"
#include "BrindleRecorderLinux/CommandLine/StatusCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/SteerCommand.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Program/SecondLaunch.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/BusVisitor.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using Kind = ControlCommand::Kind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::string programName{AppInfo::bundleIdentifier};

const ProgramStatus asking{
    .state = ProgramStatus::State::asking,
    .line = "Call detected — record it? (see notification)",
    .call = {},
    .camera = "Desk Camera",
    .microphone = "Studio \"Best\"\xff",
    .warning = "Low disk space",
    .problem = {},
    .question = "us.zoom.xos#1",
    .folder = "/home/ann/Movies/Brindle"};

class ControlObjectTest : public testing::Test {
  protected:
    ControlObjectTest() {
        program_.setCommandHandler([this](const ControlCommand& command) {
            asked_.push_back(command);
            return isPossible_;
        });
        program_.showStatus(asking);
        test::requireOfBus(
            sd_bus_request_name(programsBus_.get(), programName.c_str(), 0), "the name is taken");
    }

    template <class... Arguments>
    BusMessage call(const char* method, const char* types, Arguments... arguments) {
        return visitor_.call(place_, method, types, arguments...);
    }
    static std::string errorOf(const BusMessage& answer) {
        const auto* const error = sd_bus_message_get_error(answer.get());
        return error != nullptr ? error->name : "";
    }
    /// The command waits for its answers, as in its own process, while the program answers here.
    template <class Command>
    ExitStatus run(Command command) {
        std::atomic<bool> isOver{false};
        ExitStatus status{};
        std::thread terminal{[&] {
            status = command();
            isOver = true;
        }};
        EXPECT_TRUE(waitUntil(loop_, [&] { return isOver.load(); }));
        terminal.join();
        return status;
    }
    ExitStatus steer(Kind kind) {
        return run([&] { return SteerCommand{output_.stream(), errors_.stream()}.run(kind); });
    }
    ExitStatus status(bool json) {
        return run([&] {
            EventLoop own;
            return StatusCommand{own, json, false, output_.stream(), errors_.stream()}.run();
        });
    }

    test::BareBus bus_;
    EventLoop loop_;
    BusOnLoop programsBus_{loop_, BusOnLoop::Which::session};
    ControlObject program_{programsBus_};
    test::BusVisitor visitor_{loop_};
    const test::BusVisitor::Place place_{
        programName, ControlDescription::path, ControlDescription::interface};
    bool isPossible_ = true;
    std::vector<ControlCommand> asked_;
    test::OutputCapture output_;
    test::OutputCapture errors_;
};

TEST_F(ControlObjectTest, SaysWhatGoesOn) {
    EXPECT_EQ(visitor_.text(place_, "State"), "asking");
    EXPECT_EQ(visitor_.text(place_, "StatusLine"), asking.line);
    EXPECT_EQ(visitor_.text(place_, "Call"), "");
    EXPECT_EQ(visitor_.text(place_, "Microphone"), "Studio \"Best\"\xEF\xBF\xBD");
    EXPECT_EQ(visitor_.text(place_, "Question"), "us.zoom.xos#1");
    EXPECT_EQ(visitor_.text(place_, "Folder"), "/home/ann/Movies/Brindle");
}

TEST_F(ControlObjectTest, TellsWhoeverFollowsWhatHasChanged) {
    visitor_.listenTo(
        {test::ownNameOf(programsBus_.get()), ControlDescription::path,
         "org.freedesktop.DBus.Properties"});
    auto next = asking;
    program_.showStatus(next);
    EXPECT_THAT(visitor_.heard("PropertiesChanged"), IsEmpty());
    next.state = ProgramStatus::State::recording;
    next.line = "Recording 00:00";
    program_.showStatus(next);
    const auto heard = visitor_.heard("PropertiesChanged");
    ASSERT_THAT(heard, SizeIs(1));
    const char* interface = nullptr;
    ASSERT_GT(sd_bus_message_read(heard.front().get(), "s", &interface), 0);
    EXPECT_STREQ(interface, ControlDescription::interface);
    const auto changed = RunningCopy::readProperties(heard.front().get());
    EXPECT_EQ(
        changed,
        (RunningCopy::Properties{{"State", "recording"}, {"StatusLine", "Recording 00:00"}}));
}

TEST_F(ControlObjectTest, CarriesOutWhatIsAskedFor) {
    for (const char* method : {"Show", "Record", "Stop", "Discard", "OpenFolder", "Quit"}) {
        EXPECT_EQ(errorOf(call(method, "")), "") << method;
    }
    EXPECT_EQ(errorOf(call("Answer", "sb", "us.zoom.xos#1", 1)), "");
    EXPECT_EQ(errorOf(call("Answer", "sb", "us.zoom.xos#2", 0)), "");
    EXPECT_THAT(
        asked_,
        ElementsAre(
            ControlCommand{Kind::show}, ControlCommand{Kind::record}, ControlCommand{Kind::stop},
            ControlCommand{Kind::discard}, ControlCommand{Kind::openFolder},
            ControlCommand{Kind::quit}, ControlCommand{Kind::answerRecord, "us.zoom.xos#1"},
            ControlCommand{Kind::answerSkip, "us.zoom.xos#2"}));
}

TEST_F(ControlObjectTest, SaysWhatCannotBeDoneNow) {
    isPossible_ = false;
    EXPECT_EQ(errorOf(call("Stop", "")), ControlDescription::notNow);
    program_.setCommandHandler({});
    EXPECT_EQ(errorOf(call("Stop", "")), ControlDescription::notNow);
}

TEST_F(ControlObjectTest, RefusesWhatIsNoCommand) {
    EXPECT_NE(errorOf(call("Answer", "s", "us.zoom.xos#1")), "");
    EXPECT_NE(errorOf(call("Shout", "")), "");
    EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(ControlObjectTest, ExplainsEveryMember) {
    const auto text = visitor_.description(place_);
    EXPECT_EQ(text, ControlDescription::introspection());
    for (const auto& property : ControlDescription::properties()) {
        EXPECT_THAT(
            text, HasSubstr(std::string{"<property name=\""} + property.name + "\" type=\"s\""));
        // What is described is also there.
        EXPECT_EQ(visitor_.text(place_, property.name).empty(), property.value(asking).empty());
    }
    for (const auto& method : ControlDescription::methods()) {
        EXPECT_THAT(text, HasSubstr(std::string{"<method name=\""} + method.name + "\">"));
    }
    EXPECT_THAT(text, HasSubstr("value=\"Begins a recording by hand, as &quot;Record now&quot;"));
}

TEST_F(ControlObjectTest, TheStatusIsPrintedForPeople) {
    EXPECT_EQ(status(false), ExitStatus::success);
    EXPECT_EQ(
        output_.text(), "Call detected — record it? (see notification)\nWarning: Low disk space\n");
}

TEST_F(ControlObjectTest, TheStatusIsPrintedForPrograms) {
    EXPECT_EQ(status(true), ExitStatus::success);
    const std::string wanted =
        R"j({"running":true,"version":"VERSION","state":"asking","statusLine":)j"
        R"j("Call detected — record it? (see notification)","call":null,"camera":"Desk Camera",)j"
        R"j("microphone":"Studio \"Best\"�","warning":"Low disk space","problem":null,)j"
        R"j("question":"us.zoom.xos#1","folder":"/home/ann/Movies/Brindle"})j"
        "\n";
    auto said = output_.text();
    const auto version = visitor_.text(place_, "Version");
    said.replace(said.find(version), version.size(), "VERSION");
    EXPECT_EQ(said, wanted);
}

TEST_F(ControlObjectTest, TheStatusIsFollowed) {
    EventLoop own;
    std::atomic<bool> isOver{false};
    std::thread terminal{[&] {
        EXPECT_EQ(
            (StatusCommand{own, false, true, output_.stream(), errors_.stream()}.run()),
            ExitStatus::success);
        isOver = true;
    }};
    const auto says = [this](const std::string& text) {
        return waitUntil(loop_, [&] { return output_.text() == text; });
    };
    auto next = asking;
    next.warning.reset();
    const std::string first = asking.line + "\nWarning: Low disk space\n";
    EXPECT_TRUE(says(first));
    program_.showStatus(next);
    EXPECT_TRUE(says(first + asking.line + "\n"));
    sd_bus_release_name(programsBus_.get(), programName.c_str());
    EXPECT_TRUE(says(first + asking.line + "\nNot running\n"));
    own.post([&own] { own.quit(); });
    EXPECT_TRUE(waitUntil(loop_, [&] { return isOver.load(); }));
    terminal.join();
}

TEST_F(ControlObjectTest, CommandsSteerTheProgram) {
    for (const auto kind : {Kind::record, Kind::stop, Kind::discard, Kind::quit}) {
        EXPECT_EQ(steer(kind), ExitStatus::success);
        EXPECT_EQ(asked_.back(), ControlCommand{kind});
    }
    EXPECT_EQ(steer(Kind::answerSkip), ExitStatus::success);
    EXPECT_EQ(asked_.back(), (ControlCommand{Kind::answerSkip, "us.zoom.xos#1"}));
    EXPECT_EQ(steer(Kind::answerRecord), ExitStatus::success);
    EXPECT_EQ(asked_.back(), (ControlCommand{Kind::answerRecord, "us.zoom.xos#1"}));
    EXPECT_EQ(steer(Kind::openFolder), ExitStatus::success);
    EXPECT_EQ(asked_.back(), ControlCommand{Kind::openFolder});
    EXPECT_EQ(output_.text(), "/home/ann/Movies/Brindle\n");
    EXPECT_EQ(errors_.text(), "");
}

TEST_F(ControlObjectTest, CommandsSayWhatWasRefused) {
    isPossible_ = false;
    EXPECT_EQ(steer(Kind::stop), ExitStatus::couldNotRun);
    auto next = asking;
    next.question.reset();
    program_.showStatus(next);
    EXPECT_EQ(steer(Kind::answerRecord), ExitStatus::couldNotRun);
    EXPECT_EQ(
        errors_.text(), "brindle-recorder: Nothing is being recorded.\n"
                        "brindle-recorder: there is no question to answer\n");
}

TEST_F(ControlObjectTest, ASecondLaunchAsksForTheMenuAndWaitsForNobody) {
    {
        // It leaves before it is answered.
        EventLoop own;
        BusOnLoop second{own, BusOnLoop::Which::session};
        SecondLaunch::askForTheMenu(second);
    }
    EXPECT_TRUE(waitUntil(loop_, [this] { return !asked_.empty(); }));
    EXPECT_THAT(asked_, ElementsAre(ControlCommand{Kind::show}));
}

TEST_F(ControlObjectTest, AnswersThatAreNotPropertiesAreNotRead) {
    const auto read = [this](const char* types, auto... values) {
        sd_bus_message* made = nullptr;
        test::requireOfBus(
            sd_bus_message_new_signal(programsBus_.get(), &made, "/a", "b.c", "D"), "no message");
        const BusMessage message{made};
        test::requireOfBus(sd_bus_message_append(made, types, values...), "no value");
        test::requireOfBus(sd_bus_message_seal(made, 1, 0), "not whole");
        return RunningCopy::readProperties(made);
    };
    EXPECT_EQ(
        read("a{sv}", 2, "One", "s", "1", "Two", "i", 2), (RunningCopy::Properties{{"One", "1"}}));
    EXPECT_EQ(read("a{ss}", 1, "One", "1"), std::nullopt);
    EXPECT_EQ(read("s", "One"), std::nullopt);
}

TEST_F(ControlObjectTest, CommandsSayThatNothingRuns) {
    sd_bus_release_name(programsBus_.get(), programName.c_str());
    EXPECT_EQ(steer(Kind::record), ExitStatus::notRunning);
    EXPECT_EQ(steer(Kind::answerSkip), ExitStatus::notRunning);
    EXPECT_EQ(status(false), ExitStatus::notRunning);
    EXPECT_EQ(output_.text(), "");
    EXPECT_EQ(status(true), ExitStatus::notRunning);
    EXPECT_EQ(output_.text(), "{\"running\":false}\n");
    bus_.stop();
    EXPECT_EQ(steer(Kind::record), ExitStatus::notRunning);
    const std::string line = "brindle-recorder: no copy of the program runs in this session\n";
    EXPECT_EQ(errors_.text(), line + line + line + line + line);
}

} // namespace
} // namespace brindle

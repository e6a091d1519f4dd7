#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include <array>
#include <fmt/format.h>
#include <optional>
#include <utility>

namespace brindle {

namespace {

using NamedCommand = std::pair<std::string_view, Options::Command>;

constexpr std::array commands{
    NamedCommand{"--headless", Options::Command::runHeadless},
    NamedCommand{"--who", Options::Command::showWho},
    NamedCommand{"--devices", Options::Command::showDevices},
    NamedCommand{"--convert", Options::Command::convertMovie},
    NamedCommand{"--menu", Options::Command::showMenu},
};

std::optional<Options::Command> commandNamed(std::string_view argument) {
    for (const auto& [name, command] : commands) {
        if (name == argument) {
            return command;
        }
    }
    return std::nullopt;
}

std::string_view nameOf(Options::Command wanted) {
    for (const auto& [name, command] : commands) {
        if (command == wanted) {
            return name;
        }
    }
    return {};
}

} // namespace

Expected<Options, std::string> Options::parse(const std::vector<std::string_view>& arguments) {
    std::optional<Command> command;
    bool once = false;
    std::optional<std::string> movie;
    for (auto next = arguments.begin(); next != arguments.end(); ++next) {
        const std::string_view argument = *next;
        if (argument == "--help" || argument == "-h") {
            return Options{Command::showHelp};
        }
        if (argument == "--version" || argument == "-V") {
            return Options{Command::showVersion};
        }
        if (argument == "--once") {
            once = true;
            continue;
        }
        if (argument == "--pick" && !command && !once) {
            Options pick{.command = Command::pick};
            pick.words.assign(next + 1, arguments.end());
            if (pick.words.empty()) {
                return unexpected{std::string{"--pick needs the words of a line of the menu"}};
            }
            return pick;
        }
        const bool isFile = argument.empty() || !argument.starts_with('-');
        if (command == Command::convertMovie && !movie && isFile) {
            movie = argument;
            continue;
        }
        const auto named = commandNamed(argument);
        if (!named) {
            return unexpected{fmt::format(
                "unrecognized {} '{}'", argument.starts_with('-') ? "option" : "argument",
                argument)};
        }
        if (command && command != named) {
            return unexpected{
                fmt::format("{} and {} exclude each other", nameOf(*command), argument)};
        }
        command = named;
    }
    if (once && command != Command::showWho) {
        return unexpected{std::string{"--once goes with --who"}};
    }
    if (command == Command::convertMovie && movie.value_or("").empty()) {
        return unexpected{std::string{"--convert needs the name of a .mov file"}};
    }
    return Options{command.value_or(Command::runDesktop), once, std::move(movie).value_or("")};
}

std::string_view Options::helpText() {
    return R"(Usage: brindle-recorder [--headless]
       brindle-recorder --who [--once]
       brindle-recorder --devices
       brindle-recorder --convert FILE.mov
       brindle-recorder --menu
       brindle-recorder --pick LINE
Records your own camera and microphone while you are in a call. Without an option
it shows its icon in the desktop's panel.

  --headless     run without a user interface: print each change of the status
                 on standard output, notifications on standard error
  --who          say who uses the microphone and what follows from it, and again
                 whenever that changes, until interrupted; nothing is recorded
  --once         with --who: say it once and exit
  --devices      list cameras and microphones, and which would be recorded
  --convert FILE.mov
                 convert a recording by hand, up to its last readable moment:
                 FILE.mp4 takes its place once it is whole; a FILE.mp4 that is
                 there already is never replaced
  --menu         print the menu of the copy that runs in this session
  --pick LINE    pick a line of that menu: its words, after those of its submenu
                 where it is in one (--pick Settings "Ask before recording")
  -h, --help     show this text and exit
  -V, --version  show the version and exit

Recordings go to ~/Movies/Brindle. SIGINT and SIGTERM stop and keep a running
recording before the program leaves; a second one leaves at once, and the next
launch finishes what was left.

Exit status: 0 when it ended as asked, 1 when it could not run, 2 when the
command line is wrong.
)";
}

} // namespace brindle

#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include <fmt/format.h>
#include <optional>

namespace brindle {

namespace {

std::optional<Options::Command> commandNamed(std::string_view argument) {
    if (argument == "--headless") {
        return Options::Command::runHeadless;
    }
    if (argument == "--who") {
        return Options::Command::showWho;
    }
    return std::nullopt;
}

} // namespace

Expected<Options, std::string> Options::parse(const std::vector<std::string_view>& arguments) {
    std::optional<Command> command;
    bool once = false;
    for (const std::string_view argument : arguments) {
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
        const auto named = commandNamed(argument);
        if (!named) {
            return unexpected{fmt::format(
                "unrecognized {} '{}'", argument.starts_with('-') ? "option" : "argument",
                argument)};
        }
        if (command && command != named) {
            return unexpected{std::string{"--headless and --who exclude each other"}};
        }
        command = named;
    }
    if (once && command != Command::showWho) {
        return unexpected{std::string{"--once goes with --who"}};
    }
    return Options{command.value_or(Command::runDesktop), once};
}

std::string_view Options::helpText() {
    return R"(Usage: brindle-recorder [--headless]
       brindle-recorder --who [--once]
Records your own camera and microphone while you are in a call. Without an option
it shows its icon in the desktop's panel.

  --headless     run without a user interface: print each change of the status
                 on standard output, notifications on standard error
  --who          say who uses the microphone and what follows from it, and again
                 whenever that changes, until interrupted; nothing is recorded
  --once         with --who: say it once and exit
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

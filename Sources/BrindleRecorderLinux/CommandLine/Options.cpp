#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include <fmt/format.h>
#include <optional>

namespace brindle {

Expected<Options, std::string> Options::parse(const std::vector<std::string_view>& arguments) {
    std::optional<Options> options;
    for (const std::string_view argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            return Options{Command::showHelp};
        }
        if (argument == "--version" || argument == "-V") {
            return Options{Command::showVersion};
        }
        if (argument != "--headless") {
            return unexpected{fmt::format(
                "unrecognized {} '{}'", argument.starts_with('-') ? "option" : "argument",
                argument)};
        }
        options = Options{Command::runHeadless};
    }
    if (!options) {
        return unexpected{
            std::string{"there is no user interface here yet; run it with --headless"}};
    }
    return *options;
}

std::string_view Options::helpText() {
    return R"(Usage: brindle-recorder --headless
Records your own camera and microphone while you are in a call.

  --headless     run without a user interface: print each change of the status
                 on standard output, notifications on standard error
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

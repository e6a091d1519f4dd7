// What the program's exit statuses mean.
#pragma once

namespace brindle {

enum class ExitStatus {
    success = 0,
    couldNotRun = 1, ///< or could not do what it was asked for
    badUsage = 2,
    notRunning = 3 ///< no copy of the program that could be asked runs in this session
};

} // namespace brindle

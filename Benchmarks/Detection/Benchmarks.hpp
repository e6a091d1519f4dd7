// What is measured of detection, each run by itself in a private session.
#pragma once

#include <cstddef>
#include <string>

namespace brindle::bench {

/// How long after a stream turned running the pass that sees it is over.
void measureReaction(std::size_t takes);

/// What a pass costs with fifty microphone users and two hundred windows. `self` is this program's
/// file, which plays the programs that have windows.
void measureCrowdedPass(const std::string& self, std::size_t passes);

/// Plays a program with windows until its input ends; leaves their numbers in a file.
void showWindows(const std::string& title, std::size_t count, const std::string& file);

} // namespace brindle::bench

// Holds the capture program to what it needs, before it touches a byte from outside.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"

#include <system_error>

namespace brindle::capture {

/// What comes from cameras, from the sound server and in damaged movies is read by libraries that
/// are large and not ours. Whatever takes this process over shall find little to take: from here on
/// it can gain no privileges, start no program, open no file but the system's libraries and
/// PipeWire's settings, and those for reading alone, and reach nothing over the network. The movies
/// come to it opened.
///
/// Graphics hardware is left to those runs alone that compress by it: its drivers are large, and
/// their devices are the user's screen, too.
///
/// See landlock(7). For the calling thread and those that it starts: before any other is started.
/// False where the kernel cannot do that, which then holds back privileges alone.
enum class Leave { nothingMore, graphics };
Expected<bool, std::error_code> confineThisProcess(Leave leave);

} // namespace brindle::capture

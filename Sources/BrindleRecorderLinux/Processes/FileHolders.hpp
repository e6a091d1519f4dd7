// Who has a file open.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace brindle {

/// The processes that have the file open, as far as this user may know. Blocks briefly; any thread.
std::vector<std::int32_t> processesThatHold(
    const std::filesystem::path& file, const std::filesystem::path& procFolder = "/proc");

} // namespace brindle

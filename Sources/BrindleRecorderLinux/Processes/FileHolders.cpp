#include "BrindleRecorderLinux/Processes/FileHolders.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace brindle {

namespace {

using Iterator = std::filesystem::directory_iterator;

std::optional<std::int32_t> numberIn(const std::string& name) {
    std::int32_t number = 0;
    const auto* const end = name.data() + name.size();
    const auto read = std::from_chars(name.data(), end, number);
    return read.ec == std::errc{} && read.ptr == end ? std::optional{number} : std::nullopt;
}

/// What cannot be read, the folders of other users' processes among it, is empty.
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> entries;
    std::error_code error;
    for (Iterator entry{folder, error}; !error && entry != Iterator{}; entry.increment(error)) {
        entries.push_back(entry->path());
    }
    return entries;
}

} // namespace

std::vector<std::int32_t>
processesThatHold(const std::filesystem::path& file, const std::filesystem::path& procFolder) {
    std::vector<std::int32_t> holders;
    for (const auto& process : entriesOf(procFolder)) {
        const auto pid = numberIn(process.filename().string());
        const auto descriptors = pid ? entriesOf(process / "fd") : entriesOf({});
        const bool holds = std::ranges::any_of(descriptors, [&](const auto& descriptor) {
            std::error_code error;
            return std::filesystem::read_symlink(descriptor, error) == file;
        });
        if (holds) {
            holders.push_back(*pid);
        }
    }
    std::ranges::sort(holders);
    return holders;
}

} // namespace brindle

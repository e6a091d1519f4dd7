// What a maintainer needs to know of a machine on which something does not work, in words, and
// nothing private.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// Pure functions; any thread. Texts come from devices, other programs and the log, and may hold
/// any bytes.
struct Diagnosis {
    struct Fact {
        std::string name;
        std::string value; ///< a line each where there are several
    };

    /// "name: value", one line each; a fact of several lines has them below its name. The home
    /// folder reads "~" wherever it stands.
    static std::vector<std::string>
    lines(const std::vector<Fact>& facts, const std::filesystem::path& home);

    /// The last lines of the log that tell of failures, at most so many, in their order, without
    /// what names a call.
    static std::vector<std::string> failures(std::string_view log, std::size_t most);
};

} // namespace brindle

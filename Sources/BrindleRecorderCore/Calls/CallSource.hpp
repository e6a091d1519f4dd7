// What a call is attributed to: a call program, a web meeting in a browser, an unknown program, or
// the user's own command.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// A value; may be used from any thread. Stored in a recording's sidecar without `familyID`:
/// whoever reads one back sets `familyID` to the `bundleID`.
struct CallSource {
    enum class Kind { app, browser, manual, other };

    std::string app;                 ///< the program's display name
    std::string bundleID;            ///< of the process that used the microphone; may be empty
    Kind kind = Kind::app;           ///< what sort of source it is
    std::optional<std::string> site; ///< host of the web meeting; browser calls only
    std::string familyID;            ///< a family of the call catalog, "other" or "manual"

    /// The source of a recording that the user starts while no call program is known.
    static CallSource manual();

    /// The word that stands for a kind in files: "app", "browser", "manual" or "other".
    static std::string_view rawValue(Kind kind);
    /// The kind that such a word stands for; nothing for every other word. Case-sensitive.
    static std::optional<Kind> kindFromRawValue(std::string_view rawValue);

    friend bool operator==(const CallSource&, const CallSource&) = default;
};

} // namespace brindle

template <>
struct std::hash<brindle::CallSource> {
    std::size_t operator()(const brindle::CallSource& source) const noexcept;
};

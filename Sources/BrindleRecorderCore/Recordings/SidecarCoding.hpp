// Sidecars as JSON (RFC 8259).
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <string>
#include <string_view>

namespace brindle {

/// Why a text is no sidecar.
struct SidecarDecodingError {
    enum class Reason {
        notJson,    ///< not one whole, valid JSON document in UTF-8
        missingKey, ///< a required key is not there
        wrongType,  ///< a value, or the whole, is of another JSON type than it must be
        badValue    ///< a string is not one of those that can stand there
    };

    Reason reason;
    std::string message; ///< says what is wrong, and where

    friend bool operator==(const SidecarDecodingError&, const SidecarDecodingError&) = default;
};

/// Pure functions; callable from any thread.
struct SidecarCoding {
    /// One key per line in the order of the fields, indented by two blanks, " : " between key and
    /// value, slashes as they are, no line break at the end. Dates are internet date-times in that
    /// zone, whole seconds. An absent `endedAt` is written as null; an absent `source`, `site` or
    /// `callName` is left out. A source's `familyID` is not stored. What is not valid UTF-8 is
    /// written as U+FFFD: every sidecar that was written can be read.
    static std::string encode(const Sidecar& sidecar, const TimeZone& timeZone);

    /// Takes keys in any order and ignores those it does not know. A key given twice counts the
    /// last time. `endedAt`, `source`, `site` and `callName` may be missing or null; everything
    /// else must be there. A source's `familyID` becomes its `bundleID`. Needs memory in proportion
    /// to the text, and no more stack for deep nesting.
    static Expected<Sidecar, SidecarDecodingError> decode(std::string_view text);
};

} // namespace brindle

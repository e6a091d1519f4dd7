// The words for what can go wrong with capture and conversion.
#pragma once

#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

#include <filesystem>
#include <string>

namespace brindle {

/// Pure functions and constants; any thread. Errors of the platform keep their own words.
struct FailureTexts {
    static std::string of(const RecorderError& error, const Language& language);

    // Of conversions; only the log, sidecars and terminals have them, in English.
    static constexpr const char* noExportSession = "Could not create a passthrough export session.";
    static constexpr const char* cannotWriteMP4 =
        "Passthrough export cannot write MP4 for this asset.";
    static constexpr const char* exportCancelled = "Export was cancelled.";
    static std::string unknownExportFailure(int status);
    static std::string notPutInPlace(const std::string& reason);

    // Of a rescue by hand.
    static std::string notAMovie(const std::filesystem::path& file);
    static std::string noSuchFile(const std::filesystem::path& file);
    static std::string alreadyThere(const std::filesystem::path& file);
    /// `movie`: the name of the file that stays.
    static std::string kept(const RecorderError& error, const std::string& movie);
};

} // namespace brindle

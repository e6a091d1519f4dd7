// Which of several encoders compresses the pictures of recordings.
#pragma once

#include <array>
#include <string_view>

namespace brindle {

/// An encoder of H.264, as far as choosing one goes.
struct EncoderCandidate {
    std::string_view name;        ///< as FFmpeg calls it
    bool usesGraphics = false;    ///< made by graphics hardware, through its driver
    bool isChosenByItself = true; ///< false: it is named where it works, and never chosen
    friend bool operator==(const EncoderCandidate&, const EncoderCandidate&) = default;
};

/// Constants; any thread.
struct EncoderSelection {
    /// Best first; the first that compresses a picture is chosen. What runs on the processor comes
    /// first, because it does the same on every machine; hardware follows for systems that have
    /// nothing else. VA-API waits for somebody who has measured it on a real GPU.
    static constexpr std::array candidates{
        EncoderCandidate{.name = "libx264"},
        EncoderCandidate{.name = "libopenh264"},
        EncoderCandidate{.name = "h264_nvenc", .usesGraphics = true},
        EncoderCandidate{.name = "h264_qsv", .usesGraphics = true},
        EncoderCandidate{.name = "h264_amf", .usesGraphics = true},
        EncoderCandidate{.name = "h264_vaapi", .usesGraphics = true, .isChosenByItself = false}};
};

} // namespace brindle

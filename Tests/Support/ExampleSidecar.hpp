// A sidecar for tests to begin with.
#pragma once

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

namespace brindle::test {

/// A finished recording of a call in a program, with every optional field but the site.
inline Sidecar exampleSidecar() {
    return Sidecar{
        .roomCode = "zoom#1",
        .startedAt = *InternetDateTime::parse("2025-03-14T08:30:12Z"),
        .endedAt = InternetDateTime::parse("2025-03-14T09:02:47Z"),
        .videoDevice = "Integrated Camera",
        .audioDevice = "none",
        .fallbackUsed = false,
        .interrupted = false,
        .notes = {"No microphone was available; recorded without audio."},
        .source =
            CallSource{
                .app = "zoom.us",
                .bundleID = "us.zoom.xos",
                .kind = CallSource::Kind::app,
                .site = std::nullopt,
                .familyID = "us.zoom.xos"},
        .callName = "Zoom · Fri 09:30"};
}

} // namespace brindle::test

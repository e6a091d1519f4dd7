// Owners of what is registered with sd-event.
#pragma once

#include "BrindleRecorderLinux/Loop/Releaser.hpp"

#include <systemd/sd-event.h>

#include <memory>

namespace brindle {

/// Something that an event loop waits for: given up when it goes, which its own handler may do.
using EventSource = std::unique_ptr<sd_event_source, Releaser<sd_event_source_disable_unref>>;

/// Calls the handler whenever the descriptor, which stays the caller's, can be read. Null, with
/// errno, when the system refuses.
[[nodiscard]] EventSource
addReader(sd_event* events, int descriptor, sd_event_io_handler_t handler, void* data);

} // namespace brindle

// Takes from the server's dictionaries what we use of them.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <optional>
#include <string>

struct spa_dict;

namespace brindle::pipewire {

/// The properties that the rules use, each cut to a bounded length. None for a null dictionary.
Properties propertiesOf(const spa_dict* dictionary);

/// The node's name in a value like {"name":"alsa_input.usb"}; nothing for anything else.
std::optional<std::string> nodeNameIn(const char* json);

} // namespace brindle::pipewire

// The sound server of the private session that a test runs in.
#pragma once

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"

namespace brindle::test {

/// One thread: what the server tells arrives while the loop runs.
struct SessionAudio {
    EventLoop loop;
    pipewire::PipeWireOnLoop pipeWire{loop};
    pipewire::AudioServer server{
        loop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession()};
};

} // namespace brindle::test

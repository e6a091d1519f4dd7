#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/Calls.hpp"

#include <cerrno>
#include <system_error>

namespace brindle::pipewire {

PipeWireOnLoop::PipeWireOnLoop(const EventLoop& loop) : loop_{pw_loop_new(nullptr)} {
    if (loop_ == nullptr) {
        throw std::system_error{errno, std::generic_category(), "PipeWire's loop"};
    }
    source_ = addReader(
        loop.events(), descriptorOf(loop_.get()),
        [](sd_event_source*, int, std::uint32_t, void* inner) {
            iterateOnce(static_cast<pw_loop*>(inner));
            return 0;
        },
        loop_.get());
    if (source_ == nullptr) {
        throw std::system_error{errno, std::generic_category(), "PipeWire's loop"};
    }
    enter(loop_.get());
}

PipeWireOnLoop::~PipeWireOnLoop() {
    leave(loop_.get());
}

} // namespace brindle::pipewire

// A stand-in for the capture program that says and does, when it is asked for something, what ours
// never would. BRINDLE_ODDITY names it.
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace brindle::capture;

void sendBytes(std::string_view bytes) {
    static_cast<void>(::send(recordersSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

/// Until the recorder has ended it or the conversation.
[[noreturn]] void waitForTheEnd(const MessageSocket& socket) {
    using What = MessageSocket::Received::What;
    for (;;) {
        pollfd watched{.fd = socket.number(), .events = POLLIN, .revents = 0};
        poll(&watched, 1, -1);
        if (socket.receive().what == What::end) {
            std::_Exit(0);
        }
    }
}

/// Never the same twice.
[[noreturn]] void measureAnew(const MessageSocket& socket) {
    for (;;) {
        pollfd watched{.fd = socket.number(), .events = POLLIN, .revents = 0};
        poll(&watched, 1, -1);
        const auto received = socket.receive();
        if (received.what == MessageSocket::Received::What::end) {
            std::_Exit(0);
        }
        const auto message = decode(received.bytes);
        if (message && std::holds_alternative<Measure>(*message)) {
            sendBytes(
                encode(Measured{.duration = std::chrono::steady_clock::now().time_since_epoch()}));
        }
    }
}

void behave(std::string_view oddity, const MessageSocket& socket) {
    if (oddity == "no-greeting") {
        sendBytes(encode(Beat{}));
        return;
    }
    sendBytes(encode(Hello{.version = oddity == "another-version" ? "0.0.1" : programVersion()}));
    if (oddity == "measures-anew") {
        measureAnew(socket);
    }
    // What follows answers the order, which comes after the recorder's own greeting.
    for (bool isAsked = false; !isAsked;) {
        pollfd watched{.fd = socket.number(), .events = POLLIN, .revents = 0};
        poll(&watched, 1, -1);
        const auto received = socket.receive();
        const auto message = decode(received.bytes);
        isAsked = message && (std::holds_alternative<Convert>(*message) ||
                              std::holds_alternative<TryEncoder>(*message));
    }
    if (oddity == "ends-at-once") {
        std::_Exit(3);
    } else if (oddity == "crashes") {
        std::abort();
    } else if (oddity == "speaks-gibberish") {
        sendBytes("{\"is\": \"conv");
    } else if (oddity == "nests-deeply") {
        sendBytes(std::string(MessageSocket::longestMessage, '['));
    } else if (oddity == "sends-too-much") {
        sendBytes(std::string(MessageSocket::longestMessage + 1, 'x'));
    } else if (oddity == "sends-descriptors") {
        const std::array<int, 1> descriptors{STDERR_FILENO};
        static_cast<void>(socket.send(encode(Beat{}), descriptors));
    } else if (oddity == "names-an-unknown-message") {
        sendBytes("{\"is\": \"thanks\"}");
    } else if (oddity == "lacks-a-part") {
        sendBytes("{\"is\": \"converted\"}");
    } else if (oddity == "answers-something-else") {
        sendBytes(encode(Measured{}));
    } else if (oddity == "hangs") {
        for (;;) {
            pause();
        }
    }
}

} // namespace

int main() {
    const char* const oddity = std::getenv("BRINDLE_ODDITY");
    const MessageSocket socket{brindle::FileDescriptor{recordersSocket}};
    behave(oddity != nullptr ? oddity : "", socket);
    waitForTheEnd(socket);
}

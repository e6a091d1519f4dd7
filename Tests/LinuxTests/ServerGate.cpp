#include "ServerGate.hpp"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <poll.h>

namespace brindle::test {

namespace {

/// Of a socket in the session's folder for such things.
sockaddr_un addressOf(const std::string& name) {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    const std::string path = std::string{folder != nullptr ? folder : "."} + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        throw std::runtime_error{"the path of the socket is too long"};
    }
    path.copy(static_cast<char*>(address.sun_path), path.size());
    return address;
}

FileDescriptor newSocket() {
    return FileDescriptor{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
}

FileDescriptor listenAt(const std::string& name) {
    const sockaddr_un address = addressOf(name);
    FileDescriptor listener = newSocket();
    constexpr int waiting = 16;
    if (bind(listener.number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0 ||
        listen(listener.number(), waiting) < 0) {
        throw std::runtime_error{"no socket can be made"};
    }
    return listener;
}

std::optional<FileDescriptor> connectToServer() {
    const sockaddr_un address = addressOf("pipewire-0");
    FileDescriptor server = newSocket();
    const int connected =
        connect(server.number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return connected < 0 ? std::nullopt : std::optional{std::move(server)};
}

/// The open files that came with a message, which are ours from now on.
std::vector<FileDescriptor> filesOf(msghdr& message) {
    std::vector<FileDescriptor> files;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        std::vector<int> numbers((part->cmsg_len - CMSG_LEN(0)) / sizeof(int));
        std::memcpy(numbers.data(), CMSG_DATA(part), numbers.size() * sizeof(int));
        for (const int number : numbers) {
            files.emplace_back(number);
        }
    }
    return files;
}

/// Passes on what has come, open files together with the bytes that they came with. False when one
/// side has gone.
bool passOn(const FileDescriptor& from, const FileDescriptor& to) {
    constexpr std::size_t mostFiles = 253; // in one message, by the system's rule
    std::array<std::byte, std::size_t{64} * 1024> bytes{};
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(mostFiles * sizeof(int))> control{};
    iovec part{.iov_base = bytes.data(), .iov_len = bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count =
        uninterrupted([&] { return recvmsg(from.number(), &message, MSG_CMSG_CLOEXEC); });
    if (count <= 0) {
        return false;
    }
    const std::vector<FileDescriptor> files = filesOf(message);
    part.iov_len = static_cast<std::size_t>(count);
    message.msg_flags = 0;
    return uninterrupted([&] { return sendmsg(to.number(), &message, MSG_NOSIGNAL); }) == count;
}

} // namespace

ServerGate::ServerGate()
    : name_{"gate-" + std::to_string(getpid())}, listener_{listenAt(name_)}, wakeUp_{eventfd(
                                                                                 0, EFD_CLOEXEC)} {
    if (!connectToServer()) {
        throw std::runtime_error{"there is no server"};
    }
    // Before there is a thread that might read the environment.
    remote_.emplace("PIPEWIRE_REMOTE", name_);
    thread_ = std::thread{[this] {
        run();
    }};
}

ServerGate::~ServerGate() {
    {
        const std::lock_guard lock{mutex_};
        isEnding_ = true;
    }
    wakeUp();
    thread_.join();
    unlink(static_cast<const char*>(addressOf(name_).sun_path));
}

void ServerGate::close() {
    const std::lock_guard lock{mutex_};
    for (Passage& passage : passages_) {
        passage.isClosed = true;
    }
}

void ServerGate::open() {
    {
        const std::lock_guard lock{mutex_};
        for (Passage& passage : passages_) {
            passage.isClosed = false;
        }
    }
    wakeUp();
}

void ServerGate::wakeUp() const {
    eventfd_write(wakeUp_.number(), 1);
}

void ServerGate::run() {
    for (;;) {
        constexpr std::size_t firstPassage = 2;
        constexpr std::size_t sides = 2;
        std::vector<pollfd> watched{
            {.fd = wakeUp_.number(), .events = POLLIN, .revents = 0},
            {.fd = listener_.number(), .events = POLLIN, .revents = 0}};
        {
            const std::lock_guard lock{mutex_};
            if (isEnding_) {
                return;
            }
            for (const Passage& passage : passages_) {
                constexpr int nobody = -1;
                watched.push_back({.fd = passage.client.number(), .events = POLLIN, .revents = 0});
                watched.push_back(
                    {.fd = passage.isClosed ? nobody : passage.server.number(),
                     .events = POLLIN,
                     .revents = 0});
            }
        }
        poll(watched.data(), watched.size(), -1);
        const std::lock_guard lock{mutex_};
        if (watched[0].revents != 0) {
            eventfd_t count = 0;
            eventfd_read(wakeUp_.number(), &count);
        }
        for (std::size_t index = 0; firstPassage + sides * index < watched.size(); ++index) {
            Passage& passage = passages_[index];
            const bool clientSpeaks = watched[firstPassage + sides * index].revents != 0;
            const bool serverSpeaks = watched[firstPassage + sides * index + 1].revents != 0;
            passage.hasEnded =
                (clientSpeaks && !passOn(passage.client, passage.server)) ||
                (serverSpeaks && !passage.isClosed && !passOn(passage.server, passage.client));
        }
        std::erase_if(passages_, [](const Passage& passage) { return passage.hasEnded; });
        if (watched[1].revents != 0) {
            admit();
        }
    }
}

void ServerGate::admit() {
    FileDescriptor client{accept4(listener_.number(), nullptr, nullptr, SOCK_CLOEXEC)};
    if (auto server = connectToServer()) {
        passages_.push_back({.client = std::move(client), .server = *std::move(server)});
    }
}

} // namespace brindle::test

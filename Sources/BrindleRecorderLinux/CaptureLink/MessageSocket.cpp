#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"

#include <array>
#include <cassert>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>

namespace brindle::capture {

namespace {

constexpr std::size_t roomForDescriptors = CMSG_SPACE(sizeof(int) * MessageSocket::mostDescriptors);

struct alignas(cmsghdr) ControlBytes {
    std::array<char, roomForDescriptors> bytes{};
};

/// Takes over every descriptor that came along, so that none stays open unseen.
std::vector<FileDescriptor> descriptorsOf(msghdr& header) {
    std::vector<FileDescriptor> descriptors;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t index = 0; index < count; ++index) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + index * sizeof(int), sizeof(int));
            descriptors.emplace_back(number);
        }
    }
    return descriptors;
}

} // namespace

Expected<std::pair<MessageSocket, MessageSocket>, std::error_code> MessageSocket::makePair() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return unexpected{lastSystemError()};
    }
    return std::pair{
        MessageSocket{FileDescriptor{ends[0]}}, MessageSocket{FileDescriptor{ends[1]}}};
}

Expected<void, std::error_code>
MessageSocket::send(std::string_view bytes, std::span<const int> descriptors) const {
    assert(descriptors.size() <= mostDescriptors);
    // An empty message could not be told from the end.
    if (bytes.empty() || bytes.size() > longestMessage) {
        return unexpected{std::make_error_code(std::errc::message_size)};
    }
    std::string content{bytes};
    iovec part{.iov_base = content.data(), .iov_len = content.size()};
    ControlBytes control;
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (!descriptors.empty()) {
        header.msg_control = control.bytes.data();
        header.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* const rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size_bytes());
    }
    if (uninterrupted(
            [&] { return sendmsg(end_.number(), &header, MSG_NOSIGNAL | MSG_DONTWAIT); }) < 0) {
        return unexpected{lastSystemError()};
    }
    return {};
}

MessageSocket::Received MessageSocket::receive() const {
    Received received;
    received.bytes.resize(longestMessage);
    iovec part{.iov_base = received.bytes.data(), .iov_len = received.bytes.size()};
    ControlBytes control;
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    const ssize_t size = uninterrupted(
        [&] { return recvmsg(end_.number(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC); });
    using What = Received::What;
    if (size <= 0) {
        const bool waits = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        received.what = waits ? What::nothingYet : What::end;
        received.bytes.clear();
        return received;
    }
    received.descriptors = descriptorsOf(header);
    received.bytes.resize(static_cast<std::size_t>(size));
    const bool isCut = (header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0;
    received.what = isCut ? What::broken : What::message;
    return received;
}

void MessageSocket::sendNoMore() const {
    shutdown(end_.number(), SHUT_WR);
}

} // namespace brindle::capture

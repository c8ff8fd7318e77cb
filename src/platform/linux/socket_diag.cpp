#include "platform/linux/socket_diag.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/linux/proc_files.h"

namespace ostrel::sockdiag {

namespace {

// TCP states as numbered in the kernel (include/net/tcp_states.h). Listening sockets carry no
// traffic, and time-wait and request sockets have no owner any more.
constexpr uint32_t kEstablished = 1, kSynSent = 2, kFinWait1 = 4, kFinWait2 = 5, kClose = 7,
                   kCloseWait = 8, kLastAck = 9, kClosing = 11;
constexpr uint32_t kStatesWithOwners = (1u << kEstablished) | (1u << kSynSent) | (1u << kFinWait1) |
                                       (1u << kFinWait2) | (1u << kClose) | (1u << kCloseWait) |
                                       (1u << kLastAck) | (1u << kClosing);

// Both counters arrived with Linux 4.1; an older kernel's shorter tcp_info has neither.
constexpr size_t kInfoBytesNeeded =
    offsetof(tcp_info, tcpi_bytes_received) + sizeof(tcp_info::tcpi_bytes_received);

tl::expected<void, ReadError> dumpFamily(int socket, uint8_t family,
                                         std::vector<SocketTraffic>& sockets) {
    struct {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } message{};
    message.header.nlmsg_len = sizeof(message);
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.request.sdiag_family = family;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = kStatesWithOwners;
    message.request.idiag_ext = 1u << (INET_DIAG_INFO - 1);

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(socket, &message, sizeof(message), 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof(kernel)) < 0) {
        return tl::unexpected(procfs::readErrorFromErrno(errno));
    }
    alignas(nlmsghdr) uint8_t buffer[32768];
    while (true) {
        const ssize_t count = ::recv(socket, buffer, sizeof(buffer), 0);
        if (count < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(procfs::readErrorFromErrno(errno));
        }
        if (count == 0) return tl::unexpected(ReadError::parse);
        auto done = parseDumpDatagram({buffer, static_cast<size_t>(count)}, sockets);
        if (!done) return tl::unexpected(done.error());
        if (*done) return {};
    }
}

}  // namespace

tl::expected<bool, ReadError> parseDumpDatagram(std::span<const uint8_t> datagram,
                                                std::vector<SocketTraffic>& sockets) {
    size_t offset = 0;
    while (datagram.size() - offset >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, datagram.data() + offset, sizeof(header));
        if (header.nlmsg_len < sizeof(nlmsghdr) || header.nlmsg_len > datagram.size() - offset) {
            return tl::unexpected(ReadError::parse);
        }
        const uint8_t* payload = datagram.data() + offset + NLMSG_HDRLEN;
        const size_t payloadLength = header.nlmsg_len - NLMSG_HDRLEN;
        offset += std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), datagram.size() - offset);

        if (header.nlmsg_type == NLMSG_DONE) return true;
        if (header.nlmsg_type == NLMSG_ERROR) {
            nlmsgerr error{};
            if (payloadLength < sizeof(error)) return tl::unexpected(ReadError::parse);
            std::memcpy(&error, payload, sizeof(error));
            return tl::unexpected(procfs::readErrorFromErrno(-error.error));
        }
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY || payloadLength < sizeof(inet_diag_msg)) {
            continue;
        }
        inet_diag_msg socket{};
        std::memcpy(&socket, payload, sizeof(socket));
        if (socket.idiag_inode == 0) continue;

        size_t attribute = NLMSG_ALIGN(sizeof(inet_diag_msg));
        while (payloadLength >= attribute + sizeof(rtattr)) {
            rtattr attributeHeader{};
            std::memcpy(&attributeHeader, payload + attribute, sizeof(attributeHeader));
            if (attributeHeader.rta_len < sizeof(rtattr) ||
                attributeHeader.rta_len > payloadLength - attribute) {
                break;
            }
            const size_t dataLength = attributeHeader.rta_len - RTA_LENGTH(0);
            if (attributeHeader.rta_type == INET_DIAG_INFO && dataLength >= kInfoBytesNeeded) {
                tcp_info info{};
                std::memcpy(&info, payload + attribute + RTA_LENGTH(0),
                            std::min(dataLength, sizeof(info)));
                sockets.push_back({.inode = socket.idiag_inode,
                                   .bytesReceived = info.tcpi_bytes_received,
                                   .bytesAcked = info.tcpi_bytes_acked});
                break;
            }
            attribute += RTA_ALIGN(attributeHeader.rta_len);
        }
    }
    return false;
}

tl::expected<std::vector<SocketTraffic>, ReadError> dumpTcpSockets() {
    procfs::FileDescriptor socket(
        ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!socket) return tl::unexpected(procfs::readErrorFromErrno(errno));
    std::vector<SocketTraffic> sockets;
    for (const uint8_t family : {uint8_t{AF_INET}, uint8_t{AF_INET6}}) {
        auto dumped = dumpFamily(socket.get(), family, sockets);
        // A kernel built without IPv6 still has the IPv4 sockets to give.
        if (!dumped && family == AF_INET) return tl::unexpected(dumped.error());
    }
    return sockets;
}

}  // namespace ostrel::sockdiag

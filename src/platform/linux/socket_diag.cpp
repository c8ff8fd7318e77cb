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

#include "platform/linux/netlink_socket.h"
#include "platform/linux/proc_files.h"

namespace ostrel::sockdiag {

namespace {

static_assert(sizeof(SocketKey::id) == sizeof(inet_diag_sockid));

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

// Lookups sent per round: the replies of one round must fit the socket's receive buffer.
constexpr size_t kLookupBatch = 64;
constexpr size_t kReplySize = 1024;

}  // namespace

tl::expected<bool, ReadError> parseDatagram(std::span<const uint8_t> datagram,
                                            std::vector<SocketTraffic>& sockets, bool lookups) {
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
            if (lookups) continue;
            nlmsgerr error{};
            if (payloadLength < sizeof(error)) return tl::unexpected(ReadError::parse);
            std::memcpy(&error, payload, sizeof(error));
            return tl::unexpected(procfs::readErrorFromErrno(-error.error));
        }
        if ((header.nlmsg_type != SOCK_DIAG_BY_FAMILY && header.nlmsg_type != TCPDIAG_GETSOCK) ||
            payloadLength < sizeof(inet_diag_msg)) {
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
                SocketTraffic traffic{.inode = socket.idiag_inode,
                                      .bytesReceived = info.tcpi_bytes_received,
                                      .bytesAcked = info.tcpi_bytes_acked};
                traffic.key.family = socket.idiag_family;
                std::memcpy(traffic.key.id.data(), &socket.id, sizeof(socket.id));
                sockets.push_back(traffic);
                break;
            }
            attribute += RTA_ALIGN(attributeHeader.rta_len);
        }
    }
    return false;
}

tl::expected<std::vector<SocketTraffic>, ReadError> KernelSocketDiag::dumpAll() {
    auto socket = netlink::openSocket(SOCK_DGRAM, NETLINK_SOCK_DIAG);
    if (!socket) return tl::unexpected(socket.error());
    // The older request form dumps both address families in one walk of the connection table,
    // where the newer one walks the whole table once per family.
    struct {
        nlmsghdr header;
        inet_diag_req request;
    } message{};
    message.header.nlmsg_len = sizeof(message);
    message.header.nlmsg_type = TCPDIAG_GETSOCK;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.request.idiag_states = kStatesWithOwners;
    message.request.idiag_ext = 1u << (INET_DIAG_INFO - 1);
    if (auto sent = netlink::sendToKernel(socket->get(), &message, sizeof(message)); !sent) {
        return tl::unexpected(sent.error());
    }

    std::vector<SocketTraffic> sockets;
    alignas(nlmsghdr) uint8_t buffer[32768];
    while (true) {
        const ssize_t count = ::recv(socket->get(), buffer, sizeof(buffer), 0);
        if (count < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(procfs::readErrorFromErrno(errno));
        }
        if (count == 0) return tl::unexpected(ReadError::parse);
        auto done = parseDatagram({buffer, static_cast<size_t>(count)}, sockets);
        if (!done) return tl::unexpected(done.error());
        if (*done) return sockets;
    }
}

tl::expected<std::vector<SocketTraffic>, ReadError> KernelSocketDiag::lookUp(
    const std::vector<SocketTraffic>& known) {
    std::vector<SocketTraffic> sockets;
    if (known.empty()) return sockets;
    auto socket = netlink::openSocket(SOCK_DGRAM, NETLINK_SOCK_DIAG);
    if (!socket) return tl::unexpected(socket.error());

    struct Request {
        nlmsghdr header;
        inet_diag_req_v2 request;
    };
    static_assert(sizeof(Request) % NLMSG_ALIGNTO == 0);
    // The kernel answers each request of a datagram with one reply datagram, which one
    // recvmmsg collects by the batch.
    for (size_t first = 0; first < known.size(); first += kLookupBatch) {
        const size_t count = std::min(kLookupBatch, known.size() - first);
        Request requests[kLookupBatch]{};
        for (size_t i = 0; i < count; ++i) {
            const SocketKey& key = known[first + i].key;
            Request& request = requests[i];
            request.header.nlmsg_len = sizeof(Request);
            request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
            request.header.nlmsg_flags = NLM_F_REQUEST;
            request.header.nlmsg_seq = static_cast<uint32_t>(first + i);
            request.request.sdiag_family = key.family;
            request.request.sdiag_protocol = IPPROTO_TCP;
            request.request.idiag_ext = 1u << (INET_DIAG_INFO - 1);
            request.request.idiag_states = ~0u;
            std::memcpy(&request.request.id, key.id.data(), sizeof(request.request.id));
        }
        if (auto sent = netlink::sendToKernel(socket->get(), requests, count * sizeof(Request));
            !sent) {
            return tl::unexpected(sent.error());
        }
        alignas(nlmsghdr) static thread_local uint8_t replies[kLookupBatch][kReplySize];
        iovec vectors[kLookupBatch];
        mmsghdr messages[kLookupBatch];
        size_t received = 0;
        while (received < count) {
            const size_t wanted = count - received;
            for (size_t i = 0; i < wanted; ++i) {
                vectors[i] = {replies[i], kReplySize};
                messages[i] = {};
                messages[i].msg_hdr.msg_iov = &vectors[i];
                messages[i].msg_hdr.msg_iovlen = 1;
            }
            const int got = ::recvmmsg(socket->get(), messages, wanted, 0, nullptr);
            if (got < 0) {
                if (errno == EINTR) continue;
                return tl::unexpected(procfs::readErrorFromErrno(errno));
            }
            if (got == 0) return tl::unexpected(ReadError::parse);
            for (int i = 0; i < got; ++i) {
                auto parsed = parseDatagram({replies[i], messages[i].msg_len}, sockets, true);
                if (!parsed) return tl::unexpected(parsed.error());
            }
            received += static_cast<size_t>(got);
        }
    }
    return sockets;
}

}  // namespace ostrel::sockdiag

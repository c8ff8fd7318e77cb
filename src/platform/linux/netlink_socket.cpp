#include "platform/linux/netlink_socket.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <cerrno>

namespace ostrel::netlink {

tl::expected<procfs::FileDescriptor, ReadError> openSocket(int type, int protocol) {
    procfs::FileDescriptor socket(::socket(AF_NETLINK, type | SOCK_CLOEXEC, protocol));
    if (!socket) return tl::unexpected(procfs::readErrorFromErrno(errno));
    const timeval limit{.tv_sec = 1, .tv_usec = 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    return socket;
}

tl::expected<void, ReadError> sendToKernel(int socket, const void* data, size_t length) {
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(socket, data, length, 0, reinterpret_cast<const sockaddr*>(&kernel),
                 sizeof(kernel)) < 0) {
        return tl::unexpected(procfs::readErrorFromErrno(errno));
    }
    return {};
}

}  // namespace ostrel::netlink

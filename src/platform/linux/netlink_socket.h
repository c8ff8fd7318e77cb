#pragma once

#include <cstddef>
#include <tl/expected.hpp>

#include "platform/linux/proc_files.h"
#include "platform/read_error.h"

// The two halves of talking to the kernel over netlink that every family shares.
namespace ostrel::netlink {

// A netlink socket of `type` (SOCK_RAW, SOCK_DGRAM) and `protocol` (NETLINK_ROUTE, ...). The
// kernel answers at once; a receive limit of one second keeps a reply that never comes from
// stalling a sample.
tl::expected<procfs::FileDescriptor, ReadError> openSocket(int type, int protocol);

// Sends one request (or several back to back) to the kernel.
tl::expected<void, ReadError> sendToKernel(int socket, const void* data, size_t length);

}  // namespace ostrel::netlink

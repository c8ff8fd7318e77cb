#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>
#include <vector>

namespace ostrel::testing {

// A netlink message built byte by byte as the kernel lays it out: header, family header,
// attributes, each aligned.
class NetlinkMessage {
  public:
    template <class Header>
    NetlinkMessage(uint16_t type, const Header& header) {
        const nlmsghdr top{.nlmsg_type = type};
        append(&top, NLMSG_HDRLEN);
        append(&header, sizeof(header));
    }
    // `size` below the value's cuts it short, as an older kernel's shorter struct.
    template <class T>
    NetlinkMessage& attribute(uint16_t type, const T& value, size_t size = sizeof(T)) {
        const rtattr header{.rta_len = static_cast<uint16_t>(RTA_LENGTH(size)), .rta_type = type};
        append(&header, sizeof(header));
        append(&value, size);
        return *this;
    }
    // The bytes with the length filled in; `cut` drops that many from the end afterwards.
    std::vector<char> bytes(size_t cut = 0) const {
        std::vector<char> out = bytes_;
        const auto length = static_cast<uint32_t>(out.size());
        std::memcpy(out.data(), &length, sizeof(length));
        out.resize(out.size() - cut);
        return out;
    }

  private:
    void append(const void* data, size_t size) {
        const auto* raw = static_cast<const char*>(data);
        bytes_.insert(bytes_.end(), raw, raw + size);
        bytes_.resize(NLMSG_ALIGN(bytes_.size()), 0);
    }
    std::vector<char> bytes_;
};

// Messages one after another, as one datagram.
inline std::vector<char> joined(std::initializer_list<std::vector<char>> parts) {
    std::vector<char> out;
    for (const auto& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

inline std::span<const uint8_t> asBytes(const std::vector<char>& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

}  // namespace ostrel::testing

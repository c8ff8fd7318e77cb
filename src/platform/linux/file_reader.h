#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "platform/read_error.h"

namespace ostrel::linux_files {

// Reading errors from errno values of failed opens and reads.
ReadError readErrorFromErrno(int error);

// Reads a small file (a /proc or /sys entry) into `buffer` with a plain open and read, no
// allocation. A file longer than the buffer comes back cut at the buffer's size; the parsers
// read only what they need from the front.
tl::expected<std::string_view, ReadError> readInto(const char* path, std::span<char> buffer);

// Reads a file of any length into a string, for the rare file that outgrows a stack buffer.
tl::expected<std::string, ReadError> readAll(const char* path);

// A one-value attribute such as a sysfs file, surrounding white space removed. None when it
// cannot be read or is empty.
std::optional<std::string> readAttribute(const std::string& path);

// Whether a path exists, without following a final symbolic link's target into errors.
bool exists(const std::string& path);

}  // namespace ostrel::linux_files

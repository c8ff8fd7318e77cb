#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

namespace ostrel::linux_files {

// Small files go through procfs::readFileAt into the caller's buffer; these helpers cover the
// rest.

// Reads a file of any length into a string, for the rare file that outgrows a stack buffer.
tl::expected<std::string, ReadError> readAll(const char* path);

// A one-value attribute such as a sysfs file, surrounding white space removed. None when it
// cannot be read or is empty.
std::optional<std::string> readAttribute(const std::string& path);

// Whether a path exists, without following a final symbolic link's target into errors.
bool exists(const std::string& path);

// The names in a folder, sorted, without "." and hidden ones; empty when it cannot be read.
std::vector<std::string> entryNames(const std::string& directory);

// The entries named `prefix` followed by digits only ("thermal_zone3", not "thermal_zone3-foo").
std::vector<std::string> numberedEntries(const std::string& directory, std::string_view prefix);

}  // namespace ostrel::linux_files

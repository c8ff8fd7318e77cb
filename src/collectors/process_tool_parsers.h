#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <tl/expected.hpp>
#include <unordered_map>
#include <vector>

#include "platform/process_source.h"
#include "platform/read_error.h"

// Parsers of the process tools' text output, for platforms where these tools are the source.
// Each takes the tool's whole standard output; text that is not UTF-8 fails with
// ReadError::parse, and malformed lines are skipped.
namespace ostrel {

// `ps -Aceo pid,ppid,user,pcpu,rss,comm -r`: a header line, then one process per line; the
// command is the last column and may hold spaces. CPU is taken as printed (a "," decimal
// separator is accepted), resident size from kibibytes.
tl::expected<std::vector<ProcessReading>, ReadError> parsePsOutput(std::string_view text);

// `top -l 1 -o mem -n 20 -stats pid,mem`: a header block, then "pid size" lines; the map holds
// mebibytes per pid, the later line winning for a pid that appears twice.
tl::expected<std::unordered_map<int32_t, double>, ReadError> parseTopMemoryOutput(
    std::string_view text);

// A size as top prints it ("123M", "1024K+", "2G-"), in mebibytes rounded to 1 decimal.
// "0" and "-" mean nothing used; an unknown unit is read as mebibytes.
std::optional<double> parseMemoryString(std::string_view text);

// `nettop -P -L 1 -J bytes_in,bytes_out`: a CSV header, then "name.pid,in,out," lines. Lines
// with no traffic are left out; a name may itself contain dots.
tl::expected<std::vector<ProcessNetworkCounters>, ReadError> parseNettopOutput(
    std::string_view text);

}  // namespace ostrel

#include "collectors/process_tool_parsers.h"

#include <cmath>
#include <string>

#include "collectors/process_text.h"
#include "records/formatters.h"

namespace ostrel {

namespace {

// Lines of the text after the header line.
std::vector<std::string_view> bodyLines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = text.find('\n');
    while (start != std::string_view::npos) {
        ++start;
        const size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end == std::string_view::npos ? end : end - start));
        start = end;
    }
    return lines;
}

std::optional<ProcessReading> parsePsLine(std::string_view line) {
    const auto fields = splitDroppingEmpty(line, ' ', 5);
    if (fields.size() < 6) return std::nullopt;
    const auto pid = parseInt32(fields[0]);
    const auto ppid = parseInt32(fields[1]);
    std::string cpu(fields[3]);
    for (char& c : cpu) {
        if (c == ',') c = '.';
    }
    const auto cpuPercent = parseDouble(cpu);
    const auto rssKiB = parseDouble(fields[4]);
    if (!pid || !ppid || !cpuPercent || !rssKiB || *rssKiB < 0) return std::nullopt;
    return ProcessReading{
        .pid = *pid,
        .ppid = *ppid,
        .name = std::string(fields[5]),
        .user = std::string(fields[2]),
        .residentBytes = static_cast<uint64_t>(std::llround(*rssKiB * 1024)),
        .cpuPercent = *cpuPercent,
    };
}

}  // namespace

tl::expected<std::vector<ProcessReading>, ReadError> parsePsOutput(std::string_view text) {
    if (!isValidUtf8(text)) return tl::unexpected(ReadError::parse);
    std::vector<ProcessReading> readings;
    for (std::string_view line : bodyLines(text)) {
        line = trimBlanks(line);
        if (line.empty()) continue;
        if (auto reading = parsePsLine(line)) readings.push_back(std::move(*reading));
    }
    return readings;
}

std::optional<double> parseMemoryString(std::string_view text) {
    text = trimBlanks(text);
    if (text.empty()) return std::nullopt;
    if (text == "0" || text == "-") return 0.0;
    std::string number;
    std::string unit;
    for (char c : text) {
        if ((c >= '0' && c <= '9') || c == '.') {
            number += c;
        } else if (c != '+' && c != '-') {
            unit += asciiUpper(c);
        }
    }
    const auto value = parseDouble(number);
    if (!value) return std::nullopt;
    double mebibytes = *value;
    if (unit == "G") {
        mebibytes = *value * 1024;
    } else if (unit == "K") {
        mebibytes = *value / 1024;
    } else if (unit == "B") {
        mebibytes = *value / 1048576;
    }
    return roundedTo(mebibytes, 1);
}

tl::expected<std::unordered_map<int32_t, double>, ReadError> parseTopMemoryOutput(
    std::string_view text) {
    if (!isValidUtf8(text)) return tl::unexpected(ReadError::parse);
    std::unordered_map<int32_t, double> memory;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = text.find('\n', start);
        const std::string_view line = trimBlanks(text.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start));
        start = end == std::string_view::npos ? text.size() + 1 : end + 1;
        // The header block of top has no line that starts with a pid.
        if (line.empty() || line[0] < '0' || line[0] > '9') continue;
        const auto pieces = splitDroppingEmpty(line, ' ');
        if (pieces.size() < 2) continue;
        const auto pid = parseInt32(pieces[0]);
        if (!pid) continue;
        if (const auto megabytes = parseMemoryString(pieces[1])) memory[*pid] = *megabytes;
    }
    return memory;
}

tl::expected<std::vector<ProcessNetworkCounters>, ReadError> parseNettopOutput(
    std::string_view text) {
    if (!isValidUtf8(text)) return tl::unexpected(ReadError::parse);
    std::vector<ProcessNetworkCounters> counters;
    for (std::string_view line : bodyLines(text)) {
        line = trimBlanks(line);
        if (line.empty()) continue;
        // Only the first three fields count; a trailing comma leaves an empty fourth.
        std::vector<std::string_view> fields;
        size_t start = 0;
        while (fields.size() < 3) {
            const size_t end = line.find(',', start);
            fields.push_back(line.substr(start, end == std::string_view::npos ? end : end - start));
            if (end == std::string_view::npos) break;
            start = end + 1;
        }
        if (fields.size() < 3) continue;
        const auto bytesIn = parseUInt64(fields[1]);
        const auto bytesOut = parseUInt64(fields[2]);
        if (!bytesIn || !bytesOut || (*bytesIn == 0 && *bytesOut == 0)) continue;
        const auto pieces = splitDroppingEmpty(fields[0], '.');
        if (pieces.empty()) continue;
        const auto pid = parseInt32(pieces.back());
        if (!pid) continue;
        std::string name;
        for (size_t i = 0; i + 1 < pieces.size(); ++i) {
            if (i > 0) name += '.';
            name += pieces[i];
        }
        counters.push_back(
            {.pid = *pid, .name = std::move(name), .bytesIn = *bytesIn, .bytesOut = *bytesOut});
    }
    return counters;
}

}  // namespace ostrel

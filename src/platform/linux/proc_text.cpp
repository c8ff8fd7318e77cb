#include "platform/linux/proc_text.h"

#include <string.h>

#include "platform/linux/text_scan.h"

namespace ostrel::procfs {

namespace {

using text_scan::parseNumber;

// The value of the first "key: value" line, without the spaces before it.
std::optional<std::string_view> valueOfLine(std::string_view text, std::string_view key) {
    const auto value = text_scan::lineValue(text, key, ':');
    if (!value) return std::nullopt;
    const size_t begin = value->find_first_not_of(' ');
    if (begin == std::string_view::npos) return std::nullopt;
    return value->substr(begin);
}

}  // namespace

std::optional<ProcStat> parseProcStat(std::string_view text) {
    const size_t open = text.find('(');
    // The name may hold ')' itself, the fields after it never: the last one ends the name.
    // memrchr, as the character loop of rfind costs more than the rest of the line's parse.
    const void* last = ::memrchr(text.data(), ')', text.size());
    if (open == std::string_view::npos || !last) return std::nullopt;
    const auto close = static_cast<size_t>(static_cast<const char*>(last) - text.data());
    if (close < open) return std::nullopt;
    ProcStat stat;
    const auto pid = parseNumber<int32_t>(text_scan::trim(text.substr(0, open)));
    if (!pid) return std::nullopt;
    stat.pid = *pid;
    stat.comm = text.substr(open + 1, close - open - 1);

    // Fields after the name, one space apart as the kernel prints them, numbered as in proc(5):
    // 4 ppid, 14 utime, 15 stime, 22 starttime, 24 rss. Only these are kept: the scan runs for
    // every process at every sample. The line ends long after them, so only spaces end a field.
    std::string_view ppidField, utimeField, stimeField, startField, rssField;
    const char* at = text.data() + close + 1;
    const char* const end = text.data() + text.size();
    for (size_t field = 3; field <= 24; ++field) {
        if (at == end || *at != ' ') return std::nullopt;
        const char* const start = ++at;
        while (at != end && *at != ' ')
            ++at;
        if (at == start) return std::nullopt;
        const std::string_view value{start, static_cast<size_t>(at - start)};
        switch (field) {
            case 4:
                ppidField = value;
                break;
            case 14:
                utimeField = value;
                break;
            case 15:
                stimeField = value;
                break;
            case 22:
                startField = value;
                break;
            case 24:
                rssField = value;
                break;
            default:
                break;
        }
    }
    const auto ppid = parseNumber<int32_t>(ppidField);
    const auto utime = parseNumber<uint64_t>(utimeField);
    const auto stime = parseNumber<uint64_t>(stimeField);
    const auto startTime = parseNumber<uint64_t>(startField);
    // rss is signed in the kernel's format; a negative value is not a size.
    const auto rss = parseNumber<int64_t>(rssField);
    if (!ppid || !utime || !stime || !startTime || !rss || *rss < 0) return std::nullopt;
    stat.ppid = *ppid;
    stat.utime = *utime;
    stat.stime = *stime;
    stat.startTime = *startTime;
    stat.rssPages = static_cast<uint64_t>(*rss);
    return stat;
}

std::optional<double> parseUptimeSeconds(std::string_view text) {
    const size_t end = text.find(' ');
    if (end == std::string_view::npos) return std::nullopt;
    const auto seconds = parseNumber<double>(text.substr(0, end));
    if (!seconds || *seconds < 0) return std::nullopt;
    return seconds;
}

std::optional<ProcIo> parseProcIo(std::string_view text) {
    // The kernel prints the two counters as the fifth and sixth lines, and this file is read for
    // every process at every sample: they are looked for there first, and searched for by key
    // only where they are not there.
    std::string_view rest = text;
    std::string_view line;
    for (int skipped = 0; skipped < 4; ++skipped)
        text_scan::nextLine(rest, line);
    std::optional<std::string_view> read, write;
    if (text_scan::nextLine(rest, line)) read = valueOfLine(line, "read_bytes");
    if (read && text_scan::nextLine(rest, line)) write = valueOfLine(line, "write_bytes");
    if (!read || !write) {
        read = valueOfLine(text, "read_bytes");
        write = valueOfLine(text, "write_bytes");
    }
    if (!read || !write) return std::nullopt;
    const auto readBytes = parseNumber<uint64_t>(*read);
    const auto writeBytes = parseNumber<uint64_t>(*write);
    if (!readBytes || !writeBytes) return std::nullopt;
    return ProcIo{*readBytes, *writeBytes};
}

std::optional<uint64_t> parsePssKiB(std::string_view text) {
    const auto value = valueOfLine(text, "Pss");
    if (!value || !value->ends_with(" kB")) return std::nullopt;
    std::string_view number = value->substr(0, value->size() - 3);
    while (number.ends_with(' '))
        number.remove_suffix(1);
    return parseNumber<uint64_t>(number);
}

std::optional<uint64_t> parseTcpSocketsInUse(std::string_view text) {
    auto line = valueOfLine(text, "TCP");
    if (!line) line = valueOfLine(text, "TCP6");
    if (!line || !line->starts_with("inuse ")) return std::nullopt;
    std::string_view figure = line->substr(6);
    return parseNumber<uint64_t>(figure.substr(0, figure.find(' ')));
}

std::optional<uint64_t> parseSocketInode(std::string_view link) {
    constexpr std::string_view kPrefix = "socket:[";
    if (!link.starts_with(kPrefix) || !link.ends_with(']')) return std::nullopt;
    return parseNumber<uint64_t>(link.substr(kPrefix.size(), link.size() - kPrefix.size() - 1));
}

std::string_view fullProcessName(std::string_view comm, std::string_view cmdline) {
    if (comm.size() != kKernelNameLength) return comm;
    std::string_view first = cmdline.substr(0, cmdline.find('\0'));
    // A rewritten title may hold slashes in its arguments: the base name ends at the first
    // space.
    const size_t slash = first.substr(0, first.find(' ')).rfind('/');
    if (slash != std::string_view::npos) first.remove_prefix(slash + 1);
    if (!first.starts_with(comm)) return comm;
    const size_t end = first.find(' ', comm.size());
    return first.substr(0, end);
}

}  // namespace ostrel::procfs

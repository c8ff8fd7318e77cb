#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace ostrel {

// Why a write to the store failed. The monitor shows `description()` after "Storage error: ".
struct StorageError {
    enum class Kind {
        // The record could not become a line (a number that is not finite).
        encodingFailed,
        // Kept for callers that distinguish them; the store itself reports file system faults
        // as `fileSystem`, with the system's own reason.
        writeFailed,
        fileNotFound,
        // The file system refused: a folder could not be made, a file opened or written.
        fileSystem,
    };

    Kind kind;
    std::string detail;

    std::string description() const;

    static StorageError encoding(std::string detail) {
        return {Kind::encodingFailed, std::move(detail)};
    }
    // "No space left on device: /path/metrics-2026-11-15.jsonl"
    static StorageError fileSystem(std::error_code code, const std::filesystem::path& path) {
        return {Kind::fileSystem, code.message() + ": " + path.string()};
    }
};

inline std::string StorageError::description() const {
    switch (kind) {
        case Kind::encodingFailed:
            return "Could not encode the record: " + detail;
        case Kind::writeFailed:
            return "Could not write the record: " + detail;
        case Kind::fileNotFound:
            return "File not found: " + detail;
        case Kind::fileSystem:
            return detail;
    }
    return detail;
}

}  // namespace ostrel

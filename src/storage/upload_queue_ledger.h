#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>

namespace ostrel {

// The lines and bytes of each file of the upload queue, kept up to date as lines are appended
// and files move or go, so that neither the count of records waiting nor the queue's size
// needs a re-read or a listing of the queue. Not thread-safe: its owner guards it.
class UploadQueueLedger {
  public:
    using Path = std::filesystem::path;
    struct Entry {
        int64_t lines = 0;
        uint64_t bytes = 0;
    };

    void add(const Path& file, Entry entry) {
        Entry& held = entries_[file];
        held.lines += entry.lines;
        held.bytes += entry.bytes;
        total_.lines += entry.lines;
        total_.bytes += entry.bytes;
    }
    // What `from` held now stands under `to`.
    void move(const Path& from, const Path& to) {
        if (auto entry = remove(from)) add(to, *entry);
    }
    // Forgets the file and returns what it held; absent for a file not in the ledger.
    std::optional<Entry> remove(const Path& file) {
        const auto found = entries_.find(file);
        if (found == entries_.end()) return std::nullopt;
        const Entry entry = found->second;
        total_.lines -= entry.lines;
        total_.bytes -= entry.bytes;
        entries_.erase(found);
        return entry;
    }
    // The first file by path that `eligible` accepts: within one folder, by name.
    template <class Eligible>
    std::optional<Path> first(Eligible eligible) const {
        for (const auto& [file, entry] : entries_)
            if (eligible(file)) return file;
        return std::nullopt;
    }
    const Entry& total() const { return total_; }

  private:
    std::map<Path, Entry> entries_;
    Entry total_;
};

}  // namespace ostrel

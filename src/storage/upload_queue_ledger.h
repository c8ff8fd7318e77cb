#pragma once

#include <cstdint>
#include <filesystem>
#include <map>

namespace ostrel {

// The lines of each file of the upload queue, kept up to date as lines are appended and files
// move or go, so that the count of records waiting never needs a re-read of the queue. Not
// thread-safe: its owner guards it.
class UploadQueueLedger {
  public:
    using Path = std::filesystem::path;

    void add(const Path& file, int64_t lines) {
        lines_[file] += lines;
        total_ += lines;
    }
    // The lines of `from` now stand under `to`.
    void move(const Path& from, const Path& to) { add(to, remove(from)); }
    // Forgets the file and returns the lines it held; 0 for a file not in the ledger.
    int64_t remove(const Path& file) {
        const auto found = lines_.find(file);
        if (found == lines_.end()) return 0;
        const int64_t lines = found->second;
        total_ -= lines;
        lines_.erase(found);
        return lines;
    }
    bool contains(const Path& file) const { return lines_.contains(file); }
    int64_t total() const { return total_; }

  private:
    std::map<Path, int64_t> lines_;
    int64_t total_ = 0;
};

}  // namespace ostrel

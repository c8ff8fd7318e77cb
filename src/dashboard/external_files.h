#pragma once

#include <filesystem>
#include <vector>

#include "dashboard/chart_sample.h"

namespace ostrel {

// Metric files picked by the user, perhaps from other machines. Each path is a file, kept if
// its extension is exactly "jsonl", or a folder, of which the "jsonl" entries one level deep are
// kept; paths that do not exist and folders that cannot be listed give nothing.
std::vector<std::filesystem::path> externalMetricFiles(
    const std::vector<std::filesystem::path>& paths);

// The samples of the files, one file after the other, in line order. Files are read in chunks
// of 256 KiB, so a file is never held whole. Lines that are empty, not UTF-8, contain
// "event_type" (a watched-process event) or do not decode are skipped without a word; an
// alert line, whose key is spelled "eventType", decodes as a sample with no sections.
std::vector<ChartSample> loadExternalFiles(const std::vector<std::filesystem::path>& files);

}  // namespace ostrel

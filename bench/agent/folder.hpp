// SPDX-License-Identifier: Apache-2.0
//
// The folder in which everything of one run stands, and what the disk below it does.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "load.hpp"
#include "zpf_transport/unique_fd.hpp"

namespace zpf::bench {

/// Made below another, readable by its owner only; removed in the end.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::filesystem::path& parent);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// True when it lies in memory, where syncing means nothing.
    bool in_memory() const;

private:
    std::filesystem::path path_;
};

void write_file(const std::filesystem::path& file, const std::string& text);
/// Throws std::runtime_error when it cannot be read.
std::string read_file(const std::filesystem::path& file);

/// The fastest durable write there is: 4 KiB over older ones in a file that does not grow, each followed by fdatasync.
class RawSync {
public:
    explicit RawSync(const std::filesystem::path& folder);

    /// Writes for that long. Latencies are those of a write with its sync; there is no server.
    Sample run(std::chrono::milliseconds time, const Watch& watch) const;

private:
    std::filesystem::path file_;
    agent::UniqueFd descriptor_;
};

} // namespace zpf::bench

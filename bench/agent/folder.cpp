// SPDX-License-Identifier: Apache-2.0
//
// Files of a run.
#include "folder.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zpf::bench {

namespace {

constexpr std::size_t kPageBytes = 4096;
constexpr std::size_t kPages = 64;

} // namespace

TemporaryFolder::TemporaryFolder(const std::filesystem::path& parent)
{
    std::string pattern = (parent / "zpf-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(fmt::format("no folder can be made in {}: {}", parent.string(), std::strerror(errno)));
    }
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

bool TemporaryFolder::in_memory() const
{
    struct statfs system {};
    return ::statfs(path_.c_str(), &system) == 0 && (system.f_type == TMPFS_MAGIC || system.f_type == RAMFS_MAGIC);
}

void write_file(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream out(file);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error(file.string() + " cannot be written");
    }
}

std::string read_file(const std::filesystem::path& file)
{
    std::ifstream in(file);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in) {
        throw std::runtime_error(file.string() + " cannot be read");
    }
    return text.str();
}

RawSync::RawSync(const std::filesystem::path& folder)
    : file_(folder / "sync"), descriptor_(::open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
{
    const std::string zeros(kPageBytes * kPages, '\0');
    const ssize_t written = ::pwrite(descriptor_.get(), zeros.data(), zeros.size(), 0);
    if (written != static_cast<ssize_t>(zeros.size()) || ::fsync(descriptor_.get()) != 0) {
        throw std::runtime_error(fmt::format("{}: {}", file_.string(), std::strerror(errno)));
    }
}

Sample RawSync::run(std::chrono::milliseconds time, const Watch& watch) const
{
    std::array<char, kPageBytes> page{};
    std::vector<double> latencies_us;
    const auto begin = Clock::now();
    auto now = begin;
    while (now < begin + time) {
        watch.check();
        page[0] = static_cast<char>(latencies_us.size());
        const auto place = static_cast<off_t>((latencies_us.size() % kPages) * kPageBytes);
        if (::pwrite(descriptor_.get(), page.data(), page.size(), place) != static_cast<ssize_t>(page.size()) ||
            ::fdatasync(descriptor_.get()) != 0) {
            throw std::runtime_error(fmt::format("{}: {}", file_.string(), std::strerror(errno)));
        }
        const auto done = Clock::now();
        latencies_us.push_back(std::chrono::duration<double, std::micro>(done - now).count());
        now = done;
    }
    std::sort(latencies_us.begin(), latencies_us.end());
    const auto syncs = latencies_us.size();
    return {static_cast<double>(syncs) / std::chrono::duration<double>(now - begin).count(), latencies_us[syncs / 2],
            latencies_us[syncs * 99 / 100], 0};
}

} // namespace zpf::bench

// SPDX-License-Identifier: Apache-2.0
//
// Reading with a look at who else may, and writing by way of a temporary file that is linked to its name once it is on
// disk.
#include "state_file.hpp"

#include "log_text.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace zpf::agent {

namespace {

constexpr size_t kLargestBytes = 1024 * 1024;

[[noreturn]] void fail(const std::string& path, const std::string& what)
{
    throw std::runtime_error(path + ": " + what);
}

void write_whole(const UniqueFd& fd, const std::string& text, const std::string& path)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(fd.get(), text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) {
            fail(path, "cannot be written: " + errno_text());
        }
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    if (::fsync(fd.get()) != 0) {
        fail(path, "cannot be brought to disk: " + errno_text());
    }
}

/// Removes the temporary name, whatever happens.
struct Removed {
    const std::string& path;
    ~Removed() { ::unlink(path.c_str()); }
};

} // namespace

std::optional<std::string> read_file(const std::string& path, mode_t forbidden)
{
    // Non-blocking, for a pipe by that name would hold up whoever opens it.
    const UniqueFd fd{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)};
    if (!fd) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        fail(path, "cannot be read: " + errno_text());
    }
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        fail(path, "is no ordinary file");
    }
    if ((status.st_mode & forbidden) != 0) {
        fail(path, fmt::format("has mode {:o} and is open to others; correct it with chmod {:o}",
                               status.st_mode & 07777U, status.st_mode & 07777U & ~forbidden));
    }
    std::string text;
    std::array<char, 4096> chunk;
    ssize_t got = 0;
    while ((got = ::read(fd.get(), chunk.data(), chunk.size())) > 0) {
        text.append(chunk.data(), static_cast<size_t>(got));
        if (text.size() > kLargestBytes) {
            fail(path, "is larger than 1 MiB");
        }
    }
    if (got < 0) {
        fail(path, "cannot be read: " + errno_text());
    }
    return text;
}

void write_new_file(const std::string& path, const std::string& text, mode_t mode)
{
    const std::string temporary = fmt::format("{}.{}.new", path, ::getpid());
    const Removed removed{temporary};
    ::unlink(temporary.c_str()); // of a process of that number that was killed here
    {
        const UniqueFd fd{::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)};
        if (!fd) {
            fail(path, "cannot be made: " + errno_text());
        }
        write_whole(fd, text, path);
    }
    if (::link(temporary.c_str(), path.c_str()) != 0 && errno != EEXIST) {
        fail(path, "cannot be made: " + errno_text());
    }
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const UniqueFd directory{::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!directory || ::fsync(directory.get()) != 0) {
        fail(folder, "cannot be brought to disk: " + errno_text());
    }
}

} // namespace zpf::agent

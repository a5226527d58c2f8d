// SPDX-License-Identifier: Apache-2.0
//
// Going back by one commit: the older header is copied over the newer one.
#include "torn_commit.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

#include "failure.hpp"
#include "file_descriptor.hpp"
#include "pages.hpp"

namespace kelda::detail {

namespace {

bool is_whole_before(const std::string& file)
{
    try {
        return require_sound_file(file, PagesToLookAt::all, Commit::one_before).is_of_this_version;
    } catch (const StoreError& error) {
        if (error.kind() == StoreError::Kind::damaged) {
            return false;
        }
        throw;
    }
}

/// Copies the header of page `from`, 0 or 1, over that of the other page.
void copy_header(int fd, std::size_t page_bytes, PageNumber from, const std::string& file)
{
    std::array<std::byte, sizeof(FileHeader)> header{};
    const auto offset_in = [&](PageNumber page) { return static_cast<off_t>(page * page_bytes + kHeaderOffset); };
    const bool is_copied = ::pread(fd, header.data(), header.size(), offset_in(from)) == ssize_t{header.size()} &&
                           ::pwrite(fd, header.data(), header.size(), offset_in(1 - from)) == ssize_t{header.size()};
    require(is_copied ? 0 : errno, "go back by a commit in", file);
}

struct Torn {
    std::uint64_t commit;
    std::uint64_t before;
    PageNumber header_before; ///< the page of its header
    std::size_t page_bytes;
};

/// Nothing when the last commit is whole. Throws StoreError, saying what is wrong with it, when there is none to go
/// back to.
std::optional<Torn> find_torn_commit(const std::string& file)
{
    try {
        require_sound_file(file, PagesToLookAt::all);
        return std::nullopt;
    } catch (const StoreError& error) {
        if (error.kind() != StoreError::Kind::damaged) {
            throw;
        }
        const DataFile last{file};
        const DataFile before{file, Commit::one_before};
        if (before.header().commit == last.header().commit || !is_whole_before(file)) {
            throw;
        }
        return Torn{last.header().commit, before.header().commit, before.header_page(), before.page_bytes()};
    }
}

} // namespace

std::string undo_torn_commit(const std::string& file)
{
    const auto torn = find_torn_commit(file);
    if (!torn) {
        return {};
    }
    const FileDescriptor fd{::open(file.c_str(), O_RDWR | O_CLOEXEC)};
    require(fd ? 0 : errno, "open for writing", file);
    copy_header(fd.get(), torn->page_bytes, torn->header_before, file);
    require(::fdatasync(fd.get()) == 0 ? 0 : errno, "sync", file);
    return fmt::format(
        "{}: the last commit, {}, was cut short on its way to disk, as by a power failure, and is undone. "
        "The store is as of commit {}, the one before",
        file, torn->commit, torn->before);
}

void require_no_torn_commit(const std::string& file)
{
    if (const auto torn = find_torn_commit(file)) {
        throw StoreError{
            StoreError::Kind::damaged,
            fmt::format("{}: the last commit, {}, was cut short on its way to disk: start the agent, or run zpf store "
                        "compact; either goes back to commit {}, the one before, which is whole",
                        file, torn->commit, torn->before)};
    }
}

void take_back_commit(int fd, std::size_t page_bytes, std::uint64_t commit, const std::string& file)
{
    copy_header(fd, page_bytes, (commit + 1) % kHeaderPages, file);
}

} // namespace kelda::detail

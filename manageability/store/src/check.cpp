// SPDX-License-Identifier: Apache-2.0
//
// Checking a store: page by page when nobody writes it, then record by record in a child process.
#include <fmt/format.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <optional>

#include "failure.hpp"
#include "file_descriptor.hpp"
#include "folder.hpp"
#include "format.hpp"
#include "kelda/tools.hpp"
#include "pages.hpp"
#include "torn_commit.hpp"

namespace kelda {

namespace {

using namespace detail;
using Kind = StoreError::Kind;

/// What the child found out; a fixed size, so that one write carries it.
struct Finding {
    bool is_sound = false;
    Kind kind = Kind::damaged;
    std::uint64_t records = 0;
    std::uint64_t value_bytes = 0;
    std::array<char, 1024> problem{};

    void set_problem(Kind of_kind, std::string_view text)
    {
        is_sound = false;
        kind = of_kind;
        text.copy(problem.data(), problem.size() - 1);
    }
};

Finding read_all(const std::string& folder)
{
    Finding found;
    try {
        const Store store = Store::open(folder, {.create = false, .read_only = true});
        std::string last_key;
        const Snapshot snapshot = store.snapshot();
        found.is_sound = true;
        snapshot.scan({}, [&](std::string_view key, std::string_view value) {
            if (key <= last_key) {
                found.set_problem(Kind::damaged, fmt::format("keys are out of order at \"{}\"", key));
            }
            last_key = key;
            if (!key.starts_with(kVolatilePrefix)) {
                ++found.records;
                found.value_bytes += value.size();
            }
            return found.is_sound;
        });
    } catch (const StoreError& error) {
        found.set_problem(error.kind(), error.what());
    } catch (const std::exception& error) {
        found.set_problem(Kind::io, error.what());
    }
    return found;
}

/// Nothing when the child did not live to tell.
std::optional<Finding> read_all_in_child(const std::string& folder)
{
    std::array<int, 2> ends{};
    require(::pipe(ends.data()) == 0 ? 0 : errno, "check", folder);
    const FileDescriptor from_child{ends[0]};
    FileDescriptor to_parent{ends[1]};
    const pid_t child = ::fork();
    require(child >= 0 ? 0 : errno, "check", folder);
    if (child == 0) {
        const Finding found = read_all(folder);
        const ssize_t written = ::write(to_parent.get(), &found, sizeof found);
        ::_exit(written == sizeof found ? 0 : 1);
    }
    to_parent = FileDescriptor{};
    Finding found;
    const ssize_t got = ::read(from_child.get(), &found, sizeof found);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return got == sizeof found ? std::optional{found} : std::nullopt;
}

bool is_finding(Kind kind)
{
    return kind == Kind::damaged || kind == Kind::version;
}

} // namespace

CheckReport check(const std::string& folder_path)
{
    Folder folder{folder_path, Access::read, false};
    folder.require_store_or_nothing(false);
    CheckReport report;
    report.is_written = !folder.keep_writers_out();
    try {
        if (!report.is_written && folder.may_have_lost_power(DataFile{folder.file(kDataFile)}.header().commit)) {
            require_no_torn_commit(folder.file(kDataFile));
        }
        report.pages =
            require_sound_file(folder.file(kDataFile), report.is_written ? PagesToLookAt::header : PagesToLookAt::all)
                .pages;
    } catch (const StoreError& error) {
        if (!is_finding(error.kind())) {
            throw;
        }
        report.problem = error.what();
        return report;
    }
    const auto found = read_all_in_child(folder_path);
    if (!found) {
        report.problem = fmt::format("{} is damaged: reading it ends the process: restore the store from a dump",
                                     folder.file(kDataFile));
        return report;
    }
    if (!found->is_sound && !is_finding(found->kind)) {
        throw StoreError{found->kind, found->problem.data()};
    }
    report.is_sound = found->is_sound;
    report.problem = found->problem.data();
    report.records = found->records;
    report.value_bytes = found->value_bytes;
    return report;
}

} // namespace kelda

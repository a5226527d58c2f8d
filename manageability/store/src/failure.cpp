// SPDX-License-Identifier: Apache-2.0
//
// Kinds of failures, and the advice that goes with each.
#include "failure.hpp"

#include <fmt/format.h>
#include <lmdb.h>

#include <cerrno>

namespace kelda::detail {

namespace {

using Kind = StoreError::Kind;

Kind kind_of(int code)
{
    switch (code) {
    case ENOSPC:
    case EDQUOT:
    case MDB_MAP_FULL:
        return Kind::disk_full;
    case EACCES:
    case EPERM:
    case EROFS:
        return Kind::read_only;
    case ENOENT:
    case ENOTDIR:
        return Kind::missing;
    case MDB_CORRUPTED:
    case MDB_PAGE_NOTFOUND:
    case MDB_INVALID:
        return Kind::damaged;
    case MDB_VERSION_MISMATCH:
        return Kind::version;
    case MDB_BAD_VALSIZE:
        return Kind::too_long;
    default:
        return Kind::io;
    }
}

const char* advice(int code)
{
    if (code == MDB_MAP_FULL) {
        return "the store has reached its size limit: open it with a larger one; nothing was changed";
    }
    if (code == MDB_PANIC) {
        return "an earlier write failed half-way: restart the program; what was committed before is intact";
    }
    if (code == MDB_READERS_FULL) {
        return "too many readers at once: end some, or read with fewer threads";
    }
    switch (kind_of(code)) {
    case Kind::disk_full:
        return "free space on its file system; nothing was changed";
    case Kind::read_only:
        return "give this user the right to read and write the folder and its files, or mount it writable";
    case Kind::missing:
        return "check the path, or restore the store from a dump";
    case Kind::damaged:
        return "move the folder aside and restore the store from a dump (zpf store load)";
    case Kind::version:
        return "use the release that wrote it, or restore it from a dump (zpf store load) into an empty folder";
    case Kind::too_long:
        return "shorten the key";
    default:
        return "see the system's log for failures of the disk";
    }
}

} // namespace

void fail(int code, std::string_view doing, const std::string& path)
{
    throw StoreError{kind_of(code), fmt::format("cannot {} {}: {}: {}", doing, path, mdb_strerror(code), advice(code))};
}

void fail_damaged(const std::string& path, std::string_view what)
{
    throw StoreError{Kind::damaged, fmt::format("{} is damaged: {}: {}", path, what, advice(MDB_CORRUPTED))};
}

} // namespace kelda::detail

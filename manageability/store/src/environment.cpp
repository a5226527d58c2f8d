// SPDX-License-Identifier: Apache-2.0
//
// Opening of database files, look-ups and walks.
#include "environment.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "failure.hpp"
#include "file_descriptor.hpp"
#include "format.hpp"

namespace kelda::detail {

namespace {

constexpr unsigned kMaxReaders = 1022;
constexpr mode_t kFileMode = 0640;
constexpr off_t kLockBytes = off_t{kMaxReaders + 2} * 64; // a cache line for each reader and two for the locks

/// Gives the file in which readers are listed its space on the disk. The database maps that file as one hole and writes
/// to it: on a full disk that would end the process by a signal. Throws StoreError when there is no space; of all else
/// that is wrong with the file, the database tells when it opens it.
///
/// Closing the file drops the locks that the process has on it, so this comes before the database opens it.
void reserve_lock_file(const std::string& path)
{
    const FileDescriptor fd{::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode)};
    const auto reserve = [&] { return ::fallocate(fd.get(), FALLOC_FL_KEEP_SIZE, 0, kLockBytes) == 0 ? 0 : errno; };
    int code = fd ? reserve() : errno;
    while (code == EINTR) {
        code = reserve();
    }
    if (code == ENOSPC || code == EDQUOT) {
        fail(code, "make room for readers in", path);
    }
}

/// The records of "meta". Throws StoreError for another format or version.
void require_format(MDB_txn* txn, MDB_dbi meta, const std::string& path)
{
    const auto text = [&](std::string_view key) -> std::string_view {
        MDB_val key_value = to_val(key);
        MDB_val value;
        return mdb_get(txn, meta, &key_value, &value) == 0 ? to_view(value) : std::string_view{};
    };
    const std::string_view name = text(kFormatKey);
    const std::string_view version = text(kVersionKey);
    if (name != kFormatName || version != kFormatVersion) {
        throw StoreError{
            StoreError::Kind::version,
            fmt::format("{} has format \"{}\" version \"{}\", this program reads \"{}\" version \"{}\": use the "
                        "release that wrote it, or restore a dump (zpf store load) into an empty folder",
                        path, name, version, kFormatName, kFormatVersion)};
    }
}

void write_format(MDB_txn* txn, MDB_dbi meta, const std::string& path)
{
    for (const auto& [key, text] : {std::pair{kFormatKey, kFormatName}, std::pair{kVersionKey, kFormatVersion}}) {
        MDB_val key_value = to_val(key);
        MDB_val value = to_val(text);
        require(mdb_put(txn, meta, &key_value, &value, 0), "write", path);
    }
}

} // namespace

Environment::Environment(std::string path, Use use, unsigned flags, std::size_t map_bytes) : path_{std::move(path)}
{
    MDB_env* env = nullptr;
    require(mdb_env_create(&env), "open", path_);
    env_.reset(env);
    require(mdb_env_set_maxdbs(env, 2), "open", path_);
    require(mdb_env_set_maxreaders(env, kMaxReaders), "open", path_);
    if (map_bytes != 0) {
        require(mdb_env_set_mapsize(env, std::min<std::size_t>(map_bytes, kMaxMapBytes)), "open", path_);
    }
    flags |= MDB_NOTLS | MDB_NOSUBDIR | (use == Use::read ? MDB_RDONLY : 0U);
    if ((flags & MDB_NOLOCK) == 0) {
        reserve_lock_file(path_ + "-lock");
    }
    require(mdb_env_open(env, path_.c_str(), flags, kFileMode), use == Use::make ? "make" : "open", path_);
    open_databases(use);
}

/// Pages that a commit has taken and given up again are counted, but not written. The file gets them as a hole, so that
/// few files are shorter than they say.
///
/// The file is looked at only when it may have grown: a file that is looked at gets a finer time of its next change,
/// which some file systems then write to the disk with each sync, at the price of another wait.
void Environment::lengthen() noexcept
{
    MDB_envinfo info;
    MDB_stat pages;
    mdb_env_info(env_.get(), &info);
    mdb_env_stat(env_.get(), &pages);
    const std::uint64_t bytes = (info.me_last_pgno + std::uint64_t{1}) * pages.ms_psize;
    if (bytes <= length_) {
        return;
    }
    struct stat file {};
    int fd = -1;
    mdb_env_get_fd(env_.get(), &fd);
    if (fstat(fd, &file) != 0) {
        return;
    }
    const auto length = static_cast<std::uint64_t>(file.st_size);
    if (length >= bytes || ::ftruncate(fd, static_cast<off_t>(bytes)) == 0) { // else each look goes over all of it
        length_ = std::max(length, bytes);
    }
}

void Environment::open_databases(Use use)
{
    const bool is_new = use == Use::make;
    TxnPtr txn = begin(use == Use::read ? MDB_RDONLY : 0U);
    MDB_dbi meta = 0;
    const int code = mdb_dbi_open(txn.get(), kMetaTable.data(), is_new ? MDB_CREATE : 0U, &meta);
    if (code == MDB_NOTFOUND || code == MDB_INCOMPATIBLE) {
        fail_damaged(path_, "it is a database, but not of this system");
    }
    require(code, "open", path_);
    if (is_new) {
        write_format(txn.get(), meta, path_);
    }
    require_format(txn.get(), meta, path_);
    require(mdb_dbi_open(txn.get(), nullptr, 0, &tables_), "open", path_);
    const int found = mdb_dbi_open(txn.get(), kRecordsTable.data(), is_new ? MDB_CREATE : 0U, &records_);
    if (found == MDB_NOTFOUND || found == MDB_INCOMPATIBLE) {
        fail_damaged(path_, "the table of records is missing");
    }
    require(found, "open", path_);
    require(mdb_txn_commit(txn.release()), is_new ? "make" : "open", path_);
}

std::uint64_t Environment::last_commit() const
{
    MDB_envinfo info;
    mdb_env_info(env_.get(), &info);
    return info.me_last_txnid;
}

Digest Environment::digest(MDB_txn* txn) const
{
    MDB_val key = to_val(kDigestKey);
    MDB_val value{};
    const int code = mdb_get(txn, tables_, &key, &value);
    require(code == MDB_NOTFOUND ? 0 : code, "read", path_);
    const auto digest = code == 0 ? Digest::from_record(to_view(value)) : std::nullopt;
    if (!digest) {
        fail_damaged(path_, "the digest of its records is missing");
    }
    return *digest;
}

void Environment::set_digest(MDB_txn* txn, const Digest& digest) const
{
    const std::string record = digest.record(mdb_txn_id(txn));
    MDB_val key = to_val(kDigestKey);
    MDB_val value = to_val(record);
    require(mdb_put(txn, tables_, &key, &value, 0), "write", path_);
}

TxnPtr Environment::begin(unsigned flags) const
{
    MDB_txn* txn = nullptr;
    require(mdb_txn_begin(env_.get(), nullptr, flags, &txn), (flags & MDB_RDONLY) != 0 ? "read" : "write", path_);
    return TxnPtr{txn};
}

std::optional<std::string_view> get_record(MDB_txn* txn, const Environment& env, std::string_view key)
{
    if (key.empty() || key.size() > kMaxKeyBytes) {
        return std::nullopt; // LMDB takes these for wrong calls
    }
    MDB_val key_value = to_val(key);
    MDB_val value;
    const int code = mdb_get(txn, env.records(), &key_value, &value);
    if (code == MDB_NOTFOUND) {
        return std::nullopt;
    }
    require(code, "read", env.path());
    return to_view(value);
}

bool walk_records(MDB_txn* txn, const Environment& env, const Range& range, Visitor visit)
{
    const std::string_view first = std::max(range.prefix, range.first);
    MDB_cursor* opened = nullptr;
    require(mdb_cursor_open(txn, env.records(), &opened), "read", env.path());
    const CursorPtr cursor{opened};
    // A longer key than any in the store: its beginning leads to the first one that can follow.
    MDB_val key = to_val(first.substr(0, kMaxKeyBytes));
    MDB_val value;
    int code = mdb_cursor_get(opened, &key, &value, first.empty() ? MDB_FIRST : MDB_SET_RANGE);
    for (; code == 0; code = mdb_cursor_get(opened, &key, &value, MDB_NEXT)) {
        const std::string_view name = to_view(key);
        if (!name.starts_with(range.prefix) || (!range.end.empty() && name >= range.end)) {
            return true;
        }
        if (name >= first && !visit(name, to_view(value))) {
            return false;
        }
    }
    if (code != MDB_NOTFOUND) {
        fail(code, "read", env.path());
    }
    return true;
}

} // namespace kelda::detail

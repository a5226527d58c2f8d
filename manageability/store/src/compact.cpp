// SPDX-License-Identifier: Apache-2.0
//
// Compaction: a copy without free pages, looked over, takes the file's place in one step.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "environment.hpp"
#include "failure.hpp"
#include "folder.hpp"
#include "format.hpp"
#include "kelda/tools.hpp"
#include "pages.hpp"
#include "torn_commit.hpp"

namespace kelda {

namespace {

using namespace detail;

/// Removes the copy unless it has been put in its place.
class CopyFile {
public:
    explicit CopyFile(std::string path)
        : path_{std::move(path)}, fd_{::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0640)}
    {
        require(fd_ ? 0 : errno, "make", path_);
    }
    CopyFile(CopyFile&&) = delete;
    CopyFile& operator=(CopyFile&&) = delete;
    ~CopyFile() { ::unlink(path_.c_str()); }

    int fd() const { return fd_.get(); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    FileDescriptor fd_;
};

std::uint64_t bytes_of(const std::string& path)
{
    struct stat status {};
    require(::stat(path.c_str(), &status) == 0 ? 0 : errno, "open", path);
    return static_cast<std::uint64_t>(status.st_size);
}

std::uint64_t records_of(const std::string& path)
{
    const Environment file{path, Environment::Use::read, MDB_NOLOCK, 0};
    MDB_stat stat;
    require(mdb_stat(file.begin(MDB_RDONLY).get(), file.records(), &stat), "read", path);
    return stat.ms_entries;
}

} // namespace

Compacted compact(const std::string& folder_path)
{
    const Folder folder{folder_path, Access::replace, false};
    const std::string file = folder.file(kDataFile);
    const bool may_be_torn = folder.may_have_lost_power(DataFile{file}.header().commit);
    const std::string undone = may_be_torn ? undo_torn_commit(file) : "";
    require_sound_file(file, PagesToLookAt::all);
    const CopyFile copy{folder.file(kNewDataFile)};
    {
        const Environment present{file, Environment::Use::read, MDB_NOLOCK, 0};
        require(mdb_env_copyfd2(present.raw(), copy.fd(), MDB_CP_COMPACT), "copy", file);
    }
    {
        // Its commits are numbered anew, and the digest says which one it belongs to.
        const Environment made{copy.path(), Environment::Use::write, MDB_NOLOCK, 0};
        TxnPtr txn = made.begin(0);
        made.set_digest(txn.get(), made.digest(txn.get()));
        require(mdb_txn_commit(txn.release()), "write", copy.path());
    }
    require(::fsync(copy.fd()) == 0 ? 0 : errno, "write", copy.path());
    require_sound_file(copy.path(), PagesToLookAt::all);
    if (records_of(copy.path()) != records_of(file)) {
        fail_damaged(file, "its copy has another number of records");
    }
    const Compacted done{bytes_of(file), bytes_of(copy.path()), undone};
    // The readers' table counts commits of the old file. Nobody has the store open, so it can be made anew.
    ::unlink(folder.file(kDataLockFile).c_str());
    require(::rename(copy.path().c_str(), file.c_str()) == 0 ? 0 : errno, "replace", file);
    folder.sync();
    folder.note_closed(DataFile{file}.header().commit);
    folder.give_to_owner();
    return done;
}

} // namespace kelda

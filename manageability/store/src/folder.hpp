// SPDX-License-Identifier: Apache-2.0
//
// The folder of a store: who may have it open, and what must and must not be in it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <utility>

#include "file_descriptor.hpp"

namespace kelda::detail {

enum class Access {
    read,    ///< beside a writer and others that read
    write,   ///< the only writer
    replace, ///< alone: for putting another data file in the place of the present one
};

/// Locks are held as long as it lives.
class Folder {
public:
    /// Makes the folder when `create` says so. Throws StoreError when others stand in the way, or the folder is
    /// missing.
    Folder(std::string path, Access access, bool create);
    Folder(Folder&&) = delete;
    Folder& operator=(Folder&&) = delete;
    ~Folder();

    const std::string& path() const { return path_; }
    std::string file(const char* name) const { return path_ + "/" + name; }
    bool has(const char* name) const;

    /// Throws StoreError unless the folder has a data file, or has nothing and may be given one. True if it has one.
    bool require_store_or_nothing(bool create) const;
    /// Keeps those out that would begin to write, until let_writers_in() or as long as it lives. False when somebody
    /// writes already.
    bool keep_writers_out();
    void let_writers_in() { writer_fd_ = FileDescriptor{}; }
    /// Whether the system may have lost what was not on disk yet: who wrote last did not close the store after
    /// `commit`, and since then the system was started or the file system mounted.
    bool may_have_lost_power(std::uint64_t commit) const;
    /// Waits until who writes has looked the store over. Throws StoreError when that takes too long.
    void wait_for_writer();
    /// Notes, on disk, who writes. To be called when the store is known to be whole and before the first commit, which
    /// a power cut could tear.
    void note_writing() const;
    /// Notes that all is on disk up to `commit`, and that nothing is written after it.
    void note_closed(std::uint64_t commit) const;
    /// What root makes in somebody's folder becomes that user's, who could not open it otherwise.
    void give_to_owner() const noexcept;
    /// Forces renamed and removed names to disk.
    void sync() const;

private:
    /// Keeps a process from opening a folder twice, which would drop the database's locks when one of them is closed.
    class OnceInProcess {
    public:
        explicit OnceInProcess(const std::string& path, int folder_fd);
        OnceInProcess(OnceInProcess&&) = delete;
        OnceInProcess& operator=(OnceInProcess&&) = delete;
        ~OnceInProcess();

    private:
        std::pair<dev_t, ino_t> id_;
    };

    void share_or_take(Access access) const;
    void become_writer();
    void read_note();
    std::string place() const;

    std::string path_;
    FileDescriptor folder_fd_;
    OnceInProcess once_;
    FileDescriptor writer_fd_;
    bool is_writer_ = false;
    std::string note_; ///< of who wrote last
};

} // namespace kelda::detail

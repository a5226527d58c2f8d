// SPDX-License-Identifier: Apache-2.0
//
// Locks: everybody shares the folder itself, and who replaces the data file has it alone; who writes locks the file
// "lock". The system drops all of them when a process ends, however it ends. What stands in "lock" is a note of who
// writes: number of the process, id of the boot and of the mount, a line each; or, after an orderly end, "closed" and
// the last commit.
#include "folder.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

#include "failure.hpp"
#include "format.hpp"

namespace kelda::detail {

namespace {

using Kind = StoreError::Kind;
namespace fs = std::filesystem;

/// For its owner alone: who may enter could lock the file of who writes, and so keep the agent from starting. Folders
/// above it that are missing are made as usual.
void make_folder(const std::string& path)
{
    fs::path folder{path};
    while (folder.has_parent_path() && (!folder.has_filename() || folder.filename() == ".")) {
        folder = folder.parent_path(); // of "store/" or "store/."
    }
    std::error_code error;
    if (folder.has_parent_path()) {
        fs::create_directories(folder.parent_path(), error);
    }
    require(error.value(), "make the folder", path);
    const bool is_made = ::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST; // by another process just now
    require(is_made ? 0 : errno, "make the folder", path);
}

FileDescriptor open_folder(const std::string& path, bool create)
{
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    FileDescriptor fd{::open(path.c_str(), kFlags)};
    if (!fd && errno == ENOENT && create) {
        make_folder(path);
        const FileDescriptor parent{::open((path + "/..").c_str(), kFlags)};
        ::fsync(parent.get()); // without it a power cut takes the folder away again
        fd = FileDescriptor{::open(path.c_str(), kFlags)};
    }
    if (!fd && errno == ENOENT) {
        throw StoreError{Kind::missing, fmt::format("there is no folder {}: check the path", path)};
    }
    require(fd ? 0 : errno, "open the folder", path);
    return fd;
}

/// The beginning of a small file.
std::string text_of_file(int fd)
{
    std::array<char, 128> text{};
    const ssize_t length = ::pread(fd, text.data(), text.size(), 0);
    return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// The process that a note names, if there is one of that number; else 0.
pid_t process_named_in(const std::string& note)
{
    const auto pid = static_cast<pid_t>(std::strtol(note.c_str(), nullptr, 10));
    return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM) ? pid : 0;
}

/// Calls until it gives true, for as long as somebody may take to look a store over. False: it never did.
template <typename Attempt>
bool try_for_a_while(Attempt attempt)
{
    constexpr std::chrono::seconds kWhile{5};
    constexpr std::chrono::milliseconds kPause{10};
    const auto end = std::chrono::steady_clock::now() + kWhile;
    while (!attempt()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

/// Differs after each start of the system. Empty when the system does not tell.
std::string boot_id()
{
    const FileDescriptor file{::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC)};
    const std::string line = file ? text_of_file(file.get()) : "";
    return line.substr(0, line.find('\n'));
}

std::string closed_note(std::uint64_t commit)
{
    return fmt::format("closed {}\n", commit);
}

bool replace_text(int fd, const std::string& text)
{
    return ::ftruncate(fd, 0) == 0 && ::pwrite(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

/// The folders that this process has open, each with the process that opened it: a forked child has none of its own.
struct OpenFolders {
    std::mutex mutex;
    std::map<std::pair<dev_t, ino_t>, pid_t> owners;
};

OpenFolders& open_folders()
{
    static auto& folders = *new OpenFolders; // stores may be closed while the process ends
    return folders;
}

} // namespace

Folder::OnceInProcess::OnceInProcess(const std::string& path, int folder_fd)
{
    struct stat status {};
    require(fstat(folder_fd, &status) == 0 ? 0 : errno, "open the folder", path);
    id_ = {status.st_dev, status.st_ino};
    OpenFolders& folders = open_folders();
    const std::lock_guard guard{folders.mutex};
    pid_t& owner = folders.owners[id_];
    if (owner == ::getpid()) {
        throw StoreError{Kind::in_use, fmt::format("{} is open in this process already: use that store", path)};
    }
    owner = ::getpid();
}

Folder::OnceInProcess::~OnceInProcess()
{
    OpenFolders& folders = open_folders();
    const std::lock_guard guard{folders.mutex};
    folders.owners.erase(id_);
}

Folder::Folder(std::string path, Access access, bool create)
    : path_{std::move(path)}, folder_fd_{open_folder(path_, create)}, once_{path_, folder_fd_.get()}
{
    share_or_take(access);
    read_note();
    if (access != Access::read) {
        // Looked at before the first file is made: a folder of something else stays as it is.
        require_store_or_nothing(create);
        become_writer();
    }
}

Folder::~Folder() = default;

void Folder::share_or_take(Access access) const
{
    const int kind = access == Access::replace ? LOCK_EX : LOCK_SH;
    if (::flock(folder_fd_.get(), kind | LOCK_NB) == 0) {
        return;
    }
    if (errno != EWOULDBLOCK) {
        fail(errno, "lock the folder", path_);
    }
    throw StoreError{Kind::in_use,
                     access == Access::replace
                         ? fmt::format("{} is in use: stop the agent, and what else reads the store, first", path_)
                         : fmt::format("{} is being compacted: try again in a moment", path_)};
}

void Folder::become_writer()
{
    const std::string name = file(kWriterFile);
    writer_fd_ = FileDescriptor{::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)};
    require(writer_fd_ ? 0 : errno, "open for writing", name);
    // Who only looks at the store is done soon; who writes is named at once.
    try_for_a_while([&] {
        is_writer_ = ::flock(writer_fd_.get(), LOCK_EX | LOCK_NB) == 0;
        require(is_writer_ || errno == EWOULDBLOCK ? 0 : errno, "lock", name);
        read_note();
        return is_writer_ || process_named_in(note_) > 0;
    });
    if (!is_writer_) {
        const pid_t other = process_named_in(note_);
        throw StoreError{Kind::in_use, fmt::format("{} is in use by {}: stop it first, or choose another folder", path_,
                                                   other > 0 ? fmt::format("process {}", other) : "another process")};
    }
}

void Folder::note_writing() const
{
    const std::string name = file(kWriterFile);
    const bool is_noted = replace_text(writer_fd_.get(), fmt::format("{}\n{}", ::getpid(), place()));
    require(is_noted ? 0 : errno, "write", name);
    require(::fsync(writer_fd_.get()) == 0 ? 0 : errno, "sync", name);
}

void Folder::read_note()
{
    const FileDescriptor file{::open(this->file(kWriterFile).c_str(), O_RDONLY | O_CLOEXEC)};
    note_ = file ? text_of_file(file.get()) : "";
}

/// What a note says of boot and mount.
std::string Folder::place() const
{
    struct statx status {};
    const bool has_mount = ::statx(folder_fd_.get(), "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == 0;
    return fmt::format("{}\n{}\n", boot_id(), has_mount ? status.stx_mnt_id : 0);
}

bool Folder::may_have_lost_power(std::uint64_t commit) const
{
    const bool is_from_here = !boot_id().empty() && note_.ends_with("\n" + place());
    return !is_from_here && note_ != closed_note(commit);
}

/// When the store has been looked over, the note is of this boot. The mount's id may be another one here than there.
void Folder::wait_for_writer()
{
    const std::string boot = boot_id();
    const bool is_ready = try_for_a_while([&] {
        read_note();
        return boot.empty() || note_.find("\n" + boot + "\n") != std::string::npos;
    });
    if (!is_ready) {
        throw StoreError{Kind::in_use, fmt::format("{} is being looked over: try again in a moment", path_)};
    }
}

void Folder::note_closed(std::uint64_t commit) const
{
    // Without the note, the next opening after a start of the system looks at all of the store: no harm.
    static_cast<void>(replace_text(writer_fd_.get(), closed_note(commit)));
}

bool Folder::has(const char* name) const
{
    struct stat ignored {};
    return ::fstatat(folder_fd_.get(), name, &ignored, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Folder::require_store_or_nothing(bool create) const
{
    if (has(kDataFile)) {
        return true;
    }
    for (const char* part : {kDataLockFile, kVolatileFile, kVolatileLockFile}) {
        if (has(part)) {
            throw StoreError{Kind::missing,
                             fmt::format("{} is missing beside {}: put it back, or restore the store from a dump (zpf "
                                         "store load) into an empty folder",
                                         file(kDataFile), part)};
        }
    }
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator{path_, error}) {
        const std::string name = entry.path().filename().string();
        // What is left when making a store was cut short, and what a fresh file system brings along.
        if (name != kWriterFile && name != kNewDataFile && name != "lost+found") {
            throw StoreError{
                Kind::missing,
                fmt::format("{} holds something else ({}): a store wants a folder of its own", path_, name)};
        }
    }
    require(error.value(), "list the folder", path_);
    if (!create) {
        throw StoreError{Kind::missing, fmt::format("there is no store in {}: check the path", path_)};
    }
    return false;
}

bool Folder::keep_writers_out()
{
    const std::string name = file(kWriterFile);
    writer_fd_ = FileDescriptor{::open(name.c_str(), O_RDONLY | O_CLOEXEC)};
    if (!writer_fd_ && errno == ENOENT) {
        return true; // nobody has ever written here, as with a copy of a store
    }
    require(writer_fd_ ? 0 : errno, "open", name);
    if (::flock(writer_fd_.get(), LOCK_SH | LOCK_NB) == 0) {
        return true;
    }
    require(errno == EWOULDBLOCK ? 0 : errno, "lock", name);
    return false;
}

void Folder::give_to_owner() const noexcept
{
    struct stat folder {};
    if (::geteuid() != 0 || ::fstat(folder_fd_.get(), &folder) != 0 || folder.st_uid == 0) {
        return;
    }
    for (const char* name : {kDataFile, kDataLockFile, kVolatileFile, kVolatileLockFile, kWriterFile}) {
        // Some may not be there; one that cannot be given away is named when its user opens the store.
        static_cast<void>(::fchownat(folder_fd_.get(), name, folder.st_uid, folder.st_gid, AT_SYMLINK_NOFOLLOW) == 0);
    }
}

void Folder::sync() const
{
    require(::fsync(folder_fd_.get()) == 0 ? 0 : errno, "sync the folder", path_);
}

} // namespace kelda::detail

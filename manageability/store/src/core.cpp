// SPDX-License-Identifier: Apache-2.0
//
// Opening a store, commits of the durable branch and what becomes of them when the disk fails, and the pool of read
// transactions.
#include "core.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "failure.hpp"
#include "format.hpp"
#include "pages.hpp"
#include "torn_commit.hpp"

namespace kelda::detail {

Core::Core(const std::string& folder, const Options& options)
    : options_{options},
      folder_{folder, options.read_only ? Access::read : Access::write, options.create && !options.read_only}
{
    if (!folder_.require_store_or_nothing(options_.create && !options_.read_only)) {
        make_data_file();
        is_created_ = true;
    }
    open_durable();
    open_volatile();
    folder_.give_to_owner();
}

/// Under another name until it is whole and on disk: who is killed meanwhile leaves a store or nothing.
void Core::make_data_file() const
{
    const std::string fresh = folder_.file(kNewDataFile);
    ::unlink(fresh.c_str());
    {
        const Environment made{fresh, Environment::Use::make, MDB_NOLOCK, options_.map_bytes};
        TxnPtr txn = made.begin(0);
        made.set_digest(txn.get(), Digest{});
        require(mdb_txn_commit(txn.release()), "make", fresh);
        require(mdb_env_sync(made.raw(), 1), "write", fresh);
    }
    const std::string file = folder_.file(kDataFile);
    require(::rename(fresh.c_str(), file.c_str()) == 0 ? 0 : errno, "make", file);
    folder_.sync();
}

/// Before the database maps it. What a power cut may have torn is looked at whole, and mended by who may write.
void Core::look_over(const std::string& file)
{
    const auto may_be_torn = [&] { return folder_.may_have_lost_power(DataFile{file}.header().commit); };
    if (!options_.read_only) {
        if (may_be_torn()) {
            undone_ = undo_torn_commit(file);
        } else {
            require_sound_file(file, PagesToLookAt::first);
        }
    } else if (folder_.keep_writers_out()) {
        may_be_torn() ? require_no_torn_commit(file)
                      : static_cast<void>(require_sound_file(file, PagesToLookAt::first));
        folder_.let_writers_in();
    } else {
        is_beside_writer_ = true;
        folder_.wait_for_writer();
        require_sound_file(file, PagesToLookAt::header); // pages change; its writer has looked at them
    }
}

/// In the durable branch, commits wait for the disk here and not in the database, which would wait twice: once for what
/// was changed, and again for the header that makes it valid. One wait for both is enough, since an opening can tell
/// whether all of it has arrived.
void Core::open_durable()
{
    const std::string file = folder_.file(kDataFile);
    look_over(file);
    using Use = Environment::Use;
    if (options_.read_only) {
        durable_.emplace(file, Use::read, 0U, 0);
    } else {
        ::unlink(folder_.file(kNewDataFile).c_str()); // left by who was killed while compacting
        durable_.emplace(file, Use::write, options_.sync == Sync::relaxed ? MDB_NOMETASYNC : MDB_NOSYNC,
                         options_.map_bytes);
        durable_->digest(durable_->begin(MDB_RDONLY).get());
        // The last commit of a process that was killed may not be on disk yet, and each must be before the next begins.
        require(mdb_env_sync(durable_->raw(), 1), "sync", file);
        folder_.note_writing();
    }
    int dead_readers = 0; // of processes that were killed; they would keep space from being used again
    mdb_reader_check(durable_->raw(), &dead_readers);
}

/// What a writer has left behind when it ended, however it did; a power cut may have left anything.
bool Core::is_readable_volatile(const std::string& file)
{
    try {
        require_sound_file(file, PagesToLookAt::all, Commit::last, false);
        return true;
    } catch (const StoreError& error) {
        if (error.kind() == StoreError::Kind::damaged) {
            return false;
        }
        throw;
    }
}

/// A writer begins with an empty branch. Never synced, what a power cut has left of it need not be readable at all.
void Core::open_volatile()
{
    const std::string file = folder_.file(kVolatileFile);
    if (!options_.read_only) {
        ::unlink(file.c_str());
        ::unlink(folder_.file(kVolatileLockFile).c_str());
        volatile_.emplace(file, Environment::Use::make, MDB_NOSYNC, options_.map_bytes);
    } else if (folder_.has(kVolatileFile) && (is_beside_writer_ || is_readable_volatile(file))) {
        volatile_.emplace(file, Environment::Use::read, 0U, 0);
    }
}

Core::~Core()
{
    if (options_.read_only || is_disk_behind_ || !durable_) {
        return;
    }
    if (options_.sync == Sync::relaxed && mdb_env_sync(durable_->raw(), 1) != 0) {
        return; // the last commits may be lost with the power, as ever in this mode
    }
    try {
        folder_.note_closed(durable_->last_commit());
    } catch (const std::exception&) { // without it, an opening looks at more than it would have to
    }
}

/// After the disk has failed, the next commit has to wait until the one that failed is taken back, also on disk, and
/// until nobody reads it any longer: its pages are written over.
TxnPtr Core::begin_durable_changes()
{
    if (is_disk_behind_) {
        const std::string& path = durable_->path();
        if (!is_taken_back_) {
            take_back(failed_commit_);
        }
        if (has_stale_slots() || is_read_elsewhere(failed_commit_)) {
            throw StoreError{StoreError::Kind::io,
                             fmt::format("{} takes no changes until all have ended who began to read before the disk "
                                         "failed to keep one: try again",
                                         path)};
        }
        const int code = fault("sync");
        require(code != 0 ? code : mdb_env_sync(durable_->raw(), 1), "force what is stored to", path);
        is_disk_behind_ = false;
    }
    return durable_->begin(0);
}

/// The first commit after an opening, or after one that failed, waits for its pages before its header is written. It
/// may have the number of one that was begun before and got no header: pages of that one, on disk already, would make a
/// header that arrives without its own pages look whole.
int Core::commit_durable(TxnPtr txn)
{
    const std::uint64_t commit = mdb_txn_id(txn.get());
    const bool is_full = options_.sync == Sync::full;
    const bool was_first = std::exchange(is_first_commit_, true); // again, unless all goes well
    const bool is_ordered = is_full && was_first;
    if (const int code = is_ordered ? fault("sync") : 0; code != 0) {
        return code;
    }
    if (is_ordered) {
        mdb_env_set_flags(durable_->raw(), MDB_NOSYNC, 0);
    }
    const int code = mdb_txn_commit(txn.release());
    if (is_ordered) {
        mdb_env_set_flags(durable_->raw(), MDB_NOSYNC, 1);
    }
    if (code != 0) {
        return code;
    }
    const bool has_changed = durable_->last_commit() == commit;
    if (has_changed) {
        durable_->lengthen();
    }
    if (has_changed && is_full && !is_ordered) {
        make_safe(commit);
    }
    is_first_commit_ = was_first && !has_changed;
    return 0;
}

void Core::make_safe(std::uint64_t commit)
{
    const std::string& path = durable_->path();
    int code = fault("sync");
    code = code != 0 ? code : mdb_env_sync(durable_->raw(), 1);
    if (code == 0) {
        return;
    }
    is_disk_behind_ = true;
    is_taken_back_ = false;
    failed_commit_ = commit;
    try {
        take_back(commit);
    } catch (const StoreError& error) {
        throw StoreError{
            StoreError::Kind::io,
            fmt::format("cannot force a change to {}: {}; nor can it be taken back yet, so that it is still "
                        "read: {}",
                        path, mdb_strerror(code), error.what())};
    }
    fail(code, "force a change to", path);
}

/// Who begins to read meanwhile may get half of one header and half of the other, so take_slot() looks at the epoch.
void Core::take_back(std::uint64_t commit)
{
    int fd = -1;
    MDB_stat pages;
    mdb_env_get_fd(durable_->raw(), &fd);
    mdb_env_stat(durable_->raw(), &pages);
    const std::lock_guard guard{slots_mutex_};
    ++epoch_;
    stale_slots_ = slots_ - idle_slots_.size();
    try {
        take_back_commit(fd, pages.ms_psize, commit, durable_->path());
    } catch (const StoreError&) {
        ++epoch_;
        throw;
    }
    ++epoch_;
    is_taken_back_ = true;
}

/// Whether another process reads a commit.
bool Core::is_read_elsewhere(std::uint64_t commit) const
{
    struct Search {
        std::string commit;
        bool is_found;
    };
    Search search{fmt::format(" {}\n", commit), false};
    const auto look = [](const char* line, void* context) { // number of process, thread, number of commit
        Search& found = *static_cast<Search*>(context);
        const bool is_other = std::strtol(line, nullptr, 10) != ::getpid();
        found.is_found = found.is_found || (is_other && std::string_view{line}.ends_with(found.commit));
        return 0;
    };
    int dead_readers = 0;
    mdb_reader_check(durable_->raw(), &dead_readers);
    mdb_reader_list(durable_->raw(), look, &search);
    return search.is_found;
}

bool Core::has_stale_slots()
{
    const std::lock_guard guard{slots_mutex_};
    return stale_slots_ > 0;
}

std::uint64_t Core::generation(std::uint64_t commit, std::uint64_t epoch)
{
    constexpr int kBitsForCommits = 48;
    return commit + (epoch << kBitsForCommits);
}

int Core::fault(const char* operation) const
{
    return options_.faults != nullptr && options_.faults->before ? options_.faults->before(operation) : 0;
}

std::unique_ptr<ReadSlot> Core::take_slot()
{
    for (;;) {
        std::unique_ptr<ReadSlot> slot = idle_or_new_slot();
        begin_to_read(slot);
        if (slot->epoch == epoch_) {
            return slot;
        }
        give_back(std::move(slot)); // what it has begun to read is being taken back
    }
}

void Core::begin_to_read(std::unique_ptr<ReadSlot>& slot)
{
    const auto read = [](TxnPtr& txn, const Environment& branch) {
        if (txn == nullptr) {
            txn = branch.begin(MDB_RDONLY);
        } else {
            require(mdb_txn_renew(txn.get()), "read", branch.path());
        }
    };
    try {
        read(slot->durable, *durable_);
        if (volatile_) {
            read(slot->of_volatile, *volatile_);
        }
    } catch (const StoreError&) {
        give_back(std::move(slot)); // not lost to later readers
        throw;
    }
    slot->generation = generation(mdb_txn_id(slot->durable.get()), slot->epoch);
}

/// Counted as in use from now on: what a commit that is being taken back shows to others, it may show to this one.
std::unique_ptr<ReadSlot> Core::idle_or_new_slot()
{
    const std::lock_guard guard{slots_mutex_};
    std::unique_ptr<ReadSlot> slot;
    if (idle_slots_.empty()) {
        idle_slots_.reserve(slots_ + 1); // so that giving back never needs memory
        slot = std::make_unique<ReadSlot>();
        ++slots_;
    } else {
        slot = std::move(idle_slots_.back());
        idle_slots_.pop_back();
    }
    slot->epoch = epoch_;
    return slot;
}

void Core::give_back(std::unique_ptr<ReadSlot> slot) noexcept
{
    for (MDB_txn* const txn : {slot->durable.get(), slot->of_volatile.get()}) {
        if (txn != nullptr) {
            mdb_txn_reset(txn);
        }
    }
    const std::lock_guard guard{slots_mutex_};
    if (slot->epoch != epoch_) {
        --stale_slots_;
    }
    idle_slots_.push_back(std::move(slot));
}

} // namespace kelda::detail

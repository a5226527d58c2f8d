// SPDX-License-Identifier: Apache-2.0
//
// Opening a store, and the pool of read transactions.
#include "core.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "failure.hpp"
#include "format.hpp"
#include "pages.hpp"

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
        require(mdb_env_sync(made.raw(), 1), "write", fresh);
    }
    const std::string file = folder_.file(kDataFile);
    require(::rename(fresh.c_str(), file.c_str()) == 0 ? 0 : errno, "make", file);
    folder_.sync();
}

void Core::open_durable()
{
    const std::string file = folder_.file(kDataFile);
    require_sound_file(file, options_.read_only ? PagesToLookAt::header : PagesToLookAt::first);
    using Use = Environment::Use;
    if (!options_.read_only) {
        ::unlink(folder_.file(kNewDataFile).c_str()); // left by who was killed while compacting
    }
    durable_.emplace(file, options_.read_only ? Use::read : Use::write,
                     options_.sync == Sync::relaxed ? MDB_NOMETASYNC : 0U, options_.read_only ? 0 : options_.map_bytes);
    int dead_readers = 0; // of processes that were killed; they would keep space from being used again
    mdb_reader_check(durable_->raw(), &dead_readers);
}

/// A writer begins with an empty branch. Never synced, what a power cut has left of it need not be readable at all.
void Core::open_volatile()
{
    const std::string file = folder_.file(kVolatileFile);
    if (!options_.read_only) {
        ::unlink(file.c_str());
        ::unlink(folder_.file(kVolatileLockFile).c_str());
        volatile_.emplace(file, Environment::Use::make, MDB_NOSYNC, options_.map_bytes);
    } else if (folder_.has(kVolatileFile)) {
        require_sound_file(file, PagesToLookAt::header);
        volatile_.emplace(file, Environment::Use::read, 0U, 0);
    }
}

int Core::fault(const char* operation) const
{
    return options_.faults != nullptr && options_.faults->before ? options_.faults->before(operation) : 0;
}

std::unique_ptr<ReadSlot> Core::take_slot()
{
    std::unique_ptr<ReadSlot> slot;
    {
        const std::lock_guard guard{slots_mutex_};
        if (!idle_slots_.empty()) {
            slot = std::move(idle_slots_.back());
            idle_slots_.pop_back();
        }
    }
    if (slot == nullptr) {
        slot = std::make_unique<ReadSlot>();
        make_room_for_one_more();
        slot->durable = durable_->begin(MDB_RDONLY);
        if (volatile_) {
            slot->of_volatile = volatile_->begin(MDB_RDONLY);
        }
        return slot;
    }
    require(mdb_txn_renew(slot->durable.get()), "read", durable_->path());
    if (slot->of_volatile != nullptr) {
        require(mdb_txn_renew(slot->of_volatile.get()), "read", volatile_->path());
    }
    return slot;
}

/// So that giving back never needs memory.
void Core::make_room_for_one_more()
{
    const std::lock_guard guard{slots_mutex_};
    idle_slots_.reserve(++slots_);
}

void Core::give_back(std::unique_ptr<ReadSlot> slot) noexcept
{
    mdb_txn_reset(slot->durable.get());
    if (slot->of_volatile != nullptr) {
        mdb_txn_reset(slot->of_volatile.get());
    }
    const std::lock_guard guard{slots_mutex_};
    idle_slots_.push_back(std::move(slot));
}

} // namespace kelda::detail

// SPDX-License-Identifier: Apache-2.0
//
// The store, its transactions and subscriptions, as hosts see them.
#include "kelda/store.hpp"

#include <sys/stat.h>

#include <mutex>
#include <stdexcept>

#include "core.hpp"
#include "failure.hpp"

namespace kelda {

using detail::Core;

Reader::~Reader() = default;

Store Store::open(const std::string& folder, const Options& options)
{
    return Store{std::make_shared<Core>(folder, options)};
}

Store::Store(std::shared_ptr<Core> core) : core_{std::move(core)} {}
Store::Store(Store&&) noexcept = default;
Store& Store::operator=(Store&&) noexcept = default;
Store::~Store() = default;

const std::string& Store::folder() const
{
    return core_->folder().path();
}

bool Store::created() const
{
    return core_->created();
}

const std::string& Store::undone() const
{
    return core_->undone();
}

Snapshot Store::snapshot() const
{
    return Snapshot{core_, core_->take_slot()};
}

Transaction Store::write()
{
    return Transaction{std::make_unique<detail::Write>(core_, false)};
}

Transaction Store::write_volatile()
{
    return Transaction{std::make_unique<detail::Write>(core_, true)};
}

std::uint64_t Store::generation() const
{
    return Core::generation(core_->durable().last_commit(), core_->epoch());
}

Subscription Store::subscribe(std::string prefix, Subscribed subscriber)
{
    auto entry = std::make_shared<detail::Subscriber>(std::move(prefix), std::move(subscriber));
    core_->subscribers().add(entry);
    return Subscription{core_, std::move(entry)};
}

void Store::sync()
{
    const std::string& path = core_->durable().path();
    const std::lock_guard turn{core_->durable_writer()}; // a failure is told once, and a commit must not miss its own
    detail::require(core_->fault("sync"), "sync", path);
    detail::require(mdb_env_sync(core_->durable().raw(), 1), "sync", path);
}

Stat Store::stat() const
{
    const auto count = [](MDB_txn* txn, const detail::Environment& env) {
        MDB_stat records;
        detail::require(mdb_stat(txn, env.records(), &records), "read", env.path());
        return records;
    };
    const detail::Environment& durable = core_->durable();
    const Snapshot snapshot = this->snapshot();
    const detail::ReadSlot& slot = *snapshot.slot_;
    Stat stat;
    const MDB_stat records = count(slot.durable.get(), durable);
    stat.records = records.ms_entries;
    const std::uint64_t pages = records.ms_branch_pages + records.ms_leaf_pages + records.ms_overflow_pages;
    stat.bytes_used = pages * records.ms_psize;
    if (slot.of_volatile != nullptr) {
        stat.volatile_records = count(slot.of_volatile.get(), *core_->of_volatile()).ms_entries;
    }
    MDB_envinfo info;
    mdb_env_info(durable.raw(), &info);
    stat.map_bytes = info.me_mapsize;
    struct stat file {};
    int fd = -1;
    mdb_env_get_fd(durable.raw(), &fd);
    if (fstat(fd, &file) == 0) {
        stat.bytes_of_file = static_cast<std::uint64_t>(file.st_size);
    }
    return stat;
}

Transaction::Transaction(std::unique_ptr<detail::Write> write) : write_{std::move(write)} {}
Transaction::Transaction(Transaction&&) noexcept = default;
Transaction& Transaction::operator=(Transaction&&) noexcept = default;
Transaction::~Transaction() = default;

detail::Write& Transaction::open_write() const
{
    if (write_ == nullptr) {
        throw std::logic_error{"the transaction is over"};
    }
    return *write_;
}

std::optional<std::string_view> Transaction::get(std::string_view key) const
{
    const detail::Write& write = open_write();
    return detail::get_record(write.txn(), write.environment(), key);
}

void Transaction::scan_from(std::string_view prefix, std::string_view first_key, Visitor visit) const
{
    const detail::Write& write = open_write();
    detail::walk_records(write.txn(), write.environment(), {.prefix = prefix, .first = first_key}, visit);
}

void Transaction::put(std::string_view key, std::string_view value)
{
    open_write().put(key, value);
}

bool Transaction::erase(std::string_view key)
{
    return open_write().erase(key);
}

std::size_t Transaction::erase_all(std::string_view prefix)
{
    return open_write().erase_all(prefix);
}

void Transaction::commit()
{
    open_write();
    const auto write = std::move(write_);
    write->commit();
}

Subscription::Subscription(std::shared_ptr<Core> core, std::shared_ptr<detail::Subscriber> subscriber)
    : core_{std::move(core)}, subscriber_{std::move(subscriber)}
{}
Subscription::Subscription(Subscription&&) noexcept = default;

Subscription& Subscription::operator=(Subscription&& other) noexcept
{
    if (this != &other) {
        end();
        core_ = std::move(other.core_);
        subscriber_ = std::move(other.subscriber_);
    }
    return *this;
}

Subscription::~Subscription()
{
    end();
}

void Subscription::end() noexcept
{
    if (subscriber_ != nullptr) {
        core_->subscribers().remove(subscriber_);
        subscriber_->end();
    }
    subscriber_.reset();
    core_.reset();
}

} // namespace kelda

// SPDX-License-Identifier: Apache-2.0
//
// Changes under way: checks, recording for subscribers, commit.
#include <fmt/format.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <stdexcept>

#include "core.hpp"
#include "failure.hpp"

namespace kelda::detail {

namespace {

/// The branch's environment, or a StoreError for a store that is open for reading only.
const Environment& environment_for(const Core& core, bool is_volatile)
{
    if (core.options().read_only) {
        fail(EROFS, "write a store that was opened read only in", core.folder().path());
    }
    return is_volatile ? *core.of_volatile() : core.durable();
}

/// The database takes a write that was cut short, as the last one is that a full disk takes, for a failure of the disk.
bool is_disk_full(const std::string& path)
{
    constexpr std::uint64_t kNextToNothing = 65536;
    struct statvfs disk {};
    return ::statvfs(path.c_str(), &disk) == 0 && disk.f_bavail * disk.f_frsize < kNextToNothing;
}

} // namespace

Write::Write(std::shared_ptr<Core> core, bool is_volatile)
    : core_{std::move(core)},
      environment_{&environment_for(*core_, is_volatile)},
      is_volatile_{is_volatile},
      turn_{is_volatile ? core_->volatile_writer() : core_->durable_writer()},
      txn_{is_volatile_ ? environment_->begin(0) : core_->begin_durable_changes()},
      is_watched_{core_->subscribers().any()}
{
    if (!is_volatile_) {
        digest_ = environment_->digest(txn_.get());
    }
}

void Write::require_own(std::string_view key) const
{
    if (key.empty()) {
        throw std::invalid_argument{"a key of the store cannot be empty"};
    }
    if (key.starts_with(kVolatilePrefix) != is_volatile_) {
        throw std::invalid_argument{
            fmt::format("key \"{}\" is not of the {} branch", key, is_volatile_ ? "volatile" : "durable")};
    }
    if (key.size() > kMaxKeyBytes) {
        throw StoreError{StoreError::Kind::too_long,
                         fmt::format("key \"{}\" has {} bytes, the store takes {} at most: shorten names or list keys",
                                     key, key.size(), kMaxKeyBytes)};
    }
}

void Write::require_no_fault(const char* operation)
{
    if (const int code = core_->fault(operation); code != 0) {
        is_failed_ = true;
        fail(code, operation, environment_->path());
    }
}

void Write::remember(std::string_view key, std::optional<std::string_view> before)
{
    if (is_watched_ && !before_.contains(key)) {
        before_.emplace(key, before ? std::optional<std::string>{*before} : std::nullopt);
    }
}

/// Keeps the digest up with a change. To be called before the database changes the page that the old value stands on.
void Write::count(std::string_view key, std::optional<std::string_view> before, std::optional<std::string_view> after)
{
    is_changed_ = true;
    if (is_volatile_) {
        return;
    }
    if (before) {
        digest_.remove(key, *before);
    }
    if (after) {
        digest_.add(key, *after);
    }
}

void Write::put(std::string_view key, std::string_view value)
{
    require_own(key);
    require_no_fault("put");
    const auto before = get_record(txn_.get(), *environment_, key);
    remember(key, before);
    if (before == value) {
        return;
    }
    count(key, before, value);
    MDB_val key_value = to_val(key);
    MDB_val new_value = to_val(value);
    const int code = mdb_put(txn_.get(), environment_->records(), &key_value, &new_value, 0);
    is_failed_ = is_failed_ || code != 0;
    require(code, "write", environment_->path());
}

bool Write::erase(std::string_view key)
{
    require_own(key);
    require_no_fault("erase");
    const auto before = get_record(txn_.get(), *environment_, key);
    remember(key, before);
    if (!before) {
        return false;
    }
    count(key, before, std::nullopt);
    MDB_val key_value = to_val(key);
    const int code = mdb_del(txn_.get(), environment_->records(), &key_value, nullptr);
    is_failed_ = is_failed_ || code != 0;
    require(code, "write", environment_->path());
    return true;
}

std::size_t Write::erase_all(std::string_view prefix)
{
    std::size_t count = 0;
    std::string key{prefix};
    const auto take_next = [&](std::string_view name, std::string_view) {
        key = name;
        return false;
    };
    // One at a time: the view of a key is gone with the removal of its record.
    while (!walk_records(txn_.get(), *environment_, {.prefix = prefix, .first = key}, take_next)) {
        erase(key);
        ++count;
    }
    return count;
}

/// What will have changed, read while the transaction can still be read.
Changes Write::changes() const
{
    Changes changes;
    for (const auto& [key, before] : before_) {
        const auto after = get_record(txn_.get(), *environment_, key);
        if (before != after) {
            changes.push_back({key, before, after ? std::optional<std::string>{*after} : std::nullopt});
        }
    }
    return changes;
}

void Write::commit()
{
    if (is_failed_) {
        txn_.reset();
        throw StoreError{StoreError::Kind::io,
                         fmt::format("nothing was committed to {}: a change before had failed", environment_->path())};
    }
    require_no_fault("commit");
    const Changes changed = changes();
    if (is_changed_ && !is_volatile_) {
        environment_->set_digest(txn_.get(), digest_);
    }
    const int code = is_volatile_ ? mdb_txn_commit(txn_.release()) : core_->commit_durable(std::move(txn_));
    require(code == EIO && is_disk_full(environment_->path()) ? ENOSPC : code, "commit to", environment_->path());
    if (!changed.empty()) {
        core_->subscribers().tell(changed);
    }
}

} // namespace kelda::detail

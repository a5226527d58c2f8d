// SPDX-License-Identifier: Apache-2.0
//
// Reading both branches as one. Keys of the volatile branch stand together, so the whole is at most three walks.
#include <algorithm>

#include "core.hpp"
#include "kelda/store.hpp"

namespace kelda {

namespace {

/// The first text that is after every key of the volatile branch: '0' follows '/'.
constexpr std::string_view kAfterVolatile = "/oper0";

std::uint64_t commit_seen_by(MDB_txn* txn)
{
    return txn == nullptr ? 0 : mdb_txn_id(txn);
}

} // namespace

Snapshot::Snapshot(std::shared_ptr<detail::Core> core, std::unique_ptr<detail::ReadSlot> slot)
    : core_{std::move(core)}, slot_{std::move(slot)}
{}
Snapshot::Snapshot(Snapshot&&) noexcept = default;

Snapshot& Snapshot::operator=(Snapshot&& other) noexcept
{
    if (this != &other) {
        give_back();
        core_ = std::move(other.core_);
        slot_ = std::move(other.slot_);
    }
    return *this;
}

Snapshot::~Snapshot()
{
    give_back();
}

void Snapshot::give_back() noexcept
{
    if (slot_ != nullptr) {
        core_->give_back(std::move(slot_));
    }
}

std::optional<std::string_view> Snapshot::get(std::string_view key) const
{
    if (!key.starts_with(kVolatilePrefix)) {
        return detail::get_record(slot_->durable.get(), core_->durable(), key);
    }
    if (slot_->of_volatile == nullptr) {
        return std::nullopt;
    }
    return detail::get_record(slot_->of_volatile.get(), *core_->of_volatile(), key);
}

void Snapshot::scan_from(std::string_view prefix, std::string_view first_key, Visitor visit) const
{
    const auto walk_durable = [&](std::string_view first, std::string_view end) {
        return detail::walk_records(slot_->durable.get(), core_->durable(),
                                    {.prefix = prefix, .first = first, .end = end}, visit);
    };
    const auto walk_volatile = [&] {
        return slot_->of_volatile == nullptr || detail::walk_records(slot_->of_volatile.get(), *core_->of_volatile(),
                                                                     {.prefix = prefix, .first = first_key}, visit);
    };
    if (prefix.starts_with(kVolatilePrefix)) {
        walk_volatile();
    } else if (!kVolatilePrefix.starts_with(prefix)) {
        walk_durable(first_key, {});
    } else if (walk_durable(first_key, kVolatilePrefix) && walk_volatile()) {
        walk_durable(std::max(first_key, kAfterVolatile), {});
    }
}

std::uint64_t Snapshot::generation() const
{
    return slot_->generation;
}

std::uint64_t Snapshot::volatile_generation() const
{
    return commit_seen_by(slot_->of_volatile.get());
}

} // namespace kelda

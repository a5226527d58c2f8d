// SPDX-License-Identifier: Apache-2.0
//
// Readings into the store, again if need be.
#include "readings_keeper.hpp"

#include <utility>

#include "readings.hpp"

namespace zpf::agent {

ReadingsKeeper::ReadingsKeeper(kelda::Store& store, Counters& counters, Log log, std::chrono::milliseconds pause)
    : store_(store), counters_(counters), log_(std::move(log)), pause_(pause), thread_([this] { try_again(); })
{}

ReadingsKeeper::~ReadingsKeeper()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void ReadingsKeeper::keep(std::span<const device::Reading> readings)
{
    const std::lock_guard lock(mutex_);
    for (const device::Reading& reading : readings) {
        Leaves& leaves = waiting_[reading.port];
        for (const auto& [leaf, value] : reading.leaves) {
            leaves[leaf] = value;
            if (!value) {
                ++counters_.readings_missing;
                log_(2, "the device does not read " + leaf + " of " + reading.port);
            }
        }
    }
    if (!write()) {
        wake_.notify_all();
    }
}

/// Writes what waits; false when the store does not take it.
bool ReadingsKeeper::write()
{
    try {
        kelda::Transaction transaction = store_.write_volatile();
        for (const auto& [port, leaves] : waiting_) {
            const std::string branch = reading_branch(port);
            transaction.put(branch + "name", port);
            for (const auto& [leaf, value] : leaves) {
                value ? transaction.put(branch + leaf, *value) : static_cast<void>(transaction.erase(branch + leaf));
            }
        }
        transaction.commit();
    } catch (const kelda::StoreError& error) {
        if (!std::exchange(is_failing_, true)) {
            log_(1, std::string{"readings are not kept, until they can be: "} + error.what());
        }
        return false;
    }
    waiting_.clear();
    if (std::exchange(is_failing_, false)) {
        log_(2, "readings are kept again");
    }
    return true;
}

void ReadingsKeeper::try_again()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        wake_.wait_for(lock, pause_, [this] { return stopping_; });
        if (stopping_) {
            return;
        }
        if (!waiting_.empty()) {
            write();
        }
    }
}

} // namespace zpf::agent

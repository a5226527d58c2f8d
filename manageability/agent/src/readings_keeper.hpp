// SPDX-License-Identifier: Apache-2.0
//
// What the device reports on its way into the store.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>

#include "counters.hpp"
#include "kelda/store.hpp"
#include "zpf_device/driver.hpp"

namespace zpf::agent {

/// Writes readings to the store's volatile branch. A device reports changes only, so what the disk has no room for is
/// kept, latest values of each, and tried again until it is written.
class ReadingsKeeper {
public:
    using Log = std::function<void(int level, const std::string&)>;

    ReadingsKeeper(kelda::Store& store, Counters& counters, Log log, std::chrono::milliseconds pause = kPause);
    ReadingsKeeper(const ReadingsKeeper&) = delete;
    ReadingsKeeper& operator=(const ReadingsKeeper&) = delete;
    ~ReadingsKeeper();

    /// From any thread, in the order of the reports.
    void keep(std::span<const device::Reading> readings);

private:
    static constexpr std::chrono::milliseconds kPause{1000};
    using Leaves = std::map<std::string, std::optional<std::string>>;

    bool write();
    void try_again();

    kelda::Store& store_;
    Counters& counters_;
    Log log_;
    std::chrono::milliseconds pause_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::map<std::string, Leaves> waiting_; ///< by port
    bool is_failing_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace zpf::agent

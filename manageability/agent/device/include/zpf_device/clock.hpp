// SPDX-License-Identifier: Apache-2.0
//
// Time, so that tests can make it pass.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zpf::device {

class Clock {
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;

    virtual Time now() const = 0;

    /// Waits until notified or until the time has come; may return early. The lock is held before and after.
    virtual void wait_until(std::condition_variable& notified, std::unique_lock<std::mutex>& lock, Time until) = 0;
};

/// The time of the machine; lives as long as the program.
Clock& steady_clock();

} // namespace zpf::device

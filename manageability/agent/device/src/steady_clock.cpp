// SPDX-License-Identifier: Apache-2.0
//
// The time of the machine.
#include "zpf_device/clock.hpp"

namespace zpf::device {

namespace {

class SteadyClock final : public Clock {
public:
    Time now() const override { return std::chrono::steady_clock::now(); }

    void wait_until(std::condition_variable& notified, std::unique_lock<std::mutex>& lock, Time until) override
    {
        notified.wait_until(lock, until);
    }
};

} // namespace

Clock& steady_clock()
{
    static SteadyClock clock;
    return clock;
}

} // namespace zpf::device

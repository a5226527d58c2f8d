// SPDX-License-Identifier: Apache-2.0
//
// A device without hardware: ports whose attenuators follow their configuration, and faults on request.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "zpf_device/clock.hpp"
#include "zpf_device/driver.hpp"
#include "zpf_device/fault.hpp"

namespace zpf::device {

class Plant;

/**
 * The simulated device. All functions may be called by any thread, except that start(), stop() and the end of the
 * object are the owner's.
 *
 * Ports: Ots0/0/0/0 and Ots0/0/0/2 have an attenuator and always exist. Other OTS ports exist from the moment that they
 * are configured or mentioned in the first readings; such a port gets an attenuator with its first attenuation setting.
 * Only configuration in force counts (list entries with `act`). Ports do not go away.
 *
 * Readings ("tx-voa-attenuation", whole tenths of a dB):
 *  - What apply() takes before start() is what the device comes up with: nothing moves because of it.
 *  - At start() a port reads what `first` says. Without that, an attenuator reads its configured value, or 0.
 *  - A new setting is approached at the slew rate from where the attenuator is, reported every kStep while it moves. A
 *    port without a reading has it at once. When the setting is deleted the attenuator stays where it is, in motion or
 * not.
 *  - Other leaves of `first` are reported as they are.
 *
 * Nothing is polled: while nothing moves and no report is due, the reporting thread sleeps without a time limit.
 */
class Simulation final : public Driver {
public:
    static constexpr std::chrono::milliseconds kStep{100};

    /// @param slew_tenths_per_s how fast attenuators move; 0: at once
    /// @param clock             outlives the object
    /// @param report_gap        least time between two reports; what changes in between is reported together
    explicit Simulation(double slew_tenths_per_s = 0, Clock& clock = steady_clock(),
                        std::chrono::milliseconds report_gap = {});
    ~Simulation() override; ///< stops

    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    /// Refuses attenuations outside of 0 to 200 tenths, besides what faults refuse. Changes of anything but
    /// attenuations are taken without effect. A port that does not answer holds up only changes of its own
    /// configuration; cleared within the limit, it answers.
    std::optional<Refusal> apply(std::span<const Change> changes, std::chrono::milliseconds limit) override;

    void start(std::span<const Reading> first, Report report) override;
    void stop() override;

    /// Attenuators in motion go on at the new rate.
    void set_slew(double tenths_per_s);

    /// Adds a fault. Several can be on one port, and ports need not exist yet.
    void inject(const Fault& fault);

    /// Takes all faults off a port.
    void clear(std::string_view port);

    std::vector<Fault> faults() const;

private:
    std::optional<Refusal> wait_for_answer(std::span<const Change> changes, std::chrono::milliseconds limit,
                                           std::unique_lock<std::mutex>& lock);
    void report_changes();
    void rest(std::unique_lock<std::mutex>& lock);
    void spread_faults();
    bool answers(const std::string& port) const;

    Clock& clock_;
    const std::chrono::milliseconds report_gap_;
    mutable std::mutex mutex_; ///< guards all below, except that thread_ and report_ are the owner's
    std::condition_variable changed_;
    std::unique_ptr<Plant> plant_;
    std::vector<Fault> faults_;
    bool running_ = false;
    bool resting_ = false; ///< the reporting thread has reported a moment ago: changes need not wake it
    Report report_;
    std::thread thread_;
};

} // namespace zpf::device

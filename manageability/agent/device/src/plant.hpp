// SPDX-License-Identifier: Apache-2.0
//
// The ports of the simulated device as a state machine over time: no thread, no clock, no waiting.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_device/clock.hpp"
#include "zpf_device/driver.hpp"

namespace zpf::device {

/// Callers hand in the time, which never goes back.
/// How a port is read when something is wrong with it.
struct ReadingFault {
    bool unreadable = false;
    std::chrono::milliseconds delay{0}; ///< from a change to its report
};

class Plant {
public:
    using Time = Clock::Time;

    explicit Plant(double slew_tenths_per_s);

    /// Takes the first readings; everything is due for a report afterwards. See Simulation for what ports read.
    void power_up(std::span<const Reading> first, Time now);

    /// The port is configured in some way, so it exists.
    void add_port(const std::string& port, Time now);

    /// Sets or deletes (nothing) the configured attenuation.
    void configure(const std::string& port, std::optional<int> tenths, Time now);

    void set_slew(double tenths_per_s, Time now);

    /// Replaces all faults, by port. Ports need not exist yet.
    void set_reading_faults(std::map<std::string, ReadingFault> faults, Time now);

    /// Moves what moves, and gives the readings that are due for a report now. Empty before power_up().
    std::vector<Reading> take_due(Time now);

    /// When take_due() has something to do again; nothing while all is still.
    std::optional<Time> next_event() const;

private:
    struct Motion {
        double from_tenths = 0;
        Time since;
        int target_tenths = 0;
        Time next_step; ///< when the port is read again
    };

    struct Port {
        std::optional<int> configured_tenths;
        std::optional<int> reading_tenths; ///< of an attenuator
        std::optional<Motion> motion;
        std::vector<std::pair<std::string, std::optional<std::string>>> others;
        ReadingFault fault;
        std::optional<Time> report_at; ///< there is news to report
    };

    Port& port_named(const std::string& name, Time now);
    void move_to(Port& port, int tenths, Time now);
    void stop_moving(Port& port, Time now);
    void advance(Port& port, Time now);
    static void read_as(Port& port, int tenths, Time now);
    static void news(Port& port, Time now);
    ReadingFault fault_of(const std::string& name) const;
    double position(const Motion& motion, Time now) const;

    double slew_tenths_per_s_;
    bool powered_ = false;
    std::map<std::string, Port> ports_;
    std::map<std::string, ReadingFault> faults_;
};

} // namespace zpf::device

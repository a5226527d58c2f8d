// SPDX-License-Identifier: Apache-2.0
//
// The simulation's faults, by the words of the agent's model.
#pragma once

#include <stdexcept>

#include "state_data.hpp"
#include "zpf_device/simulation.hpp"

namespace zpf::agent {

class SimulatedFaults final : public FaultSwitch {
public:
    explicit SimulatedFaults(device::Simulation& device) : device_(device) {}

    void inject(const std::string& port, const std::string& kind, int value_tenths, int delay_ms) override
    {
        const auto found = device::fault_kind(kind);
        if (!found) {
            throw std::invalid_argument("\"" + kind + "\" is no kind of fault.");
        }
        device::Fault fault;
        fault.kind = *found;
        fault.port = port;
        if (value_tenths >= 0) {
            fault.value_tenths = value_tenths;
        }
        fault.delay = std::chrono::milliseconds{delay_ms > 0 ? delay_ms : 0};
        device_.inject(fault);
    }
    void clear(const std::string& port) override { device_.clear(port); }
    std::vector<std::pair<std::string, std::string>> all() const override
    {
        std::vector<std::pair<std::string, std::string>> faults;
        for (const device::Fault& fault : device_.faults()) {
            faults.emplace_back(fault.port, fault_word(fault.kind));
        }
        return faults;
    }

private:
    device::Simulation& device_;
};

} // namespace zpf::agent

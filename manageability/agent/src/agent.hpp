// SPDX-License-Identifier: Apache-2.0
//
// The running agent: its parts, in the order in which they need each other.
#pragma once

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "loop.hpp"
#include "options.hpp"
#include "pool.hpp"
#include "readings_keeper.hpp"
#include "service.hpp"
#include "simulated_faults.hpp"
#include "state_data.hpp"
#include "writer.hpp"
#include "yang.hpp"
#include "zpf_device/simulation.hpp"
#include "zpf_transport/transport.hpp"

namespace zpf::agent {

class Agent {
public:
    using Log = std::function<void(int level, const std::string&)>;

    /// Opens the store, loads models and plug-in, starts the device and listens. Throws an exception that says what to
    /// do.
    Agent(const Options& options, Log log);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Where it listens.
    std::vector<std::string> addresses() const;
    /// Serves until the descriptor, a signalfd, is readable.
    void run(int signals);

private:
    using FileIdentity = std::pair<dev_t, ino_t>;
    static FileIdentity identity_of(const std::string& path);

    void open_diagnostics(const Options& options);
    void start_device();
    void take_readings(std::span<const device::Reading> readings);
    void listen(const Options& options);

    Log log_;
    Limits limits_;
    Yang yang_;
    Diagnostics diagnostics_;
    std::string trace_file_;
    Mapping mapping_;
    kelda::Store store_;
    bool seeded_;
    Counters counters_;
    NacmCounters nacm_counters_;
    Rules rules_;
    SessionRegistry sessions_;
    std::atomic<int> subscribers_{0};
    ReadingsKeeper keeper_; ///< ends after the device
    device::Simulation device_;
    std::promise<void> first_report_;
    bool reported_ = false; ///< of the device's thread
    SimulatedFaults faults_;
    std::function<void(std::shared_ptr<const Event>)> announce_; ///< set once there is a loop
    Writer writer_;
    StateData state_;
    Pool pool_;
    Service service_;
    Loop loop_;
    std::vector<std::string> addresses_;
    std::vector<std::pair<std::string, FileIdentity>> sockets_; ///< paths that go with the agent
    std::vector<std::unique_ptr<Transport>> transports_;        ///< last: nobody arrives when the rest ends
};

} // namespace zpf::agent

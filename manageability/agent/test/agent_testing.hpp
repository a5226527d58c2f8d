// SPDX-License-Identifier: Apache-2.0
//
// The agent without sockets: operations go to the service, replies come back as texts.
#ifndef AGENT_TESTING_HPP
#define AGENT_TESTING_HPP

#include <filesystem>
#include <future>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "seed.hpp"
#include "service.hpp"
#include "simulated_faults.hpp"
#include "zpf_device/simulation.hpp"

namespace test {

/// A folder that goes with the object.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// A user's session. Sessions are not known to the registry unless the test adds them.
std::shared_ptr<zpf::agent::SessionInfo> session_of(const std::string& user, bool recovery = false);

/// Shared by all tests: loading models takes most of a test's time.
zpf::agent::Yang& yang();

/// An agent on a store of its own, seeded with two attenuators (3.0 and 9.5 dB), one port that is none, and an Ethernet
/// interface.
class AgentDouble {
public:
    AgentDouble();
    ~AgentDouble();

    /// What stands inside of the reply.
    std::string ask(const std::shared_ptr<zpf::agent::SessionInfo>& session, const std::string& operation);
    /// The same for the owner, who may do everything.
    std::string ask(const std::string& operation) { return ask(owner, operation); }
    /// A whole message, and the whole reply.
    std::string send(const std::shared_ptr<zpf::agent::SessionInfo>& session, const std::string& message);

    std::string edit(const std::string& config, const std::string& more = "", const std::string& target = "running");
    std::string get_config(const std::string& filter, const std::string& source = "running");
    /// config/attenuation of an attenuator, as a client sees it in running.
    std::string configured_db(const std::string& attenuator);
    /// Ends the writer and starts another on the same store, as a restart of the agent would.
    void restart();
    /// Waits until what a session's end sets off is done.
    void end_session(const std::shared_ptr<zpf::agent::SessionInfo>& session);

    Folder folder;
    kelda::Faults faults;
    kelda::Store store;
    zpf::agent::Diagnostics diagnostics;
    zpf::agent::Mapping mapping;
    zpf::device::Simulation device;
    zpf::agent::SimulatedFaults device_faults{device};
    zpf::agent::Rules rules;
    zpf::agent::NacmCounters nacm_counters;
    zpf::agent::Counters counters;
    zpf::agent::SessionRegistry sessions;
    std::atomic<int> subscribers{1};
    std::mutex events_mutex;
    std::vector<std::string> events; ///< names of notifications, in order
    std::shared_ptr<zpf::agent::SessionInfo> owner = session_of("owner", true);
    std::unique_ptr<zpf::agent::Writer> writer;
    std::unique_ptr<zpf::agent::StateData> state;
    zpf::agent::Pool pool;
    std::unique_ptr<zpf::agent::Service> service;
    zpf::agent::Lane lane;

private:
    void start();
};

/// Elements of the client model around one attenuator's configuration.
std::string attenuator(const std::string& name, const std::string& db, const std::string& operation = "");
/// A native interface entry with this content.
std::string interface(const std::string& name, const std::string& content = "", const std::string& operation = "");

constexpr const char* kOk = "<ok/>";
constexpr const char* kOcFilter = R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"/>)";

} // namespace test

#endif

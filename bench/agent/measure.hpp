// SPDX-License-Identifier: Apache-2.0
//
// The measurements. Each adds its rows to the table and throws std::runtime_error when it cannot measure.
#pragma once

#include <functional>
#include <vector>

#include "network.hpp"
#include "report.hpp"
#include "servers.hpp"
#include "setting.hpp"

namespace zpf::bench {

using Rows = std::vector<Row>;

/// Servers that are measured beside each other, running all the time.
struct Field {
    explicit Field(const Setting& setting);

    Credentials credentials;
    uint16_t ssh_port;
    AgentServer agent;
    AgentServer unaided; ///< the agent again, told to keep no answers
    ReferenceServer reference;
    SshFront ssh;
};

/// Reads over the UNIX socket, with 1 and 8 sessions, free and on one processor.
void measure_reads(const Setting& setting, const Field& field, Rows& rows);
/// Reads through the system's sshd.
void measure_ssh(const Setting& setting, const Field& field, Rows& rows);
/// Durable edits, beside the disk and beside the other server, which does not sync.
void measure_edits(const Setting& setting, const Field& field, Rows& rows);
/// One attenuator among few and among very many interfaces.
void measure_interfaces(const Setting& setting, Rows& rows);
/// Time to start; memory after it and after many requests; processor time while nothing is asked.
void measure_start(const Setting& setting, Rows& rows);
void measure_memory(const Setting& setting, const Field& field, Rows& rows);
void measure_idle(const Setting& setting, const Credentials& credentials, Rows& rows);

/// One measurement of one contender.
using Turn = std::function<Sample()>;

/// Rounds in which all take turns, each round beginning with another. @return each one's medians
std::vector<Sample> take_turns(const Setting& setting, const std::vector<Turn>& contenders);

/// Sessions of one kind.
std::vector<Client> connect_all(std::size_t sessions, const std::function<Client()>& connect);

} // namespace zpf::bench

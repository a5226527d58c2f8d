// SPDX-License-Identifier: Apache-2.0
//
// Who is at the other end of a UNIX socket.
#pragma once

#include <string>
#include <vector>

#include "zpf_transport/transport.hpp"

namespace zpf::agent {

/// The user as the kernel knows it. Whoever runs the agent may do everything: the rules cannot lock the owner out.
Peer local_peer(int socket);

/// Names of the system's groups that a user is in.
std::vector<std::string> local_groups(const std::string& user);

/// A listening socket at the path. Takes the place of one that nobody listens at any more. Throws std::runtime_error.
UniqueFd listen_unix(const std::string& path);

} // namespace zpf::agent

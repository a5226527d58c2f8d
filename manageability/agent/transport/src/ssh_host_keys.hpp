// SPDX-License-Identifier: Apache-2.0
//
// The keys by which clients know this machine again.
#pragma once

#include "ssh_handles.hpp"

#include <string>
#include <vector>

namespace zpf::agent {

/**
 * The host keys in the folder: ed25519 and ecdsa, which all present clients take and which, unlike RSA, take no time to
 * make. What is missing is made, with mode 0600. Throws std::runtime_error when a key cannot be made or read, or is
 * open to others.
 */
std::vector<SshKey> load_host_keys(const std::string& folder);

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Where the agent's UNIX socket is when nobody says otherwise.
#pragma once

namespace zpf::agent {

constexpr const char* kDefaultSocket = "/run/zpfd/netconf.sock";

} // namespace zpf::agent

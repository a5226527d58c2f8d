// SPDX-License-Identifier: Apache-2.0
//
// What a session may take up. A client that goes beyond loses its session, and nobody else anything.
#pragma once

#include <chrono>
#include <cstddef>

namespace zpf::agent {

struct Limits {
    std::size_t sessions = 256;
    std::size_t hello_bytes = 64 * 1024;
    std::size_t message_bytes = std::size_t{16} * 1024 * 1024;
    std::size_t unsent_bytes =
        std::size_t{64} * 1024 * 1024; ///< replies and notifications that the client has not read
    std::chrono::milliseconds hello_time{20'000};
    std::chrono::milliseconds message_time{30'000}; ///< from a message's first byte to its last
    std::chrono::milliseconds unsent_time{60'000};  ///< without the client reading anything of what waits for it
};

} // namespace zpf::agent

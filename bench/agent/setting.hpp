// SPDX-License-Identifier: Apache-2.0
//
// What all measurements of a run have in common.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

#include "folder.hpp"
#include "watch.hpp"

namespace zpf::bench {

/// How much is measured.
struct Amount {
    int rounds = 5;
    std::chrono::milliseconds slice{300}; ///< of one round on one server
    std::chrono::milliseconds edit_slice{500};
    int starts = 9;
    std::size_t many_interfaces = 100'000;
    uint64_t memory_requests = 200'000;
    std::chrono::seconds idle{10};
};

struct Setting {
    const Amount& amount;
    const Watch& watch;
    const TemporaryFolder& folder;
    std::filesystem::path programs; ///< folder of zpfd and zpf-netconf
    std::filesystem::path models;   ///< folder of the YANG modules
    std::string user;               ///< who runs this

    std::filesystem::path file(const std::string& name) const { return folder.path() / name; }
};

} // namespace zpf::bench

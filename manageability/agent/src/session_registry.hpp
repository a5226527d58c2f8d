// SPDX-License-Identifier: Apache-2.0
//
// The sessions that there are, for whoever reports on them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

struct SessionInfo {
    uint32_t id = 0;
    Who who;
    std::string transport; ///< identity of ietf-netconf-monitoring, or "unix"
    std::string host;      ///< numeric address; empty on the box
    std::chrono::system_clock::time_point login = std::chrono::system_clock::now();
    std::atomic<bool> subscribed{false};
    std::atomic<bool> base_1_1{true}; ///< the client knows base:1.1 and its errors
    std::atomic<uint32_t> in_rpcs{0};
    std::atomic<uint32_t> in_bad_rpcs{0};
    std::atomic<uint32_t> out_rpc_errors{0};
    std::atomic<uint32_t> out_notifications{0};
};

class SessionRegistry {
public:
    void add(std::shared_ptr<SessionInfo> session)
    {
        const std::lock_guard lock(mutex_);
        sessions_.push_back(std::move(session));
    }
    void remove(uint32_t id)
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(sessions_, [id](const auto& session) { return session->id == id; });
    }
    std::vector<std::shared_ptr<SessionInfo>> all() const
    {
        const std::lock_guard lock(mutex_);
        return sessions_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<SessionInfo>> sessions_;
};

} // namespace zpf::agent

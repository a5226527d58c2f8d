// SPDX-License-Identifier: Apache-2.0
//
// What becomes of a request: the message to send back, and what else the session's keeper has to do.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "element.hpp"

namespace zpf::agent {

/// What a session wants to be told of.
struct Subscribed {
    std::shared_ptr<const Message> message; ///< owns the filter
    Element filter;                         ///< subtree, or none
    std::string xpath;
};

struct Outcome {
    std::string reply;   ///< the whole rpc-reply
    bool errors = false; ///< it holds an rpc-error
    bool close = false;  ///< the session ends when the reply is sent
    uint32_t kill = 0;   ///< session to be ended
    std::optional<Subscribed> subscription;
};

/// Called once, on any thread.
using Complete = std::function<void(Outcome)>;

} // namespace zpf::agent

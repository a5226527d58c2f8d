// SPDX-License-Identifier: Apache-2.0
//
// libyang handles with their owners, for hosts that speak libyang themselves. Mappings and the framework never see it.
#pragma once

#include <libyang/libyang.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "zpf_bridge/models.hpp"

namespace zpf::bridge {

template <auto Free>
struct Deleter {
    template <typename T>
    void operator()(T* handle) const noexcept
    {
        Free(handle);
    }
};

using ContextPtr = std::unique_ptr<ly_ctx, Deleter<ly_ctx_destroy>>;
using DataPtr = std::unique_ptr<lyd_node, Deleter<lyd_free_all>>;
using TextPtr = std::unique_ptr<char, Deleter<std::free>>;

struct LibyangModels {
    ContextPtr models; ///< with the device's models
    ContextPtr blank;  ///< without any, so that texts are parsed as they are, in document order
};

/// What libyang has said last in this context: the reason, and where.
struct Complaint {
    std::string reason;
    std::string path;     ///< data path, or empty
    std::size_t line = 0; ///< 0: none given
};
Complaint last_complaint(const ly_ctx& ctx);

inline constexpr const char* kNetconfNamespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

} // namespace zpf::bridge

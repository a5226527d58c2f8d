// SPDX-License-Identifier: Apache-2.0
//
// Which schema nodes the models mark as closed unless a rule opens them (nacm:default-deny-write, -all).
#pragma once

#include <cstdint>
#include <libyang/libyang.h>
#include <unordered_map>

namespace zpf::agent {

/// Marks of one schema node, as bits.
enum Mark : unsigned {
    kDenyWrite = 1, ///< no writing by default
    kDenyAll = 2,   ///< no reading, writing or executing by default
    kBelow = 4,     ///< kDenyAll is on the node or on some node below it
};

/// Marks of a context's models, inherited downwards. Nodes without any take no room.
class Marks {
public:
    explicit Marks(const ly_ctx& ctx);

    /// Bits of Mark.
    unsigned of(const lysc_node& node) const noexcept
    {
        const auto found = marks_.find(&node);
        return found == marks_.end() ? 0U : found->second;
    }

    bool empty() const noexcept { return marks_.empty(); }

    /// Whether a top data node of the module, or one below, carries kDenyAll.
    bool module_is_marked(const lys_module& module) const noexcept;

private:
    void note(const lysc_node& node);

    std::unordered_map<const lysc_node*, uint8_t> marks_;
};

} // namespace zpf::agent

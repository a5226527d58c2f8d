// SPDX-License-Identifier: Apache-2.0
//
// Decisions on data nodes for one user during a walk from the top down: each step keeps only the rules that can still
// match, so that no path is ever built or searched.
#pragma once

#include <cstddef>
#include <vector>

#include "rules.hpp"

namespace zpf::agent {

/// A rule that matches a node and all below it (`covers`), or whose path leads through the node and may match below.
struct LiveRule {
    const Rule* rule = nullptr;
    bool covers = false;
};

/// The rules that can match children of one data node, in order.
struct Scope {
    std::size_t depth = 0; ///< of the children; top nodes have 0
    std::vector<LiveRule> live;
};

/// Points into the compiled rules and the Who it is made from.
class DataAccess {
public:
    /// @param asked the kinds of access (bits) that will be asked for; rules on others are left out from the beginning
    DataAccess(const CompiledRules& rules, const Who& who, unsigned asked);

    /// The scope of top nodes.
    const Scope& top() const noexcept { return top_; }

    /// The scope of the children of `node`, itself in `scope`. Reuses the memory of `below`.
    void descend(const Scope& scope, const lyd_node& node, Scope& below) const;

    /// The scope of the children of `node`, found from the top; of top nodes for null.
    Scope scope_below(const lyd_node* node) const;

    /// Whether the user has one kind of access to a node in `scope`.
    bool permits(const Scope& scope, const lyd_node& node, Access access) const;

    /// Whether the user may read the node and all those above it.
    bool reads_down_to(const lyd_node* node) const;

    /// Whether all below a readable node is readable, judging by the scope of its children.
    bool all_readable_below(const Scope& below, const lysc_node& node) const;

    /// Whether rules and defaults permit an access to all data; `despite_marks` leaves marks of models aside.
    bool permits_all(Access access, bool despite_marks) const;

private:
    bool matches(const LiveRule& live, std::size_t depth, const lyd_node& node) const;

    const CompiledRules& rules_;
    const Who& who_;
    unsigned asked_;
    Scope top_;
};

} // namespace zpf::agent

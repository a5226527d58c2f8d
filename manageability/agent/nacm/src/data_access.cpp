// SPDX-License-Identifier: Apache-2.0
//
// Decisions on data nodes.
#include "data_access.hpp"

#include <algorithm>

namespace zpf::agent {

DataAccess::DataAccess(const CompiledRules& rules, const Who& who, unsigned asked)
    : rules_(rules), who_(who), asked_(asked)
{
    for (const RuleList* list : rules.lists_of(who)) {
        for (const Rule& rule : list->rules) {
            const bool on_data = rule.subject == Rule::Subject::anything || rule.subject == Rule::Subject::data;
            const bool of_a_module = rule.every_module || rule.module != nullptr;
            if (on_data && of_a_module && (rule.access & asked) != 0) {
                top_.live.push_back({&rule, rule.path.empty()});
            }
        }
    }
}

bool DataAccess::matches(const LiveRule& live, std::size_t depth, const lyd_node& node) const
{
    return live.covers || matches_step(live.rule->path[depth], node, who_.user);
}

void DataAccess::descend(const Scope& scope, const lyd_node& node, Scope& below) const
{
    below.depth = scope.depth + 1;
    below.live.clear();
    for (const LiveRule& live : scope.live) {
        if (!matches(live, scope.depth, node)) {
            continue;
        }
        const bool covers = live.covers || live.rule->path.size() == below.depth;
        below.live.push_back({live.rule, covers});
        if (covers && live.rule->every_module && (live.rule->access & asked_) == asked_) {
            break; // decides everything: the rules after it are never reached
        }
    }
}

Scope DataAccess::scope_below(const lyd_node* node) const
{
    if (node == nullptr) {
        return top_;
    }
    Scope below;
    descend(scope_below(lyd_parent(node)), *node, below);
    return below;
}

bool DataAccess::permits(const Scope& scope, const lyd_node& node, Access access) const
{
    if (node.schema == nullptr) {
        return false;
    }
    for (const LiveRule& live : scope.live) {
        const bool at_end = live.covers || live.rule->path.size() == scope.depth + 1;
        if (at_end && (live.rule->access & access) != 0 && live.rule->is_of(node.schema->module) &&
            matches(live, scope.depth, node)) {
            return live.rule->permit;
        }
    }
    return rules_.permitted_by_default(access, *node.schema);
}

bool DataAccess::reads_down_to(const lyd_node* node) const
{
    return node == nullptr || (reads_down_to(lyd_parent(node)) && permits(scope_below(lyd_parent(node)), *node, kRead));
}

bool DataAccess::all_readable_below(const Scope& below, const lysc_node& node) const
{
    if (below.live.empty()) { // the node was readable by default, and so is what has no marks
        return (rules_.marks.of(node) & kBelow) == 0;
    }
    const LiveRule& first = below.live.front();
    return first.covers && first.rule->every_module && (first.rule->access & kRead) != 0;
}

bool DataAccess::permits_all(Access access, bool despite_marks) const
{
    for (const LiveRule& live : top_.live) {
        if ((live.rule->access & access) == 0) {
            continue;
        }
        if (!live.rule->permit) {
            return false;
        }
        if (live.covers && live.rule->every_module) {
            return true;
        }
    }
    const bool by_default = access == kRead ? rules_.read_default : rules_.write_default;
    return by_default && (despite_marks || rules_.marks.empty());
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Compares two data trees. Most of them are equal for the most part, so siblings are matched in step, and rules are
// looked at only where a difference is.
#include "write_check.hpp"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace zpf::agent {

/// One level of the trees, on the stack of the walk. Its scope is found when a difference first asks for it.
struct WriteCheck::Level {
    Level* above = nullptr;
    const lyd_node* parent = nullptr; ///< of the siblings, in either tree: they have the same keys
    Scope scope{};
    bool ready = false;
};

namespace {

/// A container without presence: there or not, the data are the same.
bool is_mere_structure(const lyd_node& node)
{
    return lysc_is_np_cont(node.schema);
}

/// A value that is there only because the model has a default.
bool is_implicit(const lyd_node& node)
{
    return (node.flags & LYD_DEFAULT) != 0 && !is_mere_structure(node);
}

/// Whether the nodes, of one level, are the same instance. What they hold may differ.
bool same_instance(const lyd_node& one, const lyd_node& other)
{
    if (one.schema == nullptr || one.schema != other.schema) {
        return false;
    }
    return (one.schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0 || lyd_compare_single(&one, &other, 0) == LY_SUCCESS;
}

const lyd_node* find_instance(const lyd_node* siblings, const lyd_node& node)
{
    lyd_node* found = nullptr;
    if (siblings == nullptr || node.schema == nullptr) {
        return nullptr;
    }
    if ((node.schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0) {
        lyd_find_sibling_first(siblings, &node, &found);
    } else {
        lyd_find_sibling_val(siblings, node.schema, nullptr, 0, &found);
    }
    return found;
}

bool has_value(const lyd_node& node)
{
    return node.schema == nullptr || (node.schema->nodetype & (LYD_NODE_TERM | LYD_NODE_ANY)) != 0;
}

} // namespace

/// Finds the counterparts of nodes, asked for in the order of their siblings, among other siblings.
class WriteCheck::Matcher {
public:
    explicit Matcher(const lyd_node* others) : others_(others), next_(others) {}

    const lyd_node* counterpart(const lyd_node& node)
    {
        const lyd_node* found = next_ != nullptr && same_instance(node, *next_) ? next_ : search(node);
        if (found == nullptr) {
            return nullptr;
        }
        next_ = found->next;
        return is_implicit(*found) ? nullptr : found;
    }

    /// Lists and leaf-lists with entries that were not found in step.
    const std::vector<const lysc_node*>& out_of_step() const noexcept { return out_of_step_; }

private:
    const lyd_node* search(const lyd_node& node)
    {
        const lyd_node* found = find_instance(others_, node);
        const bool ordered = found != nullptr && lysc_is_userordered(node.schema);
        if (ordered && std::find(out_of_step_.begin(), out_of_step_.end(), node.schema) == out_of_step_.end()) {
            out_of_step_.push_back(node.schema);
        }
        return found;
    }

    const lyd_node* others_;
    const lyd_node* next_; ///< where the counterpart of the next node is expected
    std::vector<const lysc_node*> out_of_step_;
};

const lyd_node* WriteCheck::find_refused(const lyd_node* before, const lyd_node* after, const Scope& scope)
{
    Level level{.scope = scope, .ready = true};
    return compare(before, after, level);
}

const lyd_node* WriteCheck::compare(const lyd_node* before, const lyd_node* after, Level& level)
{
    Matcher in_after(after);
    for (const lyd_node* node = before; node != nullptr; node = node->next) {
        if (is_implicit(*node)) {
            continue;
        }
        if (const lyd_node* refused = compare_node(node, in_after.counterpart(*node), level)) {
            return refused;
        }
    }
    Matcher in_before(before);
    for (const lyd_node* node = after; node != nullptr; node = node->next) {
        if (is_implicit(*node) || in_before.counterpart(*node) != nullptr) {
            continue; // those in both trees have been compared
        }
        if (const lyd_node* refused = compare_node(nullptr, node, level)) {
            return refused;
        }
    }
    for (const lysc_node* list : in_after.out_of_step()) {
        if (const lyd_node* refused = compare_order(*list, before, after, level)) {
            return refused;
        }
    }
    return nullptr;
}

/// Compares one node, missing (null) in one of the trees perhaps, and what is below it.
const lyd_node* WriteCheck::compare_node(const lyd_node* before, const lyd_node* after, Level& level)
{
    const lyd_node& node = before != nullptr ? *before : *after;
    if (before != nullptr && after != nullptr) {
        if (has_value(node) && lyd_compare_single(before, after, LYD_COMPARE_FULL_RECURSION) != LY_SUCCESS &&
            !permits(level, node, kUpdate)) {
            return &node;
        }
    } else if (!is_mere_structure(node) && !permits(level, node, before != nullptr ? kDelete : kCreate)) {
        return &node;
    }
    if (has_value(node)) {
        return nullptr;
    }
    Level below{.above = &level, .parent = &node};
    return compare(lyd_child(before), lyd_child(after), below);
}

/// Entries that the user may not update have to keep their order; the others can have been moved around them.
const lyd_node* WriteCheck::compare_order(const lysc_node& list, const lyd_node* before, const lyd_node* after,
                                          Level& level)
{
    std::unordered_map<const lyd_node*, std::size_t> positions;
    for (const lyd_node* entry = after; entry != nullptr; entry = entry->next) {
        positions.emplace(entry, positions.size());
    }
    std::size_t reached = 0;
    for (const lyd_node* entry = before; entry != nullptr; entry = entry->next) {
        if (entry->schema != &list) {
            continue;
        }
        const lyd_node* counterpart = find_instance(after, *entry);
        if (counterpart == nullptr || permits(level, *entry, kUpdate)) {
            continue;
        }
        if (positions.at(counterpart) < reached) {
            return entry;
        }
        reached = positions.at(counterpart);
    }
    return nullptr;
}

bool WriteCheck::permits(Level& level, const lyd_node& node, Access access)
{
    return access_.permits(scope_of(level), node, access);
}

const Scope& WriteCheck::scope_of(Level& level)
{
    if (!level.ready) {
        access_.descend(scope_of(*level.above), *level.parent, level.scope);
        level.ready = true;
    }
    return level.scope;
}

} // namespace zpf::agent

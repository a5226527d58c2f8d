// SPDX-License-Identifier: Apache-2.0
//
// Takes out of a reply what the user may not read.
#include "prune.hpp"

namespace zpf::agent {

Scope& Pruner::scratch(std::size_t depth)
{
    while (scratch_.size() <= depth) {
        scratch_.emplace_back();
    }
    return scratch_[depth];
}

lyd_node* Pruner::prune(lyd_node* first, const Scope& scope)
{
    lyd_node* left = nullptr;
    for (lyd_node *node = first, *next = nullptr; node != nullptr; node = next) {
        next = node->next;
        if (!keep(*node, scope)) {
            lyd_free_tree(node);
        } else if (left == nullptr) {
            left = node;
        }
    }
    return left;
}

bool Pruner::keep(lyd_node& node, const Scope& scope)
{
    if (!access_.permits(scope, node, kRead)) {
        return false;
    }
    lyd_node* child = lyd_child(&node);
    if (child == nullptr) {
        return true;
    }
    Scope& below = scratch(scope.depth);
    access_.descend(scope, node, below);
    if (access_.all_readable_below(below, *node.schema)) {
        return true;
    }
    for (; child != nullptr && child->schema != nullptr && lysc_is_key(child->schema); child = child->next) {
        if (!access_.permits(below, *child, kRead)) {
            return false;
        }
    }
    prune(child, below);
    return true;
}

} // namespace zpf::agent

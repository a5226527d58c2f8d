// SPDX-License-Identifier: Apache-2.0
//
// Keeps edits away from native entries that the client did not name. A plug-in may map a name loosely, or not at all;
// a native entry is touched only if its keys map back to the very entry of the request it was made under.
#pragma once

#include "mapper.hpp"

namespace zpf {

/// Drops entries of the native edit that have no key and stand for no expansion: they name nothing.
void drop_unkeyed(const Schema& schema, Node& edit);

/**
 * Goes through the request entry by entry. One that leads to no native entry, or to another's, is refused when it adds
 * something; when it only removes, its part of the native edit is dropped and the edit goes on.
 */
std::optional<Refusal> guard_edit(Mapper& mapper, const Node& request, Tree& edit);

/// Walks native list entries of a tree with what is above each. `visit(node, above, list)` returns whether to go below.
template <typename Visit>
void visit_entries(const Schema& schema, const Node& root, const Visit& visit)
{
    constexpr std::size_t kUsualDepth = 8;
    std::vector<const Node*> path;
    path.reserve(kUsualDepth);
    const auto go = [&](const auto& self, const Node& parent, const SchemaNode* above) -> void {
        for (const Node& node : children(parent)) {
            const SchemaNode* const own = above ? above->find(tag_of(node)) : schema.find_top(tag_of(node));
            if (own == nullptr || (own->kind == NodeKind::list && !visit(node, path, *own))) {
                continue;
            }
            path.push_back(&node);
            self(self, node, own);
            path.pop_back();
        }
    };
    go(go, root, nullptr);
}

} // namespace zpf

// SPDX-License-Identifier: Apache-2.0
//
// Questions about host-side trees that the steps of a read or an edit share.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zpf_map/driver.hpp"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// The schema of a node given its parent's (null: the node is a top node); null for a node that no model has.
const SchemaNode* schema_of(const Schema& schema, const SchemaNode* above, const Node& node);

/// First thing wrong with a request tree that the walk cannot be trusted with (no tag, counts that lie, too deep).
std::optional<Refusal> find_damage(const Node* request);

inline bool is_removal(const Node& node)
{
    return node.edit_op == ZPF_OP_DELETE || node.edit_op == ZPF_OP_REMOVE;
}

/// True when the node is `top` or below it.
bool contains(const Node& top, const Node* node);

/// The child leaf that is this key, with a value; or null.
const Node* key_leaf(const Node& entry, const std::string& key);

/// The list entry among `parent`'s children with the same keys as `entry`, or null.
const Node* find_same_entry(const Node& parent, const Node& entry, const SchemaNode& list);

/// The counterpart of a node below another parent: by tag, list entries by keys, too. Null for entries without keys.
const Node* find_counterpart(const Node& parent, const Node& node, const SchemaNode* schema);

/// Calls `visit` for each node of the tree from the top down, with the nodes above it; stops where it returns false.
template <typename Visit>
void visit_nodes(const Node& parent, std::vector<const Node*>& above, const Visit& visit)
{
    for (const Node& node : children(parent)) {
        if (visit(node, above)) {
            above.push_back(&node);
            visit_nodes(node, above, visit);
            above.pop_back();
        }
    }
}

/// Path of a node with key predicates, e.g. "/a/b[name='x']/c".
std::string data_path(const Schema& schema, const std::vector<const Node*>& above, const Node& node);

/// Predicates of a list entry, e.g. "[name='x']"; empty for other nodes.
std::string predicates(const Node& entry, const SchemaNode* list);

/// Outermost list entries of a request, in order.
std::vector<const Node*> outermost_entries(const Schema& schema, const Node& request);

} // namespace zpf

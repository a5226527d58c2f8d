// SPDX-License-Identifier: Apache-2.0
//
// Operations of an edit request (RFC 6241, 7.2).
#include "edit_request.hpp"

#include <algorithm>

#include "node_array.hpp"
#include "refusal.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

bool is_key(const SchemaNode* above, const Node& node)
{
    return above != nullptr && above->kind == NodeKind::list && above->is_key(tag_of(node));
}

/// Merge lets operations below speak for themselves; every other one settles its whole branch.
bool settles_branch(int32_t edit_op)
{
    return edit_op == ZPF_OP_REPLACE || edit_op == ZPF_OP_CREATE || edit_op == ZPF_OP_DELETE ||
           edit_op == ZPF_OP_REMOVE;
}

void settle(const Schema& schema, const SchemaNode* above, Node& parent, bool settled)
{
    for (Node& node : children(parent)) {
        const SchemaNode* const own = schema_of(schema, above, node);
        if (settled && !is_key(above, node)) {
            node.edit_op = ZPF_OP_NONE;
        }
        settle(schema, own, node, settled || settles_branch(node.edit_op));
    }
    if (above != nullptr && above->kind == NodeKind::list) {
        const auto nodes = children(parent);
        const auto key = [above](const Node& node) { return is_key(above, node); };
        if (!std::is_partitioned(nodes.begin(), nodes.end(), key)) {
            std::stable_partition(nodes.begin(), nodes.end(), key);
        }
    }
}

/// Drops branches without an operation of their own; keys stay with their entry. @return whether anything is left to do
bool cut_idle(const Schema& schema, const SchemaNode* above, Node& parent)
{
    bool any = false;
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        const bool asked = node.edit_op != ZPF_OP_NONE || cut_idle(schema, schema_of(schema, above, node), node);
        if (!asked && !is_key(above, node)) {
            remove_child(parent, i);
        }
        any = any || asked;
    }
    return any;
}

void clear_none(Node& parent)
{
    for (Node& node : children(parent)) {
        node.edit_op = node.edit_op == ZPF_OP_NONE ? ZPF_OP_MERGE : node.edit_op;
        clear_none(node);
    }
}

std::string quoted_tag(const Node& node)
{
    return "\"" + std::string(tag_of(node)) + "\"";
}

class Demands {
public:
    Demands(const Schema& schema, int32_t default_operation)
        : schema_(schema), ancestors_must_exist_(default_operation == ZPF_OP_NONE)
    {}

    std::optional<Refusal> check(const SchemaNode* above, const Node& parent, const Node* view)
    {
        for (const Node& node : children(parent)) {
            if (is_key(above, node)) {
                continue; // a key is there with its entry or not at all
            }
            const SchemaNode* const own = schema_of(schema_, above, node);
            const Node* const there = view ? find_counterpart(*view, node, own) : nullptr;
            if (auto unmet = judge(node, there)) {
                return unmet;
            }
            path_.push_back(&node);
            if (auto unmet = check(own, node, there)) {
                return unmet;
            }
            path_.pop_back();
        }
        return std::nullopt;
    }

private:
    std::optional<Refusal> judge(const Node& node, const Node* there) const
    {
        if (node.edit_op == ZPF_OP_DELETE && there == nullptr) {
            return refuse("data-missing", data_path(schema_, path_, node),
                          "There is no " + quoted_tag(node) + " here to delete.");
        }
        if (node.edit_op == ZPF_OP_CREATE && there != nullptr) {
            return refuse("data-exists", data_path(schema_, path_, node),
                          quoted_tag(node) + " is here already; create makes new ones only.");
        }
        if (ancestors_must_exist_ && node.edit_op == ZPF_OP_NONE && there == nullptr && !settled_above()) {
            return refuse("data-missing", data_path(schema_, path_, node),
                          "There is no " + quoted_tag(node) + " here, and default-operation none makes none.");
        }
        return std::nullopt;
    }

    bool settled_above() const
    {
        return std::any_of(path_.begin(), path_.end(), [](const Node* above) { return above->edit_op != ZPF_OP_NONE; });
    }

    const Schema& schema_;
    bool ancestors_must_exist_;
    std::vector<const Node*> path_;
};

} // namespace

Tree normalise(const Schema& schema, const Node& request, int32_t default_operation, std::shared_ptr<Arena> arena)
{
    Tree result(std::move(arena));
    for (const Node& top : children(request)) {
        Node& node = result.share(result.root(), top);
        if (node.edit_op == ZPF_OP_NONE && default_operation == ZPF_OP_REPLACE) {
            node.edit_op = ZPF_OP_REPLACE;
        }
    }
    settle(schema, nullptr, result.root(), false);
    if (default_operation == ZPF_OP_NONE) {
        cut_idle(schema, nullptr, result.root());
    }
    return result;
}

Tree walkable(const Node& normalised, std::shared_ptr<Arena> arena)
{
    Tree result(std::move(arena));
    for (const Node& top : children(normalised)) {
        result.share(result.root(), top);
    }
    clear_none(result.root());
    return result;
}

bool has_demands(const Node& normalised, int32_t default_operation)
{
    const auto nodes = children(normalised);
    return std::any_of(nodes.begin(), nodes.end(), [&](const Node& node) {
        return default_operation == ZPF_OP_NONE || node.edit_op == ZPF_OP_CREATE || node.edit_op == ZPF_OP_DELETE ||
               has_demands(node, default_operation);
    });
}

std::optional<Refusal> find_unmet_demand(const Schema& schema, const Node& normalised, const Node& view,
                                         int32_t default_operation)
{
    return Demands(schema, default_operation).check(nullptr, normalised, &view);
}

} // namespace zpf

// SPDX-License-Identifier: Apache-2.0
//
// The guard between a mapped edit and the data.
#include "guard.hpp"

#include <algorithm>
#include <set>

#include "marks.hpp"
#include "node_array.hpp"
#include "output_lists.hpp"
#include "refusal.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

/// What the native edit holds for one entry of the request.
struct Target {
    const Node* entry;             ///< of the request
    std::vector<const Node*> path; ///< above it
    const SchemaNode* list;
    bool reached = false; ///< some native entry was made for it
    bool strays = false;  ///< one that maps back to something else
};

/// True when the branch of the request asks for nothing but removals.
bool only_removes(const Node& node, const SchemaNode* own)
{
    if (is_removal(node)) {
        return true;
    }
    bool any = false;
    for (const Node& child : children(node)) {
        if (own != nullptr && own->is_key(tag_of(child))) {
            continue;
        }
        if (!only_removes(child, own ? own->find(tag_of(child)) : nullptr)) {
            return false;
        }
        any = true;
    }
    return any;
}

std::vector<Target> targets_of(const Schema& schema, const Node& request)
{
    std::vector<Target> targets;
    visit_entries(schema, request, [&](const Node& node, const std::vector<const Node*>& path, const SchemaNode& list) {
        targets.push_back({&node, path, &list});
        return false; // entries inside of it stand or fall with it
    });
    return targets;
}

/// True when the client's view of the native entry's keys is the entry that the client named.
bool maps_back(Mapper& mapper, const std::vector<const Node*>& above, const Node& native, const SchemaNode& list,
               const Target& target, const std::shared_ptr<Arena>& arena)
{
    const Tree reply = mapper.view_of_keys(above, native, list, arena);
    const Node* at = &reply.root();
    for (const Node* step : target.path) {
        at = at ? find_child(*at, tag_of(*step)) : nullptr;
    }
    return at != nullptr && find_same_entry(*at, *target.entry, *target.list) != nullptr;
}

std::string named(const Target& target)
{
    const Node* const leaf = target.list->keys.empty() ? nullptr : key_leaf(*target.entry, target.list->keys.front());
    return leaf ? "\"" + std::string(*value_of(*leaf)) + "\"" : "An entry without a name";
}

void drop_entries_of(Node& parent, const Mapper& mapper, const Node& request_entry)
{
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        const Node* const origin = mapper.origin(node);
        if (origin != nullptr && contains(request_entry, origin)) {
            remove_child(parent, i);
        } else if (!children(node).empty()) {
            drop_entries_of(node, mapper, request_entry);
            if (children(node).empty()) { // nothing is left to do in there
                remove_child(parent, i);
            }
        }
    }
}

void drop_unkeyed_below(const Schema& schema, const SchemaNode* above, Node& parent)
{
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        const SchemaNode* const own = schema_of(schema, above, node);
        if (own != nullptr && own->kind == NodeKind::list && removal_mark(node) != RemovalMark::all &&
            !has_all_keys(node, *own)) {
            remove_child(parent, i);
        } else if (own != nullptr && !children(node).empty()) {
            drop_unkeyed_below(schema, own, node);
            if (children(node).empty()) { // else it would select all that the store has below it
                remove_child(parent, i);
            }
        }
    }
}

} // namespace

void drop_unkeyed(const Schema& schema, Node& edit)
{
    drop_unkeyed_below(schema, nullptr, edit);
}

std::optional<Refusal> guard_edit(Mapper& mapper, const Node& request, Tree& edit)
{
    std::vector<Target> targets = targets_of(mapper.schema(), request);
    visit_entries(mapper.schema(), edit.root(), [&](const Node& native, const auto& above, const SchemaNode& list) {
        const Node* const origin = mapper.origin(native);
        for (Target& target : targets) {
            if (origin != nullptr && contains(*target.entry, origin)) {
                target.reached = true;
                target.strays = target.strays || !maps_back(mapper, above, native, list, target, edit.arena());
            }
        }
        return false;
    });
    for (const Target& target : targets) {
        if (target.reached && !target.strays) {
            continue;
        }
        const std::string path = data_path(mapper.schema(), target.path, *target.entry);
        if (only_removes(*target.entry, target.list)) {
            mapper.tell(Phase::verdict,
                        path + ": " + named(target) + " is nothing that the device has; nothing to remove",
                        target.entry);
            drop_entries_of(edit.root(), mapper, *target.entry);
            continue;
        }
        Refusal refusal =
            refuse("invalid-value", path, named(target) + " is no " + target.list->tag + " of this device.",
                   target.list->keys.empty() ? "" : target.list->keys.front());
        refusal.app_tag = code_name(ZPF_RC_INVALID_VALUE);
        return refusal;
    }
    return std::nullopt;
}

} // namespace zpf

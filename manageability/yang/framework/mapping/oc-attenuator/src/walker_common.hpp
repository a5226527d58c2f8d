// SPDX-License-Identifier: Apache-2.0
//
// What the walkers of both directions share: rows of recognised children, the children of a node, and the marks that a
// walker leaves on the nodes it has visited.
#ifndef OC_ATTENUATOR_WALKER_COMMON_HPP
#define OC_ATTENUATOR_WALKER_COMMON_HPP

#include "callback_shapes.hpp"

#include <span>

namespace oc_attenuator {

/** The request kinds in which a child is recognised. */
enum class In { kAnyRequest, kGet };

/** One recognised child of a level; rows stand in the order in which tags are compared. */
struct Child {
    const char* tag;
    NodeCallback* walk;
    In requests = In::kAnyRequest;
};

constexpr uint32_t kContainerLevel = 1;
constexpr uint32_t kListEntryLevel = 2;
constexpr uint32_t kExpanding = 1; // zpf_map_request.walk_mode

/** The children of a node as one array. */
struct Children {
    qidl_zpf_datatree* first = nullptr;
    uint32_t count = 0;

    qidl_zpf_datatree* begin() const { return first; }
    qidl_zpf_datatree* end() const { return count != 0 ? first + count : first; }
};

/** Takes the node's children, none without their flag. @return false when they are promised but not there */
inline bool take_children(const qidl_zpf_datatree& node, Children& children)
{
    children = {};
    if ((node.state_flags & ZPF_STATE_SUBTREES) != 0) {
        children = {node.subtrees, node.subtree_count};
    }
    return children.first != nullptr || children.count == 0;
}

/** Callbacks see request nodes read-only; walkers mark them, and hosts hand over memory that allows it. */
inline qidl_zpf_datatree& writable(const qidl_zpf_datatree* node)
{
    return *const_cast<qidl_zpf_datatree*>(node);
}

inline bool is_expanding(zpf_map_ctx ctx)
{
    return ctx->request != nullptr && ctx->request->walk_mode == kExpanding;
}

inline const Child* recognise(std::span<const Child> rows, const char* tag, bool is_get_request)
{
    for (const Child& row : rows) {
        if (zpf_map_do_these_match(tag, row.tag) != 0) {
            return row.requests == In::kAnyRequest || is_get_request ? &row : nullptr;
        }
    }
    return nullptr;
}

inline void enter_hierarchy(zpf_map_ctx ctx, qidl_zpf_datatree& node, uint32_t level)
{
    zpf_map_add_to_node_hierarchy(ctx, &node, level);
    node.node_type = level == kContainerLevel ? ZPF_NODE_CONTAINER : ZPF_NODE_LIST_ENTRY;
    node.map_flags |= ZPF_MAP_VISITED;
}

/** A leaf is visited, but never part of the hierarchy; an expansion visits its parent in its place. */
inline void mark_leaf_visited(zpf_map_ctx ctx, qidl_zpf_datatree& leaf)
{
    const zpf_map_request* request = ctx->request;
    if (request == nullptr || (request->walk_mode != kExpanding && request->subtree_delete_allowed == 0)) {
        leaf.node_type = ZPF_NODE_LEAF;
        leaf.map_flags |= ZPF_MAP_VISITED;
    }
}

inline void mark_key(qidl_zpf_datatree& key)
{
    key.key_handled = 1;
    key.state_flags2 |= ZPF_STATE2_KEY_TAKEN;
}

/** Records the operation of the list entry whose callback has just succeeded. */
inline void note_list_operation(zpf_map_ctx ctx, const qidl_zpf_datatree& entry)
{
    ctx->list_edit_op = (entry.state_flags & ZPF_STATE_CONSUMED) != 0 ? entry.edit_op : 0;
}

} // namespace oc_attenuator

/** Exports a walker, given as the template instance of its record. */
#define OCATT_WALKER(name, ...)                                                                                        \
    extern "C" OCATT_EXPORTED qerrno name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)      \
    {                                                                                                                  \
        return __VA_ARGS__(ctx, node, out);                                                                            \
    }                                                                                                                  \
    static_assert(true)

#endif

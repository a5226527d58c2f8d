// SPDX-License-Identifier: Apache-2.0
//
// Walkers over an OpenConfig request: container, leaf and augment. The list has a header of its own.
//
// A container that names no children stands for all of them: a read, or a delete, is expanded by calling every child
// walker with the container's own node. A replace is walked twice, first as a removal of everything, then as a merge of
// what the request gives. Both rewrite the node for their length and put it back.
#ifndef OC_ATTENUATOR_WALKER_REQUEST_HPP
#define OC_ATTENUATOR_WALKER_REQUEST_HPP

#include "walker_common.hpp"

#include "zpf_namespaces.h"

namespace oc_attenuator {

/** A container of the OpenConfig model. */
struct RequestContainer {
    Function function;
    ContainerCallback* callback;
    std::span<const Child> children;
    NodeCallback* augments;
    bool expands_delete_as_remove; /**< While a delete is expanded its node carries "remove", whose target may lack. */
    void (*at_end)(zpf_map_ctx) = nullptr; /**< Called before the node leaves the hierarchy. */
};

/** A leaf of the OpenConfig model. */
struct RequestLeaf {
    Function function;
    NodeCallback* callback;
};

// zpf_map_request.list_state
constexpr uint32_t kExpandAll = 0x1;
constexpr uint32_t kExpandAsked = 0x4;
constexpr uint32_t kExpandAnswer = 0x6; // asked, and the bit that takes it back
// Keeps one bit in four; not to be read as "all but the lowest".
constexpr uint32_t kListStateKept = 0x11111110;

inline void set_operation(qidl_zpf_datatree& node, int32_t edit_op)
{
    node.edit_op = edit_op;
    node.state_flags |= ZPF_STATE_CONSUMED;
}

/** Puts a request node into the hierarchy, unless an expansion has its parent there in its place. */
inline void enter_request_node(zpf_map_ctx ctx, qidl_zpf_datatree& node, uint32_t level)
{
    if (is_expanding(ctx)) {
        return;
    }
    enter_hierarchy(ctx, node, level);
    if (is_read(operation_of(ctx))) {
        ctx->request->list_state &= kListStateKept;
    }
}

inline void leave_request_node(zpf_map_ctx ctx, const qidl_zpf_datatree& node)
{
    if (!is_expanding(ctx)) {
        zpf_map_remove_from_node_hierarchy(ctx, &node);
    }
}

/** The children of a node while it stands without any. */
struct DetachedChildren {
    qidl_zpf_datatree* subtrees;
    uint32_t count;
    uint8_t flag;
};

inline DetachedChildren detach_children(qidl_zpf_datatree& node)
{
    const uint8_t flag = node.state_flags & ZPF_STATE_SUBTREES;
    const DetachedChildren children{node.subtrees, node.subtree_count, flag};
    node.subtrees = nullptr;
    node.subtree_count = 0;
    node.state_flags &= static_cast<uint8_t>(~ZPF_STATE_SUBTREES);
    return children;
}

inline void reattach_children(qidl_zpf_datatree& node, const DetachedChildren& children)
{
    node.subtrees = children.subtrees;
    node.subtree_count = children.count;
    node.state_flags |= children.flag;
}

/** Turns the node into a removal without children, for the first pass of a replace. */
inline DetachedChildren begin_replace(zpf_map_request& request, qidl_zpf_datatree& node)
{
    set_operation(node, ZPF_OP_REMOVE);
    request.walk_flags |= ZPF_WALK_REPLACE_DELETE;
    request.list_entry_mapped = 1;
    return detach_children(node);
}

/** Turns it into a merge of its children, for the second pass. */
inline void turn_replace(zpf_map_request& request, qidl_zpf_datatree& node, const DetachedChildren& children)
{
    set_operation(node, ZPF_OP_MERGE);
    request.walk_flags |= ZPF_WALK_REPLACE_MERGE;
    request.walk_flags &= ~ZPF_WALK_REPLACE_DELETE;
    reattach_children(node, children);
}

inline void end_replace(zpf_map_request& request, qidl_zpf_datatree& node)
{
    request.walk_flags &= ~(ZPF_WALK_REPLACE_DELETE | ZPF_WALK_REPLACE_MERGE);
    if (request.list_entry_mapped == 1) {
        set_operation(node, ZPF_OP_REPLACE);
    }
    request.list_entry_mapped = 0;
}

/** Walks one child of a container by its row, its namespace, or not at all. */
template <const RequestContainer& kSelf>
qerrno walk_request_child(zpf_map_ctx ctx, const qidl_zpf_datatree& child, qidl_zpf_datatree* out)
{
    if (child.tag == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Tag name is not available!");
        return ZPF_RC_BAD_TREE;
    }
    OCATT_TRACE(ctx, kSelf.function.name, "Processing tag '%s'", child.tag);
    const uint32_t operation = operation_of(ctx);
    if (const Child* row = recognise(kSelf.children, child.tag, is_get(operation))) {
        return row->walk(ctx, &child, out);
    }
    if (zpf_map_do_these_match(child.ns, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR) == 0) {
        return kSelf.augments(ctx, &child, out);
    }
    OCATT_ERROR(ctx, kSelf.function.name, "Unsupported tag is specified in the request.");
    return is_read(operation) ? ZPF_RC_OK : refuse(ctx, child.tag, ZPF_RC_UNSUPPORTED_NODE);
}

/** Walks what the model has below the node, the node standing for each child; results do not count. */
template <const RequestContainer& kSelf>
void expand_request_container(zpf_map_ctx ctx, qidl_zpf_datatree& node, qidl_zpf_datatree* out)
{
    zpf_map_request& request = *ctx->request;
    const uint32_t outer_mode = request.walk_mode;
    request.walk_mode = kExpanding;
    const bool rewrites = kSelf.expands_delete_as_remove && node.edit_op == ZPF_OP_DELETE;
    if (rewrites) {
        set_operation(node, ZPF_OP_REMOVE);
    }
    for (const Child& row : kSelf.children) {
        row.walk(ctx, &node, out);
    }
    if (rewrites) {
        set_operation(node, ZPF_OP_DELETE);
    }
    kSelf.augments(ctx, &node, out);
    if (outer_mode != kExpanding) {
        request.walk_mode = 0;
    }
    request.list_state &= kListStateKept;
}

/** One pass over the node. @return false when the callback has handled the node in full and the walk ends at once */
template <const RequestContainer& kSelf>
bool walk_request_pass(zpf_map_ctx ctx, qidl_zpf_datatree& node, Children children, qidl_zpf_datatree* out,
                       qerrno& result)
{
    zpf_map_request& request = *ctx->request;
    if (result == ZPF_RC_OK) {
        result = kSelf.callback(ctx, &node, children.count, out);
        if (result == ZPF_RC_SKIP_INSTANCE) {
            result = ZPF_RC_OK;
            return (request.walk_flags & ZPF_WALK_REPLACE_DELETE) != 0;
        }
        for (qidl_zpf_datatree* child = children.begin(); child != children.end() && result == ZPF_RC_OK; ++child) {
            result = walk_request_child<kSelf>(ctx, *child, out);
        }
    }
    if ((request.list_state & kExpandAnswer) == kExpandAsked) {
        request.list_state = (request.list_state | kExpandAll) & ~kExpandAnswer;
    }
    if ((children.count == 0 || (request.list_state & kExpandAll) != 0) &&
        (is_read(operation_of(ctx)) || zpf_map_is_request_delete(&node) != 0)) {
        expand_request_container<kSelf>(ctx, node, out);
    }
    return true;
}

/** Both passes of a replace, or the one of anything else. @return false when the walk ends at once */
template <const RequestContainer& kSelf>
bool walk_request_passes(zpf_map_ctx ctx, qidl_zpf_datatree& node, Children children, qidl_zpf_datatree* out,
                         qerrno& result)
{
    if (node.edit_op != ZPF_OP_REPLACE) {
        return walk_request_pass<kSelf>(ctx, node, children, out, result);
    }
    zpf_map_request& request = *ctx->request;
    const DetachedChildren detached = begin_replace(request, node);
    bool goes_on = walk_request_pass<kSelf>(ctx, node, Children{}, out, result);
    turn_replace(request, node, detached);
    goes_on = goes_on && walk_request_pass<kSelf>(ctx, node, children, out, result);
    end_replace(request, node);
    return goes_on;
}

/** The container walker. */
template <const RequestContainer& kSelf>
qerrno walk_request_container(zpf_map_ctx ctx, const qidl_zpf_datatree* request_node, qidl_zpf_datatree* out)
{
    require_context(ctx, kSelf.function);
    OCATT_TRACE(ctx, kSelf.function.name, "Start");
    if (request_node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qidl_zpf_datatree& node = writable(request_node);
    Children children;
    if (!take_children(node, children)) {
        OCATT_ERROR(ctx, kSelf.function.name, "Failed to get subtrees!");
        OCATT_TRACE(ctx, kSelf.function.name, "End");
        return ZPF_RC_BAD_TREE;
    }
    const zpf_map_request& request = *ctx->request;
    if (!is_expanding(ctx) && children.count != 0 && request.subtree_delete_allowed == 0 &&
        zpf_map_is_request_delete(&node) != 0) {
        OCATT_TRACE(ctx, kSelf.function.name, "Delete request with subtree present");
        OCATT_TRACE(ctx, kSelf.function.name, "End");
        return ZPF_RC_INVALID_ARGS;
    }
    if (is_expanding(ctx) && (request.list_state & kExpandAll) != 0) {
        children.count = 0;
    }
    enter_request_node(ctx, node, kContainerLevel);
    qerrno result = ZPF_RC_OK;
    if (!walk_request_passes<kSelf>(ctx, node, children, out, result)) {
        leave_request_node(ctx, node);
        return ZPF_RC_OK;
    }
    if (kSelf.at_end != nullptr) {
        kSelf.at_end(ctx);
    }
    leave_request_node(ctx, node);
    OCATT_TRACE(ctx, kSelf.function.name, "End");
    return result;
}

/** The leaf walker. */
template <const RequestLeaf& kSelf>
qerrno walk_request_leaf(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    require_context(ctx, kSelf.function);
    OCATT_TRACE(ctx, kSelf.function.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    const qerrno result = kSelf.callback(ctx, node, out);
    mark_leaf_visited(ctx, writable(node));
    OCATT_TRACE(ctx, kSelf.function.name, "End");
    return result;
}

/** The augment walker: the model has no augments, so nothing can be added there; anything else is ignored. */
template <const Function& kSelf>
qerrno refuses_augments(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qerrno result = ZPF_RC_OK;
    if (zpf_map_is_request_add(ctx, node) != 0) {
        result = refuse(ctx, node->tag, ZPF_RC_AUGMENT_CREATE);
    }
    OCATT_TRACE(ctx, kSelf.name, "End");
    return result;
}

} // namespace oc_attenuator

#endif

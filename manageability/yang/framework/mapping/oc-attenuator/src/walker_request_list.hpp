// SPDX-License-Identifier: Apache-2.0
//
// The walker over a list of an OpenConfig request: the list callback, the entry's children, and the expansion of an
// entry that names nothing but its key.
//
// In the first pass of a replace the entry itself stands without children, so that callbacks see none; the walker goes
// on with the ones it has taken before, since the key has to reach the removal too.
#ifndef OC_ATTENUATOR_WALKER_REQUEST_LIST_HPP
#define OC_ATTENUATOR_WALKER_REQUEST_LIST_HPP

#include "walker_request_keys.hpp"

namespace oc_attenuator {

// zpf_map_request.subtree_delete_allowed while the list callback is called for a delete
constexpr uint32_t kDeleteWholeList = 1;
constexpr uint32_t kDeleteKeyedEntry = 2;

/** Walks one child of an entry. A removal of the whole entry needs its key and nothing else of the model. */
template <const RequestList& kSelf>
qerrno walk_entry_child(zpf_map_ctx ctx, qidl_zpf_datatree& child, qidl_zpf_datatree* out)
{
    if (child.tag == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Tag name is not available!");
        return ZPF_RC_BAD_TREE;
    }
    OCATT_TRACE(ctx, kSelf.function.name, "Processing tag '%s'", child.tag);
    if (is_key<kSelf>(child)) {
        return walk_key_leaf<kSelf>(ctx, child, out);
    }
    const uint32_t operation = operation_of(ctx);
    const bool removes_entry = (ctx->request->walk_flags & ZPF_WALK_REPLACE_DELETE) != 0;
    if (const Child* row = recognise(kSelf.children, child.tag, is_get(operation))) {
        return removes_entry ? ZPF_RC_OK : row->walk(ctx, &child, out);
    }
    if (zpf_map_do_these_match(child.ns, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR) == 0) {
        return kSelf.augments(ctx, &child, out);
    }
    if (removes_entry) {
        return ZPF_RC_OK;
    }
    OCATT_ERROR(ctx, kSelf.function.name, "Unsupported tag is specified in the request.");
    return is_read(operation) ? ZPF_RC_OK : refuse(ctx, child.tag, ZPF_RC_UNSUPPORTED_NODE);
}

template <const RequestList& kSelf>
void walk_rows(zpf_map_ctx ctx, qidl_zpf_datatree& entry, qidl_zpf_datatree* out, In requests)
{
    for (const Child& row : kSelf.children) {
        if (row.requests == requests) {
            row.walk(ctx, &entry, out);
        }
    }
}

/** What only a get has, then the augments: the end of both expansions. */
template <const RequestList& kSelf>
void expand_state_and_augments(zpf_map_ctx ctx, qidl_zpf_datatree& entry, qidl_zpf_datatree* out)
{
    if (is_get(operation_of(ctx))) {
        walk_rows<kSelf>(ctx, entry, out, In::kGet);
    }
    kSelf.augments(ctx, &entry, out);
}

/** An entry that names nothing but its key stands for all it has; the key waits on the itree stack meanwhile. */
template <const RequestList& kSelf>
void expand_keyed_entry(zpf_map_ctx ctx, qidl_zpf_datatree& entry, qidl_zpf_datatree* out)
{
    zpf_map_util_itree_stack_push(ctx, entry.subtrees, entry.subtree_count, nullptr);
    const DetachedChildren detached = detach_children(entry);
    const int32_t given_operation = entry.edit_op;
    const bool deletes = zpf_map_is_request_delete(&entry) != 0;
    if (deletes) {
        set_operation(entry, ZPF_OP_REMOVE);
    }
    walk_rows<kSelf>(ctx, entry, out, In::kAnyRequest);
    expand_state_and_augments<kSelf>(ctx, entry, out);
    if (deletes) {
        set_operation(entry, given_operation);
    }
    reattach_children(entry, detached);
    zpf_map_util_itree_stack_pop(ctx);
}

template <const RequestList& kSelf>
void expand_empty_entry(zpf_map_ctx ctx, qidl_zpf_datatree& entry, qidl_zpf_datatree* out)
{
    const bool rewrites = entry.edit_op == ZPF_OP_DELETE;
    if (rewrites) {
        set_operation(entry, ZPF_OP_REMOVE);
    }
    kSelf.walk_key(ctx, &entry, out);
    walk_rows<kSelf>(ctx, entry, out, In::kAnyRequest);
    if (rewrites) {
        set_operation(entry, ZPF_OP_DELETE);
    }
    expand_state_and_augments<kSelf>(ctx, entry, out);
}

/** Expands an entry of a read or a delete, as it stands now; results do not count. */
template <const RequestList& kSelf>
void expand_entry(zpf_map_ctx ctx, qidl_zpf_datatree& entry, const KeyScan& scan, qidl_zpf_datatree* out)
{
    if (!is_read(operation_of(ctx)) && zpf_map_is_request_delete(&entry) == 0) {
        return;
    }
    Children standing;
    take_children(entry, standing);
    zpf_map_request& request = *ctx->request;
    const uint32_t outer_mode = request.walk_mode;
    request.walk_mode = kExpanding;
    if (standing.count == 0) {
        expand_empty_entry<kSelf>(ctx, entry, out);
    } else if (scan.keys != 0 && !scan.has_others) {
        expand_keyed_entry<kSelf>(ctx, entry, out);
    }
    if (outer_mode != kExpanding) {
        request.walk_mode = 0;
    }
}

/** Adds the key to an entry of a read that names other nodes only, since replies always carry it. */
template <const RequestList& kSelf>
qerrno complete_key(zpf_map_ctx ctx, qidl_zpf_datatree& entry, const KeyScan& scan)
{
    // While a replace removes, the entry stands without its children and must not get others in their place.
    const bool is_removed = (ctx->request->walk_flags & ZPF_WALK_REPLACE_DELETE) != 0;
    if (!is_read(operation_of(ctx)) || is_expanding(ctx) || !scan.has_others || scan.keys != 0 || is_removed) {
        return ZPF_RC_OK;
    }
    qidl_zpf_datatree* key = nullptr;
    const qerrno result = zpf_map_datatree_add_path_flagged(
        ctx, &entry, kSelf.key_path, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR, nullptr, nullptr, &key, 0, 0);
    if (result == ZPF_RC_OK && key != nullptr) {
        mark_key(*key);
    }
    return result;
}

/** Walks the children of an entry, then what it stands for without naming it. */
template <const RequestList& kSelf>
qerrno walk_entry(zpf_map_ctx ctx, qidl_zpf_datatree& entry, Children children, qidl_zpf_datatree* out)
{
    KeyScan scan;
    for (qidl_zpf_datatree& child : children) {
        const qerrno result = walk_entry_child<kSelf>(ctx, child, out);
        if (result != ZPF_RC_OK) {
            return result;
        }
        if (is_key<kSelf>(child)) {
            ++scan.keys;
        } else {
            scan.has_others = true;
        }
    }
    expand_entry<kSelf>(ctx, entry, scan, out);
    return complete_key<kSelf>(ctx, entry, scan);
}

/** Walks one of the entries that the list callback has produced for a request that names none. */
template <const RequestList& kSelf>
qerrno walk_produced_entry(zpf_map_ctx ctx, const zpf_itree_record& record, uint32_t index, bool deletes,
                           qidl_zpf_datatree* out)
{
    qidl_zpf_datatree& entry = record.entries[index];
    qerrno result = ZPF_RC_OK;
    if (index != 0) { // the first one is in the hierarchy by the request's node
        zpf_map_add_to_node_hierarchy(ctx, &entry, kListEntryLevel);
        result = zpf_map_update_current_list_node(ctx, kSelf.list_path);
    }
    if (result == ZPF_RC_OK && record.handler != nullptr && deletes) {
        set_operation(entry, ZPF_OP_REMOVE);
        result = record.handler(ctx, &entry, out, 0);
    }
    Children children;
    if (result == ZPF_RC_OK && !take_children(entry, children)) {
        OCATT_ERROR(ctx, kSelf.function.name, "Failed to get subtrees!");
        result = ZPF_RC_BAD_TREE;
    }
    if (result == ZPF_RC_OK) {
        result = walk_entry<kSelf>(ctx, entry, children, out);
    }
    if (index != 0) {
        zpf_map_remove_from_node_hierarchy(ctx, &entry);
    }
    return result;
}

template <const RequestList& kSelf>
qerrno walk_produced_entries(zpf_map_ctx ctx, bool deletes, qidl_zpf_datatree* out)
{
    zpf_itree_record record{};
    qerrno result = zpf_map_util_itree_stack_peak(ctx, &record);
    for (uint32_t i = 0; i < record.count && result == ZPF_RC_OK; ++i) {
        result = walk_produced_entry<kSelf>(ctx, record, i, deletes, out);
    }
    return result;
}

/** Calls the list callback while deletes may carry children. */
template <const RequestList& kSelf>
qerrno call_for_delete(zpf_map_ctx ctx, const qidl_zpf_datatree& node, qidl_zpf_datatree* out, uint32_t allowance)
{
    ctx->request->subtree_delete_allowed = allowance;
    const qerrno result = kSelf.callback(ctx, &node, out);
    ctx->request->subtree_delete_allowed = 0;
    return result;
}

/** The list callback, once more ahead for the delete of a keyed entry. */
template <const RequestList& kSelf>
qerrno call_list(zpf_map_ctx ctx, const qidl_zpf_datatree& node, const KeyScan& scan, bool deletes, bool has_children,
                 qidl_zpf_datatree* out)
{
    if (deletes && !is_expanding(ctx) && scan.keys != 0 && !scan.has_others) {
        const qerrno result = call_for_delete<kSelf>(ctx, node, out, kDeleteKeyedEntry);
        if (result != ZPF_RC_OK && result != ZPF_RC_SKIP_INSTANCE) {
            return result;
        }
    }
    if (deletes && !has_children && is_expanding(ctx) && ctx->request->subtree_delete_allowed == 0) {
        return call_for_delete<kSelf>(ctx, node, out, kDeleteWholeList);
    }
    return kSelf.callback(ctx, &node, out);
}

/** One pass over the entry. A pass that begins with a failure leaves all as it is. */
template <const RequestList& kSelf>
qerrno walk_list_pass(zpf_map_ctx ctx, qidl_zpf_datatree& node, Children children, const KeyScan& scan,
                      qidl_zpf_datatree* out, qerrno result)
{
    if (result != ZPF_RC_OK) {
        return result;
    }
    const uint32_t depth = zpf_map_util_itree_stack_size(ctx);
    const bool deletes = zpf_map_is_request_delete(&node) != 0;
    result = call_list<kSelf>(ctx, node, scan, deletes, children.count != 0, out);
    const bool has_produced = zpf_map_util_itree_stack_size(ctx) > depth;
    if (result == ZPF_RC_OK) {
        note_list_operation(ctx, node);
        result = has_produced ? walk_produced_entries<kSelf>(ctx, deletes, out)
                              : walk_entry<kSelf>(ctx, node, children, out);
    } else if (result == ZPF_RC_SKIP_INSTANCE) {
        result = ZPF_RC_OK;
    }
    if (has_produced) {
        zpf_map_util_itree_stack_pop(ctx);
    }
    return result;
}

template <const RequestList& kSelf>
qerrno walk_list_passes(zpf_map_ctx ctx, qidl_zpf_datatree& node, Children children, const KeyScan& scan,
                        qidl_zpf_datatree* out, qerrno result)
{
    if (node.edit_op != ZPF_OP_REPLACE) {
        return walk_list_pass<kSelf>(ctx, node, children, scan, out, result);
    }
    zpf_map_request& request = *ctx->request;
    const DetachedChildren detached = begin_replace(request, node);
    result = walk_list_pass<kSelf>(ctx, node, children, scan, out, result);
    turn_replace(request, node, detached);
    result = walk_list_pass<kSelf>(ctx, node, children, scan, out, result);
    end_replace(request, node);
    return result;
}

/** Enters the entry, checks its keys and walks it. */
template <const RequestList& kSelf>
qerrno walk_entered_list(zpf_map_ctx ctx, qidl_zpf_datatree& node, Children children, qidl_zpf_datatree* out)
{
    KeyScan scan;
    qerrno result = zpf_map_update_current_list_node(ctx, kSelf.list_path);
    if (result == ZPF_RC_OK) {
        const qerrno scanned = scan_keys<kSelf>(ctx, node, children, scan);
        if (scanned != ZPF_RC_OK) {
            OCATT_ERROR(ctx, kSelf.function.name, "leafref value check fail");
            return scanned;
        }
        result = check_keys<kSelf>(ctx, children, scan);
    }
    return walk_list_passes<kSelf>(ctx, node, children, scan, out, result);
}

/** The list walker. */
template <const RequestList& kSelf>
qerrno walk_request_list(zpf_map_ctx ctx, const qidl_zpf_datatree* request_node, qidl_zpf_datatree* out)
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
    if (children.count == 0) {
        OCATT_ERROR(ctx, kSelf.function.name, "No keys specified with a list node.");
        if (!is_expanding(ctx) && ctx->request->subtree_delete_allowed == 0 && checks_keys(operation_of(ctx))) {
            OCATT_ERROR(ctx, kSelf.function.name, "No keys specified with a list node.");
            OCATT_TRACE(ctx, kSelf.function.name, "End");
            return ZPF_RC_BAD_TREE;
        }
    }
    enter_request_node(ctx, node, kListEntryLevel);
    const qerrno result = walk_entered_list<kSelf>(ctx, node, children, out);
    leave_request_node(ctx, node);
    OCATT_TRACE(ctx, kSelf.function.name, "End");
    return result;
}

} // namespace oc_attenuator

#endif

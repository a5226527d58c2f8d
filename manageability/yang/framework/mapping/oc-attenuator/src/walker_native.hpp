// SPDX-License-Identifier: Apache-2.0
//
// Walkers over native data: container, list, leaf, augment, and the way in to an augment.
//
// Native data is walked as it is: nothing is expanded, replaced, deleted or validated. What is not mapped is passed
// over, and an entry that a callback does not want is dropped without disturbing its siblings.
#ifndef OC_ATTENUATOR_WALKER_NATIVE_HPP
#define OC_ATTENUATOR_WALKER_NATIVE_HPP

#include "walker_common.hpp"

namespace oc_attenuator {

/** A native container. */
struct NativeContainer {
    Function function;
    const char* ns; /**< Children are recognised in this namespace. */
    ContainerCallback* callback;
    std::span<const Child> children;
    NodeCallback* augments;
};

/** A native list. */
struct NativeList {
    Function function;
    const char* ns;
    const char* list_path;
    std::span<const char* const> key_tags;
    NodeCallback* callback;
    std::span<const Child> children;
    NodeCallback* augments;
    qerrno skipped; /**< What the walker returns for an entry that its callback drops. */
};

/** A native leaf. */
struct NativeLeaf {
    Function function;
    NodeCallback* callback;
};

/** The way in to a module that augments another one: its top node below the augmented entry. */
struct NativeAugment {
    const char* ns;
    const char* tag;
    NodeCallback* walk;
    NodeCallback* augments;
};

/** Row target of a key that is marked with its entry and means nothing else. */
inline qerrno passes_over_key(zpf_map_ctx /*ctx*/, const qidl_zpf_datatree* /*key*/, qidl_zpf_datatree* /*out*/)
{
    return ZPF_RC_OK;
}

inline void enter_native_node(zpf_map_ctx ctx, qidl_zpf_datatree& node, uint32_t level)
{
    if (!is_expanding(ctx)) {
        enter_hierarchy(ctx, node, level);
    }
}

inline void leave_native_node(zpf_map_ctx ctx, const qidl_zpf_datatree& node)
{
    if (!is_expanding(ctx)) {
        zpf_map_remove_from_node_hierarchy(ctx, &node);
    }
}

/** Walks one child of a container or list entry by its row, its namespace, or not at all. */
template <const auto& kSelf>
qerrno walk_native_child(zpf_map_ctx ctx, const qidl_zpf_datatree& child, qidl_zpf_datatree* out)
{
    if (child.tag == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Tag name is not available!");
        return ZPF_RC_BAD_TREE;
    }
    OCATT_TRACE(ctx, kSelf.function.name, "Processing tag '%s'", child.tag);
    if (zpf_map_do_these_match(child.ns, kSelf.ns) == 0) {
        return kSelf.augments(ctx, &child, out);
    }
    if (const Child* row = recognise(kSelf.children, child.tag, is_get(operation_of(ctx)))) {
        return row->walk(ctx, &child, out);
    }
    OCATT_TRACE(ctx, kSelf.function.name, "Unsupported tag. Ignoring.");
    return ZPF_RC_OK;
}

/** Walks the children of a container; an entry that is dropped does not end the walk of its siblings. */
template <const NativeContainer& kSelf>
qerrno walk_native_children(zpf_map_ctx ctx, Children children, qidl_zpf_datatree* out)
{
    for (const qidl_zpf_datatree& child : children) {
        const qerrno result = walk_native_child<kSelf>(ctx, child, out);
        if (result != ZPF_RC_OK && result != ZPF_RC_SKIP_INSTANCE) {
            return result;
        }
    }
    return ZPF_RC_OK;
}

/** The container walker. */
template <const NativeContainer& kSelf>
qerrno walk_native_container(zpf_map_ctx ctx, const qidl_zpf_datatree* native_node, qidl_zpf_datatree* out)
{
    require_context(ctx, kSelf.function);
    OCATT_TRACE(ctx, kSelf.function.name, "Start");
    if (native_node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qidl_zpf_datatree& node = writable(native_node);
    Children children;
    if (!take_children(node, children)) {
        OCATT_ERROR(ctx, kSelf.function.name, "Failed to get subtrees!");
        OCATT_TRACE(ctx, kSelf.function.name, "End");
        return ZPF_RC_BAD_TREE;
    }
    enter_native_node(ctx, node, kContainerLevel);
    qerrno result = kSelf.callback(ctx, &node, children.count, out);
    if (result == ZPF_RC_SKIP_INSTANCE) {
        leave_native_node(ctx, node);
        return ZPF_RC_OK;
    }
    if (result == ZPF_RC_OK) {
        result = walk_native_children<kSelf>(ctx, children, out);
    }
    leave_native_node(ctx, node);
    OCATT_TRACE(ctx, kSelf.function.name, "End");
    return result;
}

template <const NativeList& kSelf>
void mark_native_keys(Children children)
{
    for (qidl_zpf_datatree& child : children) {
        for (const char* key_tag : kSelf.key_tags) {
            if (zpf_map_do_these_match(child.tag, key_tag) != 0) {
                mark_key(child);
            }
        }
    }
}

/** Calls the list callback and walks the entry's children between the brackets of its output entry. */
template <const NativeList& kSelf>
qerrno walk_native_entry(zpf_map_ctx ctx, qidl_zpf_datatree& entry, Children children, qidl_zpf_datatree* out,
                         bool& dropped)
{
    qerrno result = zpf_map_update_current_list_node(ctx, kSelf.list_path);
    if (result != ZPF_RC_OK) {
        return result;
    }
    mark_native_keys<kSelf>(children);
    result = kSelf.callback(ctx, &entry, out);
    dropped = result == ZPF_RC_SKIP_INSTANCE;
    if (dropped) {
        return kSelf.skipped;
    }
    zpf_add_to_output_list_ctx(ctx, &entry, out);
    if (result == ZPF_RC_OK) {
        note_list_operation(ctx, entry);
        for (const qidl_zpf_datatree* child = children.begin(); child != children.end() && result == ZPF_RC_OK;
             ++child) {
            result = walk_native_child<kSelf>(ctx, *child, out);
        }
    }
    zpf_remove_from_output_list_ctx(ctx, &entry, out);
    return result;
}

/** The list walker. */
template <const NativeList& kSelf>
qerrno walk_native_list(zpf_map_ctx ctx, const qidl_zpf_datatree* native_node, qidl_zpf_datatree* out)
{
    require_context(ctx, kSelf.function);
    OCATT_TRACE(ctx, kSelf.function.name, "Start");
    if (native_node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qidl_zpf_datatree& entry = writable(native_node);
    Children children;
    if (!take_children(entry, children)) {
        OCATT_ERROR(ctx, kSelf.function.name, "Failed to get subtrees!");
        OCATT_TRACE(ctx, kSelf.function.name, "End");
        return ZPF_RC_BAD_TREE;
    }
    if (children.count == 0) {
        OCATT_ERROR(ctx, kSelf.function.name, "No keys specified with a list node.");
    }
    enter_native_node(ctx, entry, kListEntryLevel);
    bool dropped = false;
    const qerrno result = walk_native_entry<kSelf>(ctx, entry, children, out, dropped);
    leave_native_node(ctx, entry);
    if (!dropped) {
        OCATT_TRACE(ctx, kSelf.function.name, "End");
    }
    return result;
}

/** The leaf walker. */
template <const NativeLeaf& kSelf>
qerrno walk_native_leaf(zpf_map_ctx ctx, const qidl_zpf_datatree* native_node, qidl_zpf_datatree* out)
{
    require_context(ctx, kSelf.function);
    OCATT_TRACE(ctx, kSelf.function.name, "Start");
    if (native_node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.function.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qidl_zpf_datatree& leaf = writable(native_node);
    if ((leaf.map_flags & ZPF_MAP_XPATH_ERROR) != 0) {
        OCATT_TRACE(ctx, kSelf.function.name, "got xpath error node ");
        if (ctx->request != nullptr) {
            ctx->request->xpath_error_seen = 1;
        }
    }
    const qerrno result = kSelf.callback(ctx, &leaf, out);
    mark_leaf_visited(ctx, leaf);
    OCATT_TRACE(ctx, kSelf.function.name, "End");
    return result;
}

/** The augment walker of a level without augments: foreign children are ignored. */
template <const Function& kSelf>
qerrno ignores_augments(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    OCATT_TRACE(ctx, kSelf.name, "End");
    return ZPF_RC_OK;
}

/** Hands the augment's node on by its tag. A node without tag is looked at further before it fails. */
template <const Function& kSelf, const NativeAugment& kAugment>
qerrno dispatch_augment(zpf_map_ctx ctx, const qidl_zpf_datatree& node, qidl_zpf_datatree* out)
{
    qerrno pending = ZPF_RC_OK;
    if (node.tag == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Tag name is not available!");
        pending = ZPF_RC_BAD_TREE;
    }
    OCATT_TRACE(ctx, kSelf.name, "Processing tag '%s'", text_or_null(node.tag));
    if (zpf_map_do_these_match(node.tag, kAugment.tag) != 0) {
        return kAugment.walk(ctx, &node, out);
    }
    if (zpf_map_do_these_match(node.ns, kAugment.ns) != 0) {
        OCATT_TRACE(ctx, kSelf.name, "Unsupported tag. Ignoring.");
        return pending;
    }
    const qerrno result = kAugment.augments(ctx, &node, out);
    return result != ZPF_RC_OK ? result : pending;
}

/** The augment entry, called for each child of the augmented entry that is in the augmenting module's namespace. */
template <const Function& kSelf, const NativeAugment& kAugment>
qerrno enters_augment(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    Children children;
    if (!take_children(*node, children)) {
        OCATT_ERROR(ctx, kSelf.name, "Failed to get subtrees!");
        OCATT_TRACE(ctx, kSelf.name, "End");
        return ZPF_RC_BAD_TREE;
    }
    const qerrno result = dispatch_augment<kSelf, kAugment>(ctx, *node, out);
    OCATT_TRACE(ctx, kSelf.name, "End");
    return result;
}

} // namespace oc_attenuator

#endif

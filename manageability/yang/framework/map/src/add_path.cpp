// SPDX-License-Identifier: Apache-2.0
//
// The operation that all output goes through: nodes of a schema path, created where they are missing.
// A list step goes through the list's open entry; what the last step does depends on what it ends at.
#include <cstring>

#include "context_priv.hpp"
#include "guarded.hpp"
#include "marks.hpp"
#include "node_array.hpp"
#include "output_lists.hpp"
#include "output_path.hpp"
#include "zpf/operations.h"

using namespace zpf;

namespace {

struct Add {
    zpf_map_ctx ctx;
    const Node& tree;
    const char* value;
    const Node* op_source;
    int32_t edit_op;
    bool decides; ///< this call decides the leaf; else it fills what is missing
};

Node& container_step(zpf_map_ctx ctx, Node& parent, const SchemaNode& step)
{
    Node* const found = find_child(parent, step.tag);
    return found ? *found : append_output_child(ctx, parent, step);
}

Node& list_step(zpf_map_ctx ctx, const Node& tree, Node& parent, const SchemaNode& step)
{
    const CurrentEntry* const current = current_entry(ctx, tree, step);
    // An entry of another parent is not on this path.
    if (current != nullptr && current->parent == &parent) {
        return *current->entry;
    }
    Node& entry = create_entry(ctx, step, parent, ZPF_OP_MERGE);
    make_current(ctx, tree, step, parent, entry);
    return entry;
}

/// An entry opened twice in a row, once by the list and once by its key, is one entry as long as nothing is in it.
Node& open_or_reuse(const Add& add, Node& parent, const SchemaNode& list)
{
    const CurrentEntry* const open = entry_to_reuse(add.ctx, add.tree, list);
    const bool reuse = open != nullptr && open->parent == &parent && children(*open->entry).empty() &&
                       open->entry->edit_op == add.edit_op;
    Node& entry = reuse ? *open->entry : create_entry(add.ctx, list, parent, add.edit_op);
    make_fresh(add.ctx, add.tree, list, parent, entry);
    return entry;
}

Node* find_entry(Node& parent, const SchemaNode& list, const char* key, const char* value)
{
    for (Node& entry : children(parent)) {
        const Node* leaf = has_tag(entry, list.tag) ? find_child(entry, key) : nullptr;
        if (leaf != nullptr && value_of(*leaf) == std::string_view{value}) {
            return &entry;
        }
    }
    return nullptr;
}

/// An edit's leaf remembers which node of the request it is for, so that a client can be told about its own element.
void note_origin(const Add& add, Node& leaf)
{
    if (add.op_source != nullptr && !is_read(add.ctx)) {
        leaf.fw_mark = make_mark(RemovalMark::none, request_number(add.ctx, add.op_source));
    }
}

Node& append_leaf(const Add& add, Node& parent, const SchemaNode& leaf, int32_t edit_op)
{
    Node& created = append_output_child(add.ctx, parent, leaf);
    created.edit_op = edit_op;
    note_origin(add, created);
    set_value(*priv_of(add.ctx).arena, created, add.value);
    return created;
}

/// Gives an entry a key. A key that has a value keeps it: another value means another entry, which `entry` then is.
Node* key_step(const Add& add, Node* above, Node*& entry, const SchemaNode& key)
{
    const SchemaNode& list = *key.parent;
    Node* leaf = find_child(*entry, key.tag);
    if (add.value == nullptr || *add.value == '\0') {
        if (leaf != nullptr) {
            return leaf;
        }
        return &append_output_child(add.ctx, *entry, key);
    }
    if (leaf != nullptr && has_text(*leaf) && std::strcmp(leaf->_data, add.value) != 0) {
        Node* const other = above && is_read(add.ctx) ? find_entry(*above, list, key.tag.c_str(), add.value) : nullptr;
        if (other != nullptr) {
            make_current(add.ctx, add.tree, list, *above, *other);
            entry = other;
            return find_child(*entry, key.tag);
        }
        if (above == nullptr) {
            return nullptr; // the tree itself is the entry: there is no place for another one
        }
        entry = &create_entry(add.ctx, list, *above, ZPF_OP_MERGE);
        make_current(add.ctx, add.tree, list, *above, *entry);
        leaf = nullptr;
    }
    if (leaf == nullptr) {
        leaf = &append_leaf(add, *entry, key, ZPF_OP_MERGE);
    } else if (!has_text(*leaf)) {
        set_value(*priv_of(add.ctx).arena, *leaf, add.value);
    } else {
        return leaf; // the same value again
    }
    if (above != nullptr) {
        entry = merge_equal_entries(add.ctx, list, *above, entry);
        leaf = find_child(*entry, key.tag);
    }
    return leaf;
}

Node& leaf_step(const Add& add, Node& parent, const SchemaNode& leaf)
{
    Node* const found = find_child(parent, leaf.tag);
    if (found == nullptr) {
        return append_leaf(add, parent, leaf, add.edit_op);
    }
    if (add.decides) {
        set_value(*priv_of(add.ctx).arena, *found, add.value);
        found->edit_op = add.edit_op;
        note_origin(add, *found);
    } else if (!value_of(*found) && add.value != nullptr) {
        set_value(*priv_of(add.ctx).arena, *found, add.value);
    }
    return *found;
}

Node& leaf_list_step(const Add& add, Node& parent, const SchemaNode& leaf)
{
    for (Node& item : children(parent)) {
        if (has_tag(item, leaf.tag) && add.value != nullptr && value_of(item) == std::string_view{add.value}) {
            item.edit_op = add.decides ? add.edit_op : item.edit_op;
            return item;
        }
    }
    return append_leaf(add, parent, leaf, add.edit_op);
}

/// What the last step leads to, or null when it cannot be had. `above` holds `parent` when that is a list entry.
Node* last_step(const Add& add, Node* above, Node*& parent, const SchemaNode& step, bool opens_entry)
{
    switch (step.kind) {
    case NodeKind::container:
        return &container_step(add.ctx, *parent, step);
    case NodeKind::list:
        return opens_entry ? &open_or_reuse(add, *parent, step) : &list_step(add.ctx, add.tree, *parent, step);
    case NodeKind::leaf_list:
        return &leaf_list_step(add, *parent, step);
    case NodeKind::leaf:
        break;
    }
    const bool is_key = step.parent != nullptr && step.parent->kind == NodeKind::list && step.parent->is_key(step.tag);
    return is_key ? key_step(add, above, parent, step) : &leaf_step(add, *parent, step);
}

/// Goes down to the parent of the last step; `above` receives the node that holds that parent.
Node& descend(zpf_map_ctx ctx, Node& tree, const OutputPath& path, Node*& above)
{
    Node* parent = &tree;
    above = nullptr;
    for (std::size_t i = path.first; i + 1 < path.count; ++i) {
        const SchemaNode& step = *path.steps[i];
        above = parent;
        // Lists of models that the host did not give are known by their open entries.
        const bool through_entry =
            step.kind == NodeKind::list || (!path.known && current_entry(ctx, tree, step) != nullptr);
        parent = through_entry ? &list_step(ctx, tree, *parent, step) : &container_step(ctx, *parent, step);
    }
    return *parent;
}

/// A list's key leaf; noted first when it is of a model that the host did not give. Null for one that cannot be.
const SchemaNode* key_of_list(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list, const char* list_path,
                              const char* key_leaf, const char* ns)
{
    if (const SchemaNode* key = list.find(key_leaf)) {
        return key;
    }
    OutputPath key;
    const std::string path = std::string{list_path} + "/" + key_leaf;
    return resolve(ctx, tree, path.c_str(), ns, LastStep::leaf, key) ? &key.last() : nullptr;
}

void publish(zpf_map_ctx ctx, Node& tree, Node& parent, Node* node)
{
    if (zpf_map_request* request = ctx->request) {
        request->root_node = &tree;
        request->parent_node = &parent;
        request->current_node = node;
    }
}

} // namespace

qerrno zpf_map_datatree_add_path_flagged(zpf_map_ctx ctx, qidl_zpf_datatree* tree, const char* path, const char* ns,
                                         const char* value, const qidl_zpf_datatree* op_source,
                                         qidl_zpf_datatree** created, uint32_t list_flag, uint32_t leaf_flag)
{
    const qerrno result = guarded(ctx, [&]() -> qerrno {
        OutputPath resolved;
        if (tree == nullptr || path == nullptr ||
            !resolve(ctx, *tree, path, ns, list_flag ? LastStep::list : LastStep::leaf, resolved)) {
            return fail(ctx, ZPF_RC_BAD_TREE);
        }
        const Add add{ctx, *tree, value, op_source, op_source ? op_source->edit_op : ZPF_OP_MERGE, leaf_flag != 0};
        Node* above = nullptr;
        Node* parent = &descend(ctx, *tree, resolved, above);
        Node* const node = last_step(add, above, parent, resolved.last(), list_flag != 0);
        if (node == nullptr) {
            return fail(ctx, ZPF_RC_BAD_TREE);
        }
        publish(ctx, *tree, *parent, node);
        if (created != nullptr) {
            *created = node;
        }
        return ZPF_RC_OK;
    });
    record(ctx, {.name = __func__,
                 .path = path,
                 .ns = ns,
                 .value = value,
                 .op_source = op_source,
                 .list_flag = list_flag,
                 .leaf_flag = leaf_flag,
                 .result = result});
    return result;
}

qerrno zpf_map_search_or_add_list(zpf_map_ctx ctx, qidl_zpf_datatree* tree, qidl_zpf_datatree** plist,
                                  const char* list_path, const char* key_value, const char* key_leaf, const char* ns)
{
    const qerrno result = guarded(ctx, [&]() -> qerrno {
        OutputPath resolved;
        if (tree == nullptr || list_path == nullptr || key_value == nullptr || key_leaf == nullptr ||
            !resolve(ctx, *tree, list_path, ns, LastStep::list, resolved) || resolved.last().kind != NodeKind::list) {
            return fail(ctx, ZPF_RC_BAD_TREE);
        }
        const SchemaNode* const key = key_of_list(ctx, *tree, resolved.last(), list_path, key_leaf, ns);
        if (key == nullptr) {
            return fail(ctx, ZPF_RC_BAD_TREE);
        }
        Node* above = nullptr;
        Node& parent = descend(ctx, *tree, resolved, above);
        const SchemaNode& list = resolved.last();
        Node* entry = find_entry(parent, list, key_leaf, key_value);
        if (entry == nullptr) {
            entry = &create_entry(ctx, list, parent, ZPF_OP_MERGE);
            append_leaf({ctx, *tree, key_value, nullptr, ZPF_OP_MERGE, false}, *entry, *key, ZPF_OP_MERGE);
        }
        make_fresh(ctx, *tree, list, parent, *entry);
        publish(ctx, *tree, parent, entry);
        if (plist != nullptr) {
            *plist = entry;
        }
        return ZPF_RC_OK;
    });
    record(ctx, {.name = __func__, .path = list_path, .ns = ns, .value = key_value, .key = key_leaf, .result = result});
    return result;
}

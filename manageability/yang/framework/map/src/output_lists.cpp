// SPDX-License-Identifier: Apache-2.0
//
// Open entries, brackets, and the merge of entries with equal keys.
#include "output_lists.hpp"

#include <algorithm>

#include "guarded.hpp"
#include "marks.hpp"
#include "node_array.hpp"
#include "output_path.hpp"
#include "zpf/operations.h"

namespace zpf {

namespace {

constexpr uint32_t kListLevel = 2;

bool same_value(const Node* a, const Node* b)
{
    return a != nullptr && b != nullptr && value_of(*a).has_value() && value_of(*a) == value_of(*b);
}

CurrentEntry* find_current(std::vector<CurrentEntry>& entries, const Node& tree, const SchemaNode& list)
{
    const auto found = std::find_if(entries.rbegin(), entries.rend(), [&](const CurrentEntry& current) {
        return current.list == &list && current.tree == &tree && current.entry != nullptr;
    });
    return found == entries.rend() ? nullptr : &*found;
}

/// Number of the request entry that is being walked, from 1; 0 outside of any.
uint32_t request_entry_number(zpf_map_ctx ctx)
{
    const zpf_map_request& request = *ctx->request;
    const Node* entry = nullptr;
    for (uint32_t i = request.node_data_count; entry == nullptr && i > 0; --i) {
        entry = request.node_data[i - 1].level == kListLevel ? request.node_data[i - 1].node : nullptr;
    }
    return request_number(ctx, entry);
}

/// A removal is meant as the request stands at this moment: later nobody can tell.
RemovalMark removal_meant(const zpf_map_request& request, int32_t edit_op)
{
    if (edit_op != ZPF_OP_DELETE && edit_op != ZPF_OP_REMOVE) {
        return RemovalMark::none;
    }
    if (request.walk_mode == 1) {
        return RemovalMark::all;
    }
    return (request.walk_flags & ZPF_WALK_REPLACE_DELETE) != 0 ? RemovalMark::repl : RemovalMark::own;
}

/// Gives `older` what `newer` has and it lacks.
void fill(zpf_map_ctx ctx, Node& older, const Node& newer, const SchemaNode& schema)
{
    for (const Node& source : children(newer)) {
        const SchemaNode* const below = schema.find(tag_of(source));
        const auto siblings = children(older);
        const auto same = std::find_if(siblings.begin(), siblings.end(), [&](const Node& node) {
            if (tag_of(node) != tag_of(source)) {
                return false;
            }
            return below == nullptr || below->kind != NodeKind::list || have_same_keys(node, source, *below);
        });
        if (same == siblings.end()) {
            const Appended appended = append_child(*priv_of(ctx).arena, older);
            repoint(ctx, appended.old_base, appended.moved, older.subtrees);
            *appended.child = source;
            repoint(ctx, &source, 1, appended.child);
            continue;
        }
        if (!value_of(*same) && value_of(source)) {
            same->_data = source._data;
            same->state_flags |= ZPF_STATE_VALUE;
        }
        repoint(ctx, &source, 1, &*same);
        if (below != nullptr) {
            fill(ctx, *same, source, *below);
        }
    }
}

} // namespace

CurrentEntry* current_entry(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    if (state == nullptr) {
        return nullptr;
    }
    CurrentEntry* const held = find_current(state->lists.held, tree, list);
    return held ? held : find_current(state->fresh, tree, list);
}

void make_fresh(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list, Node& parent, Node& entry)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    if (state == nullptr) {
        return;
    }
    std::erase_if(state->fresh,
                  [&](const CurrentEntry& current) { return current.list == &list && current.tree == &tree; });
    state->fresh.push_back({&tree, &list, &parent, &entry});
}

void make_current(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list, Node& parent, Node& entry)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    CurrentEntry* const held = state ? find_current(state->lists.held, tree, list) : nullptr;
    if (held == nullptr) {
        make_fresh(ctx, tree, list, parent, entry);
        return;
    }
    zpf_list_ctx& list_ctx = ctx->request->list_ctx_current;
    for (zpf_list_frames::Frame& frame : state->lists.frames) {
        frame.plist = frame.plist == held->entry ? &entry : frame.plist;
    }
    list_ctx.plist = list_ctx.plist == held->entry ? &entry : list_ctx.plist;
    held->parent = &parent;
    held->entry = &entry;
}

CurrentEntry* entry_to_reuse(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    CurrentEntry* const fresh = state ? find_current(state->fresh, tree, list) : nullptr;
    return fresh ? fresh : current_entry(ctx, tree, list);
}

Node& create_entry(zpf_map_ctx ctx, const SchemaNode& list, Node& parent, int32_t edit_op)
{
    Node& entry = append_output_child(ctx, parent, list);
    entry.edit_op = edit_op;
    if (ctx->request != nullptr && !is_read(ctx)) {
        entry.fw_mark = make_mark(removal_meant(*ctx->request, edit_op), request_entry_number(ctx));
    }
    return entry;
}

bool has_all_keys(const Node& entry, const SchemaNode& list)
{
    return std::all_of(list.keys.begin(), list.keys.end(), [&](const std::string& key) {
        const Node* leaf = find_child(entry, key);
        return leaf != nullptr && has_text(*leaf);
    });
}

bool have_same_keys(const Node& a, const Node& b, const SchemaNode& list)
{
    return !list.keys.empty() && std::all_of(list.keys.begin(), list.keys.end(), [&](const std::string& key) {
        return same_value(find_child(a, key), find_child(b, key));
    });
}

Node* merge_equal_entries(zpf_map_ctx ctx, const SchemaNode& list, Node& parent, Node* entry)
{
    if (!is_read(ctx) || !has_all_keys(*entry, list)) {
        return entry;
    }
    for (Node& other : children(parent)) {
        if (&other == entry || !has_tag(other, list.tag) || !have_same_keys(other, *entry, list)) {
            continue;
        }
        Node* const older = std::min(&other, entry);
        Node* const newer = std::max(&other, entry);
        fill(ctx, *older, *newer, list);
        remove_output_child(ctx, parent, newer, older);
        return older;
    }
    return entry;
}

} // namespace zpf

using namespace zpf;

qerrno zpf_map_update_current_list_node(zpf_map_ctx ctx, const char* list_path)
{
    const qerrno result = guarded(ctx, [&] {
        if (zpf_request_priv* state = request_priv_of(ctx)) {
            state->fresh.clear();
        }
        return find_list(ctx, list_path) ? ZPF_RC_OK : ZPF_RC_BAD_TREE;
    });
    record(ctx, {.name = __func__, .path = list_path, .result = result});
    return result;
}

void zpf_add_to_output_list_ctx(zpf_map_ctx ctx, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* tree)
{
    record(ctx, {.name = __func__, .node = list_node});
    guarded(ctx, [&] {
        zpf_request_priv* const state = request_priv_of(ctx);
        if (state == nullptr) {
            return ZPF_RC_OK;
        }
        zpf_list_frames& lists = state->lists;
        Node* const outer = lists.frames.empty() ? nullptr : lists.frames.back().plist;
        zpf_list_frames::Frame frame{lists.held.size(), outer};
        for (const CurrentEntry& current : state->fresh) {
            if (current.tree == tree) {
                lists.held.push_back(current);
                frame.plist = current.entry;
            }
        }
        state->fresh.clear();
        lists.frames.push_back(frame);
        ctx->request->list_ctx_current.plist = frame.plist;
        return ZPF_RC_OK;
    });
}

void zpf_remove_from_output_list_ctx(zpf_map_ctx ctx, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* tree)
{
    (void)tree;
    record(ctx, {.name = __func__, .node = list_node});
    guarded(ctx, [&] {
        zpf_request_priv* const state = request_priv_of(ctx);
        if (state == nullptr || state->lists.frames.empty()) {
            return ZPF_RC_OK;
        }
        zpf_list_frames& lists = state->lists;
        // Innermost first; dropping an entry moves its siblings, so each is looked at where it is now.
        while (lists.held.size() > lists.frames.back().first) {
            const CurrentEntry held = lists.held.back();
            lists.held.pop_back();
            if (held.entry != nullptr && !has_all_keys(*held.entry, *held.list)) {
                remove_output_child(ctx, *held.parent, held.entry, nullptr);
            }
        }
        lists.frames.pop_back();
        state->fresh.clear();
        ctx->request->list_ctx_current.plist = lists.frames.empty() ? nullptr : lists.frames.back().plist;
        return ZPF_RC_OK;
    });
}

// SPDX-License-Identifier: Apache-2.0
//
// Entries of output lists: which one is open, how one gets its keys, and when two become one.
#pragma once

#include "context_priv.hpp"

namespace zpf {

/// The open entry of a list of this tree: that of the innermost bracket that holds one, else the fresh one. Or null.
CurrentEntry* current_entry(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list);

/// Makes an entry the open one of its list until another list is made current; a bracket's entry has precedence.
void make_fresh(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list, Node& parent, Node& entry);

/// Makes an entry the open one of its list in the bracket that holds one, else fresh.
void make_current(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list, Node& parent, Node& entry);

/// The entry that opening another one of the list may turn out to be: the fresh one, else the open one. Or null.
CurrentEntry* entry_to_reuse(zpf_map_ctx ctx, const Node& tree, const SchemaNode& list);

/// Appends an entry with this operation and notes how a removal is meant.
Node& create_entry(zpf_map_ctx ctx, const SchemaNode& list, Node& parent, int32_t edit_op);

/// True when the entry has a value for each key of its list.
bool has_all_keys(const Node& entry, const SchemaNode& list);

/// True when both entries have the same value for each key of their list.
bool have_same_keys(const Node& a, const Node& b, const SchemaNode& list);

/// In a read, an entry that has got all keys of another one is one with it: the older of the two, which is filled with
/// what the younger has and it lacks. @return the entry that is left
Node* merge_equal_entries(zpf_map_ctx ctx, const SchemaNode& list, Node& parent, Node* entry);

} // namespace zpf

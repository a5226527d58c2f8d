/* SPDX-License-Identifier: Apache-2.0
 *
 * Framework operations that plug-ins call. Unless said otherwise a context must be given, strings are NUL-terminated
 * and copied where they are kept, and a node pointer that is returned is good until the next call that adds to its
 * tree. */
#ifndef ZPF_OPERATIONS_H
#define ZPF_OPERATIONS_H

#include <stddef.h>
#include <stdint.h>

#include "zpf/records.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* ---- node hierarchy --------------------------------------------------------------------------------------------- */

/** Appends the node to the hierarchy (`node_data`); level 1 for a container, 2 for a list entry. */
void zpf_map_add_to_node_hierarchy(zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t level);

/** Takes the node's topmost record away. */
void zpf_map_remove_from_node_hierarchy(zpf_map_ctx ctx, const qidl_zpf_datatree* node);

/* ---- output tree ------------------------------------------------------------------------------------------------ */

/**
 * Creates the missing nodes of an absolute schema path under the output tree.
 *
 * A list step goes through that list's current entry; see docs/mapping-authors.md for how entries become current.
 * A key leaf never loses or changes a value that its entry has: another value leads to another entry.
 *
 * @param tree      output tree; with a tag, the path's steps up to the last one of that tag are taken as done
 * @param path      absolute path; `prefix:` in front of a step is ignored
 * @param ns        namespace for nodes that the models given to the framework do not have
 * @param value     value of the last node, or null for a node without value
 * @param op_source node whose edit operation the last node takes, or null for merge; ignored for key leaves
 * @param created   receives the last node; may be null
 * @param list_flag 1 when the path ends at a list entry that is to be opened
 * @param leaf_flag 1: this call decides the leaf's value and operation; 0: it only fills what is missing
 * @return 0, or ZPF_RC_BAD_TREE for a path outside the models or when memory is short (kept in `sticky`, too)
 */
qerrno zpf_map_datatree_add_path_flagged(zpf_map_ctx ctx, qidl_zpf_datatree* tree, const char* path, const char* ns,
                                         const char* value, const qidl_zpf_datatree* op_source,
                                         qidl_zpf_datatree** created, uint32_t list_flag, uint32_t leaf_flag);

/** Finds the list entry with this key under the output tree, or creates it with its key leaf, and makes it `*plist`. */
qerrno zpf_map_search_or_add_list(zpf_map_ctx ctx, qidl_zpf_datatree* tree, qidl_zpf_datatree** plist,
                                  const char* list_path, const char* key_value, const char* key_leaf, const char* ns);

/**
 * The entry of the list that is being walked, and its key.
 * @return 0 when the innermost hierarchy record is an entry of that list, also when it has no key; else ZPF_RC_BAD_TREE
 *         with nulls in `out`
 */
qerrno zpf_map_get_node_info(zpf_map_ctx ctx, const char* list_path, const char* key_leaf, zpf_map_node_info* out);

/** Makes the list current and forgets the open output entries that no bracket holds. @return ZPF_RC_BAD_TREE for an
 * unknown list */
qerrno zpf_map_update_current_list_node(zpf_map_ctx ctx, const char* list_path);

/** Opens a bracket: the output entry opened last stays current until the bracket is closed. */
void zpf_add_to_output_list_ctx(zpf_map_ctx ctx, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* tree);

/** Closes the bracket; its output entry is dropped when it got no key. */
void zpf_remove_from_output_list_ctx(zpf_map_ctx ctx, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* tree);

/* ---- request classification ------------------------------------------------------------------------------------- */

/** Non-zero in an edit for a node with merge, replace or create. */
int zpf_map_is_request_add(zpf_map_ctx ctx, const qidl_zpf_datatree* node);

/** Non-zero for a node with delete or remove, whatever its ancestors carry. */
int zpf_map_is_request_delete(const qidl_zpf_datatree* node);

/** Non-zero when the two names are equal; false when either is null. */
int zpf_map_do_these_match(const char* a, const char* b);

/**
 * Compares a key leaf of an OpenConfig list entry with the leaf of the same name in its `container`.
 * @return 0 when they are equal or there is nothing to compare (container or leaf absent, without value, or deleted);
 *         else ZPF_RC_INVALID_VALUE, with the error tag set to the key's tag and the error path recorded
 */
qerrno zpf_map_check_oc_leafref(zpf_map_ctx ctx, const char* list_path, const char* container, const char* key_tag,
                                const qidl_zpf_datatree* entry);

/* ---- itree stack ------------------------------------------------------------------------------------------------ */

/** Pushes `count` list entries that stand for the node being walked; keeps the pointer, copies nothing. */
void zpf_map_util_itree_stack_push(zpf_map_ctx ctx, qidl_zpf_datatree* entries, uint32_t count,
                                   zpf_itree_handler handler);
void zpf_map_util_itree_stack_pop(zpf_map_ctx ctx);
/** Reads the top record. @return ZPF_RC_BAD_TREE with an empty record when the stack is empty */
qerrno zpf_map_util_itree_stack_peak(zpf_map_ctx ctx, zpf_itree_record* out);
uint32_t zpf_map_util_itree_stack_size(zpf_map_ctx ctx);

/* ---- errors and printing ---------------------------------------------------------------------------------------- */

/** Records the path of the node hierarchy as the error path of the reply; the last call wins. */
void zpf_oc_error_path(zpf_map_ctx ctx);

/** Prints a tree to the debug log when `print_enabled` is set; `node` may be null. */
void zpf_map_print_datatree_internal(zpf_map_ctx ctx, const qidl_zpf_datatree* node, const char* label);

/* ---- strings ---------------------------------------------------------------------------------------------------- */

/** Copy of `text` under an allocation name, released with named_free(). @return null for a null text or without memory
 */
char* zpf_strdup(const char* text, const char* allocation_name);

/** Releases a string of zpf_strdup(); null is allowed. */
void named_free(void* p);

/** Copies at most `size` - 1 characters and terminates; a null source is the empty text. `caller` names the function in
 * diagnostics. */
void zpf_strcpy_s(const char* caller, char* dst, size_t size, const char* src);

/** Appends so that `dst` stays within `size` bytes, terminator included; cuts what does not fit. */
void zpf_strcat_s(const char* caller, char* dst, size_t size, const char* src);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif

// SPDX-License-Identifier: Apache-2.0
//
// The record layout that this plug-in is compiled for. A host or framework with another one would be read at the wrong
// places without any other sign, so a change of the headers has to stop the build here.
#include "zpf/zpf.h"

#include <cstddef>

static_assert(sizeof(void*) == 8, "the layouts below are those of 64-bit machines");

static_assert(offsetof(qidl_zpf_datatree, tag) == 0);
static_assert(offsetof(qidl_zpf_datatree, _data) == 8);
static_assert(offsetof(qidl_zpf_datatree, ns) == 16);
static_assert(offsetof(qidl_zpf_datatree, edit_op) == 24);
static_assert(offsetof(qidl_zpf_datatree, subtrees) == 32);
static_assert(offsetof(qidl_zpf_datatree, subtree_count) == 40);
static_assert(offsetof(qidl_zpf_datatree, node_type) == 44);
static_assert(offsetof(qidl_zpf_datatree, map_flags) == 48);
static_assert(offsetof(qidl_zpf_datatree, key_handled) == 49);
static_assert(offsetof(qidl_zpf_datatree, state_flags) == 50);
static_assert(offsetof(qidl_zpf_datatree, state_flags2) == 51);
static_assert(offsetof(qidl_zpf_datatree, fw_mark) == 52);
static_assert(sizeof(qidl_zpf_datatree) == 56);

static_assert(offsetof(zpf_request_header, operation) == 0);
static_assert(offsetof(zpf_request_header, selection_flags) == 4);
static_assert(offsetof(zpf_request_header, content_kind) == 8);
static_assert(sizeof(zpf_request_header) == 12);

static_assert(offsetof(zpf_node_record, node) == 0);
static_assert(offsetof(zpf_node_record, level) == 8);
static_assert(sizeof(zpf_node_record) == 16);

static_assert(offsetof(zpf_list_ctx, plist) == 0);
static_assert(sizeof(zpf_list_ctx) == 16);

static_assert(offsetof(zpf_map_request, header) == 0);
static_assert(offsetof(zpf_map_request, reg_dup_datatree) == 8);
static_assert(offsetof(zpf_map_request, root_node) == 16);
static_assert(offsetof(zpf_map_request, parent_node) == 24);
static_assert(offsetof(zpf_map_request, current_node) == 32);
static_assert(offsetof(zpf_map_request, error_tag) == 40);
static_assert(offsetof(zpf_map_request, walk_flags) == 48);
static_assert(offsetof(zpf_map_request, list_ctx_current) == 56);
static_assert(offsetof(zpf_map_request, node_data) == 72);
static_assert(offsetof(zpf_map_request, node_data_count) == 80);
static_assert(offsetof(zpf_map_request, subtree_delete_allowed) == 84);
static_assert(offsetof(zpf_map_request, walk_mode) == 88);
static_assert(offsetof(zpf_map_request, list_state) == 92);
static_assert(offsetof(zpf_map_request, error_message) == 96);
static_assert(offsetof(zpf_map_request, list_entry_mapped) == 104);
static_assert(offsetof(zpf_map_request, xpath_error_seen) == 108);
static_assert(offsetof(zpf_map_request, sticky) == 112);
static_assert(offsetof(zpf_map_request, priv) == 120);
static_assert(sizeof(zpf_map_request) == 128);

static_assert(offsetof(zpf_map_context, request) == 0);
static_assert(offsetof(zpf_map_context, log_filter) == 8);
static_assert(offsetof(zpf_map_context, err_log) == 16);
static_assert(offsetof(zpf_map_context, trc_log) == 24);
static_assert(offsetof(zpf_map_context, trace_buf) == 32);
static_assert(offsetof(zpf_map_context, trace_enabled) == 40);
static_assert(offsetof(zpf_map_context, print_enabled) == 44);
static_assert(offsetof(zpf_map_context, list_edit_op) == 48);
static_assert(offsetof(zpf_map_context, priv) == 56);
static_assert(sizeof(zpf_map_context) == 64);

static_assert(offsetof(zpf_itree_record, entries) == 0);
static_assert(offsetof(zpf_itree_record, count) == 8);
static_assert(offsetof(zpf_itree_record, handler) == 16);
static_assert(sizeof(zpf_itree_record) == 24);

static_assert(offsetof(zpf_map_node_info, entry) == 0);
static_assert(offsetof(zpf_map_node_info, key_value) == 8);
static_assert(sizeof(zpf_map_node_info) == 16);

// SPDX-License-Identifier: Apache-2.0
//
// Questions that the mapping asks the request, and the two ways in which it answers with a refusal.
//
// A context may come without a request or a header: the questions then answer as for an edit of no validated kind with
// empty trees, so that nothing is mapped by accident.
#ifndef OC_ATTENUATOR_REQUEST_HPP
#define OC_ATTENUATOR_REQUEST_HPP

#include "zpf/zpf.h"

#include <cstdint>

namespace oc_attenuator {

constexpr uint32_t kNoOperation = 0xFFFFFFFFu;
constexpr uint32_t kStateOnly = 2; // zpf_request_header.content_kind

inline const zpf_request_header* header_of(zpf_map_ctx ctx)
{
    return ctx->request != nullptr ? ctx->request->header : nullptr;
}

inline uint32_t operation_of(zpf_map_ctx ctx)
{
    const zpf_request_header* header = header_of(ctx);
    return header != nullptr ? header->operation : kNoOperation;
}

constexpr bool is_get(uint32_t operation)
{
    return operation == ZPF_REQUEST_GET;
}

constexpr bool is_read(uint32_t operation)
{
    return operation == ZPF_REQUEST_GET_CONFIG || operation == ZPF_REQUEST_GET;
}

/** Whether list keys are validated in requests of this kind. */
constexpr bool checks_keys(uint32_t operation)
{
    return operation < 16 && (ZPF_KEY_CHECKED_KINDS >> operation & 1u) != 0;
}

/** False when the client has limited its request to state: replies then leave configuration leaves out. */
inline bool wants_config_leaves(zpf_map_ctx ctx)
{
    const zpf_request_header* header = header_of(ctx);
    return header == nullptr || header->selection_flags == 0 || header->content_kind != kStateOnly;
}

/** The untouched copy of the request, or null. */
inline const qidl_zpf_datatree* requested_tree(zpf_map_ctx ctx)
{
    return ctx->request != nullptr ? ctx->request->reg_dup_datatree : nullptr;
}

/** The output entry of the list instance being mapped, or null. */
inline const qidl_zpf_datatree* current_output_entry(zpf_map_ctx ctx)
{
    return ctx->request != nullptr ? ctx->request->list_ctx_current.plist : nullptr;
}

inline uint32_t hierarchy_depth(zpf_map_ctx ctx)
{
    return ctx->request != nullptr ? ctx->request->node_data_count : 0;
}

/** Node of the hierarchy, 0 outermost; null below its end. */
inline const qidl_zpf_datatree* hierarchy_node(zpf_map_ctx ctx, uint32_t level)
{
    return level < hierarchy_depth(ctx) ? ctx->request->node_data[level].node : nullptr;
}

/** Replaces the name of the element in error; an earlier one is released. */
inline void set_error_tag(zpf_map_ctx ctx, const char* tag, const char* allocation_name)
{
    zpf_map_request* request = ctx->request;
    if (request == nullptr) {
        return;
    }
    if (request->error_tag != nullptr) {
        named_free(request->error_tag);
        request->error_tag = nullptr;
    }
    request->error_tag = zpf_strdup(tag, allocation_name);
}

constexpr const char* kMessageAllocation = "ZPF MAP";

/** Refuses an element of the request: its tag, then the error path. @return `code` */
inline qerrno refuse(zpf_map_ctx ctx, const char* tag, qerrno code)
{
    set_error_tag(ctx, tag, kMessageAllocation);
    zpf_oc_error_path(ctx);
    return code;
}

/** Refuses a key or value from a client: tag, message, then the error path. @return ZPF_RC_INVALID_VALUE */
inline qerrno refuse_value(zpf_map_ctx ctx, const char* tag, const char* message)
{
    set_error_tag(ctx, tag, "ocatt-tag");
    if (ctx->request != nullptr) {
        ctx->request->error_message = zpf_strdup(message, kMessageAllocation);
    }
    zpf_oc_error_path(ctx);
    return ZPF_RC_INVALID_VALUE;
}

/** Answer to a missing node or output tree, after the error line. @return ZPF_RC_INVALID_ARGS */
inline qerrno refuse_arguments(zpf_map_ctx ctx)
{
    zpf_oc_error_path(ctx);
    return ZPF_RC_INVALID_ARGS;
}

} // namespace oc_attenuator

#endif

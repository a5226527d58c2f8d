// SPDX-License-Identifier: Apache-2.0
//
// Nodes and errors.
#include "lamps_common.hpp"

namespace acme {

bool is(const Node& node, const char* tag)
{
    return zpf_map_do_these_match(node.tag, tag) != 0;
}

const char* value_of(const Node* node)
{
    return node != nullptr && (node->state_flags & ZPF_STATE_VALUE) != 0 ? node->_data : nullptr;
}

Children children(const Node& node)
{
    if ((node.state_flags & ZPF_STATE_SUBTREES) == 0) {
        return {nullptr, nullptr};
    }
    return {node.subtrees, node.subtrees + node.subtree_count};
}

const Node* child(const Node& node, const char* tag)
{
    for (const Node& candidate : children(node)) {
        if (is(candidate, tag)) {
            return &candidate;
        }
    }
    return nullptr;
}

qerrno refuse(zpf_map_ctx ctx, qerrno code, const char* tag, const char* message)
{
    named_free(ctx->request->error_tag);
    ctx->request->error_tag = zpf_strdup(tag, "acme");
    if (message != nullptr) {
        named_free(ctx->request->error_message);
        ctx->request->error_message = zpf_strdup(message, "acme");
    }
    zpf_oc_error_path(ctx);
    return code;
}

} // namespace acme

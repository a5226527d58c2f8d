// SPDX-License-Identifier: Apache-2.0
//
// Small questions that walkers ask about a node of the request.
#include <cstring>

#include "context_priv.hpp"
#include "zpf/operations.h"

using namespace zpf;

int zpf_map_is_request_add(zpf_map_ctx ctx, const qidl_zpf_datatree* node)
{
    const bool adds =
        !is_read(ctx) && node != nullptr && node->edit_op >= ZPF_OP_MERGE && node->edit_op <= ZPF_OP_CREATE;
    record(ctx, {.name = __func__, .node = node, .result = adds});
    return adds;
}

int zpf_map_is_request_delete(const qidl_zpf_datatree* node)
{
    return node != nullptr && (node->edit_op == ZPF_OP_DELETE || node->edit_op == ZPF_OP_REMOVE);
}

int zpf_map_do_these_match(const char* a, const char* b)
{
    // Walkers ask for each child and each name it may have: most pairs differ in the first character.
    return a != nullptr && b != nullptr && *a == *b && std::strcmp(a, b) == 0;
}

qerrno zpf_map_check_oc_leafref(zpf_map_ctx ctx, const char* list_path, const char* container, const char* key_tag,
                                const qidl_zpf_datatree* entry)
{
    // Natively nothing stores the copy of the key in the container, so its absence is no error.
    const auto differs = [&] {
        const Node* key = find_child(*entry, key_tag);
        const Node* holder = find_child(*entry, container);
        const Node* copy = holder ? find_child(*holder, key_tag) : nullptr;
        if (key == nullptr || copy == nullptr || zpf_map_is_request_delete(holder) || zpf_map_is_request_delete(copy)) {
            return false;
        }
        const auto value = value_of(*copy);
        return value && value_of(*key) != value;
    };
    const qerrno result = differs() ? ZPF_RC_INVALID_VALUE : ZPF_RC_OK;
    record(ctx, {.name = __func__, .node = entry, .path = list_path, .key = container, .result = result});
    if (result != ZPF_RC_OK) {
        if (ctx->request != nullptr) {
            named_free(ctx->request->error_tag);
            ctx->request->error_tag = zpf_strdup(key_tag, "ZPF MAP");
        }
        zpf_oc_error_path(ctx);
    }
    return result;
}

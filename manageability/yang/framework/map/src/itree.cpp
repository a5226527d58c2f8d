// SPDX-License-Identifier: Apache-2.0
//
// The itree stack: list entries that stand for the request node being walked.
#include "context_priv.hpp"
#include "guarded.hpp"
#include "zpf/operations.h"

using namespace zpf;

void zpf_map_util_itree_stack_push(zpf_map_ctx ctx, qidl_zpf_datatree* entries, uint32_t count,
                                   zpf_itree_handler handler)
{
    record(ctx, {.name = __func__, .node = entries, .number = count});
    guarded(ctx, [&] {
        if (zpf_request_priv* state = request_priv_of(ctx)) {
            state->itree.push_back({entries, count, handler});
        }
        return ZPF_RC_OK;
    });
}

void zpf_map_util_itree_stack_pop(zpf_map_ctx ctx)
{
    record(ctx, {.name = __func__});
    zpf_request_priv* const state = request_priv_of(ctx);
    if (state != nullptr && !state->itree.empty()) {
        state->itree.pop_back();
    }
}

qerrno zpf_map_util_itree_stack_peak(zpf_map_ctx ctx, zpf_itree_record* out)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    const bool found = state != nullptr && !state->itree.empty();
    *out = found ? state->itree.back() : zpf_itree_record{};
    const qerrno result = found ? ZPF_RC_OK : ZPF_RC_BAD_TREE;
    record(ctx, {.name = __func__, .node = out->entries, .number = out->count, .result = result});
    return result;
}

uint32_t zpf_map_util_itree_stack_size(zpf_map_ctx ctx)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    const auto size = static_cast<uint32_t>(state ? state->itree.size() : 0);
    record(ctx, {.name = __func__, .result = size});
    return size;
}

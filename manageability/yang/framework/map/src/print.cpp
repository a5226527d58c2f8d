// SPDX-License-Identifier: Apache-2.0
//
// Printing of trees to the debug log, one line a node, when the plug-in asked for it and the filter admits it.
#include <string>

#include "context_priv.hpp"
#include "guarded.hpp"
#include "zpf/diagnostics.h"
#include "zpf/operations.h"

using namespace zpf;

namespace {

void emit(zpf_map_ctx ctx, const char* label, const std::string& text)
{
    static uint32_t slot = 0xFFFFFFFFu;
    log_filter_emit(ctx->trc_log, 0, 0, 0, 0, 0, &slot, "TRC: ZPF: ctx=%p,%s: %s", static_cast<void*>(ctx), label,
                    text.c_str());
}

} // namespace

void zpf_map_print_datatree_internal(zpf_map_ctx ctx, const qidl_zpf_datatree* node, const char* label)
{
    record(ctx, {.name = __func__, .node = node, .value = label});
    if (ctx->print_enabled == 0 || zpf_debug_should_log(&ctx->log_filter, ZPF_LEVEL_TRACE) == 0) {
        return;
    }
    guarded(ctx, [&] {
        const std::string text = node ? to_text(*node, 0, true) : "(none)\n";
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = text.find('\n', start);
            emit(ctx, label, text.substr(start, end - start));
            start = end + 1;
        }
        return ZPF_RC_OK;
    });
}

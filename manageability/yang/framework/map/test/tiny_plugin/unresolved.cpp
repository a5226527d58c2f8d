// SPDX-License-Identifier: Apache-2.0
//
// A plug-in that needs a function which no process has.
#include "zpf/zpf.h"

extern "C" {
qerrno acme_function_of_nobody(zpf_map_ctx ctx);

__attribute__((visibility("default"))) qerrno
ymap_ox_acmelamps_acmelamp_lvla_lamps(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return node != nullptr && out != nullptr ? acme_function_of_nobody(ctx) : ZPF_RC_INVALID_ARGS;
}
}

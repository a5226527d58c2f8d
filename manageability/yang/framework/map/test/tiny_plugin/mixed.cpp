// SPDX-License-Identifier: Apache-2.0
//
// Symbols of two plug-ins in one library.
#include "zpf/zpf.h"

extern "C" {
__attribute__((visibility("default"))) qerrno
ymap_ox_acmelamps_acmelamp_lvla_lamps(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*)
{
    return ZPF_RC_OK;
}

__attribute__((visibility("default"))) qerrno
ymap_xo_acmetorches_acmenative_lvla_cells(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*)
{
    return ZPF_RC_OK;
}
}

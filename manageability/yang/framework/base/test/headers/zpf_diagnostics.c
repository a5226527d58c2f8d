/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf/diagnostics.h alone, as C and as C++. */
#include "zpf/diagnostics.h"

int check_zpf_diagnostics(void);
int check_zpf_diagnostics(void)
{
    zpf_log_filter filter = {1u << ZPF_LEVEL_TRACE, 0};
    return zpf_debug_should_log(&filter, ZPF_LEVEL_TRACE) && !zpf_debug_should_log(&filter, ZPF_LEVEL_ERROR);
}

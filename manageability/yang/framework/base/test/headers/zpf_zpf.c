/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf/zpf.h alone, as C and as C++. */
#include "zpf/zpf.h"

int check_zpf_zpf(void);
int check_zpf_zpf(void)
{
    return ret_nc_zpf_trace_index_incr() + 1 == ret_nc_zpf_trace_index_incr();
}

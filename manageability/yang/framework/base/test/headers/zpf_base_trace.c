/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf_base/trace.h alone, as C and as C++. */
#include "zpf_base/trace.h"

int check_zpf_base_trace(void);
int check_zpf_base_trace(void)
{
    char why[8] = "none";
    zpf_trace_reader* reader = zpf_trace_reader_open("/no/such/file", why, sizeof why);
    zpf_trace_reader_close(reader);
    return !reader && why[0] == '/';
}

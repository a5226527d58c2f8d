/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf_base/log.h alone, as C and as C++. */
#include "zpf_base/log.h"

int check_zpf_base_log(void);
int check_zpf_base_log(void)
{
    uint32_t levels = 1;
    return zpf_log_filter_set(&levels, "off") == 0 && levels == 0;
}

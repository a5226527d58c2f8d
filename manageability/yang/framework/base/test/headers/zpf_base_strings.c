/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf_base/strings.h alone, as C and as C++. */
#include "zpf_base/strings.h"

int check_zpf_base_strings(void);
int check_zpf_base_strings(void)
{
    zpf_string_counts counts;
    zpf_strings_count(&counts);
    return counts.live == counts.allocated - counts.freed;
}

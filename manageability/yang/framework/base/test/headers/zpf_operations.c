/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf/operations.h alone, as C and as C++. */
#include "zpf/operations.h"

int check_zpf_operations(void);
int check_zpf_operations(void)
{
    char text[4];
    char* copy = zpf_strdup("ots", "ZPF MAP");
    zpf_strcpy_s("check", text, sizeof text, "voa-0");
    named_free(copy);
    return text[2] == 'a' && text[3] == 0;
}

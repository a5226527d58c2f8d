/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf/codes.h alone, as C and as C++. */
#include "zpf/codes.h"

int check_zpf_codes(void);
int check_zpf_codes(void)
{
    const qerrno code = ZPF_RC_SKIP_INSTANCE;
    return code == 0xAAF2F600u;
}

/* SPDX-License-Identifier: Apache-2.0
 *
 * kelda/kelda.h alone, as C and as C++. */
#include "kelda/kelda.h"

int check_kelda_kelda(void);
int check_kelda_kelda(void)
{
    return qerr_strerror(KELDA_RC_NO_STORE)[0] != 0;
}

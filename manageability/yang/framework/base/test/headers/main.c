/* SPDX-License-Identifier: Apache-2.0
 *
 * Calls every public header's check; the status is the number of those that failed. */
#include <stdio.h>

int check_zpf_codes(void);
int check_zpf_records(void);
int check_zpf_diagnostics(void);
int check_zpf_operations(void);
int check_zpf_zpf(void);
int check_kelda_kelda(void);
int check_zpf_base_log(void);
int check_zpf_base_trace(void);
int check_zpf_base_strings(void);

static int failed(const char* name, int passed)
{
    if (!passed) {
        printf("%s failed\n", name);
    }
    return !passed;
}

int main(void)
{
    return failed("zpf/codes.h", check_zpf_codes()) + failed("zpf/records.h", check_zpf_records()) +
           failed("zpf/diagnostics.h", check_zpf_diagnostics()) + failed("zpf/operations.h", check_zpf_operations()) +
           failed("zpf/zpf.h", check_zpf_zpf()) + failed("kelda/kelda.h", check_kelda_kelda()) +
           failed("zpf_base/log.h", check_zpf_base_log()) + failed("zpf_base/trace.h", check_zpf_base_trace()) +
           failed("zpf_base/strings.h", check_zpf_base_strings());
}

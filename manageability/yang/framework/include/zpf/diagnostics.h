/* SPDX-License-Identifier: Apache-2.0
 *
 * What plug-ins call to report: the filtered debug log and the numbered trace ring.
 * A report goes to both: to the log when the filter admits its level, to the ring when the context traces. */
#ifndef ZPF_DIAGNOSTICS_H
#define ZPF_DIAGNOSTICS_H

#include <stdint.h>

#include "zpf/records.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define ZPF_LEVEL_ERROR 0
#define ZPF_LEVEL_TRACE 3

/** Flag word that every plug-in passes to trace_ring_write(). */
#define ZPF_TRACE_FLAGS UINT64_C(0x10101000000)

/** Size of the buffer a trace line is formatted in, terminator included. */
#define ZPF_TRACE_LINE_BYTES 250

/** Non-zero when the filter admits lines of this level. */
int zpf_debug_should_log(const zpf_log_filter* filter, int level);

/**
 * Writes one line to a debug log.
 *
 * @param log  handle from zpf_log_open(), or null for standard error
 * @param slot the call site's own word, 0xFFFFFFFF before its first line; the log keeps the site's number in it
 * @param fmt  format of the whole line, without line end; the five words before the slot are reserved and zero
 */
void log_filter_emit(void* log, unsigned long, unsigned long, unsigned long, unsigned long, unsigned long,
                     uint32_t* slot, const char* fmt, ...) __attribute__((format(printf, 8, 9)));

/** Next number of a trace line; one sequence for the whole process, safe from any thread. */
uint32_t ret_nc_zpf_trace_index_incr(void);

/** Writes one formatted line to a trace ring. Takes no lock and never waits; does nothing when `trace_buf` is null. */
void trace_ring_write(void* trace_buf, uint64_t flags, const char* line);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif

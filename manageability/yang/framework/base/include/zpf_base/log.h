/* SPDX-License-Identifier: Apache-2.0
 *
 * The debug log as its owner sees it: where lines go. Which lines go there is the filter's business, one per context.
 */
#ifndef ZPF_BASE_LOG_H
#define ZPF_BASE_LOG_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** A destination of log lines; any thread may write to it, lines are never mixed. */
typedef struct zpf_log zpf_log;

/** Receives one line, without line end; called under the log's own lock, so it must not log. */
typedef void (*zpf_log_sink)(void* arg, const char* line);

/**
 * Opens a log that appends to a file.
 * @param path file, created if missing; null is standard error
 * @param why  receives the reason of a failure, file name included
 * @return null on failure; else released with zpf_log_close()
 */
zpf_log* zpf_log_open(const char* path, char* why, size_t why_size);

/** A log that hands its lines to a function, for hosts with a log of their own and for tests. Null without memory. */
zpf_log* zpf_log_to_sink(zpf_log_sink sink, void* arg);

/** Closes the log; null is allowed. */
void zpf_log_close(zpf_log* log);

/** Lines that could not be written whole since the log was opened; null asks about standard error. */
uint64_t zpf_log_failed_lines(const zpf_log* log);

/** Sets the levels that a filter admits: "off" none, "error" errors, "trace" errors and traces.
 * @return 0, or -1 with the levels unchanged for any other word */
int zpf_log_filter_set(uint32_t* levels, const char* word);

/** How many call sites of this process have logged so far; numbers kept in slots are 0 up to this count. */
uint32_t zpf_log_site_count(void);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif

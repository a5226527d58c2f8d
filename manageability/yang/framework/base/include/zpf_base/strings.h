/* SPDX-License-Identifier: Apache-2.0
 *
 * The books on named strings: what zpf_strdup() has given out and named_free() has taken back, process-wide. A host
 * that finds more strings alive after a request than before it can ask for their names. */
#ifndef ZPF_BASE_STRINGS_H
#define ZPF_BASE_STRINGS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** Strings given out and taken back since the process started. */
typedef struct zpf_string_counts {
    uint64_t live;      /**< Strings not yet released. */
    uint64_t allocated; /**< Strings ever given out. */
    uint64_t freed;     /**< Strings ever released. */
} zpf_string_counts;

/** Receives one live string; called under the lock of the books, so it must neither allocate nor release any. */
typedef void (*zpf_string_visitor)(void* arg, const char* allocation_name, const char* text);

/** Reads the counts; they belong to one moment, also while other threads allocate. */
void zpf_strings_count(zpf_string_counts* counts);

/** Shows every live string to the visitor, youngest first. */
void zpf_strings_visit(zpf_string_visitor visitor, void* arg);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif

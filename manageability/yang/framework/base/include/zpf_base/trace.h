/* SPDX-License-Identifier: Apache-2.0
 *
 * The trace ring: the last lines of all writers in a file mapped into memory. Writers never lock or wait; a reader in
 * another process sees lines while the program runs and after it has died, since the page cache keeps the file. */
#ifndef ZPF_BASE_TRACE_H
#define ZPF_BASE_TRACE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** A writer's handle; goes into `zpf_map_context.trace_buf`. */
typedef struct zpf_trace_ring zpf_trace_ring;

/** A reader's handle. */
typedef struct zpf_trace_reader zpf_trace_reader;

#define ZPF_TRACE_DEFAULT_SLOTS 8192u

/** Receives each line as it is written, on the writer's thread. */
typedef void (*zpf_trace_observer)(void* arg, const char* line);

/** One line as a reader gets it. */
typedef struct zpf_trace_line {
    uint64_t sequence; /**< Position in the ring's history, from 0. */
    uint64_t time_ns;  /**< When it was written, nanoseconds since the epoch (CLOCK_REALTIME). */
    uint64_t flags;    /**< The writer's flag word. */
    uint32_t pid;      /**< The process that wrote it. */
    char text[250];    /**< The line, terminated. */
} zpf_trace_line;

/**
 * Opens a ring for writing.
 * @param path  file, created if missing, continued if it is a ring of the same shape; null keeps the ring in memory
 * @param slots lines the ring holds, rounded up to a power of two; 0 stands for ZPF_TRACE_DEFAULT_SLOTS
 * @param why   receives the reason of a failure, file name included
 * @return null on failure (a file that is no ring is refused, never overwritten); else released with
 * zpf_trace_ring_close()
 */
zpf_trace_ring* zpf_trace_ring_open(const char* path, uint32_t slots, char* why, size_t why_size);

/** Unmaps the ring; null is allowed. */
void zpf_trace_ring_close(zpf_trace_ring* ring);

/** Hands each line written through this handle to `observer`, too; null takes the observer away. Not while others
 * write. */
void zpf_trace_ring_observe(zpf_trace_ring* ring, zpf_trace_observer observer, void* arg);

/** Opens a ring for reading. @return null on failure with the reason in `why` */
zpf_trace_reader* zpf_trace_reader_open(const char* path, char* why, size_t why_size);

/**
 * Next line, oldest first; lines that are no longer there or were never finished are skipped.
 * @param lost receives how many were skipped before this line; may be null; untouched when there is no line
 * @return 1 with a line, 0 when there is none at present
 */
int zpf_trace_reader_next(zpf_trace_reader* reader, zpf_trace_line* line, uint64_t* lost);

/**
 * A line may be there in part only: its writer is at work, or was killed. Such a line is waited for during this many
 * calls of zpf_trace_reader_next() that answer 0, then skipped once finished lines stand behind it. Without patience
 * (0, as opened) it is skipped at once, which suits a reader that takes what is there and ends.
 */
void zpf_trace_reader_set_patience(zpf_trace_reader* reader, uint32_t calls);

/** Goes to where at most the `count` newest lines are still to be read. */
void zpf_trace_reader_seek_last(zpf_trace_reader* reader, uint64_t count);

/** How many lines were ever written; every line that is there now has a sequence number below it. */
uint64_t zpf_trace_reader_position(const zpf_trace_reader* reader);

/** Closes the reader; null is allowed. */
void zpf_trace_reader_close(zpf_trace_reader* reader);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif

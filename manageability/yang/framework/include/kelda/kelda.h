/* SPDX-License-Identifier: Apache-2.0
 *
 * The data store as a plug-in sees it. A device may lack the store: plug-ins refer to these functions weakly and probe
 * for the library file before they call any of them. */
#ifndef KELDA_KELDA_H
#define KELDA_KELDA_H

#include <stdint.h>

#include "zpf/codes.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** Where the store's library stands on a device that has one. */
#define KELDA_LIBRARY_FILE "/pkg/lib/libkelda.so"

/** Result code of a process that found no store. */
#define KELDA_RC_NO_STORE 0x8081C200u

/** Binds to a branch of the store. @param flags 0 @return 0 with `*handle` to be released by _kelda_unbind(), or a code
 */
qerrno _kelda_bind(void** handle, const char* path, uint32_t flags);

/** Releases a handle. */
qerrno _kelda_unbind(void* handle);

/**
 * Lists the objects under a path.
 * @param pattern empty for every object
 * @param count   receives how many there are; untouched on failure
 * @param iter    receives the iterator, released by kelda_list_free(); untouched on failure
 */
qerrno kelda_list(void* handle, const char* pattern, const char* path, int32_t* count, void** iter, uint32_t flags);

/** Next object. @param name its name, null at the end; valid until the next call @param type its data type */
qerrno kelda_list_next(void* iter, const char** name, int32_t* type, uint32_t flags);

/** Releases an iterator; null is allowed. */
void kelda_list_free(void* iter);

/** Text of a result code, of the store or of the framework; never null, never released. */
const char* qerr_strerror(qerrno code);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
#endif
